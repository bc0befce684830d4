"""Shared code of the tests of keys, signatures and certificates."""

import base64
import random

from digests import HashTest
from program import WHOLE, some

# The orders of the curves.
ORDER = {"A": 0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893,
         "Test": 0x8000000000000000000000000000000150FE8A1892976154C59CFC193ACCF5B3}


def flipped(octets, places=None):
    """
    Yield copies of octets with one changed bit: in full runs, one bit of each octet, or each bit of at most 64 octets;
    otherwise, one bit of some of the octets. Use it only in tests that are @sampled.
    """
    places = places or range(len(octets))
    for place in some(places, 4):
        for bit in range(8) if WHOLE and len(places) <= 64 else [random.randrange(8)]:
            bad = bytearray(octets)
            bad[place] ^= 1 << bit
            yield place, bytes(bad)


class SignatureTest(HashTest):
    def setUp(self):
        super().setUp()
        self.write("letter", b"Dear reader\n")

    def pair(self, name, curve, *form):
        self.vrx("keypair", "--curve", curve, *form, "--out", name + ".key")
        self.vrx("pubkey", *form, *(["--curve", curve] if form else []), "-o", name + ".pub", name + ".key")

    def valid(self, *options, signature="sig", key="a.pub", letter="letter"):
        out = self.vrx("verify", "--key", key, "--signature", signature, *options, letter)
        self.assertEqual(out.decode(), f"'{letter}': the signature is valid\n")

    def invalid(self, *options, signature="sig", key="a.pub", letter="letter"):
        done = self.run_vrx("verify", "--key", key, "--signature", signature, *options, letter)
        self.assertEqual((done.code, done.out.decode(), done.err),
                         (1, f"'{letter}': the signature is NOT valid\n", b""))

    @staticmethod
    def pem(label, octets):
        text = base64.encodebytes(octets).decode()
        return f"-----BEGIN {label}-----\n{text}-----END {label}-----\n".encode()

    def der(self, name):
        """The octets in a PEM file."""
        return base64.b64decode(b"".join(self.read(name).split(b"\n")[1:-2]))
