// 256-bit numbers as four 64-bit words, least significant first. No branch and no address depends on a value.
//
// Loops over words ask to be unrolled: only then are the words kept in registers also where the compiler is told to be
// brief.
#ifndef VRX_ECC_FIELD_WORDS_HPP
#define VRX_ECC_FIELD_WORDS_HPP

#include <array>
#include <cstddef>
#include <cstdint>

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
    std::uint64_t carry = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) r[i] = add_carry(a[i], b[i], carry);
    return carry;
}

/** r = a - b; the borrow out. */
constexpr std::uint64_t sub(Words& r, const Words& a, const Words& b) {
    std::uint64_t borrow = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) r[i] = sub_borrow(a[i], b[i], borrow);
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

/** a * a: the products of unequal words once, doubled, and the squares of the words. */
constexpr WideWords square(const Words& a) {
    WideWords r{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 3; ++i) {
        std::uint64_t carry = 0;
#pragma GCC unroll 4
        for (std::size_t j = i + 1; j < 4; ++j) r[i + j] = mul_add(a[i], a[j], r[i + j], carry);
        r[i + 4] = carry;
    }
    r[7] = r[6] >> 63;
#pragma GCC unroll 4
    for (std::size_t i = 6; i > 1; --i) r[i] = r[i] << 1 | r[i - 1] >> 63;
    r[1] <<= 1;
    std::uint64_t carry = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        const u128 s = u128{a[i]} * a[i];
        r[2 * i] = add_carry(r[2 * i], static_cast<std::uint64_t>(s), carry);
        r[2 * i + 1] = add_carry(r[2 * i + 1], static_cast<std::uint64_t>(s >> 64), carry);
    }
    return r;
}

}  // namespace vrx::field

#endif
