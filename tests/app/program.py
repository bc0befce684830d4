"""The base class of the tests of vrx: runs the program in a temporary folder."""

import contextlib
import fcntl
import os
import pty
import random
import shutil
import struct
import subprocess
import tempfile
import termios
import time
import unittest

PROGRAM = os.environ.get("VRX_PROGRAM", "vrx")
SANITIZED = bool(os.environ.get("VRX_SANITIZE"))
KEY = bytes(range(32))
# With "1", each test takes all of its cases. With "only", just the tests that are @sampled run, with all their cases.
WHOLE = os.environ.get("VRX_TEST_WHOLE")


def sampled(test):
    """Marks a test that takes only some cases in a quick run. `./dev test --full` also runs it with all cases."""
    test.sampled = True
    return test


def some(cases, of=8):
    """
    Return all cases in full runs; otherwise, every `of`-th case, beginning with a random one. Use it only in tests that
    are @sampled.
    """
    if not hasattr(ProgramTest.running, "sampled"):
        raise AssertionError("only tests that are @sampled may take some of their cases")
    cases = list(cases)
    return cases if WHOLE else cases[random.randrange(min(of, len(cases))) :: of]


class Done:
    """The result of a run: exit code, standard output and standard error."""

    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err


class ProgramTest(unittest.TestCase):
    """A test in a temporary folder that holds a key file `key`. The program runs in that folder."""

    running = None  # the test that runs now

    def setUp(self):
        ProgramTest.running = getattr(self, self._testMethodName)
        self.folder = tempfile.mkdtemp(prefix="vrx-test-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.write("key", KEY, 0o600)

    def path(self, name):
        return os.path.join(os.fsencode(self.folder), os.fsencode(name))

    def write(self, name, data, mode=0o644):
        with open(self.path(name), "wb") as file:
            file.write(data)
        os.chmod(self.path(name), mode)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def names(self):
        return sorted(os.listdir(self.folder))

    def mode(self, name):
        return os.stat(self.path(name)).st_mode & 0o7777

    def start(self, *arguments, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        options.setdefault("cwd", self.folder)
        process = subprocess.Popen([PROGRAM, *arguments], **options)
        self.addCleanup(self.stop, process)
        return process

    @staticmethod
    def stop(process):
        if process.poll() is None:
            process.kill()
            process.wait()
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream is not None:
                with contextlib.suppress(OSError):
                    stream.close()

    def run_vrx(self, *arguments, stdin=subprocess.DEVNULL, **options):
        """Run to the end. `stdin` is an open file, or bytes to pipe to the program."""
        data = stdin if isinstance(stdin, bytes) else None
        process = self.start(*arguments, stdin=stdin if data is None else subprocess.PIPE, **options)
        out, err = process.communicate(data, timeout=120)
        return Done(process.returncode, out, err)

    def vrx(self, *arguments, **options):
        """Run, expect success without messages, and return standard output."""
        done = self.run_vrx(*arguments, **options)
        self.assertEqual((done.code, done.err), (0, b""), arguments)
        return done.out

    def refused(self, *arguments, says, code=2, out=b"", **options):
        """Run, and expect one sentence on standard error that contains each text in `says`."""
        done = self.run_vrx(*arguments, **options)
        self.assertEqual(done.code, code, (arguments, done.err))
        self.assertEqual(done.out, out, arguments)
        self.assertTrue(done.err.startswith(b"vrx: "), done.err)
        self.assertEqual(done.err.count(b"\n"), 1, done.err)
        if code == 2:  # first what is wrong; after the semicolon, what to do
            self.assertRegex(done.err, rb"[^;]; [^;\n]+[^.;\n]\n\Z")
        for text in [says] if isinstance(says, str) else says:
            self.assertIn(os.fsencode(text), done.err, arguments)

    def open_terminal(self):
        """Both ends of a new pseudo-terminal; skips the test if the system has none, as in a bare chroot."""
        try:
            return pty.openpty()
        except OSError as error:
            return self.skipTest(f"no pseudo-terminals here: {error.strerror}")

    def wait_for(self, condition, what):
        """Wait until a condition holds; fail after a timeout."""
        end = time.monotonic() + 60
        while time.monotonic() < end:
            result = condition()
            if result:
                return result
            time.sleep(0.01)
        return self.fail("waited in vain for " + what)

    def wait_for_input(self, process):
        """Wait until a run has read all of its standard input so far, and waits for more."""
        def waits():
            unread = fcntl.ioctl(process.stdin, termios.FIONREAD, bytes(4))
            with open(f"/proc/{process.pid}/stat", encoding="ascii", errors="replace") as file:
                sleeps = file.read().rpartition(")")[2].split()[0] == "S"
            return struct.unpack("i", unread)[0] == 0 and sleeps

        for _ in range(3):
            self.wait_for(waits, "a run that waits for input")
            time.sleep(0.02)

    def unnamed_files(self, process):
        """The status of each unnamed file that a run has open. Only root may inspect every process."""
        found = []
        for fd in os.listdir(f"/proc/{process.pid}/fd"):
            path = f"/proc/{process.pid}/fd/{fd}"
            if os.readlink(path).startswith(self.folder) and os.stat(path).st_nlink == 0:
                found.append(os.stat(path))
        return found

    @staticmethod
    def status_of(process, field):
        """A number from /proc/PID/status."""
        with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
            return int(next(line.split()[1] for line in file if line.startswith(field + ":")))


class Result(unittest.TextTestResult):
    """Prints, for the summary of a run, which tests are skipped and why."""

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self.stream.writeln(f"\n{test} skipped: {reason}")


class Sampled(unittest.TestLoader):
    """Loads only the tests that are @sampled."""

    def getTestCaseNames(self, testCaseClass):  # pylint: disable=invalid-name
        names = super().getTestCaseNames(testCaseClass)
        return [name for name in names if hasattr(getattr(testCaseClass, name), "sampled")]


def main():
    seed = int(os.environ.get("VRX_TEST_SEED", time.time_ns() & 0xFFFFFFFF))
    print("VRX_TEST_SEED=" + str(seed))
    random.seed(seed)
    loader = Sampled() if WHOLE == "only" else unittest.defaultTestLoader
    unittest.main(testRunner=unittest.TextTestRunner(resultclass=Result), testLoader=loader)
