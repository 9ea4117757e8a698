"""bash completion of gwctl, by the real tool and a real daemon."""

import os
import socket
import tempfile
import time
import unittest
from pathlib import Path

from support import BUILD, SOURCE, daemon, run

HARNESS = """
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_gwctl "$1" "${@: -1}" "${@: -2:1}"
if ((${#COMPREPLY[@]})); then printf '%s\\n' "${COMPREPLY[@]}"; fi
"""
TIME = "InternetGatewayDevice.Time."


def complete(*words, gwctl=BUILD / "gwctl", socket_path="/nonexistent/socket"):
    """What is offered for the last word, and how long that took."""
    environment = os.environ | {"GWCONF_SOCKET": str(socket_path)}
    script = SOURCE / "packaging/gwctl.bash-completion"
    begin = time.monotonic()
    ran = run("bash", "--norc", "-c", HARNESS, "bash", script, gwctl, *words, env=environment)
    return ran.stdout.splitlines(), ran.stderr, time.monotonic() - begin


class Words(unittest.TestCase):
    """What needs no daemon."""

    def offers(self, words, expected):
        offered, errors, _ = complete(*words)
        self.assertEqual((offered, errors), (expected, ""))

    def test_verbs(self):
        self.offers(["com"], ["commit"])
        self.offers(["--json", "com"], ["commit"])
        self.offers(["--timeout", "5", "com"], ["commit"])
        self.offers(["nonsense"], [])
        verbs, _, _ = complete("")
        for verb in ["get", "set", "commit", "raw"]:
            self.assertIn(verb, verbs)

    def test_options(self):
        self.offers(["--so"], ["--socket"])
        self.offers(["set", "--fo"], ["--force"])
        self.offers(["set", "--js"], ["--json"])

    def test_verb_of_a_verb(self):
        self.offers(["block", "un"], ["unpack"])
        self.offers(["block", "unpack", "--out"], ["--output"])

    def test_what_no_word_is_known_for(self):
        self.offers(["--timeout", ""], [])
        self.offers(["find", ""], [])

    def test_no_daemon(self):
        for words in [["get", ""], ["get", TIME], ["set", TIME], ["set", TIME + "Enable", "="]]:
            offered, errors, seconds = complete(*words)
            self.assertEqual((offered, errors), ([], ""))
            self.assertLess(seconds, 5)

    def test_silent_daemon(self):
        """One that takes the connection and says nothing costs a second, not a minute."""
        with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX) as server:
            path = Path(folder) / "socket"
            server.bind(str(path))
            server.listen()
            offered, errors, seconds = complete("get", TIME, socket_path=path)
        self.assertEqual((offered, errors), ([], ""))
        self.assertLess(seconds, 10)

    def test_no_tool(self):
        offered, errors, _ = complete("get", TIME, gwctl="/nonexistent/gwctl")
        self.assertEqual((offered, errors), ([], ""))


class Paths(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.socket = cls.enterClassContext(daemon())

    def offers(self, words, expected):
        offered, errors, _ = complete(*words, socket_path=self.socket)
        self.assertEqual((offered, errors), (expected, ""))

    def test_root(self):
        self.offers(["get", "Inter"], ["InternetGatewayDevice."])
        self.offers(["get", "X"], [])

    def test_object_and_parameters(self):
        self.offers(["get", "InternetGatewayDevice.Ti"], [TIME])
        self.offers(["get", TIME + "NTPServer"], [f"{TIME}NTPServer{i}" for i in range(1, 6)])

    def test_second_path(self):
        self.offers(["get", TIME + "Enable", "InternetGatewayDevice.Ti"], [TIME])

    def test_assignment(self):
        self.offers(["set", TIME + "En"], [TIME + "Enable="])
        self.offers(["set", TIME + "Enable", "="], ["0", "1"])
        self.offers(["set", TIME + "Enable", "=", "1"], ["1"])
        self.offers(["set", TIME + "NTPServer1", "="], [])
        beacon = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.BeaconType"
        self.offers(["set", TIME + "Enable", "=", "1", beacon, "=", "W"], ["WPA", "WPAand11i"])

    def test_values_with_blanks(self):
        state = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.WPS.ConfigurationState"
        self.offers(["set", state, "=", "N"], ["Not\\ configured"])
        self.offers(["set", state, "=", "Not\\ c"], ["Not\\ configured"])

    def test_socket_on_the_command_line(self):
        offered, errors, _ = complete("--socket", str(self.socket), "get", "InternetGatewayDevice.Ti")
        self.assertEqual((offered, errors), ([TIME], ""))

    def test_argument_of_a_raw_request(self):
        self.offers(["raw", "2", "InternetGatewayDevice.Ti"], [TIME])
        self.offers(["raw", ""], [])


if __name__ == "__main__":
    unittest.main()
