"""Russian (GOST) cryptography: a Python interface to libvrx.

    import vrx

    vrx.gostr3411(b"message").hexdigest()           # hash objects like those of hashlib: gostr3411, sha1, hmac, mac
    cipher = vrx.Cipher(key)                        # GOST 28147-89
    secret = cipher.encrypt(b"Attack at dawn.", iv)
    private = vrx.PrivateKey.generate()             # GOST R 34.10-2001
    private.public_key.verify(private.sign(b"message"), b"message")

Input is any bytes-like object; results are bytes. An invalid length or value raises ValueError, an invalid type
TypeError. An error of the library raises `vrx.Error`. Threads may share objects, and calls of the library release the
global interpreter lock. Every object that holds a key is a context manager that wipes the key on exit.
"""

from __future__ import annotations

import ctypes
import os

from . import _c
from ._c import Error
from ._cipher import Cipher, CipherStream, diversify
from ._hash import Hash, gostr3411, hmac, mac, pbkdf2, pkcs12, sha1
from ._keyfile import KeyFileError
from ._keys import CURVES, Curve, InvalidSignature, PrivateKey, PublicKey, curve
from ._parameters import (
    CIPHER_PARAMETERS,
    HASH_PARAMETERS,
    CipherParameters,
    HashParameters,
    Mode,
    SBoxes,
    cipher_parameters,
    hash_parameters,
    sboxes,
)

__version__ = "1.0.0"

__all__ = [
    "CIPHER_PARAMETERS",
    "CURVES",
    "HASH_PARAMETERS",
    "Cipher",
    "CipherParameters",
    "CipherStream",
    "Curve",
    "Error",
    "Hash",
    "HashParameters",
    "InvalidSignature",
    "KeyFileError",
    "Mode",
    "PrivateKey",
    "PublicKey",
    "SBoxes",
    "cipher_parameters",
    "copyright_notice",
    "curve",
    "diversify",
    "gostr3411",
    "hash_parameters",
    "hmac",
    "log_to",
    "mac",
    "pbkdf2",
    "pkcs12",
    "sboxes",
    "sha1",
]

# Tracebacks show the public names of the exceptions.
Error.__module__ = InvalidSignature.__module__ = KeyFileError.__module__ = __name__


def log_to(path: str | os.PathLike[str] | None) -> None:
    """Write the library's diagnostics to a file, or to standard error ("stderr"). None turns the log off.

    Do not call this function while another thread is in a call of the library. It never closes standard error.
    """
    standard_error = ctypes.c_void_p.in_dll(ctypes.CDLL(None), "stderr")
    if _c.data.vrxflog.value == standard_error.value:
        # The library closes the previous stream; standard error has to stay open.
        _c.data.vrxflog.value = None
    _c.lib.vrx_set_log_file(None if path is None else os.fsencode(path))


def copyright_notice() -> str:
    """Return the copyright notice of the library.

    >>> copyright_notice().startswith("libvrx: ")
    True
    """
    notice: bytes = _c.lib.vrx_copyright_notice()
    return notice.decode("ascii")
