"""Tests the Python module with every known answer of the library's tests."""

import ctypes
import functools
from pathlib import Path

import kat
import pytest
import vrx
from vrx import _c

CHECKS = {}
FILES = sorted(path.relative_to(kat.TESTS) for path in Path(kat.TESTS).rglob("*.kat"))
FILES.remove(Path("keyfile/published.kat"))  # key files, which the module does not read


def checks(*kinds):
    """Registers the function that checks answers of these types. The function must read every value of an answer."""

    def mark(function):
        CHECKS.update((kind, functools.partial(function, kind)) for kind in kinds)
        return function

    return mark


@pytest.mark.parametrize("name", map(str, FILES))
def test_answers_of_each_file(name):
    answers = list(kat.answers(name))
    assert answers
    for answer in answers:
        CHECKS[answer.pop("type")](answer)
        assert not answer, f"lines that nothing read, {answer.source}"


def named_sboxes(name):
    """Return the S-boxes of a parameter set of the cipher or the hash."""
    sets = [*vrx.CIPHER_PARAMETERS, *vrx.HASH_PARAMETERS]
    return next(s.sboxes for s in sets if s.name == name)


def parameters(answer):
    return named_sboxes(answer.pop("sbox")) if "sbox" in answer else vrx.SBoxes.from_der(answer.octets("sbox_octets"))


def meshing(answer):
    return {"none": False, "cryptopro": True}[answer.pop("meshing", "none")]


def in_pieces(take, data):
    """Process data in pieces of growing size and return the joined results."""
    results, start, size = [], 0, 1
    while start < len(data):
        results.append(take(data[start : start + size]))
        start, size = start + size, size * 2 + 1
    return results


@checks("ecb", "cnt", "cfb", "cbc")
def cipher(kind, answer):
    mode = {"ecb": "ss", "cnt": "gamm", "cfb": "gfb", "cbc": "cbc"}[kind]
    iv = answer.octets("iv") if "iv" in answer else None
    plain, secret = answer.octets("plaintext"), answer.octets("ciphertext")
    with vrx.Cipher(answer.octets("key"), parameters(answer), mode=mode, key_meshing=meshing(answer)) as cipher:
        assert cipher.encrypt(plain, iv) == secret
        assert cipher.decrypt(secret, iv) == plain
        with cipher.encryptor(iv) as stream:
            assert b"".join(in_pieces(stream.update, plain)) == secret
        with cipher.decryptor(iv) as stream:
            assert b"".join(in_pieces(stream.update, secret)) == plain


@checks("cfb8")
def cipher_feedback_of_one_byte(_kind, answer):
    register, out = answer.octets("iv"), b""
    block = vrx.Cipher(answer.octets("key"), parameters(answer), mode="ss")
    for octet in answer.octets("plaintext"):
        out += bytes([block.encrypt(register)[0] ^ octet])
        register = register[1:] + out[-1:]
    assert out == answer.octets("ciphertext")


@checks("mac")
def mac(_kind, answer):
    message, expected = answer.message(), answer.octets("mac")
    iv = answer.octets("iv") if "iv" in answer else None
    options = {"parameters": parameters(answer), "key_meshing": meshing(answer), "iv": iv}
    key = answer.octets("key")
    assert vrx.mac(key, message, **options).digest()[: len(expected)] == expected
    running = vrx.mac(key, **options)
    in_pieces(running.update, message)
    assert running.digest()[: len(expected)] == expected


def check_hash(running, message, expected):
    in_pieces(running.update, message)
    assert running.digest() == expected
    assert running.hexdigest() == expected.hex()


@checks("hash")
def gostr3411(_kind, answer):
    message = answer.message()
    if "message_length" in answer:
        message = message[: int(answer.pop("message_length"))]
    if "message_end" in answer:
        message += answer.octets("message_end")
    digest, name = answer.octets("digest"), answer.pop("sbox")
    assert vrx.gostr3411(message, parameters=name).digest() == digest
    assert vrx.gostr3411(message, parameters=named_sboxes(name)).digest() == digest
    check_hash(vrx.gostr3411(parameters=name), message, digest)


@checks("sha1")
def sha1(_kind, answer):
    message, digest = answer.message(), answer.octets("digest")
    assert vrx.sha1(message).digest() == digest
    check_hash(vrx.sha1(), message, digest)


@checks("hmac")
def hmac(_kind, answer):
    message, key, name = answer.message(), answer.octets("key"), answer.pop("sbox")
    check_hash(vrx.hmac(key, parameters=name), message, answer.octets("mac"))


@checks("hash-step")
def hash_step(_kind, answer):
    state = (ctypes.c_uint32 * 8).from_buffer_copy(answer.octets("h"))
    boxes, quarters = named_sboxes(answer.pop("sbox")), memoryview(bytes(state))
    keys = [answer.octets(f"k{j}") for j in (1, 2, 3, 4)]
    secret = [vrx.Cipher(key, boxes, mode="ss").encrypt(quarters[8 * j : 8 * j + 8]) for j, key in enumerate(keys)]
    assert b"".join(secret) == answer.octets("s")
    _c.lib.gost_r_3411_94_compress(state, answer.octets("m"), boxes._table)
    assert bytes(state) == answer.octets("out")


def pbkdf2_key(answer, name):
    password, salt, iterations = answer.octets("password"), answer.octets("salt"), int(answer.pop("iterations"))
    return vrx.pbkdf2(password, salt, iterations, parameters=name)


@checks("pbkdf2")
def pbkdf2(_kind, answer):
    derived = answer.octets("derived")
    assert pbkdf2_key(answer, answer.pop("sbox"))[: len(derived)] == derived


@checks("pbes2")
def pbes2(_kind, answer):
    key = pbkdf2_key(answer, answer.pop("hash_sbox"))
    cipher = vrx.Cipher(key, answer.pop("sbox"), mode="gfb", key_meshing=meshing(answer))
    assert cipher.decrypt(answer.octets("ciphertext"), answer.octets("iv")) == answer.octets("plaintext")


@checks("pkcs12-mac")
def pkcs12(_kind, answer):
    assert answer["sbox"] == vrx.hash_parameters("CryptoPro").name
    iterations, purpose = int(answer.pop("iterations")), int(answer.pop("id"))
    password, salt = answer.octets("password"), answer.octets("salt")
    key = vrx.pkcs12(password, salt, iterations, purpose, 32)
    assert key == answer.octets("derived")
    assert vrx.pkcs12(password.decode("utf-16-be")[:-1], salt, iterations, purpose, 32) == key
    assert vrx.hmac(key, answer.octets("content"), parameters=answer.pop("sbox")).digest() == answer.octets("mac")


@checks("sbox")
def sboxes(_kind, answer):
    oid, name = answer.octets("oid"), answer.pop("sbox")
    known = vrx.hash_parameters(oid) if "3411" in name else vrx.cipher_parameters(oid)
    assert known.name == name and known.der == oid
    boxes = vrx.SBoxes.from_der(answer.octets("octets"))
    rows = [[int(digit, 16) for digit in answer.pop(f"k{r}")] for r in range(1, 9)]
    assert vrx.SBoxes.from_rows(rows) == boxes == known.sboxes == vrx.SBoxes.from_text(known.sboxes.text)
    assert [list(row) for row in known.sboxes.rows] == rows
    if "mode" in answer:
        assert known.mode is {"cnt": vrx.Mode.CTR, "cfb": vrx.Mode.CFB}[answer.pop("mode")]
        assert known.key_meshing == meshing(answer)


def number(answer, key):
    return int(answer.pop(key), 16)


def signature_octets(answer):
    return number(answer, "s").to_bytes(32, "big") + number(answer, "r").to_bytes(32, "big")


@checks("keypair")
def key_pair(_kind, answer):
    private = vrx.PrivateKey(answer.octets("private"), answer.pop("curve"))
    assert int.from_bytes(bytes(private), "little") == number(answer, "d")
    public = private.public_key
    assert (public.x, public.y) == (number(answer, "x"), number(answer, "y"))
    assert bytes(public) == answer.octets("public")
    assert public == vrx.PublicKey(bytes(public), public.curve)


@checks("sign")
def sign(_kind, answer):
    curve = answer.pop("curve")
    private = vrx.PrivateKey(number(answer, "d").to_bytes(32, "little"), curve)
    public = vrx.PublicKey.from_numbers(number(answer, "qx"), number(answer, "qy"), curve)
    assert private.public_key == public
    nonce = number(answer, "k")
    digest, signature = answer.octets("digest"), signature_octets(answer)
    assert private.sign_digest(digest, random=lambda size: nonce.to_bytes(size, "little")) == signature
    public.verify_digest(signature, digest)
    point = vrx.PrivateKey(nonce.to_bytes(32, "little"), curve).public_key
    assert (point.x, point.y) == (number(answer, "c_x"), number(answer, "c_y"))
    q, e = public.curve.q, int.from_bytes(digest, "little")
    s, r = (int.from_bytes(signature[i : i + 32], "big") for i in (0, 32))
    v = number(answer, "v")
    assert (v * e % q, s * v % q, -r * v % q) == (1, number(answer, "z1"), number(answer, "z2"))


@checks("signature", "digest-signature")
def verify(kind, answer):
    public = vrx.PublicKey(answer.octets("public"), answer.pop("curve"))
    signature, digest = answer.octets("signature"), answer.octets("digest")
    public.verify_digest(signature, digest)
    if kind == "signature":
        message, name = answer.octets("message"), answer.pop("sbox")
        assert vrx.gostr3411(message, parameters=name).digest() == digest
        public.verify(signature, message, parameters=name)
        with pytest.raises(vrx.InvalidSignature):
            public.verify(signature, message + b"\0", parameters=name)


@checks("verify-own")
def own_curve(_kind, answer):
    p, a, b, q, x, y = (number(answer, key) for key in ("p", "a", "b", "q", "gx", "gy"))
    curve = vrx.Curve(name="own", p=p, a=a, b=b, q=q, x=x, y=y)
    private = vrx.PrivateKey(number(answer, "d").to_bytes(32, "little"), curve)
    public = private.public_key
    assert (public.x, public.y) == (number(answer, "qx"), number(answer, "qy"))
    public.verify_digest(signature_octets(answer), answer.octets("digest"))


def agreed(answer, name):
    private, public = answer.octets("private"), answer.octets("public")
    curve = answer.pop("curve")
    return vrx.PrivateKey(private, curve).agree(vrx.PublicKey(public, curve), answer.octets("ukm"), parameters=name)


@checks("vko")
def agreement(_kind, answer):
    assert agreed(answer, answer.pop("sbox")) == answer.octets("kek")


def unwrap(kek, answer, ukm, boxes):
    """Unwrap a key that is encrypted under another key. Its MAC must be valid."""
    cek = vrx.Cipher(kek, boxes, mode="ss").decrypt(answer.octets("cek_enc"))
    assert vrx.mac(kek, cek, parameters=boxes, iv=ukm).digest()[:4] == answer.octets("cek_mac")
    return cek


@checks("keywrap")
def key_wrap(_kind, answer):
    assert answer.pop("algorithm") == "cryptopro"
    ukm, boxes = answer.octets("ukm"), parameters(answer)
    kek = vrx.diversify(answer.octets("kek"), ukm, boxes)
    assert kek == answer.octets("diversified")
    assert unwrap(kek, answer, ukm, boxes) == answer.octets("cek")


@checks("enveloped")
def enveloped(_kind, answer):
    ukm, boxes = bytes.fromhex(answer["ukm"]), named_sboxes(answer.pop("wrap_sbox"))
    kek = agreed(answer, answer.pop("hash_sbox"))
    if answer.pop("algorithm") == "cryptopro":
        kek = vrx.diversify(kek, ukm, boxes)
    cipher = vrx.Cipher(unwrap(kek, answer, ukm, boxes), answer.pop("sbox"), key_meshing=meshing(answer))
    assert cipher.decrypt(answer.octets("ciphertext"), answer.octets("iv")) == answer.octets("plaintext")


def point(x, y):
    return _c.EcPoint(*((ctypes.c_uint32 * 9).from_buffer_copy(n.to_bytes(36, "little")) for n in (x, y)))


def numbers(p):
    return tuple(int.from_bytes(bytes(digits), "little") for digits in (p.x, p.y))


@checks("point-mul")
def multiple(_kind, answer):
    curve = vrx.curve(answer.pop("curve"))
    k = (ctypes.c_uint32 * 9).from_buffer_copy(number(answer, "k").to_bytes(36, "little"))
    base = point(number(answer, "px"), number(answer, "py")) if "px" in answer else curve._record.G
    result = _c.EcPoint()
    _c.lib.epMult(result, base, k, curve._record)
    assert numbers(result) == (number(answer, "rx"), number(answer, "ry"))


@checks("point-add")
def total(_kind, answer):
    curve = vrx.curve(answer.pop("curve"))
    p, q = (point(number(answer, name + "x"), number(answer, name + "y")) for name in "pq")
    result = _c.EcPoint()
    _c.lib.epAdd(result, p, q, curve._record)
    assert numbers(result) == (number(answer, "rx"), number(answer, "ry"))
