"""What the tests of the offline verbs share: the tool itself, small documents, blocks."""

import json
import os
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib
from dataclasses import dataclass
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
GWCTL = os.environ["GWCONF_GWCTL"]

MAGIC = 0x00123123


@dataclass
class Ran:
    status: int
    out: str
    err: str

    @property
    def json(self):
        return json.loads(self.out)

    @property
    def lines(self):
        return self.out.splitlines()


def environment(**changes):
    """This process's environment without what steers the tool, and with changes."""
    kept = {k: v for k, v in os.environ.items() if not k.startswith(("GWCONF_", "NO_COLOR"))}
    return {**kept, **changes}


def gwctl(*arguments, cwd=None, env=None, program=GWCTL, **options):
    ran = subprocess.run(
        [program, *map(str, arguments)],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        cwd=cwd,
        env=environment(**(env or {})),
        timeout=100,
        **options,
    )
    out, err = (text.decode("utf-8", "surrogateescape") for text in (ran.stdout, ran.stderr))
    return Ran(ran.returncode, out, err)


def gwctl_as_nobody(folder, *arguments):
    """Runs a copy of the tool without the privilege to read everything."""
    if os.geteuid() != 0:
        return gwctl(*arguments)
    program = Path(folder, "gwctl")
    shutil.copy(GWCTL, program)
    program.chmod(0o755)
    os.chmod(folder, 0o755)
    return gwctl(*arguments, program=program, user=65534, group=65534, extra_groups=[])


class FolderTest(unittest.TestCase):
    """A test with an empty folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def file(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path


# --- documents


def parameter(name, value="", type="string", writable="1", **others):
    attributes = {"name": name, "type": type, "value": value, "writable": writable, **others}
    return "<PARAMETER " + " ".join(f'{k}="{v}"' for k, v in attributes.items()) + "/>\n"


def obj(name, *content):
    writable = "1" if name[0].isdigit() else "0"
    return (
        f'<OBJECT name="{name}" type="object" writable="{writable}">\n'
        + "".join(content)
        + "</OBJECT>\n"
    )


def document(*content):
    return "<DATAMODEL>\n" + obj("InternetGatewayDevice.", *content) + "</DATAMODEL>\n"


def records(*paths):
    """The record table of deleted default rows, as far as it is filled."""
    rows = [
        obj(f"{n}.", parameter("URI", path, "string(32768)", "0"))
        for n, path in enumerate(paths, 1)
    ]
    return obj("X_VT_MiscCfg.", obj("DeletedDefaultInstances.", *rows))


EMPTY_RECORDS = obj(
    "X_VT_MiscCfg.",
    parameter("DeletedDefaultInstancesNumberOfEntries", "0", "unsignedInt", "0"),
    obj("DeletedDefaultInstances.", obj("0.", parameter("URI", "", "string(32768)", "0"))),
)


# --- blocks, made without the tool


def block(
    text,
    magic=MAGIC,
    data=None,
    data_length=None,
    crc=None,
    text_length=None,
    carried=0,
    reserved=bytes(20),
):
    text = text.encode() if isinstance(text, str) else text
    data = zlib.compress(text) if data is None else data
    header = struct.pack(
        ">5I",
        magic,
        len(data) if data_length is None else data_length,
        zlib.crc32(data) if crc is None else crc,
        len(text) + 1 if text_length is None else text_length,
        carried,
    )
    return header + reserved + data
