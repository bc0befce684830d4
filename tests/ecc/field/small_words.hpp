// Words of a few bits, which replace 64-bit words in exhaustive tests.
#ifndef VRX_TESTS_ECC_FIELD_SMALL_WORDS_HPP
#define VRX_TESTS_ECC_FIELD_SMALL_WORDS_HPP

#include "ecc/uint256/words.hpp"

namespace vrx::test {

/** A number modulo 2^bits, with the operators of an unsigned integer. All members are public, so it can be a template
 * argument. */
template <int bits>
struct SmallWord {
    static_assert(bits <= 16);
    using Twice = SmallWord<2 * (bits < 9 ? bits : 8)>;

    std::uint32_t value = 0;

    constexpr SmallWord() = default;
    constexpr SmallWord(std::uint64_t n) : value(static_cast<std::uint32_t>(n & all_ones)) {}
    /** Widening is implicit, narrowing is explicit and drops the upper bits. */
    template <int other>
    constexpr explicit(other > bits) SmallWord(SmallWord<other> n) : SmallWord(std::uint64_t{n.value}) {}

    friend constexpr SmallWord operator+(SmallWord a, SmallWord b) { return std::uint64_t{a.value} + b.value; }
    friend constexpr SmallWord operator-(SmallWord a, SmallWord b) { return std::uint64_t{a.value} - b.value; }
    friend constexpr SmallWord operator*(SmallWord a, SmallWord b) { return std::uint64_t{a.value} * b.value; }
    friend constexpr SmallWord operator&(SmallWord a, SmallWord b) { return a.value & b.value; }
    friend constexpr SmallWord operator|(SmallWord a, SmallWord b) { return a.value | b.value; }
    friend constexpr SmallWord operator^(SmallWord a, SmallWord b) { return a.value ^ b.value; }
    friend constexpr SmallWord operator~(SmallWord a) { return ~std::uint64_t{a.value}; }
    friend constexpr SmallWord operator<<(SmallWord a, int n) { return std::uint64_t{a.value} << n; }
    friend constexpr SmallWord operator>>(SmallWord a, int n) { return a.value >> n; }
    constexpr SmallWord& operator+=(SmallWord b) { return *this = *this + b; }
    constexpr SmallWord& operator-=(SmallWord b) { return *this = *this - b; }
    constexpr SmallWord& operator*=(SmallWord b) { return *this = *this * b; }
    constexpr SmallWord& operator|=(SmallWord b) { return *this = *this | b; }
    constexpr SmallWord& operator^=(SmallWord b) { return *this = *this ^ b; }
    constexpr bool operator==(const SmallWord&) const = default;
    constexpr explicit operator std::uint64_t() const { return value; }

private:
    static constexpr std::uint64_t all_ones = (std::uint64_t{1} << bits) - 1;
};

}  // namespace vrx::test

template <int bits>
inline constexpr int vrx::uint256::word_bits<vrx::test::SmallWord<bits>> = bits;

#endif
