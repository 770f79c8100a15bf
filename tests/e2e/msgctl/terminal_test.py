#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What msgctl shows on a terminal: colour, columns in every script and at every width, and progress."""

import json
import re
import unittest
import unicodedata

from bed import Bed, message
from terminal import SEQUENCE, Terminal

LISTS = (["threads"], ["conversation", "1"], ["messages"], ["content", "list", "12"], ["addresses", "4"])
TEXTS = {
    "wide": "你好，世界" * 5,
    "combining": "e\u0301" * 40,
    "joined": "👩\u200d👩\u200d👧" * 20,
    "presentation": "❤\ufe0f☀\ufe0f" * 20,
    "flags": "🇨🇭🇯🇵" * 20,
    "toned": "👍🏽" * 20,
    "from the right": "שלום, מה שלומך? " * 5,
    "mixed": "abc مرحبا 123 你好 e\u0301 " * 4,
    "hostile": "\x1b[2J\x1b]0;x\x07\r\n\t\u202e\u2066\x9b31m" * 4,
}


def columns_of(text):
    """How wide a text without joined symbols is, by the tables of another library than msgctl's."""
    return sum(0 if unicodedata.combining(c) or unicodedata.category(c) in ("Mn", "Me", "Cf")
               else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)


class OnTerminal(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bed = Bed()
        cls.enterClassContext(cls.bed)
        cls.bed.fill()
        for text in TEXTS.values():
            cls.bed.must("nms", "add", "-", text=json.dumps(message(text, "+15550101")))

    def show(self, arguments, columns=80, **environment):
        with Terminal([self.bed.msgctl_path, *arguments], self.bed, columns=columns, **environment) as terminal:
            status, text = terminal.wait()
        self.assertEqual(status, 0, text)
        return text

    def test_colour_is_for_terminals_alone(self):
        self.assertIn("\x1b[1m", self.show(["threads"]))
        self.assertNotIn("\x1b", self.bed.must("threads"))

    def test_no_color_is_obeyed_whatever_it_is_set_to(self):
        for value in ("1", "0", "false"):
            self.assertNotIn("\x1b[1m", self.show(["threads"], NO_COLOR=value))
        self.assertIn("\x1b[1m", self.show(["threads"], NO_COLOR=""))
        self.assertIn("\x1b[1m", self.show(["threads", "--color=always"], NO_COLOR="1"))

    def test_color_settles_it(self):
        self.assertIn("\x1b[1m", self.bed.must("threads", "--color=always"))
        self.assertNotIn("\x1b[1m", self.show(["--color", "never", "threads"]))
        self.assertIn("\x1b[31m", self.bed.run("show", "999", "--color=always").stderr)

    def test_no_line_is_wider_than_the_terminal(self):
        for arguments in LISTS:
            for columns in (20, 21, 27, 33, 40, 60, 80, 100, 140, 200):
                for line in self.show(arguments, columns).replace("\r", "").splitlines():
                    line = SEQUENCE.sub("", line)
                    if "\u200d" in line or "\ufe0f" in line or "🏽" in line:
                        continue
                    self.assertLessEqual(columns_of(line), columns, (arguments, columns, line))

    def test_ids_are_whole_at_every_width(self):
        ids = [str(item["message_id"]) for item in self.bed.json("messages")["items"]]
        for columns in (20, 30, 80):
            lines = self.show(["messages"], columns).replace("\r", "").splitlines()[1:]
            self.assertEqual([SEQUENCE.sub("", line).split()[0] for line in lines], ids)

    def test_nothing_in_a_message_acts_on_the_terminal(self):
        for arguments in (["messages"], ["show", "26"], ["conversation", "1"]):
            shown = self.show(arguments)
            allowed = re.sub(r"\x1b\[\d*[mG]", "", shown)
            self.assertEqual(re.findall(r"[\x00-\x09\x0b\x0c\x0e-\x1f\x7f-\x9f\u202a-\u202e\u2066\u2067]", allowed), [])

    def test_what_is_written_from_the_right_stays_in_its_column(self):
        for line in self.show(["messages"], 140).splitlines():
            if "שלום" in line:
                self.assertRegex(line, "\u2068[^\u2069]*שלום[^\u2069]*\u2069")
        self.assertNotIn("\u2068", self.bed.must("messages"))

    def test_columns_stay_where_terminals_disagree_on_a_width(self):
        # The text stands in the last column of the messages, but not of the conversation of a sender with such a name.
        self.bed.must("nms", "add", "-", text=json.dumps(message("x", "👩\u200d👩\u200d👧@example.org")))
        line = next(line for line in self.show(["messages"], 140).splitlines() if "example.org" in line)
        self.assertRegex(line, r"\x1b\[\d+G")

    def test_help_is_broken_to_the_width(self):
        for columns in (20, 40, 80, 200):
            lines = self.show(["messages", "--help"], columns).replace("\r", "").splitlines()
            example = next(i for i, line in enumerate(lines) if line == "Example:")
            for line in lines[:example]:
                self.assertLessEqual(len(line), max(columns, 24), line)

    def test_progress_of_long_work_is_shown_beside_an_output_that_goes_elsewhere(self):
        script = f"'{self.bed.msgctl_path}' read $(yes 13 | head -n 3000) >out"
        with Terminal(["bash", "-c", script], self.bed) as terminal:
            status, text = terminal.wait()
        self.assertEqual(status, 0, text)
        self.assertRegex(text, r"messages: \d+ \(\d+ %\)")
        self.assertTrue(text.endswith("\r\x1b[K"), "the last line of progress is left")
        self.assertEqual(len((self.bed.work / "out").read_text().splitlines()), 3000)

    def test_progress_is_for_terminals_alone(self):
        result = self.bed.run("read", *["13"] * 2000)
        self.assertEqual((result.returncode, result.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
