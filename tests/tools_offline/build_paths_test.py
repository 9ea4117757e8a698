"""What is delivered tells nothing of the machine that built it."""

import os
import unittest
from pathlib import Path

from tool import SOURCES

PROGRAMS = [Path(program) for program in os.environ["GWCONF_PROGRAMS"].split(":")]
FOLDERS = [str(SOURCES), os.environ["GWCONF_BUILD"]]


class BuildPathsTest(unittest.TestCase):
    def test_no_program_holds_a_path_of_the_build(self):
        self.assertEqual(len(PROGRAMS), 4)
        for program in PROGRAMS:
            content = program.read_bytes()
            self.assertIn(b"Vantrel", content, program)
            for folder in FOLDERS:
                self.assertFalse(folder.encode() in content, f"{program} holds {folder}")


if __name__ == "__main__":
    unittest.main()
