// The exported functions for one block.
#include "vrx/kernel.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "gost28147/tables.hpp"
#include "support/hex.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

enum Kernel { encr, decr, imito, gamm, gfb, cbc, kernel_count };

void run_library(Kernel kernel, const std::uint8_t* in, std::uint8_t* out, std::uint8_t* state, const std::uint8_t* key,
                 const vrx_tz* table, int encrypt) {
    switch (kernel) {
        case encr:
            return vrx_gost_encr_64_m(in, out, key_at(key), table);
        case decr:
            return vrx_gost_decr_64_m(in, out, key_at(key), table);
        case imito:
            return vrx_gost_imito_64_m(in, state, key_at(key), table);
        case gamm:
            return vrx_gost_gamm_64_m(in, out, state, key_at(key), table);
        case gfb:
            return vrx_gost_GFB_64_m(in, out, state, key_at(key), table, encrypt);
        default:
            return vrx_gost_cbc_64_m(in, out, state, key_at(key), table, encrypt);
    }
}

void run_model(Kernel kernel, const std::uint8_t* in, std::uint8_t* out, std::uint8_t* state, const std::uint8_t* key,
               const model::Substitution& f, int encrypt) {
    switch (kernel) {
        case encr:
            return model::encr_64(in, out, key, f);
        case decr:
            return model::decr_64(in, out, key, f);
        case imito:
            return model::imito_64(in, state, key, f);
        case gamm:
            return model::gamm_64(in, out, state, key, f);
        case gfb:
            return model::gfb_64(in, out, state, key, f, encrypt);
        default:
            return model::cbc_64(in, out, state, key, f, encrypt);
    }
}

/** Arguments for tests: the built-in table A, a key, a block and a state. A test changes one of them. */
struct Sample {
    TestTable table = published_table("id-Gost28147-89-CryptoPro-A-ParamSet");
    Bytes key = unhex("0123456789abcdeffedcba98765432100011223344556677ffeeddccbbaa9988");
    Bytes block = unhex("a1a2a3a4a5a6a7a8");
    Bytes state = unhex("1122334455667788");

    [[nodiscard]] Bytes encrypted(Bytes bytes) const {
        model::encr_64(bytes.data(), bytes.data(), key.data(), table.substitution);
        return bytes;
    }
    [[nodiscard]] Bytes decrypted(Bytes bytes) const {
        model::decr_64(bytes.data(), bytes.data(), key.data(), table.substitution);
        return bytes;
    }
};

Bytes exclusive_or(Bytes a, const Bytes& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] ^= b[i];
    return a;
}

TEST(Kernel, every_kernel_equals_the_model_at_any_address_and_in_place) {
    Random random;
    TwinMemory memory(256);
    for (const TestTable& table : test_tables())
        for (unsigned kernel = 0; kernel < kernel_count; ++kernel)
            for (int round = 0; round < 300; ++round) {
                memory.refill(random);
                const std::size_t in = 16 + random.below(8);
                const std::size_t out = random.below(3) == 0 ? in : 48 + random.below(8);
                const std::size_t state = 80 + random.below(8);
                const std::size_t key = 112 + random.below(8);
                const int encrypt = rubbish_above(random, random.coin() ? 0 : 1 + random.below(255));
                std::uint8_t* l = memory.library.data();
                std::uint8_t* m = memory.model.data();
                run_library(static_cast<Kernel>(kernel), l + in, l + out, l + state, l + key, &table.record, encrypt);
                run_model(static_cast<Kernel>(kernel), m + in, m + out, m + state, m + key, table.substitution,
                          encrypt);
                ASSERT_TRUE(memory.equal())
                    << "kernel " << kernel << ", " << table.name << ", in at " << in << ", out at " << out
                    << ", state at " << state << ", encrypt " << encrypt << ": " << memory.difference();
            }
}

TEST(Kernel, the_same_holds_for_blocks_of_all_zeros_and_all_ones) {
    const Sample s;
    for (const int key_byte : {0x00, 0xFF})
        for (const int data_byte : {0x00, 0xFF})
            for (unsigned kernel = 0; kernel < kernel_count; ++kernel)
                for (const int encrypt : {0, 1}) {
                    TwinMemory memory(64);
                    for (Bytes* bytes : {&memory.library, &memory.model}) {
                        std::memset(bytes->data(), data_byte, 32);
                        std::memset(bytes->data() + 32, key_byte, 32);
                    }
                    std::uint8_t* l = memory.library.data();
                    std::uint8_t* m = memory.model.data();
                    run_library(static_cast<Kernel>(kernel), l, l + 8, l + 16, l + 32, &s.table.record, encrypt);
                    run_model(static_cast<Kernel>(kernel), m, m + 8, m + 16, m + 32, s.table.substitution, encrypt);
                    ASSERT_TRUE(memory.equal()) << "kernel " << kernel << ": " << memory.difference();
                }
}

TEST(Kernel, decryption_inverts_encryption_also_in_place) {
    Random random;
    for (const TestTable& table : test_tables())
        for (int round = 0; round < 300; ++round) {
            const Bytes key = random.bytes(32);
            const Bytes plain = random.bytes(8);
            Bytes block = plain;
            vrx_gost_encr_64_m(block.data(), block.data(), key_at(key.data()), &table.record);
            ASSERT_NE(block, plain);
            Bytes back(8);
            vrx_gost_decr_64_m(block.data(), back.data(), key_at(key.data()), &table.record);
            ASSERT_EQ(back, plain);
            vrx_gost_decr_64_m(block.data(), block.data(), key_at(key.data()), &table.record);
            ASSERT_EQ(block, plain);
        }
}

TEST(Kernel, the_tables_flag_is_not_looked_at) {
    const Sample s;
    vrx_tz closed = s.table.record;
    closed.initialised = 0;
    Bytes out(8);
    vrx_gost_encr_64_m(s.block.data(), out.data(), key_at(s.key.data()), &closed);
    EXPECT_EQ(hex(out), hex(s.encrypted(s.block)));
}

TEST(Kernel, only_the_state_of_a_mac_step_is_written) {
    const Sample s;
    const Bytes data = s.block;
    Bytes state = s.state;
    vrx_gost_imito_64_m(data.data(), state.data(), key_at(s.key.data()), &s.table.record);
    EXPECT_EQ(data, s.block);
    EXPECT_NE(state, s.state);
}

TEST(Kernel, mac_of_a_zero_block_is_its_16_round_image) {
    const Sample s;
    const Bytes zero(8);
    Bytes state(8);
    vrx_gost_imito_64_m(zero.data(), state.data(), key_at(s.key.data()), &s.table.record);
    // If data and state are equal, their sum is 0, so every such pair yields the same result.
    Bytes same = s.block;
    vrx_gost_imito_64_m(s.block.data(), same.data(), key_at(s.key.data()), &s.table.record);
    EXPECT_EQ(state, same);
    Bytes expected(8);
    model::imito_64(zero.data(), expected.data(), s.key.data(), s.table.substitution);
    EXPECT_EQ(state, expected);
    EXPECT_NE(state, zero);
}

TEST(Kernel, mac_data_may_be_the_state_itself) {
    const Sample s;
    Bytes state = s.state;
    vrx_gost_imito_64_m(state.data(), state.data(), key_at(s.key.data()), &s.table.record);
    Bytes expected(8);
    model::imito_64(Bytes(8).data(), expected.data(), s.key.data(), s.table.substitution);
    EXPECT_EQ(state, expected);
}

struct Step {
    const char* before;
    const char* after;
};

/** Performs a step of the counter, and checks that the gamma is the encryption of the new counter. */
void expect_step(const Step& step) {
    SCOPED_TRACE(step.before);
    const Sample s;
    Bytes counter = unhex(step.before);
    Bytes out(8);
    vrx_gost_gamm_64_m(s.block.data(), out.data(), counter.data(), key_at(s.key.data()), &s.table.record);
    EXPECT_EQ(hex(counter), step.after);
    EXPECT_EQ(hex(out), hex(exclusive_or(s.block, s.encrypted(unhex(step.after)))));
}

TEST(Kernel, the_low_counter_word_steps_modulo_2_to_the_32) {
    for (const Step& step : {Step{"0000000000000000", "0101010104010101"}, Step{"fefefefe00000000", "ffffffff04010101"},
                             Step{"fffefefe00000000", "0000000004010101"}, Step{"00fffefe00000000", "0100000004010101"},
                             Step{"ffffffff00000000", "0001010104010101"}})
        expect_step(step);
}

TEST(Kernel, the_high_counter_word_steps_modulo_2_to_the_32_less_1) {
    for (const Step& step : {Step{"00000000ffffffff", "0101010104010101"}, Step{"00000000fcfefefe", "0101010101000000"},
                             Step{"00000000fdfefefe", "0101010102000000"}, Step{"00000000fafefefe", "01010101feffffff"},
                             Step{"00000000feffffff", "0101010103010101"}})
        expect_step(step);
}

TEST(Kernel, the_high_counter_word_becomes_all_ones_and_never_zero) {
    expect_step({"00000000fbfefefe", "01010101ffffffff"});
    // The carry out of the low word is not added to the high word.
    expect_step({"fffffffffbfefefe", "00010101ffffffff"});
    expect_step({"ffffffffffffffff", "0001010104010101"});
}

TEST(Kernel, the_encrypt_flag_counts_by_its_low_8_bits) {
    const Sample s;
    const auto run = [&](auto kernel, int encrypt) {
        Bytes out(8);
        Bytes state = s.state;
        kernel(s.block.data(), out.data(), state.data(), key_at(s.key.data()), &s.table.record, encrypt);
        out.insert(out.end(), state.begin(), state.end());
        return hex(out);
    };
    for (auto* kernel : {vrx_gost_GFB_64_m, vrx_gost_cbc_64_m}) {
        EXPECT_NE(run(kernel, 0), run(kernel, 1));
        for (const int zero : {0x100, 0x7FFFFF00, -256, INT_MIN}) EXPECT_EQ(run(kernel, zero), run(kernel, 0)) << zero;
        for (const int one : {2, 0x80, 0xFF, 0x101, -1, -255, INT_MAX})
            EXPECT_EQ(run(kernel, one), run(kernel, 1)) << one;
    }
}

TEST(Kernel, decrypting_cfb_in_place_feeds_back_plaintext) {
    const Sample s;
    const Bytes gamma = s.encrypted(s.state);
    const std::string plain = hex(exclusive_or(s.block, gamma));

    Bytes apart(8);
    Bytes feedback = s.state;
    vrx_gost_GFB_64_m(s.block.data(), apart.data(), feedback.data(), key_at(s.key.data()), &s.table.record, 0);
    EXPECT_EQ(hex(apart), plain);
    EXPECT_EQ(hex(feedback), hex(s.block));

    Bytes block = s.block;
    feedback = s.state;
    vrx_gost_GFB_64_m(block.data(), block.data(), feedback.data(), key_at(s.key.data()), &s.table.record, 0);
    EXPECT_EQ(hex(block), plain);
    EXPECT_EQ(hex(feedback), plain);
}

TEST(Kernel, encrypting_cfb_feeds_back_ciphertext_even_in_place) {
    const Sample s;
    const std::string cipher = hex(exclusive_or(s.block, s.encrypted(s.state)));
    Bytes block = s.block;
    Bytes feedback = s.state;
    vrx_gost_GFB_64_m(block.data(), block.data(), feedback.data(), key_at(s.key.data()), &s.table.record, 1);
    EXPECT_EQ(hex(block), cipher);
    EXPECT_EQ(hex(feedback), cipher);
}

TEST(Kernel, decrypting_a_cbc_block_in_place_chains_the_ciphertext) {
    const Sample s;
    Bytes block = s.block;
    Bytes chain = s.state;
    vrx_gost_cbc_64_m(block.data(), block.data(), chain.data(), key_at(s.key.data()), &s.table.record, 0);
    EXPECT_EQ(hex(block), hex(exclusive_or(s.decrypted(s.block), s.state)));
    EXPECT_EQ(hex(chain), hex(s.block));
}

TEST(Kernel, encrypting_a_cbc_block_chains_the_result) {
    const Sample s;
    Bytes out(8);
    Bytes chain = s.state;
    vrx_gost_cbc_64_m(s.block.data(), out.data(), chain.data(), key_at(s.key.data()), &s.table.record, 1);
    EXPECT_EQ(hex(out), hex(s.encrypted(exclusive_or(s.block, s.state))));
    EXPECT_EQ(chain, out);
}

}  // namespace
