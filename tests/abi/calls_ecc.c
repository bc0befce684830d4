/* Calls of the curve functions: sets, points, multiplication, signatures, key agreement, octets. */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "calls.h"

static const uint32_t one[VRX_ECC_DIGITS] = {1};
static const uint32_t two[VRX_ECC_DIGITS] = {2};

static void set_calls(void) {
    const uint8_t* const oids[] = {ecc_Test_oid, ecc_A_oid, ecc_B_oid, ecc_C_oid, ecc_XchA_oid, ecc_XchB_oid};
    const char* const texts[] = {ecc_Test_str_oid, ecc_A_str_oid,    ecc_B_str_oid,
                                 ecc_C_str_oid,    ecc_XchA_str_oid, ecc_XchB_str_oid};
    for (uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        EcParamSet* found = NULL;
        CHECK(epFindParByOid(oids[i], VRX_ECC_OID_SIZE, &found) == VRX_OK && found == &cp_ecc_par[i]);
        CHECK(epFindParByStrOid(texts[i], &found) == VRX_OK && found == get_GOSTR3410_par(i));
        CHECK(get_GOSTR3410_oid_name(i) == cp_ecc_par_name[i]);
    }
    CHECK(get_GOSTR3410_default_par() == default_cp_ecc_par);
    EcPoint p;
    CHECK(epConvFromDecimal(&p, "12", "34") == 0 && p.x[0] == 12 && p.y[0] == 34);
    char x[4], y[4];
    CHECK(epConvToDecimal(&p, x, y, sizeof x) == 0 && strcmp(x, "12") == 0 && strcmp(y, "34") == 0);
}

/* The generators print to standard output; the test discards this output. */
static void generator_calls(void) {
    static EcParamSet before[VRX_ECC_SET_COUNT];
    memcpy(before, cp_ecc_par, sizeof before);
    fflush(stdout);
    const int out = dup(STDOUT_FILENO);
    CHECK(freopen("/dev/null", "w", stdout) != NULL);
    const int numbers = epInitParams();
    const int table = epCalcPP(get_GOSTR3410_default_par());
    fflush(stdout);
    dup2(out, STDOUT_FILENO);
    close(out);
    CHECK(numbers == 0 && table == 0);
    CHECK(memcmp(before, cp_ecc_par, sizeof before) == 0);
}

static void point_calls(void) {
    const EcParamSet* set = get_GOSTR3410_default_par();
    EcPoint p, q, r;
    EcPointJ j, sum;
    CHECK(epSetZero(&p) == 0 && epIsZero(&p) == 1);
    CHECK(epSetEqual(&p, &set->G) == 0 && epIsEqual(&p, &set->G) == 1);
    CHECK(epA2J(&j, &p) == 0 && epDublJ(&sum, &j, set) == 0 && epJ2A(&q, &sum, set) == 0);
    CHECK(epAdd(&r, &p, &p, set) == 0 && epIsEqual(&q, &r) == 1);
    CHECK(epMultPP(&r, two, set) == 0 && epIsEqual(&q, &r) == 1);
    CHECK(epMultJ(&r, &p, two, set) == 0 && epIsEqual(&q, &r) == 1);
    CHECK(epMult(&r, &p, two, set) == 0 && epIsEqual(&q, &r) == 1);
    EcPoint by_affine, by_jacobian;
    CHECK(epAddJA(&sum, &j, &q, set) == 0 && epJ2A(&by_affine, &sum, set) == 0);
    EcPointJ k;
    CHECK(epA2J(&k, &q) == 0 && epAddJChud(&sum, &j, &k, set) == 0 && epJ2A(&by_jacobian, &sum, set) == 0);
    CHECK(epIsEqual(&by_affine, &by_jacobian) == 1);
}

static void key_calls(void) {
    const EcParamSet* set = get_GOSTR3410_default_par();
    const uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint32_t d[VRX_ECC_DIGITS], other[VRX_ECC_DIGITS];
    EcPoint q, r;
    CHECK(test_rnd(d, sizeof d) == 0 && Getbig_RND(test_rnd, d, set->q) == 0);
    CHECK(ecGeneratePublicKey(set, one, &q) == VRX_OK && epIsEqual(&q, &set->G) == 1);
    CHECK(ecGenerateKeyPair(set, test_rnd, d, &q) == VRX_OK && ecCheckPublicKey(set, &q) == VRX_OK);
    EcSignature sig, copy;
    CHECK(ecSign(set, digest, test_rnd, d, &sig) == VRX_OK && ecVerify(set, digest, &q, &sig) == VRX_OK);

    uint8_t octets[VRX_SIGNATURE_SIZE];
    CHECK(ecUnloadSignValue(&sig, octets) == VRX_OK && ecLoadSignValue(octets, &copy) == VRX_OK);
    CHECK(memcmp(&sig, &copy, sizeof sig) == 0);
    CHECK(ecUnloadPublicKeyValue(&q, octets) == VRX_OK && ecLoadPublicKeyValue(octets, &r) == VRX_OK);
    CHECK(epIsEqual(&q, &r) == 1);
    CHECK(ecUnloadPrivateKeyValue(d, octets) == VRX_OK && ecLoadPrivateKeyValue(octets, other) == VRX_OK);
    CHECK(memcmp(d, other, sizeof d) == 0);

    const uint8_t ukm[VRX_UKM_SIZE] = {1};
    const vrx_data oid = {VRX_PAR_OID_SIZE, (uint8_t*)VRX_PAR_HASH_1_OID};
    uint8_t mine[VRX_KEK_SIZE], theirs[VRX_KEK_SIZE];
    CHECK(ecMakeKEK(set, &oid, ukm, d, &set->G, mine) == VRX_OK &&
          ecMakeKEK(set, &oid, ukm, one, &q, theirs) == VRX_OK);
    CHECK(memcmp(mine, theirs, sizeof mine) == 0);
    CHECK(ecDiversifyKEK(TZ_by_name("tz_a"), mine, ukm) == VRX_OK && memcmp(mine, theirs, sizeof mine) != 0);
}

void ecc_calls(void) {
    set_calls();
    generator_calls();
    point_calls();
    key_calls();
}
