"""Verbs that change the tree or the whole configuration."""

import os
import pty
import unittest

from gateway import FORWARDING, NTP, ROOT, TIME, LiveTest

CONNECTIONS = ROOT + "WANDevice.1.WANConnectionDevice."


class Set(LiveTest):
    def test_findings_and_force(self):
        self.assertIn("not one of", self.err(4, "set", ROOT + "LANDevice.1.WLANConfiguration.1.BeaconType=x"))
        self.assertIn("read-only", self.err(4, "set", TIME + "Status=Error"))
        self.out("set", "--force", TIME + "Status=Error")
        self.assertEqual(self.gateway.get(TIME + "Status"), "Error")

    def test_a_wrong_name_is_followed_by_the_right_one(self):
        self.assertIn(f"did you mean {NTP}", self.err(1, "set", TIME + "NtpServer1=x"))


class Instances(LiveTest):
    def test_add_prints_the_number(self):
        self.assertEqual(self.out("add", FORWARDING), "2\n")
        self.assertEqual(self.out("add", FORWARDING[:-1], "7"), "7\n")
        self.assertEqual(self.out("add", FORWARDING), "8\n")
        self.assertEqual(self.gateway.instances(FORWARDING), [1, 2, 7, 8])
        self.assertEqual(
            self.json("add", FORWARDING),
            {"path": FORWARDING, "number": 9, "code": 0, "meaning": "done"},
        )

    def test_add_of_what_exists(self):
        self.assertIn(f"add {FORWARDING}: 5 (", self.err(1, "add", FORWARDING, "1"))

    def test_add_behind_the_greatest_number(self):
        self.out("add", FORWARDING, "99999")
        self.assertEqual(self.out("add", FORWARDING), "2\n")
        self.out("add", FORWARDING, "23456")
        self.out("del", FORWARDING + "99999.")
        self.assertEqual(self.out("add", FORWARDING), "23457\n")

    def test_add_to_no_table(self):
        self.err(1, "add", TIME)
        self.assertIn(f"did you mean {FORWARDING}", self.err(1, "add", ROOT + "Layer3Forwarding.Forward1ng."))

    def test_virtual(self):
        self.out("add", FORWARDING, "2", "--virtual")
        self.out("insert", FORWARDING, "1", "--virtual")
        self.assertEqual(self.json("describe", FORWARDING + "1.")["virtual"], True)
        self.assertEqual(self.json("describe", FORWARDING + "2.")["virtual"], False)
        self.assertEqual(self.json("describe", FORWARDING + "3.")["virtual"], True)

    def test_insert(self):
        self.out("set", FORWARDING + "1.MTU=1400")
        self.assertEqual(self.out("insert", FORWARDING, "1"), "1\n")
        self.assertEqual(self.gateway.get(FORWARDING + "2.MTU"), "1400")
        self.err(1, "insert", ROOT + "Nothing.", "1")

    def test_del(self):
        self.out("add", FORWARDING, "4")
        self.out("del", FORWARDING + "4.")
        self.assertEqual(self.gateway.instances(FORWARDING), [1])
        self.assertIn(": 2 (", self.err(1, "del", FORWARDING + "4."))
        self.assertIn(": -100 (", self.err(1, "del", ROOT))
        self.out("add", FORWARDING, "4")
        self.out("del", FORWARDING + "4")
        self.assertEqual(self.gateway.instances(FORWARDING), [1])
        self.assertIn(": -100 (", self.err(1, "del", NTP))
        self.assertIn(": -100 (", self.err(1, "del", TIME[:-1]))
        self.out("del", TIME)
        self.err(1, "get", NTP)

    def test_renumber(self):
        for number in ("4", "9"):
            self.out("add", FORWARDING, number)
        self.assertEqual(self.json("renumber", FORWARDING, "--count", "2")["instances"], [1, 2, 9])
        self.out("renumber", FORWARDING, "--from", "2")
        self.assertEqual(self.gateway.instances(FORWARDING), [1, 2, 3])
        self.assertIn(": 2 (", self.err(1, "renumber", FORWARDING, "--from", "8"))

    def test_move(self):
        first = ROOT + "WANDevice.1.WANConnectionDevice.1.WANIPConnection."
        second = ROOT + "WANDevice.1.WANConnectionDevice.7.WANIPConnection."
        self.out("add", CONNECTIONS, "7")
        self.out("add", first, "5")
        self.out("move", first + "5.", second)
        self.assertEqual(self.gateway.instances(second), [5])
        self.assertNotIn(5, self.gateway.instances(first))
        self.assertIn(f"move {ROOT}Nowhere.: 2", self.err(1, "move", second + "5.", ROOT + "Nowhere."))
        self.assertIn(f"move {second}6.: 2", self.err(1, "move", second + "6.", first))
        self.assertIn(": -100 (", self.err(1, "move", ROOT, first))


class Attributes(LiveTest):
    def test_print(self):
        self.assertEqual(
            self.out("attr", NTP),
            "writable=1\ndisabled=0\nuser-set=0\nuser-set-below=0\nnotify-off=0\n"
            "notify-passive=0\nnotify-active=0\n",
        )

    def test_change(self):
        self.assertEqual(self.out("attr", NTP, "notify-active=1", "3=1", "writable=0"), "")
        self.assertEqual(
            self.json("attr", NTP),
            {
                "path": NTP,
                "word": 136,
                "attributes": ["user-set", "notify-active"],
                "code": 0,
                "meaning": "done",
            },
        )

    def test_wrong_use_changes_nothing(self):
        for change in ("notify=1", "16=1", "-1=1", "writable", "writable=2", "=1"):
            self.err(2, "attr", "--", NTP, "disabled=1", change)
        self.assertEqual(self.gateway.word(NTP), 1)
        self.err(1, "attr", TIME + "Nothing", "disabled=1")


class Configurations(LiveTest):
    def test_save_and_restore_with_relative_paths(self):
        self.out("set", NTP + "=saved")
        self.out("save", "settings.xml", cwd=self.gateway.folder)
        self.assertTrue(os.path.exists(self.gateway.path("settings.xml")))
        self.out("set", NTP + "=later")
        self.out("restore", "./etc/../settings.xml", cwd=self.gateway.folder)
        self.assertEqual(self.gateway.get(NTP), "saved")

    def test_refusals(self):
        self.assertIn("save /nowhere/x: -100 (", self.err(1, "save", "/nowhere/x"))
        self.assertIn("restore /nowhere/x: -100 (", self.err(1, "restore", "/nowhere/x"))
        self.assertEqual(self.json("restore", "/nowhere/x", status=1)["code"], -100)
        self.assertEqual(self.gateway.get(NTP), "ntp1.example.net")

    def test_commit_survives_a_restart(self):
        self.out("set", NTP + "=kept")
        self.out("commit")
        self.gateway.stop()
        self.gateway.start()
        self.assertEqual(self.gateway.get(NTP), "kept")

    def test_reset(self):
        self.out("set", NTP + "=x")
        self.assertIn("--yes", self.err(2, "reset"))
        self.assertEqual(self.gateway.get(NTP), "x")
        self.out("reset", "--yes")
        self.assertEqual(self.gateway.get(NTP), "ntp1.example.net")

    def test_reset_asks_on_a_terminal(self):
        self.out("set", NTP + "=x")
        for answer, status, left in ((b"n\n", 2, "x"), (b"y\n", 0, "ntp1.example.net")):
            master, slave = pty.openpty()
            os.write(master, answer)
            ran = self.gateway.run("reset", stdin=slave)
            os.close(slave)
            os.close(master)
            self.assertEqual(ran.returncode, status, ran.stderr)
            self.assertIn("[y/N]", ran.stderr)
            self.assertEqual(self.gateway.get(NTP), left)


if __name__ == "__main__":
    unittest.main()
