"""S-boxes, and the parameter sets of RFC 4357 by name or object identifier."""

from __future__ import annotations

import ctypes
import enum
import re
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Iterable, Sequence, TypeVar

from . import _c
from ._memory import Octets, copied

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer


class Mode(enum.Enum):
    """A mode of the cipher. The value is its name in the library.

    >>> Mode("gfb")
    <Mode.CFB: 'gfb'>
    """

    ECB = "ss"  #: simple substitution: each block by itself
    CTR = "gamm"  #: counter mode
    CFB = "gfb"  #: cipher feedback
    CBC = "cbc"  #: cipher block chaining

    @property
    def number(self) -> int:
        """The number of the mode in the library."""
        return list(Mode).index(self) + 1

    @property
    def whole_blocks(self) -> bool:
        """True if the length of a message must be a multiple of 8 bytes."""
        return self in (Mode.ECB, Mode.CBC)


class SBoxes:
    """Eight 4-bit S-boxes for the cipher and the hash: those of a parameter set, or your own.

    >>> boxes = SBoxes.from_rows([range(16)] * 8)
    >>> bytes(boxes)[:8].hex()
    '0000000011111111'
    >>> boxes == SBoxes.from_text(boxes.text)
    True
    """

    def __init__(self, octets: ReadableBuffer) -> None:
        """Create them from 64 bytes: byte 4i + m holds the outputs of S-box 2m (low nibble) and 2m + 1 for input i."""
        self._table = _c.vrx_tz()
        _c.lib.vrx_crpt_deploy_TZ(Octets(octets, "the S-boxes", 64).pointer, self._table)

    @classmethod
    def _of(cls, table: _c.vrx_tz) -> SBoxes:
        boxes = cls.__new__(cls)
        boxes._table = table
        return boxes

    @classmethod
    def from_text(cls, text: str) -> SBoxes:
        """Create them from 128 hexadecimal digits: 16 rows, each with the outputs of all S-boxes for one input."""
        if not isinstance(text, str):
            raise TypeError(f"the S-boxes must be a str, not {type(text).__name__}")
        if not re.fullmatch("[0-9A-Fa-f]{128}", text):
            raise ValueError("the S-boxes must be 128 hexadecimal digits")
        return cls.from_der(bytes.fromhex(text))

    @classmethod
    def from_der(cls, octets: ReadableBuffer) -> SBoxes:
        """Create them from 64 bytes as in RFC 4357, section 11.1, where the nibbles of every byte are swapped."""
        numeric = bytearray(copied(octets, "the S-boxes", 64))
        _c.lib.vrx_crpt_swap_num_TZ(Octets(numeric, "the S-boxes").pointer)
        return cls(numeric)

    @classmethod
    def from_rows(cls, rows: Sequence[Iterable[int]]) -> SBoxes:
        """Create them from eight rows, K1 to K8 in the standards, each with the 16 outputs of one S-box."""
        values = [list(row) for row in rows]
        if len(values) != 8 or any(len(row) != 16 or not all(0 <= v <= 15 for v in row) for row in values):
            raise ValueError("the S-boxes must be eight rows of 16 numbers from 0 to 15")
        return cls(bytes(values[2 * m][i] | values[2 * m + 1][i] << 4 for i in range(16) for m in range(4)))

    def __bytes__(self) -> bytes:
        """The 64 bytes that the constructor takes."""
        # Entry x of table k: the outputs for both nibbles of x, shifted to byte k, then rotated left by 11 bits.
        entries = ((k, self._table.t[k][0x11 * i]) for i in range(16) for k in range(4))
        return bytes((entry >> 11 | entry << 21) >> 8 * k & 255 for k, entry in entries)

    @property
    def text(self) -> str:
        """The 128 digits that `from_text` takes."""
        return "".join(f"{octet & 15:X}{octet >> 4:X}" for octet in bytes(self))

    @property
    def rows(self) -> tuple[tuple[int, ...], ...]:
        """The eight rows that `from_rows` takes."""
        return tuple(tuple(int(digit, 16) for digit in self.text[r::8]) for r in range(8))

    def __eq__(self, other: object) -> bool:
        return isinstance(other, SBoxes) and bytes(self) == bytes(other)

    def __hash__(self) -> int:
        return hash(bytes(self))

    def __repr__(self) -> str:
        return f"SBoxes.from_text({self.text!r})"

    def __reduce__(self) -> tuple[type[SBoxes], tuple[bytes]]:
        return type(self), (bytes(self),)


@dataclass(frozen=True)
class HashParameters:
    """A parameter set of GOST R 34.11-94."""

    name: str  #: name in RFC 4357
    oid: str  #: object identifier in dotted notation
    der: bytes  #: object identifier in DER
    sboxes: SBoxes


@dataclass(frozen=True)
class CipherParameters:
    """A parameter set of GOST 28147-89."""

    name: str  #: name in RFC 4357
    oid: str  #: object identifier in dotted notation
    der: bytes  #: object identifier in DER
    sboxes: SBoxes
    mode: Mode  #: default mode
    key_meshing: bool  #: whether the key changes after every 1024 bytes


def identifiers(record: Any, length: int) -> tuple[str, bytes]:
    """Return the object identifier of a record in dotted notation and in DER."""
    return record.str_oid.decode(), ctypes.string_at(record.oid, length)


def _hash_parameters(record: Any) -> HashParameters:
    oid, der = identifiers(record, record.oid_length)
    return HashParameters(record.name.decode(), oid, der, SBoxes._of(record.tz.contents))


def _cipher_parameters(record: Any) -> CipherParameters:
    oid, der = identifiers(record, record.oid_length)
    mode = list(Mode)[record.mode - 1]
    boxes = SBoxes._of(record.tz.contents)
    return CipherParameters(record.name.decode(), oid, der, boxes, mode, record.key_meshing == 1)


#: The hash parameter sets: test, CryptoPro.
HASH_PARAMETERS = tuple(map(_hash_parameters, _c.data.GOSTR3411_OIDS))

#: The cipher parameter sets, 1.2.643.2.2.31.0 to 9.
CIPHER_PARAMETERS = tuple(map(_cipher_parameters, _c.data.GOST28147_CRYPTO_PRO_OIDS))

Named = TypeVar("Named", bound=Any)


def by_name(known: Sequence[Named], nicknames: Sequence[str] = ()) -> dict[str | bytes, Named]:
    """Index objects by their names in lower case, and by their object identifiers in dotted notation and in DER.

    The common parts of names are optional: CryptoPro-A and A mean id-Gost28147-89-CryptoPro-A-ParamSet.
    """
    index: dict[str | bytes, Named] = {}
    for one, nickname in zip(known, nicknames or [one.name for one in known]):
        middle = re.sub("^id-Gost[^-]*-(89|94|2001)-|-?ParamSet$", "", one.name)
        for name in (one.name, middle, re.sub("^CryptoPro-", "", middle), nickname):
            index[name.lower()] = one
        index[one.oid] = index[one.der] = one
    return index


def find(index: dict[str | bytes, Named], wanted: str | bytes, what: str) -> Named:
    """Look up a name or an object identifier. Names are case-insensitive."""
    if not isinstance(wanted, (str, bytes)):
        raise TypeError(f"the {what} must be a name, an object identifier or a {what}")
    name: str | bytes = wanted.lower() if isinstance(wanted, str) else wanted
    if name not in index:
        raise ValueError(f"there is no {what} {wanted!r}")
    return index[name]


_HASH_PARAMETERS = by_name(HASH_PARAMETERS)
_CIPHER_PARAMETERS = by_name(CIPHER_PARAMETERS, ["test", "A", "B", "C", "D", "0S", "SA", "SB", "SC", "SD"])


def hash_parameters(wanted: str | bytes | HashParameters) -> HashParameters:
    """Find a hash parameter set by its name or object identifier, in dotted notation or in DER.

    >>> hash_parameters("CryptoPro").oid
    '1.2.643.2.2.30.1'
    """
    return wanted if isinstance(wanted, HashParameters) else find(_HASH_PARAMETERS, wanted, "hash parameter set")


def cipher_parameters(wanted: str | bytes | CipherParameters) -> CipherParameters:
    """Find a cipher parameter set by its name or object identifier, in dotted notation or in DER.

    >>> a = cipher_parameters("1.2.643.2.2.31.1")
    >>> a.name, a.mode, a.key_meshing
    ('id-Gost28147-89-CryptoPro-A-ParamSet', <Mode.CFB: 'gfb'>, True)
    >>> cipher_parameters("A") is a
    True
    """
    if isinstance(wanted, CipherParameters):
        return wanted
    return find(_CIPHER_PARAMETERS, wanted, "cipher parameter set")


_TABLES = dict(
    zip(
        ("tz_test", "tz_a", "tz_b", "tz_c", "tz_d", "tz_0", "tz_1"),
        map(SBoxes._of, (*_c.data.TZ_28147_89, *_c.data.TZ_3411_94)),
    )
)


def sboxes(name: str) -> SBoxes:
    """Find built-in S-boxes: "tz_test" and "tz_a" to "tz_d" of the cipher, "tz_0" and "tz_1" of the hash.

    >>> sboxes("tz_a") == cipher_parameters("A").sboxes
    True
    """
    if name not in _TABLES:
        raise ValueError(f"there are no S-boxes {name!r}")
    return _TABLES[name]
