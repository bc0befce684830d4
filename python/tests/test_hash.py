"""Tests of hash and MAC objects, and of password-based key derivation."""

import array
import copy
import hashlib
import hmac
import pickle
import random
import threading
from concurrent.futures import ThreadPoolExecutor

import gost
import pytest
import vrx
from vrx import _memory

KEY = bytes(range(32))
MAKERS = {
    "gostr3411": vrx.gostr3411,
    "sha1": vrx.sha1,
    "hmac-gostr3411": lambda data=b"": vrx.hmac(KEY, data),
    "gost28147-mac": lambda data=b"": vrx.mac(KEY, data),
}
every = pytest.mark.parametrize("name", MAKERS)


@every
def test_object_follows_the_hashlib_interface(name):
    make = MAKERS[name]
    running = make(b"one")
    assert (running.name, len(running.digest())) == (name, running.digest_size)
    assert running.hexdigest() == running.digest().hex() == running.digest().hex()
    assert running.update(b"two") is None
    assert running.update(b"") is None
    assert running.digest() == make(b"onetwo").digest() != make(b"one").digest()
    twin, other = running.copy(), copy.copy(running)
    twin.update(b"three")
    assert twin.digest() == make(b"onetwothree").digest()
    assert running.digest() == other.digest() == make(b"onetwo").digest()
    del other
    assert running.digest() == make(b"onetwo").digest()
    assert repr(running) == f"<vrx {name} hash>"


@every
def test_bytes_like_objects_are_not_copied(name):
    make, data = MAKERS[name], bytes(range(256))
    expected = make(data).digest()
    padded = bytearray(b"x" + data + b"y")
    for given in (
        bytearray(data),
        memoryview(data),
        memoryview(padded)[1:-1],
        memoryview(bytes(padded))[1:-1],
        array.array("B", data),
        array.array("I", data),
        memoryview(data).cast("H"),
    ):
        assert make(given).digest() == expected


@every
def test_other_types_are_refused(name):
    running = MAKERS[name](b"data")
    before = running.digest()
    for wrong in ("text", 1, None, [1]):
        with pytest.raises(TypeError, match=f"data must be bytes-like, not {type(wrong).__name__}"):
            running.update(wrong)
    with pytest.raises(ValueError, match="data must be contiguous in memory"):
        running.update(memoryview(bytes(8))[::2])
    for copier in (pickle.dumps, copy.deepcopy):
        with pytest.raises(TypeError, match="can be neither pickled nor copied this way"):
            copier(running)
    assert running.digest() == before


@every
def test_closed_object_is_wiped_and_refuses_calls(name):
    with MAKERS[name](b"data") as running:
        record = running._record
        assert any(bytes(record))
    assert not any(bytes(record))
    running.close()
    for use in (running.digest, running.copy, lambda: running.update(b"x"), lambda: running.update(b"")):
        with pytest.raises(ValueError, match="is closed"):
            use()
    collected = MAKERS[name](b"data")
    record = collected._record
    del collected
    assert not any(bytes(record))


@every
def test_threads_share_an_object_and_run_in_parallel(name):
    make, piece = MAKERS[name], bytes(1000)
    shared = make()

    def feed():
        for _ in range(200):
            shared.update(piece)

    threads = [threading.Thread(target=feed) for _ in range(4)]
    for thread in threads:
        thread.start()
    while any(thread.is_alive() for thread in threads):
        shared.digest()
    assert shared.digest() == make(piece * 800).digest()
    messages = [bytes([i]) * 100_000 for i in range(20)]
    with ThreadPoolExecutor(4) as pool:
        assert list(pool.map(lambda m: make(m).digest(), messages)) == [make(m).digest() for m in messages]


@every
def test_long_data_is_processed_in_pieces(name, monkeypatch):
    make, data = MAKERS[name], random.Random(1).randbytes(1000)
    expected = make(data).digest()
    monkeypatch.setattr(_memory, "PIECE", 64)
    for given in (data, bytearray(data), memoryview(data), array.array("I", data)):
        assert make(given).digest() == expected


def test_buffer_cannot_be_resized_while_in_use():
    buffer = bytearray(8)
    octets = _memory.Octets(buffer, "data")
    with pytest.raises(BufferError):
        buffer.append(1)
    del octets
    buffer.append(1)


def test_sha1_equals_hashlib():
    source = random.Random(7)
    for size in [*range(130), 1000, 65_537]:
        data = source.randbytes(size)
        assert vrx.sha1(data).digest() == hashlib.sha1(data).digest()


def test_gostr3411_equals_the_model():
    source = random.Random(7)
    for boxes in (vrx.sboxes("tz_0"), vrx.sboxes("tz_1"), vrx.SBoxes(source.randbytes(64))):
        for size in (0, 1, 31, 32, 33, 200):
            data = source.randbytes(size)
            assert vrx.gostr3411(data, parameters=boxes).digest() == gost.digest(boxes.text, data)


def test_hmac_equals_the_hmac_module_over_the_hash():
    source = random.Random(7)
    for size in (0, 1, 31, 32, 33, 100):
        key, data = source.randbytes(size), source.randbytes(size * 3)
        assert vrx.hmac(key, data).digest() == hmac.new(key, data, vrx.gostr3411).digest()


def test_pbkdf2_equals_its_definition_over_hmac():
    password, salt = b"password", b"salt"
    block = value = hmac.new(password, salt + b"\0\0\0\1", vrx.gostr3411).digest()
    for _ in range(6):
        block = hmac.new(password, block, vrx.gostr3411).digest()
        value = bytes(x ^ y for x, y in zip(value, block))
    assert vrx.pbkdf2(password, salt, 7) == value
    assert vrx.pbkdf2(password, salt, 7, parameters="test") != value
    assert vrx.pbkdf2(b"", salt, 7) != value


def test_mac_equals_the_model():
    source = random.Random(7)
    for parameters in vrx.CIPHER_PARAMETERS:
        for size in (0, 1, 7, 8, 9, 1023, 1024, 1025, 2060):
            key, iv, data = source.randbytes(32), source.randbytes(8), source.randbytes(size)
            model = [parameters.sboxes.text, key, parameters.key_meshing, data]
            assert vrx.mac(key, data, parameters=parameters).digest() == (gost.mac(*model) if size else bytes(8))
            if size:
                assert vrx.mac(key, data, parameters=parameters, iv=iv).digest() == gost.mac(*model, iv)
    own = vrx.SBoxes(source.randbytes(64))
    assert vrx.mac(KEY, bytes(2000), parameters=own).digest() == gost.mac(own.text, KEY, False, bytes(2000))
    meshed = vrx.mac(KEY, bytes(2000), parameters=own, key_meshing=True)
    assert meshed.digest() == gost.mac(own.text, KEY, True, bytes(2000))


@pytest.mark.parametrize(
    "sentence, call",
    [
        ("the key must be 32 bytes long, not 31", lambda: vrx.mac(bytes(31))),
        ("the IV must be 8 bytes long, not 7", lambda: vrx.mac(KEY, iv=bytes(7))),
        ("there is no hash parameter set 'A'", lambda: vrx.gostr3411(parameters="A")),
        ("the salt must be 1 to", lambda: vrx.pbkdf2(b"p", b"", 1)),
        ("iterations must be 1 or more", lambda: vrx.pbkdf2(b"p", b"s", 0)),
        ("iterations must be 1 or more", lambda: vrx.pkcs12("p", b"s", -1, 1, 32)),
        ("password and salt must not both be empty", lambda: vrx.pkcs12(b"", b"", 1, 1, 32)),
        ("the purpose must be 1", lambda: vrx.pkcs12("p", b"s", 1, 4, 32)),
        ("the size must be from 1 to", lambda: vrx.pkcs12("p", b"s", 1, 1, 0)),
        ("the size must be from 1 to", lambda: vrx.pkcs12("p", b"s", 1, 1, 1 << 31)),
    ],
)
def test_invalid_values_are_refused(sentence, call):
    with pytest.raises(ValueError, match=f"^{sentence}"):
        call()


def test_invalid_types_are_refused():
    for call in (
        lambda: vrx.hmac("key"),
        lambda: vrx.mac(1),
        lambda: vrx.pbkdf2("password", b"salt", 1),
        lambda: vrx.gostr3411(parameters=None),
        lambda: vrx.hmac(b"", parameters=vrx.sboxes("tz_1")),
        lambda: vrx.pkcs12(1, b"salt", 1, 1, 32),
        lambda: vrx.pkcs12("password", b"salt", 1, 1, 32.0),
        lambda: vrx.pbkdf2(b"password", b"salt", 1.5),
        lambda: vrx.pbkdf2(b"password", b"salt", "1"),
    ):
        with pytest.raises(TypeError):
            call()


def test_too_long_key_is_refused(monkeypatch):
    monkeypatch.setattr(_memory, "PIECE", 64)
    assert vrx.hmac(bytes(64))
    with pytest.raises(ValueError, match="the key must be 0 to 64 bytes long, not 65"):
        vrx.hmac(bytes(65))


def test_pkcs12_gives_results_of_any_length():
    short = vrx.pkcs12("password", b"salt", 3, 1, 5)
    assert len(short) == 5 and vrx.pkcs12("password", b"salt", 3, 1, 32).startswith(short)
    assert len(vrx.pkcs12("password", b"salt", 3, 1, 100)) == 100
    assert vrx.pkcs12("password", b"salt", 3, 2, 5) != short
