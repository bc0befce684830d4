#!/usr/bin/env python3
"""Checks that every exported function is probed for residue of secrets, or is listed here with a reason."""

import re
import subprocess
import sys
import unittest

PROBES, EXPORTS = sys.argv[1:3]

# Maps a reason to functions, given as patterns of whole names.
NOT_PROBED = {
    "texts, the log, and facts about the library":
        "vrx_set_log_file vrx_copyright_notice bigdigits_copyright_notice mpVersion mpFail ciph_mode_by_name",
    "S-boxes are public":
        "vrx_crpt_deploy_TZ vrx_crpt_init_num_TZ vrx_crpt_TZ_str_to_num vrx_crpt_init_new_TZ vrx_crpt_swap_num_TZ "
        "(hash_)?TZ_by_(id|name)",
    "parameter sets are public":
        "get_GOST(R3411|28147|R3410)(_default)?_par get_GOSTR3410_oid_name "
        "oid\\w+Par epFindParBy(Str)?Oid epInitParams epCalcPP",
    "starts without a secret":
        "GOSTR3411_Init(_ex|_more_oids)? shaInit",
    "public keys and signatures are public, and so are points in decimal digits":
        "epConv(From|To)Decimal epSetZero "
        "ecVerify ecCheckPublicKey ecLoadPublicKeyValue ecUnloadPublicKeyValue ecLoadSignValue ecUnloadSignValue",
    "from the generator of the C library, for tests: returns the number":
        "spSimpleRand",
    "for public numbers, and without temporaries: leaves parts of operands in registers":
        "spMultiply spDivide mpEqual mpCompare mpIsZero mpSizeof mpBitLength mpSetEqual mpSetZero mpSetDigit "
        "mpShift(Left|Right) mp(Set|Get)Bit mpModPowerOf2 mp(Xor|Or|And|Not)Bits mpShort(Add|Sub|ModMult|Cmp) "
        "mpIsNegative mpChs mpAbs",
    "for public numbers: prints, converts, or tests primes":
        "mpRabinMiller mpIsPrime mpConv(From|To)(Octets|Hex|Decimal) mpPrint(Trim)?(NL)?",
}


class Coverage(unittest.TestCase):
    def setUp(self):
        self.probed = set(subprocess.run([PROBES, "--list"], stdout=subprocess.PIPE, encoding="utf-8",
                                         check=True).stdout.split())
        with open(EXPORTS, encoding="utf-8") as text:
            self.exported = {line.split()[1] for line in text if line.startswith("F ")}
        self.assertGreater(len(self.exported), 150)

    def test_only_exported_functions_are_probed(self):
        self.assertEqual(self.probed - self.exported, set())

    def test_each_function_is_probed_or_excused(self):
        patterns = [pattern for patterns in NOT_PROBED.values() for pattern in patterns.split()]
        excused = {name for name in self.exported for pattern in patterns if re.fullmatch(pattern, name)}
        self.assertEqual(excused & self.probed, set())
        self.assertEqual(self.exported - self.probed - excused, set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
