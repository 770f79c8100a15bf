#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The completion of msgctl in each shell that is installed, with the shell itself doing the completing."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

from bed import Bed
from terminal import Terminal

MSGCTL = os.environ["MSGCTL"]

# What stands in front of the cursor, and some of what is offered there; "!" marks what is not.
CASES = {
    "a command": ("nm", ["nms"]),
    "a command of a group": ("thread ", ["read", "delete", "active", "show", "!conversation"]),
    "a command of a group in a group": ("nms meta sync", ["sync-required"]),
    "an option": ("messages --un", ["--unread"]),
    "an option that every command has": ("threads --js", ["--json"]),
    "a word of an option": ("nms meta uncorrelated --match ", ["exact", "prefix", "part"]),
    "a word of an option for every command": ("threads --color ", ["auto", "always", "never"]),
    "a word by position": ("emulate signals d", ["drop", "double", "delay"]),
    "a message": ("show 1", ["10", "12", "17", "!2"]),
    "a second message": ("read 12 1", ["13"]),
    "a message behind an option": ("show --json 1", ["10"]),
    "a thread": ("conversation ", ["1", "3", "6"]),
    "the thread of an option": ("messages --thread ", ["3"]),
    "a file": ("content send 12 ca", ["cat.png"]),
    "nothing for a free text": ("find-thread ", ["!1", "!status"]),
    "no hidden command": ("", ["status", "!outline", "!completion", "!manual"]),
}


def installed(shell):
    return unittest.skipUnless(shutil.which(shell), f"{shell} is not installed")


class Completion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bed = Bed()
        cls.enterClassContext(cls.bed)
        cls.bed.fill()
        for shell in ("bash", "zsh", "fish"):
            (cls.bed.work / f".{shell}-completion").write_text(cls.bed.must("completion", shell))

    def run_shell(self, *command):
        result = subprocess.run(command, cwd=self.bed.work, env=self.bed.environment, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True, timeout=60)
        self.assertEqual((result.returncode, result.stderr), (0, ""), command)
        return result.stdout

    def check_all(self, complete):
        for what, (line, expected) in CASES.items():
            with self.subTest(what):
                offered = complete(line)
                for word in expected:
                    if word.startswith("!"):
                        self.assertNotIn(word[1:], offered)
                    else:
                        self.assertIn(word, offered)

    def test_every_command_and_option_is_offered_in_bash(self):
        for name, command in self.bed.outline().items():
            with self.subTest(name):
                words = self.in_bash(name + " -")
                for option in command["options"]:
                    if not option["positional"]:
                        self.assertIn(option["name"], words)

    @installed("bash")
    def test_bash_completes(self):
        self.check_all(self.in_bash)
        self.assertEqual(self.in_bash("threads --color=al"), ["always"])

    def in_bash(self, line):
        # The shell itself takes the line apart at these signs.
        words = ["msgctl", *re.findall(r"[^ =]+|=", line)] + ([""] if line.endswith(" ") or not line else [])
        quoted = " ".join(f"'{word}'" for word in words)
        script = f"source ./.bash-completion; COMP_WORDS=({quoted}); COMP_CWORD={len(words) - 1}; _msgctl; " \
                 'printf "%s\\n" "${COMPREPLY[@]}"'
        return self.run_shell("bash", "-c", script).split()

    @installed("fish")
    def test_fish_completes(self):
        self.check_all(self.in_fish)
        self.assertEqual(self.in_fish("threads --color=al"), ["--color=always"])

    def in_fish(self, line):
        script = f"source ./.fish-completion; complete -C 'msgctl {line}'"
        return [offer.split("\t")[0] for offer in self.run_shell("fish", "--no-config", "-c", script).splitlines()]

    @installed("zsh")
    def test_zsh_completes(self):
        functions = self.bed.work / "functions"
        functions.mkdir()
        (functions / "_msgctl").write_text((self.bed.work / ".zsh-completion").read_text())
        with Terminal(["zsh", "-f", "-i"], self.bed, columns=200, rows=60) as terminal:
            terminal.type(f"fpath=({functions} $fpath); autoload -Uz compinit; compinit -D -u; "
                          "zstyle ':completion:*' list-prompt ''; setopt no_auto_menu no_list_beep list_rows_first; "
                          "LISTMAX=1000 PROMPT='%%'; zle-line-init() { print -n '@''@@' }; zle -N zle-line-init\n")
            # What is typed before zsh edits the line, the terminal takes for itself: control characters, too.
            terminal.wait_for("@@@")
            self.check_all(lambda line: self.in_zsh(terminal, line))
            self.assertIn("--color=always", self.in_zsh(terminal, "threads --color=al"))

    def in_zsh(self, terminal, line):
        # Lists what is offered without taking any of it, and tells with a command of its own that it is done.
        terminal.forget()
        terminal.type(f"msgctl {line}\t\x04\x15print do''ne\n")
        shown = terminal.wait_for("@@@")
        self.assertIn("done\r", shown)
        return re.findall(r"[\w.=-]+", shown.replace("print do''ne", ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
