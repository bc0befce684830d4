// CPU features beyond the x86-64 baseline, for the selection of engines.
#ifndef VRX_FRAME_CPU_HPP
#define VRX_FRAME_CPU_HPP

#include <cstdint>
#include <iterator>
#include <type_traits>

namespace vrx::cpu {

// Sets of features. An engine may run if features() contains all that it needs.
inline constexpr std::uint32_t baseline = 0;
inline constexpr std::uint32_t ssse3 = 1U << 0;
inline constexpr std::uint32_t sse41 = 1U << 1;
inline constexpr std::uint32_t sha = 1U << 2;
inline constexpr std::uint32_t bmi2 = 1U << 3;
inline constexpr std::uint32_t adx = 1U << 4;
inline constexpr std::uint32_t avx2 = 1U << 5;
inline constexpr std::uint32_t avx512f = 1U << 6;
inline constexpr std::uint32_t avx512bw = 1U << 7;
inline constexpr std::uint32_t avx512vl = 1U << 8;
inline constexpr std::uint32_t avx512vbmi = 1U << 9;
inline constexpr std::uint32_t avx512ifma = 1U << 10;
inline constexpr std::uint32_t bmi1 = 1U << 11;
inline constexpr std::uint32_t avx = 1U << 14;
/** Not an instruction set: vector additions and shifts take one cycle. On AMD CPUs from family 1Ah they take two. */
inline constexpr std::uint32_t single_cycle_simd = 1U << 12;
/** Not an instruction set either: the L1 data cache has at least 48 KiB. */
inline constexpr std::uint32_t large_l1 = 1U << 13;

// Features that the compiler may use in the region frame/region_<name>.hpp. For the compiler AVX-512 implies AVX2.
inline constexpr std::uint32_t ssse3_region = ssse3;
inline constexpr std::uint32_t sha_region = sha | ssse3 | sse41;
inline constexpr std::uint32_t avx2_region = avx2 | bmi1;
inline constexpr std::uint32_t avx512_region = avx2_region | bmi2 | avx512f | avx512bw | avx512vl | avx512vbmi;
inline constexpr std::uint32_t ifma_region = avx2 | bmi2 | avx512f | avx512vl | avx512ifma;

/** The result of CPUID for one leaf. */
struct Leaf {
    unsigned eax, ebx, ecx, edx;
};

/** The values that CPUID and XCR0 report. */
struct Answers {
    Leaf leaf0, leaf1, leaf7;
    Leaf cache;           // of the L1 data cache: leaf 4, on AMD CPUs 8000001Dh
    std::uint32_t saved;  // XCR0: register sets that the operating system saves
};

/** Derives the features from what CPUID and XCR0 report. */
[[nodiscard]] std::uint32_t features(const Answers& answers);

/**
 * The features of this CPU. Features that need wider registers are included only if the operating system saves these
 * registers.
 *
 * Every call runs CPUID, which is slow: keep the result.
 */
[[nodiscard]] std::uint32_t features();

/** True if this CPU supports all features of a set. As slow as features(). */
[[nodiscard]] inline bool offers(std::uint32_t set) { return (set & ~features()) == 0; }

/** Returns the entry of a list of engines, or the engine to which it points. */
template <typename Entry>
[[nodiscard]] constexpr const auto& engine_of(const Entry& entry) {
    if constexpr (std::is_pointer_v<Entry>)
        return *entry;
    else
        return entry;
}

/** The first engine of a list that suits a CPU with these features. The last engine of a list suits every CPU. */
template <typename List>
[[nodiscard]] constexpr const auto& best_of(const List& list, std::uint32_t features) {
    auto best = std::begin(list);
    while ((engine_of(*best).suits() & ~features) != 0) ++best;
    return engine_of(*best);
}

}  // namespace vrx::cpu

#endif
