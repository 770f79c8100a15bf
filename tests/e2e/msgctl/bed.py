# SPDX-License-Identifier: Apache-2.0
"""A private bus with the service and a filled store, for tests of msgctl as a shell sees it.

The build tells where the programs are: MSGCTL, SERVICE and, where it is built, EMULATOR.
"""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

SERVICE_NAME = "com.velmora.message.consumer"
PATIENCE = 60

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{folder}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

# The smallest picture that is one: a single pixel.
PICTURE = bytes.fromhex(
    "89504e470d0a1a0a0000000d49484452000000010000000108060000001f15c4890000000d49444154789c6360606060000000050001a5f6"
    "45400000000049454e44ae426082")


def wait_until(what, condition):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} did not happen within {PATIENCE} s")
        time.sleep(0.02)


def message(text, sender, **members):
    """A message as `nms add` reads it."""
    return {"body": text, "sender": sender, "time": "2026-03-01T08:30:00Z",
            "addresses": [{"kind": "phone", "role": "from", "address": sender}]} | members


def outgoing(text, receiver, **members):
    return message(text, "", direction="outgoing", read=True,
                   addresses=[{"kind": "phone", "role": "to", "address": receiver}]) | members


# By position: the ids that the examples of the commands name.
MESSAGES = [
    message("Are you there?", "+15550101"),
    message("The invoice is attached", "+15550102"),
    message("Lunch at one?", "+15550100"),
    message("Dinner for three?", "+15550103",
            addresses=[{"kind": "phone", "role": "from", "address": "+15550103"},
                       {"kind": "phone", "role": "to", "address": "+15550104"}]),
    message("Who brings the cake?", "+15550105", type="group-chat"),
    message("你好，世界", "+15550100"),
    message("שלום, מה שלומך?", "+15550100"),
    message("👩\u200d👩\u200d👧 at the beach ❤\ufe0f 🇨🇭", "+15550101"),
    message("Your INVOICE is due", "+15550102"),
    message("Grüße aus Zürich", "+15550102", read=True),
    outgoing("I am on my way", "+15550100", delivery="delivered"),
    None,  # an MMS with a file, which only the service itself can store
    message("See you", "+15550100"),
    outgoing("Nobody got this", "+15550101", delivery="failed"),
    message("Win a prize!", "+15550199", blocked=True),
    message("", "+15550101", type="mms", retrieval="needed"),
    outgoing("Half a thou", "+15550101", direction="draft"),
]


# Bus and service are named by this place in files that are copied with the bed. There is one at a time.
HOME = tempfile.TemporaryDirectory(prefix="msgctl-bed-")


class Bed:
    """One private bus with a store of its own. Use it in a `with`."""

    def __init__(self, filled=None, program=None):
        self.folder = pathlib.Path(HOME.name) / "bed"
        self.folder.mkdir()
        self.work = self.folder / "work"
        if filled:
            shutil.copytree(filled, self.folder, dirs_exist_ok=True)
        self.work.mkdir(exist_ok=True)
        self.program = program or os.environ["SERVICE"]
        self.msgctl_path = os.environ["MSGCTL"]
        self.environment = os.environ | {
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder}/bus",
            "DBUS_SESSION_BUS_ADDRESS": "disabled:",
            "MSG_CONSUMER_DB": f"{self.folder}/store/messages.db",
            "MSG_CONSUMER_PREFERENCES": f"{self.folder}/store/preferences.ini",
            "MSG_CONSUMER_FILES": f"{self.folder}/store/files",
            "PATH": f"{pathlib.Path(self.msgctl_path).parent}:{os.environ['PATH']}",
            "TZ": "UTC", "LC_ALL": "C.UTF-8", "COLUMNS": "80",
        }
        for name in ("NO_COLOR", "MSG_CONSUMER_LOG_LEVEL", "MSG_CONSUMER_EXCHANGE"):
            self.environment.pop(name, None)
        (self.folder / "store").mkdir(exist_ok=True)
        self._bus = None

    def __enter__(self):
        self._write_configuration()
        self._bus = subprocess.Popen(["dbus-daemon", "--nofork", f"--config-file={self.folder}/bus.conf"],
                                     env=self.environment, stderr=subprocess.DEVNULL)
        wait_until("the start of the bus", (self.folder / "bus").is_socket)
        return self

    def __exit__(self, *_):
        self.stop_service()
        self._bus.terminate()
        self._bus.wait()
        shutil.rmtree(self.folder)

    def _write_configuration(self):
        # A socket and files of the bed that this one was copied from would be in the way.
        for name in ("bus", "service.pid"):
            with contextlib.suppress(FileNotFoundError):
                (self.folder / name).unlink()
        (self.folder / "bus.conf").write_text(BUS_CONFIGURATION.format(folder=self.folder))
        start = self.folder / "start-service"
        start.write_text(f"#!/bin/sh\necho $$ >'{self.folder}/service.pid'\nexec '{self.program}' 2>>'{self.folder}/log'\n")
        start.chmod(0o755)
        (self.folder / f"{SERVICE_NAME}.service").write_text(f"[D-BUS Service]\nName={SERVICE_NAME}\nExec={start}\n")

    def stop_service(self):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError, ValueError):
            process = int((self.folder / "service.pid").read_text())
            os.kill(process, signal.SIGTERM)
            # A zombie whose parent, the bus, has not looked yet has no command line any more.
            command_line = pathlib.Path(f"/proc/{process}/cmdline")
            wait_until("the end of the service", lambda: not command_line.exists() or not command_line.read_bytes())

    def run(self, *arguments, text=None, **environment):
        """Runs msgctl."""
        return subprocess.run([self.msgctl_path, *map(str, arguments)], cwd=self.work, input=text, capture_output=True,
                              text=True, timeout=PATIENCE, env=self.environment | environment)

    def shell(self, line, **environment):
        """Runs a command line of the shell, in which msgctl is found."""
        return subprocess.run(["bash", "-c", f"set -o pipefail; {line}"], cwd=self.work, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=PATIENCE, env=self.environment | environment)

    def must(self, *arguments, text=None):
        result = self.run(*arguments, text=text)
        if result.returncode != 0:
            raise AssertionError(f"msgctl {' '.join(map(str, arguments))}: {result.stderr}")
        return result.stdout

    def json_text(self, *arguments, text=None):
        return self.must(*arguments, "--json", text=text)

    def json(self, *arguments, text=None):
        return json.loads(self.json_text(*arguments, text=text))

    def outline(self):
        """Every command by its name, groups and hidden ones left out."""
        commands, pending = {}, [self.json("outline")["item"]]
        while pending:
            node = pending.pop(0)
            pending = node["commands"] + pending
            if not node["commands"] and not node["hidden"]:
                commands[node["name"]] = node
        return commands

    def fill(self):
        """Brings in what the examples speak of."""
        (self.work / "cat.png").write_bytes(PICTURE)
        self.must("status")
        for number, content in enumerate(MESSAGES, start=1):
            if content is None:
                self.must("mms", "--to", "+15550100", "--file", "cat.png", "Look at her")
                wait_until("the delivery", lambda: self.json("show", number)["item"]["delivery"] == "delivered")
            else:
                self.must("nms", "add", "-", text=json.dumps({"thread_id": 0} | content))
        self.must("nms", "meta", "add", "-", text=json.dumps({"message_id": 12, "object_id": "a1b2"}))
        self.must("nms", "subscription", "set", 4711, "token")
        (self.work / "metadata.json").write_text(json.dumps({"message_id": 13, "object_id": "c3d4"}))
        self.stop_service()
