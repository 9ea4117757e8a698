"""The daemon of this machine and the one of a 32-bit device whose highest byte comes first: the same requests, answers
and files. Needs GWCONF_HOST_DAEMON, GWCONF_DEVICE_DAEMON, GWCONF_EMULATOR and GWCONF_MODEL."""

import os
import re
import shutil
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(PROJECT / "tests/support"), str(PROJECT / "scripts")]
from daemon_requests import ROOT, Client, Model, broken_requests, random_requests
from sandbox import Sandbox

MODEL = Model(os.environ["GWCONF_MODEL"])
FLASH = ("dev/mtd9", "dev/mtd10")


class Gateway(Sandbox):
    """A daemon of either byte order, and a client of it."""

    def __init__(self, command, order):
        super().__init__(tempfile.mkdtemp(prefix="gwconf-cross."), command, os.environ["GWCONF_MODEL"])
        self.client = Client(self.socket, order)


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
