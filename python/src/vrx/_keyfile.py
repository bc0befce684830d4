"""Key files of GOST R 34.10-2001: PEM and DER, read and written by the library libvrx-keyfile."""

from __future__ import annotations

import ctypes
import functools
import os
from pathlib import Path
from typing import TYPE_CHECKING, Any

from . import _c
from ._memory import Octets

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer

DER, PEM = 1, 2
_LARGEST = 256  # bytes in a file that is written


class Key(ctypes.Structure):
    """A key: indexes of its sets, and its octets."""

    _fields_ = [
        ("curve", ctypes.c_uint32),
        ("hash", ctypes.c_uint32),
        ("cipher", ctypes.c_uint32),
        ("octets", ctypes.c_ubyte * 64),
    ]


class KeyFileError(_c.Error, ValueError):
    """A key file cannot be read, or a key cannot be written. The message says why.

    `name` is the name of the code in C, such as "VRX_ERR_KEY_ENCRYPTED".
    """

    def __init__(self, function: str, code: int) -> None:
        super().__init__(function, code)
        library = _library()
        self.name = library.vrx_keyfile_error_name(code).decode()
        self.args = (library.vrx_keyfile_error_text(code).decode(),)


@functools.lru_cache(maxsize=None)
def _library() -> Any:
    """Load the library that reads key files: the one next to the library that VRX_LIBRARY names, or the system's."""
    named = os.environ.get("VRX_LIBRARY")
    beside = Path(named).resolve() if named else Path(__file__)
    path = beside.with_name("libvrx-keyfile.so.1")
    try:
        library = ctypes.CDLL(str(path) if path.exists() else "libvrx-keyfile.so.1")
    except OSError as failure:
        raise ImportError(f"the library that reads key files cannot be loaded: {failure}") from None
    file, size, flag, key = ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int, ctypes.POINTER(Key)
    library.vrx_keyfile_read.argtypes = [file, size, flag, flag, key]
    library.vrx_keyfile_write.argtypes = [key, flag, flag, file, size, ctypes.POINTER(size)]
    for function in (library.vrx_keyfile_error_name, library.vrx_keyfile_error_text):
        function.argtypes, function.restype = [ctypes.c_int], ctypes.c_char_p
    return library


def read(file: ReadableBuffer | str, form: int, private: bool) -> Key:
    """Read a key file. The caller wipes the result."""
    octets = Octets(file.encode() if isinstance(file, str) else file, "the key file")
    key = Key()
    code = _library().vrx_keyfile_read(octets.pointer or b"", octets.size, form, private, key)
    if code:
        raise KeyFileError("vrx_keyfile_read", code)
    return key


def write(key: Key, form: int, private: bool) -> bytes:
    """Write a key file."""
    file, size = (ctypes.c_char * _LARGEST)(), ctypes.c_size_t()
    try:
        code = _library().vrx_keyfile_write(key, form, private, file, _LARGEST, size)
        if code:
            raise KeyFileError("vrx_keyfile_write", code)
        return file.raw[: size.value]
    finally:
        ctypes.memset(file, 0, _LARGEST)
