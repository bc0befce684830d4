"""Curves, key pairs, signatures and key agreement of GOST R 34.10-2001."""

from __future__ import annotations

import ctypes
from contextlib import contextmanager
from dataclasses import dataclass, field
from operator import index
from typing import TYPE_CHECKING, Any, Callable, Iterator, Optional, Union

from . import _c, _keyfile
from ._hash import gostr3411
from ._memory import Octets, Secret, copied, wipe
from ._parameters import (
    CIPHER_PARAMETERS,
    HASH_PARAMETERS,
    CipherParameters,
    HashParameters,
    SBoxes,
    by_name,
    find,
    hash_parameters,
    identifiers,
)

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer

_Digits = ctypes.c_uint32 * 9

#: Parameters of the hash: a parameter set, its name or object identifier, or S-boxes.
AnyHash = Union[str, bytes, HashParameters, SBoxes]

#: A source of random bytes: a function of the number of bytes, which returns them. None selects the operating system's
#: source.
Random = Optional[Callable[[int], bytes]]

# getentropy() of the C library has the type of an RND_FUNC, so random bytes never pass through Python objects.
_SYSTEM = _c.RND_FUNC(("getentropy", ctypes.CDLL(None)))


_HASH_OID = bytes.fromhex("06072a850302021e01")  # id-GostR3411-94-CryptoProParamSet


def _system(buffer: Any, size: int) -> None:
    """Fill a buffer with the operating system's random numbers. Raise Error if the source fails or is stuck."""
    again = (ctypes.c_ubyte * 16)()
    for start, end in ((buffer, size), (again, 16)):
        for done in range(0, end, 256):  # the limit of one call
            if _SYSTEM(ctypes.addressof(start) + done, min(256, end - done)) != 0:
                raise _c.Error("getentropy", -3)
    drawn = (ctypes.c_ubyte * size).from_buffer(buffer)
    varies = differs = 0
    for octet in drawn:
        varies |= octet ^ drawn[0]
    for octet, other in zip(drawn, again):
        differs |= octet ^ other
    if not (varies and differs):
        raise _c.Error("getentropy", -3)


class _Hedge:
    """Hedged nonces: RFC 6979, section 3.6, with HMAC GOST R 34.11-94 over private key, digest and random bytes.

    The table look-ups of the hash depend on its input. Random masks on the key and on every nonce keep both secret.
    """

    def __init__(self, record: _c.EcParamSet, digest: bytes, number: Any) -> None:
        self._key, self._value = (ctypes.c_ubyte * 32)(), (ctypes.c_ubyte * 32)(*[1] * 32)
        seed = (ctypes.c_ubyte * 136)()  # masked key, digest, random bytes, order of the curve
        masked, fresh = (ctypes.c_ubyte * 36).from_buffer(seed), (ctypes.c_ubyte * 32).from_buffer(seed, 68)
        _system(masked, 36)
        _system(fresh, 32)
        for i, octet in enumerate((ctypes.c_ubyte * 36).from_buffer(number)):
            masked[i] ^= octet
        seed[36:68] = list(digest)
        seed[100:136] = list(bytes(record.q))
        self._update(0, seed)
        self._update(1, seed)
        wipe(seed)

    def _mac(self, data: Any, out: Any) -> None:
        size, mac = ctypes.c_uint32(), (ctypes.c_ubyte * 32)()
        length, written = ctypes.sizeof(data), ctypes.byref(size)
        _c.lib.GOSTR3411_HMAC(_HASH_OID, len(_HASH_OID), data, length, self._key, 32, mac, written)
        ctypes.memmove(out, mac, 32)
        wipe(mac)

    def _update(self, tag: int, more: Any) -> None:
        data = (ctypes.c_ubyte * (33 + (ctypes.sizeof(more) if more else 0)))()
        ctypes.memmove(data, self._value, 32)
        data[32] = tag
        if more:
            ctypes.memmove(ctypes.addressof(data) + 33, more, ctypes.sizeof(more))
        self._mac(data, self._key)
        self._mac(self._value, self._value)
        wipe(data)

    def fill(self, buffer: Any, size: int) -> None:
        _system(buffer, size)
        for done in range(size):
            if done % 32 == 0:
                self._mac(self._value, self._value)
            buffer[done] ^= self._value[done % 32]
        self._update(0, None)

    def close(self) -> None:
        wipe(self._key)
        wipe(self._value)


class InvalidSignature(_c.Error):
    """The signature is not valid for the message and the key."""

    def __init__(self, function: str = "ecVerify", code: int = -1) -> None:
        super().__init__(function, code)
        self.args = ("the signature is not valid for this message and key",)


@contextmanager
def _random(source: Random | _Hedge) -> Iterator[Any]:
    """Wrap a random source for the library. An exception of the source is raised again at the end."""
    raised = list[BaseException]()

    def fill(buffer: int, size: int) -> int:
        try:
            if source is None or isinstance(source, _Hedge):
                (source.fill if source else _system)((ctypes.c_ubyte * size).from_address(buffer), size)
            else:
                octets = Octets(source(size), "random bytes", size)
                ctypes.memmove(buffer, octets.pointer, size)
        except BaseException as failure:
            raised.append(failure)
        return -1 if raised else 0

    try:
        yield _c.RND_FUNC(fill)
    except _c.Error:
        if raised:
            raise raised[0] from None
        raise


def _number(digits: Any) -> int:
    return int.from_bytes(bytes(digits), "little")


def _digits(number: int) -> Any:
    return _Digits.from_buffer_copy(number.to_bytes(36, "little"))


def _on_curve(record: _c.EcParamSet, point: _c.EcPoint) -> bool:
    """Return whether a point is on the curve, and not the point at infinity."""
    reduced = all(_c.lib.mpCompare(number, record.p, 9) < 0 for number in (point.x, point.y))
    if not reduced or _c.lib.epIsZero(point):
        return False
    try:
        _c.lib.ecCheckPublicKey(record, point)
    except _c.Error:
        return False
    return True


@dataclass(frozen=True, repr=False)
class Curve:
    """A curve y^2 = x^3 + ax + b modulo p with a base point (x, y) of order q: a built-in one, or your own.

    p and q have at most 256 bits. The constructor does not check that they are primes.

    >>> curve("A").q.bit_length()
    256
    """

    p: int
    a: int
    b: int
    q: int
    x: int
    y: int
    name: str = field(default="", compare=False)  #: name in RFC 4357, if built in
    oid: str = field(default="", compare=False)  #: object identifier in dotted notation
    der: bytes = field(default=b"", compare=False)  #: object identifier in DER

    def __post_init__(self) -> None:
        p, q, *others = map(index, (self.p, self.q, self.a, self.b, self.x, self.y))
        if not (3 < p < 1 << 256 and p % 2 and 1 < q < 1 << 256 and q % 2):
            raise ValueError("p and q must be odd primes of at most 256 bits")
        if not all(0 <= number < p for number in others):
            raise ValueError("a, b, x and y must be numbers from 0 to p - 1")
        base = _c.EcPoint(_digits(self.x), _digits(self.y))
        record = _c.EcParamSet(a=_digits(self.a), b=_digits(self.b), p=_digits(p), q=_digits(q), G=base)
        multiple = _c.EcPoint()
        _c.lib.epMult(multiple, base, record.q, record)
        if not _on_curve(record, base) or not _c.lib.epIsZero(multiple):
            raise ValueError("(x, y) must be a point of order q")
        self.__dict__["_set"] = record

    @classmethod
    def _built_in(cls, record: _c.EcParamSet, name: bytes) -> Curve:
        curve = cls.__new__(cls)
        numbers = (record.p, record.a, record.b, record.q, record.G.x, record.G.y)
        oid, der = identifiers(record, record.oid_len)
        curve.__dict__.update(zip("pabqxy", map(_number, numbers)))
        curve.__dict__.update(name=name.decode(), oid=oid, der=der, _set=record)
        return curve

    @property
    def _record(self) -> _c.EcParamSet:
        """The parameter record of the library."""
        record: _c.EcParamSet = self.__dict__["_set"]
        return record

    def __repr__(self) -> str:
        return f"<Curve {self.name or 'custom'}>"


#: The built-in curves: Test, CryptoPro-A, -B, -C, -XchA (that of A), -XchB (that of C).
CURVES = tuple(map(Curve._built_in, _c.data.cp_ecc_par, _c.data.cp_ecc_par_name))
_CURVES = by_name(CURVES)


def curve(wanted: str | bytes | Curve) -> Curve:
    """Find a built-in curve by its name or object identifier, in dotted notation or in DER.

    >>> curve("1.2.643.2.2.36.0")
    <Curve id-GostR3410-2001-CryptoPro-XchA-ParamSet>
    """
    return wanted if isinstance(wanted, Curve) else find(_CURVES, wanted, "curve")


_curve = curve  # another name, for functions whose parameter `curve` hides this one


class _Sets:
    """The parameter sets that belong to a key: those that its file names, else CryptoPro and CryptoPro-A."""

    curve: Curve
    #: The hash parameter set for signatures with this key.
    hash_parameters: HashParameters = HASH_PARAMETERS[1]
    #: The cipher parameter set for messages to the owner of this key.
    cipher_parameters: CipherParameters = CIPHER_PARAMETERS[1]

    def _take_sets(self, hash_set: HashParameters, cipher_set: CipherParameters) -> None:
        self.hash_parameters, self.cipher_parameters = hash_set, cipher_set

    def _file(self, octets: Any, form: int, private: bool) -> bytes:
        """Write the key to a file."""
        number = CURVES.index(self.curve) if self.curve in CURVES else len(CURVES)
        sets = HASH_PARAMETERS.index(self.hash_parameters), CIPHER_PARAMETERS.index(self.cipher_parameters)
        key = _keyfile.Key(number, *sets)
        try:
            ctypes.memmove(key.octets, octets, ctypes.sizeof(octets))
            return _keyfile.write(key, form, private)
        finally:
            wipe(key)


class PublicKey(_Sets):
    """A public key: verifies signatures.

    >>> private = PrivateKey.generate()
    >>> signature = private.sign(b"message")
    >>> private.public_key.verify(signature, b"message")
    >>> private.public_key.verify(signature, b"another message")
    Traceback (most recent call last):
    vrx.InvalidSignature: the signature is not valid for this message and key
    """

    def __init__(self, octets: ReadableBuffer, curve: str | bytes | Curve = "CryptoPro-A") -> None:
        """Create a key from 64 bytes: x, then y, each least significant byte first, as in RFC 4491."""
        point = _c.EcPoint()
        _c.lib.ecLoadPublicKeyValue(Octets(octets, "the public key", 64).pointer, point)
        self._set_up(point, curve)

    def _set_up(self, point: _c.EcPoint, wanted: str | bytes | Curve) -> None:
        self.curve = curve(wanted)
        self._point = point
        if not _on_curve(self.curve._record, point):
            raise ValueError("the public key is not a point on the curve")

    @classmethod
    def from_numbers(cls, x: int, y: int, curve: str | bytes | Curve = "CryptoPro-A") -> PublicKey:
        """Create a key from the coordinates x and y."""
        if not (0 <= index(x) < 1 << 256 and 0 <= index(y) < 1 << 256):
            raise ValueError("x and y must be numbers of at most 256 bits")
        return cls(x.to_bytes(32, "little") + y.to_bytes(32, "little"), curve)

    @classmethod
    def from_pem(cls, text: str | ReadableBuffer) -> PublicKey:
        """Read the text of a PEM file: BEGIN PUBLIC KEY. Raises KeyFileError if it is not a valid key."""
        return cls._from_file(text, _keyfile.PEM)

    @classmethod
    def from_der(cls, octets: ReadableBuffer) -> PublicKey:
        """Read SubjectPublicKeyInfo in DER. Raises KeyFileError if it is not a valid key."""
        return cls._from_file(octets, _keyfile.DER)

    @classmethod
    def _from_file(cls, file: str | ReadableBuffer, form: int) -> PublicKey:
        found = _keyfile.read(file, form, private=False)
        key = cls(bytes(found.octets), CURVES[found.curve])
        key._take_sets(HASH_PARAMETERS[found.hash], CIPHER_PARAMETERS[found.cipher])
        return key

    def to_pem(self) -> str:
        """Return the key as a PEM file. The curve and the parameter sets must be built in."""
        return self._write(_keyfile.PEM).decode("ascii")

    def to_der(self) -> bytes:
        """Return the key as SubjectPublicKeyInfo in DER. The curve and the parameter sets must be built in."""
        return self._write(_keyfile.DER)

    def _write(self, form: int) -> bytes:
        octets = (ctypes.c_ubyte * 64)()
        _c.lib.ecUnloadPublicKeyValue(self._point, octets)
        return self._file(octets, form, private=False)

    @property
    def x(self) -> int:
        """The x-coordinate."""
        return _number(self._point.x)

    @property
    def y(self) -> int:
        """The y-coordinate."""
        return _number(self._point.y)

    def __bytes__(self) -> bytes:
        """The 64 bytes that the constructor takes."""
        octets = (ctypes.c_char * 64)()
        _c.lib.ecUnloadPublicKeyValue(self._point, octets)
        return octets.raw

    def verify(
        self, signature: ReadableBuffer, message: ReadableBuffer, *, parameters: AnyHash | None = None
    ) -> None:
        """Raise InvalidSignature unless the signature, 64 bytes, is valid for the message.

        `parameters` belong to the hash, GOST R 34.11-94; None selects those of the key, `hash_parameters`. A signature
        with r or s outside of 1 to q - 1 is invalid.
        """
        sets = self.hash_parameters if parameters is None else parameters
        self.verify_digest(signature, gostr3411(message, parameters=sets).digest())

    def verify_digest(self, signature: ReadableBuffer, digest: ReadableBuffer) -> None:
        """Raise InvalidSignature unless the signature, 64 bytes, is valid for a digest of 32 bytes."""
        record = _c.EcSignature()
        _c.lib.ecLoadSignValue(Octets(signature, "the signature", 64).pointer, record)
        words = copied(digest, "the digest", 32)
        # ecVerify() also accepts s + q; RFC 5832, section 6.2, does not.
        if not all(0 < _number(number) < self.curve.q for number in (record.r, record.s)):
            raise InvalidSignature
        try:
            _c.lib.ecVerify(self.curve._record, words, self._point, record)
        except _c.Error as failure:
            raise InvalidSignature(failure.function, failure.code) from None

    def __eq__(self, other: object) -> bool:
        return isinstance(other, PublicKey) and self.curve == other.curve and bytes(self) == bytes(other)

    def __hash__(self) -> int:
        return hash(bytes(self))

    def __repr__(self) -> str:
        return f"<PublicKey {bytes(self).hex()[:16]}... on {self.curve!r}>"


class PrivateKey(_Sets, Secret["ctypes.Array[ctypes.c_uint32]"]):
    """A private key: signs, and agrees on keys. It is wiped when the object is closed or collected.

    >>> alice, bob = PrivateKey.generate("XchA"), PrivateKey.generate("XchA")
    >>> ukm = b"\\1" * 8
    >>> alice.agree(bob.public_key, ukm) == bob.agree(alice.public_key, ukm)
    True
    """

    def __init__(self, octets: ReadableBuffer, curve: str | bytes | Curve = "CryptoPro-A") -> None:
        """Create a key from 32 bytes, least significant first, as in RFC 4491: a number from 1 to q - 1."""
        number = _Digits()
        super().__init__(number)
        _c.lib.ecLoadPrivateKeyValue(Octets(octets, "the private key", 32).pointer, number)
        self._set_up(curve)

    def _set_up(self, wanted: str | bytes | Curve) -> None:
        self.curve = curve(wanted)
        number = self._open()
        if _c.lib.mpIsZero(number, 9) or _c.lib.mpCompare(number, self.curve._record.q, 9) >= 0:
            raise ValueError("the private key must be a number from 1 to q - 1")
        point = _c.EcPoint()
        _c.lib.ecGeneratePublicKey(self.curve._record, number, point)
        self._public_key = PublicKey.__new__(PublicKey)
        self._public_key._set_up(point, self.curve)

    @classmethod
    def generate(cls, curve: str | bytes | Curve = "CryptoPro-A", *, random: Random = None) -> PrivateKey:
        """Generate a key, with the operating system's random numbers or those of another source."""
        key, number = cls.__new__(cls), _Digits()
        Secret.__init__(key, number)
        with _random(random) as source:
            _c.lib.ecGenerateKeyPair(_curve(curve)._record, source, number, _c.EcPoint())
        key._set_up(curve)
        return key

    @classmethod
    def from_pem(cls, text: str | ReadableBuffer) -> PrivateKey:
        """Read the text of a PEM file: BEGIN PRIVATE KEY, not encrypted. Raises KeyFileError if it is not a valid key.

        You can wipe a bytearray after use, but not a str.
        """
        return cls._from_file(text, _keyfile.PEM)

    @classmethod
    def from_der(cls, octets: ReadableBuffer) -> PrivateKey:
        """Read PKCS #8 in DER. Raises KeyFileError if it is not a valid key."""
        return cls._from_file(octets, _keyfile.DER)

    @classmethod
    def _from_file(cls, file: str | ReadableBuffer, form: int) -> PrivateKey:
        found = _keyfile.read(file, form, private=True)
        hash_set, cipher_set = HASH_PARAMETERS[found.hash], CIPHER_PARAMETERS[found.cipher]
        try:
            key = cls((ctypes.c_ubyte * 32).from_buffer(found.octets), CURVES[found.curve])
        finally:
            wipe(found)
        key._take_sets(hash_set, cipher_set)
        key._public_key._take_sets(hash_set, cipher_set)
        return key

    def to_pem(self) -> str:
        """Return the key as a PEM file, not encrypted. Python cannot wipe the result: discard it soon."""
        return self._write(_keyfile.PEM).decode("ascii")

    def to_der(self) -> bytes:
        """Return the key as PKCS #8 in DER, not encrypted. Python cannot wipe the result: discard it soon."""
        return self._write(_keyfile.DER)

    def _write(self, form: int) -> bytes:
        octets = (ctypes.c_ubyte * 32)()
        try:
            with self._lock:
                _c.lib.ecUnloadPrivateKeyValue(self._open(), octets)
            return self._file(octets, form, private=True)
        finally:
            wipe(octets)

    @property
    def public_key(self) -> PublicKey:
        """The public key. It stays usable after the private key is closed."""
        return self._public_key

    def __bytes__(self) -> bytes:
        """The 32 bytes that the constructor takes. Python cannot wipe bytes objects: discard them soon."""
        octets = (ctypes.c_char * 32)()
        try:
            with self._lock:
                _c.lib.ecUnloadPrivateKeyValue(self._open(), octets)
            return octets.raw
        finally:
            wipe(octets)

    def sign(self, message: ReadableBuffer, *, parameters: AnyHash | None = None, random: Random = None) -> bytes:
        """Sign a message: 64 bytes, s then r, each most significant byte first, as in RFC 4491.

        `parameters` belong to the hash, GOST R 34.11-94; None selects those of the key, `hash_parameters`.
        """
        sets = self.hash_parameters if parameters is None else parameters
        return self.sign_digest(gostr3411(message, parameters=sets).digest(), random=random)

    def sign_digest(self, digest: ReadableBuffer, *, random: Random = None) -> bytes:
        """Sign a digest of 32 bytes.

        Without `random` the nonce is hedged: it depends on the key, the digest and the system's random numbers, so a
        repeating random source does not reveal the key. The signature is verified before it is returned. With `random`
        the numbers of that source are the nonces, without hedging.
        """
        words, record, octets = copied(digest, "the digest", 32), _c.EcSignature(), (ctypes.c_char * 64)()
        with self._lock:
            hedge = _Hedge(self.curve._record, words, self._open()) if random is None else None
            try:
                with _random(hedge or random) as source:
                    _c.lib.ecSign(self.curve._record, words, source, self._open(), record)
            finally:
                if hedge:
                    hedge.close()
        _c.lib.ecUnloadSignValue(record, octets)
        if hedge:
            self._public_key.verify_digest(octets, words)
        return octets.raw

    def agree(
        self, peer: PublicKey, ukm: ReadableBuffer, *, parameters: str | bytes | HashParameters = "CryptoPro"
    ) -> bytes:
        """Agree on a key of 32 bytes (VKO, RFC 4357, section 5.2). Both sides get the same key.

        `ukm` is 8 public bytes, not all zero, the same on both sides. `parameters` belong to the hash, GOST R 34.11-94.
        """
        if not isinstance(peer, PublicKey):
            raise TypeError(f"the peer must be a PublicKey, not {type(peer).__name__}")
        if peer.curve != self.curve:
            raise ValueError("both keys must be on the same curve")
        material = copied(ukm, "the UKM", 8)
        if not any(material):
            raise ValueError("the UKM must not be all zeros")
        der = hash_parameters(parameters).der
        kek = (ctypes.c_char * 32)()
        try:
            with self._lock:
                oid = _c.vrx_data(len(der), der)
                _c.lib.ecMakeKEK(self.curve._record, oid, material, self._open(), peer._point, kek)
            return kek.raw
        finally:
            wipe(kek)

    def __repr__(self) -> str:
        return f"<PrivateKey on {self.curve!r}>"
