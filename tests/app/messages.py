"""Signed messages for tests (RFC 5652, RFC 4490), built from DER elements, and the published ones."""

import os

import certificates as x509
from certificates import element
from chains import ChainTest

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "messages")

DATA, SIGNED, ENVELOPED = (f"06092a864886f70d0107{number:02x}" for number in (1, 2, 3))
CONTENT_TYPE, MESSAGE_DIGEST, SIGNING_TIME, COUNTERSIGNATURE = (f"06092a864886f70d0109{number:02x}"
                                                                for number in (3, 4, 5, 6))
HASH = "300a06062a85030202090500"
SIGNATURE = "300a06062a85030202130500"


def published(name):
    with open(os.path.join(FOLDER, name), "rb") as file:
        return file.read()


def attribute(oid, *values):
    return element("30", oid, element("31", *values))


def in_order(elements):
    """The elements of a SET OF in the order of DER."""
    return "".join(sorted(elements, key=bytes.fromhex))


def large(tag, contents):
    """An element with contents of any size, as octets."""
    size = len(contents)
    length = size.to_bytes((size.bit_length() + 7) // 8 or 1, "big")
    head = bytes([size]) if size < 128 else bytes([0x80 | len(length)]) + length
    return bytes.fromhex(tag) + head + contents


def indefinite(tag, contents):
    """An element of indefinite length, as octets."""
    return bytes.fromhex(tag) + b"\x80" + contents + b"\0\0"


def parts_of(content, size):
    """An OCTET STRING in parts."""
    return indefinite("24", b"".join(large("04", content[i:i + size]) for i in range(0, len(content), size)))


class MessageTest(ChainTest):
    """Tests with the certificate anna.crt, which is its own authority."""

    def setUp(self):
        super().setUp()
        self.issue("anna", extensions=[x509.key_usage("0")])
        self.write("text", b"Dear reader\r\n")

    def digest(self, octets):
        self.write("hashed", octets)
        return self.vrx("hash", "hashed").decode()[:64]

    def signature(self, octets, key="anna"):
        self.write("to-sign", octets)
        return self.vrx("sign", "--key", key + ".key", "--hex", "to-sign").decode().strip()

    def identifier(self, name="anna", serial="0101", issuer=None):
        return element("30", self.called(issuer or name), element("02", serial))

    def attributes(self, content, content_type=DATA, more=()):
        """The usual signed attributes of a content."""
        return [attribute(CONTENT_TYPE, content_type), attribute(MESSAGE_DIGEST, element("04", self.digest(content))),
                attribute(SIGNING_TIME, x509.time("260228120000Z")), *more]

    def signer(self, content, attributes=None, name="anna", key=None, identifier=None, version="020101", digest=HASH,
               algorithm=SIGNATURE, signed=None, signature=None, unsigned=""):
        """A SignerInfo. attributes: None for the usual ones, () for none, or their octets in hex, in order."""
        if attributes is None:
            attributes = in_order(self.attributes(content))
        over = signed if signed is not None else bytes.fromhex(element("31", attributes)) if attributes else content
        signature = signature or element("04", self.signature(over, key or name))
        return element("30", version, identifier or self.identifier(name), digest,
                       element("a0", attributes) if attributes else "",
                       algorithm, signature, unsigned)

    def message(self, content, signers, certificates=("anna",), version="020101", content_type=DATA, detached=False,
                digests=HASH, more=""):
        """A ContentInfo with SignedData."""
        enclosed = element("a0", *(self.der(name + ".crt").hex() for name in certificates)) if certificates else ""
        inside = "" if detached else large("a0", large("04", content)).hex()
        data = bytes.fromhex(version + element("31", digests)) + large(
            "30", bytes.fromhex(content_type + inside)) + bytes.fromhex(enclosed + element("31", *signers) + more)
        return large("30", bytes.fromhex(SIGNED) + large("a0", large("30", data)))

    def verify(self, message, *options, code=0, says=(), name="message"):
        """Verify a message with anna.crt as its authority, and return the report."""
        self.write(name, message)
        done = self.run_vrx("cms", "verify", "--ca", "anna.crt", *options, name)
        report = done.out.decode()
        self.assertEqual((done.code, done.err), (code, b""), report)
        for text in [says] if isinstance(says, str) else says:
            self.assertIn(text, report)
        self.assertTrue(report.startswith(f"'{name}': " + ("the signature is valid\n" if code == 0 else "")), report)
        if code == 1:
            self.assertIn("NOT valid: ", report.split("\n")[0])
        return report
