"""The init script: its syntax, and a daemon's life with it, under the system's shell and under BusyBox's."""

import os
import shutil
import signal
import socket
import subprocess
import unittest

from init_service import SCRIPT, SHELLS, comes_true, in_each_shell, service
from support import SOURCE, answers, run


class InitScript(unittest.TestCase):
    def ends(self, ran, status, out="", err=""):
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (status, out, err))

    def starts(self, script):
        self.ends(script("start"), 0, "gwconfd is running\n")

    def stops(self, script):
        self.ends(script("stop"), 0, "gwconfd is stopped\n")
        self.assertEqual(script.processes(), [])
        self.assertFalse(script.pid_file.exists())
        self.assertFalse(script.supervisor_file.exists())

    def comes_true(self, condition):
        self.assertTrue(comes_true(condition))

    def dies(self, script):
        """Kills the daemon and returns its number."""
        died = script.pid()
        os.kill(died, signal.SIGKILL)
        self.comes_true(lambda: died not in script.processes())
        return died

    def comes_back(self, script, died):
        self.comes_true(lambda: script.pid_file.read_text() not in ("", f"{died}\n"))
        self.comes_true(lambda: answers(script.socket))
        self.ends(script("status"), 0, f"gwconfd is running, process {script.pid()}\n")

    def test_syntax(self):
        for shell in [["sh"], ["busybox", "sh"]][: len(SHELLS)]:
            self.ends(run(*shell, "-n", SCRIPT), 0)

    def test_maintainer_scripts(self):
        for name in ["postinst", "prerm", "postrm"]:
            self.ends(run("sh", "-n", SOURCE / "packaging/debian" / name), 0)

    @in_each_shell
    def test_life(self, shell):
        with service(shell) as script:
            self.ends(script("status"), 3, "gwconfd is not running\n")
            self.starts(script)
            self.assertTrue(answers(script.socket))
            first = script.pid()
            self.ends(script("status"), 0, f"gwconfd is running, process {first}\n")
            self.ends(script("start"), 0, "gwconfd is running already\n")
            self.assertEqual(script.pid(), first)

            self.ends(script("restart"), 0, "gwconfd is stopped\ngwconfd is running\n")
            self.assertNotEqual(script.pid(), first)
            self.assertTrue(answers(script.socket))

            self.stops(script)
            self.assertFalse(script.socket.exists())
            self.assertFalse(script.log.exists())
            self.ends(script("status"), 3, "gwconfd is not running\n")
            self.ends(script("stop"), 0, "gwconfd is stopped\n")

    @in_each_shell
    def test_after_a_crash(self, shell):
        with service(shell) as script:
            self.starts(script)
            for _ in range(3):
                self.comes_back(script, self.dies(script))
            self.assertEqual(script.log.read_text(), 3 * "-t gwconfd ended with status 137, starts anew\n")
            self.stops(script)

    def test_the_pause_of_a_device(self):
        """The one that the script comes with: seconds, and no fraction."""
        self.assertIn("\npause=1 ", SCRIPT.read_text())

    @in_each_shell
    def test_stop_in_the_pause(self, shell):
        with service(shell, pause="600") as script:
            self.starts(script)
            self.dies(script)
            # The supervisor, and what it waits for.
            self.comes_true(lambda: len(script.processes()) == 2 and script.log.exists())
            self.ends(script("status"), 1, f"gwconfd has ended, but {script.pid_file} is there\n")
            self.assertTrue(script.socket.exists())
            self.stops(script)
            self.assertFalse(script.socket.exists())
            self.ends(script("status"), 3, "gwconfd is not running\n")

    @in_each_shell
    def test_start_in_the_pause(self, shell):
        with service(shell, pause="600") as script:
            self.starts(script)
            supervisor = script.supervisor()
            self.dies(script)
            self.comes_true(script.log.exists)
            self.starts(script)
            self.assertTrue(answers(script.socket))
            self.assertNotEqual(script.supervisor(), supervisor)
            self.assertEqual(sorted(script.processes()), sorted([script.supervisor(), script.pid()]))

    @in_each_shell
    def test_no_restart_after_a_termination_signal(self, shell):
        with service(shell) as script:
            for number in [signal.SIGTERM, signal.SIGHUP, signal.SIGINT, signal.SIGQUIT]:
                self.starts(script)
                os.kill(script.pid(), number)
                self.comes_true(lambda: script.processes() == [])
                self.ends(script("status"), 1, f"gwconfd has ended, but {script.pid_file} is there\n")
            self.assertFalse(script.log.exists())

    @in_each_shell
    def test_no_restart_without_usable_defaults(self, shell):
        with service(shell) as script:
            self.starts(script)
            (script.root / "etc/default.xml").write_text("no configuration")
            self.dies(script)
            self.comes_true(lambda: script.processes() == [])
            self.assertEqual(script.log.read_text(), "-t gwconfd ended with status 137, starts anew\n")

    @in_each_shell
    def test_no_restart_of_a_program_that_is_gone(self, shell):
        with service(shell) as script:
            self.starts(script)
            script.daemon.unlink()
            self.dies(script)
            self.comes_true(lambda: script.processes() == [])

    @in_each_shell
    def test_socket_that_cannot_be_had_for_a_while(self, shell):
        with service(shell) as script:
            (script.socket / "full").mkdir(parents=True)
            script.script.write_text(script.text)
            start = subprocess.Popen([script.shell, script.script, "start"], stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, text=True)  # fmt: skip
            with start:
                self.comes_true(script.log.exists)
                shutil.rmtree(script.socket)
                self.assertEqual(start.communicate()[0], "gwconfd is running\n")
            self.assertEqual(script.log.read_text().splitlines()[0], "-t gwconfd ended with status 0, starts anew")
            self.assertTrue(answers(script.socket))

    @in_each_shell
    def test_pid_files_of_somebody_else(self, shell):
        with service(shell) as script:
            # Another shell, with arguments that resemble.
            with subprocess.Popen(["sh", "-c", "read -r line", "supervise", "gwconfd"], stdin=subprocess.PIPE) as other:
                script.pid_file.write_text(f"{other.pid}\n")
                script.supervisor_file.write_text(f"{other.pid}\n")
                self.assertEqual(script("status").returncode, 1)
                self.stops(script)
                self.assertIsNone(other.poll())

    @in_each_shell
    def test_zombie(self, shell):
        with service(shell) as script:
            # Nobody waits for it until the end of the block.
            with subprocess.Popen(["true"], executable=shutil.which("true")) as dead:
                script.pid_file.write_text(f"{dead.pid}\n")
                os.waitid(os.P_PID, dead.pid, os.WEXITED | os.WNOWAIT)
                script.replace("\nname=[^\n]*\n", "\nname=true\n")
                self.ends(script("status"), 1, f"true has ended, but {script.pid_file} is there\n")

    @in_each_shell
    def test_what_does_not_react_to_a_termination_signal(self, shell):
        """It is killed after ten seconds, for which nobody waits here."""
        with service(shell, tries="10") as script:
            for deaf in [script.pid, script.supervisor]:
                self.starts(script)
                os.kill(deaf(), signal.SIGSTOP)
                self.stops(script)
                self.assertFalse(script.socket.exists())

    @in_each_shell
    def test_daemon_without_its_supervisor(self, shell):
        with service(shell) as script:
            self.starts(script)
            os.kill(script.supervisor(), signal.SIGKILL)
            self.ends(script("status"), 0, f"gwconfd is running, process {script.pid()}\n")
            self.ends(script("start"), 0, "gwconfd is running already\n")
            self.stops(script)

    @in_each_shell
    def test_end_of_the_supervisor_alone(self, shell):
        with service(shell) as script:
            self.starts(script)
            os.kill(script.supervisor(), signal.SIGTERM)
            self.comes_true(lambda: script.processes() == [])
            self.assertFalse(script.socket.exists())

    @in_each_shell
    def test_defaults_that_do_not_load(self, shell):
        with service(shell) as script:
            (script.root / "etc/default.xml").write_text("no configuration")
            self.ends(script("start"), 1, err="gwconfd does not start\n")
            self.assertEqual(script("status").returncode, 1)
            self.assertEqual(script.processes(), [])

    @in_each_shell
    def test_stale_socket(self, shell):
        with service(shell) as script:
            script.socket.parent.mkdir()
            with socket.socket(socket.AF_UNIX) as left_over:
                left_over.bind(str(script.socket))
            self.starts(script)
            self.assertTrue(answers(script.socket))

    @in_each_shell
    def test_relative_path_and_link(self, shell):
        """Run levels name the script by links, of one name at the start and another at the stop."""
        with service(shell) as script:
            script.script.write_text(script.text)
            for name in ["S01gwconfd", "K01gwconfd"]:
                (script.root / name).symlink_to("script")
            self.ends(run(script.shell, "S01gwconfd", "start", cwd=script.root), 0, "gwconfd is running\n")
            self.assertTrue(answers(script.socket))
            self.ends(run(script.shell, "./K01gwconfd", "stop", cwd=script.root), 0, "gwconfd is stopped\n")
            self.assertEqual(script.processes(), [])

    @in_each_shell
    def test_no_daemon(self, shell):
        with service(shell) as script:
            script.daemon.unlink()
            self.ends(script("start"), 5, err=f"{script.daemon} is not installed\n")

    @in_each_shell
    def test_wrong_use(self, shell):
        with service(shell) as script:
            usage = f"usage: {script.script} start|stop|restart|force-reload|status\n"
            self.ends(script(), 2, err=usage)
            self.ends(script("reload"), 2, err=usage)


if __name__ == "__main__":
    unittest.main()
