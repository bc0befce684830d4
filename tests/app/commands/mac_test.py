"""vrx mac: lists, and their verification."""

import os
import subprocess

from program import KEY, ProgramTest, main

MAC = ["mac", "--key", "key"]
FORM = "is malformed; the format is 16 hexadecimal digits, two blanks and a file name"


class MacTest(ProgramTest):
    """Create two files, and store their MACs in `mac`."""

    def setUp(self):
        super().setUp()
        self.write("a", b"first")
        self.write("b", bytes(1_000_000))
        self.mac = {name: self.vrx(*MAC, stdin=self.read(name))[:16] for name in ("a", "b")}

    def line(self, name):
        return self.mac[name] + b"  " + os.fsencode(name) + b"\n"


class Lists(MacTest):
    def test_a_line_for_each_file(self):
        self.assertEqual(self.vrx(*MAC, "a", "b", "a"), self.line("a") + self.line("b") + self.line("a"))
        self.assertEqual(self.vrx(*MAC, "./a"), self.mac["a"] + b"  ./a\n")

    def test_standard_input_is_called_dash(self):
        self.assertEqual(self.vrx(*MAC, stdin=b"first"), self.mac["a"] + b"  -\n")
        self.assertEqual(self.vrx(*MAC, "b", "-", stdin=b"first"), self.line("b") + self.mac["a"] + b"  -\n")

    def test_macs_depend_on_key_and_options(self):
        self.write("other", KEY[::-1], 0o600)
        outputs = [self.vrx(*MAC, "b")]
        for options in (["--no-mesh"], ["--params", "B"], ["--iv", "0000000000000001"], ["--key", "other"]):
            outputs.append(self.vrx(*MAC, *options, "b"))
        self.assertEqual(len(set(outputs)), len(outputs))
        self.assertEqual(self.vrx(*MAC, "--iv", "0" * 16, "b"), outputs[0])

    def test_names_are_escaped_as_sha256sum_does(self):
        names = [b"back\\slash", b"line\nend", b"carriage\rreturn", b"\\n", b"plain \xff\xfe bytes", b"[list,of]",
                 b"++"]
        for name in names:
            self.write(name, b"first")
        listed = self.vrx(*MAC, "--", *names)
        expected = subprocess.run(["sha256sum", "--", *names], cwd=self.folder, capture_output=True, check=True).stdout
        self.assertEqual([line[16 + line.startswith(b"\\") :] for line in listed.splitlines()],
                         [line[64 + line.startswith(b"\\") :] for line in expected.splitlines()])
        self.write("list", listed)
        done = self.run_vrx(*MAC, "--check", "list")
        self.assertEqual((done.code, done.err), (0, b""))
        self.assertEqual(done.out.splitlines(),
                         [line[:1].strip(b"0123456789abcdef") + line[18 + line.startswith(b"\\") :] + b": OK"
                                                 for line in listed.splitlines()])

    def test_an_unreadable_file_does_not_stop_the_rest(self):
        os.mkdir(self.path("folder"))
        self.write("empty", b"")
        done = self.run_vrx(*MAC, "none", "a", "folder", "empty", "b")
        self.assertEqual((done.code, done.out), (2, self.line("a") + self.line("b")))
        errors = done.err.decode().splitlines()
        self.assertEqual(len(errors), 3)
        self.assertIn("cannot open 'none'", errors[0])
        self.assertIn("cannot read 'folder': Is a directory", errors[1])
        self.assertIn("'empty' is empty, and an empty message has no MAC", errors[2])

    def test_a_list_in_a_file(self):
        self.vrx(*MAC, "-o", "list", "a", "b")
        self.assertEqual(self.read("list"), self.line("a") + self.line("b"))

    def test_wrong_use(self):
        self.refused("mac", "a", says="a key is needed, --key FILE")
        self.refused(*MAC, "--quiet", "a", says="belong to --check")
        self.refused(*MAC, "--check", "-o", "out", "a", says="--out has no meaning with --check")
        self.refused(*MAC, "--mode", "gfb", "a", says="no option '--mode'")
        self.refused(*MAC, "--tag", "a", says="no option '--tag'")


class Checks(MacTest):
    def check(self, content, code, out, *errors, options=()):
        """Verify a list. `errors`: the text that each line on standard error must contain."""
        self.write("list", content)
        done = self.run_vrx(*MAC, "--check", *options, "list")
        self.assertEqual((done.code, done.out.decode()), (code, out), done.err)
        lines = done.err.decode().splitlines()
        self.assertEqual(len(lines), len(errors), lines)
        for line, text in zip(lines, errors):
            self.assertTrue(line.startswith("vrx: "))
            self.assertIn(text, line)

    def test_a_good_list(self):
        good = self.line("a") + self.line("b")
        self.check(good, 0, "a: OK\nb: OK\n")
        self.check(good.replace(b"\n", b"\r\n"), 0, "a: OK\nb: OK\n")
        self.check(good[:-1], 0, "a: OK\nb: OK\n")
        self.check(good.replace(b"  ", b" *"), 0, "a: OK\nb: OK\n")
        self.check(good.replace(b"  ", b" "), 0, "a: OK\nb: OK\n")
        self.check(self.line("a").upper().replace(b"A\n", b"a\n"), 0, "a: OK\n")
        self.check(good, 0, "", options=["--quiet"])
        self.check(good, 0, "", options=["--status"])

    def test_any_wrong_bit_fails(self):
        value = int(self.mac["a"], 16)
        for bit in range(64):
            self.check(b"%016x  a\n" % (value ^ 1 << bit), 1, "a: FAILED\n", "'list': 1 MAC did not match")

    def test_a_changed_file_fails(self):
        good = self.line("a") + self.line("b")
        self.write("a", b"First")
        self.check(good, 1, "a: FAILED\nb: OK\n", "'list': 1 MAC did not match")
        self.check(good, 1, "a: FAILED\n", "1 MAC did not match", options=["--quiet"])
        self.check(good, 1, "", options=["--status"])
        self.write("a", b"")
        self.check(good, 1, "a: FAILED\nb: OK\n", "'a' is empty", "1 MAC did not match")

    def test_the_wrong_key_fails(self):
        self.write("list", self.line("a"))
        self.write("key", KEY[::-1], 0o600)
        self.refused(*MAC, "--check", "list", code=1, out=b"a: FAILED\n", says="1 MAC did not match")

    def test_any_malformed_line_fails(self):
        mac = self.mac["a"]
        bad = [b"", b" ", b"# comment", mac, mac + b" ", mac + b"  ", mac + b"\ta", mac[:-1] + b"  a", mac + b"0  a",
               mac[:-1] + b"g  a", b" " + mac + b"  a", b"\\" + mac + b"  a\\", b"\\" + mac + b"  a\\t", mac + b"  a\0",
               b"MAC (a) = " + mac, b" (a) = " + mac, mac + b"  " + b"a" * 70_000]
        for line in bad:
            with self.subTest(line=line[:40]):
                self.check(line + b"\n" + self.line("b"), 1, "b: OK\n", "line 1 of 'list' " + FORM, "1 malformed line")
        self.check(self.line("b") + bad[1] + b"\n" + bad[2], 1, "b: OK\n", "line 2 of 'list'", "line 3 of 'list'",
                   "2 malformed lines")
        self.check(b"nonsense", 1, "", options=["--status"])

    def test_an_empty_list_fails(self):
        self.check(b"", 1, "", "'list' has no lines to check")

    def test_missing_files(self):
        good = self.line("a") + self.mac["a"] + b"  none\n"
        self.check(good, 2, "a: OK\nnone: FAILED open or read\n", "cannot open 'none'", "1 file could not be read")
        self.check(good, 0, "a: OK\n", options=["--ignore-missing"])
        self.check(self.mac["a"] + b"  none\n", 1, "", "nothing was checked", options=["--ignore-missing"])
        os.mkdir(self.path("folder"))
        self.check(self.mac["a"] + b"  folder\n", 2, "folder: FAILED open or read\n", "cannot read 'folder'",
                   "1 file could",
                   options=["--ignore-missing"])

    def test_a_failed_check_outranks_a_missing_file(self):
        self.check(self.mac["b"] + b"  a\n" + self.mac["a"] + b"  none\n", 1, "a: FAILED\nnone: FAILED open or read\n",
                   "cannot open 'none'", "1 MAC did not match", "1 file could not be read")

    def test_several_lists_and_standard_input(self):
        self.write("one", self.line("a"))
        self.write("two", self.line("b"))
        self.assertEqual(self.vrx(*MAC, "-c", "one", "two"), b"a: OK\nb: OK\n")
        self.assertEqual(self.vrx(*MAC, "-c", stdin=self.line("b")), b"b: OK\n")
        self.refused(*MAC, "-c", "none", "two", code=2, out=b"b: OK\n", says="cannot open 'none'")
        self.write("dash", self.mac["a"] + b"  -\n")
        self.assertEqual(self.vrx(*MAC, "-c", "dash", stdin=b"first"), b"-: OK\n")

    def test_options_must_be_those_of_the_list(self):
        listed = self.vrx(*MAC, "--params", "test", "--iv", "0123456789abcdef", "b")
        self.check(listed, 0, "b: OK\n", options=["--params", "test", "--iv", "0123456789abcdef"])
        self.check(listed, 1, "b: FAILED\n", "did not match", options=["--params", "test"])


if __name__ == "__main__":
    main()
