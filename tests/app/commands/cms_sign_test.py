"""vrx cms sign and vrx cms show."""

import base64
import os
import re
import subprocess

import certificates as x509
from messages import DATA, MessageTest, attribute, in_order, published
from program import PROGRAM, main

CURVES = ("Test", "A", "B", "C", "XchA", "XchB")
FORMS = ([], ["--pem"], ["--smime"])


class Signing(MessageTest):
    def sign(self, *options, content="text", **fields):
        self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "-o", "message", *options, content, **fields)
        return self.read("message")

    def check(self, *options, content=None):
        """Verify the message, and compare its content."""
        out = self.vrx("cms", "verify", "--ca", "anna.crt", *(["-o", "out"] if content is not None else []), *options,
                       "message").decode()
        self.assertIn("the signature is valid\n", out)
        if content is not None:
            self.assertEqual(self.read("out"), content)
        return out

    def test_all_curves_and_forms(self):
        for curve in CURVES:
            for suffix in (".key", ".pub", ".crt"):
                os.remove(self.path("anna" + suffix))
            self.issue("anna", curve=curve)
            for form in FORMS:
                for attributes in ([], ["--no-attributes"]):
                    self.sign(*form, *attributes)
                    self.assertEqual("signed:" in self.check(content=b"Dear reader\r\n"), not attributes)
                    if form != ["--smime"]:
                        self.sign(*form, *attributes, "--detached")
                        self.check("--content", "text")

    def test_contents_of_all_sizes(self):
        for size in (0, 1, 31, 32, 46, 47, 48, 49, 95, 96, 126, 127, 128, 129, 254, 255, 256, 257, 65_535, 65_536,
                     262_143, 262_144, 600_000):
            content = os.urandom(size)
            self.write("content", content)
            for form in FORMS:
                self.sign(*form, content="content")
                self.check(content=content)
            self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "-o", "message", stdin=content)
            self.check(content=content)
            self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "--detached", "-o", "message",
                     stdin=content)
            self.check("--content", "content")

    def test_a_file_becomes_der_and_a_pipe_ber(self):
        octets = self.sign()
        self.assertEqual(octets[:2], b"\x30\x82")
        self.assertEqual(int.from_bytes(octets[2:4], "big") + 4, len(octets))
        out = self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", stdin=b"text")
        self.assertEqual((out[:2], out[-6:]), (b"\x30\x80", bytes(6)))
        out = self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "--detached", stdin=b"text")
        self.assertEqual(out[:2], b"\x30\x82")

    def test_readable_mails(self):
        for content in (b"", b"\r\n", b"\nDear reader\n", b"Content-Type: text/plain\r\n\r\nDear reader\r\n",
                        b"a\n\n\r\n\r\r\nb\r", b"x" * 300_000 + b"\n",
                        b"no newline\n" * 40_000):
            self.write("content", content)
            mail = self.sign("--smime", "--detached", content="content")
            canonical = re.sub(rb"(?<!\r)\n", b"\r\n", content)
            boundary = re.search(rb'boundary="([^"]+)"', mail)[1]
            self.assertEqual(mail.split(b"\r\n--" + boundary)[1][2:], canonical)
            self.assertEqual(mail.count(b"\n"), mail.count(b"\r\n"))
            self.check(content=canonical)
            self.write("message", mail.replace(b"\r\n", b"\n"))
            if b"\r\r\n" not in canonical:
                self.check()

    def test_enclosed_certificates(self):
        self.make()
        self.vrx("cms", "sign", "-k", "signer.key", "--cert", "signer.crt", "--chain", "middle.crt", "--chain",
                 "signer.crt", "-o", "message", "text")
        self.vrx("cms", "verify", "--ca", "root.crt", "message")
        out = self.vrx("cms", "show", "message").decode()
        self.assertEqual(sorted(re.findall(r"certificate: (.*)", out)), ["CN=middle", "CN=signer"])

    def test_encrypted_and_raw_keys(self):
        self.write("password", b"secret\n", 0o600)
        self.vrx("keypair", "--curve", "A", "--password-file", "password", "--iterations", "600000", "--out",
                 "boris.key")
        self.write("boris.pub", self.vrx("pubkey", "--password-file", "password", "boris.key"))
        self.issue("boris", "anna", extensions=[x509.key_usage("0")])
        self.vrx("cms", "sign", "-k", "boris.key", "--password-file", "password", "--cert", "boris.crt", "-o",
                 "message", "text")
        done = self.run_vrx("cms", "verify", "--cert", "boris.crt", "message")
        self.assertEqual(done.code, 0, done.out)
        self.write("raw", bytes(31) + b"\1", 0o600)
        self.refused("cms", "sign", "-k", "raw", "--format", "raw", "--curve", "A", "--cert", "anna.crt", "text",
                     says="is not for the key in 'raw'")

    def test_refusals(self):
        self.pair("other", "A")
        sign = ["cms", "sign", "-o", "out"]
        for options, says in ((["-k", "other.key", "--cert", "anna.crt", "text"],
                               "the certificate in 'anna.crt' is not for the key in 'other.key'"),
                              (["--cert", "anna.crt", "text"], "a private key is needed"),
                              (["-k", "anna.key", "text"], "the certificate of the key is needed"),
                              (["-k", "anna.key", "--cert", "anna.crt", "--pem", "--smime", "text"],
                               "exclude each other"),
                              (["-k", "-", "--cert", "anna.crt"], "standard input can be only one of"),
                              (["-k", "anna.key", "--cert", "anna.key", "text"], "is not a single X.509 certificate"),
                              (["-k", "anna.key", "--cert", "anna.crt", "--chain", "text", "text"],
                               "'text' holds no certificate"),
                              (["-k", "anna.key", "--cert", "anna.crt", "none"], "cannot open 'none'")):
            self.refused(*sign, *options, says=says)
        self.assertNotIn("out", self.names())
        self.refused("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "-o", "text", "text",
                     says="is read by this command and would be overwritten")

    def test_the_example_of_the_help(self):
        self.write("my.pem", self.read("anna.key"), 0o600)
        self.write("my.crt", self.read("anna.crt"))
        self.write("letter.txt", b"Dear reader")
        for command in ("sign", "show"):
            example = self.vrx("help", "cms", command).decode().split("\nExample:\n")[1]
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", example], cwd=self.folder, capture_output=True,
                                  env={**os.environ, "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"]},
                                  check=False)
            self.assertEqual((done.returncode, done.stderr), (0, b""), example)


class Showing(MessageTest):
    def show(self, message, code=0):
        self.write("message", message)
        done = self.run_vrx("cms", "show", "message")
        self.assertEqual((done.code, done.err), (code, b""), done.out)
        self.assertEqual(self.vrx("cms", "show", stdin=message) if code == 0 else b"",
                         done.out.replace(b"'message'", b"standard input", 1).replace(
            b"'message'", b"FILE") if code == 0 else b"")
        return done.out.decode()

    def test_published_messages(self):
        out = self.show(published("rfc4490-9.1-signed.der"))
        self.assertTrue(out.startswith(
            "'message': a signed message\n  form:        DER or BER, SignedData of version 1\n"
            "  content:     data, 12 bytes\n"
            "  signer:      serial 2bf5c61ec211bd17c7dcd46266b42e21 of CN=GostR3410-2001 example"), out)
        self.assertIn("\n    signs:     the content itself\n", out)
        self.assertTrue(out.endswith("\n  next:        vrx cms verify --ca CA 'message'\n"), out)
        out = self.show(published("dvcs-response-ccpd-signed.der"))
        self.assertIn("\n  content:     a response of a validation server, 95 bytes\n", out)
        self.assertIn("hash of the content: messageDigest, contentType\n", out)
        self.assertIn("\n    order:     not that of DER; the signature is over the order of the message\n", out)
        self.assertIn("\n  certificate: C=RU, L=ТОМСК, ", out)
        self.assertTrue(self.show(published("bc-rand-keytrans.der")).startswith("'message': an encrypted message\n"))

    def test_the_order_of_signed_attributes(self):
        attributes = self.attributes(b"text")
        backward = "".join(sorted(attributes, key=bytes.fromhex, reverse=True))
        for sent, signed, says in ((backward, backward,
                                    "not that of DER; the signature is over the order of the message"),
                                   (backward, in_order(attributes),
                                    "not that of DER; the signature is over the order of DER, or not valid"),
                                   (in_order(attributes), in_order(attributes), "that of DER")):
            signer = self.signer(b"text", sent, signed=bytes.fromhex(x509.element("31", signed)))
            self.assertIn(f"\n    order:     {says}\n", self.show(self.message(b"text", [signer])))
            self.assertIn("\n    order:     " + says.split(";")[0],
                          self.show(self.message(b"text", [signer], certificates=())))

    def test_forms(self):
        octets = self.message(b"text", [self.signer(b"text")], detached=True)
        self.assertIn("a detached signature\n  form:        PEM, 'CMS', SignedData", self.show(self.pem("CMS", octets)))
        self.assertIn("\n  form:        base64, ", self.show(base64.encodebytes(octets)))
        self.assertIn("--content FILE 'message'\n", self.show(octets))
        self.assertIn("a file of certificates", self.show(self.message(b"", [], detached=True)))
        self.write("mail", b"\nDear reader\n")
        mail = self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "--smime", "--detached", "mail")
        self.assertIn("a signed message\n  form:        S/MIME, multipart/signed, ", self.show(mail))

    def test_faults(self):
        kind, digest, _ = self.attributes(b"text")
        self.assertIn("fault:       the signed attribute messageDigest is missing",
                      self.show(self.message(b"text", [self.signer(b"text", kind)]), code=1))
        self.write("message", b"Dear reader\n")
        self.refused("cms", "show", "message",
                     says="'message' cannot be read as a message: it is neither DER, PEM, base64 nor S/MIME")

    def test_hostile_names(self):
        self.issue("anna", extensions=[x509.key_usage("0")])
        self.issue("b\u202eb\x1b[2J")  # changes of direction, and commands of the terminal
        out = self.show(self.message(b"text", [], certificates=["b\u202eb\x1b[2J"]))
        self.assertNotIn("\u202e", out)
        self.assertNotIn("\x1b", out)


class Engine(MessageTest):
    """OpenSSL's GOST engine and GnuTLS verify what vrx signs."""

    def test_openssl(self):
        if self.tool("openssl", "engine", "gost").code != 0:
            self.skipTest("openssl has no engine gost")
        self.write("mail", b"Content-Type: text/plain\r\n\r\nDear reader\r\n")
        for curve in ("A", "B", "C", "XchA", "XchB"):
            for suffix in (".key", ".pub", ".crt"):
                os.remove(self.path("anna" + suffix))
            self.issue("anna", curve=curve)
            for attributes in ([], ["--no-attributes"]):
                for form, option in (("DER", []), ("PEM", ["--pem"]), ("SMIME", ["--smime"])):
                    self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", *attributes, *option, "-o", "m",
                             "text")
                    self.openssl(form)
                    self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", *attributes, *option, "--detached",
                             "-o", "m", "mail")
                    self.openssl(form, *(["-content", "mail"] if form != "SMIME" else []), content=b"mail")
                self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", *attributes, "-o", "m",
                         stdin=self.read("text"))
                self.openssl("DER")

    def openssl(self, form, *options, content=b"text"):
        # With -binary, OpenSSL turns CRLF into LF in a mail that it can read without decoding.
        binary = [] if form == "SMIME" and content == b"mail" else ["-binary"]
        for program in ("cms", "smime"):
            if form == "PEM" and program == "smime":  # it knows the earlier label alone
                self.write("m", self.read("m").replace(b" CMS-", b" PKCS7-"))
            done = self.tool("openssl", program, "-verify", "-engine", "gost", "-noverify", *binary, "-inform", form,
                             "-in", "m", "-out", "out", *options)
            self.assertEqual(done.code, 0, (program, form, options, done.err))
            self.assertEqual(self.read("out"), self.read(content.decode()))

    def test_certtool(self):
        self.vrx("cms", "sign", "-k", "anna.key", "--cert", "anna.crt", "--pem", "-o", "m", "text")
        self.write("m", self.read("m").replace(b" CMS-", b" PKCS7-"))
        done = self.tool("certtool", "--p7-verify", "--verify-allow-broken", "--load-certificate", "anna.crt",
                         "--infile", "m")
        self.assertIn(b"Signature status: ok", done.out + done.err)


if __name__ == "__main__":
    main()
