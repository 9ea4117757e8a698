"""The daemon in a folder of its own, for scripts and tests that talk to it or run commands on it."""

import os
import shutil
import socket
import subprocess
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]


class Sandbox:
    """A folder that stands for a device, flash included, and the daemon that serves it."""

    def __init__(self, folder, command, model):
        self.folder = Path(folder)
        for part in ("etc", "dev", "tmp"):
            (self.folder / part).mkdir(parents=True)
        for part in ("mtd9", "mtd10"):
            (self.folder / "dev" / part).touch()
        shutil.copyfile(model, self.folder / "etc/default.xml")
        self.socket = str(self.folder / "tmp/Vantrel_cm_socket")
        self.environment = dict(os.environ, GWCONF_SANDBOX=str(self.folder), GWCONF_SOCKET=self.socket)
        self.daemon = None
        self._command = command

    def start(self):
        self.daemon = subprocess.Popen(self._command, env=self.environment, stdout=subprocess.DEVNULL)
        end = time.monotonic() + 20
        while not self._listens():
            if self.daemon.poll() is not None or time.monotonic() > end:
                raise RuntimeError("the daemon does not answer")
            time.sleep(0.01)

    def stop(self):
        if self.daemon:
            self.daemon.terminate()
            self.daemon.wait(20)
            self.daemon = None

    def remove(self):
        self.stop()
        shutil.rmtree(self.folder)

    def _listens(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as link:
            return link.connect_ex(self.socket) == 0


@contextmanager
def gateway(build):
    """Serves the sample model with the programs in a build folder. Yields a fresh folder, in which `sandbox` is the
    daemon's, and the environment of commands that ask it."""
    with tempfile.TemporaryDirectory(prefix="gwconf-sandbox.") as name:
        served = Sandbox(Path(name) / "sandbox", [Path(build) / "gwconfd-sandbox"], ROOT / "models/home-gateway.xml")
        served.environment.update(HOME=name, LC_ALL="C.UTF-8", PATH=f"{build}:{os.environ['PATH']}", TMPDIR=name)
        served.start()
        try:
            yield Path(name), served.environment
        finally:
            served.stop()
