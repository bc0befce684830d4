"""Certificates for tests: the example of RFC 4491, and certificates built from DER elements."""

import kat

GOST_KEY = "06062a8503020213"
GOST_SIGNATURE = "300806062a8503020203"
CURVE_XCHA, CURVE_A = "06072a850302022400", "06072a850302022301"
HASH_TEST, HASH_CRYPTOPRO = "06072a850302021e00", "06072a850302021e01"
CIPHER_A = "06072a850302021f01"
COMMON_NAME = "0603550403"


def element(tag, *parts):
    contents = "".join(parts)
    size = len(contents) // 2
    length = f"{size:02x}" if size < 128 else f"81{size:02x}" if size < 256 else f"82{size:04x}"
    return tag + length + contents


def text(tag, value, encoding="utf-8"):
    return element(tag, value.encode(encoding).hex())


def name(*attributes):
    """A Name of (object identifier, string) elements."""
    return element("30", *(element("31", element("30", oid, value)) for oid, value in attributes))


def time(digits):
    return text("17" if len(digits) == 13 else "18", digits)


def key(algorithm, point):
    return element("30", algorithm, element("03", "00", element("04", point)))


def algorithm(*parameter_sets):
    return element("30", GOST_KEY, element("30", *parameter_sets))


def to_be_signed(public_key, subject=None, issuer=None, serial="0101", begin="200101000000Z", end="20900101000000Z",
                 extensions=(), version="a003020102", algorithm=GOST_SIGNATURE, more=""):
    subject = subject or name((COMMON_NAME, text("0c", "Anna")))
    extended = element("a3", element("30", *extensions)) if extensions else ""
    return element("30", version, element("02", serial), algorithm, issuer or subject,
                   element("30", time(begin), time(end)), subject, public_key, extended, more)


def extension(oid, value, critical=True):
    return element("30", oid, "0101ff" if critical else "", element("04", value))


def authority(path_length=None):
    return extension("0603551d13",
                     element("30", "0101ff", "" if path_length is None else element("02", f"{path_length:02x}")))


def key_usage(bits):
    """A BIT STRING of named bits. Their numbers are given as digits, such as "0" or "56"."""
    octet = sum(0x80 >> int(bit) for bit in bits)
    unused = (octet & -octet).bit_length() - 1
    return extension("0603551d0f", f"0302{unused:02x}{octet:02x}")


def certificate(signed, signature="00" * 64, algorithm=GOST_SIGNATURE, unused="00"):
    return bytes.fromhex(element("30", signed, algorithm, element("03", unused, signature)))


def rfc_4491():
    """The certificate of RFC 4491, section 4.2, and its private key."""
    answer = next(a for a in kat.answers("ecc/signatures.kat") if "RFC 4491, section 4.2" in a.source)
    pair = next(a for a in kat.answers("ecc/keys.kat") if "RFC 4491, section 4.2" in a.source)
    return certificate(answer["message"], answer["signature"]), pair.octets("private")
