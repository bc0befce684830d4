"""Arguments and result buffers of the library, and records that are wiped."""

from __future__ import annotations

import ctypes
import threading
from typing import TYPE_CHECKING, Any, Generic, Iterator, NoReturn, TypeVar

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer, WriteableBuffer

# The library takes 32-bit lengths, so longer data is passed in pieces: a multiple of every block size.
PIECE = 1 << 30

Record = TypeVar("Record", bound="ctypes.Structure | ctypes.Array[Any]")
Self = TypeVar("Self", bound="Secret[Any]")

# Creates a bytes object with undefined contents. The caller writes them before the object is used elsewhere.
new_bytes = ctypes.PYFUNCTYPE(ctypes.py_object, ctypes.c_void_p, ctypes.c_ssize_t)(
    ("PyBytes_FromStringAndSize", ctypes.pythonapi)
)


class Octets:
    """The bytes of a bytes-like object: `pointer`, as ctypes takes it, and `size`.

    Bytes and writable buffers are not copied; read-only views are copied. While a buffer is in use, it cannot be
    resized.
    """

    __slots__ = ("pointer", "size", "_held")

    def __init__(self, source: ReadableBuffer, what: str, size: int | None = None) -> None:
        self.pointer: bytes | int
        if not isinstance(source, bytes):
            view = _view(source, what)
            if view.readonly or not view.nbytes:
                source = bytes(view)
            else:
                self._held = ctypes.c_char.from_buffer(view)
                self.pointer, self.size = ctypes.addressof(self._held), view.nbytes
        if isinstance(source, bytes):
            self.pointer, self.size = source, len(source)
        if size is not None and self.size != size:
            raise ValueError(f"{what} must be {size} bytes long, not {self.size}")


def copied(source: ReadableBuffer, what: str, size: int) -> bytes:
    """Return an argument of a fixed size as bytes: aligned, and not shared with a writable buffer."""
    Octets(source, what, size)
    return bytes(source)


def argument(source: ReadableBuffer, what: str, least: int = 0) -> Octets:
    """Return the bytes of an argument of variable length."""
    octets = Octets(source, what)
    if not least <= octets.size <= PIECE:
        raise ValueError(f"{what} must be {least} to {PIECE} bytes long, not {octets.size}")
    return octets


class Room(Octets):
    """A writable buffer for results, with its address."""

    __slots__ = ("address",)

    def __init__(self, target: WriteableBuffer, what: str) -> None:
        if _view(target, what).readonly:
            raise TypeError(f"{what} must be writable")
        super().__init__(target, what)
        if not self.size:
            # The library takes NULL as a query for the size.
            self._held = ctypes.c_char()
            self.pointer = ctypes.addressof(self._held)
        assert isinstance(self.pointer, int)
        self.address = self.pointer


def _view(source: ReadableBuffer, what: str) -> memoryview:
    try:
        view = memoryview(source)
    except TypeError:
        raise TypeError(f"{what} must be bytes-like, not {type(source).__name__}") from None
    if not view.c_contiguous:
        raise ValueError(f"{what} must be contiguous in memory")
    return view


def pieces(source: ReadableBuffer, what: str) -> Iterator[Octets]:
    """Yield the bytes in pieces of at most PIECE bytes, none of them empty."""
    whole = Octets(source, what)
    if whole.size <= PIECE:
        if whole.size:
            yield whole
        return
    view = memoryview(source).cast("B")
    for start in range(0, whole.size, PIECE):
        yield Octets(view[start : start + PIECE], what)


def overlap(a: Octets, b: Octets) -> bool:
    """Return whether two buffers share memory. A bytes object never does."""
    if isinstance(a.pointer, bytes) or isinstance(b.pointer, bytes):
        return False
    return a.pointer < b.pointer + b.size and b.pointer < a.pointer + a.size


def wipe(record: ctypes.Structure | ctypes.Array[Any]) -> None:
    """Zero a record."""
    ctypes.memset(ctypes.addressof(record), 0, ctypes.sizeof(record))


class Secret(Generic[Record]):
    """An object with a record of the library.

    The record is zeroed on close(), at the end of a `with` block, or when the object is collected. Calls of the library
    release the global interpreter lock, so a lock of the object is held around every call that uses the record.
    """

    _record: Record | None = None

    def __init__(self, record: Record) -> None:
        self._lock = threading.Lock()
        self._record = record

    def _open(self) -> Record:
        """Return the record. The caller holds the lock."""
        if self._record is None:
            raise ValueError(f"this {type(self).__name__} is closed")
        return self._record

    def close(self) -> None:
        """Wipe the record. The object cannot be used afterwards; closing it again has no effect."""
        with self._lock:
            self._wipe()

    def _wipe(self) -> None:
        if self._record is not None:
            wipe(self._record)
            self._record = None

    def __del__(self) -> None:
        self._wipe()

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __reduce_ex__(self, _protocol: object) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} can be neither pickled nor copied this way")
