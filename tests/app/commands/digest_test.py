"""vrx hash and vrx sha1: digests compared with other programs, lists in every form, and their verification."""

import hashlib
import os
import random
import re
import subprocess

import gost
import kat
from digests import SETS, HashTest, set_name
from program import main, sampled, some

SIZES = (0, 1, 31, 32, 33, 63, 64, 65, 1000)


class Samples(HashTest):
    def samples(self):
        """Files of many lengths with random contents. Returns their names."""
        seed = random.randrange(2**32)
        source = random.Random(seed)
        for size in (*SIZES, 100_000, 3_000_001):
            self.write(f"{size}-{seed}", source.randbytes(size))
        return [name for name in self.names() if name != "key"]


class Answers(Samples):
    def test_published_answers(self):
        seen = set()
        for answer in kat.answers("gostr3411/hash.kat"):
            with self.subTest(answer.source):
                self.assertEqual(answer.pop("type"), "hash")
                short = set_name(answer.pop("sbox"))
                seen.add(short)
                expected = answer.pop("digest") + "  -\n"
                self.assertEqual(self.vrx("hash", "--set", short, stdin=answer.message()).decode(), expected)
                self.assertEqual(answer, {}, "lines that nothing read")
        self.assertEqual(seen, set(SETS))
        for answer in kat.answers("sha1/hash.kat"):
            with self.subTest(answer.source):
                if answer.pop("type") != "sha1":
                    continue
                expected = answer.pop("digest") + "  -\n"
                self.assertEqual(self.vrx("sha1", stdin=answer.message()).decode(), expected)
                self.assertEqual(answer, {}, "lines that nothing read")

    def test_the_default_set_is_cryptopro_and_sets_have_many_names(self):
        empty = {short: self.vrx("hash", "--set", short) for short in SETS}
        # RFC 5831 does not specify the S-boxes. These are the digests of the empty message with the sets of RFC 4357.
        self.assertTrue(empty["test"].startswith(b"ce85b99cc46752ff"))
        self.assertTrue(empty["cryptopro"].startswith(b"981e5f3ca30c8414"))
        self.assertEqual(self.vrx("hash"), empty["cryptopro"])
        for i, short in enumerate(SETS):
            for name in (short.upper(), f"1.2.643.2.2.30.{i}",
                         "id-GostR3411-94-" + ("Test" if short == "test" else "CryptoPro") + "ParamSet"):
                self.assertEqual(self.vrx("hash", "-s", name), empty[short])
        for name in ("", "A", "crypto", "1.2.643.2.2.30.2"):
            self.refused("hash", "--set", name, says=[f"no parameter set '{name}' of the hash", "cryptopro or test"])

    def test_digests_equal_the_model(self):
        seed = random.randrange(2**32)
        source = random.Random(seed)
        for short, table in self.tables().items():
            for size in SIZES:
                with self.subTest(seed=seed, set=short, size=size):
                    data = source.randbytes(size)
                    expected = gost.digest(table, data).hex() + "  -\n"
                    self.assertEqual(self.vrx("hash", "--set", short, stdin=data).decode(), expected)

    def test_sha1_equals_hashlib(self):
        for name in self.samples():
            expected = hashlib.sha1(self.read(name)).hexdigest() + "  " + name + "\n"
            self.assertEqual(self.vrx("sha1", name).decode(), expected)

    def test_pipes_at_any_pace(self):
        data = random.randbytes(100_000)
        self.write("whole", data)
        for command in ("hash", "sha1"):
            with self.start(command, stdin=subprocess.PIPE) as process:
                for begin, end in ((0, 1), (1, 33), (33, 64), (64, 65_600), (65_600, 100_000)):
                    process.stdin.write(data[begin:end])
                    process.stdin.flush()
                out, _ = process.communicate(timeout=60)
            self.assertEqual(out.split()[0], self.vrx(command, "whole").split()[0])


class Witnesses(Samples):
    """Independent programs, if they are installed."""

    def test_sha1sum(self):
        names = self.samples()
        for options in ([], ["--tag"]):
            self.assertEqual(self.vrx("sha1", *options, *names), self.tool("sha1sum", *options, *names).out)
            self.write("list", self.vrx("sha1", *options, *names))
            self.assertEqual(self.tool("sha1sum", "--check", "--strict", "--quiet", "list").out, b"")
            self.write("list", self.tool("sha1sum", *options, *names).out)
            self.assertEqual(self.vrx("sha1", "--check", "--quiet", "list"), b"")

    def test_rhash(self):
        names = self.samples()
        for short, tag in SETS.items():
            out = self.tool("rhash", "--" + tag.lower(), "--bsd", *names).out
            self.assertEqual(self.vrx("hash", "--set", short, "--tag", *names), out)
            self.write("list", out)
            self.assertEqual(self.vrx("hash", "--check", "list").count(b": OK\n"), len(names))
            self.write("list", self.vrx("hash", "--set", short, *names))
            self.assertEqual(self.tool("rhash", "--" + tag.lower(), "--check", "list").code, 0)

    def test_gostsum_prints_the_last_byte_first(self):
        names = self.samples()
        for short, option in (("cryptopro", []), ("test", ["-t"])):
            names = [name for name in names if self.read(name)]  # its digest of an empty file differs from ours
            out = self.tool("gostsum", *option, *names).out
            self.assertEqual(self.vrx("hash", "--set", short, "--reverse", *names), out.replace(b" ", b"  "))
            self.write("list", out)
            checked = self.vrx("hash", "--set", short, "--reverse", "--check", "list")
            self.assertEqual(checked.count(b": OK\n"), len(names))

    def test_openssl_with_its_gost_engine(self):
        if self.tool("openssl", "dgst", "-engine", "gost", "-md_gost94", "key").code != 0:
            self.skipTest("openssl has no engine gost")
        for name in self.samples():
            if self.read(name):  # this engine computes another digest for an empty file
                out = self.tool("openssl", "dgst", "-engine", "gost", "-md_gost94", name).out
                self.assertEqual(self.vrx("hash", name).split()[0], out.split()[-1])


class Lists(Samples):
    def setUp(self):
        super().setUp()
        self.write("a", b"first")
        self.write("b", bytes(1_000_000))
        self.write("empty", b"")

    def test_lines_are_those_of_sha1sum(self):
        os.mkdir(self.path("folder"))
        self.write(b"folder/\xff\xd0 name", b"first")
        for files in (["a", "b", "a"], ["./a", "folder/../b"], ["empty"], [b"folder/\xff\xd0 name"], []):
            expected = subprocess.run(["sha1sum", "--", *files], cwd=self.folder, capture_output=True, check=True,
                                      stdin=subprocess.DEVNULL).stdout
            self.assertEqual(self.vrx("sha1", *files), expected)
            self.assertEqual([line[64:] for line in self.vrx("hash", *files).splitlines()],
                             [line[40:] for line in expected.splitlines()])

    def test_tagged_lines_are_those_of_sha1sum(self):
        names = [b"a", b"back\\slash", b"line\nend", b"carriage\rreturn", b"we) = (ird", b") = ", b"\xff", b"(", b" "]
        for name in names:
            self.write(name, b"first")
        expected = subprocess.run(["sha1sum", "--tag", "--", *names], cwd=self.folder, capture_output=True,
                                  check=True).stdout
        self.assertEqual(self.vrx("sha1", "--tag", "--", *names), expected)
        for short, tag in SETS.items():
            listed = self.vrx("hash", "--set", short, "--tag", "--", *names)
            self.assertEqual([line[:-64] for line in listed.splitlines()],
                             [line[:-40].replace(b"SHA1", tag.encode(), 1) for line in expected.splitlines()])
            self.write("list", listed)
            self.assertEqual(self.vrx("hash", "--check", "list").count(b": OK\n"), len(names))

    def test_tagged_lines_name_their_set(self):
        listed = b"".join(self.vrx("hash", "--tag", "--set", short, "a") for short in SETS)
        self.assertEqual(len(set(listed.splitlines())), 2)
        self.write("list", listed)
        for options in ([], ["--set", "test"], ["--set", "cryptopro"]):
            self.assertEqual(self.vrx("hash", *options, "--check", "list"), b"a: OK\na: OK\n")
        self.write("list", listed.replace(b"GOST94-CRYPTOPRO", b"GOST94"))
        self.refused("hash", "--check", "list", code=1, out=b"a: OK\na: FAILED\n", says="1 digest did not match")

    def test_plain_lines_use_the_set_given_by_options(self):
        self.write("list", self.vrx("hash", "--set", "test", "a"))
        self.assertEqual(self.vrx("hash", "--set", "test", "--check", "list"), b"a: OK\n")
        self.refused("hash", "--check", "list", code=1, out=b"a: FAILED\n", says="1 digest did not match")

    def test_reversed_digests(self):
        for command in ("hash", "sha1"):
            for tag in ([], ["--tag"]):
                there = self.vrx(command, *tag, "a", "b", "empty")
                back = self.vrx(command, *tag, "--reverse", "a", "b", "empty")
                for one, other in zip(there.splitlines(), back.splitlines()):
                    digest, mirrored = (max(re.findall(rb"[0-9a-f]{40,}", line)) for line in (one, other))
                    self.assertEqual(bytes.fromhex(digest.decode())[::-1].hex(), mirrored.decode())
                    self.assertEqual(one.replace(digest, b""), other.replace(mirrored, b""))
                self.write("list", back)
                self.assertEqual(self.vrx(command, "-r", "--check", "list"), b"a: OK\nb: OK\nempty: OK\n")
                self.refused(command, "--check", "list", code=1, out=b"a: FAILED\nb: FAILED\nempty: FAILED\n",
                             says="3 digests did not match")

    def test_an_unreadable_file_does_not_stop_the_rest(self):
        os.mkdir(self.path("folder"))
        for command in ("hash", "sha1"):
            done = self.run_vrx(command, "none", "a", "folder", "empty", "/proc/self/mem", "b")
            self.assertEqual((done.code, done.out), (2, self.vrx(command, "a", "empty", "b")))
            errors = done.err.decode().splitlines()
            self.assertEqual(len(errors), 3)
            self.assertIn("cannot open 'none': No such file or directory", errors[0])
            self.assertIn("cannot read 'folder': Is a directory", errors[1])
            self.assertIn("cannot read '/proc/self/mem': Input/output error", errors[2])

    def test_the_list_must_not_replace_its_inputs(self):
        self.vrx("hash", "-o", "list", "a", "b")
        self.assertEqual(self.read("list"), self.vrx("hash", "a", "b"))
        os.link(self.path("a"), self.path("hard"))
        for name in ("a", "hard"):
            self.refused("hash", "-o", name, "a", "b", says=f"'{name}' is read by this command")
        self.assertEqual(self.read("a"), b"first")
        # Standard output may be one of the inputs: vrx hash * > list must work.
        with open(self.path("list"), "wb") as out:
            self.assertEqual(self.run_vrx("hash", "list", stdout=out).code, 0)

    def test_wrong_use(self):
        for command in ("hash", "sha1"):
            for option in ("--quiet", "--status", "--ignore-missing"):
                self.refused(command, option, "a", says="belong to --check")
            self.refused(command, "--check", "-o", "out", "a", says="--out has no meaning with --check")
            self.refused(command, "--check", "--tag", "a", says="--tag has no meaning with --check")
        self.refused("sha1", "--set", "test", says="no option '--set'")


class Checks(Samples):
    FORM = {"hash": "is 64 hexadecimal digits, two blanks and a file name, or GOST94-CRYPTOPRO (file name) = 64 hex",
            "sha1": "is 40 hexadecimal digits, two blanks and a file name, or SHA1 (file name) = 40 hexadecimal d"}

    def setUp(self):
        super().setUp()
        self.write("a", b"first")
        self.write("b", bytes(1_000_000))

    def check(self, command, content, code, out, *errors, options=()):
        """Verify a list. `errors`: the text that each line on standard error must contain."""
        self.write("list", content)
        done = self.run_vrx(command, "--check", *options, "list")
        self.assertEqual((done.code, done.out.decode()), (code, out), done.err)
        lines = done.err.decode(errors="replace").splitlines()
        self.assertEqual(len(lines), len(errors), lines)
        for line, text in zip(lines, errors):
            self.assertTrue(line.startswith("vrx: "))
            self.assertIn(text, line)

    def each(self):
        """Yield, for both commands and both formats, the name of the command and the lines for the files a and b."""
        for command in ("hash", "sha1"):
            for tag in ([], ["--tag"]):
                with self.subTest(command=command, tag=tag):
                    yield command, self.vrx(command, *tag, "a"), self.vrx(command, *tag, "b")

    def test_good_lists(self):
        for command, a, b in self.each():
            self.check(command, a + b, 0, "a: OK\nb: OK\n")
            self.check(command, (a + b).replace(b"\n", b"\r\n"), 0, "a: OK\nb: OK\n")
            self.check(command, (a + b)[:-1], 0, "a: OK\nb: OK\n")
            self.check(command, a + b, 0, "", options=["--quiet"])
            self.check(command, a + b, 0, "", options=["--status"])
            capitals = re.sub(rb"[0-9a-f]{40,}", lambda digits: digits[0].upper(), a)
            self.check(command, capitals, 0, "a: OK\n")
            self.assertEqual(self.vrx(command, "-c", stdin=b), b"b: OK\n")
        self.check("hash", self.vrx("hash", "a") + self.vrx("hash", "--tag", "b"), 0, "a: OK\nb: OK\n")

    def test_a_list_may_come_one_octet_at_a_time(self):
        for command, a, b in self.each():
            with self.start(command, "--check", stdin=subprocess.PIPE) as process:
                for begin, end in ((0, 1), (1, 2), (2, len(a) - 1), (len(a) - 1, len(a))):
                    process.stdin.write(a[begin:end])
                    process.stdin.flush()
                    self.wait_for_input(process)
                out, _ = process.communicate(b, timeout=60)
            self.assertEqual((process.returncode, out), (0, b"a: OK\nb: OK\n"))

    def test_changed_files_fail(self):
        for command, a, b in list(self.each()):
            self.write("a", b"First")
            self.check(command, a + b, 1, "a: FAILED\nb: OK\n", "'list': 1 digest did not match")
            self.check(command, a + b, 1, "a: FAILED\n", "1 digest did not match", options=["--quiet"])
            self.check(command, a + b, 1, "", options=["--status"])
            self.write("a", b"first")

    @sampled
    def test_any_wrong_bit_fails(self):
        digest = self.vrx("sha1", "a")[:40]
        for bit in some(range(160)):
            self.check("sha1", b"%040x  a\n" % (int(digest, 16) ^ 1 << bit), 1, "a: FAILED\n", "1 digest did not match")

    @sampled
    def test_any_malformed_line_fails(self):
        for command, a, b in list(self.each()):
            digest = max(re.findall(rb"[0-9a-f]{40,}", a))
            tag = b"SHA1" if command == "sha1" else b"GOST94-CRYPTOPRO"
            bad = [b"", b" ", b"# comment", digest, digest + b" ", digest + b"  ", digest + b"\ta",
                   digest[:-1] + b"  a",
                   digest + b"0  a", digest[:-1] + b"g  a", b" " + digest + b"  a", b"\\" + digest + b"  a\\",
                   digest + b"  a\0",
                   tag + b"(a) = " + digest, tag + b" (a)= " + digest, tag + b" (a) " + digest,
                   tag + b" () = " + digest,
                   tag + b" (a) = " + digest[:-1], tag + b" (a) = " + digest + b"0",
                   tag + b" (a) = " + digest[:-1] + b"g",
                   tag + b" (a) = " + digest + b" ", tag + b" a) = " + digest, b"MD5 (a) = " + digest,
                   b"(a) = " + digest,
                   tag.lower() + b" (a) = " + digest, b" " + tag + b" (a) = " + digest, tag + b"  (a) = " + digest,
                   b"\\" + tag + b" (a\\x) = " + digest, tag + b" (a\0) = " + digest,
                   tag + b" (" + b"a" * 70_000 + b") = " + digest,
                   tag, b"GOST94", b"\xff" * 100, bytes(100)]
            for line in some(bad, 2):
                with self.subTest(command=command, line=line[:60]):
                    self.check(command, line + b"\n" + b, 1, "b: OK\n",
                               "line 1 of 'list' is malformed; the format " + self.FORM[command],
                               "'list': 1 malformed line")
            self.check(command, b + bad[1] + b"\n" + bad[2], 1, "b: OK\n", "line 2 of 'list'", "line 3 of 'list'",
                       "2 malformed lines")
            self.check(command, b"nonsense", 1, "", options=["--status"])
            self.check(command, b"nonsense\n" + b, 1, "", "line 1", "1 malformed line", options=["--quiet"])

    def test_lists_of_other_digests_are_rejected(self):
        self.check("hash", self.vrx("sha1", "a"), 1, "", "line 1", "1 malformed line")
        self.check("hash", self.vrx("sha1", "--tag", "a"), 1, "", "line 1", "1 malformed line")
        self.check("sha1", self.vrx("hash", "--tag", "a"), 1, "", "line 1", "1 malformed line")

    def test_an_empty_list_fails(self):
        for command in ("hash", "sha1"):
            self.check(command, b"", 1, "", "'list' has no lines to check")

    def test_missing_files(self):
        os.mkdir(self.path("folder"))
        for command, a, _ in list(self.each()):
            none, folder = (re.sub(rb"\ba\b(?!.*\ba\b)", name, a) for name in (b"none", b"folder"))
            self.check(command, a + none, 2, "a: OK\nnone: FAILED open or read\n", "cannot open 'none'",
                       "1 file could not be read")
            self.check(command, a + none, 0, "a: OK\n", options=["--ignore-missing"])
            self.check(command, none, 1, "", "nothing was checked", options=["--ignore-missing"])
            self.check(command, a + folder, 2, "a: OK\nfolder: FAILED open or read\n", "cannot read 'folder': Is a dir",
                       "1 file",
                       options=["--ignore-missing"])
            self.check(command, a + none, 2, "", "cannot open 'none'", options=["--status"])
            self.write("a", b"First")
            self.check(command, a + none, 1, "a: FAILED\nnone: FAILED open or read\n", "cannot open 'none'",
                       "1 digest did not",
                       "1 file could not")
            self.write("a", b"first")

    def test_several_lists(self):
        for command, a, b in list(self.each()):
            self.write("one", a)
            self.write("two", b)
            self.assertEqual(self.vrx(command, "-c", "one", "two"), b"a: OK\nb: OK\n")
            self.refused(command, "-c", "none", "two", code=2, out=b"b: OK\n", says="cannot open 'none'")
            self.refused(command, "-c", ".", "two", code=2, out=b"b: OK\n", says="cannot read '.'")


if __name__ == "__main__":
    main()
