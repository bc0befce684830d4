"""File names that could deceive the reader of a terminal: control, direction and zero-width characters."""

import os
import re
import unicodedata

import certificates as x509
from every_command import EveryCommand
from program import ProgramTest, main

HOSTILE = ["\x1b[2Jgone", "\x1b]0;title\x07", "bell\x07", "back\b\bspace", "\u009b2J", "gpj\u202eexe",
           "\u2066isolate\u2069",
           "zero\u200bwidth", "\ufeffmark", "line\u2028separator", "soft\u00adhyphen", "tag\U000e0041", "\x7f"]
RAW = [b"c1\x9b2J", b"\x85"]


class Harmless:
    """A check for tests: a text has no character that could deceive its reader."""

    def expect_harmless(self, name, *texts):
        for text in texts:
            self.assertNotIn(name, text)
            self.assertFalse(any(c < 0x20 and c != 0x0A or c == 0x7F for c in text), text)
            characters = text.decode("utf-8", "surrogateescape")
            self.assertFalse([c for c in characters if c in "\u202e\u2066\u2069\u200b\ufeff\u2028\u00ad\U000e0041"
                              or "\x7f" <= c < "\xa0" or "\udc80" <= c < "\udca0"], text)


class HostileNames(Harmless, ProgramTest):
    def names_of(self):
        return [name.encode() for name in HOSTILE] + RAW

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

    def test_every_invisible_character_is_escaped(self):
        visible = {0x600, 0x601, 0x602, 0x603, 0x604, 0x605, 0x6dd, 0x70f, 0x890, 0x891, 0x8e2, 0x110bd, 0x110cd}
        characters = [chr(c) for c in range(1, 0x110000) if unicodedata.category(chr(c)) in ("Cc", "Cf", "Zl", "Zp")
                      and c not in visible and chr(c) != "\n"]
        characters += [chr(c) for c in (0x34f, 0x115f, 0x1160, 0x17b4, 0x17b5, 0x180b, 0x180f, 0x3164, 0xfe00, 0xfe0f,
                                        0xffa0, 0xe0100, 0xe01ef)]  # those that programs need not draw
        self.assertGreater(len(characters), 200)
        done = self.run_vrx("hash", "x".join(characters))
        shown = done.err.decode()
        self.assertEqual([f"{ord(c):x}" for c in characters if c in shown], [])

    def test_names_in_other_scripts_are_unchanged(self):
        for name in ("имя", "名前", "café", "العربية", "a b"):
            self.write(name, b"text")
            self.assertTrue(self.vrx("hash", name).decode().endswith("  " + name + "\n"))
            self.assertIn(f"'{name}x'".encode(), self.run_vrx("hash", name + "x").err)


class HostileArguments(Harmless, EveryCommand):
    VALUES = [b"\x1b[2J' all is well \x9b", "\u202egpj\u200b\ufeff".encode(), b"\x85\r\x07\x7f"]

    def bases(self):
        """One valid command line for each command. None of them writes binary data to standard output."""
        lines = {}
        texts = ("verify", "hash", "sha1", "mac", "hmac", "diversify", "inspect", "params")
        for line, _ in self.commands():
            if "-o" in line or "--out" in line or line[0] in texts:
                lines.setdefault(line[0], line)
        lines["speed"] = ["speed", "--seconds", "0.1"]
        return lines

    def test_the_value_of_every_option(self):
        tried = 0
        for command, base in self.bases().items():
            options = re.findall(r"^  (?:-\w, |    )(--[\w-]+) [A-Z]+  ", self.vrx(command, "--help").decode(), re.M)
            for option in options:
                for value in self.VALUES:
                    done = self.run_vrx(*base, option, value)
                    self.expect_harmless(value, done.err, done.out)
                    self.remove_output()
                    tried += 1
        self.assertGreater(tried, 150)

    def test_options_operands_commands_and_topics(self):
        for value in self.VALUES:
            for command, base in self.bases().items():
                if command == "speed":
                    continue
                for more in ([b"--" + value], [b"-" + value], [value], [value, value]):
                    done = self.run_vrx(*base, *more)
                    self.expect_harmless(value, done.err, done.out)
                    self.remove_output()
            for line in ([value], [b"-" + value], ["help", value], ["help", "sign", value]):
                done = self.run_vrx(*line)
                self.assertEqual(done.code, 2)
                self.expect_harmless(value, done.err, done.out)

    def test_names_of_authorities_and_labels(self):
        for hostile in HOSTILE:
            name = x509.name((x509.COMMON_NAME, x509.text("0c", "A" + hostile + "B")))
            other = x509.name((x509.COMMON_NAME, x509.text("0c", "C" + hostile + "D")))
            for subject, issuer, begin in ((name, name, "200101000000Z"), (name, other, "200101000000Z"),
                                           (name, name, "880101000000Z")):
                self.sign_document("ca", self.certified("root.pem", subject=subject, issuer=issuer, begin=begin,
                                                        extensions=[x509.authority(), x509.key_usage("56")]))
                self.sign_document("cert", self.certified("pem", issuer=name, subject=other,
                                                          extensions=[x509.key_usage("0")]))
                for update in ("200102000000Z", "20880101000000Z"):
                    self.sign_document("crl", x509.element("30", "020101", x509.GOST_SIGNATURE, name,
                                                           x509.time(update)))
                    for form in ([], ["--status"]):
                        done = self.run_vrx("verify", "--cert", "cert", "--ca", "ca", "--crl", "crl", "-S", "signature",
                                            *form, "in")
                        self.assertIn(done.code, (0, 1), done.err)
                        self.expect_harmless(hostile.encode(), done.out, done.err)
                self.expect_harmless(hostile.encode(), self.run_vrx("inspect", "ca", "cert").out)
            label = b"X" + hostile.encode() + b"'Y"
            self.write("labelled", b"-----BEGIN " + label + b"-----\nAAAA\n-----END " + label + b"-----\n")
            verify = ["verify", "text", "-S", "signature"]
            for command in (["inspect"], ["pubkey"], ["hash", "--check"], ["mac", "--check", "-k"],
                            ["mac", "text", "-k"], [*verify, "-k"], [*verify, "--cert"]):
                done = self.run_vrx(*command, "labelled")
                self.expect_harmless(hostile.encode(), done.out, done.err)


if __name__ == "__main__":
    main()
