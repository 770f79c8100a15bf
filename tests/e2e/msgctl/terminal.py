# SPDX-License-Identifier: Apache-2.0
"""A program on a terminal of its own."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import termios
import time

from bed import PATIENCE

SEQUENCE = re.compile(r"\x1b(?:\[[0-9;?]*[A-Za-z]|[=>]|\][^\x07]*\x07)")


class Terminal:
    """Runs `command` in a bed, on a terminal with so many columns. Use it in a `with`."""

    def __init__(self, command, bed, columns=80, rows=24, **environment):
        self._command, self._bed, self._size = command, bed, struct.pack("HHHH", rows, columns, 0, 0)
        self._environment = bed.environment | {"TERM": "xterm"} | environment
        self._environment.pop("COLUMNS", None)
        self._text = b""

    def __enter__(self):
        self._process, self._controller = pty.fork()
        if self._process == 0:
            os.chdir(self._bed.work)
            # The size has to be right before the program looks.
            fcntl.ioctl(0, termios.TIOCSWINSZ, self._size)
            os.execvpe(self._command[0], self._command, self._environment)
        return self

    def __exit__(self, *_):
        os.close(self._controller)
        if self._process:
            os.kill(self._process, signal.SIGKILL)
            os.waitpid(self._process, 0)

    def type(self, text):
        os.write(self._controller, text.encode())

    def forget(self):
        self._text = b""

    def _read(self):
        if not select.select([self._controller], [], [], 0.1)[0]:
            return True
        try:
            part = os.read(self._controller, 65536)
        except OSError:
            part = b""
        self._text += part
        return bool(part)

    def wait_for(self, text):
        """What was shown until `text` was, without sequences."""
        deadline = time.monotonic() + PATIENCE
        while text not in self.shown():
            if time.monotonic() > deadline or not self._read():
                raise AssertionError(f"{text!r} is not shown, but {self.shown()!r}")
        return self.shown()

    def shown(self):
        return SEQUENCE.sub("", self.raw())

    def raw(self):
        return self._text.decode(errors="replace")

    def wait(self):
        """Waits for the end; returns the exit status, and everything that was shown with its sequences."""
        while self._read():
            pass
        status = os.waitstatus_to_exitcode(os.waitpid(self._process, 0)[1])
        self._process = 0
        return status, self.raw()
