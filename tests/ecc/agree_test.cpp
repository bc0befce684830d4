// Tests of key agreement and key diversification.
#include "ecc_support.hpp"
#include "support/log_capture.hpp"

using namespace vrx::test;

namespace {

const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
constexpr std::uint8_t ukm_one[VRX_UKM_SIZE] = {1};
const Bytes untouched(32, 0xA5);

Bytes hash_of(const Bytes& octets) {
    Bytes digest(32);
    EXPECT_EQ(GOSTR3411_Transform(oid.data, oid.length, octets.data(), static_cast<std::uint32_t>(octets.size()),
                                  digest.data()),
              VRX_OK);
    return digest;
}

TEST(agreement, gives_both_parties_the_same_key_on_every_set) {
    Random random;
    for (const EcParamSet& set : cp_ecc_par)
        for (const std::uint8_t* hash : {VRX_PAR_HASH_0_OID, VRX_PAR_HASH_1_OID}) {
            const vrx_data id{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(hash)};
            Digits da, db;
            EcPoint qa, qb;
            ASSERT_EQ(ecGenerateKeyPair(&set, random_bytes, da.data(), &qa), VRX_OK);
            ASSERT_EQ(ecGenerateKeyPair(&set, random_bytes, db.data(), &qb), VRX_OK);
            const Bytes ukm = random.bytes(8);
            Bytes ka(32), kb(32, 1);
            EXPECT_EQ(ecMakeKEK(&set, &id, ukm.data(), da.data(), &qb, ka.data()), VRX_OK);
            EXPECT_EQ(ecMakeKEK(&set, &id, ukm.data(), db.data(), &qa, kb.data()), VRX_OK);
            EXPECT_EQ(hex(ka), hex(kb));
        }
}

TEST(agreement, with_ukm_one_hashes_the_octets_of_the_multiple) {
    for (const EcParamSet& set : cp_ecc_par) {
        Digits d;
        EcPoint q, shared;
        ecGenerateKeyPair(&set, random_bytes, d.data(), &q);
        ASSERT_EQ(epMult(&shared, &q, d.data(), &set), 0);
        Bytes octets(64), kek(32);
        ecUnloadPublicKeyValue(&shared, octets.data());
        EXPECT_EQ(ecMakeKEK(&set, &oid, ukm_one, d.data(), &q, kek.data()), VRX_OK);
        EXPECT_EQ(hex(kek), hex(hash_of(octets)));
    }
}

TEST(agreement, reads_the_ukm_least_significant_byte_first) {
    const EcParamSet& set = cp_ecc_par[1];
    const std::uint8_t ukm[VRX_UKM_SIZE] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88};
    Digits u;
    u.d[0] = 0x04030201;
    u.d[1] = 0x88070605;
    Bytes kek(32), expected(32);
    ASSERT_EQ(ecMakeKEK(&set, &oid, ukm, Digits(1).data(), &set.G, kek.data()), VRX_OK);
    ASSERT_EQ(ecMakeKEK(&set, &oid, ukm_one, u.data(), &set.G, expected.data()), VRX_OK);
    EXPECT_EQ(hex(kek), hex(expected));
}

TEST(agreement, reduces_private_keys_of_nine_digits) {
    Random random;
    for (const EcParamSet& set : cp_ecc_par) {
        const Digits d = edgy(random);
        Digits residue;
        mpModulo(residue.data(), d.data(), VRX_ECC_DIGITS, set.q, VRX_ECC_DIGITS);
        Bytes kek(32), expected(32);
        ASSERT_EQ(ecMakeKEK(&set, &oid, ukm_one, d.data(), &set.G, kek.data()), VRX_OK);
        ASSERT_EQ(ecMakeKEK(&set, &oid, ukm_one, residue.data(), &set.G, expected.data()), VRX_OK);
        EXPECT_EQ(hex(kek), hex(expected));
    }
}

TEST(agreement, with_private_key_0_hashes_64_zero_octets) {
    for (const EcParamSet& set : cp_ecc_par)
        for (const Digits& d : {Digits(), Digits(set.q)}) {
            Bytes kek(32);
            EXPECT_EQ(ecMakeKEK(&set, &oid, ukm_one, d.data(), &set.G, kek.data()), VRX_OK);
            EXPECT_EQ(hex(kek), hex(hash_of(Bytes(64))));
        }
}

TEST(agreement, rejects_null_pointers_and_a_zero_ukm_with_minus_one) {
    LogCapture log;
    const EcParamSet& set = cp_ecc_par[1];
    const Digits d(5);
    const std::uint8_t zeros[VRX_UKM_SIZE] = {};
    Bytes kek = untouched;
    const auto refused = [&](int rc) {
        EXPECT_EQ(rc, VRX_ERR_FAILED);
        EXPECT_EQ(log.take(), "ecMakeKEK: bad params\n");
        EXPECT_EQ(kek, untouched);
    };
    refused(ecMakeKEK(nullptr, &oid, ukm_one, d.data(), &set.G, kek.data()));
    refused(ecMakeKEK(&set, &oid, nullptr, d.data(), &set.G, kek.data()));
    refused(ecMakeKEK(&set, &oid, ukm_one, nullptr, &set.G, kek.data()));
    refused(ecMakeKEK(&set, &oid, ukm_one, d.data(), nullptr, kek.data()));
    refused(ecMakeKEK(&set, &oid, ukm_one, d.data(), &set.G, nullptr));
    refused(ecMakeKEK(&set, &oid, zeros, d.data(), &set.G, kek.data()));
    for (unsigned i = 0; i < VRX_UKM_SIZE; ++i) {
        std::uint8_t last[VRX_UKM_SIZE] = {};
        last[i] = 1;
        Bytes made = untouched;
        EXPECT_EQ(ecMakeKEK(&set, &oid, last, d.data(), &set.G, made.data()), VRX_OK);
        EXPECT_NE(made, untouched);
    }
}

TEST(agreement, returns_the_code_of_the_hash_which_logs_its_own_failure) {
    LogCapture log;
    const EcParamSet& set = cp_ecc_par[1];
    const Digits d(5);
    Bytes kek = untouched, digest(32);
    for (const vrx_data& wrong : {vrx_data{9, const_cast<std::uint8_t*>(VRX_PAR_CIPHER_A_OID)},
                                  vrx_data{8, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)}, vrx_data{9, nullptr},
                                  vrx_data{0, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)}}) {
        const int expected = GOSTR3411_Transform(wrong.data, wrong.length, digest.data(), 32, digest.data());
        const std::string lines = log.take();
        EXPECT_NE(expected, VRX_OK);
        EXPECT_NE(lines, "");
        EXPECT_EQ(ecMakeKEK(&set, &wrong, ukm_one, d.data(), &set.G, kek.data()), expected);
        EXPECT_EQ(log.take(), lines);
        EXPECT_EQ(kek, untouched);
    }
}

/** Key diversification according to RFC 4357, section 6.5, in terms of single blocks. */
Bytes diversified(const vrx_tz& table, Bytes key, const Bytes& ukm) {
    for (const std::uint8_t byte : ukm) {
        std::uint32_t words[8], sums[2] = {}, out[8];
        std::memcpy(words, key.data(), sizeof words);
        for (unsigned j = 0; j < 8; ++j) sums[(byte >> j & 1) != 0 ? 0 : 1] += words[j];
        std::uint32_t feedback[2] = {sums[0], sums[1]};
        for (unsigned block = 0; block < 4; ++block) {
            std::uint8_t gamma[8];
            vrx_gost_encr_64_m(reinterpret_cast<const std::uint8_t*>(feedback), gamma, words, &table);
            std::uint32_t g[2];
            std::memcpy(g, gamma, sizeof g);
            for (unsigned i = 0; i < 2; ++i) feedback[i] = out[2 * block + i] = words[2 * block + i] ^ g[i];
        }
        std::memcpy(key.data(), out, sizeof out);
    }
    return key;
}

TEST(diversification, follows_the_standard_for_all_tables_and_all_bytes) {
    Random random;
    for (const vrx_tz& table : TZ_28147_89)
        for (unsigned byte = 0; byte < 256; ++byte) {
            Bytes ukm = random.bytes(8);
            ukm[byte % 8] = static_cast<std::uint8_t>(byte);
            const Bytes original = random.bytes(32);
            Bytes key = original;
            ASSERT_EQ(ecDiversifyKEK(&table, key.data(), ukm.data()), VRX_OK);
            ASSERT_EQ(hex(key), hex(diversified(table, original, ukm)));
        }
}

TEST(diversification, works_at_any_address) {
    Random random;
    const Bytes key = random.bytes(32), ukm = random.bytes(8);
    const Bytes expected = diversified(TZ_28147_89[1], key, ukm);
    for (std::size_t shift = 1; shift < 8; ++shift) {
        Bytes moved(40, 0xEE), moved_ukm(16);
        std::copy(key.begin(), key.end(), moved.begin() + static_cast<long>(shift));
        std::copy(ukm.begin(), ukm.end(), moved_ukm.begin() + static_cast<long>(shift));
        ASSERT_EQ(ecDiversifyKEK(&TZ_28147_89[1], moved.data() + shift, moved_ukm.data() + shift), VRX_OK);
        EXPECT_EQ(hex({moved.data() + shift, 32}), hex(expected));
        EXPECT_EQ(moved[shift - 1], 0xEE);
        EXPECT_EQ(moved[shift + 32 < 40 ? shift + 32 : 0], 0xEE);
    }
}

TEST(diversification, reports_a_table_that_the_cipher_rejects) {
    LogCapture log;
    Random random;
    const Bytes original = random.bytes(32);
    Bytes key = original;
    EXPECT_EQ(ecDiversifyKEK(nullptr, key.data(), ukm_one), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(log.take(), "VRX_Gost_GFB_m failed, rc = 0xfffffffe\n");
    static const vrx_tz empty{};
    EXPECT_EQ(ecDiversifyKEK(&empty, key.data(), ukm_one), VRX_ERR_FAILED);
    EXPECT_EQ(log.take(), "VRX_Gost_GFB_m failed, rc = 0xffffffff\n");
    EXPECT_EQ(key, original);
}

}  // namespace
