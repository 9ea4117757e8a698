"""apply and confirm: all or nothing, whatever happens."""

import glob
import os
import pty
import signal
import stat
import subprocess
import time
import unittest

from gateway import FORWARDING, NTP, ROOT, TIME, LiveTest

DELETED = ROOT + "X_VT_MiscCfg.DeletedDefaultInstances."
LAN = ROOT + "LANDevice."


class Apply(LiveTest):
    def batch(self, *lines):
        path = self.gateway.path("batch")
        with open(path, "wb") as stream:
            stream.write(b"".join(line.encode("utf-8", "surrogateescape") + b"\n" for line in lines))
        return path

    def state(self):
        """All that an export shows, and every attribute bit that matters."""
        user_set = self.out("tree", "--user-set", "--values")
        return self.out("export", ROOT), user_set

    def pending(self):
        return glob.glob(self.gateway.path("gwctl-*.pending"))

    def test_changes_in_order(self):
        file = self.batch(
            "# a comment",
            "",
            f"set {NTP}= two  blanks ",
            f"  add {FORWARDING}",
            f"set {FORWARDING}2.MTU=1400\r",
            f"add {FORWARDING} 5",
            f"del {FORWARDING}1.",
            f"add {FORWARDING}",
        )
        self.assertEqual(
            self.out("apply", file), f"{FORWARDING}2.\n{FORWARDING}5.\n{FORWARDING}6.\n"
        )
        self.assertEqual(self.gateway.get(NTP), " two  blanks ")
        self.assertEqual(self.gateway.get(FORWARDING + "2.MTU"), "1400")
        self.assertEqual(self.gateway.instances(FORWARDING), [2, 5, 6])

    def test_standard_input_and_json(self):
        ran = self.run_tool("--json", "apply", "-", input=f"set {NTP}=x\n")
        self.assertIn('"state": "done"', ran.stdout)
        self.assertEqual(self.gateway.get(NTP), "x")

    def test_all_is_checked_before_anything_is_sent(self):
        before = self.state()
        file = self.batch(
            f"set {NTP}=good",
            f"set {FORWARDING}1.MTU=9999",
            f"set {TIME}Status=Error",
            f"add {FORWARDING} 1",
            f"add {FORWARDING} 3",
            f"set {FORWARDING}3.MTU=0",
            f"del {FORWARDING}3.",
            f"set {FORWARDING}3.MTU=1",
            f"del {TIME}",
            f"add {TIME}",
        )
        text = self.err(4, "apply", file)
        for number, reason in (
            (2, f"set {FORWARDING}1.MTU: more than 1540"),
            (3, f"set {TIME}Status: read-only"),
            (4, f"add {FORWARDING}1.: exists already"),
            (6, f"set {FORWARDING}3.MTU: less than 1"),
            (8, f"set {FORWARDING}3.MTU: deleted by a line before"),
            (9, f"del {TIME}: only instances can be brought back"),
            (10, f"add {TIME}1.: {TIME} is no table: it has no template"),
        ):
            self.assertIn(f"gwctl: {file}:{number}: {reason}\n", text)
        self.assertEqual(len(text.splitlines()), 8)
        self.assertEqual(self.json("apply", file, status=4)["state"], "refused")
        self.assertEqual(self.state(), before)

    def test_a_path_that_names_nothing(self):
        file = self.batch(f"set {NTP}=good", f"set {TIME}NTPServer9=x", f"del {FORWARDING}4.")
        text = self.err(1, "apply", file)
        self.assertIn(f"{file}:2: set {TIME}NTPServer9: 2 (no such object or parameter)", text)
        self.assertIn("did you mean", text)
        self.assertIn(f"{file}:3: del {FORWARDING}4.: 2", text)
        self.assertEqual(self.gateway.get(NTP), "ntp1.example.net")

    def test_lines_that_are_none(self):
        for line in ("fly", "set", "set X", "set =1", "add", "add T. 0", "add T. x", "add T. 1 2",
                     "del", "del A. B.", "add T. 100000"):
            self.assertIn("batch:1: ", self.err(2, "apply", self.batch(line)), line)

    def test_hostile_files(self):
        self.assertIn("No such file", self.err(2, "apply", "/nowhere"))
        self.err(2, "apply", self.gateway.folder)
        self.assertIn("binary", self.err(2, "apply", self.batch("set A=\0")))
        self.assertIn("neither set", self.err(2, "apply", self.batch("\udcff\udcfe")))
        with open(self.gateway.path("batch"), "wb") as stream:
            stream.write(b"#" * ((16 << 20) + 1))
        self.assertIn("16 MiB", self.err(2, "apply", self.gateway.path("batch")))

    def test_an_empty_batch(self):
        self.assertEqual(self.out("apply", self.batch("# nothing")), "")

    def test_dry_run(self):
        before = self.state()
        file = self.batch(f"set {NTP}=x", f"add {FORWARDING}")
        self.assertEqual(self.out("apply", file, "--dry-run"), FORWARDING + "2.\n")
        self.assertEqual(self.state(), before)

    def test_confirm_in_time(self):
        file = self.batch(f"set {NTP}=x")
        self.assertIn("unless `gwctl confirm` comes", self.run_tool("apply", file, "--confirm", "60").stderr)
        (pending,) = self.pending()
        self.assertEqual(stat.S_IMODE(os.stat(pending).st_mode), 0o600)
        self.assertIn("another batch waits", self.err(2, "apply", file, "--confirm", "60"))
        self.assertEqual(self.json("confirm"), {"confirmed": True})
        self.assertEqual(self.pending(), [])
        self.assertEqual(self.gateway.get(NTP), "x")
        self.assertIn("no batch waits", self.err(4, "confirm"))

    def test_without_confirmation_all_is_undone(self):
        self.out("attr", FORWARDING + "1.MTU", "notify-passive=1")
        before = self.state()
        file = self.batch(
            f"set {NTP}=x",
            f"del {LAN}1.",
            f"set {FORWARDING}1.MTU=1300",
            f"add {FORWARDING}",
            f"set {FORWARDING}2.MTU=1301",
            f"del {FORWARDING}1.",
        )
        self.out("apply", file, "--confirm", "1")
        self.assertNotEqual(self.state(), before)
        self.wait_for(lambda: not self.pending())
        self.wait_for(lambda: self.gateway.get(NTP) == "ntp1.example.net")
        self.assertEqual(self.state(), before)
        self.assertEqual(self.gateway.word(FORWARDING + "1.MTU"), 65)
        self.err(4, "confirm")

    def test_undone_even_if_the_terminal_is_gone(self):
        file = self.batch(f"set {NTP}=x")
        child, master = pty.fork()
        if child == 0:
            os.environ.update(self.gateway.environment)
            os.execl(os.environ["GWCTL"], "gwctl", "apply", file, "--confirm", "2")
        os.waitpid(child, 0)
        os.close(master)
        self.assertEqual(self.gateway.get(NTP), "x")
        self.wait_for(lambda: self.gateway.get(NTP) == "ntp1.example.net")

    def test_a_virtual_instance_comes_back_virtual(self):
        self.out("add", FORWARDING, "2", "--virtual")
        before = self.state()
        self.out("apply", self.batch(f"del {FORWARDING}2."), "--confirm", "1")
        self.wait_for(lambda: not self.pending())
        self.wait_for(lambda: self.state() == before)
        self.assertTrue(self.json("describe", FORWARDING + "2.")["virtual"])

    def test_the_record_of_a_deleted_default_comes_back(self):
        self.out("del", FORWARDING + "1.")
        self.assertEqual(self.gateway.get(DELETED + "1.URI"), FORWARDING + "1.")
        self.out("apply", self.batch(f"add {FORWARDING} 1"), "--confirm", "1")
        self.assertEqual(self.gateway.instances(DELETED), [])
        self.wait_for(lambda: self.gateway.instances(FORWARDING) == [])
        self.assertEqual(self.gateway.get(DELETED + "1.URI"), FORWARDING + "1.")

    def long_batch(self, lines=8000):
        return self.batch(*(f"set {TIME}NTPServer{1 + i % 5}={i}" for i in range(lines)))

    def killed(self, how):
        before = self.state()
        tool = self.gateway.popen("apply", self.long_batch(), stderr=subprocess.DEVNULL)
        self.wait_for(lambda: self.gateway.get(NTP) != "ntp1.example.net")
        self.assertIsNone(tool.poll(), "killed too late")
        tool.send_signal(how)
        status = tool.wait(timeout=60)
        self.wait_for(lambda: self.state() == before, 60)
        time.sleep(0.5)
        self.assertEqual(self.state(), before)
        return status

    def test_killed_in_the_middle(self):
        self.assertEqual(self.killed(signal.SIGKILL), -signal.SIGKILL)

    def test_interrupted_in_the_middle(self):
        self.assertEqual(self.killed(signal.SIGINT), 1)

    def test_hung_up_in_the_middle(self):
        self.assertEqual(self.killed(signal.SIGHUP), 1)

    def test_the_daemon_goes_in_the_middle(self):
        before = self.state()
        tool = self.gateway.popen("apply", self.long_batch(), stderr=subprocess.PIPE)
        self.wait_for(lambda: self.gateway.get(NTP) != "ntp1.example.net")
        self.out("commit")  # so that the changes are there after the restart
        self.gateway.stop()
        _, complaint = tool.communicate(timeout=60)
        self.assertEqual(tool.returncode, 3)
        self.assertIn(b"undone in the background", complaint)
        self.gateway.start()
        self.wait_for(lambda: self.state() == before, 60)

    def test_a_line_that_fails_undoes_those_before(self):
        # The value is good, but as the daemon stores it, escaped, it is too long.
        file = self.batch(f"set {NTP}=x", f"add {FORWARDING}", *self.unstorable())
        before = self.state()
        text = self.err(1, "apply", file)
        self.assertIn(": -100 (invalid request)", text)
        self.assertIn("nothing is changed", text)
        self.assertEqual(self.state(), before)

    def unstorable(self):
        """A line that passes every check and is refused."""
        for row in self.json("find", "."):
            if "value" not in row or row["path"].endswith("NumberOfEntries"):
                continue
            told = self.json("describe", row["path"])
            if told["type"] == "string" and "length" not in told and "writable" in told["attributes"]:
                return [f"set {row['path']}=" + "&" * 20000]
        self.fail("no text without a length in this model")

    def test_a_bar_on_a_terminal_of_any_width(self):
        import fcntl
        import struct
        import termios

        file = self.long_batch(100)
        for width in (20, 5, 80):
            master, slave = pty.openpty()
            fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
            tool = self.gateway.popen("apply", file, stderr=slave)
            os.close(slave)
            shown = b""
            try:
                while block := os.read(master, 65536):
                    shown += block
            except OSError:
                pass
            os.close(master)
            self.assertEqual(tool.wait(timeout=60), 0)
            self.assertIn(b"100/100", shown)
            for state in shown.split(b"\r"):
                self.assertLess(len(state), max(width, 10))


if __name__ == "__main__":
    unittest.main()
