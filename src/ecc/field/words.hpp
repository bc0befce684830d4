// 256-bit numbers as four 64-bit words, least significant first. No branch and no address depends on a value.
//
// Loops over words ask to be unrolled: only then are the words kept in registers also where the compiler is told to be
// brief. Sums of four words have their chain of carries in assembly, since compilers break it up, in three times the
// time; what is computed while compiling has it in C++.
#ifndef VRX_ECC_FIELD_WORDS_HPP
#define VRX_ECC_FIELD_WORDS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vrx::field {

__extension__ using u128 = unsigned __int128;
__extension__ using i128 = __int128;

using Words = std::array<std::uint64_t, 4>;
using WideWords = std::array<std::uint64_t, 8>;

/** a + b + carry; the carry out replaces the carry. */
constexpr std::uint64_t add_carry(std::uint64_t a, std::uint64_t b, std::uint64_t& carry) {
    const u128 sum = u128{a} + b + carry;
    carry = static_cast<std::uint64_t>(sum >> 64);
    return static_cast<std::uint64_t>(sum);
}

/** a - b - borrow; the borrow out (0 or 1) replaces the borrow. */
constexpr std::uint64_t sub_borrow(std::uint64_t a, std::uint64_t b, std::uint64_t& borrow) {
    const u128 difference = u128{a} - b - borrow;
    borrow = static_cast<std::uint64_t>(difference >> 64) & 1;
    return static_cast<std::uint64_t>(difference);
}

/** a * b + c + carry, which fits two words; the high word replaces the carry. */
constexpr std::uint64_t mul_add(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t& carry) {
    const u128 sum = u128{a} * b + c + carry;
    carry = static_cast<std::uint64_t>(sum >> 64);
    return static_cast<std::uint64_t>(sum);
}

/** All ones for true, zero for false. */
constexpr std::uint64_t mask(std::uint64_t bit) { return std::uint64_t{0} - bit; }

/** a where the mask is all ones, b where it is zero. */
constexpr Words select(std::uint64_t m, const Words& a, const Words& b) {
    Words r{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) r[i] = (a[i] & m) | (b[i] & ~m);
    return r;
}

/** r = a + b; the carry out. */
constexpr std::uint64_t add(Words& r, const Words& a, const Words& b) {
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
    std::uint64_t carry = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) r[i] = add_carry(a[i], b[i], carry);
    return carry;
}

/** r = a - b; the borrow out. */
constexpr std::uint64_t sub(Words& r, const Words& a, const Words& b) {
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
    std::uint64_t borrow = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) r[i] = sub_borrow(a[i], b[i], borrow);
    return borrow;
}

/** r += a; the carry out. */
constexpr std::uint64_t add_word(Words& r, std::uint64_t a) {
    std::uint64_t carry = 0;
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
    for (std::size_t i = 1; i < 4; ++i) r[i] = add_carry(r[i], 0, carry);
    return carry;
}

/** r -= a; the borrow out. */
constexpr std::uint64_t sub_word(Words& r, std::uint64_t a) {
    std::uint64_t borrow = 0;
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
    for (std::size_t i = 1; i < 4; ++i) r[i] = sub_borrow(r[i], 0, borrow);
    return borrow;
}

/** a, less m where it is at least m. */
constexpr Words subtract_once(const Words& a, const Words& m) {
    Words r{};
    const std::uint64_t borrow = sub(r, a, m);
    return select(mask(borrow), a, r);
}

/** 1 where a is zero. */
constexpr std::uint64_t is_zero(const Words& a) {
    const std::uint64_t any = a[0] | a[1] | a[2] | a[3];
    return 1 ^ ((any | (std::uint64_t{0} - any)) >> 63);
}

constexpr WideWords multiply(const Words& a, const Words& b) {
    WideWords r{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint64_t carry = 0;
#pragma GCC unroll 4
        for (std::size_t j = 0; j < 4; ++j) r[i + j] = mul_add(a[i], b[j], r[i + j], carry);
        r[i + 4] = carry;
    }
    return r;
}

}  // namespace vrx::field

#endif
