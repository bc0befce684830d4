// CPU feature detection with CPUID and XGETBV.
#include "frame/cpu.hpp"

#include <cpuid.h>

#include <array>
#include <cstring>

namespace vrx::cpu {
namespace {

enum Register : std::uint8_t { ebx, ecx };

/** Register sets that the operating system must save, as bits of XCR0. */
enum Saved : std::uint32_t {
    sse_state = 0x02,  // present on every x86-64 system
    avx_state = 0x06,
    avx512_state = 0xe6,
};

/** The place of a feature's bit in the output of CPUID: a register of leaf 1, or of leaf 7, subleaf 0. */
struct Flag {
    std::uint32_t feature;
    unsigned leaf;
    Register reg;
    unsigned bit;
    Saved needs;
};

constexpr std::array flags = {
    Flag{ssse3, 1, ecx, 9, sse_state},          Flag{sse41, 1, ecx, 19, sse_state},
    Flag{sha, 7, ebx, 29, sse_state},           Flag{bmi2, 7, ebx, 8, sse_state},
    Flag{adx, 7, ebx, 19, sse_state},           Flag{avx2, 7, ebx, 5, avx_state},
    Flag{avx512f, 7, ebx, 16, avx512_state},    Flag{avx512bw, 7, ebx, 30, avx512_state},
    Flag{avx512vl, 7, ebx, 31, avx512_state},   Flag{avx512vbmi, 7, ecx, 1, avx512_state},
    Flag{avx512ifma, 7, ebx, 21, avx512_state}, Flag{bmi1, 7, ebx, 3, sse_state},
    Flag{avx, 1, ecx, 28, avx_state},
};

constexpr unsigned osxsave = 1U << 27;  // leaf 1, ecx: XCR0 can be read

std::uint32_t saved_state(unsigned leaf1_ecx) {
    if ((leaf1_ecx & osxsave) == 0) return sse_state;
    std::uint32_t low;
    std::uint32_t high;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

bool is_amd(const Leaf& leaf0) {
    const unsigned vendor[] = {leaf0.ebx, leaf0.edx, leaf0.ecx};
    return std::memcmp(vendor, "AuthenticAMD", sizeof vendor) == 0;
}

/** Adds the features that are not instruction sets: single_cycle_simd and large_l1. */
std::uint32_t traits(const Answers& a) {
    const unsigned family = (a.leaf1.eax >> 8 & 15) + (a.leaf1.eax >> 20 & 255);
    std::uint32_t found = is_amd(a.leaf0) && family >= 0x1a ? baseline : single_cycle_simd;
    const unsigned lines = a.cache.ebx;
    const unsigned sets = a.cache.ecx;
    const std::uint64_t size =
        ((lines >> 22) + 1ULL) * ((lines >> 12 & 1023) + 1) * ((lines & 4095) + 1) * (sets + 1ULL);
    if (size >= 48 * 1024) found |= large_l1;
    return found;
}

/** Returns a CPUID leaf, or zeros if the CPU does not support the leaf. */
Leaf ask(unsigned leaf) {
    Leaf a{};
    __get_cpuid_count(leaf, 0, &a.eax, &a.ebx, &a.ecx, &a.edx);
    return a;
}

}  // namespace

std::uint32_t features(const Answers& answers) {
    std::uint32_t found = traits(answers);
    for (const Flag& flag : flags) {
        const Leaf& leaf = flag.leaf == 1 ? answers.leaf1 : answers.leaf7;
        const unsigned announced = flag.reg == ebx ? leaf.ebx : leaf.ecx;
        if ((announced >> flag.bit & 1) != 0 && (answers.saved & flag.needs) == flag.needs) found |= flag.feature;
    }
    return found;
}

std::uint32_t features() {
    const Leaf leaf0 = ask(0);
    const Leaf leaf1 = ask(1);
    // Intel and AMD CPUs describe the cache in the same format, but in different leaves.
    return features({leaf0, leaf1, ask(7), ask(is_amd(leaf0) ? 0x8000001d : 4), saved_state(leaf1.ecx)});
}

}  // namespace vrx::cpu
