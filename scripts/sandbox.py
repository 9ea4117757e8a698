"""The daemon in a folder of its own, for scripts and tests that run commands on it."""

import os
import subprocess
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]


@contextmanager
def gateway(build):
    """Serves the sample model with the programs in a build folder. Yields a fresh folder, in which `sandbox` is the
    daemon's, and the environment of commands that ask it."""
    with tempfile.TemporaryDirectory(prefix="gwconf-sandbox.") as name:
        sandbox = Path(name) / "sandbox"
        for part in ("etc", "dev", "tmp"):
            (sandbox / part).mkdir(parents=True)
        for part in ("mtd9", "mtd10"):
            (sandbox / "dev" / part).touch()
        (sandbox / "etc/default.xml").write_bytes((ROOT / "models/home-gateway.xml").read_bytes())
        socket = sandbox / "tmp/Vantrel_cm_socket"
        environment = dict(os.environ, GWCONF_SANDBOX=str(sandbox), GWCONF_SOCKET=str(socket), HOME=name,
                           LC_ALL="C.UTF-8", PATH=f"{build}:{os.environ['PATH']}", TMPDIR=name)
        daemon = subprocess.Popen([build / "gwconfd-sandbox"], env=environment, stdout=subprocess.DEVNULL)
        try:
            while not socket.exists() and daemon.poll() is None:
                time.sleep(0.01)
            yield Path(name), environment
        finally:
            daemon.terminate()
            daemon.wait()
