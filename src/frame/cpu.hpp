// What the processor can do beyond the x86-64 baseline, for choosing between variants of a function.
#ifndef VRX_FRAME_CPU_HPP
#define VRX_FRAME_CPU_HPP

#include <cstdint>
#include <functional>
#include <iterator>

namespace vrx::cpu {

// Sets of features: a variant may run where features() holds all that it needs.
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
inline constexpr std::uint32_t avx512vbmi2 = 1U << 10;
inline constexpr std::uint32_t avx512ifma = 1U << 11;
inline constexpr std::uint32_t bmi1 = 1U << 12;
/** Not an instruction: sums and shifts of vectors take one cycle. On AMD's processors from family 1Ah they take two. */
inline constexpr std::uint32_t prompt_vectors = 1U << 13;
/** Not an instruction either: the nearest cache for data has at least 48 KiB. */
inline constexpr std::uint32_t large_l1 = 1U << 14;

/** What one question to the processor brings. */
struct Leaf {
    unsigned eax, ebx, ecx, edx;
};

/** What a processor and its operating system say of themselves. */
struct Answers {
    Leaf leaf0, leaf1, leaf7;
    Leaf cache;           // the nearest for data: leaf 4, with AMD's processors 8000001Dh
    std::uint32_t saved;  // XCR0: the register sets that the system saves
};

/** The features that follow from them. */
[[nodiscard]] std::uint32_t features(const Answers& answers);

/**
 * The features of this processor. Those with wider registers count only where the operating system saves them.
 *
 * Asks the processor at every call, which is slow: the answer is for keeping.
 */
[[nodiscard]] std::uint32_t features();

/**
 * The first of a list that suits a processor with these features. The last of the list suits every processor.
 *
 * @param needs  what an entry of the list asks for: a member of it
 */
template <typename List, typename Needs>
[[nodiscard]] constexpr const auto& best_of(const List& list, Needs needs, std::uint32_t features) {
    auto best = std::begin(list);
    while ((std::invoke(needs, *best) & ~features) != 0) ++best;
    return *best;
}

}  // namespace vrx::cpu

#endif
