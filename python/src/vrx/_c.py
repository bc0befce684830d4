"""The C interface of libvrx: records, functions and tables, declared for ctypes.

Every export of the shared object is here: `lib.NAME` for a function, `data.NAME` for a table. The C headers, `vrx/*.h`,
describe them. As in C, the caller must follow the rules of the headers; this module does not check arguments. If a
function that returns one of the library's codes fails, it raises `Error`.
"""

from __future__ import annotations

import ctypes
import os
import re
from pathlib import Path
from types import SimpleNamespace
from typing import Any

# --- errors -----------------------------------------------------------------------------------------------------------

CODES = {
    -1: ("VRX_ERR_FAILED", "general failure: table not deployed, nothing found, invalid signature"),
    -2: ("VRX_ERR_BAD_PARAMS", "NULL pointer, zero length, unknown selector or unregistered identifier"),
    -3: ("VRX_ERR_RANDOM", "the random source failed"),
    -4: ("VRX_ERR_BUFFER_LENGTH", "empty input, output buffer too small, or MAC buffer not of 8 bytes"),
    -6: ("VRX_ERR_BLOCK_MULTIPLE", "length not a multiple of the 8-byte block, where that is required"),
    -152: ("VRX_ERR_CONTEXT_STATE", "cipher context not initialized, or already finished"),
    -1000: ("VRX_ERR_UNKNOWN_TZ", "S-box string not 128 characters long"),
    -1102: ("VRX_ERR_UNKNOWN_MODE", "unknown mode number"),
    -3001: ("VRX_ERR_UNSUPPORTED_OID", "no hash parameter set has this object identifier"),
}


class Error(Exception):
    """An error of the library.

    `function` is the name of the function that failed, `code` the code that it returned, `name` the code's name in C.
    """

    def __init__(self, function: str, code: int) -> None:
        self.function = function
        self.code = code
        self.name, meaning = CODES.get(code, (str(code), "unknown code"))
        super().__init__(f"{function}: {self.name} ({meaning})")

    def __reduce__(self) -> tuple[type[Error], tuple[str, int]]:
        return type(self), (self.function, self.code)


def _raise_on_failure(code: int, function: Any, _arguments: Any) -> int:
    if code != 0:
        raise Error(function.__name__, code)
    return code


# --- records ----------------------------------------------------------------------------------------------------------


class vrx_data(ctypes.Structure):
    # A bytes object assigned to `data` is not copied: the pointer refers to its contents.
    _fields_ = [("length", ctypes.c_uint32), ("data", ctypes.c_char_p)]


class vrx_tz(ctypes.Structure):
    _fields_ = [("t", ctypes.c_uint32 * 256 * 4), ("initialised", ctypes.c_uint8), ("zero", ctypes.c_uint8 * 3)]


class vrx_gostr3411_par(ctypes.Structure):
    _fields_ = [
        ("oid_length", ctypes.c_uint32),
        ("oid", ctypes.POINTER(ctypes.c_uint8)),
        ("str_oid", ctypes.c_char_p),
        ("name", ctypes.c_char_p),
        ("tz", ctypes.POINTER(vrx_tz)),
    ]


class vrx_gost28147_par(ctypes.Structure):
    pass


vrx_gost28147_par._fields_ = [
    ("oid_length", ctypes.c_uint32),
    ("oid", ctypes.POINTER(ctypes.c_uint8)),
    ("str_oid", ctypes.c_char_p),
    ("name", ctypes.c_char_p),
    ("tz", ctypes.POINTER(vrx_tz)),
    ("mode", ctypes.c_uint8),
    ("key_meshing", ctypes.c_uint8),
    ("next", ctypes.POINTER(vrx_gost28147_par)),
]


class vrx_crpt_ctx(ctypes.Structure):
    _fields_ = [
        ("table", vrx_tz),
        ("mode", ctypes.c_uint32),
        ("aux1", ctypes.c_uint32),
        ("key_meshing", ctypes.c_uint32),
        ("aux2", ctypes.c_uint32),
        ("key", ctypes.c_uint32 * 8),
        ("iv", ctypes.c_uint8 * 8),
        ("mesh_count", ctypes.c_uint32),
        ("block", ctypes.c_uint8 * 8),
        ("mac", ctypes.c_uint8 * 8),
        ("block_len", ctypes.c_uint32),
        ("initialised", ctypes.c_uint8),
        ("direction", ctypes.c_uint8),
        ("flags", ctypes.c_uint8),
    ]


class vrx_crpt_table_rec(ctypes.Structure):
    _fields_ = [
        ("table", vrx_tz),
        ("mode", ctypes.c_uint32),
        ("aux1", ctypes.c_uint32),
        ("key_meshing", ctypes.c_uint32),
        ("aux2", ctypes.c_uint32),
    ]


class old_crpt_params(ctypes.Structure):
    _fields_ = [
        ("first", ctypes.c_uint32),
        ("second", ctypes.c_uint32),
        ("table", ctypes.POINTER(vrx_data)),
        ("key", ctypes.POINTER(vrx_data)),
        ("iv", ctypes.c_uint8 * 8),
    ]


class GOSTR3411_CTX(ctypes.Structure):
    _fields_ = [
        ("table", vrx_tz),
        ("sum", ctypes.c_uint32 * 8),
        ("hash", ctypes.c_uint32 * 8),
        ("length", ctypes.c_uint32 * 8),
        ("buffer", ctypes.c_uint8 * 32),
        ("count", ctypes.c_uint32),
    ]


class GOSTR3411_HMAC_CTX(ctypes.Structure):
    _fields_ = [
        ("par", ctypes.POINTER(vrx_gostr3411_par)),
        ("hash", GOSTR3411_CTX),
        ("digest", ctypes.c_uint8 * 32),
        ("ipad_key", ctypes.c_uint8 * 32),
        ("opad_key", ctypes.c_uint8 * 32),
    ]


class sha_context(ctypes.Structure):
    _fields_ = [
        ("data", ctypes.c_uint32 * 16),
        ("digest", ctypes.c_uint32 * 5),
        ("count_hi", ctypes.c_uint32),
        ("count_lo", ctypes.c_uint32),
    ]


class EcPoint(ctypes.Structure):
    _fields_ = [("x", ctypes.c_uint32 * 9), ("y", ctypes.c_uint32 * 9)]


class EcPointJ(ctypes.Structure):
    _fields_ = [("x", ctypes.c_uint32 * 9), ("y", ctypes.c_uint32 * 9), ("z", ctypes.c_uint32 * 9)]


class EcSignature(ctypes.Structure):
    _fields_ = [("r", ctypes.c_uint32 * 9), ("s", ctypes.c_uint32 * 9)]


class EcParamSet(ctypes.Structure):
    _fields_ = [
        ("a", ctypes.c_uint32 * 9),
        ("b", ctypes.c_uint32 * 9),
        ("p", ctypes.c_uint32 * 9),
        ("q", ctypes.c_uint32 * 9),
        ("G", EcPoint),
        ("oid_len", ctypes.c_uint64),
        ("oid", ctypes.POINTER(ctypes.c_uint8)),
        ("str_oid", ctypes.c_char_p),
        ("has_precomp", ctypes.c_uint32),
        ("pp", EcPoint * 72),
    ]


RND_FUNC = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_uint32)

# --- functions and tables ---------------------------------------------------------------------------------------------

# Types: `code` is an int, which is an error code if it is not 0. `memory` is a pointer to bytes or digits; the caller
# may pass bytes, arrays, byref() and addresses. `text` is a C string, and `random` an RND_FUNC.
FUNCTIONS = """
    # vrx/frame.h
    code vrx_set_log_file(text)
    text vrx_copyright_notice()
    # vrx/tz.h
    code vrx_crpt_deploy_TZ(memory, vrx_tz*)
    code vrx_crpt_init_num_TZ(memory, vrx_tz*)
    code vrx_crpt_TZ_str_to_num(text, memory)
    code vrx_crpt_init_new_TZ(text, vrx_tz*)
    code vrx_crpt_swap_num_TZ(memory)
    vrx_tz* TZ_by_id(u32)
    vrx_tz* hash_TZ_by_id(u32)
    vrx_tz* TZ_by_name(text)
    vrx_tz* hash_TZ_by_name(text)
    # vrx/params.h
    vrx_gostr3411_par* get_GOSTR3411_par(u32)
    vrx_gostr3411_par* get_GOSTR3411_default_par()
    vrx_gost28147_par* get_GOST28147_par(u32)
    vrx_gost28147_par* get_GOST28147_default_par()
    code oidSetModeGOST28147Par(vrx_gost28147_par*, int)
    code oidSetKeyMeshingGOST28147Par(vrx_gost28147_par*, int)
    code oidSetOIDGOST28147Par(vrx_gost28147_par*, memory, u32, text, text)
    code oidCopyGOST28147Par(vrx_gost28147_par*, vrx_gost28147_par**)
    code oidRegisterGOST28147Par(vrx_gost28147_par*)
    code oidRegisterGOST28147CryptoProPar()
    code oidFindGOST28147Par(memory, u32, vrx_gost28147_par**)
    code oidUnregisterGOST28147Par(memory, u32)
    code oidFindGOSTR3411Par(memory, u32, vrx_gostr3411_par**)
    # vrx/kernel.h
    void vrx_gost_encr_64_m(memory, memory, memory, vrx_tz*)
    void vrx_gost_decr_64_m(memory, memory, memory, vrx_tz*)
    void vrx_gost_imito_64_m(memory, memory, memory, vrx_tz*)
    void vrx_gost_gamm_64_m(memory, memory, memory, memory, vrx_tz*)
    void vrx_gost_GFB_64_m(memory, memory, memory, memory, vrx_tz*, int)
    void vrx_gost_cbc_64_m(memory, memory, memory, memory, vrx_tz*, int)
    # vrx/modes.h
    code VRX_Gost_SS_m(vrx_tz*, vrx_data*, vrx_data*, memory, int)
    code VRX_Gost_CBC_m(vrx_tz*, vrx_data*, vrx_data*, memory, memory, int)
    code VRX_Gost_Gamm_m(vrx_tz*, vrx_data*, vrx_data*, memory, memory, int)
    code VRX_Gost_GFB_m(vrx_tz*, vrx_data*, vrx_data*, memory, memory, int, int)
    code VRX_Gost_Imito_m(vrx_tz*, vrx_data*, vrx_data*, memory, int)
    code do_cipher_low(vrx_tz*, int, vrx_data*, vrx_data*, memory, memory, int, int)
    code do_imito_low(vrx_tz*, vrx_data*, vrx_data*, memory, int)
    int ciph_mode_by_name(text)
    code make_last_block(memory, u32, memory, memory, memory, int)
    # vrx/context.h
    code vrx_crpt_init_context(vrx_crpt_ctx*, int, vrx_tz*, u32, u32, u32, u32, memory, memory)
    code old_crpt_init_context(vrx_crpt_ctx*, int, old_crpt_params*)
    code vrx_crpt_reset(vrx_crpt_ctx*)
    code vrx_crpt_update(vrx_crpt_ctx*, vrx_data*, vrx_data*)
    code vrx_crpt_final(vrx_crpt_ctx*)
    code vrx_crpt_crypto_engine(u32, vrx_tz*, vrx_data*, vrx_data*, memory, memory, u8, u8)
    code vrx_crpt_context_engine(vrx_crpt_ctx*, vrx_data*, vrx_data*)
    code vrx_crpt_CNT_ctx(vrx_crpt_ctx*, vrx_data*, vrx_data*)
    code vrx_crpt_CFB_ctx(vrx_crpt_ctx*, vrx_data*, vrx_data*)
    code vrx_crpt_IMITO_ctx(vrx_crpt_ctx*, vrx_data*)
    code vrx_crpt_crypto_pro_key_meshing_engine(vrx_tz*, memory, memory)
    code vrx_make_key_meshing(vrx_crpt_ctx*)
    code vrx_crpt_crypto_pro_key_meshing(old_crpt_params*)
    # vrx/gostr3411.h
    code GOSTR3411_Init(GOSTR3411_CTX*, memory, u32)
    code GOSTR3411_Init_more_oids(GOSTR3411_CTX*, memory, u32, vrx_gostr3411_par*, u32)
    code GOSTR3411_Init_ex(GOSTR3411_CTX*, vrx_tz*)
    code GOSTR3411_Update(GOSTR3411_CTX*, memory, u32)
    code GOSTR3411_Final(GOSTR3411_CTX*, memory)
    code GOSTR3411_Transform(memory, u32, memory, u32, memory)
    code GOSTR3411_Transform_more_oids(memory, u32, vrx_gostr3411_par*, u32, memory, u32, memory)
    code GOSTR3411_Transform_ex(vrx_tz*, memory, u32, memory)
    void gost_r_3411_94_hash_bytes(vrx_tz*, memory, memory, memory, memory, u32)
    void gost_r_3411_94_compress(memory, memory, vrx_tz*)
    # vrx/hmac.h
    code GOSTR3411_HMAC_Init(GOSTR3411_HMAC_CTX*, memory, u32, memory, u32)
    code GOSTR3411_HMAC_Reset(GOSTR3411_HMAC_CTX*)
    code GOSTR3411_HMAC_Update(GOSTR3411_HMAC_CTX*, memory, u32)
    code GOSTR3411_HMAC_Final(GOSTR3411_HMAC_CTX*, memory, memory)
    code GOSTR3411_HMAC(memory, u32, memory, u32, memory, u32, memory, memory)
    # vrx/kdf.h
    code GOSTR3411_PKCS5_PBKDF2(memory, u32, memory, u64, u64, memory, u32, memory, u64)
    code GOSTR3411_PBA_Derive(memory, int, memory, int, u64, int, memory, u32, memory, int)
    # vrx/sha1.h
    void shaInit(sha_context*)
    void shaTransform(sha_context*)
    void shaUpdate(sha_context*, memory, u64)
    void shaFinal(sha_context*, memory)
    # vrx/bigdigits.h
    text bigdigits_copyright_notice()
    int mpVersion()
    int spMultiply(memory, u32, u32)
    int spDivide(memory, memory, memory, u32)
    u32 mpAdd(memory, memory, memory, u64)
    u32 mpSubtract(memory, memory, memory, u64)
    int mpMultiply(memory, memory, memory, u64)
    int mpSquare(memory, memory, u64)
    int mpEqual(memory, memory, u64)
    int mpCompare(memory, memory, u64)
    int mpIsZero(memory, u64)
    u64 mpSizeof(memory, u64)
    u64 mpBitLength(memory, u64)
    void mpSetEqual(memory, memory, u64)
    void mpSetZero(memory, u64)
    void mpSetDigit(memory, u32, u64)
    u32 mpShiftLeft(memory, memory, u64, u64)
    u32 mpShiftRight(memory, memory, u64, u64)
    int mpSetBit(memory, u64, u64, int)
    int mpGetBit(memory, u64, u64)
    void mpModPowerOf2(memory, u64, u64)
    void mpXorBits(memory, memory, memory, u64)
    void mpOrBits(memory, memory, memory, u64)
    void mpAndBits(memory, memory, memory, u64)
    void mpNotBits(memory, memory, u64)
    u32 mpShortAdd(memory, memory, u32, u64)
    u32 mpShortSub(memory, memory, u32, u64)
    u32 mpShortMult(memory, memory, u32, u64)
    u32 mpShortModMult(memory, memory, u32, memory, u64)
    u32 mpShortDiv(memory, memory, u32, u64)
    u32 mpShortMod(memory, u32, u64)
    int mpShortCmp(memory, u32, u64)
    int mpDivide(memory, memory, memory, u64, memory, u64)
    int mpIsNegative(memory, u64)
    int mpChs(memory, memory, u64)
    int mpAbs(memory, memory, u64)
    int mpModulo(memory, memory, u64, memory, u64)
    int mpModAdd(memory, memory, memory, memory, u64)
    int mpModSub(memory, memory, memory, memory, u64)
    int mpModMult(memory, memory, memory, memory, u64)
    int mpModInv(memory, memory, memory, u64)
    int mpGcd(memory, memory, memory, u64)
    int mpSqrt(memory, memory, u64)
    int mpJacobi(memory, memory, u64)
    int mpModExp(memory, memory, memory, memory, u64)
    u32 spSimpleRand(u32, u32)
    int mpRabinMiller(memory, u64, u64)
    int mpIsPrime(memory, u64, u64)
    void mpFail(text)
    u64 mpConvFromOctets(memory, u64, memory, u32)
    u64 mpConvToOctets(memory, u64, memory, u32)
    u64 mpConvFromHex(memory, u64, text)
    u64 mpConvFromDecimal(memory, u64, text)
    u64 mpConvToHex(memory, u64, text, u64)
    u64 mpConvToDecimal(memory, u64, text, u64)
    void mpPrint(memory, u64)
    void mpPrintNL(memory, u64)
    void mpPrintTrim(memory, u64)
    void mpPrintTrimNL(memory, u64)
    # vrx/curve.h
    EcParamSet* get_GOSTR3410_par(u32)
    EcParamSet* get_GOSTR3410_default_par()
    text get_GOSTR3410_oid_name(u32)
    code epFindParByOid(memory, u32, EcParamSet**)
    code epFindParByStrOid(text, EcParamSet**)
    int epConvFromDecimal(EcPoint*, text, text)
    int epConvToDecimal(EcPoint*, text, text, u64)
    int epInitParams()
    int epCalcPP(EcParamSet*)
    # vrx/point.h
    u32 epIsEqual(EcPoint*, EcPoint*)
    u32 epIsZero(EcPoint*)
    u32 epSetZero(EcPoint*)
    u32 epSetEqual(EcPoint*, EcPoint*)
    u32 epA2J(EcPointJ*, EcPoint*)
    u32 epJ2A(EcPoint*, EcPointJ*, EcParamSet*)
    u32 epDublJ(EcPointJ*, EcPointJ*, EcParamSet*)
    u32 epAddJA(EcPointJ*, EcPointJ*, EcPoint*, EcParamSet*)
    u32 epAddJChud(EcPointJ*, EcPointJ*, EcPointJ*, EcParamSet*)
    u32 epAdd(EcPoint*, EcPoint*, EcPoint*, EcParamSet*)
    # vrx/multiply.h
    int epMultPP(EcPoint*, memory, EcParamSet*)
    int epMultJ(EcPoint*, EcPoint*, memory, EcParamSet*)
    int epMult(EcPoint*, EcPoint*, memory, EcParamSet*)
    # vrx/sign.h
    code ecSign(EcParamSet*, memory, random, memory, EcSignature*)
    code ecVerify(EcParamSet*, memory, EcPoint*, EcSignature*)
    code ecGenerateKeyPair(EcParamSet*, random, memory, EcPoint*)
    code ecGeneratePublicKey(EcParamSet*, memory, EcPoint*)
    code ecCheckPublicKey(EcParamSet*, EcPoint*)
    code Getbig_RND(random, memory, memory)
    int test_rnd(memory, u32)
    # vrx/agree.h
    code ecMakeKEK(EcParamSet*, vrx_data*, memory, memory, EcPoint*, memory)
    code ecDiversifyKEK(vrx_tz*, memory, memory)
    # vrx/octets.h
    code ecLoadPrivateKeyValue(memory, memory)
    code ecUnloadPrivateKeyValue(memory, memory)
    code ecLoadPublicKeyValue(memory, EcPoint*)
    code ecUnloadPublicKeyValue(EcPoint*, memory)
    code ecLoadSignValue(memory, EcSignature*)
    code ecUnloadSignValue(EcSignature*, memory)
"""

# Tables and variables, with their types in C.
DATA = """
    memory vrxflog
    vrx_tz TZ_28147_89[5]
    vrx_tz TZ_3411_94[2]
    u8 VRX_PAR_HASH_0_OID[9]
    u8 VRX_PAR_HASH_1_OID[9]
    u8 VRX_PAR_CIPHER_0_OID[9]
    u8 VRX_PAR_CIPHER_A_OID[9]
    u8 VRX_PAR_CIPHER_B_OID[9]
    u8 VRX_PAR_CIPHER_C_OID[9]
    u8 VRX_PAR_CIPHER_D_OID[9]
    u8 VRX_PAR_CIPHER_0S_OID[9]
    u8 VRX_PAR_CIPHER_SA_OID[9]
    u8 VRX_PAR_CIPHER_SB_OID[9]
    u8 VRX_PAR_CIPHER_SC_OID[9]
    u8 VRX_PAR_CIPHER_SD_OID[9]
    vrx_gostr3411_par GOSTR3411_OIDS[2]
    vrx_gost28147_par GOST28147_CRYPTO_PRO_OIDS[10]
    vrx_gostr3411_par* DEFAULT_GOSTR3411_OID
    vrx_gost28147_par* DEFAULT_GOST28147_OID
    vrx_gost28147_par* GOST28147_OIDS
    u8 ecc_Test_oid[9]
    u8 ecc_A_oid[9]
    u8 ecc_B_oid[9]
    u8 ecc_C_oid[9]
    u8 ecc_XchA_oid[9]
    u8 ecc_XchB_oid[9]
    char ecc_Test_str_oid[17]
    char ecc_A_str_oid[17]
    char ecc_B_str_oid[17]
    char ecc_C_str_oid[17]
    char ecc_XchA_str_oid[17]
    char ecc_XchB_str_oid[17]
    EcParamSet cp_ecc_par[6]
    text cp_ecc_par_name[6]
    EcParamSet* default_cp_ecc_par
"""

_TYPES: dict[str, Any] = {
    "void": None,
    "code": ctypes.c_int,
    "int": ctypes.c_int,
    "u8": ctypes.c_uint8,
    "u32": ctypes.c_uint32,
    "u64": ctypes.c_uint64,
    "char": ctypes.c_char,
    "text": ctypes.c_char_p,
    "memory": ctypes.c_void_p,
    "random": RND_FUNC,
}
for _record in (
    vrx_data,
    vrx_tz,
    vrx_gostr3411_par,
    vrx_gost28147_par,
    vrx_crpt_ctx,
    vrx_crpt_table_rec,
    old_crpt_params,
    GOSTR3411_CTX,
    GOSTR3411_HMAC_CTX,
    sha_context,
    EcPoint,
    EcPointJ,
    EcSignature,
    EcParamSet,
):
    _TYPES[_record.__name__] = _record


def _type(word: str) -> Any:
    """Return the ctypes type for a type name of the two lists."""
    if word not in _TYPES:
        _TYPES[word] = ctypes.POINTER(_type(word[:-1]))
    return _TYPES[word]


def _load() -> ctypes.CDLL:
    """Load the library that VRX_LIBRARY names; without it the one next to this file, or else the system's."""
    named = os.environ.get("VRX_LIBRARY")
    beside = Path(__file__).with_name("libvrx.so.1")
    path = named or (str(beside) if beside.exists() else "libvrx.so.1")
    try:
        return ctypes.CDLL(path)
    except OSError as failure:
        advice = "this path is the value of VRX_LIBRARY" if named else "install it, or set VRX_LIBRARY to its path"
        raise ImportError(f"the library libvrx cannot be loaded: {failure}; {advice}") from None


def _declare(library: ctypes.CDLL) -> None:
    """Set the argument and result types of every function."""
    for result, name, arguments in re.findall(r"(\S+) (\w+)\((.*)\)", FUNCTIONS):
        function = getattr(library, name)
        function.restype = _type(result)
        function.argtypes = [_type(word) for word in arguments.split(", ") if word]
        if result == "code":
            function.errcheck = _raise_on_failure


def _tables(library: ctypes.CDLL) -> SimpleNamespace:
    """Return the tables and variables; they are in the library's own memory, not copied."""
    return SimpleNamespace(
        **{
            name: (_type(word) * int(count) if count else _type(word)).in_dll(library, name)
            for word, name, count in re.findall(r"(\S+) (\w+)(?:\[(\d+)\])?\n", DATA)
        }
    )


lib = _load()
_declare(lib)
data = _tables(lib)
