"""GOST 28147-89 written plainly from RFC 5830 and RFC 4357, and GOST R 34.11-94 from RFC 5831, one S-box at a time.

It has no code in common with the library.
"""

import struct

MESHING_CONSTANT = bytes.fromhex("6900722264c904238d3adb9646e92ac418feac9400ed0712c086dcc2ef4ca92b")
FORWARD = list(range(8)) * 3 + list(range(7, -1, -1))
BACKWARD = FORWARD[::-1]


def sboxes(text):
    """S-boxes from a table of 128 digits: for each input, the outputs of K1 to K8."""
    return [[int(text[8 * value + box], 16) for value in range(16)] for box in range(8)]


def xor(a, b):
    return bytes(x ^ y for x, y in zip(a, b))


class Gost:
    def __init__(self, table, key, meshing=False, mode="ss", iv=bytes(8)):
        self.boxes, self.key, self.meshing, self.register = sboxes(table), key, meshing, iv
        if mode == "gamm":
            self.register = self.encrypt(iv)

    def rounds(self, block, order):
        words = struct.unpack("<8I", self.key)
        n1, n2 = struct.unpack("<II", block)
        for i in order:
            total = (n1 + words[i]) % 2**32
            value = sum(box[total >> 4 * k & 15] << 4 * k for k, box in enumerate(self.boxes))
            value = (value << 11 | value >> 21) % 2**32
            n1, n2 = n2 ^ value, n1
        return n1, n2

    def encrypt(self, block):
        n1, n2 = self.rounds(block, FORWARD)
        return struct.pack("<II", n2, n1)

    def decrypt(self, block):
        n1, n2 = self.rounds(block, BACKWARD)
        return struct.pack("<II", n2, n1)

    def mesh(self):
        self.key = b"".join(self.decrypt(MESHING_CONSTANT[i : i + 8]) for i in range(0, 32, 8))
        self.register = self.encrypt(self.register)

    def blocks(self, data):
        """Yield the blocks of a message; the last may be short. Mesh the key after every 1024 bytes, if more follow."""
        for i in range(0, len(data), 8):
            if self.meshing and i > 0 and i % 1024 == 0:
                self.mesh()
            yield data[i : i + 8]

    def step(self, mode, block):
        if mode == "ss":
            return self.encrypt(block)
        if mode == "cbc":
            self.register = self.encrypt(xor(block, self.register))
            return self.register
        if mode == "gfb":
            out = xor(block, self.encrypt(self.register))
            self.register = out.ljust(8, b"\0")
            return out
        n3, n4 = struct.unpack("<II", self.register)
        n4 += 0x01010104
        self.register = struct.pack("<II", (n3 + 0x01010101) % 2**32, n4 if n4 < 2**32 else n4 - 2**32 + 1)
        return xor(block, self.encrypt(self.register))


def encrypt(table, key, mode, meshing, iv, data):
    cipher = Gost(table, key, meshing, mode, iv)
    return b"".join(cipher.step(mode, block) for block in cipher.blocks(data))


def mac(table, key, meshing, data, iv=bytes(8)):
    cipher, state = Gost(table, key, meshing), iv
    for block in cipher.blocks(data):
        state = struct.pack("<II", *cipher.rounds(xor(state, block.ljust(8, b"\0")), FORWARD[:16]))
    return state


def diversify(table, key, ukm):
    """CryptoPro KEK diversification: RFC 4357, section 6.5."""
    for octet in ukm:
        words = struct.unpack("<8I", key)
        chosen = sum(word for i, word in enumerate(words) if octet >> i & 1)
        iv = struct.pack("<II", chosen % 2**32, (sum(words) - chosen) % 2**32)
        key = encrypt(table, key, "gfb", False, iv, key)
    return key


C3 = bytes.fromhex("ff00ffff000000ffff0000ff00ffff0000ff00ff00ff00ffff00ff00ff00ff00")[::-1]


def step(table, h, m):
    """The step function. 256-bit numbers are 32 bytes, least significant first; h[0:8] is h1."""

    def a(y):
        return y[8:] + xor(y[:8], y[8:16])

    def p(y):
        return bytes(y[8 * i + k] for k in range(8) for i in range(4))

    def psi(y, times):
        words = list(struct.unpack("<16H", y))
        for _ in range(times):
            words.append(words[0] ^ words[1] ^ words[2] ^ words[3] ^ words[12] ^ words[15])
            del words[0]
        return struct.pack("<16H", *words)

    u, v, s = h, m, b""
    for i in range(4):
        if i > 0:
            u, v = a(u), a(a(v))
            if i == 2:
                u = xor(u, C3)
        s += Gost(table, p(xor(u, v))).encrypt(h[8 * i : 8 * i + 8])
    return psi(xor(h, psi(xor(m, psi(s, 12)), 1)), 61)


def digest(table, data):
    h, total = bytes(32), 0
    for i in range(0, len(data), 32):
        block = data[i : i + 32].ljust(32, b"\0")
        h = step(table, h, block)
        total = (total + int.from_bytes(block, "little")) % 2**256
    h = step(table, h, (8 * len(data)).to_bytes(32, "little"))
    return step(table, h, total.to_bytes(32, "little"))


def hmac(table, key, data):
    """RFC 2104."""
    key = (key if len(key) <= 32 else digest(table, key)).ljust(32, b"\0")
    return digest(table, xor(key, b"\x5c" * 32) + digest(table, xor(key, b"\x36" * 32) + data))


def pbkdf2(table, password, salt, iterations):
    """The first block of RFC 8018."""
    u = out = hmac(table, password, salt + b"\0\0\0\1")
    for _ in range(iterations - 1):
        u = hmac(table, password, u)
        out = xor(out, u)
    return out


def pkcs12(table, password, salt, iterations, purpose):
    """The first block of RFC 7292, appendix B. Salt and password are repeated to a multiple of 32 bytes."""

    def repeated(text):
        return (text * 32)[: -len(text) % 32 + len(text)] if text else b""

    out = bytes([purpose]) * 32 + repeated(salt) + repeated(password)
    for _ in range(iterations):
        out = digest(table, out)
    return out
