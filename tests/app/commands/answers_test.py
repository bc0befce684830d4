"""Compares the program with published answers, and with a plain model for every parameter set and mode."""

import json
import random

import gost
import kat
from program import ProgramTest, main, sampled, some

MODES = {"ecb": "ss", "cnt": "gamm", "cfb": "gfb", "cbc": "cbc"}


class Answers(ProgramTest):
    def setUp(self):
        super().setUp()
        self.built_in = json.loads(self.vrx("params", "--json"))
        self.tables = {s["name"]: s["table"] for s in self.built_in["sbox_sets"]}

    def set_options(self, answer):
        """The options that select the S-boxes of an answer: a cipher parameter set or a table."""
        names = [s["name"] for s in self.built_in["cipher_parameter_sets"]]
        sbox = answer.pop("sbox", None)
        if sbox in names:
            return ["--params", sbox]
        if sbox is None:
            table = answer.pop("sbox_octets")
        else:
            hash_set = next(s for s in self.built_in["hash_parameter_sets"] if s["name"] == sbox)
            table = self.tables[hash_set["sboxes"]]
        self.write("table", table.encode())
        return ["--table", "table"]

    def test_published_answers(self):
        kinds = set()
        for answer in kat.answers("app/cipher.kat"):
            with self.subTest(answer.source):
                kind = answer.pop("type")
                kinds.add(kind)
                self.write("key", answer.octets("key"), 0o600)
                options = ["--key", "key", *self.set_options(answer)]
                options += ["--mesh" if answer.pop("meshing", "none") == "cryptopro" else "--no-mesh"]
                if "iv" in answer:
                    options += ["--iv", answer.pop("iv")]
                if kind == "mac":
                    message, mac = answer.message(), answer.pop("mac")
                    self.assertEqual(self.vrx("mac", *options, stdin=message)[: len(mac)].decode(), mac)
                else:
                    plain, cipher = answer.octets("plaintext"), answer.octets("ciphertext")
                    options += ["--mode", MODES[kind]]
                    self.assertEqual(self.vrx("encrypt", *options, stdin=plain), cipher)
                    self.assertEqual(self.vrx("decrypt", *options, stdin=cipher), plain)
                self.assertEqual(answer, {}, "lines that nothing read")
        self.assertEqual(kinds, {"mac", *MODES})

    @sampled
    def test_every_set_and_mode_equals_the_model(self):
        seed = random.randrange(2**32)
        source = random.Random(seed)
        for parameters in self.built_in["cipher_parameter_sets"]:
            table = self.tables[parameters["sboxes"]]
            for mode in ("ss", "gamm", "gfb", "cbc"):
                for mesh in some((None, True, False), 3):
                    with self.subTest(seed=seed, set=parameters["short"], mode=mode, mesh=mesh):
                        size = source.choice([8, 1024, 1032, 2056])
                        if mode in ("gamm", "gfb"):
                            size -= source.randrange(8)
                        self.check(source, parameters, table, mode, mesh, size)

    def check(self, source, parameters, table, mode, mesh, size):
        key, iv, data = source.randbytes(32), source.randbytes(8), source.randbytes(size)
        self.write("key", key, 0o600)
        options = ["--key", "key", "--params", parameters["short"]]
        if mode != parameters["mode"]:
            options += ["--mode", mode]
        if mesh is not None:
            options += ["--mesh" if mesh else "--no-mesh"]
        if mode != "ss":
            options += ["--iv", iv.hex()]
        meshing = parameters["key_meshing"] if mesh is None else mesh
        expected = gost.encrypt(table, key, mode, meshing, iv, data)
        self.assertEqual(self.vrx("encrypt", *options, stdin=data), expected)
        self.assertEqual(self.vrx("decrypt", *options, stdin=expected), data)

    @sampled
    def test_mac_equals_the_model(self):
        seed = random.randrange(2**32)
        source = random.Random(seed)
        for parameters in self.built_in["cipher_parameter_sets"]:
            table = self.tables[parameters["sboxes"]]
            for size in some((1, 7, 8, 9, 1023, 1024, 1025, 2060), 4):
                with self.subTest(seed=seed, set=parameters["short"], size=size):
                    key, iv, data = source.randbytes(32), source.randbytes(8), source.randbytes(size)
                    self.write("key", key, 0o600)
                    options = ["--key", "key", "--params", parameters["short"]]
                    expected = gost.mac(table, key, parameters["key_meshing"], data)
                    self.assertEqual(self.vrx("mac", *options, stdin=data).decode(), expected.hex() + "  -\n")
                    expected = gost.mac(table, key, parameters["key_meshing"], data, iv)
                    out = self.vrx("mac", *options, "--iv", iv.hex(), stdin=data)
                    self.assertEqual(out.decode(), expected.hex() + "  -\n")


if __name__ == "__main__":
    main()
