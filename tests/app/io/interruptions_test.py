"""Interruptions: kills at any moment, concurrent programs, files that change, folders that are not writable."""

import os
import random
import resource
import signal
import time

from program import ProgramTest, main, sampled, some

NOBODY = 65534
SIZE = 3 * 1024 * 1024 + 5
IV = "0011223344556677"
ENCRYPT = ["encrypt", "--key", "key", "--iv", IV]


class AtAnyMoment(ProgramTest):
    """Runs of the program that a signal ends at a random moment."""

    def setUp(self):
        super().setUp()
        self.write("in", random.Random(1).randbytes(SIZE))
        self.vrx("keypair", "--curve", "A", "--out", "pem")
        self.vrx("pubkey", "-o", "pub", "pem")
        self.vrx(*ENCRYPT, "-o", "right", "in")
        self.write("password", b"correct horse\n", 0o600)

    def clear(self):
        for name in self.names():
            if name.startswith(".vrx-") or name == "out":
                os.unlink(self.path(name))

    def runs(self, command, number, count, before=None):
        """Run up to `count` times; after each run, yield whether the signal ended it. `before` is the old output."""
        self.clear()
        start = time.monotonic()
        self.vrx(*command)
        longest = time.monotonic() - start
        done = ended = 0
        wanted = len(some(range(count), 4))
        while done < wanted or (ended == 0 and done < count):
            self.clear()
            if before is not None:
                self.write("out", before)
            process = self.start(*command)
            time.sleep(random.uniform(0, 1.1 * longest))
            process.send_signal(number)
            code = process.wait(60)
            self.assertIn(code, (0, -number), process.stderr.read())
            done += 1
            ended += code != 0
            yield code != 0
        self.assertGreater(ended, 0, "no run was ended")

    def expect_whole_or_absent(self, command, check, number=signal.SIGKILL, count=40):
        for ended in self.runs(command, number, count):
            if "out" in self.names():
                check()
            else:
                self.assertTrue(ended)
            if number != signal.SIGKILL:  # SIGKILL leaves no chance to clean up
                self.assertEqual([name for name in self.names() if name.startswith(".vrx-")], [])

    def same_ciphertext(self):
        self.assertEqual(self.read("out"), self.read("right"))

    def good_signature(self):
        self.vrx("verify", "--key", "pub", "--signature", "out", "in")

    def good_private_key(self):
        self.assertEqual(self.mode("out"), 0o600)
        self.vrx("pubkey", "out")

    def good_key(self):
        self.assertEqual((self.mode("out"), len(self.read("out"))), (0o600, 32))

    @sampled
    def test_a_killed_encryption(self):
        self.expect_whole_or_absent([*ENCRYPT, "-o", "out", "in"], self.same_ciphertext)

    @sampled
    def test_a_killed_signature(self):
        self.expect_whole_or_absent(["sign", "--key", "pem", "-o", "out", "in"], self.good_signature)

    @sampled
    def test_a_killed_key_generation(self):
        self.expect_whole_or_absent(["keypair", "--curve", "B", "--out", "out"], self.good_private_key)
        self.expect_whole_or_absent(["keygen", "--out", "out"], self.good_key)

    def good_encrypted_pair(self):
        self.assertEqual(self.mode("out"), 0o600)
        self.vrx("pubkey", "--password-file", "password", "out")

    def good_encrypted_key(self):
        self.assertEqual(self.mode("out"), 0o600)
        self.vrx("mac", "--key", "out", "--password-file", "password", "pub")

    @sampled
    def test_a_killed_generation_of_encrypted_keys(self):
        for number in (signal.SIGKILL, signal.SIGTERM):
            for command, check in ((["keypair", "--curve", "A"], self.good_encrypted_pair),
                                   (["keygen"], self.good_encrypted_key)):
                locked = [*command, "--password-file", "password", "--out", "out"]
                self.expect_whole_or_absent(locked, check, number, 8)

    def test_a_killed_run_that_waits_for_a_password_leaves_no_file(self):
        for command in (["keypair", "--curve", "A"], ["keygen"]):
            for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGRTMIN):
                self.clear()
                before = self.names()
                process = self.start(*command, "--password-fd", "0", "--out", "out", stdin=-1)
                self.wait_for_input(process)
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number)
                self.assertEqual(self.names(), before)

    def test_a_killed_derivation(self):
        process = self.start("derive", "--kdf", "pbkdf2", "--salt", 8 * "5a", "--iterations", "10000", "--password-fd",
                             "0",
                             "--out", "out", stdin=-1)
        # At this point, the program has opened its output and waits for the password.
        self.wait_for_input(process)
        process.kill()
        process.wait(60)
        self.assertNotIn("out", self.names())

    @sampled
    def test_a_killed_run_leaves_the_old_file_or_the_new_one(self):
        for ended in self.runs([*ENCRYPT, "-o", "out", "in"], signal.SIGKILL, 30, b"before"):
            self.assertIn(self.read("out"), (b"before", self.read("right")) if ended else (self.read("right"),))

    @sampled
    def test_terminated_runs_clean_up(self):
        for number in (signal.SIGTERM, signal.SIGUSR1):
            self.expect_whole_or_absent([*ENCRYPT, "-o", "out", "in"], self.same_ciphertext, number, 15)
            self.expect_whole_or_absent(["sign", "--key", "pem", "-o", "out", "in"], self.good_signature, number, 15)
            self.expect_whole_or_absent(["keypair", "--curve", "B", "--out", "out"], self.good_private_key, number, 15)


class TwoPrograms(ProgramTest):
    def encryptions(self):
        """Start two runs with the same output file. Return them, half finished, and the data that each received."""
        both = []
        for data in (b"A" * 100_000, b"B" * 100_000):
            process = self.start(*ENCRYPT, "-o", "out", stdin=-1)
            process.stdin.write(data)
            process.stdin.flush()
            both.append((process, data))
            self.wait_for_input(process)
        return both

    def test_the_last_run_to_finish_determines_the_output(self):
        for order in (1, -1):
            for process, data in self.encryptions()[::order]:
                process.stdin.close()
                self.assertEqual(process.wait(60), 0)
                self.assertEqual(self.vrx("decrypt", "--key", "key", "--iv", IV, "out"), data)
            self.assertEqual(self.names(), ["key", "out"])

    def test_a_killed_run_does_not_disturb_the_other(self):
        (killed, _), (process, data) = self.encryptions()
        killed.terminate()
        killed.wait(60)
        process.stdin.close()
        self.assertEqual(process.wait(60), 0)
        self.assertEqual(self.vrx("decrypt", "--key", "key", "--iv", IV, "out"), data)
        self.assertEqual(self.names(), ["key", "out"])

    def test_only_one_of_many_runs_creates_the_key(self):
        for command in (["keygen"], ["keypair", "--curve", "A"]):
            for _ in range(5):
                processes = [self.start(*command, "--out", "new") for _ in range(8)]
                codes = [process.wait(60) for process in processes]
                self.assertEqual(sorted(codes), [0] + 7 * [2])
                for code, process in zip(codes, processes):
                    self.assertEqual(b"exists already" in process.stderr.read(), code == 2)
                self.assertEqual(self.names(), ["key", "new"])
                self.vrx(*(["pubkey", "new"] if command[0] == "keypair" else ["mac", "--key", "new", "key"]))
                os.unlink(self.path("new"))


class ChangingFiles(ProgramTest):
    """Inputs that change during a run. The run blocks on its full output pipe, so part of the input is unread."""

    def half_way(self, *options):
        self.data = random.Random(2).randbytes(SIZE // 8 * 8)
        self.write("in", self.data)
        process = self.start(*ENCRYPT, *options, "in")
        first = os.read(process.stdout.fileno(), 1)
        return process, first

    def result(self, process, first):
        """The exit code, and the plaintext of the output."""
        out, err = process.communicate(timeout=120)
        self.err = err
        return process.returncode, self.vrx("decrypt", "--key", "key", "--iv", IV, stdin=first + out)

    def test_a_file_that_grows_is_read_to_its_end(self):
        process, first = self.half_way()
        with open(self.path("in"), "ab") as file:
            file.write(b"more")
        self.assertEqual(self.result(process, first), (0, self.data + b"more"))

    def test_a_file_that_shrinks_is_read_to_its_new_end(self):
        process, first = self.half_way()
        os.truncate(self.path("in"), 2 * 1024 * 1024 + 1)
        self.assertEqual(self.result(process, first), (0, self.data[:2 * 1024 * 1024 + 1]))

    def test_a_file_that_becomes_empty_ends_the_run(self):
        process, first = self.half_way()
        os.truncate(self.path("in"), 0)
        code, plaintext = self.result(process, first)
        self.assertEqual(code, 0)
        self.assertLess(len(plaintext), 1024 * 1024)
        self.assertEqual(plaintext, self.data[:len(plaintext)])

    def test_a_length_that_becomes_invalid_is_an_error(self):
        process, first = self.half_way("--mode", "cbc")
        os.truncate(self.path("in"), 2 * 1024 * 1024 + 1)
        out, err = process.communicate(timeout=120)
        self.assertEqual(process.returncode, 2)
        self.assertRegex(err, rb"\Avrx: [^\n]+\n\Z")
        self.assertEqual(len(first + out), 2 * 1024 * 1024)

    def test_a_file_that_is_removed_is_read_to_its_end(self):
        process, first = self.half_way()
        os.unlink(self.path("in"))
        self.assertEqual(self.result(process, first), (0, self.data))


class Places(ProgramTest):
    COMMANDS = [[*ENCRYPT, "-o"], ["mac", "--key", "key", "-o"], ["pubkey", "pem", "-o"],
                ["sign", "--key", "pem", "-o"],
                ["keygen", "--out"], ["keypair", "--curve", "A", "--out"],
                ["keygen", "--password-file", "password", "--out"],
                ["keypair", "--curve", "A", "--password-file", "password", "--out"],
                ["agree", "--key", "pem", "--peer", "pub", "--ukm", IV, "--out"]]
    PRIVATE = ("keygen", "keypair", "agree")

    def setUp(self):
        super().setUp()
        self.vrx("keypair", "--curve", "A", "--out", "pem")
        self.vrx("pubkey", "-o", "pub", "pem")
        self.write("in", b"some text")
        self.write("password", b"correct horse\n", 0o600)

    def input_of(self, command):
        return ["in"] if command[0] in ("encrypt", "mac", "sign") else []

    def test_a_folder_that_cannot_be_written(self):
        os.mkdir(self.path("folder"))
        self.write("folder/old", b"before")
        user = {}
        if os.geteuid() == 0:  # root may write everywhere
            for name in (".", *self.names(), "folder/old"):
                os.chown(self.path(name), NOBODY, NOBODY)
            user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
            try:
                self.vrx("version", **user)
            except PermissionError:
                self.skipTest("the program lies where nobody else can run it")
        os.chmod(self.path("folder"), 0o555)
        self.addCleanup(os.chmod, self.path("folder"), 0o755)
        for command in self.COMMANDS:
            self.refused(*command, "folder/new", *self.input_of(command),
                         says=["cannot create", "check the permissions"],
                         **user)
            if command[0] not in self.PRIVATE:
                self.refused(*command, "folder/old", *self.input_of(command), says="cannot create", **user)
        self.assertEqual(os.listdir(self.path("folder")), [b"old"])
        self.assertEqual(self.read("folder/old"), b"before")

    def test_a_file_size_limit_leaves_no_file(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4, 4))

        before = self.names()
        for command in self.COMMANDS:
            self.refused(*command, "new", *self.input_of(command), says=["cannot write 'new'", "ulimit"],
                         preexec_fn=limit)
            self.assertEqual(self.names(), before)


if __name__ == "__main__":
    main()
