"""What the tests of this folder share: where the build is, and a daemon over a folder of its own."""

import contextlib
import os
import shutil
import socket
import subprocess
import tempfile
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["GWCONF_BUILD"])


def run(*command, **options):
    """The finished process, with what it printed."""
    options.setdefault("stdin", subprocess.DEVNULL)
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=60, **options)


@contextlib.contextmanager
def sandbox():
    """A folder for gwconfd-sandbox with the sample model in it."""
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        (root / "etc").mkdir()
        shutil.copy(SOURCE / "models/home-gateway.xml", root / "etc/default.xml")
        yield root


def socket_of(root):
    return root / "tmp/Vantrel_cm_socket"


def answers(path):
    with socket.socket(socket.AF_UNIX) as client:
        return client.connect_ex(str(path)) == 0


@contextlib.contextmanager
def daemon():
    """The socket of a daemon that serves."""
    with sandbox() as root:
        process = subprocess.Popen(
            [BUILD / "gwconfd-sandbox"], env=os.environ | {"GWCONF_SANDBOX": str(root)}, stdout=subprocess.DEVNULL
        )
        try:
            deadline = time.monotonic() + 30
            while not answers(socket_of(root)):
                if process.poll() is not None or time.monotonic() > deadline:
                    raise RuntimeError("the daemon does not start")
                time.sleep(0.05)
            yield socket_of(root)
        finally:
            process.kill()
            process.wait()
