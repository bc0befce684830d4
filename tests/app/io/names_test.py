"""File names that could deceive the reader of a terminal: control, direction and zero-width characters."""

import os

from program import ProgramTest, main

HOSTILE = ["\x1b[2Jgone", "\x1b]0;title\x07", "bell\x07", "back\b\bspace", "\u009b2J", "gpj\u202eexe",
           "\u2066isolate\u2069",
           "zero\u200bwidth", "\ufeffmark", "line\u2028separator", "soft\u00adhyphen", "tag\U000e0041", "\x7f"]
RAW = [b"c1\x9b2J", b"\x85"]


class HostileNames(ProgramTest):
    def names_of(self):
        return [name.encode() for name in HOSTILE] + RAW

    def expect_harmless(self, name, *texts):
        for text in texts:
            self.assertNotIn(name, text)
            self.assertFalse(any(c < 0x20 and c != 0x0A or c == 0x7F for c in text), text)
            characters = text.decode("utf-8", "surrogateescape")
            self.assertFalse([c for c in characters if c in "\u202e\u2066\u2069\u200b\ufeff\u2028\u00ad\U000e0041"
                              or "\x7f" <= c < "\xa0" or "\udc80" <= c < "\udca0"], text)

    def test_messages(self):
        for name in self.names_of():
            done = self.run_vrx("hash", name)
            self.assertEqual(done.code, 2)
            self.expect_harmless(name, done.err)

    def test_listings_and_checks(self):
        for name in self.names_of():
            self.write(name, b"text")
            for command in (["hash"], ["hash", "--tag"], ["sha1"], ["hmac", "--key", "key"], ["mac", "--key", "key"]):
                listed = self.vrx(*command, "--", name)
                self.assertTrue(listed.startswith(b"\\"), listed)
                self.write("list", listed)
                check = [option for option in command if option != "--tag"]
                done = self.run_vrx(*check, "--check", "list")
                self.assertEqual((done.code, done.err), (0, b""))
                self.expect_harmless(name, listed, done.out)
            os.unlink(self.path(name))
            done = self.run_vrx(*check, "--check", "list")
            self.expect_harmless(name, done.out, done.err)

    def test_unescaped_names_in_lists_of_other_programs(self):
        digest = self.vrx("hash", "key")[:64]
        for name in self.names_of():
            self.write(name, self.read("key"))
            self.write("list", digest + b"  " + name + b"\n")
            done = self.run_vrx("hash", "--check", "list")
            self.assertEqual(done.code, 0, done.err)
            self.expect_harmless(name, done.out)

    def test_inspection_and_signatures(self):
        self.vrx("keypair", "--curve", "A", "--out", "pem")
        self.vrx("pubkey", "-o", "pub", "pem")
        for name in self.names_of():
            self.write(name, self.read("pub"))
            self.expect_harmless(name, self.vrx("inspect", name))
            self.vrx("sign", "--key", "pem", "-o", "sig", name)
            self.expect_harmless(name, self.vrx("verify", "--key", "pub", "-S", "sig", name))

    def test_quotation_marks_and_backslashes_are_escaped(self):
        done = self.run_vrx("hash", "a': No such file; all is well 'b")
        self.assertIn(b"cannot open 'a\\': No such file; all is well \\'b': ", done.err)
        done = self.run_vrx("hash", "a\\")
        self.assertIn(b"cannot open 'a\\\\': ", done.err)

    def test_names_in_other_scripts_are_unchanged(self):
        for name in ("имя", "名前", "café", "العربية", "a b"):
            self.write(name, b"text")
            self.assertTrue(self.vrx("hash", name).decode().endswith("  " + name + "\n"))
            self.assertIn(f"'{name}x'".encode(), self.run_vrx("hash", name + "x").err)


if __name__ == "__main__":
    main()
