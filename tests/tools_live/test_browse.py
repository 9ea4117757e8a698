"""Verbs that only read, against the real daemon."""

import glob
import resource
import signal
import subprocess
import unittest

from gateway import FORWARDING, NTP, ROOT, TIME, LiveTest


class Get(LiveTest):
    def test_one_parameter(self):
        self.assertEqual(self.out("get", NTP), "ntp1.example.net\n")

    def test_an_object_prints_all_below(self):
        lines = self.out("get", FORWARDING + "1.").splitlines()
        self.assertEqual(lines[0], FORWARDING + "1.Enable=1")
        self.assertEqual(len(lines), 12)

    def test_a_star_stands_for_every_instance(self):
        self.out("add", FORWARDING, "7")
        self.assertEqual(
            self.out("get", FORWARDING + "*.MTU"),
            f"{FORWARDING}1.MTU=1500\n{FORWARDING}7.MTU=1500\n",
        )
        self.assertEqual(len(self.out("get", FORWARDING + "*").splitlines()), 24)

    def test_a_star_in_an_empty_table_is_nothing(self):
        self.out("del", FORWARDING + "1.")
        self.assertEqual(self.out("get", FORWARDING + "*.MTU"), "")

    def test_a_star_before_a_wrong_name_is_refused(self):
        self.assertIn(": 2 (no such", self.err(1, "get", FORWARDING + "*.MTV"))

    def test_a_computed_value_is_asked_for(self):
        exported = self.out("export", TIME + "CurrentLocalTime")
        self.assertIn("0001-01-01T00:00:00Z", exported)
        lines = dict(line.split("=", 1) for line in self.out("get", TIME).splitlines())
        self.assertRegex(lines[TIME + "CurrentLocalTime"], r"^20\d\d-")

    def test_a_wrong_name_is_followed_by_the_right_one(self):
        self.assertEqual(
            self.err(1, "get", TIME + "NTPSever1"),
            f"gwctl: get {TIME}NTPSever1: 2 (no such object or parameter); did you mean "
            f"{TIME}NTPServer1 or {TIME}NTPServer2 or {TIME}NTPServer3?\n",
        )
        self.assertIn(f"did you mean {NTP}?", self.err(1, "get", ROOT + "Tine.NTPServer1"))
        self.assertIn(f"did you mean {NTP}?", self.err(1, "get", "InternetGatewayDevise.Time.NTPServer1"))
        self.assertIn(f"did you mean {TIME}", self.err(1, "get", ROOT + "time"))
        self.assertIn(f"did you mean {NTP}?", self.err(1, "get", ROOT + "NTPServer1"))

    def test_nothing_near_means_no_question(self):
        self.assertNotIn("mean", self.err(1, "get", ROOT + "Xyzzyplugh.Q"))

    def test_json(self):
        self.assertEqual(
            self.json("get", NTP, FORWARDING + "*.MTU"),
            [
                {"path": NTP, "value": "ntp1.example.net"},
                {"path": FORWARDING + "1.MTU", "value": "1500"},
            ],
        )

    def test_values_that_are_no_utf8(self):
        self.out("set", NTP, b"a\xff\x1bb<&\"'\n\t")
        self.assertEqual(self.out("get", NTP), "a\udcff\x1bb<&\"'\n\t\n")
        self.assertIn(NTP + "=a\udcff\x1bb<&\"'\n\t\n", self.out("get", TIME))
        self.assertEqual(self.json("get", TIME)[1]["value"], "a\ufffd\x1bb<&\"'\n\t")


class Browse(LiveTest):
    def test_ls(self):
        self.assertEqual(
            self.out("ls", ROOT + "Layer3Forwarding"),
            "DefaultConnectionService\nForwardNumberOfEntries\nForwarding.\n",
        )
        self.assertIn("LANDevice.\n", self.out("ls"))
        self.assertEqual(self.json("ls", FORWARDING), [{"path": FORWARDING + "1.", "type": "object"}])
        self.assertIn(f"did you mean {TIME}", self.err(1, "ls", ROOT + "Tme"))
        self.assertEqual(self.json("ls", ROOT + "Tme", status=1)["code"], 2)

    def test_tree(self):
        self.assertEqual(
            self.out("tree", ROOT + "Layer3Forwarding.", "--depth", "1"),
            f"{ROOT}Layer3Forwarding.\n  DefaultConnectionService\n  ForwardNumberOfEntries\n"
            "  Forwarding.\n",
        )
        self.assertEqual(self.out("tree", TIME, "--depth", "0"), TIME + "\n")
        self.assertIn("\n  NTPServer1=ntp1.example.net\n", self.out("tree", TIME, "--values"))
        self.assertGreater(len(self.out("tree").splitlines()), 1000)
        self.assertEqual(self.json("tree", TIME, "--values")[TIME]["NTPServer1"], "ntp1.example.net")
        self.err(1, "tree", ROOT + "Nothing.")
        self.err(2, "tree", "--depth", "-1")

    def test_tree_of_what_is_user_set(self):
        self.assertEqual(self.out("tree", TIME, "--user-set"), "")
        self.out("set", NTP + "=x")
        self.assertEqual(
            self.out("tree", "--user-set", "--values"), f"{ROOT}\n  Time.\n    NTPServer1=x\n"
        )
        self.assertEqual(self.out("tree", "--user-set", "--depth", "1"), f"{ROOT}\n  Time.\n")
        self.assertEqual(
            self.json("tree", "--user-set", "--values"), {ROOT: {"Time.": {"NTPServer1": "x"}}}
        )

    def test_find(self):
        found = self.out("find", "ntpserver").splitlines()
        self.assertIn(NTP + "=ntp1.example.net", found)
        self.assertEqual(self.out("find", "NTP2.EXAMPLE"), TIME + "NTPServer2=ntp2.example.net\n")
        self.assertEqual(
            self.json("find", "ntp2.example"),
            [{"path": TIME + "NTPServer2", "value": "ntp2.example.net"}],
        )
        self.assertEqual(
            self.err(4, "find", "xyzzy"), "gwctl: find xyzzy: nothing holds it\n"
        )

    def test_describe(self):
        self.assertEqual(
            self.out("describe", NTP),
            f"path: {NTP}\ntype: string\nlength: 64\nvalue: ntp1.example.net\n"
            "notification: off\nattributes: writable\n",
        )
        self.assertEqual(
            self.out("describe", FORWARDING + "1.MTU"),
            f"path: {FORWARDING}1.MTU\ntype: unsignedInt\nminimum: 1\nmaximum: 1540\n"
            "value: 1500\nnotification: off\nattributes: writable\n",
        )
        self.assertIn("getter: get_ntp_time\n", self.out("describe", TIME + "CurrentLocalTime"))
        self.assertIn(
            "enumeration: Disabled,Unsynchronized,Synchronized,Error_FailedToSynchronize,Error\n",
            self.out("describe", TIME + "Status"),
        )
        table = self.json("describe", FORWARDING)
        self.assertEqual((table["type"], table["instances"]), ("table", [1]))
        self.assertEqual(self.json("describe", FORWARDING + "1.")["type"], "instance")
        self.assertEqual(self.json("describe", TIME)["type"], "object")
        self.assertIn("did you mean", self.err(1, "describe", TIME + "NTPServer9"))

    def test_export(self):
        self.assertIn('name="Time."', self.out("export", TIME))
        self.assertIn('value="ntp1.example.net"', self.out("export", NTP))
        file = self.gateway.path("time.xml")
        self.assertEqual(self.out("export", TIME, "-o", file), "")
        with open(file, encoding="utf-8") as stream:
            self.assertIn('name="NTPServer5"', stream.read())
        self.assertIn("xml", self.json("export", NTP))
        self.err(1, "export", TIME + "Nothing")
        self.err(2, "export", TIME, "-o", "/nowhere/at/all")
        self.assertIn("is a folder", self.err(2, "export", TIME, "-o", self.gateway.folder))

    def test_an_export_that_does_not_fit_leaves_the_old_file(self):
        def small_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

        file = self.gateway.path("all.xml")
        self.out("export", TIME, "-o", file)
        with open(file, encoding="utf-8") as stream:
            before = stream.read()
        self.assertIn("File too large", self.err(2, "export", ROOT, "-o", file, preexec_fn=small_files))
        with open(file, encoding="utf-8") as stream:
            self.assertEqual(stream.read(), before)
        self.assertEqual(glob.glob(file + "?*"), [])


class CommandLine(LiveTest):
    VERBS = (
        "get ls tree find describe set attr watch add insert del renumber move commit export save "
        "restore reset apply confirm raw shell"
    ).split()

    def test_every_verb_helps_with_an_example(self):
        for verb in self.VERBS:
            text = self.out(verb, "--help")
            self.assertIn(f"Example:\n  gwctl {verb}", text)
            self.assertIn("--help", text)

    def test_wrong_use(self):
        for arguments in (
            ["describe"],
            ["find"],
            ["add"],
            ["add", FORWARDING, "0"],
            ["add", FORWARDING, "100000"],
            ["add", FORWARDING, "one"],
            ["insert", FORWARDING],
            ["del"],
            ["move", FORWARDING],
            ["renumber"],
            ["attr"],
            ["save"],
            ["restore"],
            ["apply"],
            ["apply", "x", "--confirm", "0"],
            ["reset", "now"],
            ["confirm", "it"],
            ["tree", "--depth", "deep"],
            ["--socket", "", "ls"],
            ["shell", "now"],
        ):
            with self.subTest(arguments):
                self.assertTrue(self.err(2, *arguments).startswith("gwctl: "))

    def test_a_wrong_verb_is_followed_by_the_right_one(self):
        self.assertIn("gte is no verb; did you mean get?", self.err(2, "gte", NTP))
        self.assertIn("unpak is no verb; did you mean unpack?", self.err(2, "block", "unpak"))
        self.assertIn("gwctl: xyzzy is no verb\n", self.err(2, "xyzzy"))
        self.assertIn("gwctl: no verb\n", self.err(2))

    def test_words_that_a_parser_may_take_for_its_own(self):
        for value in ("[a,b]", "[]", "++", "{}", "-5", "get", "\1", "\1[x]", ""):
            with self.subTest(value):
                self.out("set", NTP, value)
                self.assertEqual(self.gateway.get(NTP), value)
                self.out("set", NTP, "other")
                self.out("raw", "0", NTP, value)
                self.assertEqual(self.gateway.get(NTP), value)
        self.assertIn("NUMBER = [x]", self.err(2, "raw", "[x]"))

    def test_an_absent_daemon(self):
        self.gateway.stop()
        batch = self.gateway.path("batch")
        with open(batch, "w", encoding="utf-8") as stream:
            stream.write(f"set {NTP}=x\n")
        for arguments in (
            ["get", NTP],
            ["get", TIME],
            ["ls"],
            ["tree", TIME],
            ["find", "x"],
            ["describe", NTP],
            ["set", NTP, "x"],
            ["attr", NTP],
            ["add", FORWARDING],
            ["add", FORWARDING, "2"],
            ["insert", FORWARDING, "2"],
            ["del", FORWARDING + "1."],
            ["renumber", FORWARDING],
            ["move", FORWARDING + "1.", TIME],
            ["commit"],
            ["export", TIME],
            ["save", "/tmp/x"],
            ["restore", "/tmp/x"],
            ["reset", "--yes"],
            ["apply", batch],
            ["watch"],
            ["raw", "19"],
        ):
            with self.subTest(arguments):
                text = self.err(3, *arguments)
                self.assertIn("-1002 (daemon not reachable at " + self.gateway.socket, text)

    def test_output_that_cannot_be_written_is_no_success(self):
        with open("/dev/full", "w", encoding="utf-8") as full:
            for arguments in (["tree"], ["get", NTP], ["--json", "ls"], ["--help"], ["get", "--help"]):
                tool = self.gateway.popen(*arguments, stdout=full, stderr=subprocess.PIPE)
                _, complaint = tool.communicate(timeout=30)
                self.assertEqual(tool.returncode, 2)
                self.assertEqual(complaint, b"gwctl: standard output: cannot be written\n")


if __name__ == "__main__":
    unittest.main()
