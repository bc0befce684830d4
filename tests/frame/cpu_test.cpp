// The features of the processor, beside what the compiler's own run time finds.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "frame/cpu.hpp"

namespace {

using namespace vrx;

bool has(std::uint32_t feature) { return (cpu::features() & feature) == feature; }

TEST(cpu, features_are_those_that_the_compiler_finds) {
    __builtin_cpu_init();
    EXPECT_EQ(has(cpu::ssse3), __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ(has(cpu::sse41), __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(has(cpu::bmi2), __builtin_cpu_supports("bmi2") != 0);
    EXPECT_EQ(has(cpu::avx2), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(has(cpu::avx512f), __builtin_cpu_supports("avx512f") != 0);
    EXPECT_EQ(has(cpu::avx512bw), __builtin_cpu_supports("avx512bw") != 0);
    EXPECT_EQ(has(cpu::avx512vl), __builtin_cpu_supports("avx512vl") != 0);
    EXPECT_EQ(has(cpu::avx512vbmi), __builtin_cpu_supports("avx512vbmi") != 0);
    EXPECT_EQ(has(cpu::avx512vbmi2), __builtin_cpu_supports("avx512vbmi2") != 0);
    EXPECT_EQ(has(cpu::avx512ifma), __builtin_cpu_supports("avx512ifma") != 0);
}

TEST(cpu, vectors_are_prompt_but_on_amd_processors_from_family_1ah) {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line) && line.rfind("cpu family", 0) != 0) continue;
    ASSERT_NE(line, "") << "no family in /proc/cpuinfo";
    const int family = std::stoi(line.substr(line.find(':') + 1));
    __builtin_cpu_init();
    EXPECT_EQ(has(cpu::prompt_vectors), __builtin_cpu_is("amd") == 0 || family < 0x1a);
}

TEST(cpu, the_nearest_cache_is_as_large_as_the_system_says) {
    std::ifstream info("/sys/devices/system/cpu/cpu0/cache/index0/size");
    unsigned size = 0;
    char unit = 0;
    if (!(info >> size >> unit) || unit != 'K') GTEST_SKIP() << "the system does not say";
    EXPECT_EQ(has(cpu::large_l1), size >= 48);
}

TEST(cpu, baseline_is_everywhere) { EXPECT_TRUE(has(cpu::baseline)); }

TEST(cpu, each_feature_has_a_bit_of_its_own) {
    const std::uint32_t all[] = {cpu::ssse3,       cpu::sse41,      cpu::sha,      cpu::bmi2,           cpu::adx,
                                 cpu::avx2,        cpu::avx512f,    cpu::avx512bw, cpu::avx512vl,       cpu::avx512vbmi,
                                 cpu::avx512vbmi2, cpu::avx512ifma, cpu::bmi1,     cpu::prompt_vectors, cpu::large_l1};
    std::uint32_t seen = 0;
    for (const std::uint32_t feature : all) {
        EXPECT_EQ(feature & (feature - 1), 0U);
        EXPECT_EQ(seen & feature, 0U);
        seen |= feature;
    }
}

}  // namespace
