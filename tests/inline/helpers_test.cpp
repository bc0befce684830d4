// Tests of helpers.h: wiping, comparison, names and texts of return codes.
#include <gtest/gtest.h>

#include <cstring>
#include <vrx.hpp>

#include "support/own_stack.hpp"
#include "vrx/helpers.h"

using namespace vrx::test;

namespace {

constexpr vrx::Error errors[] = {vrx::Error::failed,        vrx::Error::bad_params,     vrx::Error::random,
                                 vrx::Error::buffer_length, vrx::Error::block_multiple, vrx::Error::context_state,
                                 vrx::Error::unknown_tz,    vrx::Error::unknown_mode,   vrx::Error::unsupported_oid};

TEST(Helpers, wipe_zeroes_all_bytes_and_no_others) {
    Bytes bytes(40, 0xA5);
    vrx_wipe(&bytes[4], 32);
    Bytes expected(40, 0);
    std::fill_n(expected.begin(), 4, std::uint8_t{0xA5});
    std::fill_n(expected.end() - 4, 4, std::uint8_t{0xA5});
    EXPECT_EQ(bytes, expected);
}

TEST(Helpers, wipe_of_no_bytes_accepts_null) { vrx_wipe(nullptr, 0); }

const Bytes secret = {0x5a, 0x13, 0xc7, 0x88, 0x2f, 0x91, 0xee, 0x04, 0xb6, 0x6d, 0x3a, 0xd5, 0x70, 0x1c, 0x49, 0xf3};

/** Copies the secret to the stack, makes the compiler assume that it is read there, and zeroes it with `wipe`. */
template <typename Wipe>
[[gnu::noinline]] void use_secret(Wipe wipe) {
    std::uint8_t copy[16];
    std::memcpy(copy, secret.data(), sizeof copy);
    asm volatile("" : : "r"(copy) : "memory");
    wipe(copy, sizeof copy);
}

TEST(Helpers, wipe_leaves_no_secret_on_the_stack) {
    EXPECT_FALSE(
        holds_part_of(stack_after([] { use_secret([](void* p, std::size_t n) { vrx_wipe(p, n); }); }), secret));
}

TEST(Helpers, removed_memset_leaves_the_secret_on_the_stack) {
    EXPECT_TRUE(
        holds_part_of(stack_after([] { use_secret([](void* p, std::size_t n) { std::memset(p, 0, n); }); }), secret))
        << "the test above could not fail";
}

TEST(Helpers, equal_finds_a_difference_in_any_bit) {
    for (const std::size_t size : {1U, 8U, 31U, 32U, 64U, 100U}) {
        const Bytes a(size, 0x5A);
        EXPECT_EQ(vrx_equal(a.data(), Bytes(a).data(), size), 1);
        for (std::size_t bit = 0; bit < 8 * size; ++bit) {
            Bytes b = a;
            b[bit / 8] = static_cast<std::uint8_t>(b[bit / 8] ^ 1U << bit % 8);
            EXPECT_EQ(vrx_equal(a.data(), b.data(), size), 0) << bit;
        }
    }
    // Two differences with the same bits must not cancel each other.
    EXPECT_EQ(vrx_equal("ab", "ba", 2), 0);
    EXPECT_EQ(vrx_equal("aa", "bb", 2), 0);
}

TEST(Helpers, equal_reads_only_its_bytes) {
    EXPECT_EQ(vrx_equal("abc", "abd", 2), 1);
    EXPECT_EQ(vrx_equal("abc", "xyz", 0), 1);
    EXPECT_EQ(vrx_equal(nullptr, nullptr, 0), 1);
}

TEST(Helpers, names_and_texts_are_those_of_the_cxx_headers) {
    for (const vrx::Error error : errors) {
        EXPECT_STREQ(vrx_error_name(static_cast<int>(error)), vrx::name(error));
        EXPECT_STREQ(vrx_strerror(static_cast<int>(error)), vrx::text(error));
    }
    for (int code = -4000; code <= 10; ++code) {
        if (code == VRX_OK || std::ranges::count(errors, static_cast<vrx::Error>(code)) != 0) continue;
        EXPECT_STREQ(vrx_error_name(code), "VRX_ERR_?") << code;
        EXPECT_STREQ(vrx_strerror(code), "an unknown error") << code;
    }
    EXPECT_STREQ(vrx_error_name(VRX_OK), "VRX_OK");
    EXPECT_STREQ(vrx_strerror(VRX_OK), "success");
}

TEST(Helpers, codes_from_the_log_have_names) {
    EXPECT_STREQ(vrx_error_name(static_cast<int>(0xfffffffeU)), "VRX_ERR_BAD_PARAMS");
    EXPECT_STREQ(vrx_error_name(static_cast<int>(0xfffff447U)), "VRX_ERR_UNSUPPORTED_OID");
}

}  // namespace
