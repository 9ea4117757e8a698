"""What the init script leaves a daemon of its starter's rights and room, and that the daemon can do its work with that."""

import os
import re
import shutil
import struct
import sys
import unittest
from pathlib import Path

from init_service import SANITIZED, comes_true, in_each_shell, limit_of, of_process, service, status_of
from support import BUILD, SOURCE, answers, run

sys.path.insert(0, str(SOURCE / "tests/support"))
from daemon_requests import ROOT, Client

MEMORY = {4: "134217728", 8: "268435456"}[struct.calcsize("P")]
LARGEST_FILE = 2097152
# By their numbers, as far as a service like this may ever have them.
CAPABILITIES = [
    "CHOWN", "DAC_OVERRIDE", "DAC_READ_SEARCH", "FOWNER", "FSETID", "KILL", "SETGID", "SETUID", "SETPCAP",
]  # fmt: skip
NUMBERS = {name: number for number, name in enumerate(CAPABILITIES)} | {"SYS_PTRACE": 19, "SYS_NICE": 23, "SYSLOG": 34}
IS_ROOT = os.geteuid() == 0


def bounding_set_of_the_unit():
    names = re.search("(?m)^CapabilityBoundingSet=(.*)", (BUILD / "packaging/gwconfd.service").read_text())[1]
    return sum(1 << NUMBERS[name.removeprefix("CAP_")] for name in names.split())


def can_drop_capabilities():
    """Nobody but root can, and setpriv does not say so."""
    show = ["setpriv", "--bounding-set=-all", "grep", "CapBnd", "/proc/self/status"]
    return shutil.which("setpriv") and run(*show).stdout == "CapBnd:\t0000000000000000\n"


class Confinement(unittest.TestCase):
    def starts(self, script, **options):
        ran = script("start", **options)
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (0, "gwconfd is running\n", ""))
        return script.pid()

    def each_life(self, script):
        """The process, as it is started first, and as it comes back."""
        first = script.pid()
        yield first
        os.kill(first, 9)
        self.assertTrue(comes_true(lambda: script.pid_file.read_text() not in ("", f"{first}\n")))
        self.assertTrue(comes_true(lambda: answers(script.socket)))
        yield script.pid()

    @in_each_shell
    def test_limits(self, shell):
        with service(shell) as script:
            self.starts(script)
            for pid in self.each_life(script):
                self.assertEqual(limit_of(pid, "Max core file size"), ("0", "0"))
                self.assertEqual(limit_of(pid, "Max stack size"), ("1048576", "1048576"))
                if not SANITIZED:
                    self.assertEqual(limit_of(pid, "Max address space"), (MEMORY, MEMORY))

    @in_each_shell
    def test_nothing_is_left_of_who_starts_it(self, shell):
        def leave_traces():
            os.umask(0)
            Path("/proc/self/oom_score_adj").write_text("300")
            os.nice(3)

        environment = os.environ | {"SECRET": "password", "LD_DEBUG": "", "TZ": "UTC-1"}
        with service(shell) as script:
            self.starts(script, env=environment, cwd=script.root, preexec_fn=leave_traces)
            for pid in self.each_life(script):
                variables = {line.partition("=")[0] for line in of_process(pid, "environ").split("\0") if line}
                self.assertLessEqual({"GWCONF_SANDBOX", "PATH", "TZ"}, variables)
                # Shells may export what they know themselves.
                self.assertLessEqual(variables, {"GWCONF_SANDBOX", "PATH", "TZ", "PWD", "OLDPWD", "SHLVL", "_"})
                self.assertIn("TZ=UTC-1\0", of_process(pid, "environ"))
                self.assertEqual(os.readlink(f"/proc/{pid}/cwd"), "/")
                self.assertEqual(status_of(pid, "Umask"), "0007")
                self.assertEqual(of_process(pid, "oom_score_adj"), "0\n")
                self.assertEqual({os.readlink(f"/proc/{pid}/fd/{number}") for number in range(3)}, {"/dev/null"})
                # The 19th field behind the name in parentheses, which is the second.
                nice = of_process(pid, "stat").rpartition(")")[2].split()[16]
                self.assertEqual(nice, "0" if IS_ROOT else "3")
            # The group of a pid file must not choose what is killed.
            self.assertEqual(script.pid_file.stat().st_mode & 0o777, 0o644)
            self.assertEqual(script.supervisor_file.stat().st_mode & 0o777, 0o644)

    @in_each_shell
    def test_rights(self, shell):
        with service(shell) as script:
            self.starts(script)
            for pid in self.each_life(script):
                if shell == "busybox" or shutil.which("setpriv"):
                    self.assertEqual(status_of(pid, "NoNewPrivs"), "1")
                # BusyBox's setpriv cannot take capabilities away.
                if shell != "busybox" and can_drop_capabilities():
                    left = int(status_of(pid, "CapBnd"), 16)
                    self.assertEqual(left & ~bounding_set_of_the_unit(), 0)
                    self.assertEqual(left, int(status_of(os.getpid(), "CapBnd"), 16) & bounding_set_of_the_unit())
                    self.assertEqual(int(status_of(pid, "CapEff"), 16) & ~left, 0)

    @in_each_shell
    def test_without_setpriv(self, shell):
        with service(shell) as script:
            script.replace("setpriv [$]way true", "setpriv-is-missing $way true")
            pid = self.starts(script)
            self.assertEqual(status_of(pid, "NoNewPrivs"), "0")

    def test_the_largest_file(self):
        """Within the bounds the daemon starts, serves, commits, and restores a file as large as it takes."""
        with service("sh") as script:
            self.starts(script)
            client = Client(str(script.socket), {"little": "<", "big": ">"}[sys.byteorder])
            self.assertEqual(client.ask("0", f"{ROOT}Time.NTPServer1", "ntp.example.net"), [b"0\0"])
            self.assertEqual(client.ask("19"), [b"0\0"])
            head = f'<OBJECT name="{ROOT}">'
            last = '<PARAMETER name="NTPServer1" type="string(64)" value="last.example.net" writable="1"/>'
            tail = f'<OBJECT name="Time.">{last}</OBJECT></OBJECT>'
            rows, room = [], LARGEST_FILE - len(head + tail)
            while room >= len(row := f'<PARAMETER name="P{len(rows)}" type="string" value="" writable="1"/>'):
                rows.append(row)
                room -= len(row)
            file = script.root / "tmp/large.xml"
            file.write_text(head + "".join(rows) + " " * room + tail)
            self.assertEqual(file.stat().st_size, LARGEST_FILE)
            self.assertEqual(client.ask("30", str(file)), [b"0\0"])
            self.assertEqual(client.ask("2", f"{ROOT}Time.NTPServer1"), [b"last.example.net\0", b"0\0"])
            self.assertEqual(client.ask("19"), [b"0\0"])


if __name__ == "__main__":
    unittest.main()
