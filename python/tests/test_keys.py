"""Tests of key pairs, signatures, key agreement and curves."""

import ctypes
import os
import pickle
import random
from concurrent.futures import ThreadPoolExecutor

import pytest
import vrx
from vrx import _c, _keys

every = pytest.mark.parametrize("curve", vrx.CURVES, ids=lambda c: c.name)


@every
def test_signature_is_valid_only_for_its_message_and_parameters(curve):
    private = vrx.PrivateKey.generate(curve)
    public = vrx.PublicKey(bytes(private.public_key), curve.oid)
    assert public == private.public_key and hash(public) == hash(private.public_key) and public.curve is curve
    signature = private.sign(b"message")
    assert len(signature) == 64 and signature != private.sign(b"message")
    public.verify(signature, b"message")
    public.verify_digest(bytearray(signature), vrx.gostr3411(b"message").digest())
    for at in (0, 31, 32, 63):
        changed = bytearray(signature)
        changed[at] ^= 1
        with pytest.raises(vrx.InvalidSignature) as raised:
            public.verify(changed, b"message")
        assert (raised.value.code, raised.value.name) == (-1, "VRX_ERR_FAILED")
        assert isinstance(raised.value, vrx.Error)
        assert str(raised.value) == "the signature is not valid for this message and key"
        assert repr(raised.value) == f"InvalidSignature({str(raised.value)!r})"
        assert repr(pickle.loads(pickle.dumps(raised.value))) == repr(raised.value)
    for message, name in ((b"messagE", "CryptoPro"), (b"", "CryptoPro"), (b"message", "test")):
        with pytest.raises(vrx.InvalidSignature):
            public.verify(signature, message, parameters=name)
    boxes = vrx.SBoxes(bytes(range(64)))
    public.verify(private.sign(b"message", parameters=boxes), b"message", parameters=boxes)


@every
def test_keys_are_stored_least_significant_octet_first(curve):
    private = vrx.PrivateKey.generate(curve)
    again = vrx.PrivateKey(bytes(private), curve.name)
    assert bytes(again) == bytes(private) and again.public_key == private.public_key
    one = vrx.PrivateKey(b"\1" + bytes(31), curve)
    assert (one.public_key.x, one.public_key.y) == (curve.x, curve.y)
    assert bytes(one.public_key) == curve.x.to_bytes(32, "little") + curve.y.to_bytes(32, "little")
    last = vrx.PrivateKey((curve.q - 1).to_bytes(32, "little"), curve)
    assert (last.public_key.x, last.public_key.y) == (curve.x, curve.p - curve.y)
    assert vrx.PublicKey.from_numbers(curve.x, curve.y, curve) == one.public_key != last.public_key


@every
def test_both_sides_derive_the_same_key(curve):
    mine, theirs, ukm = vrx.PrivateKey.generate(curve), vrx.PrivateKey.generate(curve), os.urandom(7) + b"\1"
    for name in ("CryptoPro", "test"):
        kek = mine.agree(theirs.public_key, ukm, parameters=name)
        assert len(kek) == 32 and theirs.agree(mine.public_key, bytearray(ukm), parameters=name) == kek
    assert mine.agree(theirs.public_key, b"\1" * 8) != kek


@every
def test_keys_off_the_curve_or_out_of_range_are_refused(curve):
    for number in (0, curve.q, 2**256 - 1):
        with pytest.raises(ValueError, match="^the private key must be a number from 1 to q - 1$"):
            vrx.PrivateKey(number.to_bytes(32, "little"), curve)
    for x, y in ((0, 0), (curve.x, curve.y ^ 1), (curve.p, 1)):
        with pytest.raises(ValueError, match="^the public key is not a point on the curve$"):
            vrx.PublicKey.from_numbers(x, y, curve)
    if curve.x + curve.p < 2**256:
        with pytest.raises(ValueError, match="not a point on the curve"):
            vrx.PublicKey.from_numbers(curve.x + curve.p, curve.y, curve)


def test_private_key_is_wiped():
    with vrx.PrivateKey.generate() as private:
        number, public, signature = private._record, private.public_key, private.sign(b"message")
        assert any(number)
    assert not any(number)
    public.verify(signature, b"message")
    for use in (lambda: bytes(private), lambda: private.sign(b""), lambda: private.agree(public, b"\1" * 8)):
        with pytest.raises(ValueError, match="^this PrivateKey is closed$"):
            use()
    lost = vrx.PrivateKey.generate()
    number = lost._record
    del lost
    assert not any(number)
    assert "PrivateKey on <Curve" in repr(private)


def test_custom_random_source_is_used():
    def draw(size):
        return random.Random(5).randbytes(size)

    private = vrx.PrivateKey.generate("B", random=draw)
    assert bytes(vrx.PrivateKey.generate("B", random=draw)) == bytes(private)
    assert private.sign(b"message", random=draw) == private.sign(b"message", random=draw)
    private.public_key.verify(private.sign(b"message", random=draw), b"message")


@pytest.mark.parametrize(
    "kind, source",
    [
        (OSError, lambda size: open("/nowhere/at/all")),
        (KeyboardInterrupt, lambda size: (_ for _ in ()).throw(KeyboardInterrupt)),
        (ValueError, lambda size: bytes(size - 1)),
        (TypeError, lambda size: "x" * size),
        (TypeError, lambda: b""),
    ],
)
def test_exception_of_the_random_source_is_raised(kind, source):
    private = vrx.PrivateKey.generate()
    with pytest.raises(kind):
        private.sign(b"message", random=source)
    with pytest.raises(kind):
        vrx.PrivateKey.generate(random=source)
    private.public_key.verify(private.sign(b"message"), b"message")


def test_threads_share_keys():
    private = vrx.PrivateKey.generate()

    def work(i):
        message = str(i).encode()
        private.public_key.verify(private.sign(message), message)
        return bytes(vrx.PrivateKey.generate())

    with ThreadPoolExecutor(4) as pool:
        assert len(set(pool.map(work, range(100)))) == 100


def toy_curves():
    """Search small curves for a base point of odd prime order."""
    for p, a, b in ((29, 4, 20), (31, 2, 17), (97, 2, 3)):
        points = [(x, y) for x in range(p) for y in range(p) if (y * y - x**3 - a * x - b) % p == 0]
        for x, y in points:
            order, at = 1, (x, y)
            while at is not None:
                at, order = add(at, (x, y), a, p), order + 1
            if order > 3 and order % 2 and all(order % k for k in range(3, order, 2)):
                yield vrx.Curve(p=p, a=a, b=b, q=order, x=x, y=y)
                break


def add(one, other, a, p):
    (x1, y1), (x2, y2) = one, other
    if x1 == x2 and (y1 + y2) % p == 0:
        return None
    slope = (3 * x1 * x1 + a) * pow(2 * y1, -1, p) if one == other else (y2 - y1) * pow(x2 - x1, -1, p)
    x3 = (slope * slope - x1 - x2) % p
    return x3, (slope * (x1 - x3) - y1) % p


def test_keys_on_custom_curves_equal_repeated_addition():
    curves = list(toy_curves())
    assert len(curves) == 3
    for curve in curves:
        at = base = (curve.x, curve.y)
        for number in range(1, curve.q):
            public = vrx.PrivateKey(number.to_bytes(32, "little"), curve).public_key
            assert (public.x, public.y) == at
            at = add(at, base, curve.a, curve.p) if number + 1 < curve.q else at
        assert add(at, base, curve.a, curve.p) is None


def test_custom_curve_equals_the_same_built_in_curve():
    a = vrx.curve("A")
    own = vrx.Curve(name="mine", p=a.p, a=a.a, b=a.b, q=a.q, x=a.x, y=a.y)
    assert own == a and hash(own) == hash(a) and own != vrx.curve("B") and own != "A"
    assert vrx.curve("XchA") == a
    private = vrx.PrivateKey.generate(own)
    vrx.PublicKey(bytes(private.public_key), "A").verify(private.sign(b"message"), b"message")
    with pytest.raises(ValueError, match="^the private key"):
        vrx.PrivateKey(bytes(32), own)


def test_invalid_curves_are_refused():
    a = vrx.curve("A")
    good = {"p": a.p, "a": a.a, "b": a.b, "q": a.q, "x": a.x, "y": a.y}
    for wrong, sentence in [
        ({"p": a.p + 1}, "p and q must be odd primes"),
        ({"p": a.p + 2**256}, "p and q must be odd primes"),
        ({"q": 0}, "p and q must be odd primes"),
        ({"q": -a.q}, "p and q must be odd primes"),
        ({"x": a.p}, "a, b, x and y must be numbers from 0 to p - 1"),
        ({"b": -1}, "a, b, x and y must be numbers from 0 to p - 1"),
        ({"y": a.y ^ 1}, r"\(x, y\) must be a point of order q"),
        ({"q": a.q - 2}, r"\(x, y\) must be a point of order q"),
    ]:
        with pytest.raises(ValueError, match=f"^{sentence}"):
            vrx.Curve(**{**good, **wrong})
    for wrong in (1.5, "1", None):
        for name in good:
            with pytest.raises(TypeError, match="cannot be interpreted as an integer"):
                vrx.Curve(**{**good, name: wrong})
        with pytest.raises(TypeError, match="cannot be interpreted as an integer"):
            vrx.PublicKey.from_numbers(a.x, wrong)


PRIVATE, OTHER = vrx.PrivateKey.generate(), vrx.PrivateKey.generate("B")


@pytest.mark.parametrize(
    "kind, sentence, call",
    [
        (ValueError, "the private key must be 32 bytes long, not 31", lambda: vrx.PrivateKey(bytes(31))),
        (ValueError, "the public key must be 64 bytes long, not 65", lambda: vrx.PublicKey(bytes(65))),
        (ValueError, "x and y must be numbers of at most 256", lambda: vrx.PublicKey.from_numbers(-1, 1)),
        (ValueError, "the signature must be 64", lambda: PRIVATE.public_key.verify(bytes(63), b"")),
        (ValueError, "the digest must be 32", lambda: PRIVATE.public_key.verify_digest(bytes(64), bytes(20))),
        (ValueError, "the digest must be 32", lambda: PRIVATE.sign_digest(bytes(64))),
        (ValueError, "the UKM must not be all zeros", lambda: PRIVATE.agree(PRIVATE.public_key, bytes(8))),
        (ValueError, "the UKM must be 8 bytes long, not 1", lambda: PRIVATE.agree(PRIVATE.public_key, b"1")),
        (ValueError, "both keys must be on the same curve", lambda: PRIVATE.agree(OTHER.public_key, b"1" * 8)),
        (ValueError, "there is no curve 'D'", lambda: vrx.PrivateKey.generate("D")),
        (TypeError, "the peer must be a PublicKey, not bytes", lambda: PRIVATE.agree(bytes(64), b"1" * 8)),
        (TypeError, "the private key must be bytes-like, not str", lambda: vrx.PrivateKey("1" * 32)),
        (TypeError, "data must be bytes-like, not str", lambda: PRIVATE.sign("message")),
        (TypeError, "the digest must be bytes-like, not str", lambda: PRIVATE.sign_digest("1" * 32)),
        (TypeError, "the UKM must be bytes-like, not int", lambda: PRIVATE.agree(PRIVATE.public_key, 8)),
        (TypeError, "a PrivateKey can be neither pickled", lambda: __import__("pickle").dumps(PRIVATE)),
    ],
)
def test_invalid_arguments_are_refused(kind, sentence, call):
    with pytest.raises(kind, match=f"^{sentence}"):
        call()


@pytest.mark.parametrize("curve", ["Test", "B", "C", "XchB"])
def test_signature_with_r_or_s_out_of_range_is_invalid(curve):
    """RFC 5832 accepts only r and s from 1 to q - 1; ecVerify() also accepts s + q, which may fit into 32 bytes."""
    private = vrx.PrivateKey.generate(curve)
    order = int.from_bytes(bytes(private.curve._record.q), "little")
    for i in range(200):
        message = str(i).encode()
        signature = private.sign(message)
        s, r = int.from_bytes(signature[:32], "big"), int.from_bytes(signature[32:], "big")
        if max(s, r) + order < 1 << 256:
            break
    for twin in ((s + order, r), (s, r + order), (0, r), (s, 0), (s, order), (order, r)):
        with pytest.raises(vrx.InvalidSignature):
            private.public_key.verify(b"".join(n.to_bytes(32, "big") for n in twin), message)


def drawn_from(octets):
    """Return a replacement for the system's random source, which repeats these bytes."""
    place = [0]

    @_c.RND_FUNC
    def fill(buffer, size):
        for i in range(size):
            ctypes.memset(buffer + i, octets[place[0] % len(octets)], 1)
            place[0] += 1
        return 0

    return fill


def test_nonces_differ_if_the_system_source_repeats_itself(monkeypatch):
    private, sequence = vrx.PrivateKey.generate("B"), random.Random(7).randbytes(100_003)
    signatures = []
    for message in (b"one", b"two", b"one"):
        monkeypatch.setattr(_keys, "_SYSTEM", drawn_from(sequence))
        signatures.append(private.sign(message))
        private.public_key.verify(signatures[-1], message)
    assert signatures[0][32:] != signatures[1][32:]
    assert signatures[0] == signatures[2]


@pytest.mark.parametrize("octets", [bytes(1), b"x", bytes(range(4))])
def test_stuck_system_source_is_an_error(monkeypatch, octets):
    private = vrx.PrivateKey.generate()
    monkeypatch.setattr(_keys, "_SYSTEM", drawn_from(octets))
    for call in (lambda: private.sign(b"message"), vrx.PrivateKey.generate):
        with pytest.raises(vrx.Error, match="RANDOM|random"):
            call()


def test_signature_that_does_not_verify_is_not_returned(monkeypatch):
    private, right = vrx.PrivateKey.generate(), _c.lib.ecSign

    def faulty(*arguments):
        right(*arguments)
        arguments[-1].s[0] ^= 1

    monkeypatch.setattr(_c.lib, "ecSign", faulty)
    with pytest.raises(vrx.InvalidSignature):
        private.sign(b"message")
