"""What readelf says about a program, a library or an archive."""

import os
import re
import subprocess


def readelf(option, path):
    ran = subprocess.run(
        [os.environ["GWCONF_READELF"], option, "-W", path],
        env=os.environ | {"LC_ALL": "C"}, capture_output=True, text=True, check=True,
    )  # fmt: skip
    return ran.stdout


def kind(path):
    """EXEC for a program at a fixed address, DYN for what can lie anywhere."""
    return re.search(r"^\s*Type:\s*(\w+)", readelf("-h", path), re.M)[1]


def segments(path):
    """Each segment's type and access, for instance ("GNU_STACK", "RW")."""
    found = re.findall(r"^  ([A-Z_]+) +(?:0x\w+ +){5}([RWE ]{3})", readelf("-l", path), re.M)
    assert any(name == "LOAD" for name, _ in found), path
    return [(name, access.replace(" ", "")) for name, access in found]


def dynamic(path):
    """The dynamic section's lines; none for a static program."""
    return readelf("-d", path)


def missing_symbols(path):
    """What it takes from elsewhere."""
    rows = (line.split() for line in readelf("-s", path).splitlines())
    return {row[7].partition("@")[0] for row in rows if len(row) > 7 and row[6] == "UND"}


def guarded_calls(path):
    """The C library's functions that know how much room there is, but for the end of a broken stack."""
    return {name for name in missing_symbols(path) if re.fullmatch(r"__\w+_chk", name)}
