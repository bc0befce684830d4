// The same answers as libgcrypt, on random input.
#include <gcrypt.h>
#include <gtest/gtest.h>

#include <array>
#include <ostream>

#include "messages.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

/** A parameter set under both names. libgcrypt's first variant is the test set, with the sum of blocks as in RFC 5831.
 */
struct Set {
    int algorithm;
    const vrx_gostr3411_par* record;
};
void PrintTo(const Set& set, std::ostream* out) { *out << set.record->name; }

class WitnessTest : public testing::TestWithParam<Set> {
protected:
    static void SetUpTestSuite() { ASSERT_NE(gcry_check_version(nullptr), nullptr); }

    static Digest peer_digest(std::span<const std::uint8_t> data) {
        Digest out{};
        gcry_md_hd_t handle;
        EXPECT_EQ(gcry_md_open(&handle, GetParam().algorithm, 0), 0U);
        gcry_md_write(handle, data.data(), data.size());
        std::copy_n(gcry_md_read(handle, 0), out.size(), out.begin());
        gcry_md_close(handle);
        return out;
    }
    static Digest peer_mac(std::span<const std::uint8_t> key, std::span<const std::uint8_t> data) {
        Digest out{};
        gcry_md_hd_t handle;
        EXPECT_EQ(gcry_md_open(&handle, GetParam().algorithm, GCRY_MD_FLAG_HMAC), 0U);
        EXPECT_EQ(gcry_md_setkey(handle, key.data(), key.size()), 0U);
        gcry_md_write(handle, data.data(), data.size());
        std::copy_n(gcry_md_read(handle, 0), out.size(), out.begin());
        gcry_md_close(handle);
        return out;
    }

    Random random;
    const vrx_gostr3411_par& set = *GetParam().record;
};
INSTANTIATE_TEST_SUITE_P(sets, WitnessTest,
                         testing::Values(Set{GCRY_MD_GOSTR3411_94, &GOSTR3411_OIDS[0]},
                                         Set{GCRY_MD_GOSTR3411_CP, &GOSTR3411_OIDS[1]}),
                         [](const auto& suite) { return suite.index == 0 ? "test" : "cryptopro"; });

TEST_P(WitnessTest, digests_are_equal) {
    for (int i = 0; i < 2000; ++i) {
        const Bytes data = random.bytes(1 + random.below(i % 50 == 0 ? 20000 : 300));
        Digest out{};
        ASSERT_EQ(GOSTR3411_Transform(set.oid, set.oid_length, data.data(), length32(data), out.data()), VRX_OK);
        ASSERT_EQ(hex(out), hex(peer_digest(data))) << data.size() << " bytes";
    }
}

TEST_P(WitnessTest, digests_of_large_words_are_equal) {
    for (int i = 0; i < 300; ++i) {
        Bytes data(1 + random.below(300), 0xff);
        for (unsigned changes = random.below(4); changes != 0; --changes)
            data.at(random.below(length32(data))) = static_cast<std::uint8_t>(random.word());
        Digest out{};
        ASSERT_EQ(GOSTR3411_Transform(set.oid, set.oid_length, data.data(), length32(data), out.data()), VRX_OK);
        ASSERT_EQ(hex(out), hex(peer_digest(data))) << hex(data);
    }
}

TEST_P(WitnessTest, macs_are_equal) {
    for (int i = 0; i < 1000; ++i) {
        const Bytes key = random.bytes(1 + random.below(100));
        const Bytes data = random.bytes(1 + random.below(300));
        Digest out{};
        std::uint32_t size;
        ASSERT_EQ(GOSTR3411_HMAC(set.oid, set.oid_length, data.data(), length32(data), key.data(), length32(key),
                                 out.data(), &size),
                  VRX_OK);
        ASSERT_EQ(hex(out), hex(peer_mac(key, data))) << key.size() << " bytes of key";
    }
}

TEST_P(WitnessTest, derived_keys_are_equal) {
    for (int i = 0; i < 100; ++i) {
        const Bytes password = random.bytes(1 + random.below(70));
        const Bytes salt = random.bytes(1 + random.below(70));
        const unsigned iterations = 1 + random.below(20);
        Digest out{};
        Digest expected{};
        ASSERT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), length32(password), salt.data(), salt.size(), iterations,
                                         set.oid, set.oid_length, out.data(), out.size()),
                  VRX_OK);
        ASSERT_EQ(gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, GetParam().algorithm, salt.data(),
                                  salt.size(), iterations, expected.size(), expected.data()),
                  0U);
        ASSERT_EQ(hex(out), hex(expected));
    }
}

}  // namespace
