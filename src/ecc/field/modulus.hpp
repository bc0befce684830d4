// Arithmetic modulo 256-bit numbers of three shapes.
//
// An element is held loosely, as any representative below 2^256 of its class (times 2^256 in Montgomery form);
// canonical() gives the one below the modulus. Every operation takes loose operands and yields a loose result, in time
// that depends on no value.
#ifndef VRX_ECC_FIELD_MODULUS_HPP
#define VRX_ECC_FIELD_MODULUS_HPP

#include "ecc/field/select.hpp"

namespace vrx::field {

/** What engines do in their own ways: products, and entries of tables. This is plain C++. */
struct PlainWords {
    template <typename Entry, std::size_t count>
    static Entry selected(const void* table, std::uint64_t index) {
        return field::selected<16, Entry, count>(table, index);
    }

    static constexpr WideWords multiply(const Words& a, const Words& b) { return field::multiply(a, b); }
    static constexpr WideWords square(const Words& a) { return field::multiply(a, a); }

    /** r = the low half of v plus factor times the high half; what is carried out. */
    static constexpr std::uint64_t add_multiple(Words& r, const WideWords& v, std::uint64_t factor) {
        std::uint64_t carry = 0;
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) r[i] = mul_add(v[4 + i], factor, v[i], carry);
        return carry;
    }

    /**
     * (a b + u m) / 2^256 for a u below 2^256 that makes this exact: below b + m. inverse is -1 / m modulo 2^64.
     */
    template <const Words& m, std::uint64_t inverse>
    static constexpr std::array<std::uint64_t, 5> montgomery(const Words& a, const Words& b) {
        std::array<std::uint64_t, 5> t{};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) {
            std::uint64_t carry = 0;
#pragma GCC unroll 4
            for (std::size_t j = 0; j < 4; ++j) t[j] = mul_add(a[i], b[j], t[j], carry);
            std::uint64_t top = 0;
            t[4] = add_carry(t[4], carry, top);
            const std::uint64_t u = t[0] * inverse;
            carry = 0;
            static_cast<void>(mul_add(u, m[0], t[0], carry));
#pragma GCC unroll 4
            for (std::size_t j = 1; j < 4; ++j) t[j - 1] = mul_add(u, m[j], t[j], carry);
            std::uint64_t again = 0;
            t[3] = add_carry(t[4], carry, again);
            t[4] = top + again;
        }
        return t;
    }
};

/** p = 2^256 - c, c below 2^16: 2^256 is c. */
template <std::uint64_t c, typename P = PlainWords>
struct BelowPower {
    using Engine = P;
    /** The same field in the way of another engine. */
    template <typename Other>
    using With = BelowPower<c, Other>;

    static_assert(c < 1 << 16);
    static constexpr Words modulus = {std::uint64_t{0} - c, ~std::uint64_t{0}, ~std::uint64_t{0}, ~std::uint64_t{0}};
    static constexpr Words one = {1, 0, 0, 0};

    static constexpr Words mul(const Words& a, const Words& b) { return reduce(P::multiply(a, b)); }
    static constexpr Words sqr(const Words& a) { return reduce(P::square(a)); }

    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const std::uint64_t carry = field::add(r, a, b);
        return fold(r, carry);
    }

    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        const std::uint64_t borrow = field::sub(r, a, b);
        const std::uint64_t again = sub_word(r, mask(borrow) & c);
        // A second borrow leaves a word 0 of at least 2^64 - c, which has room for c more.
        r[0] -= mask(again) & c;
        return r;
    }

    static constexpr Words enter(const Words& a) { return a; }
    static constexpr Words canonical(const Words& a) { return subtract_once(a, modulus); }

private:
    /** r + high * 2^256 for high below 2^47. */
    static constexpr Words fold(Words r, std::uint64_t high) {
        const std::uint64_t carry = add_word(r, high * c);
        // A carry leaves less than high * c, below 2^63, so word 0 has room for c more.
        r[0] += mask(carry) & c;
        return r;
    }

    static constexpr Words reduce(const WideWords& v) {
        Words low{};
        const std::uint64_t high = P::add_multiple(low, v, c);
        return fold(low, high);
    }
};

/** p = 2^255 + c, c below 2^16: 2^256 is -2c. */
template <std::uint64_t c, typename P = PlainWords>
struct AbovePower {
    using Engine = P;
    template <typename Other>
    using With = AbovePower<c, Other>;

    static_assert(c < 1 << 16);
    static constexpr Words modulus = {c, 0, 0, std::uint64_t{1} << 63};
    static constexpr Words one = {1, 0, 0, 0};

    static constexpr Words mul(const Words& a, const Words& b) { return reduce(P::multiply(a, b)); }
    static constexpr Words sqr(const Words& a) { return reduce(P::square(a)); }

    /** With a carry, p or 2p is taken off: whatever leaves bit 255 set, so that nothing is borrowed. */
    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const std::uint64_t carry = field::add(r, a, b);
        const std::uint64_t top = r[3] >> 63;
        r[3] |= carry << 63;
        static_cast<void>(sub_word(r, mask(carry) & (c << top)));
        return r;
    }

    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        const std::uint64_t borrow = field::sub(r, a, b);
        return raise(r, borrow);
    }

    static constexpr Words enter(const Words& a) { return a; }
    static constexpr Words canonical(const Words& a) { return subtract_once(a, modulus); }

private:
    /**
     * r - k * 2^256 for k below 2^46: 2k p or (2k - 1) p is added, the odd multiple where bit 255 of r is set and has
     * to make room. Either way bit 255 is free before the last addition, so one carry chain is all.
     */
    static constexpr Words raise(Words r, std::uint64_t k) {
        const std::uint64_t odd = r[3] >> 63 & (k | (std::uint64_t{0} - k)) >> 63;
        r[3] ^= odd << 63;
        static_cast<void>(add_word(r, (2 * k - odd) * c));
        return r;
    }

    static constexpr Words reduce(const WideWords& v) {
        // low - x is the complement of the complement of low plus x.
        WideWords complement = v;
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) complement[i] = ~v[i];
        Words r{};
        const std::uint64_t high = P::add_multiple(r, complement, 2 * c);
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) r[i] = ~r[i];
        return raise(r, high);
    }
};

/** Any odd modulus above 2^255. An element stands multiplied by 2^256 (P. L. Montgomery, 1985), always below the
 * modulus. */
template <Words m, typename P = PlainWords>
struct Montgomery {
    using Engine = P;
    template <typename Other>
    using With = Montgomery<m, Other>;

    static_assert(m[3] >> 63 == 1 && m[0] % 2 == 1);
    static constexpr Words modulus = m;

    /** 2^256 - m, below m: one in this form. */
    static constexpr Words one = [] {
        Words r{};
        sub(r, Words{}, m);
        return r;
    }();

    static constexpr Words mul(const Words& a, const Words& b) {
        const auto t = P::template montgomery<modulus, inverse>(a, b);
        return less_modulus({t[0], t[1], t[2], t[3]}, t[4]);
    }

    static constexpr Words sqr(const Words& a) { return mul(a, a); }

    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const std::uint64_t carry = field::add(r, a, b);
        return less_modulus(r, carry);
    }

    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        Words corrected{};
        const std::uint64_t borrow = field::sub(r, a, b);
        field::add(corrected, r, m);
        return select(mask(borrow), corrected, r);
    }

    /** Any 256-bit number, taken into this form. */
    static constexpr Words enter(const Words& a) { return mul(a, square_of_power); }
    static constexpr Words canonical(const Words& a) { return mul(a, {1, 0, 0, 0}); }

private:
    /** -1 / m modulo 2^64: each step of Newton's doubles the bits that are right. */
    static constexpr std::uint64_t inverse = [] {
        std::uint64_t x = m[0];
        for (int i = 0; i < 5; ++i) x *= 2 - m[0] * x;
        return std::uint64_t{0} - x;
    }();

    /** 2^512 modulo m. */
    static constexpr Words square_of_power = [] {
        Words r = one;
        for (int i = 0; i < 256; ++i) r = add(r, r);
        return r;
    }();

    /** a + high * 2^256, below 2m, less m where it is at least m. */
    static constexpr Words less_modulus(const Words& a, std::uint64_t high) {
        Words r{};
        const std::uint64_t borrow = field::sub(r, a, m);
        return select(mask(borrow & (high ^ 1)), a, r);
    }
};

}  // namespace vrx::field

#endif
