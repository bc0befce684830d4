// The registry at the start of a process, before any call.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "support/memory_map.hpp"
#include "vrx/params.h"

namespace {

using vrx::test::is_read_only;

struct Start {
    bool list_empty = GOST28147_OIDS == nullptr;
    bool unlinked = std::all_of(std::begin(GOST28147_CRYPTO_PRO_OIDS), std::end(GOST28147_CRYPTO_PRO_OIDS),
                                [](const vrx_gost28147_par& record) { return record.next == nullptr; });
    const void* cipher = DEFAULT_GOST28147_OID;
    const void* hash = DEFAULT_GOSTR3411_OID;
};
const Start start;

TEST(registry_at_start, list_is_empty_and_no_record_is_linked) {
    EXPECT_TRUE(start.list_empty);
    EXPECT_TRUE(start.unlinked);
}

TEST(registry_at_start, defaults_are_the_sets_number_1) {
    EXPECT_EQ(start.cipher, &GOST28147_CRYPTO_PRO_OIDS[1]);
    EXPECT_EQ(start.hash, &GOSTR3411_OIDS[1]);
}

struct Identifier {
    const std::uint8_t* octets;
    std::uint8_t arc;
    std::uint8_t last;
};
constexpr Identifier identifiers[] = {
    {VRX_PAR_HASH_0_OID, 0x1E, 0},    {VRX_PAR_HASH_1_OID, 0x1E, 1},    {VRX_PAR_CIPHER_0_OID, 0x1F, 0},
    {VRX_PAR_CIPHER_A_OID, 0x1F, 1},  {VRX_PAR_CIPHER_B_OID, 0x1F, 2},  {VRX_PAR_CIPHER_C_OID, 0x1F, 3},
    {VRX_PAR_CIPHER_D_OID, 0x1F, 4},  {VRX_PAR_CIPHER_0S_OID, 0x1F, 5}, {VRX_PAR_CIPHER_SA_OID, 0x1F, 6},
    {VRX_PAR_CIPHER_SB_OID, 0x1F, 7}, {VRX_PAR_CIPHER_SC_OID, 0x1F, 8}, {VRX_PAR_CIPHER_SD_OID, 0x1F, 9},
};

TEST(identifiers, are_9_byte_der_constants) {
    static_assert(sizeof VRX_PAR_HASH_0_OID == 9 && sizeof VRX_PAR_CIPHER_SD_OID == 9);
    for (const Identifier& id : identifiers) {
        const std::uint8_t expected[] = {0x06, 0x07, 0x2A, 0x85, 0x03, 0x02, 0x02, id.arc, id.last};
        EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), id.octets))
            << int{id.arc} << "." << int{id.last};
        EXPECT_TRUE(is_read_only(id.octets, VRX_PAR_OID_SIZE)) << int{id.arc} << "." << int{id.last};
    }
}

struct CipherRow {
    const std::uint8_t* oid;
    const char* str_oid;
    const char* name;
    const vrx_tz* tz;
    int mode;
    int key_meshing;
};
// Deliberate: sets 5 to 9 have the same tables as sets 0 to 4.
constexpr CipherRow cipher_rows[] = {
    {VRX_PAR_CIPHER_0_OID, "1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet", &TZ_28147_89[0], 2, 0},
    {VRX_PAR_CIPHER_A_OID, "1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet", &TZ_28147_89[1], 3, 1},
    {VRX_PAR_CIPHER_B_OID, "1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet", &TZ_28147_89[2], 3, 1},
    {VRX_PAR_CIPHER_C_OID, "1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet", &TZ_28147_89[3], 3, 1},
    {VRX_PAR_CIPHER_D_OID, "1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet", &TZ_28147_89[4], 3, 1},
    {VRX_PAR_CIPHER_0S_OID, "1.2.643.2.2.31.5", "id-Gost28147-89-CryptoPro-Oscar-1-1-ParamSet", &TZ_28147_89[0], 2, 0},
    {VRX_PAR_CIPHER_SA_OID, "1.2.643.2.2.31.6", "id-Gost28147-89-CryptoPro-Oscar-1-0-ParamSet", &TZ_28147_89[1], 3, 0},
    {VRX_PAR_CIPHER_SB_OID, "1.2.643.2.2.31.7", "id-Gost28147-89-CryptoPro-RIC-1-ParamSet", &TZ_28147_89[2], 3, 0},
    {VRX_PAR_CIPHER_SC_OID, "1.2.643.2.2.31.8", "id-Gost28147-89-CryptoPro-Simple-C-ParamSet", &TZ_28147_89[3], 3, 0},
    {VRX_PAR_CIPHER_SD_OID, "1.2.643.2.2.31.9", "id-Gost28147-89-CryptoPro-Simple-D-ParamSet", &TZ_28147_89[4], 3, 0},
};

TEST(records, cipher_records_match_the_list_and_exported_constants) {
    static_assert(std::size(cipher_rows) == std::size(GOST28147_CRYPTO_PRO_OIDS));
    for (std::size_t i = 0; i < std::size(cipher_rows); ++i) {
        SCOPED_TRACE(i);
        const vrx_gost28147_par& record = GOST28147_CRYPTO_PRO_OIDS[i];
        EXPECT_EQ(record.oid_length, 9U);
        EXPECT_EQ(record.oid, cipher_rows[i].oid);
        EXPECT_STREQ(record.str_oid, cipher_rows[i].str_oid);
        EXPECT_STREQ(record.name, cipher_rows[i].name);
        EXPECT_EQ(record.tz, cipher_rows[i].tz);
        EXPECT_EQ(record.mode, cipher_rows[i].mode);
        EXPECT_EQ(record.key_meshing, cipher_rows[i].key_meshing);
        EXPECT_FALSE(is_read_only(&record, sizeof record)) << "the list links it";
    }
}

struct HashRow {
    const std::uint8_t* oid;
    const char* str_oid;
    const char* name;
    const vrx_tz* tz;
};
constexpr HashRow hash_rows[] = {
    {VRX_PAR_HASH_0_OID, "1.2.643.2.2.30.0", "id-GostR3411-94-TestParamSet", &TZ_3411_94[0]},
    {VRX_PAR_HASH_1_OID, "1.2.643.2.2.30.1", "id-GostR3411-94-CryptoProParamSet", &TZ_3411_94[1]},
};

TEST(records, hash_records_match_the_list_and_exported_constants) {
    static_assert(std::size(hash_rows) == std::size(GOSTR3411_OIDS));
    for (std::size_t i = 0; i < std::size(hash_rows); ++i) {
        SCOPED_TRACE(i);
        const vrx_gostr3411_par& record = GOSTR3411_OIDS[i];
        EXPECT_EQ(record.oid_length, 9U);
        EXPECT_EQ(record.oid, hash_rows[i].oid);
        EXPECT_STREQ(record.str_oid, hash_rows[i].str_oid);
        EXPECT_STREQ(record.name, hash_rows[i].name);
        EXPECT_EQ(record.tz, hash_rows[i].tz);
    }
}

}  // namespace
