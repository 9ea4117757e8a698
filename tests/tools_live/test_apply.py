"""apply: all or nothing, whatever happens."""

import os
import pty
import signal
import subprocess
import time
import unittest

from gateway import BatchTest, FORWARDING, NTP, TIME


class Apply(BatchTest):
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

        folder = os.open(self.gateway.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        self.assertIn("apply -: Is a directory", self.err(2, "apply", "-", stdin=folder))

    def test_an_empty_batch(self):
        self.assertEqual(self.out("apply", self.batch("# nothing")), "")

    def test_dry_run(self):
        before = self.state()
        file = self.batch(f"set {NTP}=x", f"add {FORWARDING}")
        self.assertEqual(self.out("apply", file, "--dry-run"), FORWARDING + "2.\n")
        self.assertEqual(self.state(), before)

    def long_batch(self, lines=6000):
        return self.batch(*(f"set {TIME}NTPServer{1 + i % 5}={i}" for i in range(lines)))

    def killed(self, how):
        before = self.state()
        tool = self.gateway.popen("apply", self.long_batch(), stderr=subprocess.DEVNULL)
        self.wait_for(lambda: self.gateway.get(NTP) != "ntp1.example.net")
        self.assertIsNone(tool.poll(), "killed too late")
        tool.send_signal(how)
        status = tool.wait(timeout=60)
        self.wait_for(lambda: self.state() == before, 60)
        time.sleep(0.2)
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
