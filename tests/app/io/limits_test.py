"""Every command where the system gives little: a small stack, few open files, closed streams, no terminal."""

import ctypes
import os
import resource
import signal
import subprocess

from every_command import LISTS, EveryCommand, expected_warning
from program import main, sampled, some

SMALL_STACK = 160 * 1024


class Limits(EveryCommand):
    def run_limited(self, command, limit, **options):
        """Run a command with a limit. It succeeds, or fails with a sentence and changes nothing."""
        self.remove_output()
        before = self.files()
        done = self.run_vrx(*command, preexec_fn=limit, **options)
        self.assertIn(done.code, (0, 2), (command, done.err))
        if done.code == 2:
            self.assertRegex(done.err, rb"\A(vrx: [^\n]+\n)+\Z", command)
            if command[0] not in LISTS:
                self.assertEqual(self.files(), before, command)
        return done

    def test_a_small_stack_is_enough_for_every_command(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_STACK, (SMALL_STACK, SMALL_STACK))

        for command, proof in self.commands():
            done = self.run_limited(command, limit)
            self.assertEqual((done.code, done.err), (0, expected_warning(command)), command)
            if proof is not None:
                proof(done)

    def test_memory_that_cannot_be_locked_draws_one_warning(self):
        may_lock = 14  # CAP_IPC_LOCK: root locks whatever the limit is

        def limit():
            ctypes.CDLL(None).prctl(24, may_lock, 0, 0, 0)  # PR_CAPBSET_DROP
            resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, 0))

        for command, _ in self.commands():
            done = self.run_limited(command, limit)
            self.assertEqual(done.code, 0, done.err)
            self.assertLessEqual(done.err.replace(expected_warning(command), b"").count(b"\n"), 1, command)

    @sampled
    def test_few_open_files(self):
        for command, proof in self.commands():
            for most in some(range(4, 12), 4):  # the loader needs one more than the streams
                done = self.run_limited(command, lambda n=most: resource.setrlimit(resource.RLIMIT_NOFILE, (n, n)))
                if done.code == 0 and proof is not None:
                    proof(done)

    def test_closed_streams(self):
        for command, proof in self.commands():
            for fd in (0, 1, 2):
                if fd == 2:
                    done = self.without_messages(command)
                else:
                    done = self.run_limited(command, lambda fd=fd: os.close(fd))
                if done.code == 0 and proof is not None:
                    proof(done)

    def without_messages(self, command):
        self.remove_output()
        before = self.files()
        done = self.run_vrx(*command, preexec_fn=lambda: os.close(2))
        self.assertIn(done.code, (0, 2), command)
        if done.code == 2 and command[0] not in LISTS:
            self.assertEqual(self.files(), before, command)
        return done

    def test_a_full_device_as_standard_output(self):
        with open("/dev/full", "wb") as full:
            for command, _ in self.commands():
                if "-o" in command or "--out" in command:
                    continue
                done = self.run_limited(command, None, stdout=full)
                self.assertEqual(done.code, 2, command)
                self.assertIn(b"cannot write standard output: No space left on device", done.err)

    def test_no_terminal(self):
        for command, _ in self.commands():
            if not {"locked", "locked.key"} & set(command) or command[0] == "inspect":
                continue
            without = [word for word in command if word not in ("--password-file", "password")]
            self.refused(*without, start_new_session=True,
                         says="there is no terminal to ask for the password; use --password-file")

    def test_a_closed_descriptor_for_the_password(self):
        for command, _ in self.commands():
            if "--password-file" not in command:
                continue
            at = command.index("--password-file")
            done = self.run_limited([*command[:at], "--password-fd", "77", *command[at + 2:]], None)
            self.assertEqual(done.code, 2)
            self.assertIn(b"cannot open file descriptor 77: Bad file descriptor", done.err)

    def test_signals_while_a_password_is_awaited(self):
        for command, _ in self.commands():
            if "--password-file" not in command:
                continue
            at = command.index("--password-file")
            for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGUSR1):
                self.remove_output()
                before = self.files()
                process = self.start(*command[:at], "--password-fd", "0", *command[at + 2:], stdin=subprocess.PIPE)
                self.wait_for_input(process)
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number, command)
                self.assertEqual(self.files(), before, command)


if __name__ == "__main__":
    main()
