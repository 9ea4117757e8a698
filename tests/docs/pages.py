"""The pages, and the folder in which what they show is run."""

import os
import re
import shutil
import sys
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["GWCONF_BUILD"]).resolve()
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("**/*.md")), ROOT / "models/README.md"]
MANUAL = sorted((ROOT / "docs/man").glob("*.[1-9]"))

sys.path.insert(0, str(ROOT / "scripts"))
import sandbox  # noqa: E402

FENCE = re.compile(r"^( *)```(\w*)\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)


def read(page):
    return page.read_text(encoding="utf-8")


def blocks(page):
    """(language, text) of each fenced block."""
    return [(language, text) for _, language, text in FENCE.findall(read(page))]


@contextmanager
def gateway():
    """As sandbox.gateway, with what commands name in the project's own tree."""
    with sandbox.gateway(BUILD) as (folder, environment):
        for part in ("models", "docs/pictures"):
            shutil.copytree(ROOT / part, folder / part)
        yield folder, environment
