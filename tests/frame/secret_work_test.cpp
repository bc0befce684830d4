// Tests of wiping, of copies of secrets, and of the registers that are erased after work on secrets.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <new>
#include <string>

#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"

namespace {

using namespace vrx;

TEST(Wipe, zeroes_these_bytes_alone) {
    std::array<std::uint8_t, 8> bytes;
    bytes.fill(0x5A);
    wipe(bytes.data() + 2, 5);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{0x5A, 0x5A, 0, 0, 0, 0, 0, 0x5A}));
}

TEST(Wipe, secret_is_zeroed_when_its_scope_ends) {
    using Words = std::array<std::uint32_t, 4>;
    alignas(Secret<Words>) std::uint8_t memory[sizeof(Secret<Words>)];
    auto* const secret = new (memory) Secret<Words>;
    secret->value = {1, 2, 3, 0xFFFFFFFF};
    secret->~Secret();
    asm volatile("" : : "r"(memory) : "memory");
    EXPECT_EQ(std::ranges::count(memory, 0), std::ssize(memory));
}

TEST(CopySecret, copies_any_length_and_nothing_else) {
    for (std::size_t size = 0; size <= longest_copy; ++size)
        // Copies between separate places, to the same place, and to overlapping places in both directions.
        for (const std::size_t to : {std::size_t{70}, std::size_t{3}, std::size_t{0}, std::size_t{10}}) {
            std::array<std::uint8_t, 140> bytes;
            for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i + 1);
            auto expected = bytes;
            for (std::size_t i = 0; i < size; ++i) expected[to + i] = bytes[3 + i];
            copy_secret(bytes.data() + to, bytes.data() + 3, size);
            EXPECT_EQ(bytes, expected) << size << " to " << to;
        }
}

TEST(SecretWork, runs_the_body_and_returns_its_result) {
    int runs = 0;
    EXPECT_EQ(secret_work<128>([&] { return ++runs + 4; }), 5);
    secret_work<128>([&] { ++runs; });
    EXPECT_EQ(runs, 2);
}

TEST(Erasers, are_selected_by_the_features_that_they_need) {
    const auto name = [](std::uint32_t features) { return std::string(cpu::best_of(erasers, features).name); };
    EXPECT_EQ(name(cpu::baseline), "sse2");
    EXPECT_EQ(name(cpu::avx512f | cpu::avx512vl), "avx512");
    EXPECT_EQ(name(cpu::avx | cpu::avx512f), "avx");
    EXPECT_EQ(name(cpu::avx | cpu::avx512vl), "avx");
    EXPECT_EQ(name(cpu::avx | cpu::avx512f | cpu::avx512vl), "avx512");
}

/** Returns whether a register that only AVX-512 has still holds its value after erase(). */
[[gnu::noinline, gnu::target("avx512f")]] bool high_register_is_kept(Registers registers) {
    std::uint64_t after[8];
    asm volatile("vpternlogd $0xff, %%zmm20, %%zmm20, %%zmm20" : : : "xmm20");
    erase({128, registers});
    asm volatile("vmovdqu64 %%zmm20, %0" : "=m"(after));
    return std::ranges::count(after, 0U) == 0;
}

TEST(Erasers, zero_the_registers_of_avx512_unless_the_work_does_not_use_them) {
    if (std::string(eraser().name) != "avx512") GTEST_SKIP() << "this CPU has no AVX-512, so no such registers";
    EXPECT_FALSE(high_register_is_kept(Registers::all));
    EXPECT_TRUE(high_register_is_kept(Registers::low));
}

}  // namespace
