"""The layers of src, include, documents, app and tests/support: their files, and what each may include.

layering_test.py compares the code with this list, and the picture in docs/architecture.md is drawn from it. When you
add, move or remove a file, change this list and run "tests/layering/picture.py --write".
"""
from dataclasses import dataclass


@dataclass(frozen=True)
class Layer:
    """Some files of a folder.

    name    the layer's name in the picture, if the folder holds several layers
    suffix  the suffix of all files of the layer, if another layer may have files of the same name
    files   paths in the folder without suffix, so that a source and its header are one file. A file may include those
            before it in this list
    below   the names of the layers that the files may include, all of them earlier in the list. An include of a public
            C header also counts as an include of the part of the library that it declares
    """
    folder: str
    files: str
    below: tuple = ()
    name: str = ""
    suffix: str = ""

    def __post_init__(self):
        object.__setattr__(self, "name", self.name or self.folder)

    @property
    def order(self):
        return [name + self.suffix for name in self.files.split()]


LAYERS = [
    # The C interface, the base of everything else.
    Layer("include/vrx", """
        export frame helpers tz params kernel modes context stream gostr3411 hmac kdf sha1 bigdigits curve point multiply
        sign agree octets check random hedged keyfile""", suffix=".h"),
    Layer("include", "vrx", ("include/vrx",), "include/vrx.h", ".h"),

    # The library. The folders of the tests have the same names.
    Layer("src/frame", """
        platform bytes barrier wipe declassify log cpu region_ssse3 region_sha region_avx2 region_avx512 region_ifma
        region_end choice engines secret_work blockwise""", ("include/vrx",)),
    Layer("src/tz", """
        deploy published sboxes scan shuffle deployments recover recover_avx512 avx2 avx512 tables registry api""",
          ("src/frame", "include/vrx")),
    Layer("src/gost28147", """
        block mode in_order plain mesh engine/list plain_constant_time engine/schedule engine/parallel engine/planes
        engine/chain engine/lanes engine/vbmi_vector engine/baseline engine/scan engine/ssse3 engine/avx2
        engine/vbmi_any engine/vbmi bulk stream api_block api_modes api_meshing api_context""",
          ("src/tz", "src/frame", "include/vrx")),
    Layer("src/gostr3411", """
        uint256 step_parts step wide_table engine baseline linear avx2 vbmi lanes scan ssse3 hash checks api hmac
        hmac_api kdf""",
          ("src/tz", "src/frame", "include/vrx")),
    Layer("src/sha1", "compress compress_portable compress_sha_ni hash", ("src/frame", "include/vrx")),
    Layer("src/ecc/uint256", "words divsteps", ("src/frame",)),
    Layer("src/ecc/bigdigits", "words multiply columns division lehmer arithmetic modular prime convert notice",
          ("src/ecc/uint256", "src/frame", "include/vrx")),
    Layer("src/ecc/field/tables", "comb_test comb_a comb_b comb_c"),
    Layer("src/ecc/field", """
        words lookup modulus adx_words curves points order limbs52 recode comb_tables word_multiply lanes plain_lanes
        ifma_lanes lane_points comb ladder lane_methods engine engine_of engine_words engine_adx engine_ifma""",
          ("src/ecc/field/tables", "src/ecc/uint256", "src/frame")),
    Layer("src/ecc/tables", "a b c"),
    Layer("src/ecc", "residue curve point multiples domain multiply generate sign agree octets",
          ("src/ecc/tables", "src/ecc/field", "src/ecc/bigdigits", "src/gostr3411", "src/gost28147", "src/tz",
            "src/frame", "include/vrx")),
    # The copyright notice of the library contains that of the arithmetic module, so this file is in a layer above the
    # rest of its folder.
    Layer("src/frame", "api", ("src/ecc/bigdigits", "src/frame", "include/vrx"), "src/frame/api"),

    # The C++ interface. The C++ headers directly in include/vrx are older paths. They only include headers of the
    # interface.
    Layer("include/vrx/cxx", """
        frame types tz params bigdigits kernel modes context gostr3411 hmac kdf sha1 curve point multiply sign agree""",
          ("include/vrx",), suffix=".hpp"),
    Layer("include/vrx", "result types tables numbers cipher hash curves", ("include/vrx/cxx",), "include/vrx/*.hpp",
          ".hpp"),
    Layer("include", "vrx", ("include/vrx", "include/vrx.h", "include/vrx/cxx"), "include/vrx.hpp", ".hpp"),

    # The program.
    Layer("app/io", "failure signals declassify text place confinement terminal files spool progress pieces",
          ("include/vrx",)),
    Layer("documents", """
        der source ber messages_module asn1 transport transport_writer algorithm name time certificate revocation
        signature chain message signed_data signed_data_writer""", ("app/io", "include/vrx.h")),
    Layer("app/keys", "keys parameters random traces der password key_format encrypted_key unlock key_files",
          ("documents", "app/io", "src/frame", "include/vrx", "include/vrx.h")),
    Layer("app", """
        chart report options topics checklist key_options cipher derived_key digest transform messages message_report
        trust""",
          ("app/keys", "documents", "app/io", "include/vrx.h")),
    Layer("app/commands", """
        commands agree cms_show cms_sign cms_verify decrypt derive diversify encrypt hash hmac inspect keygen keypair
        mac params pubkey sha1 sign speed verify""",
          ("app", "app/keys", "documents", "app/io", "src/frame", "include/vrx", "include/vrx.h")),
    Layer("app", "main", ("app/commands", "app", "app/keys", "app/io", "include/vrx.h"), "app/main"),

    # The common parts of the tests.
    Layer("tests/support", """
        headers hex sanitizers child_process log_capture memory_map fenced_buffer fenced_pages registry_guard project
        kat own_stack random offered engines""",
          ("src/frame", "include/vrx", "include/vrx.h")),
]

# The folders whose files must all be in the list, and the files in these folders that include nothing.
ROOTS = ["src", "include", "documents", "app", "tests/support"]
NO_CODE = [
    "CMakeLists.txt", "documents/messages.asn", "src/libvrx.map", "include/.clang-format", "app/completion/_vrx",
    "app/completion/vrx.bash",
]

# The part of the library that each public C header declares. The other headers declare no part of it.
DECLARES = {
    "frame": "src/frame",
    "tz": "src/tz",
    "params": "src/tz",
    "kernel": "src/gost28147",
    "modes": "src/gost28147",
    "context": "src/gost28147",
    "gostr3411": "src/gostr3411",
    "hmac": "src/gostr3411",
    "kdf": "src/gostr3411",
    "sha1": "src/sha1",
    "bigdigits": "src/ecc/bigdigits",
    "curve": "src/ecc",
    "point": "src/ecc",
    "multiply": "src/ecc",
    "sign": "src/ecc",
    "agree": "src/ecc",
    "octets": "src/ecc",
}

# The older paths in include/vrx, and the headers of include/vrx/cxx that each of them includes.
FORWARDS = {
    "result": ["frame"],
    "types": ["types"],
    "tables": ["frame", "tz", "params"],
    "numbers": ["bigdigits"],
    "cipher": ["kernel", "modes", "context"],
    "hash": ["gostr3411", "hmac", "kdf", "sha1"],
    "curves": ["curve", "point", "multiply", "sign", "agree"],
}
