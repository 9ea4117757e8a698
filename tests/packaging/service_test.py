"""The systemd unit, as far as it can be looked at without systemd running."""

import re
import shutil
import struct
import tempfile
import unittest
from pathlib import Path

from support import BUILD, run

UNIT = BUILD / "packaging/gwconfd.service"
MEMORY = {4: "131072K", 8: "262144K"}[struct.calcsize("P")]


def settings():
    return [line for line in UNIT.read_text().splitlines() if line and not line.startswith("#")]


class Service(unittest.TestCase):
    def test_what_others_rely_on(self):
        lines = settings()
        for line in [
            "SuccessExitStatus=1",
            "Restart=on-failure",
            "Group=gwconf",
            "NoNewPrivileges=yes",
            "DeviceAllow=char-mtd rw",
            # The rights of clients.
            "CapabilityBoundingSet=CAP_KILL CAP_DAC_OVERRIDE CAP_SETUID CAP_SETGID CAP_SYSLOG",
            "SystemCallFilter=setfsuid setfsuid32 setfsgid setfsgid32 setgroups setgroups32",
            "ReadWritePaths=/tmp",
            "WantedBy=multi-user.target",
            f"LimitAS={MEMORY}",
            f"MemoryMax={MEMORY}",
            "LimitCORE=0",
            "LimitSTACK=1M",
        ]:
            self.assertIn(line, lines)
        # Neither the socket nor listeners' files would be where everybody looks for them.
        self.assertNotIn("PrivateTmp=yes", lines)
        # Nor would a listener's owner be seen.
        self.assertFalse([line for line in lines if line.startswith("ProtectProc=")])
        # What is taken from the filter must be given behind that.
        filters = [line for line in lines if line.startswith("SystemCallFilter=")]
        self.assertTrue(filters[-1].startswith("SystemCallFilter=setfsuid "))

    @unittest.skipUnless(shutil.which("systemd-analyze"), "no systemd-analyze")
    def test_verify(self):
        with tempfile.TemporaryDirectory() as folder:
            unit = Path(folder) / "gwconfd.service"
            text, count = re.subn("(?m)^ExecStart=.*", f"ExecStart={BUILD}/gwconfd", UNIT.read_text())
            self.assertEqual(count, 1)
            unit.write_text(text)
            ran = run("systemd-analyze", "verify", "--man=no", unit)
            self.assertEqual((ran.returncode, ran.stderr), (0, ""))

    @unittest.skipUnless(shutil.which("systemd-analyze"), "no systemd-analyze")
    def test_exposure(self):
        ran = run("systemd-analyze", "security", "--offline=true", "--threshold=30", "--no-pager", UNIT)
        self.assertEqual(ran.returncode, 0, ran.stdout + ran.stderr)


if __name__ == "__main__":
    unittest.main()
