#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Every command as its help shows it: each example works, and each JSON document is what the schema and its document say."""

import contextlib
import copy
import json
import os
import pathlib
import re
import shlex
import shutil
import sqlite3
import subprocess
import tempfile
import threading
import unittest

import jsonschema

from bed import PATIENCE, Bed, wait_until

SOURCE = pathlib.Path(os.environ["SOURCE"])
SCHEMA = SOURCE / "data/schemas/msgctl-1.schema.json"
DOCUMENT = SOURCE / "docs/msgctl-json.md"
EMULATOR = os.environ.get("EMULATOR")

# What only reads leaves the bed as it was for the next one.
READING = {"status", "threads", "conversation", "messages", "show", "addresses", "find-thread", "thread show",
           "content list", "nms status", "nms download-required", "nms meta show", "nms meta uncorrelated",
           "nms meta sync-required", "nms meta download-required", "nms subscription show"}

# Command lines beside the examples, for the kinds of document that these leave out.
MORE = {"show": ["show 12 --in-conversation"], "status": ["outline"]}

# How each exit code but 0 comes about.
FAILURES = {
    "no command": (2, []),
    "an unknown command": (2, ["sned"]),
    "a number that is none": (2, ["show", "x"]),
    "a message that is not there": (3, ["show", "999"]),
    "a thread that is not there": (3, ["conversation", "999"]),
    "one of two messages that is not there": (3, ["read", "12", "999"]),
    "threads of which one is not there": (3, ["thread", "delete", "3", "999"]),
    "metadata that is not there": (3, ["nms", "meta", "show", "--object", "nowhere"]),
    "a message that cannot be sent again": (5, ["resend", "11"]),
    "a file that is not there": (5, ["mms", "--to", "+15550100", "--file", "nowhere.png", "x"]),
    "the plain service asked for a step": (6, ["emulate", "state"]),
}


def strict(schema):
    """The schema with every member named: what it leaves to later versions must not come up in this one."""
    if isinstance(schema, list):
        return [strict(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    result = {name: strict(part) for name, part in schema.items()}
    if result.get("type") == "object" and "properties" in result:
        result["additionalProperties"] = False
    return result


class CommandTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="msgctl-filled-")
        cls.addClassCleanup(folder.cleanup)
        cls.filled = pathlib.Path(folder.name)
        with Bed() as bed:
            bed.fill()
            cls.commands = bed.outline()
            for name in ("store", "work"):
                shutil.copytree(bed.folder / name, cls.filled / name)
        cls.kinds = set()

    def bed(self, program=None):
        return Bed(self.filled, program)


class Document:
    """The published schema, also as it stands for this very version."""

    def __init__(self):
        self.schema = json.loads(SCHEMA.read_text())
        self.kinds = {name.removeprefix("document-") for name in self.schema["$defs"] if name.startswith("document-")}
        self.strict = strict(copy.deepcopy(self.schema))

    def check(self, document):
        """Returns the document's kind; fails when the schema does not know it, or says something else of it."""
        kind = document.get("kind", "error")
        if kind not in self.kinds:
            raise AssertionError(f"the schema has no kind \"{kind}\"")
        for schema in (self.schema, self.strict):
            part = {"$ref": f"#/$defs/document-{kind}", "$defs": schema["$defs"]}
            jsonschema.Draft202012Validator(part).validate(document)
        return kind


DOCUMENTS = Document()


def check_output(text):
    """The kinds of the documents in an output: one over several lines, or one a line."""
    try:
        return {DOCUMENTS.check(json.loads(text))}
    except json.JSONDecodeError:
        return {DOCUMENTS.check(json.loads(line)) for line in text.splitlines()}


class Examples(CommandTest):
    """Runs the example of each command's --help, once for people and once for programs."""

    def test_every_example_works_in_words_and_in_json(self):
        for name, command in self.commands.items():
            if name.startswith("emulate ") and not EMULATOR:
                continue
            with self.subTest(name):
                self.check_example(name, command)
        with self.subTest("lost changes"):
            self.check_lost_changes()
        with self.subTest("missed changes"):
            self.check_missed_changes()
        self.check_kinds()

    def check_example(self, name, command):
        program = EMULATOR if name.startswith("emulate ") else None
        with self.bed(program) as bed:
            self.prepare(bed, name)
            example = self.example_of(bed, name)
            self.assertEqual(example, command["example"])
            result = self.run_example(bed, example)
            self.assertEqual((result.returncode, result.stderr.replace("watching…\n", "")), (0, ""), example)
            self.assertNotEqual(result.stdout, "", example)
        with self.bed(program) as bed:
            self.prepare(bed, name)
            result = self.run_example(bed, example if "--json" in shlex.split(example)[1:] and "|" not in example
                                      else example + " --json")
            self.assertEqual(result.returncode, 0, result.stderr)
            outputs = [result.stdout] + [bed.json_text(*line.split()) for line in MORE.get(name, [])]
            for output in filter(str.strip, outputs):
                type(self).kinds |= check_output(output)

    def prepare(self, bed, name):
        (bed.work / "steps.json").write_text(json.dumps([
            {"do": "receive", "type": "sms", "from": "+15550100", "text": "one"}, {"do": "clear"}]))
        if name == "content get":
            (bed.work / "cat.png").unlink()
        if name == "nms meta update":
            (bed.work / "metadata.json").write_text(json.dumps({"message_id": 12, "object_id": "a1b2", "seen": True}))
        if name == "emulate report":
            bed.must("emulate", "network", "--reports", "no")
            bed.must("send", "--to", "+15550100", "x")
            number = bed.json("messages", "--limit", 1)["items"][0]["message_id"]
            wait_until("the sending", lambda: bed.json("show", number)["item"]["delivery"] == "sent")
        if name == "import":
            bed.must("export", "messages.jsonl")

    def example_of(self, bed, name):
        text = bed.must(*name.split(), "--help")
        found = re.search(r"^Example:\n  (.*)$", text, re.M)
        self.assertIsNotNone(found, f"the help of '{name}' shows no example")
        return found[1]

    def run_example(self, bed, line):
        if not line.startswith("msgctl watch"):
            return bed.shell(line)
        # Somebody has to cause the events that are waited for.
        process = subprocess.Popen(["bash", "-c", line], cwd=bed.work, env=bed.environment, text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        first = process.stderr.readline()
        cause = threading.Thread(target=bed.must, args=("send", "--to", "+15550100", "x"))
        cause.start()
        out, err = process.communicate(timeout=PATIENCE)
        cause.join()
        return subprocess.CompletedProcess(line, process.returncode, out, first + err)

    def check_lost_changes(self):
        with self.bed() as bed:
            self.alter_changes(bed, lambda newest: ("DELETE FROM change_log WHERE revision < ?", [newest]))
            output = bed.must("watch", "--since", "0", "--count", "1", "--json")
            self.assertEqual([json.loads(line)["kind"] for line in output.splitlines()], ["lost", "event"])
            type(self).kinds |= check_output(output)

    def check_missed_changes(self):
        def change(newest):
            body = {"event": "changed", "revision": newest + 1, "message_ids": [1], "thread_ids": [1]}
            return "INSERT INTO change_log VALUES (?, 'storage_changed', ?)", [newest + 1, json.dumps(body)]

        with self.bed() as bed, subprocess.Popen(
                [bed.msgctl_path, "watch", "--count", "1", "--json"], env=bed.environment, text=True,
                stdout=subprocess.PIPE, stderr=subprocess.PIPE) as watch:
            watch.stderr.readline()
            bed.stop_service()
            self.alter_changes(bed, change)
            bed.must("status")
            output, _ = watch.communicate(timeout=PATIENCE)
            self.assertEqual([json.loads(line)["kind"] for line in output.splitlines()], ["missed", "event"])
            type(self).kinds |= check_output(output)

    @staticmethod
    def alter_changes(bed, statement_of):
        """Alters the log of changes of a service that does not run."""
        with contextlib.closing(sqlite3.connect(bed.environment["MSG_CONSUMER_DB"])) as store, store:
            [newest] = store.execute("SELECT max(revision) FROM change_log").fetchone()
            store.execute(*statement_of(newest))

    def check_kinds(self):
        """Whatever a kind is named for, it is printed by some command, and the other way round."""
        # Errors are looked at below.
        untold = DOCUMENTS.kinds - self.kinds - {"error"}
        if not EMULATOR:
            untold = {kind for kind in untold if not kind.startswith("emula")}
        with self.subTest("kinds"):
            self.assertEqual(untold, set(), "kinds of the schema that no command printed")


class Errors(CommandTest):
    """Failures, with the exit code and the document that programs get."""

    def test_every_failure_has_its_exit_code_in_words_and_in_json(self):
        with self.bed() as bed:
            for what, (code, arguments) in FAILURES.items():
                with self.subTest(what):
                    self.check(bed, code, arguments)

    def check(self, bed, code, arguments):
        words = bed.run(*arguments)
        self.assertEqual(words.returncode, code, words.stderr)
        self.assertRegex(words.stderr, r"^msgctl: error: ")
        result = bed.run("--json", *arguments)
        self.assertEqual(result.returncode, code)
        self.check_error(result.stderr, code)
        if result.stdout:
            check_output(result.stdout)

    def check_error(self, text, code):
        for line in text.splitlines():
            document = json.loads(line)
            self.assertEqual(DOCUMENTS.check(document), "error")
            self.assertEqual(document["error"]["exit_code"], code)

    def test_a_disk_that_is_full_is_1(self):
        with self.bed() as bed:
            result = bed.shell("msgctl threads --json >/dev/full")
            self.assertEqual(result.returncode, 1)
            self.check_error(result.stderr, 1)

    def test_a_bus_that_is_not_there_is_4(self):
        with self.bed() as bed:
            nowhere = {"DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={bed.folder}/nowhere"}
            for arguments in (["delete", "1"], ["emulate", "state"]):
                result = bed.run("--json", *arguments, **nowhere)
                self.assertEqual(result.returncode, 4)
                self.check_error(result.stderr, 4)

    def test_number_sync_that_is_not_supported_is_6(self):
        with self.bed() as bed:
            preferences = bed.folder / "store/preferences.ini"
            preferences.write_text("[preferences]\nconsumer_preference_bool_numbersync_supported=0\n")
            result = bed.run("--json", "nms", "read", "1")
            self.assertEqual(result.returncode, 6, result.stderr)
            self.check_error(result.stderr, 6)


class Published(unittest.TestCase):
    """Schema, document and help say the same."""

    def test_the_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(DOCUMENTS.schema)

    def test_a_document_that_is_wrong_is_refused(self):
        right = {"version": 1, "kind": "sent", "item": {"message_id": 1}}
        DOCUMENTS.check(right)
        for wrong in ({**right, "version": 2}, {**right, "item": {}}, {**right, "item": {"message_id": "1"}},
                      {**right, "item": {"message_id": 1, "new": 1}}, {**right, "kind": "unheard-of"}):
            with self.subTest(wrong), self.assertRaises((AssertionError, jsonschema.ValidationError)):
                DOCUMENTS.check(wrong)

    def test_the_document_names_the_kinds_of_the_schema(self):
        text = DOCUMENT.read_text()
        named = set(re.findall(r'"kind":"([a-z-]+)"', text)) - {"text", "phone"}
        for row in re.findall(r"^\| ((?:`[a-z -]+`(?:, )?)+) \| `\{\"version\":1,\"kind\":\"([a-z-]+)\"", text, re.M):
            named |= self.kinds_of(*row)
        self.assertEqual(named, DOCUMENTS.kinds - {"error", "outline"})

    @staticmethod
    def kinds_of(commands, kind):
        """A row for several commands names the kind of the first; the others' are made from their names alike."""
        names = re.findall(r"`([a-z -]+)`", commands)
        if kind == names[0] or kind == names[0].replace(" ", "-"):
            return {name.replace(" ", "-") for name in names if name.replace(" ", "-") in DOCUMENTS.kinds}
        return {kind}

    def test_help_manual_and_document_name_the_same_exit_codes(self):
        msgctl = os.environ["MSGCTL"]
        help_text = subprocess.run([msgctl, "--help"], capture_output=True, text=True, check=True).stdout
        manual = subprocess.run([msgctl, "manual", SOURCE / "data/man/msgctl.1.in"], capture_output=True, text=True,
                                check=True).stdout
        in_help = re.findall(r"^  (\d)  ", help_text, re.M)
        in_manual = re.findall(r"^\\fB(\d)\\fR$", manual, re.M)
        in_document = re.findall(r"^\| (\d) \|", DOCUMENT.read_text(), re.M)
        self.assertEqual(in_help, [str(code) for code in range(7)])
        self.assertEqual(in_manual, in_help)
        self.assertEqual(in_document, in_help)


if __name__ == "__main__":
    unittest.main(verbosity=2)
