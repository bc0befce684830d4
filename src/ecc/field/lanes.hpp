// Eight independent field elements side by side, one a 64-bit lane, as five limbs of 52 bits.
//
// Everything here is a template over the lane type V, which is eight 64-bit words with the multiply-add of two 52-bit numbers:
// the processor's (AVX-512 IFMA) or plain arrays, which run the same lines anywhere. No branch and no address depends on a value.
//
// Bounds. A multiplicand is an element with every limb in 0 to 2^52 - 1 and a value below 2.1 p: what mul() and sqr() yield. Sums and
// differences are taken limb by limb with signed limbs and without carries; carry() makes a multiplicand of any combination
// that stays between -31 p and 31 p. mul_loose() and sqr_loose() leave out the carries of their result: its limbs are below
// 2^57 and its value below 2.1 p, which is good for sums with up to eight terms.
#ifndef VRX_ECC_FIELD_LANES_HPP
#define VRX_ECC_FIELD_LANES_HPP

#include <cstddef>
#include <cstdint>

#include "ecc/field/modulus.hpp"

namespace vrx::field {

inline constexpr std::size_t lane_count = 8;
inline constexpr std::size_t limb_count = 5;
inline constexpr std::uint64_t mask52 = (std::uint64_t{1} << 52) - 1;

struct Limbs52 {
    std::uint64_t limb[limb_count];
};

constexpr Limbs52 to_limbs52(const Words& a) {
    return {{a[0] & mask52, (a[0] >> 52 | a[1] << 12) & mask52, (a[1] >> 40 | a[2] << 24) & mask52,
             (a[2] >> 28 | a[3] << 36) & mask52, a[3] >> 16}};
}

/** For carried limbs of a number below 2^256. */
constexpr Words from_limbs52(const Limbs52& a) {
    return {a.limb[0] | a.limb[1] << 52, a.limb[1] >> 12 | a.limb[2] << 40, a.limb[2] >> 24 | a.limb[3] << 28,
            a.limb[3] >> 36 | a.limb[4] << 16};
}

/** n times a number of 256 bits, limb by limb (not carried). */
constexpr Limbs52 multiple(const Words& a, std::uint64_t n) {
    Limbs52 r = to_limbs52(a);
    for (std::uint64_t& limb : r.limb) limb *= n;
    return r;
}

template <typename V>
struct Element {
    V limb[limb_count];

    Element operator+(const Element& b) const {
        Element r;
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = limb[i] + b.limb[i];
        return r;
    }
    Element operator-(const Element& b) const {
        Element r;
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = limb[i] - b.limb[i];
        return r;
    }
};

template <typename V>
Element<V> broadcast(const Limbs52& a) {
    Element<V> r;
    for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = V::all(a.limb[i]);
    return r;
}

/** Signed limbs to limbs of 52 bits; the last takes the rest. */
template <typename V>
Element<V> carried(Element<V> a) {
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

template <typename V>
Columns<V> product(const Element<V>& a, const Element<V>& b) {
    Columns<V> low;
    Columns<V> high;
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = high.column[i] = V::all(0);
    for (std::size_t i = 0; i < limb_count; ++i)
        for (std::size_t j = 0; j < limb_count; ++j) {
            low.column[i + j] = V::add_low_product(low.column[i + j], a.limb[i], b.limb[j]);
            high.column[i + j + 1] = V::add_high_product(high.column[i + j + 1], a.limb[i], b.limb[j]);
        }
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = low.column[i] + high.column[i];
    return low;
}

template <typename V>
Columns<V> square(const Element<V>& a) {
    Columns<V> low;
    Columns<V> high;
    for (std::size_t i = 0; i < 2 * limb_count; ++i) low.column[i] = high.column[i] = V::all(0);
    for (std::size_t i = 0; i < limb_count; ++i)
        for (std::size_t j = i + 1; j < limb_count; ++j) {
            low.column[i + j] = V::add_low_product(low.column[i + j], a.limb[i], a.limb[j]);
            high.column[i + j + 1] = V::add_high_product(high.column[i + j + 1], a.limb[i], a.limb[j]);
        }
    for (std::size_t i = 0; i < 2 * limb_count; ++i) {
        low.column[i] = low.column[i] + high.column[i];
        low.column[i] = low.column[i] + low.column[i];
    }
    for (std::size_t i = 0; i < limb_count; ++i) {
        low.column[2 * i] = V::add_low_product(low.column[2 * i], a.limb[i], a.limb[i]);
        low.column[2 * i + 1] = V::add_high_product(low.column[2 * i + 1], a.limb[i], a.limb[i]);
    }
    return low;
}

/** The high five columns times a factor below 2^18, as columns at 2^0; the last is what reaches 2^260. */
template <typename V>
void scaled_high_half(const Columns<V>& c, std::uint64_t factor, V (&sum)[limb_count + 1]) {
    const V f = V::all(factor);
    const V zero = V::all(0);
    // The multiply-add takes the low 52 bits of a column; what lies above belongs to the next one. Three terms to a sum, apart
    // until the end: a chain of multiply-adds would be four cycles longer a link.
    sum[0] = V::add_low_product(zero, c.column[limb_count], f);
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
struct LaneField<V, BelowPower<c>> {
    using Scalar = BelowPower<c>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }
    static Element<V> carry(const Element<V>& a) {
        return carried(fold(a + broadcast<V>(multiple(Scalar::modulus, 32))));
    }

    static constexpr Limbs52 enter(const Words& a) { return to_limbs52(a); }
    static constexpr Words leave(const Words& a) { return a; }

private:
    /** Bits from 2^256 on go to the bottom, times c. The value is not negative. */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 48);
        a.limb[4] = a.limb[4] & V::all(mask52 >> 4);
        a.limb[0] = V::add_low_product(a.limb[0], top, V::all(c));
        return a;
    }

    /** 2^260 is 16 c. */
    static Element<V> reduced(const Columns<V>& v) {
        V high[limb_count + 1];
        scaled_high_half(v, 16 * c, high);
        Element<V> r;
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = v.column[i] + high[i];
        r.limb[0] = V::add_low_product(r.limb[0], high[limb_count], V::all(16 * c));
        return fold(r);
    }
};

template <typename V, std::uint64_t c>
struct LaneField<V, AbovePower<c>> {
    using Scalar = AbovePower<c>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }
    static Element<V> carry(const Element<V>& a) {
        return carried(fold(a + broadcast<V>(multiple(Scalar::modulus, 32))));
    }

    static constexpr Limbs52 enter(const Words& a) { return to_limbs52(a); }
    static constexpr Words leave(const Words& a) { return a; }

private:
    /** Bits from 2^255 on go to the bottom, times -c, and one p keeps the value positive. */
    static Element<V> fold(Element<V> a) {
        const V top = V::shift_right_signed(a.limb[4], 47);
        a.limb[4] = (a.limb[4] & V::all(mask52 >> 5)) + V::all(std::uint64_t{1} << 47);
        a.limb[0] = a.limb[0] + V::all(c) - V::add_low_product(V::all(0), top, V::all(c));
        return a;
    }

    /** 2^260 is -32 c. 256 p make up for what the high half takes off the last limb. */
    static Element<V> reduced(const Columns<V>& v) {
        V high[limb_count + 1];
        scaled_high_half(v, 32 * c, high);
        Element<V> r = broadcast<V>(multiple(Scalar::modulus, 256));
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = r.limb[i] + v.column[i] - high[i];
        r.limb[0] = V::add_low_product(r.limb[0], high[limb_count], V::all(32 * c));
        return fold(r);
    }
};

/** Montgomery's form with 2^260: an element stands multiplied by that. */
template <typename V, Words m>
struct LaneField<V, Montgomery<m>> {
    using Scalar = Montgomery<m>;

    static Element<V> mul_loose(const Element<V>& a, const Element<V>& b) { return reduced(product(a, b)); }
    static Element<V> sqr_loose(const Element<V>& a) { return reduced(square(a)); }
    static Element<V> mul(const Element<V>& a, const Element<V>& b) { return carried(mul_loose(a, b)); }
    static Element<V> sqr(const Element<V>& a) { return carried(sqr_loose(a)); }

    /** 32 m keep the value positive; then the quotient by m, estimated from the last limb one too small at the most, is taken off. */
    static Element<V> carry(const Element<V>& a) {
        Element<V> r = a + broadcast<V>(multiple(m, 32));
        const V quotient = V::add_high_product(V::all(0), V::shift_right_signed(r.limb[4], 6), V::all(reciprocal));
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

    /** From 2^256 times the number to 2^260 times the number, and back. */
    static constexpr Limbs52 enter(Words a) {
        for (int i = 0; i < 4; ++i) a = Scalar::add(a, a);
        return to_limbs52(a);
    }
    static constexpr Words leave(const Words& a) { return Scalar::mul(a, one_sixteenth); }

private:
    static constexpr Limbs52 modulus = to_limbs52(m);
    static constexpr std::uint64_t reciprocal = (std::uint64_t{1} << 58) / (modulus.limb[4] + 1);

    /** 2^252 modulo m: multiplying by it in Montgomery's form halves four times. */
    static constexpr Words one_sixteenth = [] {
        Words r = {0, 0, 0, std::uint64_t{1} << 60};
        return subtract_once(r, m);
    }();

    /** -1 / m modulo 2^52. */
    static constexpr std::uint64_t inverse = [] {
        std::uint64_t x = m[0];
        for (int i = 0; i < 5; ++i) x *= 2 - m[0] * x;
        return (std::uint64_t{0} - x) & mask52;
    }();

    /** Limb by limb the multiple of m that clears the lowest column is added. */
    static Element<V> reduced(Columns<V> v) {
        for (std::size_t i = 0; i < limb_count; ++i) {
            const V u = V::add_low_product(V::all(0), v.column[i], V::all(inverse));
            for (std::size_t j = 0; j < limb_count; ++j) {
                const V limb = V::all(modulus.limb[j]);
                v.column[i + j] = V::add_low_product(v.column[i + j], u, limb);
                v.column[i + j + 1] = V::add_high_product(v.column[i + j + 1], u, limb);
            }
            v.column[i + 1] = v.column[i + 1] + V::shift_right_signed(v.column[i], 52);
        }
        Element<V> r;
        for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = v.column[limb_count + i];
        return r;
    }
};

/** The value of one lane of a multiplicand, below 2.1 p, as a scalar element. */
template <typename F>
constexpr Words scalar_of(const Limbs52& a) {
    using S = typename F::Scalar;
    const Words low = from_limbs52(a);
    // 2^256 modulo p, as often as the last limb reaches it: at most twice.
    constexpr Words power = subtract_once([] {
        Words r{};
        sub(r, Words{}, S::modulus);
        return r;
    }(), S::modulus);
    const std::uint64_t over = a.limb[4] >> 48;
    const auto some = [&](std::uint64_t bit) { return select(mask(bit), power, Words{}); };
    return F::leave(S::add(S::add(subtract_once(low, S::modulus), some(over & 1)), some(over >> 1)));
}

}  // namespace vrx::field

#endif
