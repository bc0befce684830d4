// Constant-time arithmetic on 256-bit numbers: four 64-bit words, least significant first.
//
// Loops over words are unrolled explicitly. Otherwise -Os and -O1 keep the words in memory. Sums of four words use an
// assembly carry chain, because compilers break it up and need three times as long. Constant evaluation uses C++.
//
// Everything is a template over the word type and the word count, so that a test can try all numbers made of words of a
// few bits. In the comments, B = 2^64 is the base of the words, and N = B^count = 2^256.
#ifndef VRX_ECC_UINT256_WORDS_HPP
#define VRX_ECC_UINT256_WORDS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/barrier.hpp"

namespace vrx::uint256 {

__extension__ using u128 = unsigned __int128;
__extension__ using i128 = __int128;

template <typename Word, std::size_t count>
using WordsOf = std::array<Word, count>;
using Words = WordsOf<std::uint64_t, 4>;
using WideWords = WordsOf<std::uint64_t, 8>;

template <typename Word>
inline constexpr int word_bits = std::numeric_limits<Word>::digits;

/** The type of a product of two words. */
template <typename Word>
struct DoubleWordOf {
    using Type = typename Word::Twice;
};
template <>
struct DoubleWordOf<std::uint64_t> {
    using Type = u128;
};
template <typename Word>
using DoubleWord = typename DoubleWordOf<Word>::Type;

/** The template parameter Word is not deduced from an argument of this type. */
template <typename Word>
using Given = std::type_identity_t<Word>;

/** True if sums of these words use assembly. */
template <typename Word, std::size_t count>
inline constexpr bool has_assembly = std::is_same_v<WordsOf<Word, count>, Words>;

/** The low word of a + b + carry, for any carry. Replaces the carry by the carry out, 0 to 2. */
template <typename Word>
constexpr Word add_carry(Word a, Given<Word> b, Word& carry) {
    const DoubleWord<Word> sum = DoubleWord<Word>{a} + b + carry;
    carry = static_cast<Word>(sum >> word_bits<Word>);
    return static_cast<Word>(sum);
}

/** The low word of a - b - borrow, for a borrow of 0 or 1. Replaces the borrow by the borrow out. */
template <typename Word>
constexpr Word sub_borrow(Word a, Given<Word> b, Word& borrow) {
    const DoubleWord<Word> difference = DoubleWord<Word>{a} - b - borrow;
    borrow = static_cast<Word>(difference >> word_bits<Word>) & 1;
    return static_cast<Word>(difference);
}

/** The low word of a * b + c + carry, at most (B - 1)^2 + 2 (B - 1) = B^2 - 1. Replaces the carry by the high word. */
template <typename Word>
constexpr Word mul_add(Word a, Given<Word> b, Given<Word> c, Word& carry) {
    const DoubleWord<Word> sum = DoubleWord<Word>{a} * b + c + carry;
    carry = static_cast<Word>(sum >> word_bits<Word>);
    return static_cast<Word>(sum);
}

/**
 * Returns all ones for 1 and zero for 0. The compiler cannot tell the value of the mask, so it cannot turn arithmetic
 * on the mask into branches.
 */
template <typename Word>
constexpr Word mask(Word bit) {
    const Word m = Word{0} - bit;
    if constexpr (std::is_integral_v<Word>)
        return value_barrier(m);
    else
        return m;
}

/** Conditional move: a if the mask is all ones, b if it is zero. */
template <typename Word, std::size_t count>
constexpr WordsOf<Word, count> conditional_move(Word m, const WordsOf<Word, count>& a, const WordsOf<Word, count>& b) {
    WordsOf<Word, count> r{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) r[i] = (a[i] & m) | (b[i] & ~m);
    return r;
}

/** r = a + b modulo N, for any a and b. Returns the carry out, 0 or 1. */
template <typename Word, std::size_t count>
constexpr Word add(WordsOf<Word, count>& r, const WordsOf<Word, count>& a, const WordsOf<Word, count>& b) {
    if constexpr (has_assembly<Word, count>)
        if (!std::is_constant_evaluated()) {
            std::uint64_t r0 = a[0], r1 = a[1], r2 = a[2], r3 = a[3], carry = 0;
            asm("addq %[b0], %[r0]\n\t"
                "adcq %[b1], %[r1]\n\t"
                "adcq %[b2], %[r2]\n\t"
                "adcq %[b3], %[r3]\n\t"
                "adcq $0, %[carry]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [carry] "+&r"(carry)
                : [b0] "rm"(b[0]), [b1] "rm"(b[1]), [b2] "rm"(b[2]), [b3] "rm"(b[3])
                : "cc");
            r = {r0, r1, r2, r3};
            return carry;
        }
    Word carry = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) r[i] = add_carry(a[i], b[i], carry);
    return carry;
}

/** r = a - b modulo N, for any a and b. Returns the borrow out, 0 or 1. */
template <typename Word, std::size_t count>
constexpr Word sub(WordsOf<Word, count>& r, const WordsOf<Word, count>& a, const WordsOf<Word, count>& b) {
    if constexpr (has_assembly<Word, count>)
        if (!std::is_constant_evaluated()) {
            std::uint64_t r0 = a[0], r1 = a[1], r2 = a[2], r3 = a[3], borrow = 0;
            asm("subq %[b0], %[r0]\n\t"
                "sbbq %[b1], %[r1]\n\t"
                "sbbq %[b2], %[r2]\n\t"
                "sbbq %[b3], %[r3]\n\t"
                "adcq $0, %[borrow]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [borrow] "+&r"(borrow)
                : [b0] "rm"(b[0]), [b1] "rm"(b[1]), [b2] "rm"(b[2]), [b3] "rm"(b[3])
                : "cc");
            r = {r0, r1, r2, r3};
            return borrow;
        }
    Word borrow = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) r[i] = sub_borrow(a[i], b[i], borrow);
    return borrow;
}

/** r = r + a modulo N, for any r and word a. Returns the carry out, 0 or 1. */
template <typename Word, std::size_t count>
constexpr Word add_word(WordsOf<Word, count>& r, Given<Word> a) {
    Word carry = 0;
    if constexpr (has_assembly<Word, count>)
        if (!std::is_constant_evaluated()) {
            std::uint64_t r0 = r[0], r1 = r[1], r2 = r[2], r3 = r[3];
            asm("addq %[a], %[r0]\n\t"
                "adcq $0, %[r1]\n\t"
                "adcq $0, %[r2]\n\t"
                "adcq $0, %[r3]\n\t"
                "adcq $0, %[carry]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [carry] "+&r"(carry)
                : [a] "r"(a)
                : "cc");
            r = {r0, r1, r2, r3};
            return carry;
        }
    r[0] = add_carry(r[0], a, carry);
    for (std::size_t i = 1; i < count; ++i) r[i] = add_carry(r[i], 0, carry);
    return carry;
}

/** r = r - a modulo N, for any r and word a. Returns the borrow out, 0 or 1. */
template <typename Word, std::size_t count>
constexpr Word sub_word(WordsOf<Word, count>& r, Given<Word> a) {
    Word borrow = 0;
    if constexpr (has_assembly<Word, count>)
        if (!std::is_constant_evaluated()) {
            std::uint64_t r0 = r[0], r1 = r[1], r2 = r[2], r3 = r[3];
            asm("subq %[a], %[r0]\n\t"
                "sbbq $0, %[r1]\n\t"
                "sbbq $0, %[r2]\n\t"
                "sbbq $0, %[r3]\n\t"
                "adcq $0, %[borrow]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [borrow] "+&r"(borrow)
                : [a] "r"(a)
                : "cc");
            r = {r0, r1, r2, r3};
            return borrow;
        }
    r[0] = sub_borrow(r[0], a, borrow);
    for (std::size_t i = 1; i < count; ++i) r[i] = sub_borrow(r[i], 0, borrow);
    return borrow;
}

/** The final subtraction: returns a - m if a >= m, else a. The result is below m for any a below 2m. */
template <typename Word, std::size_t count>
constexpr WordsOf<Word, count> reduce_once(const WordsOf<Word, count>& a, const WordsOf<Word, count>& m) {
    WordsOf<Word, count> r{};
    const Word borrow = sub(r, a, m);
    return conditional_move(mask(borrow), a, r);
}

/** 1 if a is zero, else 0. */
template <typename Word, std::size_t count>
constexpr Word is_zero(const WordsOf<Word, count>& a) {
    Word any = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) any |= a[i];
    return 1 ^ ((any | (Word{0} - any)) >> (word_bits<Word> - 1));
}

/** Computes a b, which is below N^2 for any a and b. */
template <typename Word, std::size_t count>
constexpr WordsOf<Word, 2 * count> multiply(const WordsOf<Word, count>& a, const WordsOf<Word, count>& b) {
    WordsOf<Word, 2 * count> r{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < count; ++i) {
        Word carry = 0;
#pragma GCC unroll 4
        for (std::size_t j = 0; j < count; ++j) r[i + j] = mul_add(a[i], b[j], r[i + j], carry);
        r[i + count] = carry;
    }
    return r;
}

}  // namespace vrx::uint256

#endif
