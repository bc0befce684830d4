// Compares every field of a SHA-1 context after every call, and every compression function, with the model.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <cstring>

#include "model.hpp"
#include "sha1/compress.hpp"
#include "support/engines.hpp"
#include "support/random.hpp"
#include "vrx/sha1.h"

namespace {

using namespace vrx::test;

class Sha1Test : public testing::Test {
protected:
    void open() {
        ctx = random.value<sha_context>();
        const sha_context before = ctx;
        shaInit(&ctx);
        EXPECT_EQ(std::memcmp(ctx.data, before.data, sizeof ctx.data), 0) << "the data is left as it is";
        model = {};
        expect_fields();
    }
    void update(const Bytes& bytes) {
        const Bytes before = data();
        const std::size_t held = model.held.size();
        shaUpdate(&ctx, bytes.data(), bytes.size());
        model.update(bytes);
        expect_fields();
        const auto kept = static_cast<std::ptrdiff_t>(held + bytes.size());
        if (kept < 64) {
            EXPECT_EQ(Bytes(before.begin() + kept, before.end()), tail(kept)) << "data behind the message";
        }
    }
    void final() {
        std::array<std::uint8_t, 22> out{};
        out.front() = out.back() = 0x5a;
        const sha_context before = ctx;
        shaFinal(&ctx, &out[1]);
        const Bytes digest = model.final();
        EXPECT_EQ(hex(std::span(out).subspan(1, 20)), hex(digest));
        EXPECT_EQ(out.front(), 0x5a);
        EXPECT_EQ(out.back(), 0x5a);
        EXPECT_EQ(std::memcmp(ctx.digest, digest.data(), digest.size()), 0) << "the digest is left byte-swapped";
        EXPECT_EQ(ctx.count_hi, before.count_hi);
        EXPECT_EQ(ctx.count_lo, before.count_lo);
    }
    void expect_fields() {
        EXPECT_EQ(std::memcmp(ctx.digest, model.digest.data(), sizeof ctx.digest), 0);
        EXPECT_EQ(ctx.count_hi, model.count >> 32);
        EXPECT_EQ(ctx.count_lo, static_cast<std::uint32_t>(model.count));
        const Bytes now = data();
        EXPECT_TRUE(std::equal(model.held.begin(), model.held.end(), now.begin()));
    }
    [[nodiscard]] Bytes data() const {
        Bytes out(sizeof ctx.data);
        std::memcpy(out.data(), ctx.data, out.size());
        return out;
    }
    [[nodiscard]] Bytes tail(std::ptrdiff_t from) const {
        const Bytes now = data();
        return {now.begin() + from, now.end()};
    }
    /** Continues as if the given number of bytes, a multiple of 64, had been hashed. */
    void preset(std::uint64_t count) {
        ctx.count_hi = static_cast<std::uint32_t>(count >> 32);
        ctx.count_lo = static_cast<std::uint32_t>(count);
        model.count = count;
    }

    Random random;
    sha_context ctx;
    Sha1Model model;
};

TEST_F(Sha1Test, fields_follow_the_model_through_random_calls) {
    for (int round = 0; round < 200; ++round) {
        open();
        for (unsigned calls = random.below(8); calls != 0; --calls)
            update(random.bytes(random.below(random.coin() ? 70 : 400)));
        final();
    }
}

TEST_F(Sha1Test, every_length_of_two_blocks) {
    for (std::size_t length = 0; length <= 130; ++length) {
        open();
        update(random.bytes(length));
        final();
    }
}

TEST_F(Sha1Test, empty_update_changes_nothing_and_takes_null) {
    open();
    update(random.bytes(5));
    const sha_context before = ctx;
    shaUpdate(&ctx, nullptr, 0);
    EXPECT_EQ(std::memcmp(&ctx, &before, sizeof ctx), 0);
    open();
    const sha_context fresh = ctx;
    shaUpdate(&ctx, nullptr, 0);
    EXPECT_EQ(std::memcmp(&ctx, &fresh, sizeof ctx), 0);
}

TEST_F(Sha1Test, count_carries_from_its_low_to_its_high_word) {
    for (const std::uint64_t count :
         {0xffffffc0UL, 0x1ffffffc0UL, 0x1fffffffUL & ~63UL, 0x20000000UL, 0xffffffffffc0UL})
        for (const std::size_t length : {0UL, 1UL, 63UL, 64UL, 65UL, 200UL}) {
            open();
            preset(count);
            update(random.bytes(length));
            final();
        }
}

TEST_F(Sha1Test, count_is_in_bytes_with_the_high_word_first) {
    open();
    preset(0xfffffffc0);
    update(random.bytes(64));
    EXPECT_EQ(ctx.count_hi, 0x10U);
    EXPECT_EQ(ctx.count_lo, 0U);
    EXPECT_LT(offsetof(sha_context, count_hi), offsetof(sha_context, count_lo));
}

TEST_F(Sha1Test, one_call_of_2_to_32_bytes_is_hashed_but_counts_one_carry) {
    constexpr std::size_t size = (std::size_t{1} << 32) + 5;
    void* room = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(room, MAP_FAILED);
    auto* message = static_cast<std::uint8_t*>(room);  // untouched pages of zeros, and a last page with data
    const Bytes end = {1, 2, 3};
    std::copy(end.begin(), end.end(), message + size - end.size());
    shaInit(&ctx);
    ctx.count_lo = 0xfffffffe;  // 62 bytes are in the buffer
    shaUpdate(&ctx, message, size);
    munmap(room, size);
    EXPECT_EQ(ctx.count_hi, 1U);
    EXPECT_EQ(ctx.count_lo, 3U);
    const Bytes held = data();
    EXPECT_EQ(Bytes(held.begin(), held.begin() + 3), end);
}

TEST_F(Sha1Test, transform_takes_words_as_numbers) {
    for (int i = 0; i < 50; ++i) {
        ctx = random.value<sha_context>();
        Words h{};
        std::memcpy(h.data(), ctx.digest, sizeof ctx.digest);
        Bytes block;
        for (const std::uint32_t word : ctx.data)
            for (int bit = 24; bit >= 0; bit -= 8) block.push_back(static_cast<std::uint8_t>(word >> bit));
        const sha_context before = ctx;
        shaTransform(&ctx);
        const Words expected = model_compress(h, block);
        EXPECT_EQ(std::memcmp(ctx.digest, expected.data(), sizeof ctx.digest), 0);
        EXPECT_EQ(ctx.count_hi, before.count_hi);
        EXPECT_EQ(ctx.count_lo, before.count_lo);
    }
}

using CompressTest = vrx::test::EachEngine<vrx::sha1::choice>;
INSTANTIATE_TEST_SUITE_P(variants, CompressTest, vrx::test::each_of(vrx::sha1::engines), vrx::test::engine_name);

TEST_P(CompressTest, equals_the_model_at_any_address) {
    Random random;
    for (std::size_t blocks = 0; blocks < 20; ++blocks)
        for (std::size_t shift = 0; shift < 4; ++shift) {
            const Bytes data = random.bytes(64 * blocks + shift);
            auto h = random.value<Words>();
            Words expected = h;
            for (std::size_t i = 0; i < blocks; ++i)
                expected = model_compress(expected, std::span(data).subspan(shift + 64 * i, 64));
            GetParam()->run(h, data.data() + shift, blocks);
            EXPECT_EQ(h, expected);
        }
}

}  // namespace
