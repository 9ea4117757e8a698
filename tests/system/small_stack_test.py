"""The daemon with the stack of a small device, over trees as deep as a path can be long and a file large. Needs
GWCONF_DAEMON, the command that runs it, and GWCONF_BYTE_ORDER, "<" or ">"."""

import os
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(PROJECT / "tests/support"), str(PROJECT / "scripts")]
from daemon_requests import ROOT, Client
from sandbox import Sandbox

STACK_KB = 256
LEVELS = (32768 - len(ROOT) - len("PP")) // 2  # of two characters each, down to a parameter at the bound of a path
DONE = [b"0\0"]


def chain(levels, inside):
    """Nested objects whose names take turns: a name that repeats its parent's would name the parent."""
    names = ["ab"[level % 2] for level in range(levels)]
    return "".join(f'<OBJECT name="{name}.">\n' for name in names) + inside + "</OBJECT>\n" * levels


def parameter(name, value):
    return f'<PARAMETER name="{name}" type="string" value="{value}" writable="1"/>\n'


DEEPEST = ROOT + "a.b." * (LEVELS // 2) + "a." * (LEVELS % 2) + "PP"
# A table whose rows are chains too, and one to record deletions in.
HALF = LEVELS // 2
TABLE = (
    parameter("RowNumberOfEntries", "1")
    + '<OBJECT name="Row.">\n'
    + "".join(f'<OBJECT name="{n}.">\n{chain(HALF, parameter("P", "row"))}</OBJECT>\n' for n in range(2))
    + "</OBJECT>\n"
)
RECORDS = (
    '<OBJECT name="X_VT_MiscCfg.">\n<OBJECT name="DeletedDefaultInstances.">\n<OBJECT name="0.">\n'
    + parameter("URI", "")
    + "</OBJECT>\n</OBJECT>\n</OBJECT>\n"
)


class SmallStack(unittest.TestCase):
    def setUp(self):
        limited = ["sh", "-c", f'ulimit -s {STACK_KB} && exec "$@"', "sh", *os.environ["GWCONF_DAEMON"].split()]
        folder = tempfile.mkdtemp(prefix="gwconf-stack.")
        self.gateway = Sandbox(folder, limited, os.devnull)
        self.addCleanup(self.gateway.remove)
        self.client = Client(self.gateway.socket, os.environ["GWCONF_BYTE_ORDER"])

    def start(self, content):
        text = f'<OBJECT name="{ROOT}">\n{content}</OBJECT>\n'
        (self.gateway.folder / "etc/default.xml").write_text(text, encoding="ascii")
        self.assertLess(len(text), 2 << 20)
        self.gateway.start()

    def restart(self):
        self.gateway.stop()
        self.gateway.start()

    def test_the_deepest_tree(self):
        self.start(chain(LEVELS, parameter("PP", "default")))
        self.assertEqual(len(DEEPEST), 32768)
        self.assertEqual(self.client.ask("2", DEEPEST), [b"default\0", *DONE])
        self.assertEqual(self.client.ask("0", DEEPEST, "mine"), DONE)
        saved = str(self.gateway.folder / "saved.xml")
        self.assertEqual(self.client.ask("29", saved), DONE)
        self.assertEqual(self.client.ask("19"), DONE)
        self.restart()
        self.assertEqual(self.client.ask("2", DEEPEST), [b"mine\0", *DONE])
        self.assertEqual(self.client.ask("20"), DONE)
        self.assertEqual(self.client.ask("2", DEEPEST), [b"default\0", *DONE])
        self.assertEqual(self.client.ask("30", saved), DONE)
        self.assertEqual(self.client.ask("2", DEEPEST), [b"mine\0", *DONE])
        self.assertEqual(self.client.ask("32", DEEPEST)[1:], DONE)
        # The lower half: an export writes as many tabs before a line as it has levels.
        text, *result = self.client.ask("31", DEEPEST[: -len("PP") - LEVELS // 2 * 2])
        self.assertEqual(result, DONE)
        self.assertIn(b'name="PP" writable="1" value="mine"', text)

    def test_deep_rows(self):
        self.start(TABLE + RECORDS)
        rows = ROOT + "Row."
        inside = "a.b." * (HALF // 2) + "a." * (HALF % 2) + "P"
        self.assertEqual(self.client.ask("10", rows, "2"), DONE)
        self.assertEqual(self.client.ask("2", rows + "2." + inside), [b"row\0", *DONE])
        self.assertEqual(self.client.ask("14", rows, "2"), DONE)
        self.assertEqual(self.client.ask("0", rows + "3." + inside, "mine"), DONE)
        self.assertEqual(self.client.ask("16", rows + "3." + inside), [b"0\0", *DONE])
        self.assertEqual(self.client.ask("12", rows, "1"), DONE)  # a default row: recorded
        self.assertEqual(self.client.ask("17", rows), [b"2,3,\0", *DONE])
        self.assertEqual(self.client.ask("19"), DONE)
        self.restart()
        self.assertEqual(self.client.ask("17", rows), [b"2,3,\0", *DONE])
        self.assertEqual(self.client.ask("2", rows + "3." + inside), [b"mine\0", *DONE])
        # Below its own template a row would take every next one past the bound of a path.
        self.assertEqual(self.client.ask("21", rows + "0." + inside[:-1], rows + "3.a."), [b"-100\0"])
        self.assertEqual(self.client.ask("18", "1", "0", rows), DONE)
        self.assertEqual(self.client.ask("17", rows), [b"1,2,\0", *DONE])
        self.assertEqual(self.client.ask("13", rows + "0."), DONE)
        self.assertEqual(self.client.ask("13", rows), DONE)


if __name__ == "__main__":
    unittest.main()
