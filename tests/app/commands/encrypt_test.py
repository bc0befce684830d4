"""vrx encrypt and vrx decrypt: keys, options, IVs, lengths."""

import json
import os
import subprocess
import unittest

from program import KEY, PROGRAM, SANITIZED, ProgramTest, main

SHORT_NAMES = ["test", "A", "B", "C", "D", "0S", "SA", "SB", "SC", "SD"]
IV = "0011223344556677"


class RoundTrips(ProgramTest):
    def setUp(self):
        super().setUp()
        with open(PROGRAM, "rb") as file:
            self.data = file.read(700_001)
        self.assertGreater(len(self.data), 100_000)

    def round_trip(self, data, *options):
        self.write("in", data)
        self.vrx("encrypt", "--key", "key", *options, "-o", "enc", "in")
        self.vrx("decrypt", "--key", "key", *options, "-o", "out", "enc")
        self.assertEqual(self.read("out"), data, options)
        self.assertEqual(self.names(), ["enc", "in", "key", "out"])
        return self.read("enc")

    def test_a_real_file_in_every_mode_and_set(self):
        for short in SHORT_NAMES:
            for mode in ("ss", "gamm", "gfb", "cbc"):
                data = self.data[: 100_000] if mode in ("ss", "cbc") else self.data[:100_003]
                with self.subTest(set=short, mode=mode):
                    encrypted = self.round_trip(data, "--params", short, "--mode", mode)
                    self.assertEqual(len(encrypted), len(data) + (0 if mode == "ss" else 8))

    def test_all_small_lengths_and_lengths_around_a_piece(self):
        piece = 256 * 1024
        for length in [*range(20), piece - 9, piece - 8, piece - 1, piece, piece + 1, 2 * piece + 5]:
            with self.subTest(length=length):
                self.round_trip(self.data[:length])

    def test_pipes_with_chunks_of_any_size(self):
        expected = self.vrx("encrypt", "--key", "key", "--iv", IV, stdin=self.data)
        for grain in (1, 7, 8, 4096, 65_537):
            with self.subTest(grain=grain):
                data = self.data[: 3000 if grain < 9 else None]
                process = self.start("encrypt", "--key", "key", "--iv", IV, stdin=subprocess.PIPE,
                                     stdout=subprocess.DEVNULL if grain > 8 else subprocess.PIPE)
                for i in range(0, len(data), grain):
                    process.stdin.write(data[i : i + grain])
                    process.stdin.flush()
                process.stdin.close()
                if grain < 9:
                    self.assertEqual(process.stdout.read(), expected[: len(data)])
                self.assertEqual(process.wait(60), 0)

    def test_a_pipeline(self):
        self.write("in", self.data)
        script = ('"$VRX" encrypt -k key < in | "$VRX" decrypt -k key - | cmp - in')
        done = subprocess.run(["bash", "-o", "pipefail", "-c", script], cwd=self.folder, capture_output=True,
                              check=False,
                              env={**os.environ, "VRX": PROGRAM})
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_whole_blocks_are_written_immediately(self):
        process = self.start("encrypt", "--key", "key", "--iv", IV, stdin=subprocess.PIPE)
        process.stdin.write(b"twelve bytes")
        process.stdin.flush()
        self.assertEqual(len(os.read(process.stdout.fileno(), 100)), 8)
        process.stdin.close()
        self.assertEqual(len(process.stdout.read()), 4)

    def test_a_wrong_key_yields_a_different_plaintext(self):
        encrypted = self.vrx("encrypt", "--key", "key", stdin=b"some plaintext")
        self.write("other", KEY[::-1], 0o600)
        self.assertNotEqual(self.vrx("decrypt", "--key", "other", stdin=encrypted), b"some plaintext")


class Keys(ProgramTest):
    def setUp(self):
        super().setUp()
        self.expected = self.vrx("encrypt", "--key", "key", "--iv", IV, stdin=b"text")

    def test_hexadecimal_keys(self):
        digits = KEY.hex().encode()
        for text in (digits, digits.upper(), digits + b"\n", digits + b"\r\n"):
            self.write("hex", text, 0o600)
            self.assertEqual(self.vrx("encrypt", "--key", "hex", "--iv", IV, stdin=b"text"), self.expected, text)

    def test_keys_of_other_sizes_are_refused(self):
        digits = KEY.hex().encode()
        for content, size in [(b"", "0"), (KEY[:31], "31"), (KEY + b"\n", "33"), (digits[:63], "63"),
                              (digits + b"\r", "65"), (digits + b"\n\n", "66"), (digits + b"\n\r\n", "more than 66"),
                              (bytes(100_000), "more than 66")]:
            self.write("bad", content, 0o600)
            self.refused("encrypt", "--key", "bad", says=["'bad' holds " + size + " bytes", "a key is 32 bytes"])

    def test_an_invalid_digit_is_refused(self):
        self.write("bad", KEY.hex().encode()[:63] + b"g", 0o600)
        self.refused("encrypt", "--key", "bad", says=["'bad'", "not a hexadecimal digit"])

    def test_missing_keys_and_folders(self):
        self.refused("encrypt", says="a key is needed, --key FILE")
        self.refused("encrypt", "--key", "nokey", says=["cannot open 'nokey'", "check the name"])
        self.refused("encrypt", "--key", ".", says=["cannot read '.'", "name a file"])

    def test_a_key_that_others_can_read_draws_a_warning(self):
        for mode in (0o640, 0o604, 0o620, 0o606):
            os.chmod(self.path("key"), mode)
            done = self.run_vrx("encrypt", "--key", "key", "--iv", IV, stdin=b"text")
            self.assertEqual((done.code, done.out), (0, self.expected))
            self.assertIn(b"vrx: warning: others than its owner have access to the key file 'key'", done.err)
            self.assertEqual(done.err.count(b"\n"), 1)
        os.chmod(self.path("key"), 0o400)
        self.vrx("encrypt", "--key", "key", stdin=b"text")

    def test_a_key_from_a_pipe(self):
        self.write("in", b"text")
        self.assertEqual(self.vrx("encrypt", "--key", "-", "--iv", IV, "in", stdin=KEY), self.expected)
        self.assertEqual(self.vrx("encrypt", "--key", "/dev/stdin", "--iv", IV, "in", stdin=KEY), self.expected)
        self.refused("encrypt", "--key", "-", says="standard input cannot be both the key and the data", stdin=KEY)
        self.refused("mac", "--key", "-", "in", "-", says="standard input cannot be both", stdin=KEY)

    @unittest.skipIf(SANITIZED, "sanitizers lock no memory")
    def test_the_key_stays_in_memory(self):
        process = self.start("encrypt", "--key", "key", stdin=subprocess.PIPE)
        process.stdin.write(bytes(8))
        process.stdin.flush()
        self.assertEqual(len(os.read(process.stdout.fileno(), 8)), 8)
        self.assertGreater(self.status_of(process, "VmLck"), 0)


class Options(ProgramTest):
    def encrypt(self, *options, data=bytes(2048)):
        return self.vrx("encrypt", "--key", "key", "--iv", IV, *options, stdin=data)

    def test_parameter_sets_by_all_their_names(self):
        for short, parameters in zip(SHORT_NAMES, json.loads(self.vrx("params", "--json"))["cipher_parameter_sets"]):
            self.assertEqual(short, parameters["short"])
            expected = self.encrypt("--params", short)
            full = parameters["name"]
            names = [short.lower(), short.upper(), parameters["oid"], full, full.upper()]
            if "CryptoPro" in full:
                middle = full.removeprefix("id-Gost28147-89-").removesuffix("-ParamSet")
                names += [middle, middle.lower(), middle.removeprefix("CryptoPro-")]
            for name in names:
                self.assertEqual(self.encrypt("--params", name), expected, name)

    def test_the_default_is_cryptopro_a_with_its_mode_and_meshing(self):
        expected = self.encrypt("--params", "A", "--mode", "gfb", "--mesh")
        self.assertEqual(self.encrypt(), expected)
        self.assertEqual(self.encrypt("--params", "A"), expected)
        self.assertNotEqual(self.encrypt("--no-mesh"), expected)
        self.assertEqual(self.encrypt("--params", "SA"), self.encrypt("--no-mesh"))

    def test_modes_have_common_names(self):
        for name, common in (("ss", "ecb"), ("gamm", "ctr"), ("gfb", "cfb"), ("cbc", "cbc")):
            self.write("blocks", bytes(range(64)))
            both = [self.vrx("encrypt", "--key", "key", *([] if name == "ss" else ["--iv", "00" * 8]), "--mode", mode,
                             "blocks")
                    for mode in (name, common)]
            self.assertEqual(both[0], both[1], name)
            self.assertEqual(len(both[0]), 64)

    def test_errors_spread_only_as_far_as_the_help_says(self):
        text = bytes(range(256)) * 8
        self.write("long", text)

        def wrong(mode, *encryption, change=None, decryption=()):
            """Return the positions where the plaintext differs after decryption with other options or another byte."""
            secret = bytearray(self.vrx("encrypt", "--key", "key", "--mode", mode, *encryption, "long"))
            if change is not None:
                secret[change] ^= 1
            self.write("secret", bytes(secret))
            got = self.vrx("decrypt", "--key", "key", "--mode", mode, *(decryption or encryption), "secret")
            self.assertEqual(len(got), len(text))
            return [place for place, (a, b) in enumerate(zip(got, text)) if a != b]

        iv, other = ("--iv", "00" * 8), ("--iv", "0100000000000000")
        for mode in ("gfb", "cbc"):
            self.assertLess(max(wrong(mode, *iv, decryption=other)), 8, mode)
        self.assertGreater(len(wrong("gamm", *iv, decryption=other)), 1900)
        for mode in ("gamm", "gfb", "cbc"):
            self.assertGreaterEqual(min(wrong(mode, *iv, decryption=(*iv, "--no-mesh"))), 1024, mode)
            self.assertGreater(len(wrong(mode, *iv, decryption=(*iv, "--params", "B"))), 1900, mode)
        self.assertEqual(wrong("gamm", *iv, change=83), [83])
        self.assertEqual(wrong("gfb", *iv, change=83)[0], 83)
        self.assertLess(max(wrong("gfb", *iv, change=83)), 96)
        self.assertEqual(wrong("cbc", *iv, change=83)[-1], 91)
        self.assertGreaterEqual(min(wrong("cbc", *iv, change=83)), 80)
        self.assertTrue(set(wrong("ss", change=83)) <= set(range(80, 88)))

    def test_unknown_names_are_refused(self):
        for name in ("E", "", "1.2.643.2.2.31.10", "id-Gost28147-89-CryptoPro-A", "A "):
            self.refused("encrypt", "--key", "key", "--params", name, says=["no parameter set", "vrx params"])
        for mode in ("ECB", "GFB", "", "3"):
            self.refused("encrypt", "--key", "key", "--mode", mode,
                         says=["no mode", "use ss, gamm, gfb or cbc, or ecb, ctr, cfb"])
        for mode in ("imit", "imito"):
            self.refused("encrypt", "--key", "key", "--mode", mode, says=["is the MAC", "use 'vrx mac'"])
        self.refused("encrypt", "--key", "key", "--mesh", "--no-mesh", says="exclude each other")

    def test_tables(self):
        sets = json.loads(self.vrx("params", "--json"))["sbox_sets"]
        text = next(s["table"] for s in sets if s["name"] == "tz_c").encode()
        # In the numeric form, the first of two digits in the text is the low nibble of the byte.
        numeric = bytes(int(text[i + 1 : i + 2] + text[i : i + 1], 16) for i in range(0, 128, 2))
        expected = self.encrypt("--params", "C")
        for table in (text, text.lower(), text + b"\n", text + b"\r\n", numeric):
            self.write("table", table)
            self.assertEqual(self.encrypt("--table", "table"), expected, table)

    def test_bad_tables_are_refused(self):
        for content, says in [(b"", "holds 0 bytes"), (bytes(63), "holds 63 bytes"), (b"0" * 127, "holds 127 bytes"),
                              (b"0" * 129, "holds 129 bytes"), (b"0" * 200, "holds more than 130 bytes"),
                              (b"0" * 127 + b"G", "character 128 of the table file 'table'"),
                              (b" " + b"0" * 127, "character 1 of"), (b"0" * 64 + b"\0" * 64, "character 65 of")]:
            self.write("table", content)
            self.refused("encrypt", "--key", "key", "--table", "table", says=[says, "'table'"])
        self.refused("encrypt", "--key", "key", "--table", "none", says="cannot open 'none'")


class InitialValues(ProgramTest):
    def test_an_iv_is_drawn_and_written_before_the_data(self):
        first = self.vrx("encrypt", "--key", "key", stdin=b"text")
        second = self.vrx("encrypt", "--key", "key", stdin=b"text")
        self.assertEqual(len(first), 12)
        self.assertNotEqual(first[:8], second[:8])
        raw = self.vrx("encrypt", "--key", "key", "--iv", first[:8].hex().upper(), stdin=b"text")
        self.assertEqual(raw, first[8:])
        self.assertEqual(self.vrx("decrypt", "--key", "key", "--iv", first[:8].hex(), stdin=raw), b"text")
        self.assertEqual(self.vrx("decrypt", "--key", "key", stdin=first), b"text")

    def test_wrong_ivs_are_refused(self):
        for iv in ("", "00", IV[:15], IV + "0", IV[:15] + "x", "0x" + IV[:14]):
            self.refused("encrypt", "--key", "key", "--iv", iv, says="--iv takes 16 hexadecimal digits")

    def test_mode_ss_has_no_iv(self):
        self.assertEqual(len(self.vrx("encrypt", "--key", "key", "--mode", "ss", stdin=bytes(16))), 16)
        done = self.run_vrx("encrypt", "--key", "key", "--mode", "ss", "--iv", IV, stdin=bytes(16))
        self.assertEqual((done.code, len(done.out)), (0, 16))
        self.assertIn(b"warning: mode ss has no IV", done.err)

    def test_an_empty_message(self):
        self.assertEqual(len(self.vrx("encrypt", "--key", "key", stdin=b"")), 8)
        self.assertEqual(self.vrx("encrypt", "--key", "key", "--iv", IV, stdin=b""), b"")
        self.assertEqual(self.vrx("encrypt", "--key", "key", "--mode", "ss", stdin=b""), b"")
        self.assertEqual(self.vrx("decrypt", "--key", "key", stdin=bytes(8)), b"")

    def test_input_too_short_for_an_iv_is_refused(self):
        for size in range(8):
            self.write("in", bytes(size))
            self.refused("decrypt", "--key", "key", "-o", "out", "in",
                         says=["'in' is too short to begin with an IV", "--iv"])
        self.assertEqual(self.names(), ["in", "key"])


class Lengths(ProgramTest):
    def test_partial_blocks_are_refused_in_ss_and_cbc(self):
        for mode in ("ss", "cbc"):
            for size in (1, 9, 300_001):
                self.write("in", bytes(size))
                says = ["'in' is not a multiple of 8 bytes long", "mode " + mode, "use --mode gamm or --mode gfb"]
                for command in ("encrypt", "decrypt"):
                    self.refused(command, "--key", "key", "--mode", mode, "-o", "out", "in", says=says)
                    self.refused(command, "--key", "key", "--mode", mode, "in", says=says)  # nothing on standard output
        self.assertEqual(self.names(), ["in", "key"])

    def test_a_failure_on_piped_input_leaves_no_file(self):
        self.write("out", b"before")
        for mode in ("ss", "cbc"):
            for name in ("out", "new"):
                self.refused("encrypt", "--key", "key", "--mode", mode, "-o", name, stdin=bytes(70_001),
                             says="standard input is not a multiple of 8 bytes long")
        self.assertEqual(self.names(), ["key", "out"])
        self.assertEqual(self.read("out"), b"before")


if __name__ == "__main__":
    main()
