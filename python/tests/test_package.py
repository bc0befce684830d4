"""Tests of the package: installation, loading and type hints."""

import importlib.util
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
import vrx

PACKAGE = Path(vrx.__file__).parent
PYTHON = PACKAGE.parents[1]
LIBRARY = os.environ.get("VRX_LIBRARY") or PACKAGE / "libvrx.so.1"


def run(*command, path=None, **changes):
    """Run Python in this environment with changes; the value None removes a variable."""
    environment = {**os.environ, "PYTHONPATH": str(path or PACKAGE.parent), **changes}
    environment = {name: value for name, value in environment.items() if value is not None}
    return subprocess.run(
        [sys.executable, *map(str, command)], capture_output=True, text=True, env=environment, check=False
    )


def has(module):
    return importlib.util.find_spec(module) is not None


def test_version_equals_the_version_of_the_library():
    project = (PYTHON.parent / "CMakeLists.txt").read_text()
    assert re.search(r"project\(vrx VERSION (\S+)", project)[1] == vrx.__version__


def test_all_public_names_are_listed_and_documented():
    imported = ("annotations", "ctypes", "os")
    assert sorted(vrx.__all__) == sorted(n for n in dir(vrx) if not n.startswith("_") and n not in imported)
    for name in vrx.__all__:
        thing = getattr(vrx, name)
        if isinstance(thing, tuple):
            continue
        assert thing.__doc__, name
        for member, value in vars(thing).items() if isinstance(thing, type) else ():
            if not member.startswith("_") and (callable(value) or isinstance(value, (property, classmethod))):
                assert value.__doc__, f"{name}.{member}"


@pytest.mark.skipif(not has("pip") or not has("setuptools") or not has("wheel"), reason="pip or setuptools is missing")
def test_pip_installs_from_source_without_a_network(tmp_path):
    # Setuptools builds in the source folder, so it gets a copy.
    source, target = tmp_path / "source", tmp_path / "target"
    shutil.copytree(PYTHON, source, ignore=shutil.ignore_patterns("build", "*.egg-info", "__pycache__"))
    options = ["--no-build-isolation", "--no-index", "--no-deps", "--quiet", "--target", target]
    installed = run("-m", "pip", "install", *options, source, PIP_ROOT_USER_ACTION="ignore")
    assert installed.returncode == 0, installed.stderr
    assert sorted(p.name for p in (target / "vrx").iterdir() if p.name != "__pycache__") == sorted(
        p.name for p in PACKAGE.iterdir() if p.suffix in (".py", ".typed")
    )
    program = "import vrx; from importlib.metadata import version; print(vrx.sha1(b'abc').hexdigest(), version('vrx'))"
    result = run("-c", program, path=target, VRX_LIBRARY=str(LIBRARY))
    assert result.stdout == f"a9993e364706816aba3e25717850c26c9cd0d89d {vrx.__version__}\n", result.stderr


PROGRAM = "import vrx; print(vrx._c.lib._name)"


def test_load_order_is_variable_then_package_then_system(tmp_path):
    copy = tmp_path / "vrx"
    shutil.copytree(PACKAGE, copy, ignore=shutil.ignore_patterns("__pycache__", "*.so*"))
    result = run("-c", PROGRAM, path=tmp_path, VRX_LIBRARY=None, LD_LIBRARY_PATH=str(Path(LIBRARY).parent))
    assert result.stdout == "libvrx.so.1\n", result.stderr
    shutil.copy(LIBRARY, copy / "libvrx.so.1")
    result = run("-c", PROGRAM, path=tmp_path, VRX_LIBRARY=None)
    assert result.stdout == f"{copy / 'libvrx.so.1'}\n", result.stderr
    result = run("-c", PROGRAM, path=tmp_path, VRX_LIBRARY=str(LIBRARY))
    assert result.stdout == f"{LIBRARY}\n", result.stderr


def test_missing_library_raises_import_error_with_advice():
    result = run("-c", PROGRAM, VRX_LIBRARY="/nowhere/libvrx.so.1")
    assert "ImportError: the library libvrx cannot be loaded: /nowhere/libvrx.so.1: " in result.stderr
    assert result.stderr.endswith("; this path is the value of VRX_LIBRARY\n")


def test_interpreter_exits_silently_with_open_keys():
    program = (
        "import vrx; key = vrx.PrivateKey.generate(); cipher = vrx.Cipher(bytes(32)); mac = vrx.mac(bytes(32)); "
        "stream = cipher.encryptor(bytes(8)); loop = [mac]; loop.append(loop); del mac"
    )
    result = run("-X", "dev", "-W", "error", "-c", program)
    assert (result.stdout, result.stderr, result.returncode) == ("", "", 0)


def test_types_are_strict():
    mypy = shutil.which("mypy")
    if not mypy:
        pytest.skip("mypy is missing")
    command = [mypy, "--config-file", "pyproject.toml", "--cache-dir", os.devnull]
    result = subprocess.run(command, cwd=PYTHON, capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stdout
