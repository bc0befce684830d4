// Eight independent field elements side by side, one a 64-bit lane, as five limbs of 52 bits.
//
// Everything here is a template over the lane type V, which is eight 64-bit words with the multiply-add of two 52-bit
// numbers: the processor's (AVX-512 IFMA) or plain arrays, which run the same lines anywhere. No branch and no address
// depends on a value.
//
// Bounds. A multiplicand is an element with every limb in 0 to 2^52 - 1 and a value below 2.1 p: what mul() and sqr()
// yield. Sums and differences are taken limb by limb with signed limbs and without carries; carry() makes a
// multiplicand of any combination that stays between -31 p and 31 p. mul_loose() and sqr_loose() leave out the carries
// of their result: its limbs are below 2^56, and above -2^53 for p = 2^255 + c, else not negative, and its value is
// below 2.1 p, which is good for sums with up to eight terms. A test runs these lines over intervals, which stand for
// all inputs.
#ifndef VRX_ECC_FIELD_LANES_HPP
#define VRX_ECC_FIELD_LANES_HPP

#include "ecc/field/limbs52.hpp"

namespace vrx::field {

template <typename V>
struct Element {
    V limb[limb_count];

    /** Limb by limb; limbs are far from 2^63, the formulas see to it. */
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

/** Signed limbs, within 2^62, to limbs of 52 bits; the last takes the rest, so it has the sign of the value. */
template <typename V>
Element<V> carried(Element<V> a) {
#pragma GCC unroll 10
    for (std::size_t i = 0; i + 1 < limb_count; ++i) {
        a.limb[i + 1] = a.limb[i + 1] + V::shift_right_signed(a.limb[i], 52);
        a.limb[i] = a.limb[i] & V::all(mask52);
    }
    return a;
}

/** The ten columns of a product: sums of low halves at 2^(52 i), of high halves one further. Each is below 2^56. */
template <typename V>
struct Columns {
    V column[2 * limb_count];
};

/** For multiplicands. At most five low and four high halves, or four and five, meet in a column: below 9 * 2^52. */
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

/** Columns then are signed, within 9 * 2^52. */
template <typename V>
Columns<V> operator-(Columns<V> a, const Columns<V>& b) {
#pragma GCC unroll 10
    for (std::size_t i = 0; i < 2 * limb_count; ++i) a.column[i] = a.column[i] - b.column[i];
    return a;
}

/** For a multiplicand, in the bounds of product(). */
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
 * The high five columns times a factor below 2^18, as columns at 2^0, each below 2^52 + 2^19; the last, below 2^18, is
 * what reaches 2^260. Columns are not negative.
 */
template <typename V>
void scaled_high_half(const Columns<V>& c, std::uint64_t factor, V (&sum)[limb_count + 1]) {
    const V f = V::all(factor);
    const V zero = V::all(0);
    // The multiply-add takes the low 52 bits of a column; what lies above belongs to the next one. Three terms to a
    // sum, apart until the end: a chain of multiply-adds would be four cycles longer a link.
    sum[0] = V::add_low_product(zero, c.column[limb_count], f);
#pragma GCC unroll 10
    for (std::size_t i = 1; i < limb_count; ++i) {
        const V& below = c.column[limb_count + i - 1];
        const V excess = V::add_low_product(zero, V::shift_right_signed(below, 52), f);
        sum[i] = V::add_low_product(zero, c.column[limb_count + i], f) + (V::add_high_product(zero, below, f) + excess);
    }
    sum[limb_count] = V::add_high_product(zero, c.column[2 * limb_count - 1], f);
}

/** The arithmetic of a modulus in eight lanes, beside its scalar form S. */
template <typename V, typename S>
struct LaneField;

template <typename V, std::uint64_t c>
struct LaneField<V, PseudoMersenneMinus<c>> {
    static_assert(16 * c < 1 << 18);
    using Scalar = PseudoMersenneMinus<c>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    /** a b - u v, as loose as a difference of two products. */
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
     * Bits from 2^256 on go to the bottom, times c: below 2^256 plus what the other limbs exceed 52 bits by. The last
     * limb is not negative and below 2^58.
     */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 48);
        a.limb[4] = a.limb[4] & V::all(mask52 >> 4);
        a.limb[0] = V::add_low_product(a.limb[0], top, V::all(c));
        return a;
    }

    /** 2^260 is 16 c. Limbs from 0 to 9 * 2^52. */
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
    /** a b - u v, as loose as a difference of two products. */
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
     * Bits from 2^255 on go to the bottom, times -c, and one p keeps the value positive: below 2^256 plus what the
     * other limbs exceed 52 bits by. The last limb is not negative and below 2^58.
     */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 47);
        a.limb[4] = (a.limb[4] & V::all(mask52 >> 5)) + V::all(std::uint64_t{1} << 47);
        a.limb[0] = a.limb[0] + V::all(c) - V::add_low_product(V::all(0), top, V::all(c));
        return a;
    }

    /** 2^260 is -32 c. 256 p make up for what the high half takes off the last limb. Limbs from -2^53 to 8 * 2^52. */
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

/** Montgomery's form with 2^260: an element stands multiplied by that. */
template <typename V, Words m>
struct LaneField<V, Montgomery<m>> {
    using Scalar = Montgomery<m>;
    static constexpr Limbs52 modulus = to_limbs52(m);
    /** 2^58 over the last limb of the modulus, rounded down so far that no quotient is too large. */
    static constexpr std::uint64_t reciprocal = (std::uint64_t{1} << 58) / (modulus.limb[4] + 1);

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    /** a b - u v, as loose as a difference of two products. */
    static Element<V> difference_loose(const Element<V>& a, const Element<V>& b, const Element<V>& u,
                                       const Element<V>& v) {
        return reduced(product(a, b) - product(u, v));
    }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }

    /** 32 m keep the value positive; then the quotient by m, estimated from the last limb one too small at the most, is
     * taken off. */
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
     * Limb by limb the multiple of m that clears the lowest column is added. For columns within 9 * 2^52; the value is
     * that of the columns divided by 2^260, plus m at most. Limbs of a product from 0 to 14 * 2^52, of a difference
     * from -8 * 2^52 on.
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
