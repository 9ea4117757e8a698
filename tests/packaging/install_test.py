"""`cmake --install` into a folder: the files that are there, and programs that are built against them."""

import os
import re
import shlex
import tempfile
import unittest
from pathlib import Path

from support import BUILD, SOURCE, run

PREFIX = os.environ["GWCONF_PREFIX"].lstrip("/")
LIBDIR = os.environ["GWCONF_LIBDIR"]
HAS_TOOLS = os.environ["GWCONF_TOOLS"] == "ON"

FILES = {
    "include/gwconf/client.h",
    "include/gwconf/client.hpp",
    "lib/systemd/system/gwconfd.service",
    "lib/sysusers.d/gwconf.conf",
    f"{LIBDIR}/cmake/gwconf/gwconfConfig.cmake",
    f"{LIBDIR}/cmake/gwconf/gwconfConfigVersion.cmake",
    f"{LIBDIR}/cmake/gwconf/gwconfTargets.cmake",
    f"{LIBDIR}/cmake/gwconf/gwconfTargets-{os.environ['GWCONF_CONFIG'] or 'noconfig'}.cmake",
    f"{LIBDIR}/libgwconf.so",
    f"{LIBDIR}/libgwconf.so.1",
    f"{LIBDIR}/libgwconf.so.1.0.0",
    f"{LIBDIR}/pkgconfig/gwconf.pc",
    "sbin/gwconfd",
    "share/gwconf/gwconfd.init",
    "share/man/man3/libgwconf.3",
    "share/man/man8/gwconfd.8",
}
TOOL_FILES = {
    "bin/gwctl",
    "share/bash-completion/completions/gwctl",
    "share/gwconf/home-gateway.profile",
    "share/gwconf/home-gateway.xml",
    "share/gwconf/tr098_facts.csv",
    "share/gwconf/two-port.profile",
    "share/gwconf/two-port.xml",
    "share/man/man1/gwctl.1",
}

C_PROGRAM = """
#include <gwconf/client.h>
#include <stdio.h>
int main(void) {
  gwconf_client* client = NULL;
  char* value = NULL;
  if (gwconf_open("/nonexistent/socket", &client) != GWCONF_OK) return 1;
  const int code = gwconf_get_value(client, "InternetGatewayDevice.DeviceSummary", &value);
  printf("%d\\n", code);
  gwconf_free(value);
  gwconf_close(client);
  return 0;
}
"""
CXX_PROGRAM = """
#include <gwconf/client.hpp>
#include <cstdio>
int main() {
  const gwconf::Client client{"/nonexistent/socket"};
  std::printf("%d\\n", client.get_value("InternetGatewayDevice.DeviceSummary").code);
}
"""
CMAKE_PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(program LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(gwconf 0.1 REQUIRED)
add_executable(program program.cpp)
target_link_libraries(program PRIVATE gwconf::client)
"""
NOBODY_THERE = "-1002\n"


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.top = Path(folder.name)
        cls.destination = cls.top / "destination"
        cls.root = cls.destination / PREFIX
        cls.installed = run(
            os.environ["GWCONF_CMAKE"], "--install", BUILD, env=os.environ | {"DESTDIR": str(cls.destination)}
        )

    def program_prints(self, program, expected):
        ran = run(program, env=os.environ | {"LD_LIBRARY_PATH": str(self.root / LIBDIR)})
        self.assertEqual((ran.stdout, ran.stderr, ran.returncode), (expected, "", 0))

    def succeeds(self, *command, **options):
        ran = run(*command, **options)
        self.assertEqual(ran.returncode, 0, ran.stdout + ran.stderr)
        return ran.stdout

    def test_files(self):
        self.assertEqual(self.installed.returncode, 0, self.installed.stdout + self.installed.stderr)
        found = {str(path.relative_to(self.destination)) for path in self.destination.rglob("*") if not path.is_dir()}
        expected = FILES | (TOOL_FILES if HAS_TOOLS else set())
        texts = [path for path in (SOURCE / "docs").rglob("*") if path.is_file() and path.parent.name != "man"]
        expected |= {f"share/doc/gwconf/{path.relative_to(SOURCE)}" for path in texts}
        if (SOURCE / "README.md").exists():
            expected.add("share/doc/gwconf/README.md")
        if HAS_TOOLS:
            expected |= {f"share/gwconf/{path.name}" for path in (SOURCE / "models").glob("*.profile")}
            expected |= {f"share/gwconf/{path.name}" for path in (SOURCE / "models").glob("*.xml")}
        self.assertEqual(found, {f"{PREFIX}/{name}" for name in expected})

    def test_modes(self):
        for name, mode in [("sbin/gwconfd", 0o755), ("share/gwconf/gwconfd.init", 0o755), ("include/gwconf/client.h", 0o644)]:
            self.assertEqual(self.root.joinpath(name).stat().st_mode & 0o7777, mode, name)

    def test_installed_programs_know_where_they_are(self):
        unit = (self.root / "lib/systemd/system/gwconfd.service").read_text()
        self.assertIn(f"\nExecStart=/{PREFIX}/sbin/gwconfd\n", unit)
        script = (self.root / "share/gwconf/gwconfd.init").read_text()
        self.assertIn(f"\ndaemon=/{PREFIX}/sbin/gwconfd\n", script)

    def test_program_with_pkg_config(self):
        environment = os.environ | {"PKG_CONFIG_LIBDIR": str(self.root / LIBDIR / "pkgconfig")}
        flags = self.succeeds("pkg-config", "--cflags", "--libs", "gwconf", env=environment)
        source = self.top / "program.c"
        source.write_text(C_PROGRAM)
        program = self.top / "c_program"
        own_flags = shlex.split(os.environ["GWCONF_CFLAGS"])
        self.succeeds(os.environ["GWCONF_CC"], *own_flags, "-o", program, source, *shlex.split(flags))
        self.program_prints(program, NOBODY_THERE)

    def test_pkg_config_version(self):
        environment = os.environ | {"PKG_CONFIG_LIBDIR": str(self.root / LIBDIR / "pkgconfig")}
        project = re.search(r"project\(gwconf VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text())
        self.assertEqual(self.succeeds("pkg-config", "--modversion", "gwconf", env=environment).strip(), project[1])

    def test_program_with_cmake(self):
        source = self.top / "project"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(CMAKE_PROJECT)
        (source / "program.cpp").write_text(CXX_PROGRAM)
        build = self.top / "build"
        cmake = os.environ["GWCONF_CMAKE"]
        self.succeeds(
            cmake, "-S", source, "-B", build, "-DCMAKE_PREFIX_PATH=" + str(self.root),
            "-DCMAKE_CXX_COMPILER=" + os.environ["GWCONF_CXX"], "-DCMAKE_CXX_FLAGS=" + os.environ["GWCONF_CXXFLAGS"],
        )  # fmt: skip
        self.succeeds(cmake, "--build", build)
        self.program_prints(build / "program", NOBODY_THERE)


if __name__ == "__main__":
    unittest.main()
