"""The shell, on a pseudo-terminal and from a pipe."""

import fcntl
import os
import pty
import select
import signal
import stat
import struct
import termios
import time
import unittest

from gateway import FORWARDING, GWCTL, NTP, ROOT, TIME, LiveTest

PROMPT = b"gwctl> "


class Terminal:
    """gwctl shell behind a pseudo-terminal."""

    def __init__(self, gateway, width=80, **environment):
        self.child, self.master = pty.fork()
        if self.child == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
            os.environ.update(gateway.environment)
            os.environ.update(environment)
            os.execl(GWCTL, "gwctl", "shell")
        self.shown = b""

    def read_until(self, wanted, seconds=20):
        """What is shown up to and with a text."""
        end = time.monotonic() + seconds
        while wanted not in self.shown:
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.master], [], [], left)[0]:
                raise AssertionError(f"{wanted!r} does not come, only {self.shown!r}")
            try:
                self.shown += os.read(self.master, 65536)
            except OSError:
                raise AssertionError(f"ended before {wanted!r}: {self.shown!r}") from None
        at = self.shown.index(wanted) + len(wanted)
        text, self.shown = self.shown[:at], self.shown[at:]
        return text

    def type(self, text):
        os.write(self.master, text)

    def status(self):
        end = time.monotonic() + 20
        while (ended := os.waitpid(self.child, os.WNOHANG))[0] == 0:
            if time.monotonic() > end:
                raise AssertionError(f"the shell does not end: {self.shown!r}")
            time.sleep(0.02)
        os.close(self.master)
        self.child = None
        return os.waitstatus_to_exitcode(ended[1])


class Shell(LiveTest):
    def open(self, **options):
        terminal = Terminal(self.gateway, **options)
        self.addCleanup(self.end, terminal)
        terminal.read_until(PROMPT)
        return terminal

    @staticmethod
    def end(terminal):
        if terminal.child:
            os.kill(terminal.child, signal.SIGKILL)
            terminal.status()

    def test_verbs_and_ctrl_d(self):
        terminal = self.open()
        terminal.type(f"get {NTP}\n".encode())
        terminal.read_until(b"ntp1.example.net\r\n")
        terminal.read_until(PROMPT)
        terminal.type(f"set {NTP}='two words' {TIME}NTPServer2=b\n".encode())
        terminal.read_until(PROMPT)
        terminal.type(b"fly\n")
        terminal.read_until(b"gwctl: ")
        terminal.read_until(PROMPT)
        terminal.type(b"\x04")
        self.assertEqual(terminal.status(), 0)
        self.assertEqual(self.gateway.get(NTP), "two words")
        self.assertEqual(self.gateway.get(TIME + "NTPServer2"), "b")

    def test_help_and_exit(self):
        terminal = self.open()
        terminal.type(b"help\n")
        terminal.read_until(b"describe")
        terminal.read_until(PROMPT)
        terminal.type(b"help tree\n")
        terminal.read_until(b"--user-set")
        terminal.read_until(PROMPT)
        terminal.type(b"shell\n")
        terminal.read_until(b"this is the shell already")
        terminal.read_until(PROMPT)
        terminal.type(b"exit\n")
        self.assertEqual(terminal.status(), 0)

    def test_completes_verbs(self):
        terminal = self.open()
        terminal.type(b"desc\t")
        terminal.read_until(b"ribe ")
        terminal.type(b"\x03re\t\t")
        listed = terminal.read_until(b"restore")
        listed += terminal.read_until(PROMPT)
        for verb in (b"renumber", b"reset", b"restore"):
            self.assertIn(verb, listed)

    def test_completes_paths_of_the_live_tree(self):
        self.out("add", FORWARDING, "42")
        terminal = self.open()
        terminal.type(b"get In\t")
        terminal.read_until(b"ternetGatewayDevice.")
        terminal.type(b"Layer3\t")
        terminal.read_until(b"Forwarding.")
        terminal.type(b"Forwarding.4\t")
        terminal.read_until(b"2.")
        terminal.type(b"MT\t")
        terminal.read_until(b"U ")
        terminal.type(b"\n")
        terminal.read_until(b"1500\r\n")
        terminal.read_until(PROMPT)
        terminal.type(f"add {FORWARDING} 77\n".encode())
        terminal.read_until(b"77\r\n")
        terminal.read_until(PROMPT)
        terminal.type(f"get {FORWARDING}7\t".encode())
        terminal.read_until(b"77.")

    def test_completes_values(self):
        terminal = self.open()
        path = ROOT + "LANDevice.1.WLANConfiguration.1.BeaconType"
        enumeration = self.json("describe", path)["enumeration"].split(",")
        terminal.type(f"set {path[:-2]}\t".encode())
        terminal.read_until(b"pe=")
        terminal.type(b"\t")
        for value in enumeration:
            terminal.read_until(value.encode())
        terminal.type(b"\x03")
        terminal.type(f"set {TIME}Enable=\t".encode())
        terminal.read_until(b"0  1")

    def test_completes_values_with_blanks(self):
        path = self.json("find", "ConfigurationState")[0]["path"]
        self.assertEqual(self.json("describe", path)["enumeration"], "Not configured,Configured")
        terminal = self.open()
        for typed in ("N", "Not\\ c"):
            self.out("set", "--force", path, "Configured")
            terminal.type(f"set --force {path}={typed}\t".encode())
            terminal.read_until(rb"onfigured ")
            terminal.type(b"\n")
            terminal.read_until(PROMPT)
            self.assertEqual(self.gateway.get(path), "Not configured")

    def test_completes_options(self):
        terminal = self.open()
        terminal.type(b"tree --us\t")
        terminal.read_until(b"er-set ")

    def test_history(self):
        terminal = self.open()
        terminal.type(f"get {NTP}\n".encode())
        terminal.read_until(b"ntp1.example.net\r\n")
        terminal.read_until(PROMPT)
        terminal.type(b"exit\n")
        self.assertEqual(terminal.status(), 0)
        history = self.gateway.path("history")
        self.assertEqual(stat.S_IMODE(os.stat(history).st_mode), 0o600)
        again = self.open()
        again.type(b"\x10\x10\n")
        again.read_until(b"ntp1.example.net\r\n")

    def test_ctrl_c_clears_the_line(self):
        terminal = self.open()
        terminal.type(f"set {NTP}=wrong\x03".encode())
        terminal.type(f"get {NTP}\n".encode())
        terminal.read_until(b"ntp1.example.net\r\n")
        terminal.read_until(PROMPT)
        terminal.type(b"\x04")
        self.assertEqual(terminal.status(), 0)

    def test_ctrl_c_ends_watch_and_not_the_shell(self):
        terminal = self.open()
        terminal.type(b"watch\n")
        terminal.read_until(b"listening")
        self.out("set", NTP + "=seen")
        terminal.read_until(b"None seen\r\n")
        terminal.type(b"\x03")
        terminal.read_until(b"stopped")
        terminal.read_until(PROMPT)
        terminal.type(f"get {NTP}\n".encode())
        terminal.read_until(b"seen\r\n")

    def test_a_narrow_terminal(self):
        terminal = self.open(width=20)
        terminal.type(f"tree {TIME} --values\n".encode())
        terminal.read_until(b"ntp1.example.net")
        terminal.read_until(PROMPT)
        terminal.type(f"get {TIME}\t\t".encode())
        terminal.read_until(b"NTPServer5")
        terminal.type(b"\x03exit\n")
        self.assertEqual(terminal.status(), 0)

    def test_values_do_not_steer_the_terminal(self):
        self.out("set", NTP, b"\x1b[2J\xff\x9b\xc3\xa4")
        terminal = self.open(TERM="xterm")
        terminal.type(f"get {NTP}\n".encode())
        terminal.read_until(rb"\x1b[2J\xff\x9b" + "ä".encode() + b"\r\n")

    def test_colours(self):
        for environment, is_coloured in (({"TERM": "xterm"}, True), ({"TERM": "xterm", "NO_COLOR": "1"}, False), ({}, False)):
            terminal = self.open(**environment)
            terminal.type(f"tree {TIME}\n".encode())
            shown = terminal.read_until(b"LocalTimeZoneName")
            self.assertEqual(b"\x1b[1;34m" in shown, is_coloured)

    def test_from_a_pipe_it_goes_on_and_ends_with_the_worst(self):
        ran = self.run_tool(
            "shell",
            status=4,
            input=f"# a comment\n\nget {NTP}\nset {TIME}Enable=9\nget {TIME}Enable\n",
        )
        self.assertEqual(ran.stdout, "ntp1.example.net\n1\n")
        self.assertIn("not 0, 1, false or true", ran.stderr)
        self.err(1, "shell", input=f"set {TIME}Enable=9\nget {TIME}Nothing\n")
        self.err(2, "shell", input=f"get {TIME}Nothing\nfly\n")
        self.assertIn("quote", self.err(2, "shell", input="get 'x\n"))
        self.out("shell", input="exit\nfly\n")
        self.assertIn('"value": "1"', self.out("--json", "shell", input=f"get {TIME}Enable\n"))

    def test_from_what_cannot_be_read(self):
        folder = os.open(self.gateway.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        self.assertIn("standard input: Is a directory", self.err(2, "shell", stdin=folder))

    def test_from_a_pipe_without_a_daemon(self):
        self.gateway.stop()
        self.err(3, "shell", input=f"get {NTP}\n")


if __name__ == "__main__":
    unittest.main()
