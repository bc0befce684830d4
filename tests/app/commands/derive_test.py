"""vrx derive: known answers, sources of passwords, and warnings about weak choices."""

import contextlib
import fcntl
import os
import random
import signal
import subprocess
import termios
import unittest

import gost
import kat
from digests import HashTest
from program import PROGRAM, SANITIZED, ProgramTest, main

SALT = "0123456789abcdef"
DERIVE = ["derive", "--kdf", "pbkdf2", "--salt", SALT, "--iterations", "20"]
PBA = ["derive", "--kdf", "pba", "--salt", SALT, "--iterations", "20"]
WARNING = b"vrx: warning: with only 20 iterations, passwords can be guessed quickly; use 600000 or more\n"


class QuickTest(ProgramTest):
    """Derive with few iterations, so that a test takes little time. The warning about them is removed."""

    def run_vrx(self, *arguments, **options):
        done = super().run_vrx(*arguments, **options)
        done.err = done.err.replace(WARNING, b"")
        return done


class Keys(QuickTest, HashTest):
    def derive(self, kdf, password, salt, iterations, *options):
        """Derive a key, ignoring warnings."""
        arguments = ["derive", "--kdf", kdf, "--salt", salt.hex(), "--iterations", str(iterations), "--password-fd",
                     "0"]
        done = self.run_vrx(*arguments, *options, stdin=password)
        self.assertEqual(done.code, 0, done.err)
        self.assertTrue(all(line.startswith(b"vrx: warning: ") for line in done.err.splitlines()), done.err)
        return done.out

    def test_published_pbkdf2(self):
        for answer in kat.answers("gostr3411/pbkdf2.kat"):
            with self.subTest(answer.source):
                self.assertEqual((answer.pop("type"), answer.pop("sbox")),
                                 ("pbkdf2", "id-GostR3411-94-CryptoProParamSet"))
                password, salt, derived = answer.octets("password"), answer.octets("salt"), answer.pop("derived")
                iterations = answer.pop("iterations")
                self.assertEqual(answer, {}, "lines that nothing read")
                self.assertEqual(self.derive("pbkdf2", password, salt, iterations)[: len(derived)].decode(), derived)
                out = self.derive("pbkdf2", password.hex().encode(), salt, iterations, "--encoding", "hex", "--length",
                                  "32")
                self.assertEqual(out[: len(derived)].decode(), derived)

    def test_published_pkcs12(self):
        """The password of the answer is a BMPString; the MAC of the file confirms the key."""
        for answer in kat.answers("gostr3411/pkcs12.kat"):
            if answer.pop("type") != "pkcs12-mac":
                continue
            password, salt, purpose = answer.octets("password"), answer.octets("salt"), answer["id"]
            derived = answer.pop("derived") + "\n"
            self.assertEqual(self.derive("pba", password, salt, answer["iterations"], "--id", purpose).decode(),
                             derived)
            text = password[:-2].decode("utf-16-be").encode()
            options = ["--id", purpose, "--encoding", "bmp"]
            self.assertEqual(self.derive("pba", text, salt, answer["iterations"], *options).decode(), derived)
            self.derive("pba", text, salt, answer["iterations"], *options, "--raw", "--out", "mac.key")
            mac = self.vrx("hmac", "--key", "mac.key", stdin=answer.octets("content"))
            self.assertEqual(mac.decode(), answer["mac"] + "  -\n")

    def test_a_password_opens_a_published_key(self):
        count = 0
        for name in ("pbes2.kat", "pkcs12.kat"):
            for answer in kat.answers("gostr3411/" + name):
                if answer["type"] != "pbes2":
                    continue
                count += 1
                self.derive("pbkdf2", answer.octets("password"), answer.octets("salt"), answer["iterations"], "-o",
                            f"key{count}")
                out = self.vrx("decrypt", "--key", f"key{count}", "--params", answer["sbox"], "--iv", answer["iv"],
                               "--mesh" if answer["meshing"] == "cryptopro" else "--no-mesh",
                               stdin=answer.octets("ciphertext"))
                self.assertEqual(out, answer.octets("plaintext"))
        self.assertEqual(count, 3)

    def test_keys_equal_the_model(self):
        seed = random.randrange(2**32)
        source = random.Random(seed)
        table = self.tables()["cryptopro"]
        for password_size, salt_size, iterations in ((1, 8, 1), (20, 1, 3), (32, 32, 2), (33, 33, 2), (100, 100, 1),
                                                     (0, 8, 2)):
            password, salt = (source.randbytes(size) for size in (password_size, salt_size))
            hexadecimal = password.hex().encode()
            with self.subTest(seed=seed, password=hexadecimal, salt=salt.hex(), iterations=iterations):
                expected = gost.pbkdf2(table, password, salt, iterations)
                self.assertEqual(self.derive("pbkdf2", hexadecimal, salt, iterations, "--encoding", "hex").decode(),
                                 expected.hex() + "\n")
                for purpose, length in ((1, 32), (2, 8), (3, 31), (255, 1)):
                    expected = gost.pkcs12(table, password, salt, iterations, purpose)[:length]
                    out = self.derive("pba", hexadecimal, salt, iterations, "--encoding", "hex", "--id", str(purpose),
                                      "--length", str(length))
                    self.assertEqual(out.decode(), expected.hex() + "\n")

    def test_the_default_purpose_is_a_key(self):
        outputs = [self.derive("pba", b"secret", b"saltsalt", 1, *options)
                   for options in ([], ["--id", "1"], ["--id", "2"])]
        self.assertEqual(outputs[0], outputs[1])
        self.assertNotEqual(outputs[1], outputs[2])

    def test_long_results_begin_like_short_ones(self):
        short, long = (self.derive("pba", b"secret", b"saltsalt", 20000, "--length", size) for size in ("32", "100"))
        self.assertEqual((long[:64], len(long)), (short[:64], 201))
        self.assertEqual(len(self.derive("pba", b"secret", b"saltsalt", 1, "--length", "100000", "--raw")), 100_000)
        done = self.run_vrx(*PBA, "--length", "33", "--password-fd", "0", stdin=b"secret")
        self.assertEqual((done.code, done.err),
                         (0, b"vrx: warning: a result longer than 32 bytes is not compatible with PKCS #12\n"))

    def test_bmp_strings(self):
        for text in ("secret", "пароль", "€uro \u07ff\u0800\ud7ff\ue000\uffff", ""):
            encoded = text.encode("utf-16-be") + b"\0\0"
            self.assertEqual(self.derive("pba", text.encode(), b"saltsalt", 9, "--encoding", "bmp"),
                             self.derive("pba", encoded.hex().encode(), b"saltsalt", 9, "--encoding", "hex"), text)
        for wrong in (b"\xff", b"\x80", b"a\xc3", b"\xc3a", b"\xc0\x80", b"\xc1\xbf", b"\xe0\x9f\xbf", b"\xed\xa0\x80",
                      b"\xe2\x82",
                      b"\xf5\x80\x80\x80", b"\xf0\x9f", b"\xe2\x82\xc3", "пароль".encode("koi8-r")):
            self.refused(*PBA, "--encoding", "bmp", "--password-fd", "0", stdin=wrong, says="the password is not UTF-8")
        self.refused(*PBA, "--encoding", "bmp", "--password-fd", "0", stdin="🔑".encode(), says="beyond U+FFFF")


class Passwords(QuickTest):
    def setUp(self):
        super().setUp()
        self.expected = self.vrx(*DERIVE, "--password-fd", "0", stdin=b"secret")

    def test_from_a_file(self):
        for content in (b"secret", b"secret\n", b"secret\r\n"):
            self.write("password", content, 0o600)
            self.assertEqual(self.vrx(*DERIVE, "--password-file", "password"), self.expected)
        self.assertEqual(self.vrx(*DERIVE, "--password-file", "-", stdin=b"secret\n"), self.expected)
        for content in (b" secret", b"secret ", b"Secret", b"secre", b"\0secret"):
            self.write("password", content, 0o600)
            self.assertNotEqual(self.vrx(*DERIVE, "--password-file", "password"), self.expected)

    def test_from_a_descriptor(self):
        read_end, write_end = os.pipe()
        os.write(write_end, b"secret\n")
        os.close(write_end)
        self.assertEqual(self.vrx(*DERIVE, "--password-fd", str(read_end), pass_fds=[read_end]), self.expected)
        os.close(read_end)
        script = '"$0" "$@" --password-fd 3 3<<<secret'
        done = subprocess.run(["bash", "-c", script, PROGRAM, *DERIVE], capture_output=True, cwd=self.folder,
                              check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, self.expected, WARNING))

    def test_sources_that_are_refused(self):
        self.refused(*DERIVE, "--password-file", "none", says="cannot open 'none'")
        self.refused(*DERIVE, "--password-file", ".", says="cannot read '.'")
        self.refused(*DERIVE, "--password-fd", "77", says="cannot open file descriptor 77: Bad file descriptor")
        for text in ("x", "", "-1", "3000000000", "1x"):
            self.refused(*DERIVE, "--password-fd", text, says=f"the number of an open file descriptor, not '{text}'")
        for content in (b"secret\n\n", b"secret\nmore", b"\n\n"):
            self.refused(*DERIVE, "--password-fd", "0", stdin=content,
                         says="file descriptor 0 holds more than one line")
        self.refused(*DERIVE, "--password-file", "/dev/zero", says="'/dev/zero' holds more than 16 MiB")
        self.refused(*DERIVE, "--password-fd", "0", "--password-file", "key", says="exclude each other")
        self.refused(*DERIVE, "--encoding", "hex", "--password-fd", "0", stdin=b"secret",
                     says="not an even number of hexadecimal")
        self.refused(*DERIVE, "--encoding", "utf-8", says="--encoding takes text, hex or bmp, not 'utf-8'")
        self.refused(*DERIVE, "secret", says="one operand too many")

    def test_an_empty_password_draws_a_warning(self):
        for content in (b"", b"\n"):
            done = self.run_vrx(*DERIVE, "--password-fd", "0", stdin=content)
            self.assertEqual((done.code, done.err), (0, b"vrx: warning: the password is empty\n"))

    def test_a_file_that_others_can_read_draws_a_warning(self):
        self.write("password", b"secret", 0o644)
        done = self.run_vrx(*DERIVE, "--password-file", "password")
        self.assertEqual((done.code, done.out), (0, self.expected))
        self.assertIn(b"warning: others than its owner have access to the password file 'password'", done.err)


class Terminal(QuickTest):
    """The program with a controlling terminal that is neither its standard input nor its output."""

    def setUp(self):
        super().setUp()
        self.expected = self.vrx(*DERIVE, "--password-fd", "0", stdin=b"secret")
        self.terminal, self.program_end = self.open_terminal()
        self.addCleanup(os.close, self.terminal)
        self.addCleanup(os.close, self.program_end)
        os.set_blocking(self.terminal, False)
        self.shown = b""

    def derive(self, *options):
        def take_terminal():
            os.setsid()
            fcntl.ioctl(self.program_end, termios.TIOCSCTTY, 0)

        return self.start(*DERIVE, *options, preexec_fn=take_terminal, pass_fds=[self.program_end])

    def echoes(self):
        return bool(termios.tcgetattr(self.program_end)[3] & termios.ECHO)

    def await_prompt(self, prompt=b"Password: "):
        def prompted():
            with contextlib.suppress(BlockingIOError):
                self.shown += os.read(self.terminal, 4096)
            return self.shown.endswith(prompt)

        self.wait_for(prompted, "a prompt")
        self.assertFalse(self.echoes())

    def type(self, text, prompt=b"Password: "):
        self.await_prompt(prompt)
        os.write(self.terminal, text)

    def end(self, process):
        out, err = process.communicate(timeout=60)
        with contextlib.suppress(BlockingIOError):
            self.shown += os.read(self.terminal, 4096)
        self.assertTrue(self.echoes(), "the terminal is left silent")
        return process.returncode, out, err.replace(WARNING, b"")

    def test_the_password_is_asked_for_and_not_shown(self):
        process = self.derive()
        self.type(b"secret\n")
        self.assertEqual(self.end(process), (0, self.expected, b""))
        self.assertEqual(self.shown, b"Password: \r\n")

    def test_the_typed_password_can_be_edited(self):
        process = self.derive()
        self.type(b"nonsense\x15sekk\x7f\x7fcret\n")  # Ctrl-U, backspace
        self.assertEqual(self.end(process), (0, self.expected, b""))

    def test_confirm_asks_twice(self):
        process = self.derive("--confirm")
        self.type(b"secret\n")
        self.type(b"secret\n", b"Password again: ")
        self.assertEqual(self.end(process), (0, self.expected, b""))
        self.assertEqual(self.shown, b"Password: \r\nPassword again: \r\n")

    def test_two_different_passwords_are_refused(self):
        for again in (b"secre", b"secrets", b"Secret", b"secreT"):
            self.shown = b""
            process = self.derive("--confirm")
            self.type(b"secret\n")
            self.type(again + b"\n", b"Password again: ")
            self.assertEqual(self.end(process), (2, b"", b"vrx: the two passwords are not the same; try again\n"))
        self.refused(*DERIVE, "--confirm", "--password-fd", "0", says="--confirm is for a password from the terminal")

    def test_no_answer(self):
        process = self.derive()
        self.type(b"\x04")  # Ctrl-D
        self.assertEqual(self.end(process), (2, b"", b"vrx: no password was given; type one and press Enter\n"))
        self.shown = b""
        process = self.derive()
        self.type(b"\n")
        self.assertEqual(self.end(process)[2], b"vrx: warning: the password is empty\n")

    def test_signals_restore_the_echo_and_leave_no_file(self):
        for key, number in ((b"\x03", signal.SIGINT), (b"\x1c", signal.SIGQUIT), (b"", signal.SIGTERM),
                            (b"", signal.SIGHUP), (b"", signal.SIGRTMIN), (b"", signal.SIGRTMAX)):
            with self.subTest(number):
                self.shown = b""
                process = self.derive("--out", "new")
                self.type(b"secr" + key)
                if not key:
                    process.send_signal(number)
                self.assertEqual(self.end(process)[0], -number)
                self.assertEqual(self.names(), ["key"])

    def test_ctrl_z_does_not_leave_the_terminal_without_echo(self):
        process = self.derive()
        self.type(b"\x1asecret\n")
        self.assertEqual(self.end(process), (0, self.expected, b""))

    def test_an_ignored_signal_stays_ignored(self):
        signal.signal(signal.SIGHUP, signal.SIG_IGN)
        self.addCleanup(signal.signal, signal.SIGHUP, signal.SIG_DFL)
        process = self.derive()
        self.await_prompt()
        process.send_signal(signal.SIGHUP)
        os.write(self.terminal, b"secret\n")
        self.assertEqual(self.end(process), (0, self.expected, b""))

    def test_nothing_is_asked_if_the_output_cannot_be_written(self):
        process = self.derive("--out", "key")
        code, _, err = self.end(process)
        self.assertEqual((code, self.shown), (2, b""))
        self.assertIn(b"'key' exists already and is never overwritten", err)

    def test_without_a_terminal(self):
        self.refused(*DERIVE, start_new_session=True, says=["there is no terminal", "--password-file or --password-fd"])

    @unittest.skipIf(SANITIZED, "sanitizers lock no memory")
    def test_the_password_is_locked_in_memory(self):
        process = self.derive()
        self.await_prompt()
        self.assertGreater(self.status_of(process, "VmLck"), 0)
        os.write(self.terminal, b"secret\n")
        self.end(process)


class Choices(QuickTest):
    def derive(self, kdf, salt, iterations, *options):
        return self.run_vrx("derive", "--kdf", kdf, "--salt", salt, "--iterations", iterations, *options,
                            "--password-fd", "0",
                            stdin=b"secret")

    def test_weak_choices_draw_a_warning(self):
        quick = [(SALT, "1", [b"with only 1 iteration,"]),
                 ("00", "2", [b"with only 2 iterations,", b"a salt of 8 bits is so short"])]
        slow = [(SALT, "599999", [b"with only 599999 iterations,"]),
                (SALT[2:], "600000", [b"a salt of 56 bits is so short"]),
                (SALT, "600000", [])]
        for kdf, choices in (("pbkdf2", [*quick, *slow]), ("pba", [*quick, slow[-1]])):
            for salt, iterations, says in choices:
                done = self.derive(kdf, salt, iterations)
                lines = done.err.splitlines()
                self.assertEqual((done.code, len(done.out), len(lines)), (0, 65, len(says)), lines)
                for line, text in zip(lines, says):
                    self.assertTrue(line.startswith(b"vrx: warning: " + text), line)

    def test_choices_that_are_refused(self):
        for arguments, says in [
            (["--salt", SALT, "--iterations", "1"], "a derivation is needed, --kdf pbkdf2 or --kdf pba"),
            (["--kdf", "pba", "--iterations", "1"], "a salt is needed, --salt HEX"),
            (["--kdf", "pba", "--salt", SALT], "a number of iterations is needed, --iterations N"),
            (["--kdf", "scrypt", "--salt", SALT, "--iterations", "1"], "--kdf takes pbkdf2 or pba, not 'scrypt'"),
            ([*DERIVE[1:], "--id", "1"], "--id belongs to --kdf pba"),
            ([*PBA[1:], "--id", "256"], "--id takes a number from 0 to 255, not '256'"),
            ([*PBA[1:], "--id", "-1"], "not '-1'"),
            ([*PBA[1:], "--length", "2147483648"], "--length takes a number from 1 to 2147483647"),
        ]:
            with self.subTest(arguments):
                self.refused("derive", *arguments, says=[says, "see 'vrx derive --help'"])
        for salt in ("", "0", "012", "0g", "0x01", "01 02", "соль"):
            self.refused(*DERIVE, "--salt", salt,
                         says=f"--salt takes an even number of hexadecimal digits, not '{salt}'")
        for text in ("0", "", "-1", "1e6", " 1", "1 ", "+1", "18446744073709551616", "0x10"):
            self.refused(*DERIVE, "--iterations", text,
                         says=f"--iterations takes a number from 1 to 18446744073709551615, not '{text}'")
        for length in ("0", "1", "31", "33", "64"):
            self.refused(*DERIVE, "--length", length,
                         says="--length takes a number" if length == "0" else "pbkdf2 derives exactly 32 bytes")


class Results(QuickTest):
    def test_forms_and_files(self):
        given = {"stdin": b"secret"}
        digits = self.vrx(*DERIVE, "--password-fd", "0", **given)
        self.assertRegex(digits, rb"\A[0-9a-f]{64}\n\Z")
        self.assertEqual(self.vrx(*DERIVE, "--password-fd", "0", "--raw", **given), bytes.fromhex(digits.decode()))
        for mask in (0o000, 0o022, 0o777):
            self.vrx(*DERIVE, "--password-fd", "0", "--out", f"hex{mask}", umask=mask, **given)
            self.vrx(*DERIVE, "--password-fd", "0", "--raw", "-o", f"raw{mask}", umask=mask, **given)
            self.assertEqual((self.read(f"hex{mask}"), self.mode(f"hex{mask}")), (digits, 0o600))
            self.assertEqual((self.read(f"raw{mask}"), self.mode(f"raw{mask}")),
                             (bytes.fromhex(digits.decode()), 0o600))
        self.refused(*DERIVE, "--password-fd", "0", "-o", "hex0", says="'hex0' exists already and is never overwritten",
                     **given)
        self.write("text", b"some text")
        self.assertEqual(self.vrx("mac", "--key", "hex0", "text"), self.vrx("mac", "--key", "raw0", "text"))

    def test_a_failure_leaves_no_file(self):
        self.refused(*DERIVE, "--password-file", "none", "-o", "new", says="cannot open 'none'")
        self.refused(*DERIVE, "--password-fd", "0", "-o", "none/new", says="cannot create 'none/new'", stdin=b"secret")
        self.assertEqual(self.names(), ["key"])
        with open("/dev/full", "wb") as full:
            self.refused(*DERIVE, "--password-fd", "0", stdin=b"secret", stdout=full, out=None,
                         says="No space left on device")


if __name__ == "__main__":
    main()
