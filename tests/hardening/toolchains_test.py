"""cmake/hardening.cmake with flags of distributions, and with compilers that know less than this machine's."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from elf import dynamic, guarded_calls, missing_symbols, segments

MODULE = Path(__file__).resolve().parents[2] / "cmake/hardening.cmake"
PROJECT = f"""
cmake_minimum_required(VERSION 3.25)
project(program LANGUAGES C CXX)
include({MODULE})
add_executable(program program.cpp)
target_compile_options(program PRIVATE -Wall -Wextra -Werror)
gwconf_harden(program)
"""
PROGRAM = """
#include <cstdio>
int main(int, char** words) {
  char copy[40000];
  std::snprintf(copy, sizeof copy, "%s and %s", words[0], words[0]);
  return copy[0];
}
"""
# A compiler that refuses what begins with one of the words.
ODD_COMPILER = """#!/bin/sh
for flag do
  for refused in {refused}; do
    case $flag in "$refused"*) echo "unknown: $flag" >&2; exit 1 ;; esac
  done
done
exec {compiler} "$@"
"""


class Toolchains(unittest.TestCase):
    def build(self, *options, flags="", refused=()):
        """The program, built with these options of CMake and flags of the distribution."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        root = Path(folder.name)
        (root / "CMakeLists.txt").write_text(PROJECT)
        (root / "program.cpp").write_text(PROGRAM)
        compiler = os.environ["GWCONF_CXX"]
        if refused:
            odd = root / "c++"
            odd.write_text(ODD_COMPILER.format(refused=" ".join(refused), compiler=compiler))
            odd.chmod(0o755)
            compiler = str(odd)
        cmake = os.environ["GWCONF_CMAKE"]
        configure = [
            cmake, "-G", "Ninja", "-S", root, "-B", root / "build", "-DCMAKE_BUILD_TYPE=Release",
            f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_CXX_FLAGS={flags}", *options,
        ]  # fmt: skip
        for command in (configure, [cmake, "--build", root / "build"]):
            ran = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.assertEqual(ran.returncode, 0, ran.stdout)
        return root / "build/program"

    def test_everything(self):
        program = self.build()
        self.assertEqual(guarded_calls(program), {"__snprintf_chk"})
        self.assertIn("__stack_chk_fail", missing_symbols(program))
        self.assertRegex(dynamic(program), r"\bNOW\b")

    def test_switched_off(self):
        program = self.build("-DGWCONF_HARDENING=OFF", "-DCMAKE_EXE_LINKER_FLAGS=-Wl,-z,lazy")
        self.assertEqual(guarded_calls(program), set())
        self.assertNotRegex(dynamic(program), r"\bNOW\b")

    def test_one_switched_off(self):
        program = self.build("-DGWCONF_HAS_FORTIFY_3=OFF", "-DGWCONF_HAS_FORTIFY_2=OFF")
        self.assertEqual(guarded_calls(program), set())
        self.assertIn("__stack_chk_fail", missing_symbols(program))

    def test_level_of_a_distribution(self):
        for flags in [
            "-D_FORTIFY_SOURCE=2",
            "-Wp,-D_FORTIFY_SOURCE=2",
            "-Wp,-U_FORTIFY_SOURCE,-D_FORTIFY_SOURCE=3",
        ]:
            with self.subTest(flags):
                self.assertEqual(guarded_calls(self.build(flags=flags)), {"__snprintf_chk"})

    def test_no_optimisation(self):
        program = self.build("-DCMAKE_BUILD_TYPE=Debug")
        self.assertEqual(guarded_calls(program), set())
        self.assertIn("__stack_chk_fail", missing_symbols(program))

    def test_sanitizers(self):
        program = self.build(flags="-fsanitize=address")
        self.assertEqual(guarded_calls(program), set())

    def test_compiler_that_knows_nothing_of_it(self):
        program = self.build(refused=["-fstack", "-Wl,-z", "-D_FORTIFY_SOURCE"])
        self.assertEqual(guarded_calls(program), set())
        self.assertIn(("GNU_STACK", "RW"), segments(program))

    def test_compiler_that_knows_level_2_only(self):
        program = self.build(refused=["-D_FORTIFY_SOURCE=3"])
        self.assertEqual(guarded_calls(program), {"__snprintf_chk"})


if __name__ == "__main__":
    unittest.main()
