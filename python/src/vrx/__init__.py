"""Russian (GOST) cryptography: the library libvrx from Python.

    import vrx

    vrx.gostr3411(b"message").hexdigest()           # hashes as those of hashlib: gostr3411, sha1, hmac, mac
    cipher = vrx.Cipher(key)                        # GOST 28147-89
    secret = cipher.encrypt(b"Attack at dawn.", iv)
    private = vrx.PrivateKey.generate()             # GOST R 34.10-2001
    private.public_key.verify(private.sign(b"message"), b"message")

Data is any bytes-like object, results are bytes. What has a wrong length or value raises ValueError, what has a wrong
type TypeError, and what the library itself refuses raises `vrx.Error`. Objects may be shared between threads, and the
library works while other threads run. Whatever holds a key is a context manager that wipes it at the end.
"""

from __future__ import annotations

import ctypes
import os

from . import _c
from ._c import Error
from ._cipher import Cipher, CipherStream, diversify
from ._hash import Hash, gostr3411, hmac, mac, pbkdf2, pkcs12, sha1
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

# Their names in tracebacks, which is how users catch them.
Error.__module__ = InvalidSignature.__module__ = __name__


def log_to(path: str | os.PathLike[str] | None) -> None:
    """Direct the library's diagnostics to a file, to standard error ("stderr"), or with None nowhere, as at first.

    No other thread may be inside the library meanwhile.
    """
    standard_error = ctypes.c_void_p.in_dll(ctypes.CDLL(None), "stderr")
    if _c.data.vrxflog.value == standard_error.value:
        # The library closes the stream that was set before. This one stays open.
        _c.data.vrxflog.value = None
    _c.lib.vrx_set_log_file(None if path is None else os.fsencode(path))


def copyright_notice() -> str:
    """The library's attribution.

    >>> copyright_notice().startswith("libvrx: ")
    True
    """
    notice: bytes = _c.lib.vrx_copyright_notice()
    return notice.decode("ascii")
