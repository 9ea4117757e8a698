"""watch, while others write."""

import json
import re
import select
import signal
import subprocess
import unittest

from gateway import FORWARDING, NTP, TIME, LiveTest


class Watch(LiveTest):
    def watch(self, *arguments, **options):
        options.setdefault("stdout", subprocess.PIPE)
        tool = self.gateway.popen(*arguments, stderr=subprocess.PIPE, **options)
        self.addCleanup(self.end, tool)
        self.notice = tool.stderr.readline().decode()
        return tool

    @staticmethod
    def end(tool):
        if tool.poll() is None:
            tool.kill()
            tool.wait()
        for stream in (tool.stdout, tool.stderr):
            if stream:
                stream.close()

    def line(self, tool):
        self.assertTrue(select.select([tool.stdout], [], [], 20)[0], "no line comes")
        return tool.stdout.readline().decode()

    def test_prints_changes_until_ctrl_c(self):
        tool = self.watch("watch")
        self.assertIn("one listener at a time", self.notice)
        self.out("set", NTP + "=first")
        self.assertRegex(self.line(tool), rf"^\d\d:\d\d:\d\d {re.escape(NTP)} None first\n$")
        self.out("attr", NTP, "notify-active=1")
        self.out("set", NTP + "=second")
        self.assertRegex(self.line(tool), r" Active second\n$")
        self.out("attr", NTP, "notify-active=0", "notify-passive=1")
        self.out("set", NTP + "=third")
        self.assertRegex(self.line(tool), r" Passive third\n$")
        tool.send_signal(signal.SIGINT)
        self.assertEqual(tool.wait(timeout=20), 0)
        self.assertEqual(tool.stderr.read(), b"gwctl: watch: stopped; nobody listens now, unless another took over meanwhile\n")
        self.assertEqual(tool.stdout.read(), b"")
        self.out("set", NTP + "=fourth")

    def test_only_what_is_asked_for(self):
        tool = self.watch("watch", FORWARDING + "*.MTU", TIME + "NTPServer2")
        self.out("set", NTP + "=not this", FORWARDING + "1.Interface=nor this")
        self.out("set", FORWARDING + "1.MTU=1300")
        self.assertIn(FORWARDING + "1.MTU None 1300", self.line(tool))
        self.out("set", TIME + "NTPServer2=b")
        self.assertIn("NTPServer2 None b", self.line(tool))

    def test_json_is_a_document_a_line(self):
        tool = self.watch("watch", "--json", TIME)
        self.out("set", NTP, b"a\xffb")
        row = json.loads(self.line(tool))
        del row["time"]
        self.assertEqual(row, {"path": NTP, "notification": "None", "value": "a\ufffdb"})

    def test_ends_when_nobody_reads(self):
        tool = self.watch("watch")
        tool.stdout.close()
        tool.stdout = None
        self.assertEqual(tool.wait(timeout=20), 0)

    def test_a_wrong_path(self):
        self.assertIn(f"did you mean {NTP}", self.err(1, "watch", TIME + "NTPServer11"))

    def test_ends_when_nothing_can_be_written(self):
        with open("/dev/full", "w", encoding="utf-8") as full:
            tool = self.watch("watch", stdout=full)
        self.out("set", NTP + "=lost")
        self.assertEqual(tool.wait(timeout=20), 2)
        self.assertIn(b"standard output: cannot be written", tool.stderr.read())

    def test_ends_with_the_daemon(self):
        tool = self.watch("watch")
        self.gateway.stop()
        self.assertEqual(tool.wait(timeout=20), 3)
        self.assertEqual(
            tool.stderr.read(), b"gwctl: watch: the daemon has ended; the next one knows no listener\n"
        )

    def test_ends_when_another_daemon_replaces_one_that_crashed(self):
        tool = self.watch("watch")
        self.gateway.daemon.kill()
        self.gateway.stop()
        self.gateway.start()
        self.assertEqual(tool.wait(timeout=20), 3)

    def test_another_listener_takes_over(self):
        first = self.watch("watch")
        second = self.watch("watch")
        self.out("set", NTP + "=x")
        self.assertIn("None x", self.line(second))
        first.send_signal(signal.SIGTERM)
        self.assertEqual(first.wait(timeout=20), 0)
        self.assertEqual(first.stdout.read(), b"")
        self.assertIn(b"unless another took over", first.stderr.read())
        # The first one's end takes nothing from the second.
        self.out("set", NTP + "=y")
        self.assertIn("None y", self.line(second))


if __name__ == "__main__":
    unittest.main()
