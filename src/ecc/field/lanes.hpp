// Constant-time arithmetic on eight field elements in parallel: each in a 64-bit lane, as five 52-bit limbs.
//
// Everything is a template over the lane type V: eight 64-bit words with a 52-bit multiply-add. V is IfmaLanes (AVX-512
// IFMA), or PlainLanes, which runs the same code on any CPU.
//
// Bounds. A multiplicand is an element with every limb from 0 to 2^52 - 1 and a value below 2.1 p. mul() and sqr() take
// and return multiplicands. Sums and differences work limb by limb, with signed limbs and without carries. carry()
// converts any combination between -31 p and 31 p to a multiplicand. mul_loose() and sqr_loose() do not carry their
// result. The limbs of that result are below 2^56. They are above -2^53 for p = 2^255 + c, and otherwise not negative.
// The value is below 2.1 p, so sums may have up to eight such terms. A test runs this code over intervals and so checks
// the bounds for all inputs.
#ifndef VRX_ECC_FIELD_LANES_HPP
#define VRX_ECC_FIELD_LANES_HPP

#include "ecc/field/limbs52.hpp"

namespace vrx::field {

template <typename V>
struct Element {
    V limb[limb_count];

    /** Adds limb by limb. The formulas keep limbs far below 2^63. */
    Element operator+(const Element& b) const {
        Element r;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = limb[i] + b.limb[i];
        return r;
    }
    Element operator-(const Element& b) const {
        Element r;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = limb[i] - b.limb[i];
        return r;
    }
};

template <typename V>
Element<V> broadcast(const Limbs52& a) {
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = V::all(a.limb[i]);
    return r;
}

/**
 * Converts signed limbs between -2^62 and 2^62 to 52-bit limbs by carries. The last limb is not reduced to 52 bits and
 * has the sign of the value.
 */
template <typename V>
Element<V> carried(Element<V> a) {
#pragma GCC unroll 10
    for (std::size_t i = 0; i + 1 < limb_count; ++i) {
        a.limb[i + 1] = a.limb[i + 1] + V::shift_right_signed(a.limb[i], 52);
        a.limb[i] = a.limb[i] & V::all(mask52);
    }
    return a;
}

/** The ten columns of a product. Column i is the coefficient of 2^(52 i), and it is below 2^56. */
template <typename V>
struct Columns {
    V column[2 * limb_count];
};

/** a b, for multiplicands. A column adds up at most nine low and high halves, so it is below 9 * 2^52. */
template <typename V>
Columns<V> product(const Element<V>& a, const Element<V>& b) {
    Columns<V> low;
    Columns<V> high;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = high.column[i] = V::all(0);
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i)
#pragma GCC unroll 10
        for (std::size_t j = 0; j < limb_count; ++j) {
            low.column[i + j] = V::add_low_product(low.column[i + j], a.limb[i], b.limb[j]);
            high.column[i + j + 1] = V::add_high_product(high.column[i + j + 1], a.limb[i], b.limb[j]);
        }
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = low.column[i] + high.column[i];
    return low;
}

/** Computes the difference of two products. Its columns are signed, and their absolute values are below 9 * 2^52. */
template <typename V>
Columns<V> operator-(Columns<V> a, const Columns<V>& b) {
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) a.column[i] = a.column[i] - b.column[i];
    return a;
}

/** a^2, for a multiplicand, with the bounds of product(). */
template <typename V>
Columns<V> square(const Element<V>& a) {
    Columns<V> low;
    Columns<V> high;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = high.column[i] = V::all(0);
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i)
#pragma GCC unroll 10
        for (std::size_t j = i + 1; j < limb_count; ++j) {
            low.column[i + j] = V::add_low_product(low.column[i + j], a.limb[i], a.limb[j]);
            high.column[i + j + 1] = V::add_high_product(high.column[i + j + 1], a.limb[i], a.limb[j]);
        }
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) {
        low.column[i] = low.column[i] + high.column[i];
        low.column[i] = low.column[i] + low.column[i];
    }
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) {
        low.column[2 * i] = V::add_low_product(low.column[2 * i], a.limb[i], a.limb[i]);
        low.column[2 * i + 1] = V::add_high_product(low.column[2 * i + 1], a.limb[i], a.limb[i]);
    }
    return low;
}

/**
 * Multiplies the five high columns, as a number of its own, by a factor below 2^18. Sets sum[i] to the coefficient of
 * 2^(52 i) of the product. sum[0] to sum[4] are below 2^52 + 2^19, and sum[5] is below 2^18. The columns of c must not
 * be negative.
 */
template <typename V>
void scaled_high_half(const Columns<V>& c, std::uint64_t factor, V (&sum)[limb_count + 1]) {
    const V f = V::all(factor);
    const V zero = V::all(0);
    // The multiply-add reads the low 52 bits of a column. The bits above belong to the next column. The three terms of
    // a sum stay separate until the end, because each link of a multiply-add chain adds four cycles of latency.
    sum[0] = V::add_low_product(zero, c.column[limb_count], f);
#pragma GCC unroll 10
    for (std::size_t i = 1; i < limb_count; ++i) {
        const V& below = c.column[limb_count + i - 1];
        const V excess = V::add_low_product(zero, V::shift_right_signed(below, 52), f);
        sum[i] = V::add_low_product(zero, c.column[limb_count + i], f) + (V::add_high_product(zero, below, f) + excess);
    }
    sum[limb_count] = V::add_high_product(zero, c.column[2 * limb_count - 1], f);
}

/** Field arithmetic in eight lanes, for the scalar field S. */
template <typename V, typename S>
struct LaneField;

template <typename V, std::uint64_t c>
struct LaneField<V, PseudoMersenneMinus<c>> {
    static_assert(16 * c < 1 << 18);
    using Scalar = PseudoMersenneMinus<c>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    /** a b - u v, without carries. */
    static Element<V> difference_loose(const Element<V>& a, const Element<V>& b, const Element<V>& u,
                                       const Element<V>& v) {
        return mul_loose(a, b) - mul_loose(u, v);
    }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }
    static Element<V> carry(const Element<V>& a) {
        return carried(fold(a + broadcast<V>(multiple(Scalar::modulus, 32))));
    }

private:
    /**
     * Replaces the part h 2^256 of the value by c h. The result is below 2^256, plus the excess of the other limbs over
     * 52 bits. The last limb must be from 0 to 2^58.
     */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 48);
        a.limb[4] = a.limb[4] & V::all(mask52 >> 4);
        a.limb[0] = V::add_low_product(a.limb[0], top, V::all(c));
        return a;
    }

    /** Reduces columns to an element, because 2^260 = 16 c modulo p. The limbs of the result are from 0 to 9 * 2^52. */
    static Element<V> reduced(const Columns<V>& v) {
        V high[limb_count + 1];
        scaled_high_half(v, 16 * c, high);
        Element<V> r;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = v.column[i] + high[i];
        r.limb[0] = V::add_low_product(r.limb[0], high[limb_count], V::all(16 * c));
        return fold(r);
    }
};

template <typename V, std::uint64_t c>
struct LaneField<V, PseudoMersennePlus<c>> {
    static_assert(32 * c < 1 << 18);
    using Scalar = PseudoMersennePlus<c>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    /** a b - u v, without carries. */
    static Element<V> difference_loose(const Element<V>& a, const Element<V>& b, const Element<V>& u,
                                       const Element<V>& v) {
        return mul_loose(a, b) - mul_loose(u, v);
    }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }
    static Element<V> carry(const Element<V>& a) {
        return carried(fold(a + broadcast<V>(multiple(Scalar::modulus, 32))));
    }

private:
    /**
     * Replaces the part h 2^255 of the value by -c h, and adds p to keep the value positive. The result is below 2^256,
     * plus the excess of the other limbs over 52 bits. The last limb must be from 0 to 2^58.
     */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 47);
        a.limb[4] = (a.limb[4] & V::all(mask52 >> 5)) + V::all(std::uint64_t{1} << 47);
        a.limb[0] = a.limb[0] + V::all(c) - V::add_low_product(V::all(0), top, V::all(c));
        return a;
    }

    /**
     * Reduces columns to an element, because 2^260 = -32 c modulo p. Adds 256 p to keep the last limb positive. The
     * limbs of the result are from -2^53 to 8 * 2^52.
     */
    static Element<V> reduced(const Columns<V>& v) {
        V high[limb_count + 1];
        scaled_high_half(v, 32 * c, high);
        Element<V> r = broadcast<V>(multiple(Scalar::modulus, 256));
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = r.limb[i] + v.column[i] - high[i];
        r.limb[0] = V::add_low_product(r.limb[0], high[limb_count], V::all(32 * c));
        return fold(r);
    }
};

/** Montgomery form with the factor 2^260. */
template <typename V, Words m>
struct LaneField<V, Montgomery<m>> {
    using Scalar = Montgomery<m>;
    static constexpr Limbs52 modulus = to_limbs52(m);
    /**
     * 2^58 / (the last limb of the modulus + 1), rounded down. Because of the + 1, no estimate of a quotient is too
     * large.
     */
    static constexpr std::uint64_t reciprocal = (std::uint64_t{1} << 58) / (modulus.limb[4] + 1);

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    /** a b - u v, without carries. */
    static Element<V> difference_loose(const Element<V>& a, const Element<V>& b, const Element<V>& u,
                                       const Element<V>& v) {
        return reduced(product(a, b) - product(u, v));
    }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }

    /** Adds 32 m to keep the value positive, and subtracts the multiple of m that the last limb yields. The estimate of
     * the quotient is at most one too small. */
    static Element<V> carry(const Element<V>& a) {
        Element<V> r = a + broadcast<V>(multiple(m, 32));
        const V quotient = V::add_high_product(V::all(0), V::shift_right_signed(r.limb[4], 6), V::all(reciprocal));
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) {
            const V limb = V::all(modulus.limb[i]);
            r.limb[i] = r.limb[i] - V::add_low_product(V::all(0), quotient, limb);
            const V high = V::add_high_product(V::all(0), quotient, limb);
            if (i + 1 < limb_count)
                r.limb[i + 1] = r.limb[i + 1] - high;
            else
                r.limb[i] = r.limb[i] - V::shift_left(high, 52);
        }
        return carried(r);
    }

private:
    /** -1 / m modulo 2^52. */
    static constexpr std::uint64_t inverse = [] {
        std::uint64_t x = m[0];
        for (int i = 0; i < 5; ++i) x *= 2 - m[0] * x;
        return (std::uint64_t{0} - x) & mask52;
    }();

    /**
     * Montgomery reduction, for columns between -9 * 2^52 and 9 * 2^52: for each limb, adds the multiple of m that sets
     * the lowest column to 0. The result is at most the value divided by 2^260, plus m. Its limbs are from 0 to 14 *
     * 2^52 for a product, and from -8 * 2^52 for a difference.
     */
    static Element<V> reduced(Columns<V> v) {
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) {
            const V u = V::add_low_product(V::all(0), v.column[i], V::all(inverse));
#pragma GCC unroll 10
            for (std::size_t j = 0; j < limb_count; ++j) {
                const V limb = V::all(modulus.limb[j]);
                v.column[i + j] = V::add_low_product(v.column[i + j], u, limb);
                v.column[i + j + 1] = V::add_high_product(v.column[i + j + 1], u, limb);
            }
            v.column[i + 1] = v.column[i + 1] + V::shift_right_signed(v.column[i], 52);
        }
        Element<V> r;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = v.column[limb_count + i];
        return r;
    }
};

}  // namespace vrx::field

#endif
