"""Tests of S-boxes, parameter sets, the log and the copyright notice."""

import os
import pickle
import random
import subprocess
import sys

import pytest
import vrx


def test_sets_are_found_by_every_name_in_any_case():
    a = vrx.CIPHER_PARAMETERS[1]
    der = bytes.fromhex("06072a850302021f01")
    for name in (a.name, a.name.upper(), "CryptoPro-A", "cryptopro-a", "A", "a", "1.2.643.2.2.31.1", der, a):
        assert vrx.cipher_parameters(name) is a
    shorts = ["test", "A", "B", "C", "D", "0S", "SA", "SB", "SC", "SD"]
    assert tuple(map(vrx.cipher_parameters, shorts)) == vrx.CIPHER_PARAMETERS
    assert tuple(map(vrx.hash_parameters, ("test", "cryptopro"))) == vrx.HASH_PARAMETERS
    assert tuple(map(vrx.curve, ("Test", "A", "B", "C", "XchA", "XchB"))) == vrx.CURVES
    for known in (*vrx.CIPHER_PARAMETERS, *vrx.HASH_PARAMETERS, *vrx.CURVES):
        find = {vrx.Curve: vrx.curve, vrx.HashParameters: vrx.hash_parameters}.get(type(known), vrx.cipher_parameters)
        assert find(known.oid) is find(known.der) is find(known.name) is known
    assert len({s.oid for s in vrx.CIPHER_PARAMETERS}) == 10


@pytest.mark.parametrize("find", [vrx.cipher_parameters, vrx.hash_parameters, vrx.curve])
def test_unknown_set_is_refused(find):
    for wanted in ("", "E", "CryptoPro-", "1.2.643.2.2.31", b"", b"A"):
        with pytest.raises(ValueError, match="^there is no "):
            find(wanted)
    with pytest.raises(TypeError, match="must be a name, an object identifier or a "):
        find(1)


def test_modes_have_the_names_and_numbers_of_the_library():
    assert [mode.value for mode in vrx.Mode] == ["ss", "gamm", "gfb", "cbc"]
    for mode in vrx.Mode:
        assert vrx._c.lib.ciph_mode_by_name(mode.value.encode()) == mode.number
    with pytest.raises(ValueError):
        vrx.Mode("ofb")


def test_sboxes_convert_to_every_form_and_back():
    source = random.Random(1)
    for _ in range(100):
        octets = source.randbytes(64)
        boxes = vrx.SBoxes(octets)
        assert bytes(boxes) == octets
        swapped = bytes(o >> 4 | (o & 15) << 4 for o in octets)
        assert vrx.SBoxes.from_der(swapped) == boxes and hash(vrx.SBoxes.from_der(swapped)) == hash(boxes)
        assert vrx.SBoxes.from_text(boxes.text) == vrx.SBoxes.from_text(boxes.text.lower()) == boxes
        assert vrx.SBoxes.from_rows(boxes.rows) == boxes
        assert eval(repr(boxes), {"SBoxes": vrx.SBoxes}) == boxes
        assert pickle.loads(pickle.dumps(boxes)) == boxes
    # Input 1 gives 5 in S-box 0 and 7 in S-box 1.
    assert vrx.SBoxes(bytes(4) + b"\x75" + bytes(59)).rows[:2] == ((0, 5) + (0,) * 14, (0, 7) + (0,) * 14)
    assert vrx.sboxes("tz_1") == vrx.hash_parameters("CryptoPro").sboxes != vrx.sboxes("tz_0")
    assert vrx.sboxes("tz_a") != bytes(vrx.sboxes("tz_a"))


def test_malformed_sboxes_are_refused():
    for make, wrong in [
        (vrx.SBoxes, bytes(63)),
        (vrx.SBoxes.from_der, bytes(65)),
        (vrx.SBoxes.from_text, "0" * 127),
        (vrx.SBoxes.from_text, "0" * 127 + "G"),
        (vrx.SBoxes.from_text, "0" * 127 + "\n0"),
        (vrx.SBoxes.from_rows, [range(16)] * 7),
        (vrx.SBoxes.from_rows, [range(16)] * 7 + [range(1, 17)]),
        (vrx.SBoxes.from_rows, [range(16)] * 7 + [range(15)]),
    ]:
        with pytest.raises(ValueError, match="^the S-boxes must be "):
            make(wrong)
    with pytest.raises(ValueError, match="there are no S-boxes 'tz_e'"):
        vrx.sboxes("tz_e")
    for make in (vrx.SBoxes, vrx.SBoxes.from_der):
        for wrong in ("0" * 64, 64):
            with pytest.raises(TypeError, match=f"^the S-boxes must be bytes-like, not {type(wrong).__name__}$"):
                make(wrong)


def test_text_of_another_type_is_refused():
    with pytest.raises(TypeError, match="^the S-boxes must be a str, not bytes$"):
        vrx.SBoxes.from_text(bytes(128))


def test_built_in_sboxes_have_the_names_of_the_library():
    for name in ("tz_test", "tz_a", "tz_b", "tz_c", "tz_d"):
        assert vrx._c.lib.TZ_by_name(name.encode()).contents.t[3][7] == vrx.sboxes(name)._table.t[3][7]
    for name in ("tz_0", "tz_1"):
        assert vrx._c.lib.hash_TZ_by_name(name.encode()).contents.t[3][7] == vrx.sboxes(name)._table.t[3][7]
    assert len({vrx.sboxes(f"tz_{name}") for name in ("test", *"abcd01")}) == 7


def test_log_writes_to_a_file_and_can_be_turned_off(tmp_path):
    path = tmp_path / "log"
    vrx.log_to(path)
    assert not vrx._c.lib.TZ_by_name(b"tz_x")
    vrx.log_to(None)
    text = path.read_text()
    assert text.startswith("TZ_by_name: ")
    assert not vrx._c.lib.TZ_by_name(b"tz_x")
    assert path.read_text() == text


def test_log_never_closes_standard_error():
    program = "import os, vrx\nfor _ in range(3): vrx.log_to('stderr')\nvrx.log_to(None)\nos.write(2, b'open')"
    result = subprocess.run([sys.executable, "-c", program], capture_output=True, env=environment())
    assert (result.stderr, result.returncode) == (b"open", 0)


def environment():
    return {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(vrx.__file__))}


def test_error_has_code_name_and_function():
    error = vrx.Error("f", -3)
    assert (error.function, error.code, error.name) == ("f", -3, "VRX_ERR_RANDOM")
    assert str(error) == "f: VRX_ERR_RANDOM (the random source failed)"
    assert str(vrx.Error("f", -5)) == "f: -5 (unknown code)"
    assert repr(error) == f"Error({str(error)!r})"
    again = pickle.loads(pickle.dumps(vrx.InvalidSignature("ecVerify", -1)))
    assert isinstance(again, vrx.InvalidSignature) and again.code == -1
