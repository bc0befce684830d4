"""Output files: never half-written, never over an input; full disks, broken pipes, signals, memory."""

import contextlib
import ctypes
import fcntl
import os
import resource
import signal
import subprocess
import threading
import time
import unittest

from program import PROGRAM, ProgramTest, SANITIZED, main, sampled, some

NOBODY = 65534
FAULTS = os.environ.get("VRX_FAULTS", "")
KERNEL_WITHOUT = os.environ.get("VRX_KERNEL_WITHOUT", "")
# The fatal signals, except SIGKILL and those that a fault in the program raises.
DEADLY = [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGPIPE, signal.SIGTERM, signal.SIGALRM, signal.SIGUSR1,
          signal.SIGUSR2, signal.SIGVTALRM, signal.SIGPROF, signal.SIGXCPU, signal.SIGIO, signal.SIGPWR, 16,
          signal.SIGRTMIN, signal.SIGRTMIN + 7, signal.SIGRTMAX]
ENCRYPT = ["encrypt", "--key", "key"]


class Outputs(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("in", b"some text")

    def test_permissions_of_a_new_file_follow_the_umask(self):
        for mask, mode in ((0o022, 0o644), (0o027, 0o640), (0o077, 0o600)):
            self.vrx(*ENCRYPT, "-o", f"out{mask}", "in", umask=mask)
            self.assertEqual(self.mode(f"out{mask}"), mode)

    def test_a_replaced_file_keeps_its_permissions(self):
        self.write("out", b"before", 0o640)
        self.vrx(*ENCRYPT, "-o", "out", "in")
        self.assertEqual(self.mode("out"), 0o640)
        self.assertEqual(len(self.read("out")), 17)

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_a_replaced_file_keeps_its_owner(self):
        self.write("out", b"before")
        os.chown(self.path("out"), 12345, 54321)
        self.vrx(*ENCRYPT, "-o", "out", "in")
        status = os.stat(self.path("out"))
        self.assertEqual((status.st_uid, status.st_gid), (12345, 54321))

    def test_a_write_protected_file_is_not_replaced(self):
        self.write("out", b"before", 0o444)
        user = {}
        if os.geteuid() == 0:  # root may write everything
            for name in (".", "key", "in", "out"):
                os.chown(self.path(name), NOBODY, NOBODY)
            user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
            try:
                self.vrx("version", **user)
            except PermissionError:
                self.skipTest("the program lies where nobody else can run it")
        self.refused(*ENCRYPT, "-o", "out", "in", says=["cannot write 'out'", "check the permissions"], **user)
        self.assertEqual(self.read("out"), b"before")
        self.vrx(*ENCRYPT, "-o", "new", "in", **user)

    def test_a_symbolic_link_stays_and_its_file_is_replaced(self):
        os.mkdir(self.path("folder"))
        self.write("folder/real", b"before")
        os.symlink("folder/real", self.path("link"))
        self.vrx(*ENCRYPT, "-o", "link", "in")
        self.assertTrue(os.path.islink(self.path("link")))
        self.assertEqual(len(self.read("folder/real")), 17)
        self.assertEqual(os.listdir(self.path("folder")), [b"real"])

    def test_pipes_and_devices_are_written_directly(self):
        os.mkfifo(self.path("pipe"))
        received = []
        reader = threading.Thread(target=lambda: received.append(self.read("pipe")))
        reader.start()
        self.vrx(*ENCRYPT, "-o", "pipe", "in")
        reader.join()
        self.assertEqual(len(received[0]), 17)
        self.vrx(*ENCRYPT, "-o", "/dev/null", "in")
        self.assertEqual(self.names(), ["in", "key", "pipe"])

    def test_a_name_of_full_length(self):
        name = "n" * 255
        self.vrx(*ENCRYPT, "-o", name, "in")
        self.assertEqual(self.names(), ["in", "key", name])

    def test_dash_is_standard_output(self):
        self.assertEqual(len(self.vrx(*ENCRYPT, "-o", "-", "in")), 17)
        self.assertEqual(len(self.vrx(*ENCRYPT, "-o", "-", "-", stdin=b"abc")), 11)
        self.vrx(*ENCRYPT, "-o", "./-", "in")
        self.assertEqual(len(self.read("-")), 17)

    def test_places_that_cannot_be_written(self):
        self.refused(*ENCRYPT, "-o", "none/out", "in", says=["cannot create a file in 'none/' for 'none/out'", "check"])
        self.refused(*ENCRYPT, "-o", ".", "in", says=["cannot write '.'", "name a file"])
        self.refused(*ENCRYPT, "-o", "in/out", "in", says="cannot write 'in/out'")
        self.refused(*ENCRYPT, "-o", "", "in", says="''")
        self.assertEqual(self.names(), ["in", "key"])

    def test_inputs_that_cannot_be_read(self):
        self.refused(*ENCRYPT, "-o", "out", "none", says=["cannot open 'none'", "check the name"])
        self.refused(*ENCRYPT, "-o", "out", ".", says=["cannot read '.'", "name a file"])
        self.refused(*ENCRYPT, "-o", "out", "line\nend\x1b", says="'line\\nend\\x1b'")
        self.refused(*ENCRYPT, "-o", "out", "", says="cannot open ''")
        self.assertEqual(self.names(), ["in", "key"])

    def test_closed_standard_streams(self):
        for close, says in (("<&-", b"cannot read standard input"), (">&-", b"cannot write standard output")):
            done = subprocess.run(["bash", "-c", f'echo text | "$0" encrypt --key key {close}', PROGRAM],
                                  cwd=self.folder,
                                  capture_output=True, check=False)
            self.assertEqual(done.returncode, 2)
            self.assertIn(says, done.stderr)
        done = subprocess.run(["bash", "-c", '"$0" encrypt --key key -o out none 2>&-', PROGRAM], cwd=self.folder,
                              capture_output=True, check=False)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(self.names(), ["in", "key"])


class SameFile(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("in", b"some text")
        os.link(self.path("in"), self.path("hard"))
        os.symlink("in", self.path("soft"))

    def test_the_output_must_not_be_an_input(self):
        for name in ("in", "./in", "hard", "soft"):
            self.refused(*ENCRYPT, "-o", name, "in", says=["would be overwritten", "name another output with -o"])
        self.refused(*ENCRYPT, "-o", "key", "in", says="'key' is read by this command")
        for name in ("key", "in", "hard"):
            self.refused("mac", "--key", "key", "-o", name, "in", says=f"'{name}' is read by this command")
        self.write("table", b"0" * 128)
        self.refused(*ENCRYPT, "--table", "table", "-o", "table", "in", says="'table' is read by this command")
        self.assertEqual(self.read("in"), b"some text")
        self.assertEqual(len(self.read("key")), 32)

    def test_standard_output_must_not_be_an_input(self):
        with open(self.path("in"), "ab") as out:
            self.refused(*ENCRYPT, "in", says="standard output is read by this command", stdout=out, out=None)
        with open(self.path("in"), "r+b") as both:
            self.refused(*ENCRYPT, says="standard output", stdin=both, stdout=both, out=None)
        self.assertEqual(self.read("in"), b"some text")

    def test_the_same_device_is_allowed(self):
        self.vrx(*ENCRYPT, "-o", "/dev/null", "/dev/null")


class Disks(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("in", bytes(4 * 1024 * 1024))
        self.write("out", b"before")

    def unchanged(self):
        self.assertEqual(self.names(), ["in", "key", "out"])
        self.assertEqual(self.read("out"), b"before")

    def test_a_full_device(self):
        says = ["No space left on device", "free some space"]
        self.refused(*ENCRYPT, "-o", "/dev/full", "in", says=["cannot write '/dev/full'", *says])
        with open("/dev/full", "wb") as full:
            for command in (ENCRYPT + ["in"], ["mac", "--key", "key", "in"], ["params"], ["help"], ["version"],
                            ["help", "mac"], ["params", "--json"]):
                self.refused(*command, stdout=full, out=None, says=["cannot write standard output", *says])
        self.unchanged()

    def test_a_file_size_limit(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1024 * 1024, 1024 * 1024))

        for name in ("out", "new"):
            self.refused(*ENCRYPT, "-o", name, "in", preexec_fn=limit, says=["File too large", "ulimit"])
        self.unchanged()
        with open(self.path("direct"), "wb") as out:
            self.refused(*ENCRYPT, "in", preexec_fn=limit, stdout=out, out=None, says="File too large")

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_a_full_disk(self):
        disk = self.path("disk")
        os.mkdir(disk)
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", disk], capture_output=True,
                          check=False).returncode:
            self.skipTest("this system lets nobody mount")
        self.addCleanup(subprocess.run, ["umount", disk], check=False)
        self.write("disk/out", b"before")
        for name in ("disk/out", "disk/new"):
            self.refused(*ENCRYPT, "-o", name, "in", says=[name, "No space left on device"])
        self.assertEqual(os.listdir(disk), [b"out"])
        self.assertEqual(self.read("disk/out"), b"before")
        with contextlib.suppress(OSError):
            self.write("disk/rest", bytes(2 * 1024 * 1024))
        self.write("password", b"password", 0o600)
        for command in (["keygen"], ["keypair", "--curve", "A"]):
            for lock in ([], ["--password-file", "password"]):
                self.refused(*command, *lock, "--out", "disk/key", says=["'disk/key'", "No space left on device"])
        self.assertEqual(sorted(os.listdir(disk)), [b"out", b"rest"])


class HostileFolders(ProgramTest):
    """Folders in which another user changes names while the program runs."""

    def setUp(self):
        super().setUp()
        self.write("in", b"some text")

    def test_output_goes_to_the_folder_that_was_opened(self):
        os.mkdir(self.path("folder"))
        process = self.start(*ENCRYPT, "-o", "folder/out", stdin=subprocess.PIPE)
        process.stdin.write(b"text")
        process.stdin.flush()
        self.wait_for_input(process)
        os.rename(self.path("folder"), self.path("moved"))
        os.mkdir(self.path("folder"))
        process.stdin.close()
        self.assertEqual(process.wait(60), 0, process.stderr.read())
        self.assertEqual((os.listdir(self.path("folder")), os.listdir(self.path("moved"))), ([], [b"out"]))

    def test_a_name_that_becomes_a_link_is_replaced_and_its_target_stays(self):
        for first in (None, b"before"):
            self.write("secret", b"secret", 0o600)
            if first is not None:
                self.write("out", first, 0o666)
            process = self.start(*ENCRYPT, "-o", "out", stdin=subprocess.PIPE, umask=0o027)
            process.stdin.write(b"text")
            process.stdin.flush()
            self.wait_for_input(process)
            os.symlink("secret", self.path("link"))
            os.rename(self.path("link"), self.path("out"))
            process.stdin.close()
            self.assertEqual(process.wait(60), 0)
            self.assertFalse(os.path.islink(self.path("out")))
            self.assertEqual(self.mode("out"), 0o640)  # this is not the file whose permissions the program has read
            self.assertEqual((self.read("secret"), self.mode("secret")), (b"secret", 0o600))
            os.unlink(self.path("out"))

    @sampled
    def test_names_that_are_swapped_all_the_time_never_open_a_private_file(self):
        """Two names are swapped repeatedly: that of a regular file, and that of a link to a private file."""
        self.write("out", b"open", 0o666)
        self.write("secret", b"secret", 0o600)
        os.symlink("secret", self.path("link"))
        stop = threading.Event()

        def swap():
            renameat2 = ctypes.CDLL(None).renameat2
            names = self.path("out"), self.path("link")
            while not stop.is_set():
                renameat2(-100, names[0], -100, names[1], 2)  # AT_FDCWD, RENAME_EXCHANGE

        swapper = threading.Thread(target=swap)
        swapper.start()
        try:
            for _ in some(range(300)):
                self.run_vrx("hash", "-o", "out", "in")
                self.assertEqual(self.mode("secret"), 0o600)
                if not os.path.islink(self.path("link")) and not os.path.islink(self.path("out")):
                    with contextlib.suppress(OSError):
                        os.unlink(self.path("link"))
                    with contextlib.suppress(OSError):
                        os.symlink("secret", self.path("link"))
        finally:
            stop.set()
            swapper.join()

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_links_of_other_users_are_not_followed(self):
        self.write("secret", b"secret", 0o600)
        os.symlink("secret", self.path("link"))
        os.chown(self.path("link"), NOBODY, NOBODY, follow_symlinks=False)
        self.refused("hash", "-o", "link", "in",
                     says=["'link' is a symbolic link of another user", "name the file itself"])
        self.assertEqual(self.read("secret"), b"secret")

    def swapped(self, one, two, prepare, check):
        """Run with the output `one` while another thread swaps the two names all the time."""
        # Landlock, which some kernels lack, would prevent some of the faults.
        landlock_off = [KERNEL_WITHOUT, "l"] if KERNEL_WITHOUT else []
        stop = threading.Event()
        renameat2 = ctypes.CDLL(None).renameat2
        names = self.path(one), self.path(two)

        def swap():
            while not stop.is_set():
                renameat2(-100, names[0], -100, names[1], 2)  # AT_FDCWD, RENAME_EXCHANGE

        for _ in some(range(400)):
            prepare()
            stop.clear()
            swapper = threading.Thread(target=swap)
            swapper.start()
            try:
                subprocess.run([*landlock_off, PROGRAM, "hash", "-o", one, "in"], cwd=self.folder, capture_output=True,
                               check=False, timeout=60)
            finally:
                stop.set()
                swapper.join()
            check()

    @sampled
    def test_a_pipe_that_is_swapped_with_a_file_is_not_written_into(self):
        self.write("secret", b"secret", 0o600)

        def prepare():
            for name in ("out", "other"):
                with contextlib.suppress(FileNotFoundError):
                    os.unlink(self.path(name))
            os.mkfifo(self.path("out"))
            os.link(self.path("secret"), self.path("other"))
            self.pipe = os.open(self.path("out"), os.O_RDWR | os.O_NONBLOCK)  # so that writers do not wait

        def check():
            os.close(self.pipe)
            self.assertEqual(self.read("secret"), b"secret")

        self.swapped("out", "other", prepare, check)

    @sampled
    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_a_link_that_is_swapped_with_a_link_of_another_user_is_not_followed(self):
        def prepare():
            for name in ("out", "other"):
                with contextlib.suppress(FileNotFoundError):
                    os.unlink(self.path(name))
            self.write("secret", b"secret", 0o600)
            os.symlink("mine", self.path("out"))
            os.symlink("secret", self.path("other"))
            os.chown(self.path("other"), NOBODY, NOBODY, follow_symlinks=False)

        self.swapped("out", "other", prepare, lambda: self.assertEqual(self.read("secret"), b"secret"))

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_permissions_of_a_file_of_another_user_are_not_taken(self):
        self.write("out", b"before", 0o666)
        for name in (".", "key", "in"):
            os.chown(self.path(name), NOBODY, NOBODY)
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        try:
            self.vrx("version", **user)
        except PermissionError:
            self.skipTest("the program lies where nobody else can run it")
        self.vrx(*ENCRYPT, "-o", "out", "in", umask=0o077, **user)
        self.assertEqual((os.stat(self.path("out")).st_uid, self.mode("out")), (NOBODY, 0o600))

    def test_links_to_links_and_loops(self):
        os.mkdir(self.path("folder"))
        os.symlink("folder/second", self.path("first"))
        os.symlink("../real", self.path("folder/second"))
        self.vrx("hash", "-o", "first", "in")
        self.assertEqual(self.read("real"), self.vrx("hash", "in"))
        os.symlink("loop", self.path("loop"))
        self.refused("hash", "-o", "loop", "in", says="cannot write 'loop': Too many levels of symbolic links")

    def test_standard_output_by_its_name(self):
        self.assertEqual(self.vrx("hash", "-o", "/dev/stdout", "in"), self.vrx("hash", "in"))


class Signals(ProgramTest):
    def half_way(self, target, **options):
        """Start a run, which has written a part of its output and waits for more input."""
        process = self.start(*ENCRYPT, "-o", target, stdin=subprocess.PIPE, **options)
        process.stdin.write(bytes(100_000))
        process.stdin.flush()
        self.wait_for_input(process)
        return process

    def env(self):
        """The environments to test: the actual one, and one where the file system has no unnamed files."""
        yield {}
        if FAULTS:
            yield {"env": {**os.environ, "LD_PRELOAD": FAULTS, "VRX_FAULT_NAMED": "1"}}

    def test_signals_leave_no_file_and_keep_the_old_one(self):
        self.write("out", b"before")
        for options in self.env():
            for number in DEADLY:
                with self.subTest(signal=number, options=options):
                    target = "new" if number % 2 else "out"
                    process = self.half_way(target, **options)
                    process.send_signal(number)
                    self.assertEqual(process.wait(60), -number)
                    self.assertEqual(self.names(), ["key", "out"])
                    self.assertEqual(self.read("out"), b"before")

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_a_killed_run_leaves_no_file(self):
        process = self.half_way("out")
        process.kill()
        process.wait(60)
        self.assertEqual(self.names(), ["key"])

    @unittest.skipUnless(os.geteuid() == 0, "needs root")
    def test_an_unfinished_file_is_private(self):
        for options in self.env():
            process = self.half_way("out", **options)
            named = [os.stat(self.path(n)) for n in self.names() if n.startswith(".vrx-")]
            files = named or self.unnamed_files(process)
            self.assertEqual(bool(named), bool(options))
            self.assertEqual([(f.st_mode & 0o777, f.st_size > 50_000) for f in files], [(0o600, True)])
            process.stdin.close()
            self.assertEqual(process.wait(60), 0)

    def test_an_ignored_signal_stays_ignored(self):
        process = self.half_way("out", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        process.send_signal(signal.SIGHUP)
        process.stdin.close()
        self.assertEqual(process.wait(60), 0)
        self.assertEqual(len(self.read("out")), 100_008)

    def test_a_killed_run_leaves_the_old_file_intact(self):
        self.write("out", b"before")
        process = self.half_way("out")
        process.kill()
        process.wait(60)
        self.assertEqual(self.read("out"), b"before")

    @unittest.skipIf(SANITIZED, "sanitizers lock no memory")
    def test_the_memory_of_a_key_is_locked_and_left_out_of_dumps(self):
        self.vrx("keypair", "--curve", "A", "--out", "pair")
        for command in (ENCRYPT, ["hmac", "--key", "key"], ["mac", "--key", "key"]):
            process = self.start(*command, stdin=subprocess.PIPE)
            self.wait_for(lambda p=process: self.status_of(p, "VmLck") > 0, "locked pages")
            with open(f"/proc/{process.pid}/smaps", encoding="ascii", errors="replace") as file:
                flags = [line.split()[1:] for line in file if line.startswith("VmFlags:")]
            self.assertTrue(any({"lo", "dd"} <= set(of_one) for of_one in flags), command)
            with open(f"/proc/{process.pid}/limits", encoding="ascii") as file:
                limit = next(line for line in file if line.startswith("Max core file size"))
            self.assertEqual(limit.split()[4:6], ["0", "0"])
            process.kill()
            process.wait()

    def test_no_core_dump_holds_the_key(self):
        def unlimited():
            resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))

        def dumps(process):
            os.kill(process.pid, signal.SIGQUIT)
            _, status = os.waitpid(process.pid, 0)
            process.returncode = -signal.SIGQUIT
            return os.WCOREDUMP(status)

        try:
            control = subprocess.Popen(["cat"], stdin=subprocess.PIPE, preexec_fn=unlimited, cwd=self.folder)
        except subprocess.SubprocessError:
            self.skipTest("the limit for core dumps cannot be raised")
        with control.stdin:
            if not dumps(control):
                self.skipTest("this system writes no core dumps")
        process = self.start(*ENCRYPT, stdin=subprocess.PIPE, preexec_fn=unlimited)
        process.stdin.write(bytes(8))
        process.stdin.flush()
        os.read(process.stdout.fileno(), 8)  # the IV is written, so the key is in memory
        self.assertFalse(dumps(process))


class Pipes(ProgramTest):
    def test_a_broken_pipe_ends_the_program_quietly(self):
        self.write("in", bytes(4 * 1024 * 1024))
        script = '"$0" encrypt --key key in | head -c 1 | wc -c; echo ${PIPESTATUS[0]}'
        done = subprocess.run(["bash", "-c", script, PROGRAM], cwd=self.folder, capture_output=True, check=False,
                              restore_signals=True)
        self.assertEqual(done.stdout.split(), [b"1", str(128 + signal.SIGPIPE).encode()])
        self.assertEqual(done.stderr, b"")

    def test_a_broken_pipe_is_reported_where_its_signal_is_ignored(self):
        self.write("in", bytes(4 * 1024 * 1024))
        read_end, write_end = os.pipe()
        os.close(read_end)
        with os.fdopen(write_end, "wb") as pipe:
            self.refused(*ENCRYPT, "in", stdout=pipe, out=None, restore_signals=False,
                         preexec_fn=lambda: signal.signal(signal.SIGPIPE, signal.SIG_IGN),
                         says="cannot write standard output: Broken pipe")

    @unittest.skipIf(SANITIZED, "sanitizers need memory of their own")
    @sampled
    def test_memory_stays_small(self):
        for command in some(([*ENCRYPT], ["mac", "--key", "key"], ["hash"], ["sha1"], ["hmac", "--key", "key"]), 5) \
                + [[*ENCRYPT, "-o", "out"]]:
            process = self.start(*command, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
            chunk = bytes(1024 * 1024)
            for _ in range(64):
                process.stdin.write(chunk)
            process.stdin.flush()
            self.assertLess(self.status_of(process, "VmHWM"), 16 * 1024, command)  # KiB
            process.stdin.close()
            self.assertEqual(process.wait(60), 0)
        self.assertEqual(os.path.getsize(self.path("out")), 64 * 1024 * 1024 + 8)


class ProgressBar(ProgramTest):
    @contextlib.contextmanager
    def terminal(self):
        terminal, program_end = self.open_terminal()
        try:
            yield terminal, program_end
        finally:
            os.close(terminal)

    def shown(self, terminal):
        flags = fcntl.fcntl(terminal, fcntl.F_GETFL)
        fcntl.fcntl(terminal, fcntl.F_SETFL, flags | os.O_NONBLOCK)
        try:
            return os.read(terminal, 1 << 16)
        except OSError:
            return b""

    def slowly(self, process):
        for pause in (0, 1.2, 0):
            time.sleep(pause)
            process.stdin.write(bytes(1024 * 1024))
            process.stdin.flush()
        process.stdin.close()
        self.assertEqual(process.wait(60), 0)

    def test_a_long_run_shows_progress_and_clears_it(self):
        with self.terminal() as (terminal, program_end):
            process = self.start(*ENCRYPT, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=program_end)
            os.close(program_end)
            self.slowly(process)
            shown = self.shown(terminal)
        self.assertIn(b" MiB, ", shown)
        self.assertIn(b"standard input", shown)
        self.assertTrue(shown.endswith(b"\r\033[K"), shown)

    def test_a_short_run_shows_nothing(self):
        with self.terminal() as (terminal, program_end):
            process = self.start(*ENCRYPT, "key", stdout=subprocess.DEVNULL, stderr=program_end)
            os.close(program_end)
            self.assertEqual(process.wait(60), 0)
            self.assertEqual(self.shown(terminal), b"")

    def test_without_a_terminal_nothing_is_shown(self):
        process = self.start(*ENCRYPT, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self.slowly(process)
        self.assertEqual(process.stderr.read(), b"")

    def test_a_file_shows_how_much_is_done(self):
        with open(self.path("sparse"), "wb") as file:
            file.truncate(1 << 40)
        for command in (["mac", "--key", "key"], ["hash"], ["sha1"], ["hmac", "--key", "key"]):
            with self.subTest(command), self.terminal() as (terminal, program_end):
                process = self.start(*command, "sparse", stdout=subprocess.DEVNULL, stderr=program_end)
                os.close(program_end)
                shown = self.wait_for(lambda: self.shown(terminal), "a progress bar")
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(60), -signal.SIGINT)
                self.assertIn(b"0%", shown)
                self.assertIn(b"'sparse'", shown)


if __name__ == "__main__":
    main()
