"""vrx keygen, params, help and version; forms of options; the language of messages."""

import json
import os
import re
import subprocess

from program import PROGRAM, ProgramTest, main

COMMANDS = ["encrypt", "decrypt", "mac", "hmac", "hash", "sha1", "derive", "keygen", "keypair", "pubkey", "sign",
            "verify",
            "cms show", "cms sign", "cms verify", "agree", "diversify", "inspect", "params", "speed"]


class KeyGeneration(ProgramTest):
    def test_a_new_key_is_32_bytes_that_only_its_owner_can_read(self):
        for mask in (0o000, 0o022, 0o777):
            self.vrx("keygen", "--out", f"new{mask}", umask=mask)
            self.assertEqual(self.mode(f"new{mask}"), 0o600)
            self.assertEqual(len(self.read(f"new{mask}")), 32)
        self.assertNotEqual(self.read("new0"), self.read("new18"))

    def test_a_key_works_in_both_formats(self):
        self.vrx("keygen", "--hex", "-o", "hex")
        text = self.read("hex")
        self.assertRegex(text, rb"\A[0-9a-f]{64}\n\Z")
        self.assertEqual(self.mode("hex"), 0o600)
        self.write("raw", bytes.fromhex(text.decode()), 0o600)
        self.assertEqual(self.vrx("mac", "-k", "hex", "key"), self.vrx("mac", "-k", "raw", "key"))


class Parameters(ProgramTest):
    def test_json_holds_everything_built_in(self):
        built_in = json.loads(self.vrx("params", "--json"))
        sets = built_in["cipher_parameter_sets"]
        self.assertEqual([s["oid"] for s in sets], [f"1.2.643.2.2.31.{i}" for i in range(10)])
        self.assertEqual([s["oid_der"] for s in sets], [f"06072a850302021f{i:02x}" for i in range(10)])
        self.assertEqual([s["mode"] for s in sets], (["gamm"] + ["gfb"] * 4) * 2)
        self.assertEqual([s["key_meshing"] for s in sets], [False] + [True] * 4 + [False] * 5)
        self.assertEqual([s["sboxes"] for s in sets], ["tz_test", "tz_a", "tz_b", "tz_c", "tz_d"] * 2)
        self.assertEqual([s["short"] for s in sets if s["default"]], ["A"])
        hashes = built_in["hash_parameter_sets"]
        self.assertEqual([(s["oid"], s["sboxes"]) for s in hashes],
                         [("1.2.643.2.2.30.0", "tz_0"), ("1.2.643.2.2.30.1", "tz_1")])
        self.assertEqual([s["default"] for s in hashes], [False, True])
        self.assertEqual([s["short"] for s in hashes], ["test", "cryptopro"])
        tables = {s["name"]: s["table"] for s in built_in["sbox_sets"]}
        self.assertEqual(sorted(tables), ["tz_0", "tz_1", "tz_a", "tz_b", "tz_c", "tz_d", "tz_test"])
        for table in tables.values():
            for box in range(8):  # each S-box is a permutation
                self.assertEqual(sorted(table[box::8]), sorted("0123456789ABCDEF"))
        # RFC 4357, section 11.2, id-GostR3411-94-TestParamSet: K1 of this set
        self.assertEqual(tables["tz_0"][0::8], "4A92D80E6B1C7F53")
        self.assertEqual([(c["short"], c["oid"]) for c in built_in["curves"]],
                         [("Test", "1.2.643.2.2.35.0"), ("A", "1.2.643.2.2.35.1"), ("B", "1.2.643.2.2.35.2"),
                          ("C", "1.2.643.2.2.35.3"), ("XchA", "1.2.643.2.2.36.0"), ("XchB", "1.2.643.2.2.36.1")])
        self.assertEqual(built_in["curves"][4]["oid_der"], "06072a850302022400")
        self.assertEqual([(m["number"], m["name"], m["iv"], m["whole_blocks"]) for m in built_in["modes"]],
                         [(1, "ss", False, True), (2, "gamm", True, False), (3, "gfb", True, False),
                          (4, "cbc", True, True)])

    def test_the_table_lists_everything_built_in(self):
        text = self.vrx("params").decode()
        built_in = json.loads(self.vrx("params", "--json"))
        for entry in built_in["cipher_parameter_sets"] + built_in["hash_parameter_sets"] + built_in["curves"]:
            line = next(line for line in text.splitlines() if entry["name"] in line)
            for value in (entry["oid"], entry["short"], entry.get("sboxes", ""), entry.get("mode", "")):
                self.assertIn(value, line)
            self.assertEqual(line.startswith("*"), entry.get("default", False))
        for entry in built_in["sbox_sets"] + built_in["modes"]:
            self.assertIn("\n  " + entry["name"] + " ", text)
        self.assertLess(max(len(line) for line in text.splitlines()), 120)

    def test_into_a_file(self):
        self.vrx("params", "-o", "list")
        self.assertEqual(self.read("list"), self.vrx("params"))


class Help(ProgramTest):
    def test_the_overview(self):
        text = self.vrx("help")
        self.assertEqual(self.vrx("--help"), text)
        self.assertEqual(self.vrx("-h"), text)
        for command in COMMANDS:
            self.assertIn(b"\n  " + command.encode() + b" ", text)
        self.assertIn(b"\nExample:\n", text)

    def test_every_command_explains_itself(self):
        for command in COMMANDS:
            text = self.vrx("help", *command.split())
            self.assertEqual(self.vrx(*command.split(), "--help"), text)
            self.assertEqual(self.vrx(command, "--key", "none", "-h") if command in COMMANDS[:4] else text, text)
            self.assertTrue(text.startswith(b"Usage: vrx " + command.encode() + b" [OPTIONS]"))
            self.assertIn(b"\n  vrx " + command.encode(), text.split(b"\nExample:")[1])
            self.assertLess(max(len(line) for line in text.splitlines()), 121)

    def test_topics(self):
        overview = self.vrx("help").decode()
        topics = re.findall(r"^  (\S+)  ", overview.split("\nTopics:\n")[1].split("\n\n")[0], re.MULTILINE)
        self.assertEqual(topics, ["start", "keys", "formats", "parameters", "byte-orders", "exit-codes", "secrets",
                                  "terminals"])
        for topic in topics:
            text = self.vrx("help", topic).decode()
            self.assertTrue(text.startswith(topic.replace("-", " ").capitalize() + "\n\n"), topic)
            self.assertLess(max(len(line) for line in text.splitlines()), 81)
            self.assertTrue(text.isascii())
            for command in re.findall(r"'vrx (?!help)((?:cms )?[a-z]+)", text):
                self.assertIn(command, COMMANDS)
            for mentioned in re.findall(r"vrx help ([a-z-]+)", text):
                self.assertIn(mentioned, topics)
        self.assertEqual(self.vrx("help", "help"), overview.encode())

    def test_examples_run(self):
        self.write("letter.txt", b"Dear reader")
        os.mkdir(self.path("folder"))
        os.remove(self.path("key"))
        folder = os.path.dirname(PROGRAM)
        self.write("disk.iso", b"many bytes")
        for command in ("encrypt", "decrypt", "mac", "hmac", "hash", "sha1", "params", "speed"):
            example = self.vrx("help", command).decode().split("\nExample:\n")[1]
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", example], cwd=self.folder, capture_output=True,
                                  env={**os.environ, "PATH": folder + ":" + os.environ["PATH"]}, check=False)
            self.assertEqual((done.returncode, done.stderr), (0, b""), example)
        self.assertIn("letter.enc", self.names())
        for command in ("keygen", "keypair", "pubkey", "sign", "verify", "agree", "diversify", "inspect"):
            example = self.vrx("help", command).decode().split("\nExample:\n")[1]
            os.mkdir(self.path(command))
            self.write(command + "/letter.txt", b"Dear reader")
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", example], cwd=self.path(command),
                                  capture_output=True,
                                  env={**os.environ, "PATH": folder + ":" + os.environ["PATH"]}, check=False)
            self.assertEqual((done.returncode, done.stderr), (0, b""), example)

    def test_the_version(self):
        text = self.vrx("version").decode()
        self.assertRegex(text, r"\Avrx \d+\.\d+\.\d+\n[^\n]+\n\Z")
        self.assertEqual(self.vrx("--version").decode(), text)


class Options(ProgramTest):
    def test_options_in_all_their_forms(self):
        for name in ("in", "mac", "encrypt", "--help", "-k", "[in]", "++", "-"):
            self.write(name, b"text")
        expected = self.vrx("mac", "--key", "key", "--iv", "0000000000000001", "in")[:16]
        options = ["--key", "key", "--iv", "0000000000000001"]
        for arguments in (["--key=key", "--iv=0000000000000001", "in"], ["-kkey", "in", "--iv", "0000000000000001"],
                          ["in", *options], [*options, "mac"], [*options, "encrypt"], [*options, "--", "--help"],
                          [*options, "--", "-k"], [*options, "[in]"], [*options, "++"], [*options, "./-"],
                          ["--ke", "key", "--iv", "0000000000000001", "in"]):
            self.assertEqual(self.vrx("mac", *arguments)[:16], expected, arguments)

    def test_the_last_of_repeated_options_wins(self):
        self.assertEqual(self.vrx("mac", "--key", "none", "--key", "key", "key"),
                         self.vrx("mac", "--key", "key", "key"))


class Locale(ProgramTest):
    def test_names_are_bytes_in_every_locale(self):
        name = "имя-\xff.txt".encode("latin-1", "replace") + b"\xff\xd0"
        self.write(name, b"text")
        for locale in ("C", "POSIX", "C.UTF-8", "ru_RU.KOI8-R"):
            environment = {"LC_ALL": locale, "LANGUAGE": "ru"}
            listed = self.vrx("mac", "--key", "key", name, env=environment)
            self.assertEqual(listed[18:], name + b"\n")
            self.refused("mac", "--key", "key", name + b"x", env=environment,
                         says=[b"cannot open '" + name + b"x': No such file or directory"])
            self.assertTrue(self.vrx("help", env=environment).isascii())


if __name__ == "__main__":
    main()
