"""The pictures of README.md show what the programs print now; scripts/pictures.sh draws them anew. Rows are text."""

import fcntl
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import threading
import unittest
from xml.etree import ElementTree

from pages import ROOT, gateway, read

PICTURES = ROOT / "docs/pictures"
SVG = "{http://www.w3.org/2000/svg}"
COLUMNS = int(re.search(r"(?m)^COLUMNS = (\d+)", read(ROOT / "scripts/pictures.py"))[1])


def screens(name):
    """The lines of each terminal at the end; a line that goes on below is one."""
    found = []
    for pane in ElementTree.parse(PICTURES / name).iterfind(f".//{SVG}g[@id]"):
        rows = {}
        for row in pane.iterfind(f"{SVG}g"):
            if row.get("visibility") != "hidden":
                for text in row.iterfind(f"{SVG}text"):
                    rows[int(text.get("y"))] = "".join(text.itertext())
        lines, goes_on = [], False
        for y in sorted(rows):
            if goes_on:
                lines[-1] += rows[y]
            else:
                lines.append(rows[y])
            goes_on = len(rows[y]) >= COLUMNS - 1
            if goes_on:  # A blank at the end of a full row is not drawn.
                lines[-1] += " " * (COLUMNS - len(rows[y]))
        found.append(lines)
    return found


def run(command, folder, environment):
    ran = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, text=True, timeout=60,
                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return ran.stdout


def run_on_terminal(command, folder, environment):
    """What a command prints where it may use colours, without them."""
    child, master = pty.fork()
    if child == 0:
        fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 50, COLUMNS, 0, 0))
        os.chdir(folder)
        os.execvpe(command[0], command, environment)
    printed = b""
    try:
        while more := os.read(master, 65536):
            printed += more
    except OSError:  # The other end is closed.
        pass
    os.waitpid(child, 0)
    os.close(master)
    return re.sub(r"\033\[[0-9;]*m", "", printed.decode()).splitlines()


class Pictures(unittest.TestCase):
    maxDiff = None

    def test_shown_and_fit_for_a_page(self):
        page = read(ROOT / "README.md")
        pictures = sorted(PICTURES.glob("*.svg"))
        self.assertEqual([picture.name for picture in pictures], ["check.svg", "shell.svg"])
        for picture in pictures:
            self.assertRegex(page, rf"!\[[^\]]{{20,}}\]\(docs/pictures/{picture.name}\)")
            self.assertLess(picture.stat().st_size, 300_000)
            text = read(picture).replace('xmlns="http://www.w3.org/2000/svg"', "")
            self.assertNotRegex(text, r"/(work|root|home|tmp|usr|etc)\b|https?:|url\(|@import|href|<script|<image")

    def test_check(self):
        (lines,) = screens("check.svg")
        self.assertEqual(lines[0], "$ gwctl check home.xml")
        self.assertEqual(lines[-1], "$ ".rstrip())
        with gateway() as (folder, environment):
            environment["TERM"] = "xterm"
            environment.pop("NO_COLOR", None)
            printed = run_on_terminal(["gwctl", "check", "home.xml"], folder / "docs/pictures", environment)
        self.assertEqual(lines[1:-1], printed)

    def listed(self, line, folder, environment):
        """What may follow the last word of a line: the values of a parameter, or what an object holds."""
        word = line.split()[-1]
        if word.endswith("="):
            told = run(f"gwctl describe {word[:-1]}", folder, environment)
            return re.search(r"(?m)^enumeration: (.*)$", told)[1].split(",")
        return run(f"gwctl ls {word}", folder, environment).split()

    def watched(self, line, change, count, folder, environment):
        """What `gwctl watch` prints about a change in another terminal, until Ctrl-C."""
        watch = subprocess.Popen(["gwctl", *line.split()], cwd=folder, env=environment, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        too_long = threading.Timer(20, watch.kill)
        too_long.start()
        printed = [watch.stdout.readline()]
        self.assertEqual(run(change, folder, environment), "")
        printed += [watch.stdout.readline() for _ in range(count - 2)]
        watch.send_signal(signal.SIGINT)
        printed += watch.communicate()[0].splitlines()
        too_long.cancel()
        return [text.rstrip("\n") for text in printed]

    def test_shell(self):
        """Each command of the session, run on its own, prints what stands below it."""
        lines, (change, *rest) = screens("shell.svg")
        self.assertEqual((lines.pop(), rest), ("gwctl>", ["$"]))
        steps = []
        for line in lines:
            if line.startswith("gwctl> "):
                steps.append((line.removeprefix("gwctl> "), []))
            else:
                steps[-1][1].append(line.removeprefix("^C"))
        self.assertGreaterEqual({line.split()[0] for line, _ in steps}, {"get", "set", "tree", "watch"})
        with gateway() as (folder, environment):
            for at, (line, shown) in enumerate(steps):
                follows = steps[at + 1][0] if at + 1 < len(steps) else ""
                with self.subTest(line=line):
                    if follows.startswith(line):  # Tab was pressed, not Enter.
                        self.assertEqual(" ".join(shown).split(), self.listed(line, folder, environment))
                    elif line.startswith("watch "):
                        printed = self.watched(line, change.removeprefix("$ "), len(shown), folder, environment)
                        clock = r"^\d\d:\d\d:\d\d "
                        self.assertEqual([re.sub(clock, "", text) for text in shown],
                                         [re.sub(clock, "", text) for text in printed])
                    else:
                        self.assertEqual(run(f"gwctl {line}", folder, environment).splitlines(), shown)


if __name__ == "__main__":
    unittest.main()
