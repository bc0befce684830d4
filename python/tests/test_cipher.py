"""Tests of the cipher: whole messages, pieces, buffers, threads and invalid arguments."""

import random
import threading
from concurrent.futures import ThreadPoolExecutor

import gost
import pytest
import vrx
from vrx import _memory

KEY, IV = bytes(range(32)), bytes(range(8))
MODES = [mode.value for mode in vrx.Mode]
every = pytest.mark.parametrize("mode", MODES)
WHOLE = ("ss", "cbc")


def vector(mode):
    return None if mode == "ss" else IV


def test_settings_default_to_those_of_the_parameter_set():
    assert vrx.Cipher(KEY).mode is vrx.Mode.CFB and vrx.Cipher(KEY).key_meshing is True
    assert vrx.Cipher(KEY, "test").mode is vrx.Mode.CTR and vrx.Cipher(KEY, "test").key_meshing is False
    other = vrx.Cipher(KEY, "A", mode=vrx.Mode.CBC, key_meshing=False)
    assert other.mode is vrx.Mode.CBC and other.key_meshing is False and other.sboxes == vrx.sboxes("tz_a")
    assert vrx.Cipher(KEY, vrx.sboxes("tz_a"), mode="gamm").key_meshing is False
    assert vrx.Cipher(KEY, "test", key_meshing=2).encrypt(bytes(1025), IV) == (
        vrx.Cipher(KEY, "test", key_meshing=True).encrypt(bytes(1025), IV)
    )
    assert repr(other) == "<Cipher mode=cbc key_meshing=False>"


@every
def test_equals_the_model_for_every_set_and_custom_sboxes(mode):
    source = random.Random(mode)
    own = vrx.SBoxes(source.randbytes(64))
    for parameters in (*vrx.CIPHER_PARAMETERS, own):
        boxes = parameters if parameters is own else parameters.sboxes
        for meshing in (True, False):
            size = source.choice([8, 1024, 1032, 2056]) - (0 if mode in WHOLE else source.randrange(8))
            key, iv, data = source.randbytes(32), source.randbytes(8), source.randbytes(size)
            expected = gost.encrypt(boxes.text, key, mode, meshing, iv, data)
            cipher = vrx.Cipher(key, parameters, mode=mode, key_meshing=meshing)
            given = None if mode == "ss" else iv
            assert cipher.encrypt(data, given) == expected
            assert cipher.decrypt(expected, given) == data


@every
def test_pieces_of_any_size_give_the_message(mode):
    source = random.Random(mode)
    cipher, data = vrx.Cipher(KEY, mode=mode), source.randbytes(4096)
    secret = cipher.encrypt(data, vector(mode))
    for begin, text, expected in ((cipher.encryptor, data, secret), (cipher.decryptor, secret, data)):
        for _ in range(10):
            out, start = [], 0
            with begin(vector(mode)) as stream:
                while start < len(text):
                    size = source.choice([0, 1, 3, 7, 8, 9, 100, 1024])
                    out.append(stream.update(text[start : start + size]))
                    start += size
                    if mode in WHOLE:
                        assert sum(map(len, out)) == min(start, len(text)) // 8 * 8
                    else:
                        assert sum(map(len, out)) == min(start, len(text))
            assert b"".join(out) == expected


@every
def test_update_into_overlapping_memory_gives_the_same_result(mode):
    source = random.Random(mode)
    cipher = vrx.Cipher(KEY, mode=mode)
    for held in (0, 3):
        for begin in (cipher.encryptor, cipher.decryptor):
            for shift in (-17, -8, -5, -1, 0, 1, 5, 8, 17):
                memory, first = bytearray(source.randbytes(2200)), source.randbytes(held)
                data, room = memoryview(memory)[50:2098], memoryview(memory)[50 + shift : 2098 + shift]
                plain, before = begin(vector(mode)), bytes(memory)
                plain.update(first)
                expected = plain.update(bytes(data))
                stream = begin(vector(mode))
                stream.update(first)
                assert stream.update_into(data, room) == len(expected)
                start = 50 + shift
                assert memory == before[:start] + expected + before[start + len(expected) :]


@every
def test_update_into_accepts_input_too_short_for_output(mode):
    stream = vrx.Cipher(KEY, mode=mode).encryptor(vector(mode))
    assert stream.update_into(b"", bytearray()) == 0
    if mode in WHOLE:
        assert stream.update_into(bytes(7), bytearray()) == 0
        assert stream.update_into(bytes(9), bytearray(16)) == 16
    else:
        assert stream.update_into(bytes(7), bytearray(100)) == 7


@every
def test_too_small_buffer_is_refused_without_effect(mode):
    cipher, data = vrx.Cipher(KEY, mode=mode), bytes(range(24))
    stream, room = cipher.encryptor(vector(mode)), bytearray(23)
    with pytest.raises(ValueError, match="^the buffer has 23 bytes, but 24 are needed$"):
        stream.update_into(data, room)
    assert not any(room)
    with pytest.raises(TypeError, match="^the buffer must be writable$"):
        stream.update_into(data, bytes(24))
    assert stream.update(data) == cipher.encrypt(data, vector(mode))


@every
def test_long_data_is_processed_in_pieces(mode, monkeypatch):
    cipher, data = vrx.Cipher(KEY, mode=mode), random.Random(mode).randbytes(1000)
    expected = cipher.encrypt(data, vector(mode))
    monkeypatch.setattr(_memory, "PIECE", 64)
    assert cipher.encrypt(data, vector(mode)) == expected
    assert cipher.encrypt(memoryview(bytearray(data)).cast("I"), vector(mode)) == expected
    memory = bytearray(data)
    with cipher.encryptor(vector(mode)) as stream:
        assert stream.update_into(memory, memory) == len(data)
    assert memory == expected


@every
def test_one_byte_and_empty_message(mode):
    cipher = vrx.Cipher(KEY, mode=mode)
    assert cipher.encrypt(b"", vector(mode)) == cipher.decrypt(b"", vector(mode)) == b""
    if mode not in WHOLE:
        # The result must be a new object: Python shares bytes objects of length one.
        out = {octet: cipher.encrypt(bytes([octet]), IV)[0] for octet in range(256)}
        assert sorted(out.values()) == list(range(256))
        assert bytes([5])[0] == 5


@pytest.mark.parametrize("mode", WHOLE)
def test_incomplete_last_block_is_refused(mode):
    cipher = vrx.Cipher(KEY, mode=mode)
    sentence = "^the message must be a multiple of 8 bytes long, but 5 bytes are left over$"
    for call in (cipher.encrypt, cipher.decrypt):
        with pytest.raises(ValueError, match=sentence):
            call(bytes(13), vector(mode))
    stream = cipher.encryptor(vector(mode))
    assert len(stream.update(bytes(13))) == 8
    with pytest.raises(ValueError, match=sentence):
        stream.finish()
    with pytest.raises(ValueError, match="^this CipherStream is closed$"):
        stream.update(bytes(3))


def test_exception_closes_the_stream_without_another_exception():
    with pytest.raises(KeyError):
        with vrx.Cipher(KEY, mode="ss").encryptor() as stream:
            stream.update(bytes(3))
            raise KeyError
    with pytest.raises(ValueError, match="is closed"):
        stream.finish()


def test_key_and_streams_are_wiped():
    cipher = vrx.Cipher(KEY)
    held = cipher._record
    assert held.raw == KEY
    stream = cipher.encryptor(IV)
    context = stream._record
    assert bytes(context.key) == KEY
    cipher.close()
    assert not any(held.raw)
    # A stream stays usable after its cipher is closed.
    assert stream.update(b"data") == vrx.Cipher(KEY).encrypt(b"data", IV)
    stream.finish()
    assert not any(bytes(context))
    for call in (lambda: cipher.encrypt(b"data", IV), lambda: cipher.decryptor(IV)):
        with pytest.raises(ValueError, match="^this Cipher is closed$"):
            call()
    lost = vrx.Cipher(KEY)
    held = lost._record
    del lost
    assert not any(held.raw)


def test_threads_share_a_cipher_and_a_stream():
    cipher = vrx.Cipher(KEY)
    messages = [bytes([i]) * 50_000 for i in range(20)]
    with ThreadPoolExecutor(4) as pool:
        secrets = list(pool.map(lambda m: cipher.encrypt(m, IV), messages))
    assert [cipher.decrypt(s, IV) for s in secrets] == messages
    stream, out = cipher.encryptor(IV), []

    def feed():
        for _ in range(100):
            out.append(stream.update(bytes(1000)))

    threads = [threading.Thread(target=feed) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    whole = cipher.encrypt(bytes(400_000), IV)
    assert sorted(out) == sorted(whole[i : i + 1000] for i in range(0, 400_000, 1000))


@pytest.mark.parametrize(
    "sentence, call",
    [
        ("the key must be 32 bytes long, not 31", lambda: vrx.Cipher(bytes(31))),
        ("the IV must be 8 bytes long, not 9", lambda: vrx.Cipher(KEY).encrypt(b"", bytes(9))),
        ("mode gfb needs an IV", lambda: vrx.Cipher(KEY).encrypt(b"")),
        ("mode ss takes no IV", lambda: vrx.Cipher(KEY, mode="ss").encrypt(b"", IV)),
        ("custom S-boxes need a mode: ss, gamm, gfb or cbc", lambda: vrx.Cipher(KEY, vrx.sboxes("tz_a"))),
        ("'' is not a valid Mode", lambda: vrx.Cipher(KEY, mode="")),
        ("'ofb' is not a valid Mode", lambda: vrx.Cipher(KEY, mode="ofb")),
        ("there is no cipher parameter set 'E'", lambda: vrx.Cipher(KEY, "E")),
        ("the UKM must be 8 bytes long, not 7", lambda: vrx.diversify(KEY, bytes(7))),
        ("the key must be 32 bytes long, not 33", lambda: vrx.diversify(bytes(33), IV)),
    ],
)
def test_invalid_values_are_refused(sentence, call):
    with pytest.raises(ValueError, match=f"^{sentence}"):
        call()


def test_invalid_types_are_refused():
    cipher = vrx.Cipher(KEY)
    for sentence, call in [
        ("the key must be bytes-like, not str", lambda: vrx.Cipher("k" * 32)),
        ("the IV must be bytes-like, not int", lambda: cipher.encrypt(b"", 8)),
        ("data must be bytes-like, not str", lambda: cipher.encrypt("data", IV)),
        ("the cipher parameter set must be a name", lambda: vrx.Cipher(KEY, 1)),
        ("a Cipher can be neither pickled nor copied", lambda: __import__("copy").copy(cipher)),
    ]:
        with pytest.raises(TypeError, match=f"^{sentence}"):
            call()


def test_diversify_equals_the_model():
    source = random.Random(7)
    for parameters in vrx.CIPHER_PARAMETERS:
        key, ukm = source.randbytes(32), source.randbytes(8)
        assert vrx.diversify(key, ukm, parameters) == gost.diversify(parameters.sboxes.text, key, ukm)
        assert vrx.diversify(bytearray(key), ukm, parameters.sboxes) == vrx.diversify(key, ukm, parameters)
