/* Calls of the frame, the S-box tables and the parameter registry. */
#include <stdlib.h>
#include <string.h>

#include "calls.h"

void frame_calls(void) {
    CHECK(vrxflog == NULL);
    CHECK(vrx_set_log_file("/dev/null") == VRX_OK);
    CHECK(vrxflog != NULL);
    CHECK(vrx_set_log_file(NULL) == VRX_OK);
    CHECK(vrxflog == NULL);
    CHECK(strlen(vrx_copyright_notice()) > 0);

    /* Program and library share the variable, so the library writes to the stream that this program assigns. */
    char text[100] = "";
    vrxflog = fmemopen(text, sizeof text, "w");
    CHECK(TZ_by_id(5) == NULL);
    fclose(vrxflog);
    vrxflog = NULL;
    CHECK(strcmp(text, "TZ_by_id: index out of range\n") == 0);
}

/* Calls a function with garbage in the upper halves of the registers of its 32-bit arguments. */
typedef const void* wide_index(uint64_t index);
typedef int wide_find(const uint8_t* oid, uint64_t length, void* found);
typedef int wide_remove(const uint8_t* oid, uint64_t length);
typedef int wide_set(void* record, uint64_t value);
typedef int wide_set_oid(void* record, const uint8_t* oid, uint64_t length, const char* dotted, const char* name);
#define WIDE(type, function) ((type*)(void (*)(void))(function))
#define RUBBISH(value) (0xDEADBEEF00000000U | (value))

void tz_calls(void) {
    uint8_t octets[VRX_NUM_TZ_SIZE];
    vrx_tz one;
    vrx_tz two;
    char text[VRX_TZ_STRING_SIZE + 1];
    memset(&one, 0, sizeof one);
    memset(&two, 0, sizeof two);
    memset(text, '0', VRX_TZ_STRING_SIZE);
    text[VRX_TZ_STRING_SIZE] = '\0';
    text[1] = 'F';
    CHECK(vrx_crpt_TZ_str_to_num(text, octets) == VRX_OK);
    CHECK(octets[0] == 0xF0);
    CHECK(vrx_crpt_deploy_TZ(octets, &one) == VRX_OK);
    CHECK(one.initialised == 1 && one.t[0][0] == 15U << 15);
    CHECK(vrx_crpt_init_num_TZ(octets, &two) == VRX_OK);
    CHECK(memcmp(&one, &two, sizeof one) == 0);
    memset(&two, 0, sizeof two);
    CHECK(vrx_crpt_init_new_TZ(text, &two) == VRX_OK);
    CHECK(memcmp(&one, &two, sizeof one) == 0);
    CHECK(vrx_crpt_swap_num_TZ(octets) == VRX_OK);
    CHECK(octets[0] == 0x0F);

    CHECK(TZ_by_id(4) == &TZ_28147_89[4]);
    CHECK(hash_TZ_by_id(1) == &TZ_3411_94[1]);
    CHECK(TZ_by_name("tz_a") == &TZ_28147_89[1]);
    CHECK(hash_TZ_by_name("tz_0") == &TZ_3411_94[0]);
    CHECK(TZ_28147_89[0].initialised == 1 && TZ_3411_94[0].initialised == 1);

    wide_index* volatile by_id = WIDE(wide_index, TZ_by_id);
    CHECK(by_id(RUBBISH(2)) == &TZ_28147_89[2]);
    CHECK(by_id(RUBBISH(5)) == NULL);
    by_id = WIDE(wide_index, hash_TZ_by_id);
    CHECK(by_id(RUBBISH(1)) == &TZ_3411_94[1]);
}

static void records_point_at_the_exported_constants(void) {
    CHECK(GOSTR3411_OIDS[0].oid == VRX_PAR_HASH_0_OID);
    CHECK(GOSTR3411_OIDS[1].oid == VRX_PAR_HASH_1_OID);
    CHECK(GOSTR3411_OIDS[0].tz == &TZ_3411_94[0]);
    CHECK(GOSTR3411_OIDS[1].tz == &TZ_3411_94[1]);
    const uint8_t* const oids[] = {VRX_PAR_CIPHER_0_OID,  VRX_PAR_CIPHER_A_OID,  VRX_PAR_CIPHER_B_OID,
                                   VRX_PAR_CIPHER_C_OID,  VRX_PAR_CIPHER_D_OID,  VRX_PAR_CIPHER_0S_OID,
                                   VRX_PAR_CIPHER_SA_OID, VRX_PAR_CIPHER_SB_OID, VRX_PAR_CIPHER_SC_OID,
                                   VRX_PAR_CIPHER_SD_OID};
    for (unsigned i = 0; i < VRX_GOST28147_PAR_COUNT; ++i) {
        CHECK(GOST28147_CRYPTO_PRO_OIDS[i].oid == oids[i]);
        CHECK(GOST28147_CRYPTO_PRO_OIDS[i].tz == &TZ_28147_89[i % VRX_TZ_28147_89_COUNT]);
    }
}

static void arguments_of_32_bits_may_have_rubbish_above(void) {
    wide_index* volatile by_index = WIDE(wide_index, get_GOST28147_par);
    CHECK(by_index(RUBBISH(9)) == &GOST28147_CRYPTO_PRO_OIDS[9]);
    by_index = WIDE(wide_index, get_GOSTR3411_par);
    CHECK(by_index(RUBBISH(1)) == &GOSTR3411_OIDS[1]);

    wide_find* volatile find = WIDE(wide_find, oidFindGOST28147Par);
    const void* found = NULL;
    CHECK(find(VRX_PAR_CIPHER_SB_OID, RUBBISH(9), &found) == VRX_OK);
    CHECK(found == &GOST28147_CRYPTO_PRO_OIDS[7]);
    find = WIDE(wide_find, oidFindGOSTR3411Par);
    CHECK(find(VRX_PAR_HASH_0_OID, RUBBISH(9), &found) == VRX_OK);
    CHECK(found == &GOSTR3411_OIDS[0]);
    wide_remove* volatile unregister = WIDE(wide_remove, oidUnregisterGOST28147Par);
    CHECK(unregister(VRX_PAR_CIPHER_SB_OID, RUBBISH(9)) == VRX_OK);

    vrx_gost28147_par record = GOST28147_CRYPTO_PRO_OIDS[1];
    wide_set* volatile set = WIDE(wide_set, oidSetModeGOST28147Par);
    CHECK(set(&record, RUBBISH(4)) == VRX_OK && record.mode == 4);
    set = WIDE(wide_set, oidSetKeyMeshingGOST28147Par);
    CHECK(set(&record, RUBBISH(0)) == VRX_OK && record.key_meshing == 0);
    wide_set_oid* volatile set_oid = WIDE(wide_set_oid, oidSetOIDGOST28147Par);
    CHECK(set_oid(&record, VRX_PAR_HASH_0_OID, RUBBISH(9), "1", "2") == VRX_OK && record.oid_length == 9);
}

void registry_calls(void) {
    records_point_at_the_exported_constants();
    CHECK(get_GOSTR3411_par(0) == &GOSTR3411_OIDS[0]);
    CHECK(get_GOST28147_par(9) == &GOST28147_CRYPTO_PRO_OIDS[9]);
    CHECK(get_GOSTR3411_default_par() == &GOSTR3411_OIDS[1]);
    CHECK(get_GOST28147_default_par() == &GOST28147_CRYPTO_PRO_OIDS[1]);
    DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[0];
    DEFAULT_GOST28147_OID = &GOST28147_CRYPTO_PRO_OIDS[4];
    CHECK(get_GOSTR3411_default_par() == &GOSTR3411_OIDS[0]);
    CHECK(get_GOST28147_default_par() == &GOST28147_CRYPTO_PRO_OIDS[4]);

    CHECK(GOST28147_OIDS == NULL);
    CHECK(oidRegisterGOST28147CryptoProPar() == VRX_OK);
    CHECK(GOST28147_OIDS == &GOST28147_CRYPTO_PRO_OIDS[0]);
    vrx_gost28147_par* record = NULL;
    CHECK(oidCopyGOST28147Par(&GOST28147_CRYPTO_PRO_OIDS[1], &record) == VRX_OK);
    static const uint8_t oid[] = {0x06, 0x01, 0x2A};
    CHECK(oidSetOIDGOST28147Par(record, oid, sizeof oid, "1.2", "own") == VRX_OK);
    CHECK(oidSetModeGOST28147Par(record, VRX_MODE_CBC) == VRX_OK);
    CHECK(oidSetKeyMeshingGOST28147Par(record, 0) == VRX_OK);
    CHECK(oidRegisterGOST28147Par(record) == VRX_OK);
    vrx_gost28147_par* found = NULL;
    CHECK(oidFindGOST28147Par(oid, sizeof oid, &found) == VRX_OK);
    CHECK(found == record && found->mode == VRX_MODE_CBC && found->key_meshing == 0);
    CHECK(oidUnregisterGOST28147Par(oid, sizeof oid) == VRX_OK);
    CHECK(oidFindGOST28147Par(oid, sizeof oid, &found) == VRX_ERR_FAILED);
    free(record);
    const vrx_gostr3411_par* hash = NULL;
    CHECK(oidFindGOSTR3411Par(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, &hash) == VRX_OK);
    CHECK(hash == &GOSTR3411_OIDS[1]);

    arguments_of_32_bits_may_have_rubbish_above();
    GOST28147_OIDS = NULL;
    CHECK(oidFindGOST28147Par(VRX_PAR_CIPHER_SD_OID, VRX_PAR_OID_SIZE, &found) == VRX_OK);
    CHECK(GOST28147_OIDS == &GOST28147_CRYPTO_PRO_OIDS[0]);
}
