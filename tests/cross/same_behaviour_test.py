"""The daemon of this machine and the one of a 32-bit device whose highest byte comes first: the same requests, answers
and files. Needs GWCONF_HOST_DAEMON, GWCONF_DEVICE_DAEMON, GWCONF_EMULATOR and GWCONF_MODEL."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
from daemon_requests import ROOT, Client, Model, broken_requests, random_requests

MODEL = Model(os.environ["GWCONF_MODEL"])
FLASH = ("dev/mtd9", "dev/mtd10")


class Gateway:
    """A daemon over a folder of its own."""

    def __init__(self, command, order):
        self.command = command
        self.folder = Path(tempfile.mkdtemp(prefix="gwconf-cross."))
        for name in ("etc", "dev", "tmp"):
            (self.folder / name).mkdir()
        for name in FLASH:
            (self.folder / name).touch()
        shutil.copy(os.environ["GWCONF_MODEL"], self.folder / "etc/default.xml")
        self.client = Client(str(self.folder / "tmp/Vantrel_cm_socket"), order)
        self.process = None

    def start(self):
        environment = dict(os.environ, GWCONF_SANDBOX=str(self.folder))
        self.process = subprocess.Popen(self.command, env=environment, stdout=subprocess.DEVNULL)
        for _ in range(400):
            try:
                if self.client.ask("2", ROOT + "DeviceSummary")[-1] == b"0\0":
                    return
            except OSError:
                pass
            time.sleep(0.05)
        raise RuntimeError("the daemon does not answer")

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait(20)
            self.process = None

    def remove(self):
        self.stop()
        shutil.rmtree(self.folder)


class SameBehaviour(unittest.TestCase):
    def setUp(self):
        emulator = os.environ["GWCONF_EMULATOR"].split()
        self.host = Gateway([os.environ["GWCONF_HOST_DAEMON"]], "<")
        self.device = Gateway([*emulator, os.environ["GWCONF_DEVICE_DAEMON"]], ">")
        self.both = (self.host, self.device)
        for gateway in self.both:
            self.addCleanup(gateway.remove)
            gateway.start()

    def assert_same(self, *texts):
        host, device = (gateway.client.ask(*texts) for gateway in self.both)
        self.assertEqual(device, host, texts)
        return host

    def change(self, seed, count=400):
        done = 0
        for texts in random_requests(MODEL, seed, count):
            done += self.assert_same(*texts)[-1:] == [b"0\0"]
        self.assertGreater(done, count // 4)

    def assert_same_trees(self):
        """The exports of both, apart from what is measured."""
        exports = []
        for gateway in self.both:
            text, result = gateway.client.ask("31", ROOT)
            self.assertEqual(result, b"0\0")
            exports.append(re.sub(rb'( function="[^"]*") value="[^"]*"', rb"\1", text).splitlines())
        self.assertGreater(len(exports[0]), 1000)
        self.assertEqual(exports[1], exports[0])

    def test_requests(self):
        for seed in (1, 2):
            self.change(seed)
        self.assert_same_trees()
        self.assertGreater(len(self.assert_same("22")), 1)

    def test_unreadable_requests(self):
        for pair in zip(*(broken_requests(gateway.client) for gateway in self.both), strict=True):
            host, device = (gateway.client.ask_wrongly(request) for gateway, request in zip(self.both, pair))
            self.assertEqual(device, host, pair)
        self.assertEqual(self.assert_same("2", ROOT + "DeviceSummary")[-1], b"0\0")

    def test_files(self):
        self.change(3)
        self.assertEqual(self.assert_same("19"), [b"0\0"])
        for name in (*FLASH, "tmp/backup.xml"):
            host, device = ((gateway.folder / name).read_bytes() for gateway in self.both)
            self.assertGreater(len(host), 500)
            self.assertEqual(device, host, name)
        for gateway in self.both:
            self.assertEqual(gateway.client.ask("29", str(gateway.folder / "saved")), [b"0\0"])
        self.assertEqual((self.device.folder / "saved").read_bytes(), (self.host.folder / "saved").read_bytes())

    def test_each_starts_from_the_flash_of_the_other(self):
        self.change(4)
        self.assertEqual(self.host.client.ask("19"), [b"0\0"])
        self.device.stop()
        for name in FLASH:
            shutil.copy(self.host.folder / name, self.device.folder / name)
        self.device.start()
        self.host.stop()
        self.host.start()
        self.assert_same_trees()
        self.assertEqual(self.assert_same("20"), [b"0\0"])
        self.change(5)
        self.assertEqual(self.device.client.ask("19"), [b"0\0"])
        self.host.stop()
        for name in FLASH:
            shutil.copy(self.device.folder / name, self.host.folder / name)
        self.host.start()
        self.device.stop()
        self.device.start()
        self.assert_same_trees()


if __name__ == "__main__":
    unittest.main()
