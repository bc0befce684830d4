// Key derivation from passwords, compared with the model.
#include <gtest/gtest.h>

#include "fields.hpp"
#include "messages.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"

namespace {

using namespace vrx::test;

class KdfTest : public testing::Test {
protected:
    Random random;
    Substitution set = on_boxes(boxes_of_set(cryptopro_set));
};

// PBKDF2

class Pbkdf2Test : public KdfTest {
protected:
    [[nodiscard]] Octets model(std::span<const std::uint8_t> password, std::span<const std::uint8_t> salt,
                               unsigned iterations) const {
        return model_pbkdf2(set, password, salt, iterations);
    }
    static Bytes derive(std::span<const std::uint8_t> password, std::span<const std::uint8_t> salt,
                        std::uint64_t iterations, std::uint64_t out_len = 32) {
        Bytes out(100, 0x5a);
        EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), length32(password), salt.data(), salt.size(), iterations,
                                         VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, &out[1], out_len),
                  VRX_OK);
        EXPECT_EQ(out.front(), 0x5a);
        EXPECT_EQ(Bytes(out.begin() + 33, out.end()), Bytes(67, 0x5a)) << "bytes behind the first block were written";
        return {out.begin() + 1, out.begin() + 33};
    }
};

TEST_F(Pbkdf2Test, equals_the_model) {
    for (const std::size_t password_length : {0U, 1U, 8U, 31U, 32U, 33U, 64U, 65U})
        for (const std::size_t salt_length : {1U, 4U, 27U, 28U, 29U, 32U, 60U, 100U})
            for (const unsigned iterations : {0U, 1U, 2U, 3U}) {
                const Bytes password = random.bytes(password_length);
                const Bytes salt = random.bytes(salt_length);
                EXPECT_EQ(hex(derive(password, salt, iterations)), hex(model(password, salt, iterations)));
            }
}

TEST_F(Pbkdf2Test, many_iterations_equal_the_model) {
    const Bytes password = random.bytes(20);
    const Bytes salt = random.bytes(16);
    EXPECT_EQ(hex(derive(password, salt, 300)), hex(model(password, salt, 300)));
}

TEST_F(Pbkdf2Test, writes_32_bytes_whatever_the_output_length) {
    const Bytes password = random.bytes(5);
    const Bytes salt = random.bytes(5);
    const Bytes expected = derive(password, salt, 2);
    for (const std::uint64_t length : {33UL, 64UL, 0x100000000UL, 0x10000001fUL, ~0UL})
        EXPECT_EQ(derive(password, salt, 2, length), expected);
    Bytes out(32, 0x5a);
    for (const std::uint64_t length : {0UL, 1UL, 31UL})
        EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), 5, salt.data(), 5, 2, nullptr, 0, out.data(), length),
                  VRX_ERR_FAILED);
    EXPECT_EQ(out, Bytes(32, 0x5a));
}

TEST_F(Pbkdf2Test, low_32_bits_of_the_salt_length_count) {
    const Bytes password = random.bytes(5);
    const Bytes salt = random.bytes(5);
    const Bytes expected = derive(password, salt, 2);
    Bytes out(32);
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), 5, salt.data(), 0x700000005, 2, VRX_PAR_HASH_1_OID,
                                     VRX_PAR_OID_SIZE, out.data(), 32),
              VRX_OK);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), 5, salt.data(), 0x100000000, 2, VRX_PAR_HASH_1_OID,
                                     VRX_PAR_OID_SIZE, out.data(), 32),
              VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(out, expected);
}

TEST_F(Pbkdf2Test, null_identifier_follows_the_default_pointer) {
    const RegistryGuard guard;
    const Bytes password = random.bytes(5);
    const Bytes salt = random.bytes(5);
    DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[0];
    set = on_boxes(boxes_of_set(test_set));
    Bytes out(32);
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(password.data(), 5, salt.data(), 5, 2, nullptr, 0, out.data(), 32), VRX_OK);
    EXPECT_EQ(hex(out), hex(model(password, salt, 2)));
}

TEST_F(Pbkdf2Test, output_may_overlap_the_inputs) {
    const Bytes password = random.bytes(40);
    const Bytes expected = derive(password, password, 3);
    Bytes both = password;
    EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(both.data(), 40, both.data(), 40, 3, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE,
                                     both.data(), 32),
              VRX_OK);
    both.resize(32);
    EXPECT_EQ(both, expected);
}

// PKCS #12

class PbaTest : public KdfTest {
protected:
    [[nodiscard]] Bytes model(std::span<const std::uint8_t> password, std::span<const std::uint8_t> salt,
                              unsigned iterations, int id, std::size_t out_len) const {
        return model_pba(set, password, salt, iterations, id, out_len);
    }
    static Bytes derive(std::span<const std::uint8_t> password, std::span<const std::uint8_t> salt, unsigned iterations,
                        int id, std::size_t out_len) {
        Bytes out(out_len + 2, 0x5a);
        EXPECT_EQ(GOSTR3411_PBA_Derive(password.data(), static_cast<int>(password.size()), salt.data(),
                                       static_cast<int>(salt.size()), iterations, id, VRX_PAR_HASH_1_OID,
                                       VRX_PAR_OID_SIZE, &out[1], static_cast<int>(out_len)),
                  VRX_OK);
        EXPECT_EQ(out.front(), 0x5a);
        EXPECT_EQ(out.back(), 0x5a) << "written beyond the output length";
        return {out.begin() + 1, out.end() - 1};
    }
};

TEST_F(PbaTest, equals_the_model_for_all_shapes_of_input) {
    for (const std::size_t password_length : {0U, 1U, 12U, 32U, 33U, 70U})
        for (const std::size_t salt_length : {0U, 1U, 5U, 8U, 31U, 32U, 33U, 64U})
            for (const unsigned iterations : {0U, 1U, 2U, 3U}) {
                if (password_length + salt_length == 0) continue;
                const Bytes password = random.bytes(password_length);
                const Bytes salt = random.bytes(salt_length);
                const int id = static_cast<int>(random.word());
                const std::size_t out_len = random.below(130);
                EXPECT_EQ(hex(derive(password, salt, iterations, id, out_len)),
                          hex(model(password, salt, iterations, id, out_len)));
            }
}

TEST_F(PbaTest, shorter_outputs_are_prefixes_of_longer_ones) {
    const Bytes password = random.bytes(14);
    const Bytes salt = random.bytes(8);
    const Bytes longest = model(password, salt, 2, 1, 100);
    for (std::size_t length = 0; length <= 100; ++length)
        EXPECT_EQ(derive(password, salt, 2, 1, length),
                  Bytes(longest.begin(), longest.begin() + static_cast<int>(length)));
}

TEST_F(PbaTest, further_blocks_continue_the_hash_even_with_a_full_buffer) {
    const Bytes password = random.bytes(40);  // more than one block, so the buffer holds the end of the message
    EXPECT_EQ(hex(derive(password, password, 1, 3, 96)), hex(model(password, password, 1, 3, 96)));
    EXPECT_EQ(hex(derive(password, {}, 1, 3, 96)), hex(model(password, {}, 1, 3, 96)));
    EXPECT_EQ(hex(derive({}, Bytes(32, 0xff), 1, 3, 96)), hex(model({}, Bytes(32, 0xff), 1, 3, 96)));
}

TEST_F(PbaTest, blocks_are_added_modulo_2_to_256) {
    const Bytes ones(64, 0xff);  // with these bytes, every sum has a carry out of the block
    EXPECT_EQ(hex(derive(ones, ones, 2, 255, 160)), hex(model(ones, ones, 2, 255, 160)));
}

TEST_F(PbaTest, given_identifier_is_ignored_for_the_default) {
    const RegistryGuard guard;
    const Bytes password = random.bytes(14);
    const Bytes salt = random.bytes(8);
    const std::uint8_t unknown[] = {1};
    for (const unsigned index : {0U, 1U}) {
        DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[index];
        set = on_boxes(boxes_of_set(index == 0 ? test_set : cryptopro_set));
        const Bytes expected = model(password, salt, 2, 1, 32);
        for (const std::uint8_t* oid : {&VRX_PAR_HASH_0_OID[0], &VRX_PAR_HASH_1_OID[0], unknown}) {
            Bytes out(32);
            EXPECT_EQ(GOSTR3411_PBA_Derive(password.data(), 14, salt.data(), 8, 2, 1, oid, oid == unknown ? 0 : 9,
                                           out.data(), 32),
                      VRX_OK);
            EXPECT_EQ(out, expected);
        }
    }
}

TEST_F(PbaTest, null_identifier_is_searched_for_and_fits_a_set_without_one) {
    const Bytes password = random.bytes(14);
    set = on_boxes(boxes_of_set(test_set));
    const Bytes expected = model(password, password, 2, 1, 32);
    const vrx_gostr3411_par original = GOSTR3411_OIDS[0];
    GOSTR3411_OIDS[0].oid_length = 0;
    Bytes out(32);
    EXPECT_EQ(GOSTR3411_PBA_Derive(password.data(), 14, password.data(), 14, 2, 1, nullptr, 0, out.data(), 32), VRX_OK);
    EXPECT_EQ(out, expected);
    GOSTR3411_OIDS[0] = original;
}

TEST_F(PbaTest, low_8_bits_of_the_diversifier_count) {
    const Bytes password = random.bytes(14);
    EXPECT_EQ(derive(password, password, 1, 0x103, 32), derive(password, password, 1, 3, 32));
    EXPECT_EQ(derive(password, password, 1, -1, 32), derive(password, password, 1, 255, 32));
}

TEST_F(PbaTest, negative_lengths_count_as_zero_and_allow_null) {
    const Bytes text = random.bytes(14);
    const Bytes expected = model(text, {}, 1, 1, 32);
    Bytes out(32);
    EXPECT_EQ(GOSTR3411_PBA_Derive(text.data(), 14, text.data(), -5, 1, 1, text.data(), 9, out.data(), 32), VRX_OK);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(GOSTR3411_PBA_Derive(nullptr, INT32_MIN, text.data(), 14, 1, 1, text.data(), 9, out.data(), 32), VRX_OK);
    EXPECT_EQ(out, expected);
    out.assign(32, 0x5a);
    for (const int length : {0, -1, INT32_MIN})
        EXPECT_EQ(GOSTR3411_PBA_Derive(text.data(), 14, text.data(), 14, 1, 1, text.data(), 9, out.data(), length),
                  VRX_OK);
    EXPECT_EQ(out, Bytes(32, 0x5a));
}

TEST_F(PbaTest, output_may_overlap_the_inputs) {
    const Bytes text = random.bytes(128);
    const Bytes expected = model(std::span(text).first(50), std::span(text).subspan(50, 20), 2, 1, 100);
    Bytes both = text;
    EXPECT_EQ(GOSTR3411_PBA_Derive(both.data(), 50, &both[50], 20, 2, 1, VRX_PAR_HASH_1_OID, 9, both.data(), 100),
              VRX_OK);
    both.resize(100);
    EXPECT_EQ(both, expected);
}

}  // namespace
