"""Shared code of the tests of certificate chains."""

import certificates as x509
from signatures import SignatureTest


class ChainTest(SignatureTest):
    def issue(self, name, issuer=None, extensions=(), curve="A", key=None, sign_with=None, **fields):
        """Write the certificate NAME.crt, and the key pair NAME.key and NAME.pub unless there is one."""
        if key is None and name + ".key" not in [n for n in self.names()]:
            self.pair(name, curve)
        names = {"subject": self.called(name), "issuer": fields.pop("issuer_name", self.called(issuer or name))}
        self.write("tbs", bytes.fromhex(x509.to_be_signed(
            self.der((key or name) + ".pub").hex(), extensions=list(extensions), **{**names, **fields})))
        self.vrx("sign", "-k", (sign_with or issuer or name) + ".key", "-o", "tbs.sig", "tbs")
        octets = x509.certificate(self.read("tbs").hex(), self.read("tbs.sig").hex())
        self.write(name + ".crt", self.pem("CERTIFICATE", octets))

    @staticmethod
    def called(name):
        return x509.name((x509.COMMON_NAME, x509.text("0c", name)))

    def make(self, root=None, middle=None, signer=None, curve="A"):
        """Write a chain of root, intermediate authority and signer, with changes."""
        self.issue("root", **{"extensions": [x509.authority(), x509.key_usage("56")], "curve": curve, **(root or {})})
        self.issue("middle", "root",
                   **{"extensions": [x509.authority(0), x509.key_usage("56")], "curve": curve, **(middle or {})})
        self.issue("signer", "middle",
                   **{"extensions": [x509.key_usage("0")], "curve": curve, "serial": "07", **(signer or {})})
