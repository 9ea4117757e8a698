"""What the daemon writes to the system log, as a log that listens on /dev/log gets it.

Runs itself again in a mount namespace, where /dev is its own. Needs GWCONFD and GWCONF_MODEL.
"""

import os
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(PROJECT / "tests/support"), str(PROJECT / "scripts")]
from daemon_requests import ROOT, Client
from sandbox import Sandbox

TABLE = ROOT + "Layer3Forwarding.Forwarding."
# Facility user and a priority; then the time, without the host's name or a process id.
LINE = r"^<%d>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d \[CONFIG\]: "
WARNING, ERROR = 12, 11


class SystemLog(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        subprocess.run(["mount", "-t", "tmpfs", "gwconf-test", "/dev"], check=True)
        Path("/dev/null").touch()

    def setUp(self):
        folder = tempfile.mkdtemp(prefix="gwconf-log.")
        self.sandbox = Sandbox(folder, [os.environ["GWCONFD"]], os.environ["GWCONF_MODEL"])
        self.addCleanup(self.sandbox.remove)
        self.client = Client(self.sandbox.socket, "<" if sys.byteorder == "little" else ">")

    def listen(self):
        log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(log.close)
        log.bind("/dev/log")
        self.addCleanup(os.unlink, "/dev/log")
        log.settimeout(0)
        return log

    def assert_lines(self, log, *wanted, priority=WARNING):
        """What came since the last look; a request's line is sent before its answer."""
        lines = []
        try:
            while True:
                lines.append(log.recv(65536).decode().rstrip("\0"))
        except BlockingIOError:
            pass
        self.assertEqual(len(lines), len(wanted), lines)
        for line, text in zip(lines, wanted):
            self.assertRegex(line, LINE % priority)
            self.assertEqual(line.split("[CONFIG]: ", 1)[1], text)

    def test_instances_come_and_go(self):
        log = self.listen()
        self.sandbox.start()
        self.assert_lines(log)
        self.assertEqual(self.client.ask("10", TABLE, "41"), [b"0\0"])
        self.assert_lines(log, f"Add object {TABLE} instance 41")
        self.assertEqual(self.client.ask("11", TABLE, "42"), [b"0\0"])
        self.assert_lines(log, f"Add object {TABLE} instance 42")
        self.assertEqual(self.client.ask("12", TABLE, "41"), [b"0\0"])
        self.assert_lines(log, f"Delete object {TABLE} instance 41")
        self.assertEqual(self.client.ask("13", TABLE + "42."), [b"0\0"])
        self.assert_lines(log, f"Delete object {TABLE}42.")

    def test_other_requests_say_nothing(self):
        log = self.listen()
        self.sandbox.start()
        self.client.ask("0", ROOT + "Time.NTPServer1", "a")
        self.client.ask("14", TABLE, "1")
        self.client.ask("17", TABLE)
        self.client.ask("19")
        self.assert_lines(log)

    def test_a_refusal_says_nothing(self):
        log = self.listen()
        self.sandbox.start()
        self.assertEqual(self.client.ask("10", TABLE, "7"), [b"0\0"])
        self.assert_lines(log, f"Add object {TABLE} instance 7")
        self.assertEqual(self.client.ask("10", TABLE, "7"), [b"5\0"])
        self.assertEqual(self.client.ask("12", TABLE, "8"), [b"2\0"])
        self.assertEqual(self.client.ask("13", TABLE + "%s%n."), [b"2\0"])
        self.assert_lines(log)

    def test_settings_that_are_not_saved(self):
        log = self.listen()
        self.sandbox.start()
        primary, backup = (f"{self.sandbox.folder}/dev/{name}" for name in ("mtd9", "mtd10"))
        for partition in primary, backup:
            os.unlink(partition)
            os.mkdir(partition)
        self.assertEqual(self.client.ask("19"), [b"0\0"])
        self.assert_lines(log, *(f"settings not saved to {partition}: Is a directory" for partition in (primary, backup)),
                          priority=ERROR)
        server = ROOT + "Time.NTPServer1"
        self.client.ask("0", server, "x" * 2048)
        self.assertEqual(self.client.ask("19"), [b"156\0"])
        self.assert_lines(log, f"settings not saved to flash: the attributes of {server} take more than 2047 characters",
                          priority=ERROR)

    def test_a_log_that_stands_still_does_not_hold_the_service(self):
        log = self.listen()
        self.sandbox.start()
        for number in range(41, 81):
            self.assertEqual(self.client.ask("10", TABLE, str(number)), [b"0\0"])
        first = log.recv(65536).decode().rstrip("\0")
        self.assertRegex(first, LINE % WARNING + "Add object .* instance 41$")
        with self.assertRaises(BlockingIOError):
            while True:
                log.recv(65536)
        self.assertEqual(self.client.ask("12", TABLE, "41"), [b"0\0"])
        self.assert_lines(log, f"Delete object {TABLE} instance 41")

    def test_without_a_log_it_serves(self):
        self.sandbox.start()
        self.assertEqual(self.client.ask("10", TABLE, "41"), [b"0\0"])
        self.assertEqual(self.client.ask("12", TABLE, "41"), [b"0\0"])


def run_apart():
    # A user namespace gives the right to mount to whom has none. Root has it, also where there are no such namespaces.
    as_root = [] if os.geteuid() == 0 else ["--map-root-user"]
    script = os.path.realpath(__file__)
    os.execvp("unshare", ["unshare", "--mount", *as_root, sys.executable, "-B", script, "apart"])


if __name__ == "__main__":
    if sys.argv[1:] != ["apart"]:
        run_apart()
    unittest.main(argv=sys.argv[:1])
