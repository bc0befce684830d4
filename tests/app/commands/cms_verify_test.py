"""vrx cms verify: signed messages."""

import base64
import os
import re
import subprocess

import certificates as x509
from certificates import element
from messages import (CONTENT_TYPE, COUNTERSIGNATURE, DATA, ENVELOPED, HASH, MESSAGE_DIGEST, SIGNATURE, SIGNED,
                      SIGNING_TIME,
                      MessageTest, attribute, in_order, indefinite, large, parts_of, published)
from program import PROGRAM, main, sampled, some
from signatures import flipped

SHA256 = "300b0609608648016503040201"
RSA = "300d06092a864886f70d0101010500"
CURVES = ("Test", "A", "B", "C", "XchA", "XchB")


class Published(MessageTest):
    def published(self, name, *options, code=0, says=""):
        self.write("message", published(name))
        done = self.run_vrx("cms", "verify", "--time", "any", "-o", "out", *options, "message")
        self.assertEqual(done.code, code, (done.out, done.err))
        self.assertIn(says, done.out.decode())
        self.assertEqual("out" in self.names(), code == 0)
        return self.read("out") if code == 0 else None

    def test_the_message_of_rfc_4490(self):
        self.write("cert", published("rfc4491-4.2-cert.der"))
        self.assertEqual(self.published("rfc4490-9.1-signed.der", "--cert", "cert"),
                         published("rfc4490-9.1-content.txt"))
        os.remove(self.path("out"))
        self.published("rfc4490-9.1-signed.der", code=1,
                       says="the certificate of the signer is not there: serial 2bf5c61e")
        self.published("rfc4490-9.1-signed.der", "--cert", "anna.crt", code=1,
                       says="the certificate of the signer is not there")

    def test_messages_with_the_certificate_inside(self):
        self.assertEqual(self.published("bc-rawgost-signed.der"), published("bc-rawgost-content.txt"))
        self.assertEqual(self.published("dvcs-request-ccpd-signed.der"), published("dvcs-request-ccpd-content.der"))

    def test_signed_attributes_that_are_not_in_the_order_of_der(self):
        self.assertEqual(self.published("dvcs-response-ccpd-signed.der"), published("dvcs-response-ccpd-content.der"))

    def test_other_messages(self):
        self.write("message", published("rfc4490-9.2-keyagree.der"))
        self.refused("cms", "verify", "message",
                     says="'message' cannot be read as a signed message: it holds enveloped data")
        for name in ("bc-gostpfxfoo123.p12", "rfc4491-4.2-cert.der", "bc-rawgost-content.txt"):
            self.write("message", published(name))
            self.refused("cms", "verify", "message", says="'message' cannot be read as a signed message: ")

    @sampled
    def test_every_octet_counts(self):
        self.write("cert", published("rfc4491-4.2-cert.der"))
        octets = published("rfc4490-9.1-signed.der")
        digests, kind = octets.index(bytes.fromhex("310c300a0606")), octets.index(bytes.fromhex(DATA))
        for size in some(range(len(octets)), 4):
            self.write("message", octets[:size])
            self.refused("cms", "verify", "--cert", "cert", "--time", "any", "message", says="'message' cannot be read")
        for place, bad in flipped(octets):
            # Without signed attributes, the version, the first list of digests and the type of the content are not
            # signed.
            if digests - 3 <= place < digests + 14 or kind <= place < kind + 11:
                continue
            self.write("message", bad)
            done = self.run_vrx("cms", "verify", "--cert", "cert", "--time", "any", "-o", "out", "message")
            self.assertIn(done.code, (1, 2), place)
            self.assertNotIn("out", self.names())


class Forms(MessageTest):
    CONTENT = b"Dear reader\r\n" * 5

    def setUp(self):
        super().setUp()
        self.octets = self.message(self.CONTENT, [self.signer(self.CONTENT)])

    def content_of(self, message, *options):
        report = self.verify(message, "-o", "out", *options)
        self.assertIn("\n  signed:     2026-02-28 12:00:00 UTC, as the signer states\n", report)
        self.assertIn("\n  trusted:    through CN=anna\n", report)
        self.assertEqual(self.read("out"), self.CONTENT)

    def test_der_pem_and_base64(self):
        text = base64.encodebytes(self.octets)
        for form in (self.octets, text, text.replace(b"\n", b"\r\n"), text.replace(b"\n", b""),
                     self.pem("CMS", self.octets),
                     self.pem("PKCS7", self.octets),
                     b"a comment\n" + self.pem("CMS", self.octets).replace(b"\n", b"\r\n") + b"more\n"):
            self.content_of(form)
        self.assertIn(b"is valid", self.vrx("cms", "verify", "--ca", "anna.crt", stdin=self.octets))

    def test_s_mime(self):
        text = base64.encodebytes(self.octets)
        for head in (b"Content-Type: application/pkcs7-mime; smime-type=signed-data\n"
                     b"Content-Transfer-Encoding: base64\n",
                     b"From anna Sat Feb 28\nTo: Boris\nContent-Transfer-Encoding: BASE64\n"
                     b"CONTENT-TYPE: Application/X-PKCS7-Mime;\n\tname=\"smime.p7m\"\n"):
            self.content_of(head + b"\n" + text)
            self.content_of((head + b"\n" + text).replace(b"\n", b"\r\n"))
        self.content_of(b"Content-Type: application/pkcs7-mime\nContent-Transfer-Encoding: binary\n\n" + self.octets)

    def multipart(self, content, octets, boundary=b"b 1"):
        return (b"MIME-Version: 1.0\nContent-Type: multipart/signed; protocol=\"application/pkcs7-signature\";\n"
                b" micalg=gostr3411-94; boundary=\"" + boundary + b"\"\n\nThis is a signed mail.\n--" + boundary +
                b"\n" + content + b"\n--" + boundary + b"\n"
                b"Content-Type: application/pkcs7-signature; name=smime.p7s\nContent-Transfer-Encoding: base64\n\n"
                + base64.encodebytes(octets) + b"--" + boundary + b"--\n\nan epilogue\n")

    def test_multipart_signed(self):
        for content in (b"Content-Type: text/plain\r\n\r\nDear reader\r\n", b"--x\r\n--b 2\r\n", b"",
                        b"a\rb\r\r\nc\r\n\r\n\r\n", b"no newline",
                        b"x" * 200_000 + b"\r\n" + b"y" * 65_535 + b"\r\n" + b"z" * 65_536, b"\r\n" * 40_000):
            self.CONTENT = content
            detached = self.message(content, [self.signer(content)], detached=True)
            mail = self.multipart(content, detached)
            self.content_of(mail)
            if b"\r\r" not in content:
                self.content_of(self.multipart(content.replace(b"\r\n", b"\n"), detached))
            self.verify(mail.replace(b"--b 1\n", b"--b 1\nP.S.\n", 1), code=1,
                        says="the content is not the one that was signed")
        self.refused("cms", "verify", "--content", "text", "message",
                     says="'message' contains what was signed; leave out --content")

    @sampled
    def test_malformed_mails(self):
        good = self.multipart(b"text", self.message(b"text", [self.signer(b"text")], detached=True))
        self.verify(good)
        for what, bad in {
                "it is truncated": good[:good.index(b"--b 1\nContent-Type")],
                "no valid boundary": good.replace(b"boundary", b"bounding"),
                "its second part is not": good.replace(b"Content-Type: application/pkcs7-signature",
                                                       b"Content-Type: text/plain"),
                "is not base64": good.replace(b"Encoding: base64", b"Encoding: 8bit"),
                "its base64 is malformed": good.replace(b"\n\nMII", b"\n\n*II"),
                "its headers are": good.replace(b"Content-Type: application/pkcs7-signature",
                                                b"not a header\nContent-Type: application/pkcs7-signature"),
                "its media type is not": b"Content-Type: text/plain\n\nDear reader\n",
                "two contents": self.multipart(b"text", self.message(b"text", [self.signer(b"text")]))}.items():
            self.write("message", bad)
            self.refused("cms", "verify", "--ca", "anna.crt", "-o", "out", "message",
                         says=["'message' cannot be read as a signed message", what])
        end = good.rindex(b"\n--b 1--")
        for size in some(range(good.index(b"\n\nMII"), end), 16):
            self.write("message", good[:size])
            self.refused("cms", "verify", "message", says="'message' cannot be read as a signed message")
        self.assertNotIn("out", self.names())

    def test_malformed_base64(self):
        text = base64.b64encode(self.octets)
        for bad in (text[:-1], text[:-4], text + b"=", text + b"AAAA", text[:100] + b"=" + text[100:],
                    text[:100] + b"-" + text[100:]):
            self.write("message", bad)
            self.refused("cms", "verify", "message", says="'message' cannot be read as a signed message")
            self.write("message", b"-----BEGIN CMS-----\n" + bad + b"\n-----END CMS-----\n")
            self.refused("cms", "verify", "message", says="'message' cannot be read as a signed message")
        self.write("message", self.pem("CMS", self.octets).replace(b"END CMS", b"END PKCS7"))
        self.refused("cms", "verify", "message", says="'message' cannot be read as a signed message")

    @sampled
    def test_elements_of_indefinite_length(self):
        signer, der = self.signer(self.CONTENT), bytes.fromhex
        for inner in (large("04", self.CONTENT), parts_of(self.CONTENT, 7),
                      indefinite("24", parts_of(self.CONTENT, 10) + large("04", b"")),
                      large("24", large("04", self.CONTENT))):
            content = indefinite("30", der(DATA) + indefinite("a0", inner))
            certificates = indefinite("a0", self.der("anna.crt"))
            data = indefinite("30", der("020101" + element("31", HASH)) + content + certificates +
                              indefinite("31", der(signer)))
            message = indefinite("30", der(SIGNED) + indefinite("a0", data))
            self.content_of(message)
            for size in some(range(len(message)), 16):
                self.write("message", message[:size])
                self.refused("cms", "verify", "message", says="'message' cannot be read")
        # The element that describes a signer may also have an indefinite length.
        fields = der(signer)[4:] if signer[2:4] == "82" else der(signer)[3:]
        self.content_of(self.message(self.CONTENT, [indefinite("30", fields).hex()]))

    def test_large_contents_in_many_pieces(self):
        for size in (65_535, 65_536, 262_140, 300_000):
            self.CONTENT = os.urandom(size)
            octets = self.message(self.CONTENT, [self.signer(self.CONTENT)])
            self.content_of(octets)
            self.content_of(base64.encodebytes(octets))

    def test_detached(self):
        self.write("content", self.CONTENT)
        for signers in ([self.signer(self.CONTENT)], [self.signer(self.CONTENT, ())]):
            octets = self.message(self.CONTENT, signers, detached=True)
            self.verify(octets, "--content", "content")
            self.verify(octets, "--content", "text", code=1)
            self.refused("cms", "verify", "message",
                         says="'message' does not contain what was signed; name that file with --content")
            self.refused("cms", "verify", "--content", "content", "-o", "out", "message",
                         says="'message' has no content to write")
            self.refused("cms", "verify", "--content", "none", "message", says="cannot open 'none'")
        self.assertNotIn("out", self.names())
        self.write("message", self.octets)
        self.refused("cms", "verify", "--content", "content", "message",
                     says="'message' contains what was signed; leave out --content")
        self.refused("cms", "verify", "--content", "-",
                     says="standard input cannot be both the message and its content")

    def test_where_the_content_goes(self):
        self.write("message", self.octets)
        done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "-", "message")
        self.assertEqual((done.code, done.out), (0, self.CONTENT))
        self.assertRegex(done.err, rb"\Avrx: 'message': the signature is valid\n(vrx:   [a-z0-9-]+: +[^\n]+\n)+\Z")
        self.write("bad", self.octets.replace(b"Dear", b"dear"))
        done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "-", "bad")
        self.assertEqual((done.code, done.out), (1, b""))
        for place in ("/dev/stdout", "/proc/self/fd/1"):
            self.assertEqual(self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", place,
                                          "bad").out.count(b"ear reader"), 0)
        self.write("out", b"old")
        self.assertEqual(self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "out", "bad").code, 1)
        self.assertEqual(self.read("out"), b"old")
        self.refused("cms", "verify", "--ca", "anna.crt", "-o", "message", "message",
                     says="is read by this command and would be overwritten")


class Signers(MessageTest):
    def test_on_all_curves(self):
        for curve in CURVES:
            for suffix in (".key", ".pub", ".crt"):
                os.remove(self.path("anna" + suffix))
            self.issue("anna", curve=curve)
            for attributes in (None, ()):
                self.verify(self.message(b"text", [self.signer(b"text", attributes)]))

    def test_several_signers(self):
        self.issue("boris", curve="XchB", serial="02")
        both = [self.signer(b"text"), self.signer(b"text", (), name="boris", identifier=self.identifier("boris", "02"))]
        self.write("both", self.message(b"text", both, certificates=["anna", "boris"]))
        out = self.vrx("cms", "verify", "--ca", "anna.crt", "--ca", "boris.crt", "both").decode()
        self.assertTrue(out.startswith("'both': all 2 signatures are valid\nsignature 1 is valid\n"
                                       "  subject:    CN=anna\n"), out)
        self.assertIn("\nsignature 2 is valid\n  subject:    CN=boris\n", out)
        done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "out", "both")
        self.assertEqual((done.code, done.out.decode().split("\n")[0]),
                         (1, "'both': NOT valid: only 1 of 2 signatures are valid"))
        self.assertIn("\nsignature 2 is NOT valid: no chain of certificates leads from CN=boris", done.out.decode())
        self.assertNotIn("out", self.names())

    def test_named_by_the_identifier_of_the_key(self):
        self.issue("carl", extensions=[x509.extension("0603551d0e", "0404deadbeef", critical=False)])
        signer = self.signer(b"text", name="carl", identifier="8004deadbeef", version="020103")
        self.write("message", self.message(b"text", [signer], certificates=["anna", "carl"], version="020103"))
        self.vrx("cms", "verify", "--ca", "carl.crt", "message")
        self.write("message", self.message(b"text", [signer.replace("8004deadbeef", "8004deadbeee")],
                                           certificates=["anna", "carl"]))
        done = self.run_vrx("cms", "verify", "--ca", "carl.crt", "message")
        self.assertIn(b"the certificate of the signer is not there: key deadbeee", done.out)

    def test_only_named_certificates_are_signers(self):
        self.write("message", self.message(b"text", [self.signer(b"text")]))
        warning = (b"vrx: warning: the certificate was not checked against an authority; "
                   b"name those that you trust with --ca FILE\n")
        for options, code in (((), 0), (("--cert", "anna.crt"), 0)):
            done = self.run_vrx("cms", "verify", *options, "message")
            self.assertEqual((done.code, done.err), (code, warning))
        self.issue("boris")
        done = self.run_vrx("cms", "verify", "--cert", "boris.crt", "message")
        self.assertEqual(done.code, 1)
        self.assertIn(b"the certificate of the signer is not there: serial 0101 of CN=anna; name it with --cert\n",
                      done.out)

    def test_no_signer(self):
        self.write("message", self.message(b"text", []))
        done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "out", "message")
        self.assertEqual((done.code, done.out, done.err),
                         (1, b"'message': NOT valid: the message has no signature\n", b""))
        self.assertNotIn("out", self.names())

    def test_chains(self):
        self.make()
        signer = self.signer(b"text", name="signer", identifier=self.identifier("signer", "07", "middle"))
        for certificates, authorities, code in ((["signer", "middle"], ["root"], 0),
                                                (["signer"], ["root", "middle"], 0),
                                                (["signer", "middle", "root"], ["root"], 0), (["signer"], ["root"], 1),
                                                (["signer", "middle", "root"], ["middle"], 1),
                                                (["signer", "middle", "root"], ["anna"], 1)):
            self.write("message", self.message(b"text", [signer], certificates=certificates))
            named = [word for name in authorities for word in ("--ca", name + ".crt")]
            done = self.run_vrx("cms", "verify", *named, "message")
            self.assertEqual((done.code, done.err), (code, b""), (certificates, authorities, done.out))

    def test_dates_and_uses_of_certificates(self):
        for fields, options, reason in (({"end": "20100101000000Z"}, (), "expired"),
                                        ({"end": "20100101000000Z"}, ("--time", "any"), None),
                                        ({"begin": "20000101000000Z", "end": "20100101000000Z"},
                                         ("--time", "2010-01-01"), None),
                                        ({"begin": "20800101000000Z"}, (), "not-yet-valid"),
                                        ({"extensions": [x509.key_usage("4")]}, (), "key-usage"),
                                        ({"extensions": [x509.extension("0603551d24", "3000")]}, (),
                                         "critical-extension")):
            self.issue("anna", **fields)
            self.write("message", self.message(b"text", [self.signer(b"text")]))
            done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "--status", *options, "message")
            status = dict(line.split(" ", 1) for line in done.out.decode().splitlines())
            self.assertEqual((done.code, status.get("reason"), status["signature"]),
                             (1 if reason else 0, reason, "valid"))
            self.assertEqual((status["message"], status["certificate"]),
                             ("not-valid",) * 2 if reason else ("valid",) * 2)
            self.assertEqual(status["signing-time"], "2026-02-28 12:00:00")

    def test_certificates_of_other_algorithms(self):
        subject = self.called("anna")
        self.write("anna.crt", self.pem("CERTIFICATE", x509.certificate(
            x509.to_be_signed(element("30", RSA, "030400300000"), subject=subject, issuer=subject))))
        self.write("message", self.message(b"text", [self.signer(b"text")]))
        done = self.run_vrx("cms", "verify", "--time", "any", "message")
        self.assertEqual(done.code, 1)
        self.assertIn(b"the certificate of CN=anna has a key that is invalid or not supported", done.out)
        self.issue("root")
        done = self.run_vrx("cms", "verify", "--time", "any", "--ca", "root.crt", "--status", "message")
        status = dict(line.split(" ", 1) for line in done.out.decode().splitlines())
        self.assertEqual((done.code, status["reason"], status["certificate"]), (1, "key", "not-valid"))
        self.assertNotIn("signing-time", status)


class Refusals(MessageTest):
    def both(self, content=b"text", **fields):
        return self.message(content, [self.signer(content, **fields)])

    def test_changed_contents_and_wrong_keys(self):
        self.pair("other", "A")
        for attributes in (None, ()):
            good = self.message(b"text", [self.signer(b"text", attributes)])
            self.verify(good)
            self.verify(good.replace(b"\x04text", b"\x04Text"), code=1,
                        says=("the content is not the one that was signed" if attributes is None else
                               "does not match the data or the key"))
            self.verify(self.both(attributes=attributes, key="other"), code=1,
                        says="the signature does not match the data or the key")

    def test_algorithms(self):
        self.verify(self.both(algorithm="300a06062a85030202030500"))
        for absent in ("300806062a8503020209", "301106062a850302020906072a850302021e01"):
            self.verify(self.both(digest=absent, algorithm="300806062a8503020213"))
        for fields in ({"digest": SHA256}, {"algorithm": RSA}, {"digest": "301106062a850302020906072a850302021e00"},
                       {"digest": SIGNATURE}, {"algorithm": HASH}, {"algorithm": "300806062a8503020204"}):
            self.verify(self.both(**fields), code=1, says="its algorithms are ")

    def test_signatures_of_other_forms(self):
        for signature in (element("04", "00" * 64), element("04", "ff" * 64), element("04", "00" * 63),
                          element("04", "01" * 65), "0400"):
            self.verify(self.both(signature=signature), code=1, says="the signature does not match the data or the key")

    def test_signed_attributes(self):
        kind, digest, time = self.attributes(b"text")
        for attributes, says in (([kind, time], "messageDigest is missing"), ([digest], "contentType is missing"),
                                 ([kind, digest, digest], "messageDigest occurs twice"),
                                 ([kind, kind, digest], "contentType occurs twice"),
                                 ([kind, digest, time, time], "signingTime occurs twice"),
                                 ([kind, attribute(MESSAGE_DIGEST, "0400")], "messageDigest is missing"),
                                 ([kind, attribute(MESSAGE_DIGEST)], "messageDigest is malformed"),
                                 ([kind, attribute(MESSAGE_DIGEST, "040100", "040101")], "messageDigest is malformed"),
                                 ([kind, attribute(MESSAGE_DIGEST, "0500")], "messageDigest is malformed"),
                                 ([attribute(CONTENT_TYPE, "0400"), digest], "contentType is malformed"),
                                 ([kind, digest, attribute(SIGNING_TIME, "170141")], "signingTime is malformed"),
                                 ([attribute(CONTENT_TYPE, ENVELOPED), digest],
                                  "the signed type of the content is not that of the message"),
                                 ([kind, attribute(MESSAGE_DIGEST, element("04", self.digest(b"other")))],
                                  "the content is not the one that was signed"),
                                 ):
            self.verify(self.both(attributes=in_order(attributes)), code=1, says=says)
        for attributes in ([kind, digest, element("30", "0500")], [kind, digest, element("31", COUNTERSIGNATURE)]):
            self.write("message", self.both(attributes=in_order(attributes)))
            self.refused("cms", "verify", "message", says="the data about a signer is malformed")
        unknown = attribute("06032a0304", "0500")
        self.verify(self.both(attributes=in_order([kind, digest, unknown, unknown])))

    def test_the_order_of_signed_attributes(self):
        attributes = self.attributes(b"text")
        backward, sorted_ones = "".join(sorted(attributes, key=bytes.fromhex, reverse=True)), in_order(attributes)
        for sent, signed, code in ((backward, backward, 0), (backward, sorted_ones, 0), (sorted_ones, backward, 1),
                                   (sorted_ones, sorted_ones, 0)):
            message = self.both(attributes=sent, signed=bytes.fromhex(element("31", signed)))
            self.verify(message, code=code)

    def test_attributes_in_ber_are_refused(self):
        kind, digest, time = self.attributes(b"text")
        loose = kind.replace("30", "3081", 1)
        self.verify(self.both(attributes=in_order([digest, time, loose])), code=1,
                    says="the signed attributes are not in DER")

    def test_too_many_attributes(self):
        other = attribute(COUNTERSIGNATURE, "3000")
        self.verify(self.both(unsigned=element("a1", other * 1000)))
        usual = self.attributes(b"text")
        for fields in ({"unsigned": element("a1", other * 1001)}, {"attributes": in_order(usual + [other] * 998)}):
            self.write("message", self.both(**fields))
            self.refused("cms", "verify", "--ca", "anna.crt", "message", says="a signer has too many attributes")

    def test_unsigned_attributes_are_ignored(self):
        self.verify(self.both(unsigned=element("a1", attribute(COUNTERSIGNATURE, "3000"))))

    def test_malformed_messages(self):
        signer = self.signer(b"text")
        good = self.message(b"text", [signer])
        deep = bytes.fromhex("30030201")
        for _ in range(100):
            deep = large("30", deep)
        bottom = b"\0\0" * 40
        for what, bad in {
                "other data follows": good + b"\0",
                "a message twice": good + good,
                "fields after the signers": self.message(b"text", [signer], more="0500"),
                "another version": self.message(b"text", [signer], version="020107"),
                "a version of a signer": self.both(version="020103"),
                "no identifier of the signer": self.both(identifier="0500"),
                "an identifier in the wrong place": self.both(identifier=element("30", "020101", self.called("anna"))),
                "a digest that is no algorithm": self.message(b"text", [signer], digests="0500"),
                "deep nesting": deep,
                "deep nesting of strings": bytes.fromhex(
                    "3080" + SIGNED + "a0803080020101" + element("31", HASH) + "3080" + DATA + "a080") +
                b"\x24\x80" * 40 + bottom,
                "deep nesting of certificates": bytes.fromhex(
                    "3080" + SIGNED + "a0803080020101" + element("31", HASH) + element("30", DATA) + "a080") +
                b"\x30\x80" * 100 + bottom,
                "a huge length": bytes.fromhex("3088ffffffffffffffff") + good[4:],
                "a length of too many octets": bytes.fromhex("308a" + "00" * 9 + "10") + good[4:],
                "a huge element in a small one": good.replace(bytes.fromhex("04047465"), bytes.fromhex("0484ffffff00")),
                "a primitive element without end": bytes.fromhex("0480") + good,
                "an empty file": b"",
                "zeros": bytes(100),
        }.items():
            with self.subTest(what):
                self.write("message", bad)
                self.refused("cms", "verify", "--ca", "anna.crt", "-o", "out", "message",
                             says="'message' cannot be read as a signed message: ")
        self.assertNotIn("out", self.names())

    def test_lengths_that_promise_much_take_no_memory(self):
        head = bytes.fromhex("3080" + SIGNED + "a0803080020101" + element("31", HASH) + element("30", DATA) + "a080" +
                             "3084fffffff0")
        self.write("message", head + bytes(1000))
        self.refused("cms", "verify", "message", says="exceed 16 MiB")

    @sampled
    def test_damaged_messages(self):
        good = self.both()
        for place, bad in flipped(good):
            self.write("message", bad)
            done = self.run_vrx("cms", "verify", "--ca", "anna.crt", "-o", "out", "message")
            self.assertIn(done.code, (0, 1, 2), place)
            if done.code == 0:  # some octets outside the signature do not matter
                self.assertEqual(self.read("out"), b"text", place)
                os.remove(self.path("out"))
            self.assertNotIn("out", self.names())

    def test_usage(self):
        for wrong, says in ((["--crl", "crl", "m"], "--crl belongs to --ca"),
                            (["--time", "x", "m"], "--time takes a time"),
                            (["a", "b"], "there is one operand too many, 'b'")):
            self.refused("cms", "verify", *wrong, says=[says, "see 'vrx cms verify --help'"])
        self.refused("cms", says="'cms' needs a second word; 'vrx help cms' lists the commands")
        self.refused("cms", "veryfy", says="there is no command 'cms veryfy'; 'vrx help cms' lists the commands")
        self.refused("help", "cms", "veryfy", says="there is no command or topic 'cms'")
        self.assertIn(b"\n  cms verify   verify a signed message\n", self.vrx("help", "cms"))


class Example(MessageTest):
    def test_the_example_of_the_help(self):
        self.write("root.pem", self.read("anna.crt"))
        self.write("letter.p7m", self.message(b"Dear reader", [self.signer(b"Dear reader")]))
        self.write("letter.p7s", self.message(b"Dear reader", [self.signer(b"Dear reader")], detached=True))
        example = self.vrx("help", "cms", "verify").decode().split("\nExample:\n")[1]
        done = subprocess.run(["bash", "-euo", "pipefail", "-c", example], cwd=self.folder, capture_output=True,
                              env={**os.environ, "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"]},
                              check=False)
        self.assertEqual((done.returncode, done.stderr), (0, b""), example)
        self.assertEqual(self.read("letter.txt"), b"Dear reader")


class Engine(MessageTest):
    """Messages of OpenSSL's GOST engine."""

    def openssl(self, *arguments):
        done = self.tool("openssl", *arguments)
        self.assertEqual(done.code, 0, done.err)
        return done.out

    def test_messages_of_openssl(self):
        if self.tool("openssl", "engine", "gost").code != 0:
            self.skipTest("openssl has no engine gost")
        content = os.urandom(3000)
        self.write("content", content)
        self.write("mail", b"Dear reader\nthis is a mail\n")
        for curve in ("A", "B", "C", "XA", "XB"):
            self.openssl("genpkey", "-engine", "gost", "-algorithm", "gost2001", "-pkeyopt", "paramset:" + curve,
                         "-out", "o.key")
            self.openssl("req", "-engine", "gost", "-new", "-x509", "-md_gost94", "-key", "o.key", "-subj", "/CN=olga",
                         "-days", "10", "-out", "o.crt")
            sign = ["-sign", "-engine", "gost", "-signer", "o.crt", "-inkey", "o.key", "-md", "md_gost94"]
            for program in ("cms", "smime"):
                for form in ("DER", "PEM", "SMIME"):
                    for options in (["-binary"], ["-binary", "-noattr"], ["-binary", "-nocerts"]):
                        forms = [["-nodetach"], ["-nodetach", "-stream"] if form != "PEM" else ["-nodetach"]]
                        for attached in forms:
                            self.openssl(program, *sign, *options, *attached, "-outform", form, "-in", "content",
                                         "-out", "m")
                            self.vrx("cms", "verify", "--ca", "o.crt", "--cert", "o.crt", "-o", "out", "m")
                            self.assertEqual(self.read("out"), content)
                        if form != "SMIME":
                            self.openssl(program, *sign, *options, "-outform", form, "-in", "content", "-out", "m")
                            self.vrx("cms", "verify", "--ca", "o.crt", "--cert", "o.crt", "--content", "content", "m")
                self.openssl(program, *sign, "-in", "mail", "-text", "-out", "m")
                self.assertIn(b"multipart/signed", self.read("m"))
                self.vrx("cms", "verify", "--ca", "o.crt", "-o", "out", "m")
                self.assertTrue(self.read("out").endswith(b"\r\n\r\nDear reader\r\nthis is a mail\r\n"))
                self.write("m", re.sub(rb"(?<!\r)\n", b"\r\n", self.read("m")))
                self.vrx("cms", "verify", "--ca", "o.crt", "m")


if __name__ == "__main__":
    main()
