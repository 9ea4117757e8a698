"""Runs every command that the pages show and compares what it prints.

A page's ```console blocks are one session of one shell: lines behind "$ " are commands, which go on behind "> ", and the
lines below are their output, standard error included. Each page gets a daemon over a folder of its own, on the sample
model.
"""

import os
import re
import shutil
import signal
import subprocess
import unittest

from pages import MANUAL, PAGES, ROOT, blocks, gateway, read

# Pages that show sessions. One that loses its last is no longer looked at, so they are named.
WITH_SESSIONS = ["README.md", "docs/check-rules.md", "docs/troubleshooting.md", "docs/tutorial.md", "models/README.md"]


def steps(page):
    """(command, the lines shown below it) of each command of a page."""
    found = []
    for language, text in blocks(page):
        if language != "console":
            continue
        for line in text.splitlines():
            if line.startswith("$ "):
                found.append([line[2:], []])
            elif line.startswith("> ") and not found[-1][1]:
                found[-1][0] += "\n" + line[2:]
            else:
                found[-1][1].append(line)
    return found


class Shell:
    """One that keeps its folder, its variables and its jobs from command to command."""

    DONE = "-- done --"

    def __init__(self, folder, environment):
        self.process = subprocess.Popen(["bash"], cwd=folder, env=environment, text=True, start_new_session=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.communicate()

    def lines_of(self, command):
        self.process.stdin.write(f"{{ {command}\n}} </dev/null\necho; echo '{self.DONE}'\n")
        self.process.stdin.flush()
        lines = []
        while (line := self.process.stdout.readline()) and line.rstrip("\n") != self.DONE:
            lines.append(line.rstrip("\n"))
        # The empty one goes before the end, also when the output ends within a line.
        return lines[:-1] if lines and not lines[-1] else lines


def run(command, folder, environment):
    return subprocess.run(["bash", "-c", command], cwd=folder, env=environment, text=True, timeout=60,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)


class Commands(unittest.TestCase):
    maxDiff = None

    def test_pages_with_sessions(self):
        self.assertLessEqual(set(WITH_SESSIONS), {str(page.relative_to(ROOT)) for page in PAGES if steps(page)})

    def test_sessions(self):
        for page in PAGES:
            shown = steps(page)
            if not shown:
                continue
            with gateway() as (folder, environment):
                project = folder / "gwconf"
                project.mkdir()
                for part in ("models", "docs"):
                    (folder / part).rename(project / part)
                (project / ".sandbox").symlink_to(folder / "sandbox")  # where scripts/run.sh has it
                with Shell(project, environment) as shell:
                    for command, expected in shown:
                        with self.subTest(page=page.name, command=command):
                            self.assertEqual(shell.lines_of(command), expected)

    def test_manual(self):
        """The examples of the manual, with the files that they name."""
        examples = re.findall(r"(?m)^gwctl .*$", read(MANUAL[[page.name for page in MANUAL].index("gwctl.1")]))
        self.assertEqual(len(examples), 4)
        with gateway() as (folder, environment):
            (folder / "wan.batch").write_text("set InternetGatewayDevice.Time.NTPServer2=ntp2.example.com\n")
            for name in ("old.xml", "new.xml"):
                shutil.copy(ROOT / "models/home-gateway.xml", folder / name)
            for command in examples:
                if "mtd9.bin" in command:
                    shutil.copy(folder / "sandbox/dev/mtd9", folder / "mtd9.bin")
                with self.subTest(command=command):
                    ran = run(command, folder, environment)
                    self.assertEqual(ran.returncode, 0, ran.stdout)


if __name__ == "__main__":
    unittest.main()
