"""The cipher GOST 28147-89."""

from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Union

from . import _c
from ._memory import PIECE, Octets, Room, Secret, new_bytes, overlap, pieces, wipe
from ._parameters import CipherParameters, Mode, SBoxes, cipher_parameters

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer, WriteableBuffer

#: Parameters of the cipher: a parameter set, its name or object identifier, or S-boxes.
AnyParameters = Union[str, bytes, CipherParameters, SBoxes]


def settings(parameters: AnyParameters, key_meshing: bool | None) -> tuple[SBoxes, Mode | None, bool]:
    """Return S-boxes, default mode and key meshing. Custom S-boxes have no default mode; meshing is off by default."""
    if isinstance(parameters, SBoxes):
        return parameters, None, bool(key_meshing)
    found = cipher_parameters(parameters)
    return found.sboxes, found.mode, found.key_meshing if key_meshing is None else bool(key_meshing)


class Cipher(Secret["ctypes.Array[ctypes.c_char]"]):
    """A key with S-boxes, a mode and key meshing. The key is wiped when the object is closed or collected.

    >>> key, iv = bytes(32), bytes(8)  # in real use: random; never reuse an IV with the same key
    >>> with Cipher(key) as cipher:
    ...     secret = cipher.encrypt(b"Attack at dawn.", iv)
    ...     cipher.decrypt(secret, iv)
    b'Attack at dawn.'
    """

    def __init__(
        self,
        key: ReadableBuffer,
        parameters: AnyParameters = "CryptoPro-A",
        *,
        mode: Mode | str | None = None,
        key_meshing: bool | None = None,
    ) -> None:
        """Mode and key meshing default to those of the parameter set.

        `key` is 32 bytes. `mode` is "ss" (ECB), "gamm" (CTR), "gfb" (CFB), "cbc" or a Mode.
        """
        self.sboxes, usual, self.key_meshing = settings(parameters, key_meshing)
        if mode is None and usual is None:
            raise ValueError("custom S-boxes need a mode: ss, gamm, gfb or cbc")
        self.mode = Mode(usual if mode is None else mode)
        octets = Octets(key, "the key", 32)
        super().__init__((ctypes.c_char * 32)())
        ctypes.memmove(self._open(), octets.pointer, 32)

    def encrypt(self, data: ReadableBuffer, iv: ReadableBuffer | None = None) -> bytes:
        """Encrypt a message. `iv` is 8 bytes; None in ECB mode. ECB and CBC need a multiple of 8 bytes."""
        with self.encryptor(iv) as stream:
            return stream.update(data)

    def decrypt(self, data: ReadableBuffer, iv: ReadableBuffer | None = None) -> bytes:
        """Decrypt a message."""
        with self.decryptor(iv) as stream:
            return stream.update(data)

    def encryptor(self, iv: ReadableBuffer | None = None) -> CipherStream:
        """Return a stream that encrypts a message in pieces."""
        return self._stream(1, iv)

    def decryptor(self, iv: ReadableBuffer | None = None) -> CipherStream:
        """Return a stream that decrypts a message in pieces."""
        return self._stream(0, iv)

    def _stream(self, direction: int, iv: ReadableBuffer | None) -> CipherStream:
        if (iv is None) != (self.mode is Mode.ECB):
            raise ValueError("mode ss takes no IV" if iv is not None else f"mode {self.mode.value} needs an IV")
        vector = None if iv is None else Octets(iv, "the IV", 8)
        with self._lock:
            return CipherStream(self.sboxes, self.mode, direction, self.key_meshing, vector, self._open())

    def __repr__(self) -> str:
        return f"<Cipher mode={self.mode.value} key_meshing={self.key_meshing}>"


def open_context(
    direction: int, boxes: SBoxes, mode: int, key_meshing: bool, iv: Octets | None, key: Any
) -> _c.vrx_crpt_ctx:
    """Return an initialised cipher context of the library."""
    context = _c.vrx_crpt_ctx()
    vector = iv and iv.pointer
    _c.lib.vrx_crpt_init_context(context, direction, boxes._table, mode, 0, key_meshing, 0, vector, key)
    return context


class CipherStream(Secret["_c.vrx_crpt_ctx"]):
    """Encrypts or decrypts one message in pieces. `Cipher.encryptor` and `Cipher.decryptor` create it.

    At the end of a `with` block the stream finishes the message.

    >>> cipher, iv = Cipher(bytes(32)), bytes(8)
    >>> with cipher.encryptor(iv) as stream:
    ...     secret = b"".join(stream.update(piece) for piece in (b"Attack ", b"at ", b"dawn."))
    >>> secret == cipher.encrypt(b"Attack at dawn.", iv)
    True
    """

    def __init__(
        self, boxes: SBoxes, mode: Mode, direction: int, key_meshing: bool, iv: Octets | None, key: Any
    ) -> None:
        """Call `Cipher.encryptor` or `Cipher.decryptor` instead."""
        self._whole_blocks = mode.whole_blocks
        super().__init__(open_context(direction, boxes, mode.number, key_meshing, iv, key))

    def update(self, data: ReadableBuffer) -> bytes:
        """Process a piece and return as many bytes. ECB and CBC hold back an incomplete block until more data comes."""
        with self._lock:
            context = self._open()
            out = [self._new(context, piece) for piece in pieces(data, "data")]
        return out[0] if len(out) == 1 else b"".join(out)

    def update_into(self, data: ReadableBuffer, buffer: WriteableBuffer) -> int:
        """Process a piece, write the result to a buffer of your own, and return the number of bytes written.

        The buffer may overlap the data, or be the same; the result does not change.
        """
        source, room = Octets(data, "data"), Room(buffer, "the buffer")
        with self._lock:
            context = self._open()
            needed = self._yields(context, source.size)
            if room.size < needed:
                raise ValueError(f"the buffer has {room.size} bytes, but {needed} are needed")
            in_place = source.pointer == room.pointer and not (self._whole_blocks and context.block_len)
            if overlap(source, room) and not in_place:
                data = bytes(data)
            done = 0
            for piece in pieces(data, "data"):
                done += self._run(context, piece, room.address + done, needed - done)
        return done

    def _yields(self, context: _c.vrx_crpt_ctx, size: int) -> int:
        """Return the number of output bytes for `size` bytes of input."""
        held: int = context.block_len
        return (held + size) // 8 * 8 if self._whole_blocks else size

    def _new(self, context: _c.vrx_crpt_ctx, piece: Octets) -> bytes:
        """Process a piece and return the result as a new bytes object."""
        size = self._yields(context, piece.size)
        out: bytes = new_bytes(None, size)
        self._run(context, piece, out, size)
        return out

    @staticmethod
    def _run(context: _c.vrx_crpt_ctx, piece: Octets, out: bytes | int, room: int) -> int:
        source = _c.vrx_data(piece.size, piece.pointer)
        target = _c.vrx_data(min(room, PIECE + 8), out)
        _c.lib.vrx_crpt_update(context, source, target)
        written: int = target.length
        return written

    def finish(self) -> None:
        """Finish the message and wipe the stream. In ECB and CBC mode the length must be a multiple of 8 bytes."""
        with self._lock:
            context = self._open()
            held = context.block_len if self._whole_blocks else 0
            try:
                if held:
                    raise ValueError(f"the message must be a multiple of 8 bytes long, but {held} bytes are left over")
                _c.lib.vrx_crpt_final(context)
            finally:
                self._wipe()

    def __exit__(self, *exception: object) -> None:
        if exception[0] is None and self._record is not None:
            self.finish()
        self.close()


def diversify(key: ReadableBuffer, ukm: ReadableBuffer, parameters: AnyParameters = "CryptoPro-A") -> bytes:
    """Derive a key from a key and 8 bytes of user keying material (CryptoPro diversification, RFC 4357, section 6.5).

    >>> from vrx import sboxes
    >>> key = bytes.fromhex("aafd12f659cae63489b479e5076ddec2f06cb58faafd12f659cae63489b479e5")
    >>> diversify(key, bytes.fromhex("1234567890abcdef"), sboxes("tz_0")).hex()
    '1c63b960f291602fa007d4cd758bef7d0f3e30dd2648235f463ad1451cbcfe35'
    """
    boxes = settings(parameters, None)[0]
    octets, material = Octets(key, "the key", 32), Octets(ukm, "the UKM", 8)
    result = (ctypes.c_char * 32)()
    try:
        ctypes.memmove(result, octets.pointer, 32)
        _c.lib.ecDiversifyKEK(boxes._table, result, material.pointer)
        return result.raw
    finally:
        wipe(result)
