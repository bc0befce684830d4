"""The tests that judge a change, by the folder or file that it is in."""
import re
from dataclasses import dataclass
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
# The code that is changed: the library, the program with its internal library, and the C++ interface.
SCOPES = ("src", "app", "documents", "include/vrx/cxx")
WITHOUT_SANITIZERS = {"bigdigits_wipe_O2", "faults_library"}


@dataclass(frozen=True)
class Run:
    """A run of a test program, with a selected engine and a filter for its tests, or of one class of a script."""
    program: str
    engine: str = ""
    filter: str = "*"

    @property
    def is_script(self):
        return self.program.endswith(".py")

    def __str__(self):
        return self.program + (f" on {self.engine}" if self.engine else "") + \
            (f" {self.filter}" if self.filter != "*" else "")


def runs(*programs, engines=("",), filter="*"):
    return [Run(program, engine, filter) for program in programs for engine in engines]


def scripts(*names):
    """A run for each class of tests in the scripts of these names, or for the one class in "NAME:CLASS"."""
    found = []
    for name, _, wanted in (name.partition(":") for name in names):
        path = f"tests/app/{name}_test.py"
        classes = re.findall(r"^class (\w+)\(", (PROJECT / path).read_text(), re.M)
        chosen = [each for each in classes if wanted in ("", each)]
        assert chosen, f"{path} has no class {wanted}"
        found += [Run(path, filter=each) for each in chosen]
    return found


def engines_of(family):
    """Read the names of a family's engines from the library's list."""
    text = (PROJECT / "src/frame/engines.hpp").read_text()
    entries = re.search(rf" {family}_engines\[\] = {{\n(.*?)\n}};", text, re.S)[1]
    return tuple(re.findall(r'^    {"([^"]+)"', entries, re.M))


CIPHER = runs("kernel", "known_answers", "modes", "meshing", "context", engines=engines_of("cipher")) + \
    runs("engine")
HASH = runs("gostr3411", engines=engines_of("hash"), filter="-*2_to_29*") + \
    runs("gostr3411", filter="*2_to_29*") + runs("gostr3411_engine")
SHA1 = runs("sha1", filter="-*2_to_32*") + runs("sha1", filter="*2_to_32*")
NUMBERS = runs("bigdigits_arithmetic", "bigdigits_modular", "bigdigits_prime", "bigdigits_convert", "bigdigits_gmp",
               "bigdigits_wipe_O2") + runs("bigdigits_prime", filter="Seeding.*")
CURVE_ENGINES = runs("ecc_field", "ecc_builtin") + \
    runs("ecc", engines=(*engines_of("curve"), "none", "plain_lanes"), filter="-*wiping*")
CURVES = CURVE_ENGINES + runs("ecc_sign", "ecc_toy") + runs("ecc_model", engines=("", "none"))
# These runs use every part of the program.
PROGRAM = scripts("usage", "transcripts", "commands/encrypt", "commands/digest", "commands/signature", "manual",
                  "io/files:Outputs")
LISTS = scripts("commands/digest", "commands/mac", "commands/hmac")
DOCUMENTS = runs("der") + scripts("commands/certificate", "commands/inspect", "commands/signature", "transcripts")

# The runs for each folder, or for the files whose paths begin with the key. If several keys match, the longest is used.
# "engines" tests the features that each engine needs.
TESTS = {
    "src/frame": runs("frame", "log", "engines", "variants", "engine", "bigdigits_convert", "context", "ecc_field") +
    runs("sha1", filter="-*2_to_32*") + runs("gostr3411", filter="-*2_to_29*") + runs("ecc", filter="-*wiping*"),
    "src/frame/log.hpp": [Run("tests/frame/log_names_test.py")],
    "src/tz": runs("tables", "registry", "variants", "engines", "engine", "gostr3411_engine", "kernel", "log",
                   "faults_library"),
    "src/gost28147": CIPHER + runs("engines", "log", "fences"),
    "src/gostr3411": HASH + runs("engines", "log", "fences"),
    "src/sha1": SHA1 + runs("engines", "log", "fences"),
    "src/ecc": CURVES + runs("log", "fences"),
    "src/ecc/bigdigits": NUMBERS + runs("log", "fences", "faults_library"),
    "src/ecc/uint256": runs("ecc_field_models") + CURVE_ENGINES + runs("bigdigits_modular"),
    "src/ecc/field": runs("ecc_field_models") + CURVES + runs("engines", "bigdigits_modular"),
    "include/vrx/cxx": runs("cxx_objects", "cxx_wrappers", "cxx_answers", "hedged", "faults_library"),
    "app": PROGRAM,
    "app/chart": runs("chart") + scripts("commands/speed"),
    "app/checklist": LISTS + scripts("transcripts"),
    "app/cipher": scripts("commands/encrypt", "commands/mac", "commands/answers", "keys/memory"),
    "app/commands/agree": scripts("transcripts", "commands/signature"),
    "app/commands/decrypt": scripts("commands/encrypt"),
    "app/commands/derive": scripts("commands/derive", "transcripts"),
    "app/commands/diversify": scripts("transcripts", "commands/signature"),
    "app/commands/encrypt": scripts("commands/encrypt"),
    "app/commands/hash": scripts("commands/digest"),
    "app/commands/hmac": scripts("commands/hmac", "transcripts"),
    "app/commands/inspect": scripts("commands/inspect", "commands/certificate"),
    "app/commands/keygen": scripts("usage", "transcripts"),
    "app/commands/keypair": scripts("transcripts", "commands/signature"),
    "app/commands/mac": scripts("commands/mac", "commands/answers"),
    "app/commands/params": scripts("usage", "transcripts", "commands/certificate"),
    "app/commands/pubkey": scripts("commands/signature", "transcripts"),
    "app/commands/sha1": scripts("commands/digest"),
    "app/commands/sign": scripts("commands/signature", "transcripts"),
    "app/commands/speed": scripts("commands/speed"),
    "app/commands/verify": scripts("commands/signature", "commands/certificate", "transcripts"),
    "app/derived_key": scripts("commands/derive", "commands/encrypt", "keys/memory"),
    "app/digest": scripts("commands/digest", "commands/signature"),
    "app/io/files": scripts("io/files", "commands/encrypt", "io/names", "io/interruptions"),
    "app/io/place": scripts("io/files", "io/names", "io/interruptions"),
    "app/io/progress": scripts("io/files:ProgressBar", "io/files:Outputs", "commands/derive"),
    "app/io/terminal": scripts("io/names", "usage", "io/files:ProgressBar", "commands/encrypt"),
    "app/io/text": runs("text") + scripts("usage", "io/names") + LISTS + scripts("commands/inspect", "commands/derive"),
    "app/key_options": scripts("keys/encrypted_keys", "commands/encrypt", "commands/mac", "commands/hmac"),
    "app/keys/der": DOCUMENTS,
    "app/keys/encrypted_key": scripts("keys/encrypted_keys", "keys/memory"),
    "app/keys/key_f": scripts("commands/signature", "commands/inspect", "commands/encrypt") + runs("der") +
    scripts("keys/encrypted_keys"),
    "app/keys/keys": scripts("commands/encrypt", "keys/memory", "commands/mac") + runs("secrets"),
    "app/keys/parameters": scripts("usage", "commands/answers", "commands/encrypt", "commands/inspect"),
    "app/keys/password": scripts("commands/derive", "commands/encrypt", "keys/memory"),
    "app/keys/random": scripts("transcripts", "commands/encrypt"),
    "app/keys/traces": runs("secrets") + scripts("keys/memory"),
    "app/keys/unlock": scripts("keys/encrypted_keys", "keys/memory"),
    "app/main": scripts("usage", "transcripts", "io/files:Outputs", "io/files:Pipes", "io/files:Signals"),
    "app/options": scripts("usage", "transcripts", "commands/encrypt"),
    "app/transform": scripts("commands/encrypt", "io/files", "io/interruptions", "keys/memory"),
    "documents": DOCUMENTS,
}


def tests_of(file, sanitize=False):
    """Return the test runs that must detect a fault in a file. Scripts run in this order: their costs are not known."""
    folder_or_file = max((key for key in TESTS if file.startswith(key)), key=len)
    return [run for run in TESTS[folder_or_file] if not (sanitize and run.program in WITHOUT_SANITIZERS)]


def sources():
    """The source files of all scopes, relative to the project."""
    return sorted(str(f.relative_to(PROJECT)) for scope in SCOPES for f in (PROJECT / scope).rglob("*.[ch]pp"))
