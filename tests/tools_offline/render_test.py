"""gwctl model: its files and options. What it renders is tested with the models."""

import os
import shutil
import unittest

from tool import GWCTL, SOURCES, FolderTest, gwctl

MODELS = SOURCES / "models"
PROFILE = MODELS / "two-port.profile"
RENDERED = (MODELS / "two-port.xml").read_text("utf-8")


class RenderTest(FolderTest):
    def test_to_a_file(self):
        output = self.folder / "out.xml"
        ran = gwctl("model", PROFILE, "-o", output)
        self.assertEqual((ran.status, ran.out, ran.err), (0, "", ""))
        self.assertEqual(output.read_text("utf-8"), RENDERED)
        self.assertEqual([p.name for p in self.folder.iterdir()], ["out.xml"])

    def test_to_standard_output(self):
        self.assertEqual(gwctl("model", PROFILE).out, RENDERED)

    def test_as_json(self):
        document = gwctl("model", "--json", PROFILE).json
        self.assertEqual(document["xml"], RENDERED)
        output = self.folder / "out.xml"
        document = gwctl("model", "--json", PROFILE, "-o", output).json
        self.assertEqual(document["bytes"], len(RENDERED.encode()))
        self.assertEqual(document["file"], str(output))

    def test_where_the_facts_come_from(self):
        facts = MODELS / "tr098_facts.csv"
        elsewhere = self.file("facts.csv", facts.read_bytes())
        missing = str(self.folder / "none.csv")
        by_option = gwctl("model", PROFILE, "--facts", elsewhere, env={"GWCONF_FACTS": missing})
        self.assertEqual(by_option.out, RENDERED)
        by_environment = gwctl("model", PROFILE, env={"GWCONF_FACTS": missing})
        self.assertEqual((by_environment.status, by_environment.out), (2, ""))
        self.assertEqual(
            by_environment.err, f"gwctl: model: {missing}: No such file or directory\n"
        )

    def test_facts_beside_the_program(self):
        program = self.folder / "bin" / "gwctl"
        program.parent.mkdir()
        shutil.copy(GWCTL, program)
        own = program.with_name("tr098_facts.csv")
        installed = self.folder / "share" / "gwconf" / own.name
        ran = gwctl("model", PROFILE, program=program)
        self.assertEqual((ran.status, ran.out), (2, ""))
        self.assertEqual(ran.err, f"gwctl: model: {installed}: No such file or directory\n")
        shutil.copy(MODELS / own.name, own)
        self.assertEqual(gwctl("model", PROFILE, program=program).out, RENDERED)
        installed.parent.mkdir(parents=True)
        installed.write_text("installed")
        ran = gwctl("model", PROFILE, program=program)
        self.assertEqual(
            ran.err, f"gwctl: model: {installed}: is no table of facts: a column is missing\n"
        )

    def test_a_failure_leaves_what_was_there(self):
        output = self.file("out.xml", "old")
        profile = self.file("bad.profile", "object Nowhere.\n")
        ran = gwctl("model", profile, "-o", output)
        self.assertEqual((ran.status, ran.out), (1, ""))
        self.assertEqual(
            ran.err, f"gwctl: model: {profile}:1: the facts have no such object: Nowhere.\n"
        )
        self.assertEqual(output.read_text(), "old")
        self.assertEqual(gwctl("model", PROFILE, "-o", output).status, 0)
        self.assertEqual(output.read_text("utf-8"), RENDERED)

    def test_what_is_no_file(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for bad in (self.folder, fifo, self.folder / "none"):
            self.assertEqual(gwctl("model", bad).status, 2)
            self.assertEqual(gwctl("model", PROFILE, "--facts", bad).status, 2)
        for bad in (self.folder, fifo, self.folder / "none" / "out.xml"):
            ran = gwctl("model", PROFILE, "-o", bad)
            self.assertEqual(ran.status, 2)
            self.assertIn(str(bad), ran.err)

    def test_binary_profiles_and_facts(self):
        binary = self.file("binary", bytes(range(256)) * 100)
        self.assertEqual(gwctl("model", binary).status, 1)
        self.assertEqual(gwctl("model", PROFILE, "--facts", binary).status, 1)
        with open(self.folder / "huge", "wb") as out:
            out.truncate(1 << 40)
        ran = gwctl("model", self.folder / "huge")
        self.assertEqual(ran.status, 1)
        self.assertIn("huge: is no profile: too large", ran.err)
        self.assertEqual(gwctl("model", PROFILE, "--facts", self.folder / "huge").status, 1)

    def test_wrong_use(self):
        for arguments in ((), ("a", "b"), ("--nonsense", "a")):
            self.assertEqual(gwctl("model", *arguments).status, 2)
        self.assertIn("  gwctl model ", gwctl("model", "--help").out)


if __name__ == "__main__":
    unittest.main()
