"""vrx keypair, pubkey, sign, verify, agree and diversify: known answers, other programs, and invalid files."""

import base64
import json
import os

import gost
import kat
from digests import set_name
from program import main, sampled, some
from signatures import ORDER, SignatureTest, flipped

CURVES = ["A", "B", "C", "XchA", "XchB", "Test"]
UKM = "5172be25f852a233"
HASH_SETS = [bytes.fromhex("06072a850302021e0" + digit) for digit in "01"]


def curve_name(full):
    """The short name of a curve that known answers name in full."""
    middle = full.removeprefix("id-GostR3410-2001-").removesuffix("ParamSet").removesuffix("-")
    return middle.removeprefix("CryptoPro-")


class Answers(SignatureTest):
    def test_public_keys_of_private_keys(self):
        for answer in kat.answers("ecc/keys.kat"):
            if "private" not in answer or "public" not in answer:
                continue
            with self.subTest(answer.source):
                curve = curve_name(answer["curve"])
                self.write("raw", answer.octets("private"), 0o600)
                out = self.vrx("pubkey", "--format", "raw", "--curve", curve, "raw")
                self.assertEqual(out, answer.octets("public"))

    def test_agreed_keys(self):
        for answer in kat.answers("ecc/vko.kat"):
            with self.subTest(answer.source):
                self.write("mine", answer.octets("private"), 0o600)
                self.write("theirs", answer.octets("public"))
                out = self.vrx("agree", "--key", "mine", "--peer", "theirs", "--format", "raw", "--curve",
                               curve_name(answer["curve"]), "--ukm", answer["ukm"], "--set", set_name(answer["sbox"]))
                self.assertEqual(out.decode(), answer["kek"] + "\n")

    def test_diversified_keys(self):
        built_in = json.loads(self.vrx("params", "--json"))
        tables = {s["name"]: s["table"] for s in built_in["sbox_sets"]}
        for answer in kat.answers("ecc/keywrap.kat"):
            # These answers use S-boxes of a hash, which the command does not offer. They test the model instead.
            if "diversified" in answer:
                model = gost.diversify(tables["tz_0"], answer.octets("kek"), answer.octets("ukm"))
                self.assertEqual(model, answer.octets("diversified"))
        key = bytes(range(32))
        for entry in built_in["cipher_parameter_sets"]:
            out = self.vrx("diversify", "--key", "key", "--ukm", UKM, "--params", entry["short"])
            self.assertEqual(bytes.fromhex(out.decode()),
                             gost.diversify(tables[entry["sboxes"]], key, bytes.fromhex(UKM)))

    def test_the_example_of_rfc_4491_is_read_and_written(self):
        # RFC 4491, section 4.2: the public key of the certificate
        text = ("-----BEGIN PUBLIC KEY-----\n"
                "MGMwHAYGKoUDAgITMBIGByqFAwICJAAGByqFAwICHgEDQwAEQISVaHVgAhpAdQjN\n"
                "E4wxiSz95QUDekNc9G0rD+dPMn5Xj+vMFrmViAPQmnyFrg/kjeqmu35Wx8uw3w9m\n"
                "vMrqGmA=\n"
                "-----END PUBLIC KEY-----\n")
        private = "770f04919816afaf56da6d6d78425bf368ab6b1a6385e7da2b08d050e03b290b"
        self.write("raw", bytes.fromhex(private), 0o600)
        octets = self.vrx("pubkey", "--format", "raw", "--curve", "XchA", "raw")
        self.assertIn(octets, base64.b64decode("".join(text.split("\n")[1:-2])))
        # The same key in PKCS #8: as plain octets, as an OCTET STRING, and as an INTEGER.
        head = "020100301c06062a8503020213301206072a850302022400" + "06072a850302021e01"
        for value in (private, "0420" + private, "0220" + bytes.fromhex(private)[::-1].hex()):
            body = head + f"04{len(value) // 2:02x}" + value
            self.write("p8", self.pem("PRIVATE KEY", bytes.fromhex(f"30{len(body) // 2:02x}" + body)), 0o600)
            self.assertEqual(self.vrx("pubkey", "p8").decode(), text)

    def test_published_keys_are_read_in_every_form(self):
        forms = 0
        for answer in kat.answers("keyfile/published.kat"):
            der, point, kind = answer.octets("der"), answer.pop("public", None), answer.pop("kind")
            names = [answer.pop(name, None) for name in ("name", "curve", "hash", "d", "x", "y")]
            for content in (der, self.pem(kind.upper() + " KEY", der)):
                self.write("key", content, 0o600)
                if kind == "public":
                    self.assertIn(b"a public key of GOST R 34.10-2001", self.vrx("inspect", "key"), names)
                elif point is not None:
                    forms += 1
                    self.assertEqual(self.der_point("key").hex(), point, names)
                else:
                    self.assertEqual(len(self.der_point("key")), 64, names)
        self.assertEqual(forms, 14)

    def test_an_integer_must_be_in_its_shortest_form(self):
        head = "020100301c06062a8503020213301206072a850302022301" + "06072a850302021e01"

        def write(value, behind=""):
            body = head + f"04{len(value) // 2:02x}" + value + behind
            self.write("p8", self.pem("PRIVATE KEY", bytes.fromhex(f"30{len(body) // 2:02x}" + body)), 0o600)

        for number in ("01", "7f" * 31, "00" + "80" * 32, "00ff"):
            write(f"02{len(number) // 2:02x}" + number)
            self.write("raw", bytes.fromhex(number)[::-1].ljust(33, b"\0")[:32], 0o600)
            self.assertEqual(self.der_point("p8"), self.vrx("pubkey", "--format", "raw", "--curve", "A", "raw"), number)
        for number in ("", "00", "0001", "0000ff", "80", "ff" * 32, "01" + "00" * 32, "00" + "80" * 33):
            write(f"02{len(number) // 2:02x}" + number)
            self.refused("pubkey", "p8", says="'p8' is not a private key")
        for behind, good in (("a000", True), ("a0020500", True), ("0500", False), ("a0", False), ("a00000", False)):
            write("02017f", behind)
            if good:  # attributes
                self.der_point("p8")
            else:
                self.refused("pubkey", "p8", says="'p8' is not a private key")

    def test_an_octet_string_is_read_with_or_without_the_zeros_at_its_end(self):
        head = "020100301c06062a8503020213301206072a850302022301" + "06072a850302021e01"

        def write(octets):
            value = f"04{len(octets):02x}" + octets.hex()
            body = head + f"04{len(value) // 2:02x}" + value
            self.write("p8", self.pem("PRIVATE KEY", bytes.fromhex(f"30{len(body) // 2:02x}" + body)), 0o600)

        for size in (1, 2, 16, 29, 31, 32):
            octets = bytes(range(128 - size, 128))
            self.write("raw", octets.ljust(32, b"\0"), 0o600)
            for form in (octets, octets.ljust(32, b"\0")):
                write(form)
                self.assertEqual(self.der_point("p8"), self.vrx("pubkey", "--format", "raw", "--curve", "A", "raw"),
                                 size)
        for octets in (b"", b"\0", b"\x01\0", bytes(range(1, 31)) + b"\0", bytes(range(1, 34))):
            write(octets)
            self.refused("pubkey", "p8", says="'p8' is not a private key")

    def der_point(self, name):
        self.write("point", self.vrx("pubkey", name))
        return self.der("point")[-64:]

    def test_signatures_of_certificates_and_messages(self):
        verified = 0
        for answer in kat.answers("ecc/signatures.kat"):
            if answer["type"] != "signature":
                continue
            with self.subTest(answer.source):
                self.write("letter", answer.message())
                self.write("sig", answer.octets("signature"))
                self.write("raw", answer.octets("public"))
                options = ["--format", "raw", "--curve", curve_name(answer["curve"]), "--set", set_name(answer["sbox"])]
                self.valid(*options, key="raw")
                self.write("letter", self.read("letter") + b"\0")
                self.invalid(*options, key="raw")
                verified += 1
        self.assertGreater(verified, 5)


class RoundTrips(SignatureTest):
    def test_every_curve_in_both_forms(self):
        for curve in CURVES:
            for form in ((), ("--format", "raw")):
                with self.subTest(curve=curve, form=form):
                    self.pair("a", curve, *form)
                    self.assertEqual(self.mode("a.key"), 0o600)
                    more = [*form, "--curve", curve] if form else []
                    self.vrx("sign", "--key", "a.key", *more, "--out", "sig", "letter")
                    self.assertEqual(len(self.read("sig")), 64)
                    self.valid(*more)
                    self.write("other", b"Dear reader.\n")
                    self.invalid(*more, letter="other")
                    for name in ("a.key", "a.pub", "sig"):
                        os.remove(self.path(name))

    def test_forms_of_a_signature(self):
        self.pair("a", "A")
        self.write("hex", self.vrx("sign", "-k", "a.key", "--hex", "letter"))
        self.assertRegex(self.read("hex"), rb"\A[0-9a-f]{128}\n\Z")
        self.write("base64", self.vrx("sign", "-k", "a.key", "--base64", "letter"))
        self.assertEqual(len(base64.b64decode(self.read("base64"), validate=False)), 64)
        self.write("raw", bytes.fromhex(self.read("hex").decode()))
        for form in ("hex", "base64", "raw"):
            self.valid(signature=form)
        self.refused("sign", "-k", "a.key", "--hex", "--base64", "letter", says="exclude each other")

    def test_empty_input_and_the_other_set(self):
        self.pair("a", "B")
        self.write("empty", b"")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "empty")
        self.valid(letter="empty")
        self.vrx("sign", "-k", "a.key", "--set", "test", "-o", "sig", "letter")
        self.valid("--set", "test")
        self.invalid()

    @sampled
    def test_every_flipped_bit_of_a_signature_is_detected(self):
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        for _, bad in flipped(self.read("sig")):
            self.write("bad", bad)
            self.invalid(signature="bad")

    @sampled
    def test_every_flipped_bit_of_the_data_is_detected(self):
        self.pair("a", "XchB")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        for _, bad in flipped(self.read("letter")):
            self.write("changed", bad)
            self.invalid(letter="changed")

    def test_another_key_does_not_verify(self):
        self.pair("a", "A")
        self.pair("b", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        self.valid()
        self.invalid(key="b.pub")

    def test_numbers_out_of_range_are_refused(self):
        # On this curve s + q also has 256 bits. It satisfies the verification equation but is out of range.
        q = ORDER["Test"]
        self.pair("a", "Test")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        good = self.read("sig")
        s, r = (int.from_bytes(half, "big") for half in (good[:32], good[32:]))
        for numbers in ((s + q, r), (s, r + q), (q, r), (s, q), (0, r), (s, 0), (0, 0), (q - s, r)):
            self.write("bad", b"".join(number.to_bytes(32, "big") for number in numbers))
            self.invalid(signature="bad")
        self.valid()

    def test_curves_go_by_every_name(self):
        self.pair("a", "CryptoPro-XchA")
        for name in ("xcha", "XchA", "1.2.643.2.2.36.0", "id-GostR3410-2001-CryptoPro-XchA-ParamSet"):
            self.assertEqual(self.vrx("pubkey", "--curve", name, "a.key"), self.read("a.pub"))
        self.refused("pubkey", "--curve", "A", "a.key", says="on the curve XchA, not on 'A'")

    def test_newlines_and_comments_around_a_key(self):
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        key = self.read("a.pub")
        for same in (key[:-1], key.replace(b"\n", b"\r\n"), b"Anna's key\n" + key + b"---\n",
                     key.replace(b"=", b"=\n\n")):
            self.write("same", same)
            self.valid(key="same")

    def test_pem_and_der_hold_the_same_and_are_told_apart(self):
        self.vrx("keypair", "--curve", "B", "--format", "der", "--out", "der.key")
        self.assertEqual(self.mode("der.key"), 0o600)
        self.write("pem.key", self.pem("PRIVATE KEY", self.read("der.key")), 0o600)
        for form in ("der", "pem"):
            self.vrx("pubkey", "--format", form, "-o", "a.pub", "der.key")
            self.assertEqual(self.vrx("pubkey", "--format", form, "pem.key"), self.read("a.pub"))
            for key in ("der.key", "pem.key"):
                self.vrx("sign", "-k", key, "-o", "sig", "letter")
                self.valid()
        self.assertEqual(self.pem("PUBLIC KEY", self.vrx("pubkey", "--format", "der", "pem.key")).replace(b"\n", b""),
                         self.read("a.pub").replace(b"\n", b""))

    def test_keys_from_standard_input(self):
        self.pair("a", "C")
        self.assertEqual(self.vrx("pubkey", stdin=self.read("a.key")), self.read("a.pub"))
        self.write("sig", self.vrx("sign", "-k", "-", "letter", stdin=self.read("a.key")))
        self.valid()
        out = self.vrx("verify", "-k", "a.pub", "-S", "sig", stdin=self.read("letter"))
        self.assertEqual(out, b"standard input: the signature is valid\n")

    def test_both_sides_agree(self):
        for curve in CURVES:
            with self.subTest(curve):
                self.pair("a" + curve, curve)
                self.pair("b" + curve, curve)
                left = self.vrx("agree", "-k", f"a{curve}.key", "-p", f"b{curve}.pub", "--ukm", UKM)
                right = self.vrx("agree", "-k", f"b{curve}.key", "-p", f"a{curve}.pub", "--ukm", UKM)
                self.assertEqual(left, right)
                self.assertRegex(left, rb"\A[0-9a-f]{64}\n\Z")
        self.vrx("agree", "-k", "aA.key", "-p", "bA.pub", "--ukm", UKM, "--out", "shared")
        self.assertEqual((self.mode("shared"), len(self.read("shared"))), (0o600, 32))
        self.refused("agree", "-k", "aA.key", "-p", "bA.pub", "--ukm", UKM, "--out", "shared", says="exists already")

    def test_diversified_keys_depend_on_key_and_material(self):
        results = {self.vrx("diversify", "-k", "key", "--ukm", ukm) for ukm in (UKM, "0" * 16, "f" * 16)}
        results.add(self.vrx("diversify", "-k", "key", "--ukm", UKM, "--params", "B"))
        self.assertEqual(len(results), 4)
        self.assertEqual(self.read("key"), bytes(range(32)))


class OpenSsl(SignatureTest):
    def openssl(self, *arguments):
        done = self.tool("openssl", *arguments)
        self.assertEqual(done.code, 0, done.err)
        return done

    def test_keys_and_signatures_go_both_ways(self):
        if self.tool("openssl", "engine", "gost").code != 0:
            self.skipTest("openssl has no engine gost")
        for curve in CURVES:
            with self.subTest(curve):
                self.their_pair(curve)
                self.assertEqual(self.vrx("pubkey", "theirs.key"), self.read("theirs.pub"))
                self.openssl("dgst", "-engine", "gost", "-md_gost94", "-sign", "theirs.key", "-out", "sig", "letter")
                self.valid(key="theirs.pub")
                self.pair(curve, curve)
                self.openssl("pkey", "-engine", "gost", "-in", curve + ".key", "-pubout", "-out", "same.pub")
                self.assertEqual(self.read("same.pub"), self.read(curve + ".pub"))
                self.vrx("sign", "-k", curve + ".key", "-o", "sig", "letter")
                self.openssl("dgst", "-engine", "gost", "-md_gost94", "-verify", curve + ".pub", "-signature", "sig",
                             "letter")

    def test_agreed_keys_are_the_same(self):
        if self.tool("openssl", "engine", "gost").code != 0:
            self.skipTest("openssl has no engine gost")
        for curve in CURVES:
            with self.subTest(curve):
                self.their_pair(curve)
                self.pair(curve, curve)
                self.openssl("pkeyutl", "-engine", "gost", "-derive", "-inkey", "theirs.key", "-peerkey",
                             curve + ".pub",
                             "-pkeyopt", "ukmhex:" + UKM, "-out", "shared")
                self.vrx("agree", "-k", curve + ".key", "-p", "theirs.pub", "--ukm", UKM, "--out", curve + ".shared")
                self.assertEqual(self.read(curve + ".shared"), self.read("shared"))

    def their_pair(self, curve):
        name = {"Test": "0"}.get(curve, curve.replace("Xch", "X"))
        self.openssl("genpkey", "-engine", "gost", "-algorithm", "gost2001", "-pkeyopt", "paramset:" + name,
                     "-out", "theirs.key")
        self.openssl("pkey", "-engine", "gost", "-in", "theirs.key", "-pubout", "-out", "theirs.pub")
        os.chmod(self.path("theirs.key"), 0o600)


class WrongFiles(SignatureTest):
    def setUp(self):
        super().setUp()
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")

    def test_swapped_keys(self):
        self.refused("sign", "-k", "a.pub", "letter", says="'a.pub' holds a public key where a private one is needed")
        self.refused("verify", "-k", "a.key", "-S", "sig", "letter",
                     says="'a.key' holds a private key where a public one is needed")
        self.refused("agree", "-k", "a.pub", "-p", "a.pub", "--ukm", UKM, says="'a.pub' holds a public key")
        self.refused("agree", "-k", "a.key", "-p", "a.key", "--ukm", UKM, says="'a.key' holds a private key")
        self.refused("pubkey", "a.pub", says="'a.pub' holds a public key where a private one is needed")

    def test_swapped_and_misnamed_files_of_raw_keys(self):
        raw = ["--format", "raw", "--curve", "A"]
        self.pair("r", "A", "--format", "raw")
        self.refused("sign", "-k", "r.pub", *raw, "letter", says="'r.pub' holds 64 bytes; a raw private key is 32")
        self.refused("verify", "-k", "r.key", *raw, "-S", "sig", "letter",
                     says="'r.key' holds 32 bytes; a raw public key is 64")
        self.refused("sign", "-k", "r.key", "letter", says="'r.key' is not a complete key file in PEM")
        self.refused("pubkey", "a.key", *raw, says="'a.key' holds")
        self.refused("verify", "-k", "r.pub", "--format", "raw", "--curve", "B", "-S", "sig", "letter",
                     says="'r.pub' holds a point that is not on the curve B")

    def test_keys_of_other_kinds(self):
        self.write("bad", self.der("a.key")[:-1], 0o600)
        self.refused("sign", "-k", "bad", "letter", says="'bad' is not a complete key file in PEM or DER")
        self.write("bad", self.pem("ENCRYPTED PRIVATE KEY", self.der("a.key")), 0o600)
        self.refused("sign", "-k", "bad", "letter", says="'bad' is an encrypted key, but damaged")
        self.write("bad", self.pem("RSA PRIVATE KEY", self.der("a.key")), 0o600)
        self.refused("sign", "-k", "bad", "letter", says="'bad' is not a private key of GOST R 34.10-2001")
        newer = self.der("a.key").replace(bytes.fromhex("06062a8503020213"), bytes.fromhex("06062a8503020214"))
        self.write("bad", self.pem("PRIVATE KEY", newer), 0o600)
        self.refused("sign", "-k", "bad", "letter",
                     says=["'bad' is not a private key of GOST R 34.10-2001", "but of GOST R 34.10-94; name another"])
        self.write("bad", self.pem("CERTIFICATE", self.der("a.pub")))
        self.refused("verify", "-k", "bad", "-S", "sig", "letter",
                     says=["'bad' holds a certificate where a public key is needed", "vrx verify --cert"])
        self.refused("sign", "-k", "none", "letter", says="cannot open 'none'")
        self.refused("sign", "-k", ".", "letter", says="cannot read '.'")

    @sampled
    def test_truncated_and_excess_octets(self):
        for name, label, command in (("a.key", "PRIVATE KEY", ["sign", "-k", "bad", "letter"]),
                                     ("a.pub", "PUBLIC KEY", ["verify", "-k", "bad", "-S", "sig", "letter"])):
            octets = self.der(name)
            for bad in [octets[:size] for size in some(range(len(octets)))] + [octets + b"\0", octets + octets]:
                self.write("bad", self.pem(label, bad), 0o600)
                self.refused(*command, says="'bad' is not a")
            text = self.read(name)
            for size in some(range(len(text) - 1)):
                self.write("bad", text[:size], 0o600)
                self.refused(*command, says="'bad' is not a complete key file")

    @sampled
    def test_every_flipped_bit_around_a_private_number_is_detected(self):
        octets = self.der("a.key")
        curve = octets.index(bytes.fromhex("06072a8503020223")) + 8
        for place, bad in flipped(octets, range(len(octets) - 32)):
            if place == curve or HASH_SETS[0] in bad:
                continue  # another valid key
            self.write("bad", self.pem("PRIVATE KEY", bad), 0o600)
            self.refused("sign", "-k", "bad", "letter", says="'bad' is not a private key")

    def test_truncated_and_changed_keys(self):
        for name, command in (("a.key", ["sign", "-k", "bad", "letter"]),
                              ("a.pub", ["verify", "-k", "bad", "-S", "sig", "letter"])):
            good = self.read(name)
            lines = good.split(b"\n")
            for bad in (b"", b"nonsense\n", good[:-10], good[:60], good + good, b"\n".join(lines[:1] + lines[2:]),
                        good.replace(b"MEM", b"ME=").replace(b"MGM", b"MG="), good.replace(b"-----END", b"-----and")):
                if bad == good:
                    continue
                self.write("bad", bad, 0o600)
                self.refused(*command, says="'bad'")

    @sampled
    def test_every_flipped_bit_of_a_public_key_is_detected(self):
        octets = self.der("a.pub")
        for _, bad in flipped(octets):
            self.write("bad", self.pem("PUBLIC KEY", bad))
            if bad == octets.replace(HASH_SETS[1], HASH_SETS[0]):  # --set selects it
                self.valid(key="bad")
            else:
                self.refused("verify", "-k", "bad", "-S", "sig", "letter", says="'bad'")

    def test_numbers_that_are_not_valid_keys(self):
        q = ORDER["A"]
        for d in (0, q, q + 1, 2**256 - 1):
            self.write("bad", d.to_bytes(32, "little"), 0o600)
            self.refused("pubkey", "--format", "raw", "--curve", "A", "bad",
                         says="not a valid private key on the curve A")
        p = 2**256 - 617
        for point in (bytes(64), (1).to_bytes(32, "little") * 2, (p + 1).to_bytes(32, "little") + bytes(32)):
            self.write("bad", point)
            self.refused("verify", "-k", "bad", "--format", "raw", "--curve", "A", "-S", "sig", "letter",
                         says="not on the curve A")

    def test_coordinates_that_are_not_reduced(self):
        # On this curve, p can be added to both coordinates. The result is the same point, but its coordinates are not
        # reduced modulo p.
        p = 2**255 + 0x431
        raw = ["--format", "raw", "--curve", "Test"]
        self.pair("r", "Test", "--format", "raw")
        self.vrx("sign", "-k", "r.key", *raw, "-o", "sig", "letter")
        self.valid(*raw, key="r.pub")
        x, y = (int.from_bytes(half, "little") for half in (self.read("r.pub")[:32], self.read("r.pub")[32:]))
        for point in ((x + p, y), (x, y + p), (x + p, y + p)):
            self.write("bad", b"".join(number.to_bytes(32, "little") for number in point))
            self.refused("verify", "-k", "bad", *raw, "-S", "sig", "letter", says="not on the curve Test")

    def test_raw_keys_of_another_length_and_without_a_curve(self):
        self.write("bad", bytes(31), 0o600)
        self.refused("pubkey", "--format", "raw", "--curve", "A", "bad", says=["'bad' holds 31 bytes", "is 32"])
        self.write("bad", bytes(32), 0o600)
        self.refused("pubkey", "--format", "raw", "bad", says="--curve NAME")
        self.refused("pubkey", "--format", "jpeg", "bad", says="use pem, der or raw")
        self.refused("pubkey", "--curve", "B", "a.key", says=["on the curve A", "not on 'B'"])

    def test_a_signature_file_may_have_1024_bytes(self):
        text = base64.b64encode(self.read("sig"))
        self.write("long", text.ljust(1024, b"\n"))
        self.vrx("verify", "-k", "a.pub", "-S", "long", "letter")
        self.write("long", text.ljust(1025, b"\n"))
        self.refused("verify", "-k", "a.pub", "-S", "long", "letter", says="'long' is not a signature")

    def test_malformed_signature_files(self):
        good = self.read("sig")
        text = base64.b64encode(good)
        for bad in (b"", good[:-1], good + b"x", b"00" * 63, b"00" * 65, b"zz" * 64, text[:-1], text[:-4],
                    text + b"AAAA",
                    text[:-2] + b"A=", text.replace(b"=", b"-"), text + b" " * 2000, self.read("a.pub"),
                    bytes(100_000)):
            self.write("bad", bad)
            self.refused("verify", "-k", "a.pub", "-S", "bad", "letter", says="'bad' is not a signature")

    def test_commands_name_what_they_need(self):
        for command in ("sign", "verify"):
            self.refused(command, says="is needed")

    def test_only_the_owner_can_read_new_keys(self):
        for mask in (0o000, 0o777):
            self.vrx("keypair", "--curve", "A", "--out", f"new{mask}", umask=mask)
            self.assertEqual(self.mode(f"new{mask}"), 0o600)
        self.assertNotEqual(self.read("new0"), self.read("new511"))
        os.chmod(self.path("new0"), 0o644)
        done = self.run_vrx("pubkey", "new0")
        self.assertEqual(done.code, 0)
        self.assertIn(b"warning: others than its owner have access to the key file 'new0'", done.err)

    def test_a_key_file_is_never_overwritten_nor_read_twice(self):
        before = self.read("a.key")
        self.refused("keypair", "--curve", "A", "--out", "a.key", says="exists already")
        self.refused("pubkey", "-o", "a.key", "a.key", says="a.key")
        self.refused("sign", "-k", "a.key", "-o", "a.key", "letter", says="a.key")
        self.refused("sign", "-k", "-", "-", says="standard input")
        self.assertEqual(self.read("a.key"), before)


if __name__ == "__main__":
    main()
