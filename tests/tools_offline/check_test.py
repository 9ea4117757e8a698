"""gwctl check: every rule over a small failing file, the clean models, hostile files, terminals."""

import os
import pty
import random
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from tool import (
    EMPTY_RECORDS,
    GWCTL,
    SOURCES,
    FolderTest,
    document,
    environment,
    gwctl,
    gwctl_as_nobody,
    parameter,
)

FILES = Path(__file__).parent / "check"
MODELS = SOURCES / "models"
DOCS = SOURCES / "docs" / "check-rules.md"

# What takes a large or a strange file, made by the examples of the documentation or below.
RULES_WITHOUT_SMALL_FILE = {"GW000", "GW113", "GW305", "GW513", "GW514"}


def needs_standard(name):
    return name.startswith(("standard_", "GW6"))


def check(*files, standard=False, **options):
    return gwctl("check", *(["--standard"] if standard else []), *files, **options)


def rules():
    return {rule["rule"]: rule for rule in gwctl("check", "--rules", "--json").json}


class FailingFilesTest(unittest.TestCase):
    """FILE.xml beside FILE.expected: what the check says about it, line by line."""

    maxDiff = None

    def test_there_are_enough(self):
        failing = [f for f in FILES.glob("*.expected") if f.stat().st_size > 0]
        self.assertGreaterEqual(len(failing), 60)
        self.assertEqual(
            {f.stem for f in FILES.glob("*.expected")}, {f.stem for f in FILES.glob("*.xml")}
        )

    def test_each_says_what_is_expected(self):
        for file in sorted(FILES.glob("*.xml")):
            with self.subTest(file=file.name):
                expected = file.with_suffix(".expected").read_text("utf-8").splitlines()
                ran = check(file.name, standard=needs_standard(file.name), cwd=FILES)
                self.assertEqual(ran.lines[:-1], [f"{file.name}:{line}" for line in expected])
                counts = [
                    f"{n} {word}{'' if n == 1 else 's'}"
                    for word in ("error", "warning", "note")
                    if (n := sum(f" {word}: " in line for line in expected))
                ]
                summary = ", ".join(counts) or "no findings"
                self.assertEqual(ran.lines[-1], f"{file.name}: {summary}")
                found = any(re.search(r": (error|warning): ", line) for line in expected)
                self.assertEqual(ran.status, 4 if found else 0)
                self.assertEqual(ran.err, "")

    def test_json_says_the_same(self):
        known = rules()
        for standard in (False, True):
            files = sorted(f for f in FILES.glob("*.xml") if needs_standard(f.name) == standard)
            ran = check("--json", *files, standard=standard)
            self.assertEqual(ran.status, 4)
            self.assertEqual([row["file"] for row in ran.json], [str(f) for f in files])
            for file, row in zip(files, ran.json):
                lines = [
                    f"{f['line']}:{f['column']}: {f['severity']}: {f['message']} [{f['rule']}]"
                    for f in row["findings"]
                ]
                expected = file.with_suffix(".expected").read_text("utf-8").splitlines()
                self.assertEqual(lines, expected, file.name)
                for severity in ("error", "warning", "note"):
                    count = sum(f["severity"] == severity for f in row["findings"])
                    self.assertEqual(row[severity + "s"], count)
                stops = any(f["stops_loading"] for f in row["findings"])
                self.assertEqual(row["loads"], not stops, file.name)
                for finding in row["findings"]:
                    self.assertEqual(known[finding["rule"]]["severity"], finding["severity"])

    def test_every_rule_has_a_file(self):
        told = set()
        for file in FILES.glob("*.expected"):
            told |= set(re.findall(r"\[(GW\d+)\]$", file.read_text("utf-8"), re.MULTILINE))
        self.assertEqual(told, set(rules()) - RULES_WITHOUT_SMALL_FILE)

    def test_files_named_after_a_rule_fail_it(self):
        named = [f for f in FILES.glob("GW*.expected")]
        self.assertGreater(len(named), 70)
        for file in named:
            self.assertIn(f"[{file.name[:5]}]", file.read_text("utf-8"), file.name)


class DocumentationTest(FolderTest):
    """docs/check-rules.md: a section and a failing example for each rule."""

    def setUp(self):
        super().setUp()
        text = DOCS.read_text("utf-8")
        self.outer = re.search(r"```xml\n(<DATAMODEL>.*?)```", text, re.DOTALL)[1]
        sections = re.split(r"^### ", text, flags=re.MULTILINE)[1:]
        self.sections = {section[:5]: section for section in sections}

    def test_each_rule_has_its_section(self):
        known = rules()
        self.assertEqual(list(self.sections), list(known))
        for name, rule in known.items():
            heading = self.sections[name].split("\n", 1)[0]
            self.assertEqual(heading, f"{name}: {rule['title']} ({rule['severity']})")

    def test_each_example_fails_its_rule(self):
        for name, section in self.sections.items():
            if name == "GW000":
                continue
            with self.subTest(rule=name):
                kind, example = re.search(r"```(\w+)\n(.*?)```", section, re.DOTALL).groups()
                file = self.folder / "example.xml"
                if kind == "sh":
                    subprocess.run(["bash", "-c", example], cwd=self.folder, check=True)
                elif "DATAMODEL" in example or 'name="InternetGatewayDevice."' in example:
                    file.write_text(example, "utf-8")
                elif name == "GW312":
                    file.write_text(example, "utf-8")
                else:
                    file.write_text(self.outer.replace("<!-- the example -->", example), "utf-8")
                ran = check(file, standard=needs_standard(name))
                found = re.findall(r"\[(GW\d+)\]$", ran.out, re.MULTILINE)
                self.assertIn(name, found)
                self.assertEqual(ran.status, 0 if "(note)" in section else 4)
                file.unlink()


class CleanTest(FolderTest):
    def test_the_models_have_no_findings(self):
        files = sorted(MODELS.glob("*.xml"))
        self.assertEqual([f.name for f in files], ["home-gateway.xml", "two-port.xml"])
        for standard in (False, True):
            ran = check(*files, standard=standard)
            self.assertEqual(ran.lines, [f"{f}: no findings" for f in files])
            self.assertEqual((ran.status, ran.err), (0, ""))

    def test_a_small_document_has_none(self):
        file = self.file("small.xml", document(EMPTY_RECORDS))
        self.assertEqual(check(file).out, f"{file}: no findings\n")

    def test_2_mib_are_read_and_one_byte_more_is_not(self):
        text = document(EMPTY_RECORDS)
        for size, finding in ((2097152, None), (2097153, "GW113")):
            file = self.file("large.xml", text + " " * (size - len(text)))
            row = check("--json", file).json[0]
            self.assertEqual(row["loads"], finding is None)
            self.assertEqual([f["rule"] for f in row["findings"]], [finding] if finding else [])

    def test_notes_are_no_findings(self):
        file = self.file("note.xml", document(parameter("X_VT_A", sname=""), EMPTY_RECORDS))
        ran = check(file)
        self.assertEqual(ran.lines[-1], f"{file}: 1 note")
        self.assertEqual(ran.status, 0)

    def test_a_finding_names_its_path_in_json(self):
        file = self.file("path.xml", document(parameter("X_VT_A", "x", "int"), EMPTY_RECORDS))
        finding = check("--json", file).json[0]["findings"][0]
        self.assertEqual(
            finding,
            {
                "rule": "GW405",
                "severity": "error",
                "line": 3,
                "column": 44,
                "message": 'the value "x" is not a whole number',
                "stops_loading": False,
                "path": "InternetGatewayDevice.X_VT_A",
            },
        )


class SettingsSizeTest(FolderTest):
    """Random texts, which do not compress: the size of the block follows from their length."""

    def findings(self, count, **attributes):
        source = random.Random(1)
        values = ["%0190d" % source.randrange(10**189, 10**190) for _ in range(count)]
        name = attributes.pop("name", "X_VT_{}")
        content = [
            parameter(name.format(n), value, **attributes) for n, value in enumerate(values)
        ]
        file = self.file("size.xml", document(*content, EMPTY_RECORDS))
        return [(f["rule"], f["message"]) for f in check("--json", file).json[0]["findings"]]

    def test_from_small_to_too_large(self):
        self.assertEqual(self.findings(300), [])
        ((rule, message),) = self.findings(600)
        self.assertEqual(rule, "GW514")
        size = int(re.search(r"would take (\d+) of 65535 bytes", message)[1])
        self.assertTrue(65535 * 0.8 < size <= 65535, size)
        ((rule, message),) = self.findings(900)
        self.assertEqual(rule, "GW513")
        self.assertGreater(int(re.search(r"would take (\d+) of 65535 bytes", message)[1]), 65535)

    def test_counters_are_never_saved(self):
        found = self.findings(900, name="X_VT_{}NumberOfEntries")
        self.assertNotIn("GW513", [rule for rule, _ in found])


class AgreementTest(FolderTest):
    """The check knows whether the daemon loads a file, however the file is broken."""

    def assert_agreement(self, texts):
        files = [self.file(f"{n}.xml", text) for n, text in enumerate(texts)]
        loads = 0
        for at in range(0, len(files), 200):
            ran = check("--json", *files[at : at + 200])
            for row in ran.json:
                rules_told = [f["rule"] for f in row["findings"]]
                self.assertNotIn("GW000", rules_told, Path(row["file"]).read_bytes())
                stops = any(f["stops_loading"] for f in row["findings"])
                self.assertEqual(row["loads"], not stops, Path(row["file"]).read_bytes())
                loads += row["loads"]
        self.assertGreater(loads, 0)
        self.assertLess(loads, len(files))

    def test_over_documents_with_a_piece_changed(self):
        source = random.Random(20260131)
        text = (FILES / "element_dialect.xml").read_bytes() + document(
            parameter("A", "b"), EMPTY_RECORDS
        ).encode()
        pieces = [b"<", b">", b"/", b'"', b"=", b" ", b"\\", b"?", b"<!--", b"-->", b"\0", b"\xff"]
        pieces += [b"</OBJECT>", b"</Element>", b'<PARAMETER name="P">', b'<OBJECT name="O."/>']
        halves = text.split(b"</VANTREL_CML>")
        texts = []
        for n in range(1200):
            base = bytearray(halves[n % 2])
            for _ in range(source.choice((1, 1, 2))):
                at = source.randrange(len(base))
                end = at + source.choice((0, 0, 1, 1, 10))
                base[at:end] = source.choice(pieces)
            texts.append(bytes(base))
        self.assert_agreement(texts)

    def test_over_documents_cut_anywhere(self):
        text = document(parameter("A", "b"), EMPTY_RECORDS)
        self.assert_agreement([text[:length] for length in range(len(text) + 1)])


class HostileTest(FolderTest):
    def test_what_is_no_file_ends_with_two(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for path, reason in (
            (self.folder / "none.xml", "No such file or directory"),
            (self.folder, "is a folder"),
            (fifo, "is not a file"),
        ):
            ran = check(path)
            self.assertEqual((ran.status, ran.out), (2, ""))
            self.assertEqual(ran.err, f"gwctl: check: {path}: {reason}\n")

    def test_an_unreadable_file_ends_with_two(self):
        file = self.file("secret.xml", document())
        file.chmod(0)
        ran = gwctl_as_nobody(self.folder, "check", file)
        self.assertEqual(ran.status, 2)
        self.assertEqual(ran.err, f"gwctl: check: {file}: Permission denied\n")

    def test_one_bad_name_does_not_keep_the_others_unchecked(self):
        file = self.file("good.xml", document(EMPTY_RECORDS))
        ran = check(self.folder / "none.xml", file)
        self.assertEqual((ran.status, ran.out), (2, f"{file}: no findings\n"))
        rows = check("--json", self.folder / "none.xml", file).json
        self.assertIn("No such file", rows[0]["error"])
        self.assertEqual(rows[1]["loads"], True)

    def test_a_huge_sparse_file(self):
        file = self.folder / "huge.xml"
        with open(file, "wb") as out:
            out.truncate(1 << 40)
        ran = check(file)
        self.assertEqual(ran.status, 4)
        self.assertIn(f"the file has {1 << 40} bytes", ran.out)

    def test_a_device_without_an_end(self):
        self.assertIn("[GW113]", check("/dev/zero").out)

    def test_binary(self):
        file = self.file("binary.xml", random.Random(7).randbytes(100000))
        ran = check(file)
        self.assertEqual(ran.status, 4)
        self.assertNotRegex(ran.out, "[\x00-\x08\x0b-\x1f\x7f\udc80-\udcff]")

    def test_escape_sequences_are_not_passed_on(self):
        file = self.file("esc.xml", document(parameter("A\x1b[31m", "\x1b]0;x\x07", "int")))
        ran = check(file)
        self.assertNotIn("\x1b", ran.out)
        self.assertIn("\\x1b[31m", ran.out)

    def test_thousands_of_findings_are_cut(self):
        file = self.file("many.xml", document(*[parameter("A", type="x")] * 3000))
        ran = check(file)
        self.assertEqual(len(ran.lines), 1001)
        self.assertIn("6000 errors", ran.lines[-1])
        self.assertTrue(ran.lines[-1].endswith("; only the first 1000 are listed"))
        row = check("--json", file).json[0]
        self.assertEqual((row["errors"], len(row["findings"])), (6000, 1000))

    def test_nesting_as_deep_as_a_path_can_be(self):
        opening = "".join(f'<OBJECT name="{"ab"[n % 2]}.">' for n in range(16000))
        file = self.file("deep.xml", opening + "</OBJECT>" * 16000)
        row = check("--json", "--standard", file).json[0]
        self.assertEqual([f["rule"] for f in row["findings"]], ["GW312", "GW601"])
        file.write_text(opening + '<OBJECT name="InternetGatewayDevice.">' * 60 + "</OBJECT>" * 16060)
        self.assertFalse(check("--json", file).json[0]["loads"])


class UseTest(FolderTest):
    def test_wrong_use(self):
        for arguments in ((), ("--rules", "a.xml"), ("--nonsense", "a.xml")):
            ran = gwctl("check", *arguments)
            self.assertEqual((ran.status, ran.out), (2, ""), arguments)
            self.assertNotEqual(ran.err, "")

    def test_help_has_an_example(self):
        ran = gwctl("check", "--help")
        self.assertEqual(ran.status, 0)
        self.assertIn("Example", ran.out)
        self.assertIn("  gwctl check ", ran.out)

    def test_rules_are_listed(self):
        ran = gwctl("check", "--rules")
        self.assertEqual(ran.status, 0)
        self.assertIn("GW406 error: value outside of its limits\n", ran.out)
        self.assertEqual(len(ran.lines), len(rules()))

    def test_facts_of_ones_own(self):
        head = (MODELS / "tr098_facts.csv").read_text("utf-8").split("\n", 1)[0]
        columns = head.split(",")
        row = dict.fromkeys(columns, "")
        row |= {"path": "InternetGatewayDevice.Tea", "kind": "parameter", "type": "string"}
        row |= {"access": "readWrite", "max_length": "4"}
        facts = self.file("facts.csv", head + "\r\n" + ",".join(row[c] for c in columns) + "\r\n")
        file = self.file("tea.xml", document(parameter("Tea", type="string(5)"), EMPTY_RECORDS))
        expected = "the standard's limits are those of string(4) [GW604]"
        self.assertIn(expected, check("--facts", facts, file, standard=True).out)
        self.assertIn(expected, check(file, standard=True, env={"GWCONF_FACTS": str(facts)}).out)
        for bad, message in (
            (self.folder / "none.csv", "No such file or directory"),
            (self.file("bad.csv", "path,kind\n"), "is no table of facts: a column is missing"),
            (self.file("worse.csv", head + '\n"'), "row 2 is malformed"),
            (self.file("odd.csv", head + "\nx,y\n"), "row 2 is no fact"),
        ):
            ran = check("--facts", bad, file, standard=True)
            self.assertIn(f"{bad}: {message}\n", ran.err)
            self.assertEqual(ran.status, 2 if bad.name == "none.csv" else 1)


class TerminalTest(FolderTest):
    def on_terminal(self, *arguments, columns=80, **env):
        """What the tool writes to a terminal."""
        terminal, end = pty.openpty()
        size = f"stty rows 24 cols {columns} <&1; "
        process = subprocess.Popen(
            ["sh", "-c", size + 'exec "$@"', "sh", GWCTL, *map(str, arguments)],
            stdin=subprocess.DEVNULL,
            stdout=end,
            stderr=end,
            env=environment(**{"TERM": "xterm", **env}),
        )
        os.close(end)
        shown = b""
        try:
            while piece := os.read(terminal, 4096):
                shown += piece
        except OSError:  # the other end is closed
            pass
        os.close(terminal)
        process.wait()
        return shown.decode().replace("\r\n", "\n")

    def setUp(self):
        super().setUp()
        text = document(parameter("X_VT_A", "70000", "unsignedInt[0:65535]"), EMPTY_RECORDS)
        self.bad = self.file("bad.xml", text)

    def test_the_line_with_a_mark_below(self):
        shown = self.on_terminal("check", self.bad, NO_COLOR="1", columns=120)
        self.assertEqual(
            shown,
            f'{self.bad}:3:61: error: the value "70000" is more than 65535 [GW406]\n'
            ' 3 | <PARAMETER name="X_VT_A" type="unsignedInt[0:65535]" value="70000" writable="1"/>\n'
            "   |                                                             ^~~~~\n"
            f"{self.bad}: 1 error\n",
        )

    def test_colours(self):
        shown = self.on_terminal("check", self.bad)
        self.assertIn("\x1b[1;31merror:\x1b[0m", shown)
        for env in ({"NO_COLOR": "1"}, {"TERM": "dumb"}, {"TERM": ""}):
            self.assertNotIn("\x1b", self.on_terminal("check", self.bad, **env))

    def test_a_narrow_terminal_shows_the_place(self):
        shown = self.on_terminal("check", self.bad, NO_COLOR="1", columns=20).split("\n")
        line, mark = shown[1], shown[2]
        self.assertLessEqual(len(line), 20)
        begin = mark.index("^")
        self.assertEqual(line[begin : begin + 5], "70000")

    def test_no_mark_and_no_colour_in_a_pipe(self):
        ran = check(self.bad, env={"TERM": "xterm"})
        self.assertEqual(len(ran.lines), 2)
        self.assertNotIn("\x1b", ran.out)

    def test_tabs_and_wide_bytes_keep_the_mark_in_place(self):
        line = "\t<!-- ä \x1b --> " + parameter("X_VT_A", "ü", "int")
        file = self.file("tab.xml", document(line, EMPTY_RECORDS))
        shown = self.on_terminal("check", file, NO_COLOR="1", columns=150)
        places = re.findall(r"^ 3 \| (.*)\n   \| ( *)\^", shown, re.MULTILINE)
        self.assertEqual([text[len(blanks)] for text, blanks in places], ["?", "ü"])
        self.assertNotIn("\x1b", shown)


if __name__ == "__main__":
    unittest.main()
