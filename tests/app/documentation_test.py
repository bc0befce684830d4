"""Checks that the manual pages and shell completions are complete, up to date, and well formed."""

import ctypes
import os
import re
import shutil
import subprocess
import sys
import unittest

from program import PROGRAM, SANITIZED, ProgramTest, main

LIBRARY = os.environ.get("VRX_LIBRARY")
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")


def read(*path):
    with open(os.path.join(ROOT, *path), encoding="utf-8") as file:
        return file.read()


def pages(section):
    return sorted(name for name in os.listdir(os.path.join(ROOT, "man")) if name.endswith(f".{section}"))


class DocumentationTest(ProgramTest):
    def listed(self, what):
        overview = self.vrx("help").decode()
        return re.findall(r"^  (\S+(?: \S+)?) {2,}", overview.split(f"\n{what}:\n")[1].split("\n\n")[0], re.MULTILINE)

    def commands(self):
        """Every command that takes options, and the forms of its options."""
        found = {}
        for name in self.listed("Commands"):
            if name not in ("help", "version"):
                part = self.vrx("help", *name.split()).decode().split("\nOptions:\n")[1].split("\n\n")[0]
                lines = re.findall(r"^  (?:(-\w), |    )(--[\w-]+)", part, re.MULTILINE)
                found[name] = [form for forms in lines for form in forms if form]
        return found


class Generated(DocumentationTest):
    def test_the_generated_files_are_up_to_date(self):
        subprocess.run([sys.executable, "-B", os.path.join(ROOT, "gen", "manual.py"), PROGRAM, self.folder], check=True)
        for folder in ("man", os.path.join("app", "completion")):
            names = sorted(os.listdir(self.path(folder).decode()))
            self.assertEqual(names, sorted(os.listdir(os.path.join(ROOT, folder))))
            for name in names:
                with open(os.path.join(self.folder, folder, name), encoding="utf-8") as file:
                    if file.read() != read(folder, name):
                        self.fail(f"{folder}/{name} is out of date: gen/manual.py PROGRAM writes it anew")


class Keys(DocumentationTest):
    def test_no_example_uses_one_key_for_encryption_and_mac(self):
        documents = {name: self.vrx("help", name).decode() for name in self.listed("Commands") + self.listed("Topics")}
        documents["overview"] = self.vrx("help").decode()
        walk = os.walk(os.path.join(ROOT, "docs"))
        found = [os.path.join(folder, name) for folder, _, names in walk for name in names]
        for path in [*found, "README.md", os.path.join("scripts", "demo.sh")]:
            if path.endswith((".md", ".sh")):
                documents[path] = read(path)
        uses = 0
        for name, text in documents.items():
            keys = {purpose: set(re.findall(rf"vrx\"? (?:{purpose})\b[^|\n]*? (?:--key|-k) (\S+)", text))
                    for purpose in ("encrypt|decrypt", "mac|hmac")}
            uses += sum(map(len, keys.values()))
            self.assertEqual(set.intersection(*keys.values()), set(), name)
        self.assertGreater(uses, 20)

    def test_the_help_shows_how_to_get_two_keys_from_one_secret(self):
        text = self.vrx("help", "diversify").decode()
        self.assertIn("To derive two keys from one secret", text)
        example = re.findall(r"vrx diversify --key (\S+) --ukm (\S+) --out (\S+)", text.partition("Example:")[2])
        self.assertEqual(len(example), 2)
        (secret, one, _), (again, other, _) = example
        self.assertEqual(secret, again)
        self.assertNotEqual(one, other)


class Manual(DocumentationTest):
    def test_the_page_of_the_program_names_every_command_option_and_topic(self):
        text = read("man", "vrx.1").replace("\\-", "-")
        sections = {part.split("\n", 1)[0]: part for part in text.split("\n.Ss ")[1:]}
        for command, options in self.commands().items():
            self.assertGreaterEqual(len(options), 2, command)
            for option in options:
                form = f"Fl Fl {option[2:]}" if option.startswith("--") else f"Fl {option[1:]} ,"
                self.assertIn(form, sections[command], (command, option))
        for name in ("help", "version"):
            self.assertIn(name, sections)
        for topic in self.listed("Topics"):
            self.assertIn("\n.Sh EXIT STATUS\n" if topic == "exit-codes" else f"\n.Ss {topic}\n", text)

    def test_every_exported_symbol_has_a_page(self):
        exports = re.sub(r"/\*.*?\*/", "", read("src", "libvrx.map"), flags=re.DOTALL)
        symbols = re.findall(r"^\s+(\w+);", exports, re.MULTILINE)
        self.assertGreater(len(symbols), 150)
        texts = {name: read("man", name) for name in pages(3)}
        words = {name: set(re.findall(r"\w+", text)) for name, text in texts.items()}
        lines = [line.split() for text in texts.values() for line in text.splitlines()]
        named = {line[1] for line in lines if line[:1] == [".Nm"]}
        functions = {line[1] for line in lines if line[:1] == [".Fo"]}
        for symbol in symbols:
            self.assertTrue(any(symbol in of_page for of_page in words.values()), symbol)
        self.assertEqual(functions - named, set())
        self.assertEqual(functions - set(symbols), {
            "vrx_wipe", "vrx_equal", "vrx_error_name", "vrx_strerror", "vrx_open_stream", "vrx_stream_output",
            "vrx_update_stream", "vrx_close_stream", "vrx_system_random", "vrx_hedged_sign", "vrx_check_public_key",
            "vrx_check_private_key",
            "vrx_check_signature", "vrx_read_public_key", "vrx_read_private_key", "vrx_write_public_key",
            "vrx_write_private_key", "vrx_derive_public_key", "vrx_wipe_private_key", "vrx_key_error_name",
            "vrx_key_error_text", "vrx_decode_base64", "vrx_encode_base64", "vrx_decode_pem", "vrx_encode_pem",
            "vrx_parse_public_key", "vrx_parse_private_key"}, "compiled into the caller's program")
        self.assertGreater(len(functions), 120)

    def test_records_and_types_are_names_of_a_page(self):
        headers = "".join(read("include", "vrx", name) for name in os.listdir(os.path.join(ROOT, "include", "vrx"))
                          if name.endswith(".h"))
        headers = re.sub(r"/\*\* @cond \*/.*?/\*\* @endcond \*/", "", headers, flags=re.DOTALL)
        types = re.findall(r"^\} (\w+);|^typedef int \(\*(\w+)\)", headers, re.MULTILINE)
        named = {line.split()[1] for name in pages(3) for line in read("man", name).splitlines()
                 if line.startswith(".Nm ")}
        self.assertEqual({a or b for a, b in types} - named, set())
        self.assertLessEqual({"vrx_data", "RND_FUNC", "vrx_system_random"}, named)

    def test_structures_of_key_files_are_those_that_the_program_writes(self):
        page = read("man", "vrx_formats.5").replace("\\-", "-")
        self.assertIn("1.2.643.2.2.19", page)
        self.vrx("keypair", "--curve", "A", "--format", "der", "--out", "my.key")
        self.vrx("pubkey", "--format", "der", "-o", "my.pub", "my.key")
        oids = "06062a850302021330120607 2a85030202230106072a850302021e01".replace(" ", "")
        info = bytes.fromhex("301c" + oids)
        self.assertEqual(self.read("my.pub")[:2 + len(info)][2:], info)
        self.assertEqual(self.read("my.pub")[2 + len(info):][:5], bytes.fromhex("0343000440"))
        self.assertEqual(self.read("my.key")[2:5 + len(info)], bytes.fromhex("020100") + info)
        self.assertEqual(self.read("my.key")[5 + len(info):][:2], bytes.fromhex("0420"))

    def test_the_record_of_buffers_and_the_random_source_have_entries(self):
        text = "".join(read("man", name) for name in pages(3))
        for entry in ("} vrx_data;", "(*RND_FUNC)(void *buffer, uint32_t length);",
                      '.It Fn vrx_system_random "buffer" "length"'):
            self.assertTrue(entry in text.replace("\\-", "-"), entry)

    def test_pages_of_functions_stand_alone(self):
        for name in pages(3):
            text = read("man", name)
            self.assertEqual(re.findall(r"@\w+|\b(?:as|see) (?:there|in|at)? *\w+\.h", text), [], name)
            prose = [line for line in text.split("\n.Sh EXAMPLES")[0].split("\n") if not line.startswith(".In ")]
            self.assertEqual([line for line in prose if re.search(r"(?<![</])\b(?!vrx\.h)\w+\.h\b", line)], [], name)
            if name == "libvrx.3":
                continue
            sections = dict(part.split("\n", 1) for part in text.split("\n.Sh ")[1:])
            for section in ("RETURN VALUES", "ERRORS", "EXAMPLES"):
                self.assertGreater(len(sections.get(section, "")), 40, f"{name}: {section}")
            functions = re.findall(r"^\.Fo (\w+)", sections["SYNOPSIS"], re.MULTILINE)
            described = re.findall(r"^\.It Fn (\w+)", sections["DESCRIPTION"], re.MULTILINE)
            self.assertEqual(sorted(functions), sorted(described), name)
            words = set(re.findall(r"\w+", sections["RETURN VALUES"]))
            self.assertEqual(set(functions) - words, set(), name)

    def test_examples_on_the_pages_are_tested_programs(self):
        tested = set(re.findall(r"^vrx_example\((\w+\.c)\b", read("examples", "CMakeLists.txt"), re.MULTILINE))
        for name in pages(3):
            for file in re.findall(r"^cc (\w+\.c) ", read("man", name).replace("\\-", "-"), re.MULTILINE):
                self.assertIn(file, tested, name)

    @unittest.skipIf(SANITIZED, "Python cannot load a library with sanitizers")
    def test_object_identifiers_are_those_of_the_tables(self):
        library = ctypes.CDLL(LIBRARY)
        text = "".join(read("man", name) for name in pages(3))
        entries = dict(re.findall(r'^\.It Va (\w+oid|VRX_PAR_\w+_OID)\n(?:\\\(dq)?([\d.]+\d)', text, re.MULTILINE))
        self.assertEqual(len(entries), 12 + 12)
        for name, dotted in entries.items():
            content = bytes((ctypes.c_char * 17).in_dll(library, name)) if name.endswith("_str_oid") else None
            if content is not None:
                self.assertEqual(content.rstrip(b"\0").decode(), dotted, name)
                continue
            der = bytes((ctypes.c_uint8 * 9).in_dll(library, name))
            self.assertEqual(der[:2], bytes((6, 7)))
            numbers, value = [], 0
            for octet in der[2:]:
                value = value << 7 | octet & 127
                if octet < 128:
                    numbers.append(value)
                    value = 0
            numbers = [numbers[0] // 40, numbers[0] % 40, *numbers[1:]]
            self.assertEqual(".".join(map(str, numbers)), dotted, name)

    def test_every_header_has_a_page(self):
        text = "".join(read("man", name) for name in pages(3))
        for header in re.findall(r'#include "(vrx/\w+\.h)"', read("include", "vrx.h")):
            self.assertIn(f".In {header}\n", text)

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_reports_no_errors(self):
        files = [os.path.join(ROOT, "man", name) for name in pages(1) + pages(3) + pages(5)]
        done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", *files], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))


class Bash(DocumentationTest):
    def complete(self, *words):
        """The completions that bash offers for the last word of a command line."""
        script = ('. "$0" && COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) && _vrx && printf "%s\\n" "${COMPREPLY[@]}"')
        file = os.path.join(ROOT, "app", "completion", "vrx.bash")
        done = subprocess.run(["bash", "-euc", script, file, "vrx", *words],
                              cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""), words)
        return done.stdout.split()

    def test_commands(self):
        commands = self.listed("Commands")
        self.assertEqual(sorted(self.complete("")),
                         sorted({name.split()[0] for name in commands} | {"--help", "--version"}))
        for group in {name.split()[0] for name in commands if " " in name}:
            members = sorted(name.split()[1] for name in commands if name.startswith(group + " "))
            self.assertEqual(sorted(self.complete(group, "")), members)
            self.assertEqual(sorted(self.complete("help", group, "")), members)
        self.assertEqual(sorted(self.complete("ha")), ["hash"])
        self.assertEqual(sorted(self.complete("gen")), [])
        self.assertEqual(sorted(self.complete("key")), ["keygen", "keypair"])
        self.assertEqual(sorted(self.complete("help", "")),
                         sorted({name.split()[0] for name in commands} | set(self.listed("Topics"))))

    def test_options(self):
        for command, options in self.commands().items():
            self.assertEqual(sorted(self.complete(*command.split(), "--")),
                             sorted(o for o in options if o.startswith("--")), command)
            for option in options:
                self.assertIn(option, self.complete(*command.split(), option))

    def test_values(self):
        curves = ["A", "B", "C", "Test", "XchA", "XchB"]
        for words, values in (
            (["keypair", "--curve", ""], curves), (["genkey", "--curve", ""], curves),
            (["verify", "-c", "X"], ["XchA", "XchB"]),
            (["encrypt", "--mode", "g"], ["gamm", "gfb"]), (["derive", "--kdf", ""], ["pba", "pbkdf2"]),
            (["hash", "--set", "="], ["cryptopro", "test"]), (["hash", "--set", "=", "c"], ["cryptopro"]),
            (["mac", "--params", "S"], ["SA", "SB", "SC", "SD"]), (["pubkey", "--format", ""], ["der", "pem", "raw"])):
            self.assertEqual(sorted(self.complete(*words)), values, words)

    def test_files_are_left_to_bash(self):
        for words in (["encrypt", "--key", ""], ["hash", ""], ["hash", "ke"], ["verify", "--cert", "k"],
                      ["nonsense", "x"], ["hash", "-"], ["derive", "--salt", ""]):
            self.assertEqual(self.complete(*words), [], words)


class Zsh(DocumentationTest):
    def test_every_command_and_option_is_there(self):
        text = read("app", "completion", "_vrx")
        parts = dict(re.findall(r"^ {16}([\w-]+)(?:\|\w+)*\)\n(.*?);;$", text, re.MULTILINE | re.DOTALL))
        for command, options in self.commands().items():
            self.assertIn(f"\n        '{command.split()[-1]}:", text)
            for option in options:
                self.assertRegex(parts[command.replace(" ", "-")], rf"['{{,]{option}[=+\[,}}]", command)

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_parses_it(self):
        file = os.path.join(ROOT, "app", "completion", "_vrx")
        done = subprocess.run(["zsh", "-n", file], capture_output=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, b""))


if __name__ == "__main__":
    main()
