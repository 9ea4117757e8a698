"""Draws the pictures of README.md from what the programs print on a terminal.

    pictures.py BUILD_FOLDER PICTURE_FOLDER

A pseudo-terminal runs the program, an emulator says what its screen shows after each key, and every row of the screen
becomes text in an SVG. Where rows change over time the picture is animated; without animation it shows the last screen.
"""

import fcntl
import html
import os
import pty
import select
import shutil
import signal
import struct
import sys
import termios
import time
from pathlib import Path

import pyte
from sandbox import ROOT, gateway

CHECKED = ROOT / "docs/pictures/home.xml"
COLUMNS = 111  # Longer lines break between words here.
PROMPT = "gwctl> "

# Of one character, in pixels; a monospaced font is about 0.6 of its size wide.
SIZE, WIDTH, HEIGHT = 14, 8.4, 19
MARGIN, GAP = 14, 10
COLOURS = {"default": "#d5d9e0", "blue": "#74b3ff", "cyan": "#62d2d2", "green": "#93d493", "red": "#ff8078",
           "magenta": "#d8aaff"}
STYLE = """text{font:%dpx monospace;fill:%s;white-space:pre}
.pane{fill:#171a21;stroke:#4a505c}
.cursor{fill:#8b93a1}
""" % (SIZE, COLOURS["default"])

TIME = "InternetGatewayDevice.Time."

# Keys for the shell, each with the text that they bring, or with a line for the second terminal; and the pause behind.
SHELL_STEPS = [
    ("get In\t", "InternetGatewayDevice.", 0.5),
    ("Ti\t", TIME, 0.5),
    ("\t", "NTPServer5", 1.6),
    ("NT\t", TIME + "NTPServer", 0.4),
    ("1\r", "ntp1.example.net", 1.5),
    ("set In\t", "InternetGatewayDevice.", 0.2),
    ("LAND\t1.W\t1.Bea\tT\t", "BeaconType=", 0.5),
    ("\t", "BasicandWPAand11i", 1.6),
    ("WPAand11i\r", PROMPT, 0.8),
    ("set In\tTi\tEn\tmaybe\r", "sets it anyway", 2.2),
    ("tree --user-set --values\r", "BeaconType=WPAand11i", 2.2),
    ("watch In\tTi\t\r", "registers again", 1.0),
    (f"gwctl set {TIME}NTPServer1=ntp.example.com\r", "ntp.example.com", 2.0),
    ("\x03", "nobody listens now", 1.0),
]


class Terminal:
    """A program behind a pseudo-terminal, and the screen that it draws."""

    def __init__(self, command, lines, environment, folder):
        self.screen = pyte.Screen(COLUMNS, lines)
        self._stream = pyte.ByteStream(self.screen)
        self._child, self._master = pty.fork()
        if self._child == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", lines, COLUMNS, 0, 0))
            os.chdir(folder)
            os.execvpe(command[0], command, environment)

    def write(self, keys):
        os.write(self._master, keys.encode())

    def read(self, seconds):
        """Takes over what the program prints within a time. False when that is nothing."""
        if not select.select([self._master], [], [], seconds)[0]:
            return False
        self._stream.feed(os.read(self._master, 65536))
        return True

    def settle(self, first=0.0):
        """Takes over all that comes until there is a pause; waits for the first of it."""
        self.read(first)
        while self.read(0.04):
            pass

    def wait_for(self, text):
        end = time.monotonic() + 20
        while text not in "".join(self.screen.display):
            if time.monotonic() > end:
                sys.exit("\n".join([f"{text!r} does not come:", *self.screen.display]))
            self.read(0.1)
        self.settle()

    def rows(self, has_cursor):
        """Each row as runs of one colour and weight, and the cursor's column where it stands."""
        cursor = self.screen.cursor
        rows = []
        for y in range(self.screen.lines):
            runs = []
            for x in range(COLUMNS):
                cell = self.screen.buffer[y][x]
                kind = (cell.fg, cell.bold)
                if runs and runs[-1][0] == kind:
                    runs[-1][1] += cell.data
                else:
                    runs.append([kind, cell.data])
            if runs[-1][0] == ("default", False):
                runs[-1][1] = runs[-1][1].rstrip()
            column = cursor.x if has_cursor and y == cursor.y else None
            rows.append((tuple((kind, text) for kind, text in runs if text), column))
        return rows

    def end(self):
        os.kill(self._child, signal.SIGHUP)
        os.close(self._master)
        os.waitpid(self._child, 0)


class Film:
    """What terminals show, one below the other, over time."""

    def __init__(self, *terminals):
        self._terminals = terminals
        self._frames = []  # (start, rows of each terminal)
        self.seconds = 0.0

    def show(self, seconds, active):
        self._frames.append((self.seconds, [t.rows(t is active) for t in self._terminals]))
        self.seconds += seconds

    def _spans(self, pane, line):
        """(start, end, row) of each content of a line."""
        spans = []
        for at, rows in self._frames:
            row = rows[pane][line]
            if spans and spans[-1][2] == row:
                continue
            if spans:
                spans[-1][1] = at
            spans.append([at, self.seconds, row])
        return [span for span in spans if span[2] != ((), None)]

    def write(self, file, title):
        parts, keyframes, top = [], {}, 1
        for pane, terminal in enumerate(self._terminals):
            height = terminal.screen.lines * HEIGHT + 2 * MARGIN
            parts.append(f'<g id="pane{pane}">')
            parts.append(f'<rect class="pane" x="1" y="{top}" width="{COLUMNS * WIDTH + 2 * MARGIN:g}" '
                         f'height="{height}" rx="7"/>')
            for line in range(terminal.screen.lines):
                y = top + MARGIN + line * HEIGHT
                for start, end, row in self._spans(pane, line):
                    attributes = ""
                    if start > 0 or end < self.seconds:
                        name = keyframes.setdefault((start, end), f"k{len(keyframes)}")
                        attributes = f' class="{name}"' + ("" if end == self.seconds else ' visibility="hidden"')
                    parts.append(f"<g{attributes}>{drawn(row, y)}</g>")
            parts.append("</g>")
            top += height + GAP
        width, height = COLUMNS * WIDTH + 2 * MARGIN + 2, top - GAP + 1
        style = STYLE + "".join(self._keyframes(name, *span) for span, name in keyframes.items())
        if keyframes:
            style += "@media (prefers-reduced-motion:reduce){*{animation:none!important}}\n"
        file.write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:g}" height="{height}" '
            f'viewBox="0 0 {width:g} {height}" role="img">\n'
            f"<title>{html.escape(title)}</title>\n<style>{style}</style>\n"
            + "\n".join(parts) + "\n</svg>\n", encoding="utf-8")

    def _keyframes(self, name, start, end):
        steps = [(0, "hidden")] if start > 0 else []
        steps.append((start, "visible"))
        if end < self.seconds:
            steps.append((end, "hidden"))
        text = "".join(f"{100 * at / self.seconds:.6g}%{{visibility:{state}}}" for at, state in steps)
        return f".{name}{{animation:{name} {self.seconds:.2f}s step-end infinite}}@keyframes {name}{{{text}}}\n"


def drawn(row, y):
    """A row of the screen with its upper edge at `y`."""
    runs, cursor = row
    shapes, spans, column = "", "", 0
    if cursor is not None:
        shapes = (f'<rect class="cursor" x="{1 + MARGIN + cursor * WIDTH:g}" y="{y + 1}" width="{WIDTH}" '
                  f'height="{HEIGHT - 2}"/>')
    for (colour, is_bold), text in runs:
        look = f' fill="{COLOURS[colour]}"' if colour != "default" else ""
        look += ' font-weight="bold"' if is_bold else ""
        spans += (f'<tspan x="{1 + MARGIN + column * WIDTH:g}" textLength="{len(text) * WIDTH:g}"{look}>'
                  f"{html.escape(text, quote=False)}</tspan>")
        column += len(text)
    return shapes + (f'<text y="{y + SIZE}" xml:space="preserve">{spans}</text>' if spans else "")


def shell_film(folder, environment):
    shell = Terminal(["gwctl", "shell"], 24, environment, folder)
    other = Terminal(["sh", "-i"], 2, environment, folder)
    film = Film(shell, other)
    shell.wait_for(PROMPT)
    other.wait_for("$ ")
    film.show(1.0, shell)
    for keys, wanted, pause in SHELL_STEPS:
        terminal = other if keys.startswith("gwctl ") else shell
        for key in keys:
            terminal.write(key)
            terminal.settle(1.0)
            film.show(0.35 if key == "\t" else 0.06, terminal)
        terminal.wait_for(wanted)
        other.settle()
        shell.settle()
        film.show(pause, terminal)
    film.show(5.0, shell)
    shell.end()
    other.end()
    return film


def check_film(folder, environment):
    terminal = Terminal(["sh", "-i"], 21, environment, folder)
    terminal.wait_for("$ ")
    terminal.write(f"gwctl check {CHECKED.name}\r")
    terminal.wait_for("errors, ")
    film = Film(terminal)
    film.show(1.0, terminal)
    terminal.end()
    return film


def main():
    build, pictures = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    with gateway(build) as (folder, environment):
        environment |= {"TERM": "xterm", "PS1": "$ ", "GWCTL_HISTORY": str(folder / "history")}
        environment.pop("NO_COLOR", None)
        shutil.copy(CHECKED, folder)
        shell_film(folder, environment).write(
            pictures / "shell.svg", "gwctl shell: Tab completes paths and values, changes are watched")
        check_film(folder, environment).write(
            pictures / "check.svg", "gwctl check: each finding with its place, the line and its rule")


if __name__ == "__main__":
    main()
