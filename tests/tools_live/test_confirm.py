"""apply --confirm: taken back unless somebody confirms it."""

import json
import os
import pty
import stat
import time
import unittest

from gateway import BatchTest, FORWARDING, NTP, ROOT, TIME

DELETED = ROOT + "X_VT_MiscCfg.DeletedDefaultInstances."
LAN = ROOT + "LANDevice."


class Confirm(BatchTest):
    def test_names_that_are_no_utf8(self):
        self.gateway.stop()
        with open(self.gateway.path("etc/default.xml"), "rb") as stream:
            model = stream.read()
        with open(self.gateway.path("etc/default.xml"), "wb") as stream:
            stream.write(model.replace(b'"NTPServer5"', b'"NTPServ\xe4r5"').replace(b'"MTU"', b'"MT\xdc"'))
        self.gateway.start()
        before = self.state()
        file = self.batch(f"set {TIME}NTPServ\udce4r5=\udcff", f"del {FORWARDING}1.")
        self.out("apply", file, "--confirm", "1")
        self.assertEqual(self.gateway.get(TIME + "NTPServ\udce4r5"), "\udcff")
        self.wait_for(lambda: self.state() == before)

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

    def test_closed_standard_descriptors(self):
        """The guardian's own must not land in their place."""
        file = self.batch(f"set {NTP}=x")
        close_all = lambda: os.closerange(0, 3)  # noqa: E731
        self.out("apply", file, "--confirm", "60", preexec_fn=close_all)
        time.sleep(0.2)
        self.assertEqual(self.gateway.get(NTP), "x")
        self.out("confirm")
        self.run_tool("get", NTP, status=2, preexec_fn=close_all)
        self.run_tool("shell", status=2, preexec_fn=lambda: os.close(0))

    def test_a_file_that_vanishes_confirms_nothing(self):
        """The end of a login may empty folders."""
        self.out("apply", self.batch(f"set {NTP}=x"), "--confirm", "1")
        (pending,) = self.pending()
        os.unlink(pending)
        self.err(4, "confirm")
        self.wait_for(lambda: self.gateway.get(NTP) == "ntp1.example.net")

    def test_confirmed_from_another_login(self):
        environment = dict(self.gateway.environment, XDG_RUNTIME_DIR=self.gateway.path("etc"))
        self.out("apply", self.batch(f"set {NTP}=x"), "--confirm", "60", env=environment)
        self.out("confirm")

    def test_what_waits_can_be_read(self):
        self.out("apply", self.batch(f"set {NTP}=x", f"add {FORWARDING}"), "--confirm", "60")
        (pending,) = self.pending()
        with open(pending, encoding="utf-8") as stream:
            told = json.load(stream)
        self.assertEqual(told["seconds"], 60)
        self.assertEqual(
            told["undo"], [f"del {FORWARDING}2.", f"set {NTP}", f"attributes {NTP}"]
        )
        self.out("confirm")

    def test_a_file_left_over_from_a_crash(self):
        """One without a process that would undo."""
        self.out("apply", self.batch(f"set {NTP}=x"), "--confirm", "60")
        (pending,) = self.pending()
        self.out("confirm")
        for verb in (["confirm"], ["apply", self.batch(f"set {NTP}=y"), "--confirm", "60"]):
            with open(pending, "w", encoding="utf-8") as stream:
                stream.write('{"seconds": 60}')
            self.run_tool(*verb, status=4 if verb == ["confirm"] else 0)
        self.out("confirm")
        self.assertEqual(self.gateway.get(NTP), "y")

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


if __name__ == "__main__":
    unittest.main()
