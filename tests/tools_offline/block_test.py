"""gwctl block: whole blocks, dumps, and everything that can be wrong with them."""

import os
import random
import struct
import subprocess
import unittest
import zlib

from tool import (
    GWCTL,
    MAGIC,
    SOURCES,
    FolderTest,
    block,
    document,
    gwctl,
    gwctl_as_nobody,
    parameter,
)

DATA = SOURCES / "tests" / "data"
TEXT = document(parameter("DeviceSummary", "a &amp; b", "string(1024)"))
NOTHING_SET = "<DATAMODEL>\n</DATAMODEL>\n"


def verify(*files):
    return gwctl("block", "verify", *files)


class BlockTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.good = self.file("good.bin", block(TEXT))

    def assert_invalid(self, content, complaint, daemon_reads=False):
        file = self.file("bad.bin", content)
        ran = verify(file)
        self.assertEqual((ran.out, ran.status), (f"{file}: not valid: {complaint}\n", 4))
        info = gwctl("block", "info", file, "--json")
        self.assertEqual(info.status, 4)
        self.assertEqual(
            (info.json["valid"], info.json["daemon_reads"]), (False, daemon_reads), complaint
        )
        self.assertEqual(info.json["checks"][-1]["check"], complaint.split(": ")[0])
        self.assertEqual(info.json["checks"][-1]["passed"], False)
        text = gwctl("block", "info", file)
        self.assertEqual((text.lines[0], text.status), (f"{file}: not valid: {complaint}", 4))
        unpacked = gwctl("block", "unpack", file)
        if not complaint.startswith("document: "):
            self.assertEqual((unpacked.out, unpacked.status), ("", 1))
            self.assertEqual(
                unpacked.err, f"gwctl: block unpack: {file}: not valid: {complaint}\n"
            )
        return unpacked

    # --- good ones

    def test_info(self):
        file = self.file("seven.bin", block(TEXT, carried=7) + b"\xff" * 100)
        length = len(zlib.compress(TEXT.encode()))
        crc = zlib.crc32(zlib.compress(TEXT.encode()))
        ran = gwctl("block", "info", file)
        self.assertEqual(ran.status, 0)
        self.assertEqual(
            ran.out,
            f"{file}: valid\n"
            f"  magic         0x00123123\n"
            f"  data length   {length}\n"
            f"  checksum      0x{crc:08x}, matches\n"
            f"  text length   {len(TEXT) + 1}\n"
            f"  carried word  7\n"
            f"  reserved      zero\n"
            f"  ratio         {100 * length / len(TEXT):.1f} %\n"
            f"  file          {40 + length + 100} bytes, 100 of them behind the block\n"
            f"  daemon        reads it\n",
        )
        document_of = gwctl("block", "info", "--json", file).json
        self.assertEqual(document_of["carried_word"], 7)
        self.assertEqual(document_of["trailing"], 100)
        self.assertEqual(document_of["valid"], True)
        self.assertEqual(document_of["actual_crc"], crc)

    def test_the_daemon_s_own_blocks(self):
        files = [DATA / "settings_block.bin", DATA / "settings_block_full.bin"]
        ran = verify(*files)
        self.assertEqual(ran.lines, [f"{files[0]}: valid", f"{files[1]}: valid"])
        self.assertEqual(ran.status, 0)
        self.assertEqual(
            gwctl("block", "unpack", files[1]).out,
            "<DATAMODEL>\n"
            '<OBJECT name="InternetGatewayDevice." type="object" writable="0" >\n'
            '<PARAMETER name="DeviceSummary" type="string(1024)"'
            ' value="a \\"quoted\\" word" writable="0" />\n'
            "</OBJECT>\n"
            "</DATAMODEL>\n",
        )

    def test_a_partition_dump(self):
        for tail in (b"\xff", b"\0", b"<"):
            file = self.file("mtd9.bin", (block(TEXT) + tail * 131072)[:131072])
            self.assertEqual(verify(file).out, f"{file}: valid\n")
            self.assertEqual(gwctl("block", "unpack", file).out, TEXT)

    def test_nothing_set_is_a_good_block(self):
        file = self.file("none.bin", block(NOTHING_SET))
        self.assertEqual(verify(file).status, 0)
        self.assertEqual(gwctl("block", "unpack", file).out, NOTHING_SET)
        empty = self.file("empty.bin", block(""))
        self.assertEqual(verify(empty).status, 0)
        self.assertEqual(gwctl("block", "info", empty).status, 0)
        self.assertEqual(gwctl("block", "unpack", empty).out, "")

    def test_reserved_bytes_do_not_matter(self):
        file = self.file("odd.bin", block(TEXT, reserved=b"\x01" * 20))
        self.assertEqual(verify(file).status, 0)
        self.assertIn("  reserved      not zero\n", gwctl("block", "info", file).out)

    def test_a_stream_with_bytes_behind_it(self):
        data = zlib.compress(TEXT.encode()) + b"\0\0\0"
        self.assertEqual(verify(self.file("tail.bin", block(TEXT, data=data))).status, 0)

    def test_the_largest_block(self):
        text = NOTHING_SET + " " * 100
        data = zlib.compress(text.encode())
        data += bytes(65495 - len(data))
        file = self.file("large.bin", block(text, data=data) + b"more")
        self.assertEqual(verify(file).status, 0)

    def test_unpack_to_a_file(self):
        output = self.folder / "out.xml"
        ran = gwctl("block", "unpack", self.good, "-o", output)
        self.assertEqual((ran.status, ran.out, ran.err), (0, "", ""))
        self.assertEqual(output.read_text(), TEXT)
        self.assertEqual(output.stat().st_mode & 0o777, 0o600)
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["good.bin", "out.xml"])

    def test_unpack_to_a_full_device(self):
        with open("/dev/full", "w") as full:
            ran = subprocess.run(
                [GWCTL, "block", "unpack", self.good], stdout=full, stderr=subprocess.PIPE
            )
        self.assertEqual(ran.returncode, 2)
        self.assertEqual(
            ran.stderr, b"gwctl: standard output: cannot be written\n"
        )

    def test_unpack_as_json(self):
        row = gwctl("block", "unpack", self.good, "--json").json
        self.assertEqual((row["xml"], row["valid"]), (TEXT, True))

    # --- each field of the header

    def test_magic(self):
        for byte in range(4):
            content = bytearray(block(TEXT))
            content[byte] ^= 0x40
            (magic,) = struct.unpack(">I", content[:4])
            self.assert_invalid(bytes(content), f"magic: 0x{magic:08x} instead of 0x00123123")

    def test_data_length(self):
        for length in (0, 65496, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF):
            self.assert_invalid(
                block(TEXT, data_length=length),
                f"data length: {length} is not between 1 and 65495",
            )
        length = len(zlib.compress(TEXT.encode()))
        self.assert_invalid(
            block(TEXT, data_length=length + 1),
            f"data: the file ends behind {length} of {length + 1} bytes",
        )
        data = zlib.compress(TEXT.encode())
        self.assert_invalid(
            block(TEXT, data_length=length - 1, crc=zlib.crc32(data)),
            f"checksum: the data has 0x{zlib.crc32(data[:-1]):08x},"
            f" the header says 0x{zlib.crc32(data):08x}",
        )

    def test_checksum(self):
        crc = zlib.crc32(zlib.compress(TEXT.encode()))
        for wrong in (0, crc ^ 1, crc ^ 0x80000000):
            self.assert_invalid(
                block(TEXT, crc=wrong),
                f"checksum: the data has 0x{crc:08x}, the header says 0x{wrong:08x}",
            )

    def test_text_length(self):
        for length in (0, 2097154, 0xFFFFFFFF):
            self.assert_invalid(
                block(TEXT, text_length=length),
                f"text length: {length} is not between 1 and 2097153",
                daemon_reads=length == 0,
            )
        for length in (1, len(TEXT), len(TEXT) + 2, 2097153):
            self.assert_invalid(
                block(TEXT, text_length=length),
                f"text length: the header says {length},"
                f" the text has {len(TEXT) + 1} with its NUL",
                daemon_reads=True,
            )

    # --- the data

    def test_every_bit_counts(self):
        content = block(TEXT)
        files = []
        for at in range(40, len(content)):
            flipped = bytearray(content)
            flipped[at] ^= 1 << (at % 8)
            files.append(self.file(f"{at}.bin", bytes(flipped)))
        ran = verify(*files)
        self.assertEqual(ran.status, 4)
        self.assertEqual(len(ran.lines), len(files))
        for file, line in zip(files, ran.lines):
            self.assertTrue(line.startswith(f"{file}: not valid: checksum: "), line)

    def test_cut_at_every_length(self):
        content = block(TEXT)
        files = [self.file(f"{n:04}.bin", content[:n]) for n in range(len(content))]
        ran = verify(*files)
        self.assertEqual(ran.status, 4)
        for n, (file, line) in enumerate(zip(files, ran.lines)):
            check = "header" if n < 40 else "data"
            self.assertTrue(line.startswith(f"{file}: not valid: {check}: "), line)
        self.assertEqual(len(ran.lines), len(content))

    def test_streams_that_do_not_inflate(self):
        stream = "stream: the data is no whole zlib stream of at most 2097152 bytes"
        whole = zlib.compress(TEXT.encode())
        raw = zlib.compressobj(wbits=-15)
        for data in (
            b"no stream",
            whole[:-1],
            whole[:-4] + b"\0\0\0\0",
            raw.compress(TEXT.encode()) + raw.flush(),
            zlib.compress(bytes(2097153)),
        ):
            self.assert_invalid(block(TEXT, data=data), stream, daemon_reads=True)

    def test_texts_that_are_none(self):
        self.assert_invalid(
            block(TEXT + "\0" + TEXT),
            f"text: a NUL at byte {len(TEXT)} of the text ends it",
            daemon_reads=True,
        )
        unpacked = self.assert_invalid(
            block('<OBJECT name="A.">'),
            "document: the daemon does not load the text: line 1, column 1:"
            " the object is not closed [GW203]",
            daemon_reads=True,
        )
        self.assertEqual((unpacked.out, unpacked.status), ('<OBJECT name="A.">', 0))

    # --- what is no block

    def test_no_blocks(self):
        for content, complaint in (
            (b"", "header: the file is empty"),
            (b"\xff" * 131072, "header: erased flash"),
            (b"\0" * 131072, "header: nothing but zeros"),
            (b"\0\x12\x31\x23", "header: the file has 4 bytes, a header 40"),
            (TEXT.encode(), "magic: 0x3c444154 instead of 0x00123123"),
        ):
            self.assert_invalid(content, complaint)
        source = random.Random(4)
        garbage = source.randbytes(70000)
        self.assert_invalid(garbage, f"magic: 0x{garbage[:4].hex()} instead of 0x00123123")

    def test_what_is_no_file_ends_with_two(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for verb in ("info", "verify", "unpack"):
            for path, reason in (
                (self.folder / "none", "No such file or directory"),
                (self.folder, "is a folder"),
                (fifo, "is not a file"),
            ):
                ran = gwctl("block", verb, path)
                self.assertEqual((ran.status, ran.out), (2, ""))
                self.assertEqual(ran.err, f"gwctl: block {verb}: {path}: {reason}\n")

    def test_an_unreadable_file(self):
        self.good.chmod(0)
        ran = gwctl_as_nobody(self.folder, "block", "verify", self.good)
        self.assertEqual(ran.status, 2)
        self.assertEqual(ran.err, f"gwctl: block verify: {self.good}: Permission denied\n")

    def test_a_huge_sparse_dump(self):
        with open(self.good, "r+b") as out:
            out.truncate(1 << 40)
        self.assertEqual(verify(self.good).status, 0)
        trailing = (1 << 40) - len(block(TEXT))
        self.assertIn(f"{1 << 40} bytes, {trailing} of them", gwctl("block", "info", self.good).out)
        sparse = self.folder / "sparse"
        with open(sparse, "wb") as out:
            out.truncate(1 << 40)
        self.assertEqual(verify(sparse).out, f"{sparse}: not valid: header: nothing but zeros\n")

    def test_one_bad_file_does_not_hide_the_others(self):
        ran = verify(self.folder / "none", self.good)
        self.assertEqual((ran.status, ran.out), (2, f"{self.good}: valid\n"))
        rows = gwctl("block", "verify", "--json", self.folder / "none", self.good).json
        self.assertIn("No such file", rows[0]["error"])
        self.assertEqual(rows[1]["valid"], True)


class PackTest(FolderTest):
    def pack(self, text, *options):
        source = self.file("settings.xml", text)
        self.output = self.folder / "out.bin"
        return gwctl("block", "pack", source, "-o", self.output, *options)

    def test_the_bytes_of_a_block(self):
        ran = self.pack(TEXT)
        self.assertEqual(self.output.read_bytes(), block(TEXT))
        size = len(block(TEXT))
        self.assertEqual((ran.status, ran.out), (0, f"{self.output}: {size} of 65535 bytes\n"))
        self.assertEqual(self.output.stat().st_mode & 0o777, 0o600)
        self.assertEqual(gwctl("block", "unpack", self.output).out, TEXT)

    def test_carried_word(self):
        for word, value in (("7", 7), ("0xfedcba98", 0xFEDCBA98), ("4294967295", 0xFFFFFFFF)):
            self.assertEqual(self.pack(TEXT, "--carried", word).status, 0)
            self.assertEqual(self.output.read_bytes(), block(TEXT, carried=value))
        self.output.unlink()
        for word in ("-1", "4294967296", "seven"):
            self.assertEqual(self.pack(TEXT, "--carried", word).status, 2, word)
            self.assertFalse(self.output.exists())

    def test_nothing_set(self):
        self.assertEqual(self.pack(NOTHING_SET).status, 0)
        self.assertEqual(self.output.read_bytes(), block(NOTHING_SET))

    def test_a_block_in_place_of_an_old_one(self):
        self.pack(TEXT)
        self.output.chmod(0o640)
        self.output.write_bytes(self.output.read_bytes() + b"old" * 100)
        self.assertEqual(self.pack(NOTHING_SET).status, 0)
        self.assertEqual(self.output.read_bytes(), block(NOTHING_SET))
        self.assertEqual(self.output.stat().st_mode & 0o777, 0o640)

    def test_a_link_leads_to_the_file(self):
        real = self.file("real.bin", b"")
        (self.folder / "out.bin").symlink_to(real)
        self.assertEqual(self.pack(TEXT).status, 0)
        self.assertTrue(self.output.is_symlink())
        self.assertEqual(real.read_bytes(), block(TEXT))

    def test_refused_texts_leave_what_was_there(self):
        source = random.Random(2)
        noise = [parameter(f"X{n}", source.randbytes(900).hex()) for n in range(100)]
        old = self.file("out.bin", b"old")
        for text, complaint in (
            (document(*noise), "its block would have more than 65535 bytes"),
            ("<OBJECT", "the daemon would not load it: line 1, column 1: the file ends inside"),
            ("", None),
            (TEXT + "\0", "is no XML: it holds a NUL byte"),
            (TEXT + " " * 2097152, f"has {len(TEXT) + 2097152} bytes; a block holds no more"),
        ):
            ran = self.pack(text)
            if complaint is None:  # no settings at all
                self.assertEqual(ran.status, 0)
                self.file("out.bin", b"old")
                continue
            self.assertEqual((ran.status, ran.out), (1, ""), complaint)
            self.assertIn(f"settings.xml: {complaint}", ran.err)
            self.assertEqual(old.read_bytes(), b"old")
        names = sorted(p.name for p in self.folder.iterdir())
        self.assertEqual(names, ["out.bin", "settings.xml"])

    def test_outputs_that_cannot_be_written(self):
        source = self.file("settings.xml", TEXT)
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for output in (self.folder, fifo, self.folder / "none" / "out.bin", "/dev/null"):
            ran = gwctl("block", "pack", source, "-o", output)
            self.assertEqual((ran.status, ran.out), (2, ""), output)
            self.assertIn(str(output), ran.err)
        full = gwctl("block", "unpack", self.file("good.bin", block(TEXT)), "-o", "/dev/full")
        self.assertEqual(full.status, 2)
        self.assertIn("No space left on device", full.err)

    def test_wrong_use(self):
        for arguments in (
            (),
            ("pack",),
            ("pack", "a.xml"),
            ("info",),
            ("verify",),
            ("unpack",),
            ("diff", "a"),
            ("frobnicate",),
        ):
            self.assertEqual(gwctl("block", *arguments).status, 2, arguments)

    def test_help_has_examples(self):
        for verb in ((), ("info",), ("verify",), ("unpack",), ("pack",), ("diff",)):
            ran = gwctl("block", *verb, "--help")
            self.assertEqual(ran.status, 0)
            self.assertIn("Example", ran.out)
            self.assertIn("  gwctl block ", ran.out)


class DiffTest(FolderTest):
    def test_equal_and_different(self):
        one = self.file("one.bin", block(TEXT))
        self.assertEqual(gwctl("block", "diff", one, one).out, "")
        self.assertEqual(gwctl("block", "diff", one, one).status, 0)
        other = self.file(
            "other.bin",
            block(document(parameter("DeviceSummary", "c", "string(1024)")), carried=9),
        )
        ran = gwctl("block", "diff", one, other)
        self.assertEqual(
            ran.lines,
            [
                'carried word: "0" -> "9"',
                'InternetGatewayDevice.DeviceSummary: "a & b" -> "c"',
            ],
        )
        self.assertEqual(ran.status, 4)
        self.assertEqual(
            gwctl("block", "diff", "--json", one, other).json["differences"][1],
            {
                "change": "value",
                "path": "InternetGatewayDevice.DeviceSummary",
                "old": "a & b",
                "new": "c",
            },
        )

    def test_against_nothing_set(self):
        one = self.file("one.bin", block(NOTHING_SET))
        other = self.file("other.bin", block(TEXT) + b"\xff" * 10)
        self.assertEqual(
            gwctl("block", "diff", one, other).lines,
            ["+ InternetGatewayDevice.", '+ InternetGatewayDevice.DeviceSummary: "a & b"'],
        )

    def test_a_bad_block_is_refused(self):
        one = self.file("one.bin", block(TEXT))
        bad = self.file("bad.bin", block(TEXT, magic=MAGIC + 1))
        for pair in ((one, bad), (bad, one)):
            ran = gwctl("block", "diff", *pair)
            self.assertEqual((ran.status, ran.out), (1, ""))
            self.assertIn(f"{bad}: not valid: magic: ", ran.err)


if __name__ == "__main__":
    unittest.main()
