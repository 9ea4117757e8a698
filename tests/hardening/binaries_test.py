"""What the compiler's and the linker's protections leave in what is installed. Stripped or not makes no difference."""

import os
import unittest
from pathlib import Path

from elf import dynamic, guarded_calls, kind, missing_symbols, segments

PROGRAMS = os.environ["GWCONF_PROGRAMS"].split(":")
ARCHIVES = os.environ["GWCONF_ARCHIVES"].split(":")
LIBRARY = os.environ["GWCONF_LIBRARY"]
STATIC = os.environ["GWCONF_STATIC"] == "yes"
FORTIFIED = os.environ["GWCONF_FORTIFIED"] == "yes"


class Binaries(unittest.TestCase):
    def each(self, paths, check):
        for path in paths:
            with self.subTest(Path(path).name):
                check(path)

    def test_no_code_on_the_stack(self):
        self.each([*PROGRAMS, LIBRARY], lambda path: self.assertIn(("GNU_STACK", "RW"), segments(path)))

    def test_nothing_is_both_written_and_run(self):
        self.each([*PROGRAMS, LIBRARY], lambda path: self.assertNotIn(("LOAD", "RWE"), segments(path)))

    def test_relocated_data_is_read_only(self):
        self.each([*PROGRAMS, LIBRARY], lambda path: self.assertIn(("GNU_RELRO", "R"), segments(path)))

    def test_all_is_bound_at_the_start(self):
        def check(path):
            self.assertRegex(dynamic(path), r"\(FLAGS_1\).*\bNOW\b")
            self.assertNotIn("TEXTREL", dynamic(path))

        # A static program has nothing to bind.
        self.each([LIBRARY] if STATIC else [*PROGRAMS, LIBRARY], check)

    def test_programs_lie_anywhere(self):
        if STATIC:
            self.skipTest("a static program lies at its fixed address")
        self.each(PROGRAMS, lambda path: self.assertEqual(kind(path), "DYN"))
        self.each(PROGRAMS, lambda path: self.assertRegex(dynamic(path), r"\(FLAGS_1\).*\bPIE\b"))

    def test_stack_frames_are_guarded(self):
        # In a static program the C library's own guards would pass for ours, so the parts are looked at.
        self.each([*ARCHIVES, LIBRARY], lambda path: self.assertIn("__stack_chk_fail", missing_symbols(path)))

    def test_copies_and_formats_are_guarded(self):
        guarded = {"core", "xml", "rpc", "client_static"}
        paths = {Path(path).name.removeprefix("libgwconf_").removesuffix(".a"): path for path in ARCHIVES}
        for name in guarded:
            with self.subTest(name):
                if FORTIFIED:
                    self.assertTrue(guarded_calls(paths[name]))
                else:
                    self.assertEqual(guarded_calls(paths[name]), set())


if __name__ == "__main__":
    unittest.main()
