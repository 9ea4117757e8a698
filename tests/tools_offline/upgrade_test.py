"""gwctl upgrade: what the next firmware's first start makes of saved settings."""

import os
import unittest

from tool import (
    EMPTY_RECORDS,
    SOURCES,
    FolderTest,
    block,
    document,
    gwctl,
    obj,
    parameter,
    records,
)

ROOT = "InternetGatewayDevice."
RECORDS = f"{ROOT}X_VT_MiscCfg.DeletedDefaultInstances."


def hosts(*rows, count=None, template=parameter("Name")):
    """A table of hosts with its counter, in the root."""
    count = len(rows) if count is None else count
    return (
        parameter("HostNumberOfEntries", str(count), "unsignedInt", "0")
        + obj("Host.", obj("0.", template), *rows)
    )


def host(number, name=""):
    return obj(f"{number}.", parameter("Name", name))


class UpgradeTest(FolderTest):
    maxDiff = None

    def upgrade(self, saved, new, *options, old=None):
        content = saved if isinstance(saved, bytes) else block(saved)
        files = [self.file("mtd9.bin", content), self.file("new.xml", new)]
        if old is not None:
            options += ("--old-defaults", self.file("old.xml", old))
        return gwctl("upgrade", *files, *options)

    def assert_outcome(self, ran, lines, loses=False):
        self.assertEqual(ran.err, "")
        self.assertEqual(ran.lines, lines)
        self.assertEqual(ran.status, 4 if loses else 0)


class ValuesTest(UpgradeTest):
    def test_kept(self):
        ran = self.upgrade(
            document(parameter("A", "x &amp; y"), obj("B.", parameter("C", "5", "int"))),
            document(parameter("A", "default"), obj("B.", parameter("C", "1", "int"))),
        )
        self.assert_outcome(
            ran,
            [f'kept     {ROOT}A = "x & y"', f'kept     {ROOT}B.C = "5"', "2 kept"],
        )

    def test_kept_with_another_meaning_that_still_fits(self):
        ran = self.upgrade(
            document(
                parameter("A", "5", "int[0:10]"),
                parameter("B", "a", enumeration="a,b"),
                parameter("C", "x"),
            ),
            document(
                parameter("A", "0", "unsignedInt[0:7]"),
                parameter("B", "b", enumeration="b,a,c"),
                parameter("C", "", "string", "0"),
            ),
        )
        self.assert_outcome(
            ran,
            [
                f'kept     {ROOT}A = "5" (was int[0:10], becomes unsignedInt[0:7])',
                f'kept     {ROOT}B = "a" (was one of "a,b", becomes one of "b,a,c")',
                f'kept     {ROOT}C = "x" (can no longer be written)',
                "3 kept",
            ],
        )

    def test_no_longer_valid(self):
        ran = self.upgrade(
            document(
                parameter("A", "9", "int[0:10]"),
                parameter("B", "a", enumeration="a,b"),
                parameter("C", "word"),
                parameter("D", "abcd", "string(8)"),
            ),
            document(
                parameter("A", "0", "int[0:7]"),
                parameter("B", "b", enumeration="b,c"),
                parameter("C", "0", "int"),
                parameter("D", "", "string(3)"),
            ),
        )
        self.assert_outcome(
            ran,
            [
                f'invalid  {ROOT}A = "9" (more than 7; was int[0:10], becomes int[0:7])',
                f'invalid  {ROOT}B = "a" (not one of b,c;'
                ' was one of "a,b", becomes one of "b,c")',
                f'invalid  {ROOT}C = "word" (not a whole number; was string, becomes int)',
                f'invalid  {ROOT}D = "abcd" (longer than 3 bytes;'
                " was string(8), becomes string(3))",
                "4 invalid",
            ],
            loses=True,
        )

    def test_invalid_before_and_after_is_no_loss_of_the_upgrade(self):
        ran = self.upgrade(
            document(parameter("A", "x", "int")), document(parameter("A", "0", "int"))
        )
        self.assert_outcome(
            ran, [f'kept     {ROOT}A = "x" (is not valid, and was not before)', "1 kept"]
        )

    def test_dropped(self):
        ran = self.upgrade(
            document(
                parameter("A", "1"),
                obj("Gone.", parameter("B", "2"), obj("Deep.", parameter("C", "3"))),
                obj("Stays.", parameter("D", "4")),
            ),
            document(obj("Stays.", parameter("D", ""))),
        )
        self.assert_outcome(
            ran,
            [
                f'dropped  {ROOT}A = "1" (the new defaults have no such parameter)',
                f'dropped  {ROOT}Gone.B = "2" (the new defaults have no "{ROOT}Gone.")',
                f'dropped  {ROOT}Gone.Deep.C = "3" (the new defaults have no "{ROOT}Gone.")',
                f'kept     {ROOT}Stays.D = "4"',
                "1 kept, 3 dropped",
            ],
            loses=True,
        )

    def test_hidden(self):
        saved = document(parameter("A", "mine"), parameter("B", "old", function="GetSN"))
        new = document(
            parameter("A", "", function="GetHWVersion"), parameter("B", "", function="GetSN")
        )
        self.assert_outcome(
            self.upgrade(saved, new),
            [
                f'hidden   {ROOT}A = "mine" (measured by GetHWVersion from now on)',
                f'kept     {ROOT}B = "old"',
                "1 kept, 1 hidden",
            ],
            loses=True,
        )

    def test_another_root(self):
        ran = self.upgrade(document(parameter("A", "1")), '<OBJECT name="Device."/>')
        self.assert_outcome(
            ran,
            [f'dropped  {ROOT}A = "1" (the new defaults have no "{ROOT}")', "1 dropped"],
            loses=True,
        )

    def test_nothing_saved(self):
        for saved in ("<DATAMODEL>\n</DATAMODEL>\n", ""):
            self.assert_outcome(self.upgrade(saved, document()), ["nothing is saved"])

    def test_json(self):
        ran = self.upgrade(
            document(parameter("A", "9", "int"), parameter("B", "1")),
            document(parameter("A", "0", "int[:5]")),
            "--json",
        )
        self.assertEqual(ran.status, 4)
        self.assertEqual(
            ran.json,
            {
                "loses": True,
                "outcomes": [
                    {
                        "outcome": "invalid",
                        "path": f"{ROOT}A",
                        "loss": True,
                        "before": "9",
                        "after": "9",
                        "remark": "more than 5; was int, becomes int[0:5]",
                    },
                    {
                        "outcome": "dropped",
                        "path": f"{ROOT}B",
                        "loss": True,
                        "before": "1",
                        "remark": "the new defaults have no such parameter",
                    },
                ],
            },
        )


class RowsTest(UpgradeTest):
    def saved(self, *rows):
        return document(obj("Host.", *rows))

    def test_created_again(self):
        ran = self.upgrade(
            self.saved(host(1, "mine"), host(3, "added")), document(hosts(host(1, "default")))
        )
        self.assert_outcome(
            ran,
            [
                f'kept     {ROOT}Host.1.Name = "mine"',
                f"created  {ROOT}Host.3.",
                f'kept     {ROOT}Host.3.Name = "added"',
                "2 kept, 1 created",
            ],
        )

    def test_a_row_without_a_value_is_created_too(self):
        ran = self.upgrade(self.saved(obj("2.")), document(hosts()))
        self.assert_outcome(ran, [f"created  {ROOT}Host.2.", "1 created"])

    def test_without_a_template_nothing_comes_back(self):
        new = document(obj("Host.", host(1)))
        ran = self.upgrade(self.saved(host(1, "a"), host(2, "b"), host(3, "c")), new)
        self.assert_outcome(
            ran,
            [
                f'kept     {ROOT}Host.1.Name = "a"',
                f'dropped  {ROOT}Host.2. (row "{ROOT}Host.2." cannot be created)',
                f'dropped  {ROOT}Host.2.Name = "b" (row "{ROOT}Host.2." cannot be created)',
                f'dropped  {ROOT}Host.3. (row "{ROOT}Host.3." cannot be created)',
                f'dropped  {ROOT}Host.3.Name = "c" (row "{ROOT}Host.3." cannot be created)',
                "1 kept, 4 dropped",
            ],
            loses=True,
        )

    def test_a_row_that_fails_takes_those_behind_it_along(self):
        new = document(obj("Host.", host(1), host(3, "default")))
        ran = self.upgrade(self.saved(host(2, "b"), host(3, "c")), new)
        self.assertEqual(
            ran.lines[2],
            f'dropped  {ROOT}Host.3.Name: "c" -> "default"'
            " (the daemon does not come to it: a row before it cannot be created)",
        )
        self.assertEqual(ran.status, 4)

    def test_the_template_decides_what_a_row_holds(self):
        new = document(hosts(template=parameter("Title")))
        ran = self.upgrade(self.saved(host(2, "b")), new)
        self.assert_outcome(
            ran,
            [
                f"created  {ROOT}Host.2.",
                f'dropped  {ROOT}Host.2.Name = "b" (the new defaults have no such parameter)',
                "1 created, 1 dropped",
            ],
            loses=True,
        )

    def test_nested_rows(self):
        def tables(*rows):
            return document(
                parameter("ANumberOfEntries", "0", "unsignedInt", "0"),
                obj("A.", *rows),
            )

        def row(number, *inner):
            counter = parameter("BNumberOfEntries", "0", "unsignedInt", "0")
            return obj(f"{number}.", counter, obj("B.", *inner))

        saved = document(obj("A.", obj("1.", obj("B.", obj("1.", parameter("P", "x"))))))
        new = tables(row(0, obj("0.", parameter("P"))))
        self.assert_outcome(
            self.upgrade(saved, new),
            [
                f"created  {ROOT}A.1.",
                f"created  {ROOT}A.1.B.1.",
                f'kept     {ROOT}A.1.B.1.P = "x"',
                "1 kept, 2 created",
            ],
        )
        ran = self.upgrade(saved, tables(row(0)))
        self.assertIn(
            f'dropped  {ROOT}A.1.B.1.P = "x" (row "{ROOT}A.1.B.1." cannot be created)', ran.lines
        )

    def test_deleted_again(self):
        saved = document(records(f"{ROOT}Host.2."))
        new = document(hosts(host(1), host(2)), EMPTY_RECORDS)
        self.assert_outcome(
            self.upgrade(saved, new),
            [
                f"created  {RECORDS}1.",
                f'kept     {RECORDS}1.URI = "{ROOT}Host.2."',
                f"deleted  {ROOT}Host.2.",
                "1 kept, 1 created, 1 deleted",
            ],
        )

    def test_a_deleted_row_that_is_no_default_any_more(self):
        saved = document(records(f"{ROOT}Host.2."))
        new = document(hosts(host(1)), EMPTY_RECORDS)
        self.assertEqual(
            self.upgrade(saved, new).lines[2],
            f"gone     {ROOT}Host.2."
            " (a row that the user deleted, and that is no default any more)",
        )

    def test_without_a_record_table_deleted_rows_come_back(self):
        saved = document(records(f"{ROOT}Host.2."))
        ran = self.upgrade(saved, document(hosts(host(1), host(2))))
        self.assertEqual(
            ran.lines[0],
            f"dropped  {RECORDS}1."
            f' (the new defaults have no "{ROOT}X_VT_MiscCfg.")',
        )
        self.assertEqual(ran.status, 4)

    def test_values_in_a_row_that_is_deleted_go_with_it(self):
        saved = document(obj("Host.", host(2, "b")), records(f"{ROOT}Host.2."))
        new = document(hosts(host(1), host(2)), EMPTY_RECORDS)
        ran = self.upgrade(saved, new)
        self.assertEqual(
            ran.lines[0],
            f'dropped  {ROOT}Host.2.Name = "b" ("{ROOT}Host.2." is deleted as the user asked)',
        )
        self.assertEqual(ran.status, 4)


class OldDefaultsTest(UpgradeTest):
    def test_what_nobody_set(self):
        old = document(
            parameter("Same", "1"),
            parameter("Changed", "a"),
            parameter("Mine", "x"),
            parameter("Left", "l"),
            hosts(host(1), host(2)),
            obj("Old.", parameter("P"), obj("Q.")),
        )
        new = document(
            parameter("Same", "1"),
            parameter("Changed", "b"),
            parameter("Mine", "y"),
            parameter("Fresh", "f"),
            hosts(host(1), host(3)),
            obj("New.", parameter("P")),
        )
        saved = document(parameter("Mine", "z"))
        self.assert_outcome(
            self.upgrade(saved, new, old=old),
            [
                f'kept     {ROOT}Mine = "z"',
                f'default  {ROOT}Changed: "a" -> "b"',
                f'gone     {ROOT}Left = "l"',
                f"gone     {ROOT}Host.2.",
                f"gone     {ROOT}Old.",
                f'new      {ROOT}Fresh = "f"',
                f"new      {ROOT}Host.3.",
                f"new      {ROOT}New.",
                "1 kept, 1 default, 3 gone, 3 new",
            ],
        )

    def test_a_row_of_the_user_s_meets_a_new_default_row(self):
        saved = document(obj("Host.", host(2, "mine")))
        old, new = document(hosts(host(1))), document(hosts(host(1), host(2, "theirs")))
        self.assert_outcome(
            self.upgrade(saved, new, old=old),
            [
                f"overlaid {ROOT}Host.2. (the user added it, and it is a default row from now"
                " on: its values are mixed)",
                f'kept     {ROOT}Host.2.Name = "mine"',
                "1 kept, 1 overlaid",
            ],
        )

    def test_nothing_changes(self):
        text = document(parameter("A"), hosts(host(1), host(2)), EMPTY_RECORDS)
        saved = document(
            parameter("A", "x"), obj("Host.", host(4, "d")), records(f"{ROOT}Host.1.")
        )
        ran = self.upgrade(saved, text, old=text)
        self.assertEqual(ran.lines[-1], "3 kept, 2 created, 1 deleted")

    def test_old_defaults_that_do_not_load(self):
        ran = self.upgrade(document(), document(), old="<")
        self.assertEqual((ran.status, ran.out), (1, ""))
        self.assertIn("old.xml: the daemon does not load it: line 1, column 1: ", ran.err)


class ModelsTest(UpgradeTest):
    def test_from_one_model_to_itself_nothing_is_lost(self):
        model = (SOURCES / "models" / "home-gateway.xml").read_text("utf-8")
        name = f"{ROOT}Time.NTPServer1"
        saved = document(
            obj("Time.", parameter("NTPServer1", "ntp.example.net", "string(64)")),
            obj("LANDevice.", obj("1.", obj("WLANConfiguration.", obj("3.", parameter("SSID", "Guest", "string(32)"))))),
            records(f"{ROOT}LANDevice.1.WLANConfiguration.2."),
        )
        ran = self.upgrade(saved, model, old=model)
        self.assertEqual(ran.status, 0)
        self.assertEqual(ran.lines[0], f'kept     {name} = "ntp.example.net"')
        self.assertEqual(ran.lines[-1], "3 kept, 2 created, 1 deleted")

    def test_to_a_smaller_device(self):
        home = (SOURCES / "models" / "home-gateway.xml").read_text("utf-8")
        small = (SOURCES / "models" / "two-port.xml").read_text("utf-8")
        saved = document(
            obj("Time.", parameter("NTPServer2", "ntp.example.net", "string(64)")),
            obj("LANDevice.", obj("1.", obj("WLANConfiguration.", obj("1.", parameter("SSID", "Home", "string(32)"))))),
        )
        ran = self.upgrade(saved, small, old=home)
        self.assertEqual(ran.status, 4)
        wlan = f"{ROOT}LANDevice.1.WLANConfiguration."
        self.assertEqual(ran.lines[0], f'kept     {ROOT}Time.NTPServer2 = "ntp.example.net"')
        self.assertEqual(
            ran.lines[2],
            f'dropped  {wlan}1.SSID = "Home" (the new defaults have no "{wlan}")',
        )
        self.assertIn(f"gone     {wlan}", ran.lines)


class InputTest(UpgradeTest):
    def test_what_is_refused(self):
        for saved, new, complaint in (
            (block(document(), crc=1), document(), "mtd9.bin: no valid block: checksum: "),
            (b"\xff" * 1000 + b"\0", document(), "mtd9.bin: is neither XML nor a settings block"),
            (block("<OBJECT"), document(), "mtd9.bin: the daemon does not load it: line 1"),
            (block(document()), "<OBJECT", "new.xml: the daemon does not load it: line 1"),
            (block(document()), "<DATAMODEL/>", "new.xml: the daemon does not load it: it holds"),
        ):
            ran = self.upgrade(saved, new)
            self.assertEqual((ran.status, ran.out), (1, ""), complaint)
            self.assertIn(complaint, ran.err)

    def test_a_text_instead_of_a_block(self):
        text = document(parameter("A", "1"))
        ran = self.upgrade(text.encode(), document(parameter("A")))
        self.assertEqual(ran.lines, [f'kept     {ROOT}A = "1"', "1 kept"])

    def test_what_is_no_file(self):
        good = self.file("good.xml", document())
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for bad in (self.folder, fifo, self.folder / "none"):
            for arguments in ((bad, good), (good, bad), (good, good, "--old-defaults", bad)):
                ran = gwctl("upgrade", *arguments)
                self.assertEqual((ran.status, ran.out), (2, ""))
                self.assertIn(f"gwctl: upgrade: {bad}: ", ran.err)

    def test_wrong_use(self):
        for arguments in ((), ("a",), ("a", "b", "c")):
            self.assertEqual(gwctl("upgrade", *arguments).status, 2)
        self.assertIn("  gwctl upgrade ", gwctl("upgrade", "--help").out)


if __name__ == "__main__":
    unittest.main()
