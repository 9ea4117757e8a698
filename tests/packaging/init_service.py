"""The init script over a sandbox daemon, and what a process shows of itself."""

import contextlib
import functools
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from support import BUILD, run, sandbox, socket_of

SCRIPT = BUILD / "packaging/gwconfd.init"
# The system's shell with the system's programs, and BusyBox with nothing but its own.
SHELLS = ["sh"] + (["busybox"] if shutil.which("busybox") else [])
# The sanitizers take terabytes of address space.
SANITIZED = "-fsanitize" in os.environ["GWCONF_CXXFLAGS"]


@functools.lru_cache(None)
def applets():
    """A folder of BusyBox's programs, kept until the tests end."""
    folder = tempfile.TemporaryDirectory()
    subprocess.run([shutil.which("busybox"), "--install", "-s", folder.name], check=True)
    return folder


def comes_true(condition, seconds=20):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.02)
    return True


def of_process(pid, name):
    return Path(f"/proc/{pid}/{name}").read_text()


def status_of(pid, field):
    return re.search(f"(?m)^{field}:\\s*(.*)$", of_process(pid, "status"))[1]


def limit_of(pid, name):
    """What may not be exceeded, and what the process may not raise that to."""
    return tuple(re.search(f"(?m)^{name} +(\\w+) +(\\w+)", of_process(pid, "limits")).groups())


class Service:
    """The script, with the daemon of the sandbox, and with the pause and the tries that a test wants."""

    def __init__(self, shell, root, pause="0", tries="100"):
        self.root = root
        # BusyBox's start-stop-daemon does not find names as long as gwconfd-sandbox.
        self.daemon = root / "gwconfd"
        self.daemon.symlink_to(BUILD / "gwconfd-sandbox")
        self.pid_file = root / "daemon.pid"
        self.supervisor_file = root / "daemon.supervisor.pid"
        self.socket = socket_of(root)
        self.log = root / "log"
        programs, self.shell = "/sbin:/usr/sbin:/bin:/usr/bin", "/bin/sh"
        if shell == "busybox":
            programs = applets().name
            self.shell = f"{programs}/sh"
        logger = root / "bin/logger"
        logger.parent.mkdir()
        logger.write_text(f'#!/bin/sh\necho "$*" >>{self.log}\n')
        logger.chmod(0o755)
        self.text = SCRIPT.read_text()
        for name, value in [
            ("daemon", self.daemon), ("pid_file", self.pid_file), ("socket", self.socket), ("group", "-"),
            ("shell", self.shell), ("pause", pause), ("  tries", tries), ("PATH", f"{logger.parent}:{programs}"),
        ]:  # fmt: skip
            self.replace(f"(?m)^{name}=[^ \n]*", f"{name}={value}")
        if SANITIZED:
            self.replace("(?m)^memory=[0-9]+", "memory=unlimited")
        self.replace(" env -i ", f" env -i GWCONF_SANDBOX={root} ")
        self.script = root / "script"

    def replace(self, pattern, value):
        self.text, count = re.subn(pattern, value, self.text)
        assert count == 1, pattern

    def __call__(self, *arguments, **options):
        # A daemon that kept the script's output open would keep a caller waiting for its end.
        self.script.write_text(self.text)
        return run(self.shell, self.script, *arguments, **options)

    def pid(self):
        return int(self.pid_file.read_text())

    def supervisor(self):
        return int(self.supervisor_file.read_text())

    def is_ours(self, pid):
        """Whether a process that is alive has to do with this service; numbers are given anew."""
        with contextlib.suppress(OSError):
            # The environment of what has not begun to run, or has ended, is empty.
            return f"GWCONF_SANDBOX={self.root}" in of_process(pid, "environ").split("\0")
        return False

    def processes(self):
        return [int(path.name) for path in Path("/proc").glob("[0-9]*") if self.is_ours(path.name)]

    def kill(self):
        """Ends what the test has left. The supervisor first, or there would be another."""
        with contextlib.suppress(FileNotFoundError, ProcessLookupError, ValueError):
            if self.is_ours(self.supervisor()):
                os.kill(self.supervisor(), signal.SIGKILL)
        for pid in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)


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
            with self.subTest(shell=shell):
                test(self, shell)

    return run_all
