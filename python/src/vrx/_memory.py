"""Bytes on their way into the library and out of it, and records that forget what they held."""

from __future__ import annotations

import ctypes
import threading
from typing import TYPE_CHECKING, Any, Generic, Iterator, NoReturn, TypeVar

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer, WriteableBuffer

# Lengths are 32-bit numbers in the library: what is longer goes there in pieces. A multiple of every block.
PIECE = 1 << 30

Record = TypeVar("Record", bound="ctypes.Structure | ctypes.Array[Any]")
Self = TypeVar("Self", bound="Secret[Any]")

# A new bytes object whose contents are still to be written. Nobody else sees it before they are.
new_bytes = ctypes.PYFUNCTYPE(ctypes.py_object, ctypes.c_void_p, ctypes.c_ssize_t)(
    ("PyBytes_FromStringAndSize", ctypes.pythonapi)
)


class Octets:
    """The bytes of a bytes-like object: `pointer`, as ctypes takes it, and `size`.

    Bytes and writable buffers are used where they lie, and a buffer cannot be resized meanwhile; of read-only views a
    copy is made.
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
    """An argument of a fixed size as bytes: aligned, and nobody else changes them."""
    Octets(source, what, size)
    return bytes(source)


def argument(source: ReadableBuffer, what: str, least: int = 0) -> Octets:
    """The bytes of an argument whose length may vary."""
    octets = Octets(source, what)
    if not least <= octets.size <= PIECE:
        raise ValueError(f"{what} must be {least} to {PIECE} bytes long, not {octets.size}")
    return octets


class Room(Octets):
    """A writable buffer for results, and its address."""

    __slots__ = ("address",)

    def __init__(self, target: WriteableBuffer, what: str) -> None:
        if _view(target, what).readonly:
            raise TypeError(f"{what} must be writable")
        super().__init__(target, what)
        if not self.size:
            # To the library NULL is a question about the size.
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
        raise ValueError(f"{what} must lie in one piece of memory")
    return view


def pieces(source: ReadableBuffer, what: str) -> Iterator[Octets]:
    """The bytes in pieces that the library can take, none of them empty."""
    whole = Octets(source, what)
    if whole.size <= PIECE:
        if whole.size:
            yield whole
        return
    view = memoryview(source).cast("B")
    for start in range(0, whole.size, PIECE):
        yield Octets(view[start : start + PIECE], what)


def overlap(a: Octets, b: Octets) -> bool:
    """Whether two buffers share memory. Bytes share none with a buffer."""
    if isinstance(a.pointer, bytes) or isinstance(b.pointer, bytes):
        return False
    return a.pointer < b.pointer + b.size and b.pointer < a.pointer + a.size


def wipe(record: ctypes.Structure | ctypes.Array[Any]) -> None:
    """Zero a record."""
    ctypes.memset(ctypes.addressof(record), 0, ctypes.sizeof(record))


class Secret(Generic[Record]):
    """An object around a record of the library that is zeroed when it is closed, left as a context, or collected.

    One thread at a time is inside: the lock is held around every call with the record, as these calls let other threads
    run.
    """

    _record: Record | None = None

    def __init__(self, record: Record) -> None:
        self._lock = threading.Lock()
        self._record = record

    def _open(self) -> Record:
        """The record. The lock is to be held."""
        if self._record is None:
            raise ValueError(f"this {type(self).__name__} is closed")
        return self._record

    def close(self) -> None:
        """Wipe what is secret. Nothing else can be done with the object afterwards; closing it again is fine."""
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
