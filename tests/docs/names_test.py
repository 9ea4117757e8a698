"""What pages and manual name exists: verbs and options of gwctl, files of the project, other pages and headings."""

import re
import shlex
import subprocess
import unittest
from functools import lru_cache

from pages import BUILD, FENCE, MANUAL, PAGES, ROOT, blocks, read

CODE = re.compile(r"`([^`\n]+)`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
FOLDERS = {path.name for path in ROOT.iterdir() if path.is_dir()}


@lru_cache(None)
def help_of(*verb):
    return subprocess.run([BUILD / "gwctl", *verb, "--help"], text=True, capture_output=True, check=True).stdout


def verbs_of(*verb):
    return re.findall(r"(?m)^  ([a-z]\S*)", help_of(*verb).partition("\nSubcommands:\n")[2])


@lru_cache(None)
def options_of(*verb):
    found = re.findall(r"(?m)^  (?:(-\w),)?(--[a-z-]+)", help_of(*verb))
    return {name for names in found for name in names if name}


def objection(command):
    """What is wrong with a command line that begins with gwctl; None when nothing is."""
    try:
        words = shlex.split(re.split(r"&&|\|\||[|;><]|\s\\$", command)[0], comments=True)[1:]
    except ValueError:
        words = command.split()[1:]
    verb, known = (), options_of()
    for at, word in enumerate(words):
        if re.fullmatch(r"--?[a-z][a-z-]*(=.*)?", word):
            if word.split("=")[0] not in known:
                return f"no option {word} of {' '.join(('gwctl', *verb))}"
        elif not verb and not (at > 0 and words[at - 1] in ("--socket", "--timeout")):
            if word.isupper():  # A placeholder.
                return None
            if word not in verbs_of():
                return f"no verb {word}"
            verb = (word,)
            known = known | options_of(*verb)
        elif len(verb) == 1 and verbs_of(*verb):
            if word.isupper():
                return None
            if word not in verbs_of(*verb):
                return f"no verb {word} of gwctl {verb[0]}"
            verb = (*verb, word)
            known = known | options_of(*verb)
    return None


def text_of(page):
    """A page without its blocks."""
    return FENCE.sub("", read(page))


def spans(page):
    """What stands in code: the lines of blocks, and the spans of the text around them."""
    for language, block in blocks(page):
        if language in ("", "console", "sh"):
            yield from (re.sub(r"^[$>] ", "", line.strip()) for line in block.splitlines())
    yield from CODE.findall(text_of(page))


def shown_in_manual(page):
    text = read(page)
    yield from re.findall(r"(?m)^gwctl .*$", text)
    for words in re.findall(r"(?m)^\.Cm ((?:\S+ )+Fl .*?) ?[.,]?$", text):
        yield "gwctl " + re.sub(r"\bFl (\S+)", r"-\1", words)


def headings(page):
    """The anchors of a page's headings."""
    text = text_of(page)
    for heading in re.findall(r"(?m)^#+ (.*)$", text):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Names(unittest.TestCase):
    def test_verbs_and_options(self):
        found = 0
        for page in [*PAGES, *MANUAL]:
            for span in spans(page) if page in PAGES else shown_in_manual(page):
                for command in re.findall(r"(?<![\w/.-])gwctl [^)(]*", span.split(": ")[0]):
                    found += 1
                    self.assertIsNone(objection(command), f"{page.name}: {span}")
        self.assertGreater(found, 70)

    def test_notices(self):
        self.assertEqual(objection("gwctl fly"), "no verb fly")
        self.assertEqual(objection("gwctl block fly"), "no verb fly of gwctl block")
        self.assertEqual(objection("gwctl check --standart FILE"), "no option --standart of gwctl check")
        self.assertEqual(objection("gwctl ls --values"), "no option --values of gwctl ls")

    def test_options_alone(self):
        every = set(options_of())
        for verb in verbs_of():
            every |= options_of(verb).union(*(options_of(verb, inner) for inner in verbs_of(verb)))
        for page in PAGES:
            for span in CODE.findall(read(page)):
                if re.fullmatch(r"--[a-z-]+", span):
                    self.assertIn(span, every, page.name)

    def test_every_session_is_run(self):
        """Commands of gwctl are shown as sessions, which are run, or within a line of text."""
        for page in PAGES:
            for language, block in blocks(page):
                if language != "console":
                    self.assertNotRegex(block, r"(?m)^\s*(\$ )?gwctl ", page.name)
            self.assertNotRegex(text_of(page), r"(?m)^(    |\t)(\$ )?gwctl ", page.name)

    def test_files(self):
        """Paths from the top of the project, and scripts."""
        found = 0
        for page in PAGES:
            for span in spans(page):
                for name in re.findall(r"(?<![\w/.$~-])(?:\./)?((?:[\w.-]+/)+[\w.-]*)", span):
                    if name.split("/")[0] in FOLDERS - {"build"} and "..." not in name:
                        found += 1
                        self.assertTrue((ROOT / name.rstrip(".")).exists(), f"{page.name}: {name}")
        self.assertGreater(found, 20)

    def test_links(self):
        found = 0
        for page in PAGES:
            for target in LINK.findall(text_of(page)):
                if target.startswith("https://"):
                    continue
                found += 1
                name, _, anchor = target.partition("#")
                other = (page.parent / name).resolve() if name else page
                self.assertTrue(other.exists(), f"{page.name}: {target}")
                if anchor:
                    self.assertIn(anchor, set(headings(other)), f"{page.name}: {target}")
        self.assertGreater(found, 10)

    def test_links_of_the_manual(self):
        ours = {page.name for page in MANUAL}
        for page in MANUAL:
            for name, part in re.findall(r"(?m)^\.Xr (\w*gw\w*) (\d)", read(page)):
                self.assertIn(f"{name}.{part}", ours, page.name)


if __name__ == "__main__":
    unittest.main()
