"""vrx genkey, pubkey, sign, verify, agree and diversify: answers, other programs, and files that are not what they should be."""

import base64
import os
import random

import kat
from digests import HashTest, set_name
from program import main

CURVES = ["A", "B", "C", "XchA", "XchB", "Test"]
UKM = "5172be25f852a233"


def curve_name(full):
    """The short name of a curve that known answers name in full."""
    return full.removeprefix("id-GostR3410-2001-").removesuffix("-ParamSet").removesuffix("ParamSet").removeprefix("CryptoPro-")


class SignatureTest(HashTest):
    def setUp(self):
        super().setUp()
        self.write("letter", b"Dear reader\n")

    def pair(self, name, curve, *form):
        self.vrx("genkey", "--curve", curve, *form, "--out", name + ".key")
        self.vrx("pubkey", *form, *(["--curve", curve] if form else []), "-o", name + ".pub", name + ".key")

    def valid(self, *options, signature="sig", key="a.pub", letter="letter"):
        out = self.vrx("verify", "--key", key, "--signature", signature, *options, letter)
        self.assertEqual(out.decode(), f"'{letter}': the signature is valid\n")

    def invalid(self, *options, signature="sig", key="a.pub", letter="letter"):
        done = self.run_vrx("verify", "--key", key, "--signature", signature, *options, letter)
        self.assertEqual((done.code, done.out.decode(), done.err), (1, f"'{letter}': the signature is NOT valid\n", b""))


class Answers(SignatureTest):
    def test_public_keys_of_private_ones(self):
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
        # The same as PKCS #8: plain octets, an OCTET STRING of them, an INTEGER.
        head = "020100301c06062a8503020213301206072a850302022400" + "06072a850302021e01"
        for value in (private, "0420" + private, "0220" + bytes.fromhex(private)[::-1].hex()):
            body = head + f"04{len(value) // 2:02x}" + value
            self.write("p8", self.pem("PRIVATE KEY", bytes.fromhex(f"30{len(body) // 2:02x}" + body)), 0o600)
            self.assertEqual(self.vrx("pubkey", "p8").decode(), text)

    @staticmethod
    def pem(label, octets):
        text = base64.encodebytes(octets).decode()
        return f"-----BEGIN {label}-----\n{text}-----END {label}-----\n".encode()


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

    def test_every_flipped_bit_of_a_signature_is_noticed(self):
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        good = self.read("sig")
        for bit in random.sample(range(512), 24):
            bad = bytearray(good)
            bad[bit // 8] ^= 1 << bit % 8
            self.write("bad", bytes(bad))
            self.invalid(signature="bad")

    def test_numbers_out_of_range_are_refused(self):
        q = 0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")
        good = self.read("sig")
        # s + q would pass the equation of verification, but is not a number that a signer writes.
        s = int.from_bytes(good[:32], "big")
        forged = [bytes(64), bytes(32) + good[32:], good[:32] + bytes(32), q.to_bytes(32, "big") + good[32:],
                  good[:32] + q.to_bytes(32, "big")]
        if s + q < 2**256:
            forged.append((s + q).to_bytes(32, "big") + good[32:])
        for bad in forged:
            self.write("bad", bad)
            self.invalid(signature="bad")

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
                name = curve.replace("Xch", "X")
                if curve != "Test":
                    self.openssl("genpkey", "-engine", "gost", "-algorithm", "gost2001", "-pkeyopt", "paramset:" + name,
                                 "-out", "theirs.key")
                    self.openssl("pkey", "-engine", "gost", "-in", "theirs.key", "-pubout", "-out", "theirs.pub")
                    self.assertEqual(self.vrx_warned("pubkey", "theirs.key"), self.read("theirs.pub"))
                    self.openssl("dgst", "-engine", "gost", "-md_gost94", "-sign", "theirs.key", "-out", "sig", "letter")
                    self.valid(key="theirs.pub")
                self.pair(curve, curve)
                self.openssl("pkey", "-engine", "gost", "-in", curve + ".key", "-pubout", "-out", "same.pub")
                self.assertEqual(self.read("same.pub"), self.read(curve + ".pub"))
                self.vrx("sign", "-k", curve + ".key", "-o", "sig", "letter")
                self.openssl("dgst", "-engine", "gost", "-md_gost94", "-verify", curve + ".pub", "-signature", "sig", "letter")

    def vrx_warned(self, *arguments):
        """Others made the file, so that it may be readable by all."""
        done = self.run_vrx(*arguments)
        self.assertEqual(done.code, 0, done.err)
        return done.out


class WrongFiles(SignatureTest):
    def setUp(self):
        super().setUp()
        self.pair("a", "A")
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")

    def test_swapped_keys(self):
        self.refused("sign", "-k", "a.pub", "letter", says="'a.pub' holds a public key where a private one is needed")
        self.refused("verify", "-k", "a.key", "-S", "sig", "letter",
                     says="'a.key' holds a private key where a public one is needed")

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

    def test_every_changed_octet_of_a_public_key_is_refused(self):
        octets = base64.b64decode(b"".join(self.read("a.pub").split(b"\n")[1:-2]))
        digest_set = range(25, 32)
        for place in range(len(octets)):
            bad = bytearray(octets)
            bad[place] ^= 0x10
            self.write("bad", Answers.pem("PUBLIC KEY", bytes(bad)))
            if place in digest_set:  # named in the key, but not used
                self.valid(key="bad")
            else:
                self.refused("verify", "-k", "bad", "-S", "sig", "letter", says="'bad'")

    def test_numbers_that_are_no_keys(self):
        q = 0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893
        for d in (0, q, q + 1, 2**256 - 1):
            self.write("bad", d.to_bytes(32, "little"), 0o600)
            self.refused("pubkey", "--format", "raw", "--curve", "A", "bad", says="no private key on the curve A")
        p = 2**256 - 617
        for point in (bytes(64), (1).to_bytes(32, "little") * 2, (p + 1).to_bytes(32, "little") + bytes(32)):
            self.write("bad", point)
            self.refused("verify", "-k", "bad", "--format", "raw", "--curve", "A", "-S", "sig", "letter",
                         says="not on the curve A")

    def test_raw_keys_of_another_length_and_without_a_curve(self):
        self.write("bad", bytes(31), 0o600)
        self.refused("pubkey", "--format", "raw", "--curve", "A", "bad", says=["'bad' holds 31 bytes", "is 32"])
        self.write("bad", bytes(32), 0o600)
        self.refused("pubkey", "--format", "raw", "bad", says="--curve NAME")
        self.refused("pubkey", "--format", "jpeg", "bad", says="use pem or raw")
        self.refused("genkey", "--curve", "D", "--out", "new", says="use A, B, C, XchA, XchB or Test")
        self.refused("pubkey", "--curve", "B", "a.key", says=["on the curve A", "not on 'B'"])

    def test_signatures_of_another_form(self):
        for bad in (b"", self.read("sig")[:-1], self.read("sig") + b"x", b"00" * 63, b"zz" * 64):
            self.write("bad", bad)
            self.refused("verify", "-k", "a.pub", "-S", "bad", "letter", says="'bad' is not a signature")

    def test_agreement_asks_for_one_curve_and_material(self):
        self.pair("b", "B")
        self.refused("agree", "-k", "a.key", "-p", "b.pub", "--ukm", UKM, says="different curves, A and B")
        self.refused("agree", "-k", "a.key", "-p", "a.pub", "--ukm", "0" * 16, says="zeros")
        self.refused("agree", "-k", "a.key", "-p", "a.pub", "--ukm", "12", says="16 hexadecimal digits")
        self.refused("diversify", "-k", "key", "--ukm", "xyz", says="16 hexadecimal digits")
        for command in ("agree", "diversify", "sign", "verify"):
            self.refused(command, says="is needed")

    def test_a_key_file_is_never_overwritten_nor_read_twice(self):
        before = self.read("a.key")
        self.refused("genkey", "--curve", "A", "--out", "a.key", says="exists already")
        self.refused("pubkey", "-o", "a.key", "a.key", says="a.key")
        self.refused("sign", "-k", "a.key", "-o", "a.key", "letter", says="a.key")
        self.refused("sign", "-k", "-", "-", says="standard input")
        self.assertEqual(self.read("a.key"), before)


if __name__ == "__main__":
    main()
