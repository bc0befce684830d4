"""vrx verify --cert: keys from X.509 certificates."""

import hashlib
import os
import re

import certificates as x509
import gost
from certificates import CIPHER_A, CURVE_A, CURVE_XCHA, HASH_CRYPTOPRO, HASH_TEST
from chains import ChainTest
from program import main, sampled, some
from signatures import ORDER, SignatureTest, flipped

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
        self.assertEqual((done.code, done.out.decode().split("\n")[0]), (code, f"'letter': the signature {verdict}"),
                         done.err)
        self.assertRegex(done.err, rb"\Avrx: warning: the certificate was not checked against an authority[^\n]*\n\Z")
        return done.out.decode()


class Certificates(CertificateTest):
    def test_the_example_of_rfc_4491(self):
        octets, private = x509.rfc_4491()
        self.write("raw", private, 0o600)
        self.vrx("sign", "-k", "raw", "--format", "raw", "--curve", "XchA", "-o", "sig", "letter")
        self.write("cert", octets)
        self.write("cert.pem", self.pem("CERTIFICATE", octets))
        for name in ("cert", "cert.pem"):
            time = ["--time", "2006-01-01"]
            out = self.verify(*time, cert=name)
            for fact in ("subject:    CN=GostR3410-2001 example", "issuer:     CN=GostR3410-2001 example",
                         "not-before: 2005-08-16 14:18:20", "not-after:  2015-08-16 14:18:20", "serial:     2bf5c6",
                         "sha1:       " + hashlib.sha1(octets).hexdigest() + "\n",
                         "gost:       " + gost.digest(self.tables()["cryptopro"], octets).hex() + "\n"):
                self.assertIn("\n  " + fact, out)
            self.verify("--set", "cryptopro", *time, cert=name)
            self.verify("--set", "test", *time, cert=name, code=1)
            self.verify("--curve", "XchA", "--time", "any", cert=name)
        self.refused("verify", "--cert", "cert", "-S", "sig", "--curve", "A", "letter",
                     says="on the curve XchA, not on 'A'")
        self.write("letter", b"Dear reader!\n")
        self.verify(*time, code=1)

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
            self.refused("verify", "--cert", "cert", "-S", "sig", "letter",
                         says=["does not name its curve", "--curve NAME"])
            self.verify("--curve", "A")

    def test_a_key_of_another_algorithm(self):
        self.write("cert", x509.certificate(x509.to_be_signed(x509.element("30", RSA, "030400300000"))))
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter",
                     says="'cert' is a certificate for a key of RSA, not of GOST R 34.10-2001; "
                          "this program cannot use it")
        unknown = x509.algorithm("06072a850302022309", HASH_CRYPTOPRO)
        self.write("cert", x509.certificate(x509.to_be_signed(x509.key(unknown, self.point))))
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="a key with unknown parameters")

    def test_files_that_are_not_certificates(self):
        for name in ("a.pub", "a.key", "letter", "sig"):
            self.refused("verify", "--cert", name, "-S", "sig", "letter",
                         says=f"'{name}' is not a single X.509 certificate in PEM or DER form")
        self.certify(CURVE_A)
        octets = self.read("cert")
        for bad in (octets + octets, octets + b"\0", self.pem("CERTIFICATE", octets) * 2,
                    self.pem("PUBLIC KEY", octets)):
            self.write("bad", bad)
            self.refused("verify", "--cert", "bad", "-S", "sig", "letter",
                         says="'bad' is not a single X.509 certificate")
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
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="'cert' is not a single X.509 certificate")

    def test_two_digits_of_a_year_stand_for_1950_to_2049(self):
        for year, full in (("00", "2000"), ("49", "2049"), ("50", "1950"), ("99", "1999")):
            self.certify(CURVE_A, begin=year + "0203040506Z")
            self.assertIn(full + "-02-03 04:05:06", self.vrx("inspect", "cert").decode())

    def test_a_point_off_its_curve(self):
        self.point = "01" * 64
        self.certify(CURVE_XCHA)
        self.refused("verify", "--cert", "cert", "-S", "sig", "letter",
                     says="'cert' holds a point that is not on the curve XchA")

    @sampled
    def test_damage_to_the_key_is_detected_and_harmless_elsewhere(self):
        self.certify(CURVE_A, HASH_CRYPTOPRO)
        octets = self.read("cert")
        key = octets.index(bytes.fromhex(self.point))
        for size in some(range(len(octets))):
            self.write("bad", octets[:size])
            self.refused("verify", "--cert", "bad", "-S", "sig", "letter", says="'bad'")
        for place, bad in flipped(octets):
            self.write("bad", bad)
            done = self.run_vrx("verify", "--cert", "bad", "-S", "sig", "letter")
            self.assertIn(done.code, [2] if key <= place < key + 64 else [0, 1, 2], (place, done.err))
            self.assertEqual(done.err.count(b"\n"), 1, done.err)


class Alone(CertificateTest):
    """Checks that need only the certificate itself."""

    def status(self, *options, code=0):
        done = self.run_vrx("verify", "--cert", "cert", "-S", "sig", "--status", *options, "letter")
        self.assertEqual(done.code, code, (done.out, done.err))
        return dict(line.split(" ", 1) for line in done.out.decode().splitlines())

    def test_dates(self):
        self.certify(CURVE_A, HASH_CRYPTOPRO, begin="20010101000000Z", end="020101000000Z")
        for time, code, reason in (([], 1, "expired"), (["--time", "2000-12-31 23:59:59"], 1, "not-yet-valid"),
                                   (["--time", "2001-01-01"], 0, None), (["--time", "2002-01-01T00:00:00Z"], 0, None),
                                   (["--time", "2002-01-01 00:00:01"], 1, "expired"), (["--time", "any"], 0, None)):
            status = self.status(*time, code=code)
            self.assertEqual((status["signature"], status.get("reason")), ("valid", reason), time)
            self.assertEqual(status["certificate"], "valid" if code == 0 else "not-valid")
        done = self.run_vrx("verify", "--cert", "cert", "-S", "sig", "letter")
        self.assertIn(b"'letter': the signature is NOT valid: the certificate of CN=Anna is not valid after 2002",
                      done.out)
        for wrong in ("2001-02-29", "2001-13-01", "yesterday", "2001-01-01 24:00:00", "2001-01-01x00:00:00", ""):
            self.refused("verify", "--cert", "cert", "-S", "sig", "--time", wrong, "letter",
                         says="--time takes a time in UTC")

    def test_key_usage(self):
        for bits, code in (("0", 0), ("1", 0), ("01", 0), ("2", 1), ("4", 1), ("56", 1)):
            self.certify(CURVE_A, HASH_CRYPTOPRO, extensions=[x509.key_usage(bits)])
            self.assertEqual(self.status(code=code).get("reason"), "key-usage" if code else None, bits)

    def test_unknown_critical_extensions_are_rejected(self):
        for oid in ("060355 1d1e", "06032a0304", "0603551d20", "0603551d24"):
            oid = oid.replace(" ", "")
            self.certify(CURVE_A, HASH_CRYPTOPRO, extensions=[x509.extension(oid, "3000")])
            self.assertEqual(self.status(code=1)["reason"], "critical-extension")
            self.certify(CURVE_A, HASH_CRYPTOPRO, extensions=[x509.extension(oid, "3000", critical=False)])
            self.assertEqual(self.status()["chain"], "unchecked")

    def test_status_lines(self):
        self.certify(CURVE_A, HASH_CRYPTOPRO, extensions=[x509.key_usage("0")])
        octets = self.read("cert")
        lines = ["signature valid", "certificate valid", "chain unchecked", "time 2021-02-03 00:00:00",
                 "subject CN=Anna",
                 "issuer CN=Anna", "serial 0101", "sha1 " + hashlib.sha1(octets).hexdigest(),
                 "gost " + gost.digest(self.tables()["cryptopro"], octets).hex(), "not-before 2020-01-01 00:00:00",
                 "not-after 2090-01-01 00:00:00"]
        done = self.run_vrx("verify", "--cert", "cert", "-S", "sig", "--status", "--time", "2021-02-03", "letter")
        self.assertEqual((done.code, done.out.decode().splitlines()), (0, lines))
        done = self.run_vrx("verify", "--cert", "cert", "-S", "sig", "--status", "--time", "2019-02-03", "letter")
        self.assertEqual((done.code, done.out.decode().splitlines()[:4]),
                         (1, ["signature valid", "certificate not-valid", "reason not-yet-valid", "chain unchecked"]))
        self.write("letter", b"another letter")
        self.assertEqual(self.status("--time", "any", code=1)["signature"], "not-valid")
        done = self.run_vrx("verify", "--key", "a.pub", "-S", "sig", "--status", "letter")
        self.assertEqual((done.code, done.out, done.err), (1, b"signature not-valid\ncertificate none\n", b""))

    def test_certificates_must_be_strict_der(self):
        key = x509.key(x509.algorithm(CURVE_A, HASH_CRYPTOPRO), self.point)
        usage = x509.key_usage("0")
        other = "300a06082a85030701010302"
        name = x509.name((x509.COMMON_NAME, x509.text("0c", "Anna")))
        for what, octets in {
                "garbage after the key": x509.certificate(x509.to_be_signed(key, more="0500")),
                "garbage for extensions": x509.certificate(x509.to_be_signed(key, more="a303040101")),
                "an extension that is no element":
                    x509.certificate(x509.to_be_signed(key, extensions=[x509.extension("06032a0304", "ff")])),
                "an extension twice": x509.certificate(x509.to_be_signed(key, extensions=[usage, usage])),
                "extensions in version 1": x509.certificate(x509.to_be_signed(key, extensions=[usage], version="")),
                "version 1 written out": x509.certificate(x509.to_be_signed(key, version="a003020100")),
                "another algorithm inside": x509.certificate(x509.to_be_signed(key, algorithm=other)),
                "another algorithm outside": x509.certificate(x509.to_be_signed(key), algorithm=other),
                "unused bits in the signature": x509.certificate(x509.to_be_signed(key), unused="01"),
                "a signature of another length": x509.certificate(x509.to_be_signed(key), "00" * 63),
                "a serial number with a zero in front": x509.certificate(x509.to_be_signed(key, serial="0001")),
                "a negative serial number": x509.certificate(x509.to_be_signed(key, serial="81")),
                "a day that is none": x509.certificate(x509.to_be_signed(key, end="19999999999999Z")),
                "February 29": x509.certificate(x509.to_be_signed(key, begin="210229000000Z")),
                "a truth of 1":
                    x509.certificate(x509.to_be_signed(key, extensions=[usage.replace("0101ff", "010101")])),
                "FALSE written out":
                    x509.certificate(x509.to_be_signed(key, extensions=[usage.replace("0101ff", "010100")])),
                "zero bits at the end of key usage": x509.certificate(
                    x509.to_be_signed(key, extensions=[x509.extension("0603551d0f", "03020080")])),
                **{what: x509.certificate(x509.to_be_signed(key, extensions=[x509.extension("06032a0304", value,
                                                                                            critical=False)]))
                   for what,
                   value in {"an octet string in parts": "240404020000", "a sequence in primitive form": "1000",
                                       "an end of contents": "0000", "a reserved type": "0f00",
                                       "unused bits that are set": "030201ff",
                                       "8 unused bits": "03020800", "unused bits of nothing": "030101",
                                       "a bit string without its first octet": "0300",
                                       "a long enumerated": "0a020001"}.items()},
                "a length of two octets that one would hold": bytes.fromhex(
                    x509.certificate(x509.to_be_signed(key)).hex().replace("0603550403", "068103550403").replace(
                        name, name)),
        }.items():
            with self.subTest(what):
                self.write("cert", octets)
                self.refused("verify", "--cert", "cert", "-S", "sig", "letter",
                             says="'cert' is not a single X.509 certificate")
                self.write("cert", self.pem("CERTIFICATE", octets))
                done = self.run_vrx("inspect", "cert")
                self.assertEqual(done.code, 1, done.out)
                self.assertIn(b"damaged", done.out)

    def test_characters_that_could_belong_to_the_form_of_names_are_escaped(self):
        for value, shown in ((" a  b ", "\\ a  b\\ "), ("#0403", "\\#0403"), ("a#", "a#"), (" ", "\\ "),
                             ("A, CN=B", "A\\, CN=B"),
                             ('"', '\\"'), ("a\nreason none", "a\\{0a}reason none"), ("\\{0a}", "\\\\{0a}")):
            self.certify(CURVE_A, HASH_CRYPTOPRO, subject=x509.name((x509.COMMON_NAME, x509.text("0c", value))))
            self.assertEqual(self.status()["subject"], "CN=" + shown)

    def test_deceptive_characters_of_names_are_escaped(self):
        for hostile in ("\x1b[2J", "\x9b2J", "\u202egpj", "\u200b", "\u2066", "\ufeff", "\u2028", "\U000e0041", "\x7f"):
            self.certify(CURVE_A, HASH_CRYPTOPRO,
                         subject=x509.name((x509.COMMON_NAME, x509.text("0c", "A" + hostile + "B"))))
            for out in (self.verify(), self.vrx("inspect", "cert").decode()):
                self.assertNotIn(hostile, out)
                self.assertIn(f"A\\{{{ord(hostile[0]):02x}}}", out)


class Chains(ChainTest, CertificateTest):
    """Chains of root, intermediate authority and signer, with one change in each test."""

    def make(self, *arguments, **fields):
        super().make(*arguments, **fields)
        self.vrx("sign", "-k", "signer.key", "-o", "sig", "letter")

    def check(self, *options, reason=None, authorities=("root.crt", "middle.crt")):
        named = [word for name in authorities for word in ("--ca", name)]
        done = self.run_vrx("verify", "--cert", "signer.crt", *named, "-S", "sig", "--status", *options, "letter")
        status = dict(line.split(" ", 1) for line in done.out.decode().splitlines())
        self.assertEqual((done.code, status.get("reason"), done.err), (1 if reason else 0, reason, b""), done.out)
        self.assertEqual((status["signature"], status["chain"]), ("valid", "not-valid" if reason else "valid"))

    def test_on_all_curves(self):
        for curve in ("Test", "A", "B", "C", "XchA", "XchB"):
            for name in self.names():
                if name.endswith((".key", ".pub", ".crt")):
                    os.unlink(self.path(name))
            self.make(curve=curve)
            self.check()
        out = self.vrx("verify", "--cert", "signer.crt", "--ca", "root.crt", "--ca", "middle.crt", "-S", "sig",
                       "letter")
        self.assertIn(b"  trusted:    through CN=root\n", out)

    def test_one_file_of_authorities(self):
        self.make()
        self.write("both", b"a comment\n" + self.read("middle.crt") + self.read("root.crt"))
        self.check(authorities=["both"])
        self.write("none", b"nothing")
        self.refused("verify", "--cert", "signer.crt", "--ca", "none", "-S", "sig", "letter",
                     says="'none' holds no certificate")
        self.write("bad", self.pem("CERTIFICATE", b"0\0"))
        self.refused("verify", "--cert", "signer.crt", "--ca", "bad", "-S", "sig", "letter", says="is malformed")

    def test_a_missing_link(self):
        self.make()
        self.check(reason="no-chain", authorities=["root.crt"])
        self.check(reason="no-chain", authorities=["middle.crt"])
        self.issue("other", extensions=[x509.authority()])
        self.check(reason="no-chain", authorities=["other.crt", "middle.crt"])

    def test_signatures_of_the_links(self):
        self.issue("other", extensions=[x509.authority()])
        for changed in ({"middle": {"sign_with": "other"}}, {"signer": {"sign_with": "other"}},
                        {"root": {"sign_with": "other"}}):
            self.make(**changed)
            self.check(reason="chain-signature")

    def test_issuers_must_be_authorities(self):
        usage = x509.key_usage("56")
        for extensions, reason in (([], "not-an-authority"), ([usage], "not-an-authority"),
                                   ([x509.extension("0603551d13", "3000"), usage], "not-an-authority"),
                                   ([x509.authority(), x509.key_usage("0")], "key-usage")):
            self.make(middle={"extensions": extensions})
            self.check(reason=reason)
            self.make(root={"extensions": extensions})
            self.check(reason=reason)

    def test_path_length_constraints(self):
        self.make(root={"extensions": [x509.authority(0)]})
        self.check(reason="path-length")
        self.make(root={"extensions": [x509.authority(1)]})
        self.check()

    def test_self_issued_authorities_do_not_count_for_the_path_length(self):
        self.pair("newer", "A")
        self.make(root={"extensions": [x509.authority(1)]})
        # The root replaces its key: the same name, signed with the old key.
        self.issue("root2", extensions=[x509.authority(1)], key="newer", sign_with="root", subject=self.called("root"),
                   issuer_name=self.called("root"))
        self.issue("middle", "root", extensions=[x509.authority(0)], sign_with="newer")
        self.check(authorities=["root.crt", "root2.crt", "middle.crt"])

    def test_key_identifiers_must_fit(self):
        subject_key = "0603551d0e", "0404" + "01020304"
        for wanted, reason in (("01020304", None), ("01020305", "no-chain"), ("", "no-chain")):
            authority_key = x509.element("30", x509.element("80", wanted))
            self.make(middle={"extensions": [x509.authority(0), x509.extension(*subject_key, critical=False)]},
                      signer={"extensions": [x509.extension("0603551d23", authority_key, critical=False)]})
            self.check(reason=reason)

    def test_critical_extensions_of_the_links(self):
        for name in ("root", "middle"):
            for critical in (True, False):
                unknown = x509.extension("0603551d1e", "3000", critical=critical)  # name constraints
                self.make(**{name: {"extensions": [x509.authority(), x509.key_usage("56"), unknown]}})
                self.check(reason="critical-extension" if critical else None)

    def test_lists_of_issuers_that_may_not_sign_them(self):
        self.make(middle={"extensions": [x509.authority(0), x509.key_usage("5")]})
        self.revocations(issuer="root")
        self.revocations("05")
        self.check("--crl", "middle.crl", "--crl", "root.crl", reason="no-crl")

    def test_dates_of_the_links(self):
        for name in ("root", "middle", "signer"):
            self.make(**{name: {"begin": "200101000000Z", "end": "210101000000Z"}} | (
                {} if name == "signer" else {}))
            done = self.run_vrx("verify", "--cert", "signer.crt", "--ca", "root.crt", "--ca", "middle.crt", "-S", "sig",
                                "letter")
            self.assertEqual((done.code, done.err), (1, b""))
            self.assertIn(b"the certificate of CN=" + name.encode() + b" is not valid after 2021-01-01", done.out)
            self.check("--time", "2020-06-01")

    def test_a_signature_with_q_added_to_s_is_refused(self):
        q = ORDER["Test"]  # on this curve, s + q also fits in 256 bits
        self.make(curve="Test")
        self.check()
        self.assertIn(b"self-signed, valid", self.vrx("inspect", "root.crt"))
        root = self.der("root.crt")
        s = int.from_bytes(root[-64:-32], "big")
        self.write("root.crt", self.pem("CERTIFICATE", root[:-64] + (s + q).to_bytes(32, "big") + root[-32:]))
        self.assertIn(b"self-signed, NOT valid", self.run_vrx("inspect", "root.crt").out)
        self.check(reason="chain-signature")

    def test_the_search_ends_when_certificates_form_a_cycle(self):
        self.make()
        for a, b in (("middle", "loop"), ("loop", "middle")):
            self.issue(a, b, extensions=[x509.authority()], sign_with="root", key="root")
        self.check(reason="no-chain", authorities=["middle.crt", "loop.crt"])

    def revocations(self, *serials, issuer="middle", update="200102000000Z", following="890101000000Z", sign_with=None,
                    more=""):
        revoked = x509.element("30", *(x509.element("30", x509.element("02", s), x509.time("210101000000Z"))
                                       for s in serials))
        following = "20" + following if following.startswith("8") else following
        self.write("tbs", bytes.fromhex(x509.element(
            "30", "020101", x509.GOST_SIGNATURE, self.called(issuer), x509.time(update), x509.time(following),
            revoked if serials else "", more)))
        self.vrx("sign", "-k", (sign_with or issuer) + ".key", "-o", "tbs.sig", "tbs")
        self.write("crl", self.pem("X509 CRL", x509.certificate(self.read("tbs").hex(), self.read("tbs.sig").hex())))
        self.write(issuer + ".crl", self.read("crl"))

    def test_revocation(self):
        self.make()
        self.revocations(issuer="root")
        both = ["--crl", "middle.crl", "--crl", "root.crl"]
        self.revocations("05")
        self.check(*both)
        self.revocations("05", "07")
        self.check(*both, reason="revoked")
        self.check(*both, "--time", "2020-06-01")
        self.check(*both, "--time", "any", reason="revoked")
        self.revocations("05", sign_with="root")
        self.check(*both, reason="no-crl")
        self.revocations(following="200103000000Z")
        self.check(*both, reason="crl-time")
        self.revocations(more=x509.element("a0", x509.element("30", x509.extension("0603551d1c", "3000"))))
        self.check(*both, reason="crl-extension")
        self.revocations()
        self.check("--crl", "middle.crl", reason="no-crl")
        entry = x509.element("30", x509.element("02", "05"), x509.time("210101000000Z"),
                             x509.element("30", x509.extension("0603551d15", "0a0101", critical=False)))
        for version, code in (("020101", 0), ("", 2)):  # only version 2 has extensions
            self.write("tbs", bytes.fromhex(x509.element(
                "30", version, x509.GOST_SIGNATURE, self.called("middle"), x509.time("200102000000Z"),
                x509.element("30", entry))))
            self.vrx("sign", "-k", "middle.key", "-o", "tbs.sig", "tbs")
            self.write("middle.crl", x509.certificate(self.read("tbs").hex(), self.read("tbs.sig").hex()))
            done = self.run_vrx("verify", "--cert", "signer.crt", "--ca", "root.crt", "--ca", "middle.crt", *both, "-S",
                                "sig", "letter")
            self.assertEqual(done.code, code, done.err)
        self.refused("verify", "--cert", "signer.crt", "--crl", "crl", "-S", "sig", "letter",
                     says="--crl belongs to --ca")
        self.refused("verify", "--key", "a.pub", "--ca", "root.crt", "-S", "sig", "letter", says="belong to --cert")


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
                self.assertIn("self-signed, valid\n", text)
                fingerprint = re.search("fingerprint: ([0-9a-f]{64}) ", text)[1]
                os.chmod(self.path("k.key"), 0o600)
                self.assertIn(fingerprint, self.vrx("inspect", "k.key").decode())

    def test_keys_of_other_algorithms(self):
        for kind in ("rsa:1024", "ed25519"):
            done = self.tool("openssl", "req", "-new", "-x509", "-newkey", kind, "-nodes", "-keyout", "k",
                             "-subj", "/CN=x", "-out", "cert")
            self.assertEqual(done.code, 0, done.err)
            self.refused("verify", "--cert", "cert", "-S", "sig", "letter", says="not of GOST R 34.10-2001")

    def openssl(self, *arguments):
        done = self.tool("openssl", *arguments)
        self.assertEqual(done.code, 0, done.err)


if __name__ == "__main__":
    main()
