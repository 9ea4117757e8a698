"""The manual pages: well-formed, and in step with what gwctl tells of itself."""

import re
import shutil
import unittest

from support import BUILD, SOURCE, run

PAGES = sorted((SOURCE / "docs/man").glob("*.[1-9]"))
GWCTL = BUILD / "gwctl"


def section(text, heading):
    found = re.search(f"(?ms)^{heading}:\n(.*?)(\n\n|\\Z)", text)
    return found[1] if found else ""


def help_of(*verb):
    return run(GWCTL, *verb, "--help").stdout


def verbs_of(*verb):
    return re.findall(r"(?m)^  ([a-z]\S*)", section(help_of(*verb), "Subcommands"))


def options_of(*verb):
    return set(re.findall(r"--[a-z-]+", " ".join(re.findall(r"(?m)^  (-\S+)", section(help_of(*verb), "Options")))))


def short_names(options):
    """How the page writes them: -o for the output file, everything else in full."""
    return {"-o" if option == "--output" else option for option in options}


class Manual(unittest.TestCase):
    def test_pages(self):
        self.assertEqual([page.name for page in PAGES], ["gwconfd.8", "gwctl.1", "libgwconf.3"])

    @unittest.skipUnless(shutil.which("mandoc"), "no mandoc")
    def test_mandoc(self):
        for page in PAGES:
            ran = run("mandoc", "-Tlint", "-Wwarning", page)
            self.assertEqual((ran.returncode, ran.stdout), (0, ""), page.name)

    @unittest.skipUnless(shutil.which("groff"), "no groff")
    def test_groff(self):
        for page in PAGES:
            ran = run("groff", "-man", "-mdoc", "-ww", "-z", page)
            self.assertEqual((ran.returncode, ran.stderr), (0, ""), page.name)

    def test_verbs_and_options(self):
        page = (SOURCE / "docs/man/gwctl.1").read_text()
        told = {}
        for item in re.findall(r"(?m)^\.It Cm (.*)$", page):
            words = re.split(r" (?:Ar|Fl|Op|Oo|Oc|Ns)\b", item, maxsplit=1)[0]
            flags = {"-" + flag for flag in re.findall(r"Fl (\S+)", item)}
            told[words] = told.get(words, set()) | flags
        real = {}
        for verb in verbs_of():
            inner = verbs_of(verb)
            for words in [(verb, name) for name in inner] or [(verb,)]:
                real[" ".join(words)] = short_names(options_of(*words) - {"--help"})
        self.assertEqual(told, real)

    def test_library(self):
        """Every function, code and number of the header."""
        header = (SOURCE / "include/gwconf/client.h").read_text()
        names = set(re.findall(r"\b(gwconf_\w+)\(", header))
        names |= set(re.findall(r"(?m)^(?:  |#define )(GWCONF_\w+)(?: =| \d)", header))
        self.assertGreater(len(names), 80)
        page = (SOURCE / "docs/man/libgwconf.3").read_text()
        self.assertEqual(names - set(re.findall(r"\w+", page)), set())

    def test_general_options(self):
        page = (SOURCE / "docs/man/gwctl.1").read_text()
        items = " ".join(re.findall(r"(?m)^\.It Fl (.*)$", page))
        self.assertEqual({"-" + name for name in re.findall(r"-[a-z-]+", items)}, options_of())


if __name__ == "__main__":
    unittest.main()
