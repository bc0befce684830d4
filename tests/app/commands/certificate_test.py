"""vrx verify --cert: keys out of X.509 certificates."""

import os
import re

import certificates as x509
from certificates import CIPHER_A, CURVE_A, CURVE_XCHA, HASH_CRYPTOPRO, HASH_TEST
from program import main
from signatures import SignatureTest, flipped

RSA = "300d06092a864886f70d0101010500"


class CertificateTest(SignatureTest):
    def setUp(self):
        super().setUp()
        self.pair("a", "A")
        self.point = self.der("a.pub")[-64:].hex()
        self.vrx("sign", "-k", "a.key", "-o", "sig", "letter")

    def certify(self, *parameter_sets, **fields):
        public_key = x509.key(x509.algorithm(*parameter_sets), self.point)
        self.write("cert", x509.certificate(x509.to_be_signed(public_key, **fields)))

    def verify(self, *options, cert="cert", code=0):
        done = self.run_vrx("verify", "--cert", cert, "-S", "sig", *options, "letter")
        verdict = "is valid" if code == 0 else "is NOT valid"
        self.assertEqual((done.code, done.out.decode(), done.err), (code, f"'letter': the signature {verdict}\n", b""))


class Certificates(CertificateTest):
    def test_the_example_of_rfc_4491(self):
        octets, private = x509.rfc_4491()
        self.write("raw", private, 0o600)
        self.vrx("sign", "-k", "raw", "--format", "raw", "--curve", "XchA", "-o", "sig", "letter")
        self.write("cert", octets)
        self.write("cert.pem", self.pem("CERTIFICATE", octets))
        for name in ("cert", "cert.pem"):
            self.verify(cert=name)
            self.verify("--set", "cryptopro", cert=name)
            self.verify("--set", "test", cert=name, code=1)
            self.verify("--curve", "XchA", cert=name)
        self.refused("verify", "--cert", "cert", "-S", "sig", "--curve", "A", "letter", says="on the curve XchA, not on 'A'")
        self.write("letter", b"Dear reader!\n")
        self.verify(code=1)

    def test_the_certificate_names_the_parameter_set_of_the_hash(self):
        for named, used in ((HASH_TEST, "test"), (HASH_CRYPTOPRO, "cryptopro"), ("", "cryptopro")):
            self.certify(CURVE_A, named)
            self.vrx("sign", "-k", "a.key", "--set", used, "-o", "sig", "letter")
            self.verify()
            self.verify("--set", {"test": "cryptopro", "cryptopro": "test"}[used], code=1)
        self.certify(CURVE_A, HASH_CRYPTOPRO, CIPHER_A)
        self.verify()

    def test_parameters_left_to_the_issuer(self):
        for parameters in ("", "0500"):
            public_key = x509.key(x509.element("30", x509.GOST_KEY, parameters), self.point)
            self.write("cert", x509.certificate(x509.to_be_signed(public_key)))
            self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says=["does not name its curve", "--curve NAME"])
            self.verify("--curve", "A")

    def test_dates_and_signature_are_not_looked_at(self):
        self.certify(CURVE_A, HASH_CRYPTOPRO, begin="20010101000000Z", end="020101000000Z")
        self.verify()
        text = self.vrx("help", "verify")
        self.assertIn(b"NOT checked", text)

    def test_of_another_algorithm(self):
        self.write("cert", x509.certificate(x509.to_be_signed(x509.element("30", RSA, "030400300000"))))
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter",
                     says="'cert' is a certificate for a key of RSA, not of GOST R 34.10-2001; this program cannot use it")
        unknown = x509.algorithm("06072a850302022309", HASH_CRYPTOPRO)
        self.write("cert", x509.certificate(x509.to_be_signed(x509.key(unknown, self.point))))
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="parameters that are not known here")

    def test_what_is_no_certificate(self):
        for name in ("a.pub", "a.key", "letter", "sig"):
            self.refused("verify", "--cert", name, "-S", "sig", "letter",
                         says=f"'{name}' is not one X.509 certificate in PEM or DER form")
        self.certify(CURVE_A)
        octets = self.read("cert")
        for bad in (octets + octets, octets + b"\0", self.pem("CERTIFICATE", octets) * 2, self.pem("PUBLIC KEY", octets)):
            self.write("bad", bad)
            self.refused("verify", "--cert", "bad", "-S", "sig", "letter", says="'bad' is not one X.509 certificate")
        self.refused("verify", "--cert", "none", "-S", "sig", "letter", says="cannot open 'none'")
        self.refused("verify", "--cert", "cert", "--key", "a.pub", "-S", "sig", "letter", says="exclude each other")
        self.refused("verify", "--cert", "-", "-S", "sig", says="only one of key, signature and data")
        self.refused("verify", "-S", "sig", "letter", says="a public key is needed, --key FILE, or a certificate")

    def test_a_field_after_the_signature_is_refused(self):
        signed = x509.to_be_signed(x509.key(x509.algorithm(CURVE_A), self.point))
        parts = [signed, x509.GOST_SIGNATURE, x509.element("03", "00", "00" * 64)]
        self.write("cert", bytes.fromhex(x509.element("30", *parts)))
        self.verify()
        self.write("cert", bytes.fromhex(x509.element("30", *parts, "0500")))
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="'cert' is not one X.509 certificate")

    def test_two_digits_of_a_year_stand_for_1950_to_2049(self):
        for year, full in (("00", "2000"), ("49", "2049"), ("50", "1950"), ("99", "1999")):
            self.certify(CURVE_A, begin=year + "0203040506Z")
            self.assertIn(full + "-02-03 04:05:06", self.vrx("inspect", "cert").decode())

    def test_a_point_beside_its_curve(self):
        self.point = "01" * 64
        self.certify(CURVE_XCHA)
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="'cert' holds a point that is not on the curve XchA")

    def test_damage_never_goes_unnoticed_in_the_key_nor_does_harm_elsewhere(self):
        self.certify(CURVE_A, HASH_CRYPTOPRO)
        octets = self.read("cert")
        key = octets.index(bytes.fromhex(self.point))
        for size in range(0, len(octets), 3):
            self.write("bad", octets[:size])
            self.refused("verify", "--cert", "bad", "-S", "sig", "letter", says="'bad'")
        for place, bad in flipped(octets, range(0, len(octets), 2)):
            self.write("bad", bad)
            done = self.run_vrx("verify", "--cert", "bad", "-S", "sig", "letter")
            self.assertIn(done.code, [2] if key <= place < key + 64 else [0, 1, 2], (place, done.err))
            self.assertEqual(done.err.count(b"\n"), 1 if done.code == 2 else 0, done.err)


class Engine(CertificateTest):
    def test_certificates_of_openssl(self):
        if self.tool("openssl", "engine", "gost").code != 0:
            self.skipTest("openssl has no engine gost")
        for curve in ("A", "B", "C", "XA", "XB"):
            with self.subTest(curve):
                self.openssl("genpkey", "-engine", "gost", "-algorithm", "gost2001", "-pkeyopt", "paramset:" + curve,
                             "-out", "k.key")
                self.openssl("req", "-engine", "gost", "-new", "-x509", "-md_gost94", "-key", "k.key", "-utf8",
                             "-subj", "/C=RU/O=Ромашка/CN=Anna", "-days", "10", "-out", "cert")
                self.openssl("x509", "-in", "cert", "-text", "-outform", "pem", "-out", "commented")
                self.openssl("x509", "-in", "cert", "-outform", "der", "-out", "der")
                self.openssl("dgst", "-engine", "gost", "-md_gost94", "-sign", "k.key", "-out", "sig", "letter")
                for name in ("cert", "commented", "der"):
                    self.verify(cert=name)
                text = self.vrx("inspect", "cert").decode()
                self.assertIn("subject:     C=RU, O=Ромашка, CN=Anna\n", text)
                self.assertIn("by its own key, and valid\n", text)
                fingerprint = re.search("fingerprint: ([0-9a-f]{64}) ", text)[1]
                os.chmod(self.path("k.key"), 0o600)
                self.assertIn(fingerprint, self.vrx("inspect", "k.key").decode())

    def test_of_other_algorithms(self):
        for kind in ("rsa:1024", "ed25519"):
            done = self.tool("openssl", "req", "-new", "-x509", "-newkey", kind, "-nodes", "-keyout", "k", "-subj", "/CN=x",
                             "-out", "cert")
            self.assertEqual(done.code, 0, done.err)
            self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="not of GOST R 34.10-2001")

    def openssl(self, *arguments):
        done = self.tool("openssl", *arguments)
        self.assertEqual(done.code, 0, done.err)


if __name__ == "__main__":
    main()
