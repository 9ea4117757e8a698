"""Runs every command that the pages show and compares what it prints.

    docs_test.py BUILD_FOLDER PAGE...

A page's ```console blocks are one session: lines behind "$ " are commands, the lines below them are their output, standard
error included. Each page gets a daemon over a folder of its own, on the model that the page is about.
"""

import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def steps(page):
    """Yields each command of a page with the output that the page shows."""
    for block in BLOCK.findall(page.read_text(encoding="utf-8")):
        command, output = None, []
        for line in block.splitlines():
            if line.startswith("$ "):
                if command:
                    yield command, output
                command, output = line[2:], []
            else:
                output.append(line)
        if command:
            yield command, output


def run_page(page, build):
    """Returns how many commands the page shows, and a text for each that prints something else."""
    faults, count = [], 0
    with tempfile.TemporaryDirectory(prefix="gwconf-docs.") as folder:
        sandbox = Path(folder) / "sandbox"
        for name in ("etc", "dev", "tmp"):
            (sandbox / name).mkdir(parents=True)
        for name in ("mtd9", "mtd10"):
            (sandbox / "dev" / name).touch()
        (sandbox / "etc/default.xml").write_bytes((ROOT / "models/home-gateway.xml").read_bytes())
        (Path(folder) / "models").symlink_to(ROOT / "models")
        socket = sandbox / "tmp/Vantrel_cm_socket"
        environment = dict(os.environ, GWCONF_SANDBOX=str(sandbox), GWCONF_SOCKET=str(socket),
                           PATH=f"{build}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
        daemon = subprocess.Popen([build / "gwconfd-sandbox"], env=environment, stdout=subprocess.DEVNULL)
        try:
            while not socket.exists() and daemon.poll() is None:
                time.sleep(0.01)
            for command, expected in steps(page):
                count += 1
                printed = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, text=True, timeout=60,
                                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, check=False).stdout.splitlines()
                if printed != expected:
                    faults.append("\n".join([f"{page.name}: $ {command}", *(f"  shown    {line}" for line in expected),
                                             *(f"  printed  {line}" for line in printed)]))
        finally:
            daemon.terminate()
            daemon.wait()
    return count, faults


def main():
    build = Path(sys.argv[1]).resolve()
    count, faults = 0, []
    for name in sys.argv[2:]:
        shown, wrong = run_page(ROOT / name, build)
        if shown == 0:
            wrong = [f"{name}: shows no command"]
        count += shown
        faults += wrong
    print("\n".join(faults) if faults else f"{count} commands print what the pages show")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
