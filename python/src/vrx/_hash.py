"""Hashes, MACs and password-based key derivation. Hash objects follow the hashlib interface."""

from __future__ import annotations

import ctypes
import threading
from abc import abstractmethod
from operator import index
from typing import TYPE_CHECKING, Any, TypeVar, Union

from . import _c
from ._cipher import AnyParameters, open_context, settings
from ._memory import Octets, Secret, argument, pieces, wipe
from ._parameters import HashParameters, SBoxes, hash_parameters

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer

Self = TypeVar("Self", bound="Hash")


class Hash(Secret["ctypes.Structure"]):
    """A hash or a MAC of a message in pieces, with the interface of `hashlib` objects.

    `gostr3411`, `sha1`, `hmac` and `mac` create it. It is wiped when it is closed or collected.
    """

    name: str  #: name of the algorithm
    digest_size: int  #: length of a digest in bytes
    block_size: int  #: length of a block in bytes

    def __init__(self, record: ctypes.Structure, data: ReadableBuffer) -> None:
        """Call `gostr3411`, `sha1`, `hmac` or `mac` instead."""
        super().__init__(record)
        self.update(data)

    @abstractmethod
    def _absorb(self, record: Any, piece: Octets) -> None:
        """Add a piece of the message, at least one byte."""

    @abstractmethod
    def _finish(self, record: Any) -> bytes:
        """Return the digest. The record is not used again."""

    def update(self, data: ReadableBuffer, /) -> None:
        """Add a piece of the message."""
        with self._lock:
            record = self._open()
            for piece in pieces(data, "data"):
                self._absorb(record, piece)

    def digest(self) -> bytes:
        """Return the digest of the data so far. More data may follow."""
        record = self._copied()
        try:
            return self._finish(record)
        finally:
            wipe(record)

    def hexdigest(self) -> str:
        """Return the digest of the data so far in hexadecimal."""
        return self.digest().hex()

    def copy(self: Self) -> Self:
        """Return a copy of the object, for messages with a common beginning."""
        twin = type(self).__new__(type(self))
        twin._lock = threading.Lock()
        twin._record = self._copied()
        return twin

    __copy__ = copy

    def _copied(self) -> ctypes.Structure:
        with self._lock:
            record = self._open()
            return type(record).from_buffer_copy(record)

    def __repr__(self) -> str:
        return f"<vrx {self.name} hash>"


class _GostR3411(Hash):
    name, digest_size, block_size = "gostr3411", 32, 32

    def _absorb(self, record: Any, piece: Octets) -> None:
        _c.lib.GOSTR3411_Update(record, piece.pointer, piece.size)

    def _finish(self, record: Any) -> bytes:
        digest = (ctypes.c_char * 32)()
        _c.lib.GOSTR3411_Final(record, digest)
        return digest.raw


class _Sha1(Hash):
    name, digest_size, block_size = "sha1", 20, 64

    def _absorb(self, record: Any, piece: Octets) -> None:
        _c.lib.shaUpdate(record, piece.pointer, piece.size)

    def _finish(self, record: Any) -> bytes:
        digest = (ctypes.c_char * 20)()
        _c.lib.shaFinal(record, digest)
        return digest.raw


class _Hmac(Hash):
    name, digest_size, block_size = "hmac-gostr3411", 32, 32

    def _absorb(self, record: Any, piece: Octets) -> None:
        _c.lib.GOSTR3411_HMAC_Update(record, piece.pointer, piece.size)

    def _finish(self, record: Any) -> bytes:
        _c.lib.GOSTR3411_HMAC_Final(record, None, ctypes.byref(ctypes.c_uint32()))
        return bytes(record.digest)


class _Mac(Hash):
    name, digest_size, block_size = "gost28147-mac", 8, 8

    def _absorb(self, record: Any, piece: Octets) -> None:
        _c.lib.vrx_crpt_update(record, _c.vrx_data(piece.size, piece.pointer), None)

    def _finish(self, record: Any) -> bytes:
        _c.lib.vrx_crpt_final(record)
        return bytes(record.mac)


def gostr3411(
    data: ReadableBuffer = b"", *, parameters: Union[str, bytes, HashParameters, SBoxes] = "CryptoPro"
) -> Hash:
    """Compute GOST R 34.11-94: 32 bytes, least significant first, as most programs print them.

    `parameters` is a parameter set, its name ("CryptoPro", "test") or object identifier, or custom S-boxes.

    >>> gostr3411(b"abc").hexdigest()
    'b285056dbf18d7392d7677369524dd14747459ed8143997e163b2986f92fd42c'
    >>> gostr3411(b"abc", parameters="test").hexdigest()
    'f3134348c44fb1b2a277729e2285ebb5cb5e0f29c975bc753b70497c06a4d51d'
    """
    boxes = parameters if isinstance(parameters, SBoxes) else hash_parameters(parameters).sboxes
    record = _c.GOSTR3411_CTX()
    _c.lib.GOSTR3411_Init_ex(record, boxes._table)
    return _GostR3411(record, data)


def sha1(data: ReadableBuffer = b"") -> Hash:
    """Compute SHA-1. Use it only for older formats that require it: it is not collision-resistant.

    >>> sha1(b"abc").hexdigest()
    'a9993e364706816aba3e25717850c26c9cd0d89d'
    """
    record = _c.sha_context()
    _c.lib.shaInit(record)
    return _Sha1(record, data)


def hmac(
    key: ReadableBuffer, data: ReadableBuffer = b"", *, parameters: Union[str, bytes, HashParameters] = "CryptoPro"
) -> Hash:
    """Compute HMAC (RFC 2104) with GOST R 34.11-94, under a key of any length. Compare MACs with `hmac.compare_digest`.

    >>> hmac(bytes(range(32)), bytes.fromhex("0126bdb87800af214341456563780100"), parameters="test").hexdigest()
    'bfebe25f051bfef6ac858babb0abc409bfd2e334ab847bc0b0d056517c7d94c5'
    """
    der = _built_in(parameters)
    octets = argument(key, "the key")
    record = _c.GOSTR3411_HMAC_CTX()
    _c.lib.GOSTR3411_HMAC_Init(record, der, len(der), octets.pointer, octets.size)
    return _Hmac(record, data)


def mac(
    key: ReadableBuffer,
    data: ReadableBuffer = b"",
    *,
    parameters: AnyParameters = "CryptoPro-A",
    key_meshing: bool | None = None,
    iv: ReadableBuffer | None = None,
) -> Hash:
    """Compute the MAC of GOST 28147-89 under a key of 32 bytes: 8 bytes, of which most formats use the first 4.

    `iv` is the initial state, 8 bytes; None means zeros.

    Warning: the message is padded with zeros to whole blocks, so messages that differ only in trailing zeros have the
    same MAC. Authenticate the length too, or use messages of a fixed length.

    >>> key = bytes.fromhex("9d05b79e90cad00a2cdad22ef4e86f5cf5dc37681985b3bfaa18c1c3050a91a2")
    >>> mac(key, bytes.fromhex("b5a1f0e3ce2f021d676194345c41e36e")).digest()[:4].hex()
    'f81f08a3'
    """
    boxes, _, meshing = settings(parameters, key_meshing)
    octets = Octets(key, "the key", 32)
    start = None if iv is None else Octets(iv, "the IV", 8)
    return _Mac(open_context(1, boxes, 5, meshing, start, octets.pointer), data)


def pbkdf2(
    password: ReadableBuffer,
    salt: ReadableBuffer,
    iterations: int,
    *,
    parameters: Union[str, bytes, HashParameters] = "CryptoPro",
) -> bytes:
    """Derive a key of 32 bytes with PBKDF2 (RFC 8018) and HMAC GOST R 34.11-94. The salt must not be empty.

    >>> pbkdf2(b"password", b"salt", 1).hex()
    '7314e7c04fb2e662c543674253f68bd0b73445d07f241bed872882da21662d58'
    """
    der = _built_in(parameters)
    _positive(iterations)
    secret, spice = argument(password, "the password"), argument(salt, "the salt", 1)
    out = (ctypes.c_char * 32)()
    try:
        _c.lib.GOSTR3411_PKCS5_PBKDF2(
            secret.pointer, secret.size, spice.pointer, spice.size, iterations, der, len(der), out, 32
        )
        return out.raw
    finally:
        wipe(out)


def pkcs12(password: str | ReadableBuffer, salt: ReadableBuffer, iterations: int, purpose: int, size: int) -> bytes:
    """Derive bytes with PKCS #12 (RFC 7292, appendix B) and GOST R 34.11-94, parameter set CryptoPro.

    A `str` password is encoded as PKCS #12 requires; bytes are used unchanged. `purpose` is 1 for a key, 2 for an IV, 3
    for a MAC key. Results of up to 32 bytes follow the RFC; longer ones are specific to this library.

    >>> pkcs12("foo123", bytes.fromhex("05b75585c9cc9a58"), 2048, 3, 32).hex()
    'ce172262f17632a5a65ab96349922f24f2a05af7720bba5f4b68a6e7c4c0c295'
    """
    if isinstance(password, str):
        password = (password + "\0").encode("utf-16-be")
    _positive(iterations)
    secret, spice = argument(password, "the password"), argument(salt, "the salt")
    if not secret.size + spice.size:
        raise ValueError("password and salt must not both be empty")
    if not 1 <= index(size) < 1 << 31:
        raise ValueError(f"the size must be from 1 to {(1 << 31) - 1}")
    if purpose not in (1, 2, 3):
        raise ValueError("the purpose must be 1 (key), 2 (IV) or 3 (MAC key)")
    der = _built_in("CryptoPro")
    out = (ctypes.c_char * size)()
    try:
        _c.lib.GOSTR3411_PBA_Derive(
            secret.pointer, secret.size, spice.pointer, spice.size, iterations, purpose, der, len(der), out, size
        )
        return out.raw
    finally:
        wipe(out)


def _built_in(parameters: Union[str, bytes, HashParameters]) -> bytes:
    """Return the DER identifier of a built-in parameter set. These functions accept no custom S-boxes."""
    return hash_parameters(parameters).der


def _positive(iterations: int) -> None:
    if not 1 <= index(iterations) < 1 << 64:
        raise ValueError("iterations must be 1 or more")
