"""Tests of key files: PEM and DER, published keys, and errors."""

import kat
import pytest
import vrx

TEST_HASH = bytes.fromhex("06072a850302021e00")
CRYPTOPRO = bytes.fromhex("06072a850302021e01")


def published():
    for answer in kat.answers("keyfile/published.kat"):
        yield pytest.param(answer, id=answer["name"])


@pytest.mark.parametrize("answer", published())
def test_published_keys_are_read_and_written(answer):
    der, kind = bytes.fromhex(answer["der"]), answer["kind"]
    cls = vrx.PrivateKey if kind == "private" else vrx.PublicKey
    key = cls.from_der(der)
    assert key.curve.name == f"id-GostR3410-2001-{answer['curve']}-ParamSet"
    assert key.hash_parameters is vrx.HASH_PARAMETERS[1]
    public = key.public_key if kind == "private" else key
    if "public" in answer:
        assert bytes(public).hex() == answer["public"]
    if kind == "private":
        assert int.from_bytes(bytes(key), "little") == int(answer["d"], 16)
    for again in (cls.from_der(key.to_der()), cls.from_pem(key.to_pem()), cls.from_pem(key.to_pem().encode())):
        assert (bytes(again), again.curve) == (bytes(key), key.curve)
    assert vrx.PublicKey.from_pem(public.to_pem()) == public
    other = vrx.PublicKey if kind == "private" else vrx.PrivateKey
    with pytest.raises(vrx.KeyFileError) as caught:
        other.from_der(der)
    assert caught.value.name == "VRX_ERR_KEY_KIND"


def test_parameter_sets_travel_with_the_key():
    original = vrx.PrivateKey.generate("A")
    der = original.to_der()
    assert der.count(CRYPTOPRO) == 1
    key = vrx.PrivateKey.from_der(der.replace(CRYPTOPRO, TEST_HASH))
    assert key.hash_parameters is key.public_key.hash_parameters is vrx.HASH_PARAMETERS[0]
    signature = key.sign(b"letter")
    key.public_key.verify(signature, b"letter")
    original.public_key.verify(signature, b"letter", parameters=vrx.HASH_PARAMETERS[0])
    vrx.PublicKey.from_pem(key.public_key.to_pem()).verify(signature, b"letter")
    with pytest.raises(vrx.InvalidSignature):
        original.public_key.verify(signature, b"letter")
    assert TEST_HASH in key.to_der()


def test_errors_have_names_and_texts():
    key = vrx.PrivateKey.generate()
    pem, der = key.to_pem(), key.to_der()
    cases = [
        (vrx.PrivateKey.from_pem, "", "VRX_ERR_KEY_FILE"),
        (vrx.PrivateKey.from_pem, der, "VRX_ERR_KEY_FILE"),
        (vrx.PrivateKey.from_der, pem.encode(), "VRX_ERR_KEY_DER"),
        (vrx.PrivateKey.from_der, b"", "VRX_ERR_KEY_DER"),
        (vrx.PrivateKey.from_der, der + b"\0", "VRX_ERR_KEY_DER"),
        (vrx.PrivateKey.from_pem, pem + pem, "VRX_ERR_KEY_BLOCKS"),
        (vrx.PrivateKey.from_pem, pem.replace("PRIVATE", "ENCRYPTED PRIVATE"), "VRX_ERR_KEY_ENCRYPTED"),
        (vrx.PrivateKey.from_pem, pem[:-20], "VRX_ERR_KEY_PEM"),
        (vrx.PublicKey.from_pem, pem, "VRX_ERR_KEY_KIND"),
        (vrx.PrivateKey.from_der, der[:-32] + bytes(32), "VRX_ERR_KEY_NUMBER"),
    ]
    for read, file, name in cases:
        with pytest.raises(vrx.KeyFileError) as caught:
            read(file)
        assert caught.value.name == name
        assert isinstance(caught.value, (vrx.Error, ValueError))
        assert "key" in str(caught.value) or "PEM" in str(caught.value) or "DER" in str(caught.value)
    with pytest.raises(TypeError):
        vrx.PrivateKey.from_pem(7)


def test_bytearrays_and_views_are_read():
    key = vrx.PrivateKey.generate("XchA")
    for file in (bytearray(key.to_der()), memoryview(key.to_der())):
        assert bytes(vrx.PrivateKey.from_der(file)) == bytes(key)


def test_keys_on_a_custom_curve_are_not_written():
    a = vrx.curve("A")
    base = vrx.PrivateKey(bytes([2]) + bytes(31), "A").public_key
    own = vrx.Curve(a.p, a.a, a.b, a.q, base.x, base.y)
    key = vrx.PrivateKey.generate(own)
    for write in (key.to_pem, key.to_der, key.public_key.to_pem, key.public_key.to_der):
        with pytest.raises(vrx.KeyFileError) as caught:
            write()
        assert caught.value.name == "VRX_ERR_KEY_PARAMETERS"


def test_closed_keys_are_not_written():
    key = vrx.PrivateKey.generate()
    key.close()
    with pytest.raises(ValueError, match="closed"):
        key.to_pem()
