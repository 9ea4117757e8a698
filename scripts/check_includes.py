#!/usr/bin/env python3
"""Fails on an include against the arrows between the folders.

    check_includes.py [ROOT]

Every include of a file of ours names it from the root of the project, so that its folder is plain to see.
"""

import re
import sys
from pathlib import Path

PROTOCOL = ["protocol/"]
CORE = ["core/"] + PROTOCOL
PLATFORM = ["platform/"] + CORE
STORAGE = ["storage/"] + PLATFORM
XML = ["xml/"] + STORAGE
RPC = ["rpc/"] + XML
DAEMON = ["daemon/"] + RPC
CLIENT = ["client/", "gwconf/"] + PROTOCOL
# The rooms of gwctl: base <- live <- apply <- cli, and base <- offline <- cli.
TOOLS_BASE = ["tools/base/", "client/", "gwconf/", "storage/file.h"]
TOOLS_LIVE = ["tools/live/"] + TOOLS_BASE
TOOLS_APPLY = ["tools/apply/", "core/path.h", "core/counter.h", "core/deleted_defaults.h"] + TOOLS_LIVE
# The checks of files need to know which getters there are and how values are escaped.
TOOLS_OFFLINE = ["tools/offline/", "core/", "xml/", "storage/",
                 "platform/getters.h", "platform/services.h"] + TOOLS_BASE
TOOLS_CLI = ["tools/cli/", "tools/offline/"] + TOOLS_APPLY
TOOLS = ["tools/"]
EVERYTHING = DAEMON + CLIENT + TOOLS + ["tests/", "bench/"]

# What the files whose path starts so may include; the longest start counts.
ALLOWED = {
    "protocol/": PROTOCOL,
    "core/": CORE,
    "platform/": PLATFORM,
    "storage/": STORAGE,
    "xml/": XML,
    "rpc/": RPC,
    "daemon/": DAEMON,
    "client/": CLIENT,
    "tools/": [],
    "tools/base/": TOOLS_BASE,
    "tools/live/": TOOLS_LIVE,
    "tools/apply/": TOOLS_APPLY,
    "tools/offline/": TOOLS_OFFLINE,
    "tools/cli/": TOOLS_CLI,
    "include/": ["gwconf/"],
    "tests/": EVERYTHING,
    "bench/": EVERYTHING,
}
SUFFIXES = {".h", ".hpp", ".c", ".cc", ".cpp", ".inc"}
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def folder_of(name):
    return name.split("/", 1)[0] + "/"


OUR_FOLDERS = {folder_of(start) for start in EVERYTHING}


def faults(root, path):
    """Yields one line for every include of a file that its folder does not allow."""
    name = path.relative_to(root).as_posix()
    allowed = ALLOWED[max((start for start in ALLOWED if name.startswith(start)), key=len)]
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        include = INCLUDE.match(line)
        if not include:
            continue
        quote, target = include.groups()
        if folder_of(target) in OUR_FOLDERS:
            if not any(target.startswith(start) for start in allowed):
                yield f"{name}:{number}: {folder_of(name)} may not include {target}"
        elif quote == '"':
            yield f"{name}:{number}: {target} is not named from the root of the project"


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
    files = [
        path
        for folder in sorted({folder_of(start) for start in ALLOWED})
        for path in sorted((root / folder).rglob("*"))
        # The fixtures of this check break the rule on purpose.
        if path.suffix in SUFFIXES and "tests/style" not in path.relative_to(root).as_posix()
    ]
    found = [fault for path in files for fault in faults(root, path)]
    for fault in found:
        print(fault)
    print(f"{len(files)} files, {len(found)} includes against the arrows")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
