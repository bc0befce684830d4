"""vrx hmac: keys, MACs compared with other programs, and lists."""

import os
import random
import subprocess
import unittest

import gost
import kat
from digests import SETS, HashTest, set_name
from program import KEY, SANITIZED, main

HMAC = ["hmac", "--key", "key"]


class Answers(HashTest):
    def test_published_answers(self):
        for answer in kat.answers("gostr3411/hmac.kat"):
            with self.subTest(answer.source):
                self.assertEqual(answer.pop("type"), "hmac")
                short = set_name(answer.pop("sbox"))
                self.write("key", answer.octets("key"), 0o600)
                expected = answer.pop("mac") + "  -\n"
                self.assertEqual(self.vrx(*HMAC, "--set", short, stdin=answer.message()).decode(), expected)
                self.assertEqual(answer, {}, "lines that nothing read")

    def test_macs_equal_the_model_for_keys_and_messages_of_many_lengths(self):
        seed = random.randrange(2**32)
        source = random.Random(seed)
        for short, table in self.tables().items():
            for key_size in (1, 31, 32, 33, 64, 65, 200):
                for size in (0, 1, 32, 100):
                    with self.subTest(seed=seed, set=short, key_size=key_size, size=size):
                        key, data = source.randbytes(key_size), source.randbytes(size)
                        self.write("key", key, 0o600)
                        expected = gost.hmac(table, key, data).hex() + "  -\n"
                        self.assertEqual(self.vrx(*HMAC, "--set", short, stdin=data).decode(), expected)

    def test_openssl_with_its_gost_engine(self):
        self.write("a", random.randbytes(100_000))
        for key in (b"k", b"a key of more than thirty-two bytes, which is hashed"):
            self.write("key", key, 0o600)
            done = self.tool("openssl", "dgst", "-engine", "gost", "-md_gost94", "-hmac", key.decode(), "a")
            if done.code != 0:
                self.skipTest("openssl has no engine gost")
            self.assertEqual(self.vrx(*HMAC, "a").split()[0], done.out.split()[-1])


class Keys(HashTest):
    def setUp(self):
        super().setUp()
        self.write("a", b"first")

    def mac(self, key, *options):
        self.write("other", key, 0o600)
        return self.vrx("hmac", "--key", "other", *options, "a")

    def test_every_byte_of_the_key_file_matters(self):
        keys = [b"secret", b"secret\n", b"secret\r\n", b"secret\n\n", b" secret", b"SECRET", b"\0", bytes(33), KEY,
                KEY.hex().encode()]
        self.assertEqual(len({self.mac(key) for key in keys}), len(keys))

    def test_short_keys_are_padded_and_long_ones_hashed(self):
        self.assertEqual(self.mac(b"secret"), self.mac(b"secret".ljust(32, b"\0")))
        self.assertNotEqual(self.mac(b"secret"), self.mac(b"secret".ljust(33, b"\0")))
        for size in (33, 8192, 8193, 100_000, 3_000_000):
            key = random.randbytes(size)
            self.assertEqual(self.mac(key), self.mac(bytes.fromhex(self.vrx("hash", stdin=key)[:64].decode())))

    def test_hexadecimal_keys(self):
        for text in (b"6b65790a", b"6B65790a\n", b"6b65790A\r\n"):
            self.assertEqual(self.mac(text, "--hex-key"), self.mac(b"key\n"))
        self.vrx("keygen", "--hex", "-o", "new")
        self.assertEqual(self.vrx("hmac", "-x", "-k", "new", "a"), self.mac(bytes.fromhex(self.read("new").decode())))
        for text in (b"6b6", b"6b 65", b"6b65\n\n", b"0x6b", b"key!", b"6b65\0"):
            self.write("other", text, 0o600)
            self.refused("hmac", "-x", "-k", "other", "a",
                         says="what the key file 'other' holds is not an even number of hexadecimal digits")

    def test_a_key_from_standard_input(self):
        self.assertEqual(self.vrx("hmac", "--key", "-", "a", stdin=KEY), self.vrx(*HMAC, "a"))
        for files in (["-"], [], ["a", "-"]):
            self.refused("hmac", "--key", "-", *files, says="standard input cannot be both the key and the data")

    def test_keys_that_are_refused(self):
        self.refused("hmac", "a", says="a key is needed, --key FILE")
        self.refused("hmac", "--key", "none", "a", says="cannot open 'none'")
        self.refused("hmac", "--key", ".", "a", says="cannot read '.'")
        for options in ([], ["--hex-key"]):
            self.write("other", b"", 0o600)
            self.refused("hmac", "--key", "other", *options, "a", says="the key file 'other' holds no key")
        self.write("other", b"\n", 0o600)
        self.refused("hmac", "--key", "other", "--hex-key", "a", says="the key file 'other' holds no key")
        self.refused("hmac", "--key", "/dev/zero", "a", says="'/dev/zero' holds more than 16 MiB")

    def test_a_key_file_that_others_can_read_draws_a_warning(self):
        os.chmod(self.path("key"), 0o640)
        done = self.run_vrx(*HMAC, "a")
        self.assertEqual((done.code, done.err.count(b"\n")), (0, 1))
        self.assertIn(b"warning: others than its owner have access to the key file 'key'", done.err)

    @unittest.skipIf(SANITIZED, "sanitizers lock no memory")
    def test_the_key_is_locked_in_memory(self):
        process = self.start("hmac", "--key", "key", stdin=subprocess.PIPE)
        process.stdin.write(b"text")
        process.stdin.flush()
        self.wait_for(lambda: self.status_of(process, "VmLck"), "locked memory")
        process.stdin.close()
        self.assertEqual(process.wait(60), 0)


class Lists(HashTest):
    def setUp(self):
        super().setUp()
        self.write("a", b"first")
        self.write("b", bytes(1_000_000))
        self.write("empty", b"")

    def test_lines(self):
        a, b = (self.vrx(*HMAC, stdin=self.read(name))[:64] for name in ("a", "b"))
        self.assertEqual(self.vrx(*HMAC, "a", "b"), a + b"  a\n" + b + b"  b\n")
        self.assertEqual(self.vrx(*HMAC, "--tag", "a"), b"HMAC-GOST94-CRYPTOPRO (a) = " + a + b"\n")
        self.assertEqual(self.vrx(*HMAC, "--tag", "--set", "test", "a")[:15], b"HMAC-GOST94 (a)")
        mirrored = bytes.fromhex(a.decode())[::-1].hex()
        self.assertEqual(self.vrx(*HMAC, "--reverse", "a").decode(), mirrored + "  a\n")
        self.vrx(*HMAC, "-o", "list", "a")
        self.assertEqual(self.read("list"), a + b"  a\n")
        for name in ("a", "key"):
            self.refused(*HMAC, "-o", name, "a", says=f"'{name}' is read by this command")

    def test_lists_verify_in_every_form(self):
        for short in SETS:
            for form in ([], ["--tag"], ["--reverse"], ["--tag", "--reverse"]):
                with self.subTest(set=short, form=form):
                    self.write("list", self.vrx(*HMAC, "--set", short, *form, "a", "b", "empty"))
                    options = ["--set", short] if "--tag" not in form else []
                    options += ["--reverse"] if "--reverse" in form else []
                    self.assertEqual(self.vrx(*HMAC, *options, "--check", "list"), b"a: OK\nb: OK\nempty: OK\n")

    def test_invalid_lines_and_changed_files_fail(self):
        line = self.vrx(*HMAC, "a")
        for bit in range(0, 256, 5):
            self.write("list", b"%064x  a\n" % (int(line[:64], 16) ^ 1 << bit))
            self.refused(*HMAC, "--check", "list", code=1, out=b"a: FAILED\n", says="1 MAC did not match")
        self.write("list", line)
        self.assertEqual(self.vrx(*HMAC, "--check", "list"), b"a: OK\n")
        self.write("other", KEY[::-1], 0o600)
        self.refused("hmac", "--key", "other", "--check", "list", code=1, out=b"a: FAILED\n",
                     says="1 MAC did not match")
        self.refused(*HMAC, "--set", "test", "--check", "list", code=1, out=b"a: FAILED\n", says="1 MAC did not match")
        self.assertEqual(self.run_vrx(*HMAC, "--set", "test", "--check", "--status", "list").err, b"")
        self.write("list", b"nonsense\n" + line)
        done = self.run_vrx(*HMAC, "--check", "--quiet", "list")
        self.assertEqual((done.code, done.out), (1, b""))
        self.assertIn(b"or HMAC-GOST94-CRYPTOPRO (file name) = 64 hexadecimal digits", done.err)
        self.write("list", line.replace(b"  a", b"  none"))
        self.assertEqual(self.run_vrx(*HMAC, "--check", "list").code, 2)
        self.assertEqual(self.run_vrx(*HMAC, "--check", "--ignore-missing", "list").code, 1)
        self.write("list", self.vrx("hash", "--tag", "a"))
        self.assertEqual(self.run_vrx(*HMAC, "--check", "--status", "list").code, 1)

    def test_an_unreadable_file_does_not_stop_the_rest(self):
        done = self.run_vrx(*HMAC, "none", "a", ".", "empty")
        self.assertEqual((done.code, done.out), (2, self.vrx(*HMAC, "a", "empty")))
        self.assertEqual(done.err.count(b"\n"), 2)


if __name__ == "__main__":
    main()
