"""gwctl diff: files, blocks and a live daemon against each other."""

import os
import socket
import struct
import subprocess
import threading
import time
import unittest

from tool import (
    EMPTY_RECORDS,
    SOURCES,
    FolderTest,
    block,
    document,
    environment,
    gwctl,
    obj,
    parameter,
)

ROOT = "InternetGatewayDevice."


class FilesTest(FolderTest):
    def diff(self, one, other, *options):
        one = self.file("one.xml", one)
        other = self.file("other.xml", other)
        return gwctl("diff", one, other, *options)

    def test_equal(self):
        text = document(parameter("A", "1", "int"), EMPTY_RECORDS)
        self.assertEqual(self.diff(text, text).out, "")
        self.assertEqual(self.diff(text, text).status, 0)
        self.assertEqual(
            self.diff(text, text, "--json").json, {"equal": True, "differences": []}
        )

    def test_the_dialects_are_alike(self):
        element = (
            "<VANTREL_CML>\n\t<Element name='InternetGatewayDevice.' type='object'>\n"
            "\t\t<Element name='A' writable='1' value='x &amp; y' type='string(8)'/>\n"
            "\t</Element>\n</VANTREL_CML>\n"
        ).replace("'", '"')
        text = document(parameter("A", "x &amp; y", "string(8)"))
        self.assertEqual(self.diff(text, element).out, "")

    def test_values_are_told_as_clients_read_them(self):
        ran = self.diff(
            document(parameter("A", "x &amp; y"), parameter("B", ""), parameter("C", "same")),
            document(parameter("A", '\\\\ &quot;'), parameter("B", "new"), parameter("C", "same")),
        )
        self.assertEqual(
            ran.lines,
            [f'{ROOT}A: "x & y" -> "\\\\ \\""', f'{ROOT}B: "" -> "new"'],
        )
        self.assertEqual(ran.status, 4)

    def test_what_else_may_differ(self):
        one = document(
            parameter("A", "1", "int[0:5]", "1", notification="1", function="GetSN"),
            parameter("B", "a", enumeration="a,b"),
        )
        other = document(
            parameter("A", "1", "unsignedInt", "0", notification="2"),
            parameter("B", "a", "string(4)"),
        )
        self.assertEqual(
            self.diff(one, other).lines,
            [
                f'{ROOT}A type: "int[0:5]" -> "unsignedInt"',
                f'{ROOT}A writable: "1" -> "0"',
                f'{ROOT}A notification: "1" -> "2"',
                f'{ROOT}A function: "GetSN" -> ""',
                f'{ROOT}B type: "string" -> "string(4)"',
                f'{ROOT}B enumeration: "a,b" -> ""',
            ],
        )
        self.assertEqual(self.diff(one, other, "--values").status, 0)

    def test_objects(self):
        one = document(
            obj("A.", obj("0."), obj("1.", parameter("P", "x")), obj("2.")), obj("B.")
        )
        other = document(obj("A.", obj("0."), obj("2.", parameter("Q")), obj("3.")))
        self.assertEqual(
            self.diff(one, other).lines,
            [
                f"- {ROOT}A.1.",
                f'- {ROOT}A.1.P: "x"',
                f'+ {ROOT}A.2.Q: ""',
                f"+ {ROOT}A.3.",
                f"- {ROOT}B.",
            ],
        )
        self.assertEqual(
            self.diff(one, other, "--json").json["differences"][:3],
            [
                {"change": "removed", "path": f"{ROOT}A.1."},
                {"change": "removed", "path": f"{ROOT}A.1.P", "old": "x"},
                {"change": "added", "path": f"{ROOT}A.2.Q", "new": ""},
            ],
        )

    def test_the_order_does_not_matter(self):
        one = document(parameter("A"), parameter("B"), obj("C."), obj("D."))
        other = document(parameter("B"), parameter("A"), obj("D."), obj("C."))
        self.assertEqual(self.diff(one, other).status, 0)

    def test_other_roots(self):
        lines = self.diff('<OBJECT name="A."/>', '<OBJECT name="B."/>').lines
        self.assertEqual(lines, ["- A.", "+ B."])

    def test_blocks_and_files_mix(self):
        text = document(parameter("A", "x"))
        settings = self.file("settings.bin", block(text) + b"\xff" * 1000)
        self.assertEqual(gwctl("diff", settings, self.file("same.xml", text)).status, 0)
        ran = gwctl("diff", self.file("y.xml", document(parameter("A", "y"))), settings)
        self.assertEqual(ran.lines, [f'{ROOT}A: "y" -> "x"'])

    def test_hostile_values(self):
        ran = self.diff(document(parameter("A", "\x1b[2J")), document(parameter("A", "é\n")))
        self.assertEqual(ran.lines, [f'{ROOT}A: "\\x1b[2J" -> "é\\x0a"'])
        latin = document(parameter("A", "")).encode().replace(b'value=""', b'value="\xe9"')
        ran = self.diff(document(parameter("A", "")), latin)
        self.assertEqual(ran.lines, [f'{ROOT}A: "" -> "\\xe9"'])
        self.assertEqual(
            gwctl("diff", "--json", self.folder / "one.xml", self.folder / "other.xml").status, 4
        )

    def test_what_does_not_load(self):
        good = self.file("good.xml", document())
        for content, complaint in (
            ("<OBJECT", "line 1, column 1: the file ends inside this tag [GW106]"),
            (document() + document(), "line 6, column 1: a second root object"),
            (b"\x7fELF\0\0", "is neither XML nor a settings block: it holds a NUL byte"),
            (" " * 2097153, "has 2097153 bytes; the daemon reads no more than 2097152"),
            (block(document(), crc=1), "no valid block: checksum: "),
        ):
            bad = self.file("bad.xml", content)
            for pair in ((good, bad), (bad, good)):
                ran = gwctl("diff", *pair)
                self.assertEqual((ran.status, ran.out), (1, ""))
                self.assertIn(f"gwctl: diff: {bad}: ", ran.err)
                self.assertIn(complaint, ran.err)
        error = gwctl("diff", "--json", good, bad)
        self.assertEqual(list(error.json), ["error"])

    def test_what_is_no_file(self):
        good = self.file("good.xml", document())
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for path in (self.folder, fifo, self.folder / "none"):
            ran = gwctl("diff", good, path)
            self.assertEqual((ran.status, ran.out), (2, ""))
            self.assertIn(f"gwctl: diff: {path}: ", ran.err)

    def test_wrong_use(self):
        for arguments in ((), ("a",), ("a", "b", "c")):
            self.assertEqual(gwctl("diff", *arguments).status, 2)
        self.assertIn("  gwctl diff ", gwctl("diff", "--help").out)


class LiveTest(FolderTest):
    """Against gwconfd over a folder of its own."""

    def setUp(self):
        super().setUp()
        self.model = SOURCES / "models" / "two-port.xml"
        self.socket = self.folder / "tmp" / "Vantrel_cm_socket"

    def start(self, defaults):
        daemon = subprocess.Popen(
            [os.environ["GWCONF_DAEMON"], str(defaults)],
            env=environment(GWCONF_SANDBOX=str(self.folder)),
            stdout=subprocess.DEVNULL,
        )
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.terminate)
        deadline = time.monotonic() + 30
        while not self.socket.exists():
            self.assertIsNone(daemon.poll())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)

    def test_the_defaults_are_what_is_live(self):
        self.start(self.model)
        for live, options in ((f"live:{self.socket}", ()), ("live", ("--socket", self.socket))):
            for pair in ((live, self.model), (self.model, live)):
                ran = gwctl("diff", *pair, *options)
                self.assertEqual((ran.out, ran.err, ran.status), ("", "", 0))
        by_environment = gwctl("diff", self.model, "live", env={"GWCONF_SOCKET": str(self.socket)})
        self.assertEqual(by_environment.status, 0)

    def test_a_change_shows(self):
        self.start(self.model)
        live = f"live:{self.socket}"
        name = f"{ROOT}Time.NTPServer1"
        table = f"{ROOT}Layer3Forwarding.Forwarding."
        for verb in (("set", name, 'a&b "\\'), ("add", table)):
            ran = gwctl("--socket", self.socket, *verb)
            self.assertEqual(ran.status, 0, ran.err)
        ran = gwctl("diff", self.model, live)
        self.assertEqual(ran.status, 4)
        self.assertIn(f'{name}: "ntp1.example.net" -> "a&b \\"\\\\"', ran.lines)
        self.assertIn(f"+ {table}1.", ran.lines)
        self.assertIn(f'{ROOT}Layer3Forwarding.ForwardNumberOfEntries: "0" -> "1"', ran.lines)
        others = [line for line in ran.lines if not line.startswith(f"+ {table}1.")]
        self.assertEqual(len(others), 2)
        self.assertEqual(gwctl("diff", live, live).out, "")

    def test_nobody_there(self):
        """The reason is the connection's, not what the file or the terminal left behind."""
        nothing, no_socket = self.socket, self.file("no_socket", "")
        for socket_path, reason in (
            (nothing, "No such file or directory"),
            (no_socket, "Connection refused"),
        ):
            for live in (f"live:{socket_path}", "live"):
                for pair in ((live, self.model), (self.model, live)):
                    ran = gwctl("diff", *pair, "--socket", socket_path)
                    self.assertEqual((ran.status, ran.out), (3, ""))
                    self.assertEqual(
                        ran.err,
                        f"gwctl: diff {live}: -1002 (daemon not reachable at {socket_path}:"
                        f" {reason})\n",
                    )

    def test_a_socket_that_cannot_be(self):
        ran = gwctl("diff", "live:" + "s" * 200, self.model)
        self.assertEqual(ran.status, 2)


def message(text):
    return struct.pack("=i", len(text) + 1) + text + b"\0"


class WrongAnswersTest(FolderTest):
    """Against what is no gwconfd."""

    def diff_with(self, answer, *options):
        """Compares with a daemon that sends `answer` and hangs up; None: that sends nothing."""
        path = self.folder / "socket"
        path.unlink(missing_ok=True)
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(str(path))
        listener.listen()
        done = threading.Event()

        def serve():
            connection, _ = listener.accept()
            with connection:
                connection.recv(4096)
                if answer is None:
                    done.wait(100)
                else:
                    connection.sendall(answer)

        daemon = threading.Thread(target=serve)
        daemon.start()
        ran = gwctl("diff", SOURCES / "models" / "two-port.xml", f"live:{path}", *options)
        done.set()
        daemon.join()
        listener.close()
        self.assertEqual(ran.out, "")
        subject = f"gwctl: diff live:{path}: "
        self.assertEqual(ran.err[: len(subject)], subject)
        return ran.status, ran.err[len(subject) :]

    def test_answers(self):
        no_answer = (3, "-1004 (daemon hung up without a result)\n")
        nonsense = (3, "-1005 (answer is not of this protocol)\n")
        whole = message(b'<OBJECT name="InternetGatewayDevice.">')
        for answer, expected in (
            (b"", no_answer),
            (whole, no_answer),
            (whole[:20], nonsense),
            (b"\xff" * 4096, nonsense),
            (whole + message(b"0"), nonsense),
            (message(b"") + message(b"0"), nonsense),
            (message(b"no <") + message(b"0"), nonsense),
            (message(b"\xff\x1b[2J") + message(b"0"), nonsense),
            (message(b"") + message(b"2"), (1, "2 (no such object or parameter)\n")),
        ):
            self.assertEqual(self.diff_with(answer), expected, answer)

    def test_no_answer_within_the_time_asked_for(self):
        begin = time.monotonic()
        self.assertEqual(self.diff_with(None, "--timeout", "1"), (3, "-1003 (no answer in time)\n"))
        self.assertLess(time.monotonic() - begin, 10)


if __name__ == "__main__":
    unittest.main()
