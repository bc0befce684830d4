// The step function and the absorption of a block, compared with the model.
#include <gtest/gtest.h>

#include "fields.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

Octets compressed(const Octets& h, const Octets& m, const vrx_tz& table) {
    std::uint32_t hash[VRX_HASH_WORDS];
    std::uint32_t block[VRX_HASH_WORDS];
    std::memcpy(hash, h.data(), sizeof hash);
    std::memcpy(block, m.data(), sizeof block);
    gost_r_3411_94_compress(hash, block, &table);
    EXPECT_EQ(octets(block), m) << "the block was written to";
    return octets(hash);
}

TEST(step, equals_the_model_for_random_numbers_on_both_sets) {
    Random random;
    const std::array sets = {on_boxes(boxes_of_set(test_set)), on_boxes(boxes_of_set(cryptopro_set))};
    for (unsigned i = 0; i < 300; ++i) {
        const auto h = random.value<Octets>();
        const auto m = random.value<Octets>();
        EXPECT_EQ(compressed(h, m, TZ_3411_94[i % 2]), model_step(h, m, sets.at(i % 2)).out);
    }
}

TEST(step, equals_the_model_for_single_bits_and_constant_octets) {
    const Substitution set = on_boxes(boxes_of_set(cryptopro_set));
    const auto check = [&](const Octets& h, const Octets& m) {
        EXPECT_EQ(compressed(h, m, TZ_3411_94[1]), model_step(h, m, set).out) << hex(h) << " " << hex(m);
    };
    for (unsigned bit = 0; bit < 256; ++bit) {
        Octets one{};
        one.at(bit / 8) = static_cast<std::uint8_t>(1U << bit % 8);
        check(one, {});
        check({}, one);
    }
    for (const std::uint8_t value : std::to_array<std::uint8_t>({0x00, 0x01, 0x7f, 0x80, 0xff})) {
        Octets constant{};
        constant.fill(value);
        check(constant, constant);
        check(constant, {});
        check({}, constant);
    }
}

TEST(step, reads_any_table_whatever_its_flag_says) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        auto table = random.value<vrx_tz>();
        table.initialised = static_cast<std::uint8_t>(i % 2);
        const auto h = random.value<Octets>();
        const auto m = random.value<Octets>();
        EXPECT_EQ(compressed(h, m, table), model_step(h, m, on_table(table)).out);
    }
}

TEST(step, hash_and_block_may_be_the_same_array) {
    Random random;
    const auto h = random.value<Octets>();
    std::uint32_t both[VRX_HASH_WORDS];
    std::memcpy(both, h.data(), sizeof both);
    gost_r_3411_94_compress(both, both, &TZ_3411_94[0]);
    EXPECT_EQ(octets(both), model_step(h, h, on_boxes(boxes_of_set(test_set))).out);
}

/** gost_r_3411_94_hash_bytes() on the fields of a model and a block at an odd address. */
void absorb_both(ModelContext& model, const Octets& block, unsigned bits) {
    GOSTR3411_CTX ctx;
    put_fields(ctx, model);
    alignas(4) std::uint8_t room[33];
    std::memcpy(room + 1, block.data(), block.size());
    gost_r_3411_94_hash_bytes(&TZ_3411_94[1], ctx.hash, ctx.sum, ctx.length, room + 1, bits);
    model.absorb(block, bits);
    ctx.table = TZ_3411_94[1];
    expect_fields(ctx, model, TZ_3411_94[1]);
    EXPECT_EQ(std::memcmp(room + 1, block.data(), block.size()), 0) << "the block was written to";
}

class Absorption : public testing::Test {
protected:
    Random random;
    ModelContext model{.substitute = on_boxes(boxes_of_set(cryptopro_set))};
};

TEST_F(Absorption, of_random_blocks_changes_hash_sum_and_length) {
    model.hash = random.value<Octets>();
    model.sum = random.value<Octets>();
    model.length = random.value<Octets>();
    for (int i = 0; i < 50; ++i) absorb_both(model, random.value<Octets>(), random.below(300));
}

TEST_F(Absorption, carry_passes_through_a_message_word_of_all_ones) {
    for (unsigned word = 0; word < 8; ++word) {
        model.sum = {};
        std::fill(model.sum.begin(), model.sum.begin() + 4 * word, std::uint8_t{0xff});
        Octets block{};
        block.front() = 1;  // together with the ones below, causes a carry out of every word up to this one
        for (unsigned i = 0; i < 4; ++i) block.at(4 * word + i) = 0xff;
        absorb_both(model, block, 256);
    }
}

TEST_F(Absorption, blocks_of_all_ones_carry_through_every_word) {
    Octets ones{};
    ones.fill(0xff);
    model.sum = ones;
    for (int i = 0; i < 20; ++i) absorb_both(model, ones, 256);
    Octets expected = ones;
    expected.front() = 0xff - 20;  // each time the sum decreases by 1, modulo 2^256
    EXPECT_EQ(hex(model.sum), hex(expected));
}

TEST_F(Absorption, length_carries_at_2_to_32_and_wraps_at_2_to_64) {
    const auto preset = [&](std::uint32_t low, std::uint32_t high) {
        const std::uint32_t words[] = {low, high, 1, 2, 3, 4, 5, 0xffffffff};
        std::memcpy(model.length.data(), words, sizeof words);
    };
    for (const std::uint32_t low : {0U, 0xfffffeffU, 0xffffff00U, 0xffffff01U, 0xffffffffU})
        for (const std::uint32_t high : {0U, 0xfffffffeU, 0xffffffffU})
            for (const unsigned bits : {8U, 256U, 0xffffffffU}) {
                preset(low, high);
                absorb_both(model, {}, bits);
                const std::uint64_t before = std::uint64_t{high} << 32 | low;
                std::uint64_t after;
                std::memcpy(&after, model.length.data(), sizeof after);
                EXPECT_EQ(after, before + bits);
            }
}

}  // namespace
