"""A daemon over a folder of its own, and gwctl talking to it."""

import glob
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
from sandbox import Sandbox

GWCTL = os.environ["GWCTL"]
DAEMON = os.environ["GWCONFD"]
MODEL = os.environ["GWCONF_MODEL"]

ROOT = "InternetGatewayDevice."
TIME = ROOT + "Time."
NTP = TIME + "NTPServer1"
FORWARDING = ROOT + "Layer3Forwarding.Forwarding."


class Gateway(Sandbox):
    """A sandbox, and gwctl with its daemon."""

    def __init__(self):
        super().__init__(tempfile.mkdtemp(prefix="gwctl-live."), [DAEMON], MODEL)
        folder = str(self.folder)
        self.environment.update(TMPDIR=folder, GWCTL_HISTORY=self.path("history"), TERM="dumb")

    def path(self, name):
        return str(self.folder / name)

    def run(self, *arguments, **options):
        options.setdefault("stdin", subprocess.DEVNULL) if "input" not in options else None
        options.setdefault("env", self.environment)
        return subprocess.run(
            [GWCTL, *arguments],
            capture_output=True,
            encoding="utf-8",
            errors="surrogateescape",
            timeout=60,
            **options,
        )

    def popen(self, *arguments, **options):
        options.setdefault("env", self.environment)
        return subprocess.Popen([GWCTL, *arguments], **options)

    def get(self, path):
        return self.run("get", path).stdout[:-1]

    def instances(self, table):
        return [int(n) for n in self.run("raw", "17", table).stdout.strip().split(",") if n]

    def word(self, path):
        return int(self.run("raw", "4", path).stdout)


class LiveTest(unittest.TestCase):
    """Every test has a fresh daemon."""

    def setUp(self):
        self.gateway = Gateway()
        self.addCleanup(self.gateway.remove)
        self.gateway.start()

    def run_tool(self, *arguments, status=0, **options):
        ran = self.gateway.run(*arguments, **options)
        self.assertEqual(ran.returncode, status, ran.stdout + ran.stderr)
        return ran

    def out(self, *arguments, **options):
        return self.run_tool(*arguments, **options).stdout

    def err(self, status, *arguments, **options):
        return self.run_tool(*arguments, status=status, **options).stderr

    def json(self, *arguments, status=0):
        return json.loads(self.run_tool("--json", *arguments, status=status).stdout)

    def wait_for(self, condition, seconds=20):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if condition():
                return
            time.sleep(0.05)
        self.fail("it does not happen")


class BatchTest(LiveTest):
    """What the tests of batches share."""

    def batch(self, *lines):
        path = self.gateway.path("batch")
        with open(path, "wb") as stream:
            stream.write(b"".join(line.encode("utf-8", "surrogateescape") + b"\n" for line in lines))
        return path

    def state(self):
        """All that an export shows, and every attribute bit that matters."""
        user_set = self.out("tree", "--user-set", "--values")
        return self.out("export", ROOT), user_set

    def pending(self):
        return glob.glob(self.gateway.path("gwctl-*.pending"))
