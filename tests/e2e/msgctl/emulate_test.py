#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What the options of `msgctl emulate` do: what the store then holds, and how the next calls end."""

import os
import unittest

from bed import PICTURE, Bed, wait_until

# What arrives, and members of the message that is then stored.
RECEIVED = {
    "a short one": (["--name", "Ada", "Hello"], {"body": "Hello", "sender": "+15550100", "type": "sms"}),
    "one that was read": (["--read", "Hello"], {"read": True}),
    "a locked one": (["--locked", "Hello"], {"locked": True}),
    "a blocked one": (["--blocked", "Hello"], {"blocked": True}),
    "a SIM and a time": (["--sim", "2", "--time", "2026-03-01T08:30:00Z", "Hello"],
                         {"sim": 2, "time": "2026-03-01T08:30:00Z"}),
    "an announcement": (["--notification", "--type", "mms", "Hello"], {"body": "", "retrieval": "needed"}),
    "a subject": (["--type", "mms", "--subject", "News", "Hello"], {"subject": "News", "type": "mms"}),
    "a file": (["--file", "cat.png", "Look"], {"type": "mms", "body": "Look"}),
    "a chat": (["--chat", "c1", "--title", "Friends", "--participant", "+15550102", "Hello"], {"type": "group-chat"}),
}

# A fault, and how the call it is for ends: the exit status, and a part of what msgctl says.
FAULTS = {
    "a status": (["--status", "-3"], 5, "refused as invalid"),
    "an error of the bus": (["--error", "com.example.Broken", "--message", "broken"], 4, "did not answer"),
    "a reply of the wrong type": (["--reply", "wrong-type"], 4, "did not answer"),
    "an empty reply": (["--reply", "empty"], 4, "did not answer"),
    "a late reply": (["--delay", "10"], 0, "sent"),
    "no reply": (["--never"], 4, "did not answer"),
    "death before the commit": (["--die", "before-commit"], 4, "did not answer"),
    "death after the commit": (["--die", "after-commit"], 4, "did not answer"),
}


@unittest.skipUnless(os.environ.get("EMULATOR"), "the emulator is not built")
class EmulateTest(unittest.TestCase):
    def setUp(self):
        bed = Bed(program=os.environ["EMULATOR"])
        self.bed = self.enterContext(bed)
        (bed.work / "cat.png").write_bytes(PICTURE)

    def receive(self, *arguments):
        return self.bed.json("emulate", "receive", "--from", "+15550100", *arguments)


class Receive(EmulateTest):
    def test_each_option_shows_in_the_message(self):
        for number, (name, (arguments, members)) in enumerate(RECEIVED.items(), start=1):
            with self.subTest(name):
                self.receive(*arguments)
                message = self.bed.json("show", number)["item"]
                self.assertEqual({member: message.get(member) for member in members}, members, message)

    def test_receivers_and_those_of_copies_are_told_apart(self):
        self.receive("--type", "mms", "--to", "+15550101", "--cc", "+15550102", "Hello")
        roles = {address["address"]: address["role"] for address in self.bed.json("show", 1)["item"]["addresses"]}
        self.assertEqual(roles, {"+15550100": "from", "+15550101": "to", "+15550102": "cc"})

    def test_a_file_is_the_stores_own(self):
        self.receive("--file", "cat.png", "Look")
        self.bed.must("content", "get", 1, self.bed.work / "copy.png")
        self.assertEqual((self.bed.work / "copy.png").read_bytes(), PICTURE)

    def test_a_chat_has_its_title_and_its_people(self):
        self.receive("--chat", "c1", "--title", "Friends", "--participant", "+15550102", "Hello")
        self.assertIn("Friends", self.bed.must("threads"))
        self.assertIn("+15550102", self.bed.must("addresses", 1))

    def test_segments_become_one_message_when_all_are_there(self):
        self.receive("--segment", "7/2/2", "two")
        self.assertNotEqual(self.bed.run("show", 1).returncode, 0)
        self.receive("--segment", "7/1/2", "one ")
        self.assertEqual(self.bed.json("show", 1)["item"]["body"], "one two")

    def test_as_many_come_as_are_asked_for(self):
        self.receive("--repeat", 3, "Hello")
        self.assertEqual(len(self.bed.json("conversation", 1)["items"]), 3)

    def test_a_segment_that_is_none_is_refused(self):
        for segment in ("7", "7/3/2", "7/0/2", "x/1/2", "7/1/2/3"):
            with self.subTest(segment):
                result = self.bed.run("emulate", "receive", "--from", "+15550100", "--segment", segment, "x")
                self.assertNotEqual(result.returncode, 0)
                self.assertNotEqual(result.stderr, "")
        self.assertNotEqual(self.bed.run("show", 1).returncode, 0)


class Fault(EmulateTest):
    def test_each_ends_the_next_call_and_no_other(self):
        for name, (arguments, status, said) in FAULTS.items():
            with self.subTest(name):
                self.bed.must("emulate", "fault", "send_message", *arguments)
                result = self.bed.run("send", "--to", "+15550100", "Hello")
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(said, result.stdout + result.stderr)
                wait_until("the service's answer", lambda: self.bed.run("status").returncode == 0)
                self.bed.must("send", "--to", "+15550100", "Hello")

    def test_as_many_calls_fail_as_are_asked_for(self):
        self.bed.must("emulate", "fault", "send_message", "--status", "-3", "--times", "2")
        ends = [self.bed.run("send", "--to", "+15550100", "Hello").returncode for _ in range(3)]
        self.assertEqual(ends, [5, 5, 0])


if __name__ == "__main__":
    unittest.main()
