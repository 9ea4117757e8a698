"""The init script: its syntax, and a daemon's life with it, under the system's shell and under BusyBox's."""

import contextlib
import functools
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from support import BUILD, SOURCE, answers, run, sandbox, socket_of

SCRIPT = BUILD / "packaging/gwconfd.init"
SHELLS = [["sh"]] + ([["busybox", "sh"]] if shutil.which("busybox") else [])


class Service:
    """The script over a sandbox daemon."""

    def __init__(self, shell, root, daemon=BUILD / "gwconfd-sandbox"):
        self.shell = shell
        self.root = root
        self.pid_file = root / "daemon.pid"
        self.socket = socket_of(root)
        text = SCRIPT.read_text()
        for name, value in [("daemon", daemon), ("pid_file", self.pid_file), ("socket", self.socket), ("group", "-")]:
            text, count = re.subn(f"(?m)^{name}=[^ \n]*", f"{name}={value}", text)
            assert count == 1, name
        self.script = root / "script"
        self.script.write_text(text)

    def __call__(self, *arguments):
        # A daemon that kept the script's output open would keep a caller waiting for its end.
        return run(*self.shell, self.script, *arguments, env=os.environ | {"GWCONF_SANDBOX": str(self.root)})

    def pid(self):
        return int(self.pid_file.read_text())

    def kill(self):
        """Ends what the test has left, and nobody who has its number by now."""
        with contextlib.suppress(FileNotFoundError, ProcessLookupError, ValueError):
            if Path(f"/proc/{self.pid()}/comm").read_text() == "gwconfd-sandbox\n":
                os.kill(self.pid(), signal.SIGKILL)


@contextlib.contextmanager
def service(shell, **options):
    with sandbox() as root:
        made = Service(shell, root, **options)
        try:
            yield made
        finally:
            made.kill()


def in_each_shell(test):
    @functools.wraps(test)
    def run_all(self):
        for shell in SHELLS:
            with self.subTest(shell=" ".join(shell)):
                test(self, shell)

    return run_all


class InitScript(unittest.TestCase):
    def ends(self, ran, status, out="", err=""):
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (status, out, err))

    @in_each_shell
    def test_syntax(self, shell):
        self.ends(run(*shell, "-n", SCRIPT), 0)

    def test_maintainer_scripts(self):
        for name in ["postinst", "prerm", "postrm"]:
            self.ends(run("sh", "-n", SOURCE / "packaging/debian" / name), 0)

    @in_each_shell
    def test_life(self, shell):
        with service(shell) as script:
            self.ends(script("status"), 3, "gwconfd-sandbox is not running\n")
            self.ends(script("start"), 0, "gwconfd-sandbox is running\n")
            self.assertTrue(answers(script.socket))
            first = script.pid()
            self.ends(script("status"), 0, f"gwconfd-sandbox is running, process {first}\n")
            self.ends(script("start"), 0, "gwconfd-sandbox is running already\n")
            self.assertEqual(script.pid(), first)

            self.ends(script("restart"), 0, "gwconfd-sandbox is stopped\ngwconfd-sandbox is running\n")
            self.assertNotEqual(script.pid(), first)
            self.assertTrue(answers(script.socket))

            self.ends(script("stop"), 0, "gwconfd-sandbox is stopped\n")
            self.assertFalse(script.pid_file.exists())
            self.assertFalse(script.socket.exists())
            self.ends(script("status"), 3, "gwconfd-sandbox is not running\n")
            self.ends(script("stop"), 0, "gwconfd-sandbox is stopped\n")

    @in_each_shell
    def test_after_a_crash(self, shell):
        with service(shell) as script:
            self.ends(script("start"), 0, "gwconfd-sandbox is running\n")
            os.kill(script.pid(), signal.SIGKILL)
            deadline = time.monotonic() + 10
            while script("status").returncode == 0 and time.monotonic() < deadline:
                time.sleep(0.05)
            self.ends(script("status"), 1, f"gwconfd-sandbox has ended, but {script.pid_file} is there\n")
            self.assertTrue(script.socket.exists())
            self.ends(script("start"), 0, "gwconfd-sandbox is running\n")
            self.assertTrue(answers(script.socket))

    @in_each_shell
    def test_pid_file_of_somebody_else(self, shell):
        with service(shell) as script:
            with subprocess.Popen(["sleep", "60"]) as other:
                script.pid_file.write_text(f"{other.pid}\n")
                self.assertEqual(script("status").returncode, 1)
                self.ends(script("stop"), 0, "gwconfd-sandbox is stopped\n")
                self.assertIsNone(other.poll())
                other.kill()

    @in_each_shell
    def test_zombie(self, shell):
        with service(shell) as script:
            # Nobody waits for it until the end of the block.
            with subprocess.Popen(["true"], executable=shutil.which("true")) as dead:
                script.pid_file.write_text(f"{dead.pid}\n")
                os.waitid(os.P_PID, dead.pid, os.WEXITED | os.WNOWAIT)
                text = script.script.read_text()
                script.script.write_text(text.replace("\nname=${daemon##*/}\n", "\nname=true\n"))
                self.ends(script("status"), 1, f"true has ended, but {script.pid_file} is there\n")

    @in_each_shell
    def test_deaf_daemon(self, shell):
        """One that does not react to a termination signal is killed after ten seconds, for which nobody waits here."""
        with service(shell) as script:
            text, count = re.subn("(?m)^  tries=100$", "  tries=10", script.script.read_text())
            self.assertEqual(count, 1)
            script.script.write_text(text)
            self.ends(script("start"), 0, "gwconfd-sandbox is running\n")
            os.kill(script.pid(), signal.SIGSTOP)
            self.ends(script("stop"), 0, "gwconfd-sandbox is stopped\n")
            self.assertFalse(script.socket.exists())

    @in_each_shell
    def test_defaults_that_do_not_load(self, shell):
        with service(shell) as script:
            (script.root / "etc/default.xml").write_text("no configuration")
            self.ends(script("start"), 1, err="gwconfd-sandbox does not start\n")
            self.assertEqual(script("status").returncode, 1)

    @in_each_shell
    def test_stale_socket(self, shell):
        with service(shell) as script:
            script.socket.parent.mkdir()
            with socket.socket(socket.AF_UNIX) as left_over:
                left_over.bind(str(script.socket))
            self.ends(script("start"), 0, "gwconfd-sandbox is running\n")
            self.assertTrue(answers(script.socket))

    @in_each_shell
    def test_no_daemon(self, shell):
        with service(shell, daemon=Path("/nonexistent/gwconfd")) as script:
            self.ends(script("start"), 5, err="/nonexistent/gwconfd is not installed\n")

    @in_each_shell
    def test_wrong_use(self, shell):
        with service(shell) as script:
            usage = f"usage: {script.script} start|stop|restart|force-reload|status\n"
            self.ends(script(), 2, err=usage)
            self.ends(script("reload"), 2, err=usage)


if __name__ == "__main__":
    unittest.main()
