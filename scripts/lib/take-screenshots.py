#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Runs commands of msgctl on a terminal and keeps what it shows as pictures.

Usage: take-screenshots.py FOLDER
"""

import json
import os
import pathlib
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Vte", "2.91")
from gi.repository import Gdk, GLib, Gtk, Pango, Vte  # noqa: E402

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/e2e/msgctl"))
from bed import Bed, message  # noqa: E402

WIDTHS = (80, 140)
ROWS = 60
MARGIN = 2
FONT = "DejaVu Sans Mono 11"
PATIENCE_MS = 20_000

SHOTS = {
    "threads": "msgctl threads",
    "conversation": "msgctl conversation 1",
    "messages": "msgctl messages",
    "show": "msgctl show 12",
    "content": "msgctl content list 12",
    "status": "msgctl status",
    "watch": "(sleep 0.5; for text in one two three; do msgctl send --to +15550100 $text >/dev/null; done) & "
             "msgctl watch --count 6 --timeout 15",
    "help": "msgctl --help",
    "help-of-a-command": "msgctl emulate receive --help",
    "error": "msgctl show 999; msgctl sned; msgctl delete 14 998",
}


def wait(milliseconds, condition=lambda: False):
    """Lets the terminal work until the condition holds or time is up."""
    state = {"over": False}
    GLib.timeout_add(milliseconds, lambda: state.update(over=True))
    while not state["over"] and not condition():
        Gtk.main_iteration()
    return condition()


def shoot(bed, line, columns, path):
    terminal = Vte.Terminal(font_desc=Pango.FontDescription(FONT), cell_width_scale=1)
    # A widget without a window around it only gets what it asks for.
    terminal.set_size_request(columns * terminal.get_char_width() + MARGIN, ROWS * terminal.get_char_height() + MARGIN)
    terminal.set_colors(Gdk.RGBA(0.92, 0.92, 0.92, 1), Gdk.RGBA(0.09, 0.09, 0.11, 1), None)
    terminal.set_enable_bidi(True)
    terminal.set_cursor_blink_mode(Vte.CursorBlinkMode.OFF)
    window = Gtk.OffscreenWindow()
    window.add(terminal)
    window.show_all()
    wait(PATIENCE_MS, lambda: terminal.get_column_count() == columns)
    environment = bed.environment | {"TERM": "xterm-256color", "SHELL": "/bin/bash"}
    environment.pop("COLUMNS")
    state = {"ended": False}
    terminal.connect("child-exited", lambda *_: state.update(ended=True))
    script = f"printf '%s\\n' '$ {line}'; {line}" if "sleep" not in line else f"echo '$ msgctl watch'; {line}"
    terminal.spawn_async(Vte.PtyFlags.DEFAULT, str(bed.work), ["bash", "-c", script],
                         [f"{name}={value}" for name, value in environment.items()], GLib.SpawnFlags.SEARCH_PATH, None,
                         None, -1, None, None)
    if not wait(PATIENCE_MS, lambda: state["ended"]):
        raise SystemExit(f"{line}: does not end")
    wait(300)
    rows = terminal.get_cursor_position()[1] + 1
    picture = window.get_pixbuf()
    height = min(picture.get_height(), (min(rows, ROWS) + 1) * terminal.get_char_height())
    picture.new_subpixbuf(0, 0, picture.get_width(), height).savev(str(path), "png", [], [])
    window.destroy()


def main(folder):
    with Bed() as bed:
        bed.fill()
        for text in ("مرحبا كيف حالك؟ abc 123", "👍🏽 e\u0301te\u0301, Καλημέρα, 한국어", "a\x1b[31mred\x07\ttab"):
            bed.must("nms", "add", "-", text=json.dumps(message(text, "+15550101")))
        for name, line in SHOTS.items():
            for columns in WIDTHS:
                shoot(bed, line, columns, pathlib.Path(folder) / f"{name}-{columns}.png")
    print(f"{len(SHOTS) * len(WIDTHS)} pictures")


if __name__ == "__main__":
    os.environ.setdefault("LC_ALL", "C.UTF-8")
    main(sys.argv[1])
