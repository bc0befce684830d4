// Tests of CPU feature detection: against the compiler's run-time library, the system, and simulated CPUs.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <fstream>
#include <span>
#include <string>

#include "frame/cpu.hpp"

namespace {

using namespace vrx;

bool has(std::uint32_t feature) { return (cpu::features() & feature) == feature; }

TEST(cpu, features_equal_those_of_the_compiler) {
    __builtin_cpu_init();
    EXPECT_EQ(has(cpu::ssse3), __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ(has(cpu::sse41), __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(has(cpu::bmi2), __builtin_cpu_supports("bmi2") != 0);
    EXPECT_EQ(has(cpu::avx), __builtin_cpu_supports("avx") != 0);
    EXPECT_EQ(has(cpu::avx2), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(has(cpu::avx512f), __builtin_cpu_supports("avx512f") != 0);
    EXPECT_EQ(has(cpu::avx512bw), __builtin_cpu_supports("avx512bw") != 0);
    EXPECT_EQ(has(cpu::avx512vl), __builtin_cpu_supports("avx512vl") != 0);
    EXPECT_EQ(has(cpu::avx512vbmi), __builtin_cpu_supports("avx512vbmi") != 0);
    EXPECT_EQ(has(cpu::avx512ifma), __builtin_cpu_supports("avx512ifma") != 0);
}

TEST(cpu, single_cycle_simd_is_reported_as_documented) {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line) && line.rfind("cpu family", 0) != 0) continue;
    ASSERT_NE(line, "") << "no family in /proc/cpuinfo";
    const int family = std::stoi(line.substr(line.find(':') + 1));
    __builtin_cpu_init();
    EXPECT_EQ(has(cpu::single_cycle_simd), __builtin_cpu_is("amd") == 0 || family < 0x1a);
}

TEST(cpu, large_l1_agrees_with_the_system) {
    std::ifstream info("/sys/devices/system/cpu/cpu0/cache/index0/size");
    unsigned size = 0;
    char unit = 0;
    if (!(info >> size >> unit) || unit != 'K')
        GTEST_SKIP() << "Linux does not report the size of the L1 cache here, so there is nothing to compare with";
    EXPECT_EQ(has(cpu::large_l1), size >= 48);
}

TEST(cpu, baseline_is_always_supported) { EXPECT_TRUE(has(cpu::baseline)); }

TEST(cpu, each_feature_has_its_own_bit) {
    const std::uint32_t all[] = {cpu::ssse3,
                                 cpu::sse41,
                                 cpu::sha,
                                 cpu::bmi2,
                                 cpu::adx,
                                 cpu::avx2,
                                 cpu::avx512f,
                                 cpu::avx512bw,
                                 cpu::avx512vl,
                                 cpu::avx512vbmi,
                                 cpu::avx512ifma,
                                 cpu::bmi1,
                                 cpu::single_cycle_simd,
                                 cpu::large_l1,
                                 cpu::avx};
    std::uint32_t seen = 0;
    for (const std::uint32_t feature : all) {
        EXPECT_TRUE(std::has_single_bit(feature));
        EXPECT_EQ(seen & feature, 0U);
        seen |= feature;
    }
}

// The bits are from the CPU manuals.
struct Announced {
    std::uint32_t feature;
    unsigned bit;
    unsigned cpu::Leaf::*reg;
    cpu::Leaf cpu::Answers::*leaf;
};
constexpr Announced legacy[] = {
    {cpu::ssse3, 9, &cpu::Leaf::ecx, &cpu::Answers::leaf1}, {cpu::sse41, 19, &cpu::Leaf::ecx, &cpu::Answers::leaf1},
    {cpu::bmi1, 3, &cpu::Leaf::ebx, &cpu::Answers::leaf7},  {cpu::bmi2, 8, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
    {cpu::adx, 19, &cpu::Leaf::ebx, &cpu::Answers::leaf7},  {cpu::sha, 29, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
};
constexpr Announced avx[] = {{cpu::avx, 28, &cpu::Leaf::ecx, &cpu::Answers::leaf1},
                             {cpu::avx2, 5, &cpu::Leaf::ebx, &cpu::Answers::leaf7}};
constexpr Announced avx512[] = {
    {cpu::avx512f, 16, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
    {cpu::avx512ifma, 21, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
    {cpu::avx512bw, 30, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
    {cpu::avx512vl, 31, &cpu::Leaf::ebx, &cpu::Answers::leaf7},
    {cpu::avx512vbmi, 1, &cpu::Leaf::ecx, &cpu::Answers::leaf7},
};

/** A CPU that reports no features. It is treated as one with single-cycle SIMD. */
constexpr cpu::Answers silent{};

std::uint32_t instructions(const cpu::Answers& answers) {
    return cpu::features(answers) & ~(cpu::single_cycle_simd | cpu::large_l1);
}

TEST(cpu, feature_needs_its_bit_and_operating_system_support) {
    const auto check = [](std::span<const Announced> list, std::uint32_t saved) {
        for (const Announced& a : list) {
            cpu::Answers answers = silent;
            answers.*a.leaf.*a.reg = 1U << a.bit;
            answers.saved = saved;
            EXPECT_EQ(instructions(answers), a.feature) << a.bit;
            for (std::uint32_t missing = 1; missing <= saved; missing <<= 1) {
                answers.saved = 0xffffffffU & ~missing;
                EXPECT_EQ(instructions(answers), (saved & missing) != 0 ? 0 : a.feature) << a.bit << ' ' << missing;
            }
        }
    };
    check(legacy, 0x02);
    check(avx, 0x06);
    check(avx512, 0xe6);
}

TEST(cpu, no_other_bit_enables_a_feature) {
    cpu::Answers answers = silent;
    answers.saved = 0xffffffffU;
    answers.leaf1 = answers.leaf7 = {0xffffffffU, 0xffffffffU, 0xffffffffU, 0xffffffffU};
    for (const std::span<const Announced> list : std::initializer_list<std::span<const Announced>>{legacy, avx, avx512})
        for (const Announced& a : list) answers.*a.leaf.*a.reg &= ~(1U << a.bit);
    EXPECT_EQ(instructions(answers), 0U);
}

TEST(cpu, only_amd_cpus_from_family_1ah_lack_single_cycle_simd) {
    const auto prompt = [](const char* vendor, unsigned family) {
        cpu::Answers answers = silent;
        std::memcpy(&answers.leaf0.ebx, vendor, 4);
        std::memcpy(&answers.leaf0.edx, vendor + 4, 4);
        std::memcpy(&answers.leaf0.ecx, vendor + 8, 4);
        // The base family is at most 15. For larger families, the extended family is added to it.
        answers.leaf1.eax = family <= 15 ? family << 8 : 15U << 8 | (family - 15) << 20;
        answers.leaf1.eax |= 0xf00ff0ffU;  // model and stepping
        return (cpu::features(answers) & cpu::single_cycle_simd) != 0;
    };
    for (const unsigned family : {6U, 0xfU, 0x17U, 0x19U}) EXPECT_TRUE(prompt("AuthenticAMD", family)) << family;
    for (const unsigned family : {0x1aU, 0x1bU, 0x2aU, 0x10eU}) EXPECT_FALSE(prompt("AuthenticAMD", family)) << family;
    for (const unsigned family : {6U, 0x1aU, 0x10eU}) EXPECT_TRUE(prompt("GenuineIntel", family)) << family;
    EXPECT_TRUE(prompt("AuthenticAMX", 0x1a));
}

TEST(cpu, l1_cache_is_large_from_48_kib) {
    const auto large = [](unsigned ways, unsigned partitions, unsigned line, unsigned sets) {
        cpu::Answers answers = silent;
        answers.cache.ebx = (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1);
        answers.cache.ecx = sets - 1;
        return (cpu::features(answers) & cpu::large_l1) != 0;
    };
    EXPECT_FALSE(large(8, 1, 64, 64));
    EXPECT_FALSE(large(11, 1, 64, 64));
    EXPECT_TRUE(large(12, 1, 64, 64));
    EXPECT_TRUE(large(6, 2, 64, 64));
    EXPECT_FALSE(large(6, 2, 64, 63));
    EXPECT_TRUE(large(1, 1024, 48, 1));
    EXPECT_TRUE(large(1, 1, 4096, 12));
    EXPECT_TRUE(large(1024, 1, 48, 1));
    EXPECT_TRUE(large(1, 1, 1, 48 * 1024));
    EXPECT_FALSE((cpu::features(silent) & cpu::large_l1) != 0);
}

TEST(cpu, best_engine_is_the_first_with_supported_features) {
    struct Entry {
        std::uint32_t needs;
        [[nodiscard]] constexpr std::uint32_t suits() const { return needs; }
    };
    constexpr Entry list[] = {{cpu::avx2 | cpu::adx}, {cpu::avx2}, {cpu::baseline}};
    const auto best = [&](std::uint32_t features) { return &cpu::best_of(list, features) - list; };
    EXPECT_EQ(best(cpu::avx2 | cpu::adx | cpu::sha), 0);
    EXPECT_EQ(best(cpu::avx2 | cpu::sha), 1);
    EXPECT_EQ(best(cpu::adx), 2);
    EXPECT_EQ(best(cpu::baseline), 2);
}

}  // namespace
