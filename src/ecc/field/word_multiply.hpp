// Multiples of points by scalar arithmetic, a point at a time. No branch and no address depends on a scalar or a point.
//
// All additions are incomplete: where both points have the same x, and where one is infinity, the result has zz = 0 (z
// = 0), and so has every later sum and double. A caller that meets it at its end takes another way.
#ifndef VRX_ECC_FIELD_WORD_MULTIPLY_HPP
#define VRX_ECC_FIELD_WORD_MULTIPLY_HPP

#include <cstring>

#include "ecc/field/comb_tables.hpp"
#include "ecc/field/points.hpp"
#include "ecc/field/recode.hpp"

namespace vrx::field {

/** All ones where a = b, for words below 2^63. */
constexpr std::uint64_t equal_mask(std::uint64_t a, std::uint64_t b) { return mask(((a ^ b) - 1) >> 63); }

/** Entry `index` of a table of so many, each of whole blocks of four words. Reads the whole table. */
template <typename Entry, std::size_t count>
Entry selected(const void* table, std::uint64_t index) {
    using Block [[gnu::vector_size(32)]] = std::uint64_t;
    constexpr std::size_t blocks = sizeof(Entry) / sizeof(Block);
    static_assert(sizeof(Entry) % sizeof(Block) == 0);
    Block sum[blocks] = {};
    for (std::size_t e = 0; e < count; ++e) {
        Block entry[blocks];
        std::memcpy(entry, static_cast<const std::byte*>(table) + e * sizeof entry, sizeof entry);
        const Block here = Block{} + equal_mask(e, index);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < blocks; ++i) sum[i] |= entry[i] & here;
    }
    Entry r;
    std::memcpy(&r, sum, sizeof r);
    return r;
}

template <typename S>
constexpr Words negated_where(std::uint64_t negative, const Words& a) {
    return select(negative, S::sub(Words{}, a), a);
}

/**
 * P + (x, y):
 *     h = x ZZ - X    r = y ZZZ - Y    X' = r^2 - h^3 - 2 X h^2    Y' = r (X h^2 - X') - Y h^3    ZZ' = ZZ h^2    ZZZ'
 * = ZZZ h^3 Cost: 10 multiplications.
 */
template <typename S>
constexpr XyzzPoint plus_affine(const XyzzPoint& p, const Words& x, const Words& y) {
    const Words h = S::sub(S::mul(x, p.zz), p.x);
    const Words r = S::sub(S::mul(y, p.zzz), p.y);
    const Words hh = S::sqr(h);
    const Words hhh = S::mul(h, hh);
    const Words v = S::mul(p.x, hh);
    XyzzPoint sum;
    sum.x = S::sub(S::sub(S::sqr(r), hhh), S::add(v, v));
    sum.y = S::sub(S::mul(r, S::sub(v, sum.x)), S::mul(p.y, hhh));
    sum.zz = S::mul(p.zz, hh);
    sum.zzz = S::mul(p.zzz, hhh);
    return sum;
}

/**
 * 2P:
 *     U = 2 Y    V = U^2    W = U V    s = X V    m = 3 X^2 + a ZZ^2
 *     X' = m^2 - 2 s    Y' = m (s - X') - W Y    ZZ' = V ZZ    ZZZ' = W ZZZ
 */
template <typename Curve>
constexpr XyzzPoint twice(const XyzzPoint& p) {
    using S = typename Curve::Field;
    const Words u = S::add(p.y, p.y);
    const Words v = S::sqr(u);
    const Words w = S::mul(u, v);
    const Words s = S::mul(p.x, v);
    const Words m = plus_a_times<Curve>(times<S>(S::sqr(p.x), 3), S::sqr(p.zz));
    XyzzPoint r;
    r.x = S::sub(S::sqr(m), S::add(s, s));
    r.y = S::sub(S::mul(m, S::sub(s, r.x)), S::mul(w, p.y));
    r.zz = S::mul(v, p.zz);
    r.zzz = S::mul(w, p.zzz);
    return r;
}

/** (k + 2^264 - 1) / 2 modulo q, for k below q: its bits are the signs of the comb. */
template <typename Curve>
constexpr Words comb_signs(const Words& k) {
    using S = Montgomery<Curve::q>;  // for its sums alone: these are plain numbers
    constexpr Words all_ones = [] {
        Words power = S::one;  // 2^256 modulo q
        for (int i = 0; i < 8; ++i) power = S::add(power, power);
        return S::sub(power, {1, 0, 0, 0});
    }();
    const Words even = S::add(k, all_ones);
    Words odd{};
    const std::uint64_t carry = add(odd, even, Curve::q);
    const std::uint64_t is_odd = mask(even[0] & 1);
    return halved(select(is_odd, odd, even), is_odd & carry);
}

/** k G for 1 <= k < q, zz = 0 if not covered. Cost: 43 mixed additions and 3 doublings. */
template <typename Curve>
XyzzPoint word_comb_multiply(const Words& k) {
    using S = typename Curve::Field;
    const WordTable& table = comb_tables(Curve{}).words;
    const Words signs = comb_signs<Curve>(k);
    const auto entry = [&](std::size_t block, std::size_t step) {
        std::uint64_t bits = 0;
        for (std::size_t t = 0; t < comb_teeth; ++t) {
            const std::size_t i = comb_steps * (comb_teeth * block + t) + step;
            if (i < 256) bits |= (signs[i / 64] >> i % 64 & 1) << t;
        }
        // Where the highest sign is -, the others change with it.
        const std::uint64_t negative = mask(1 ^ bits >> (comb_teeth - 1));
        struct Entry {
            Words x, y;
        };
        static_assert(sizeof(Entry) == sizeof(WordTable{}.word[0][0]));
        Entry p = selected<Entry, block_entries>(table.word[block], (bits ^ negative) & (block_entries - 1));
        p.y = negated_where<S>(negative, p.y);
        return p;
    };

    const auto first = entry(0, comb_steps - 1);
    XyzzPoint p = {first.x, first.y, S::one, S::one};
    for (std::size_t i = 1; i < comb_steps * comb_blocks; ++i) {
        const std::size_t block = i % comb_blocks;
        if (block == 0) p = twice<Curve>(p);
        const auto next = entry(block, comb_steps - 1 - i / comb_blocks);
        p = plus_affine<S>(p, next.x, next.y);
    }
    return p;
}

/** (x / z^2, y / z^3) */
struct JacobianPoint {
    Words x, y, z;
};

/**
 * 2P:
 *     M = 3 X^2 + a Z^4    S = 4 X Y^2    X' = M^2 - 2 S    Y' = M (S - X') - 8 Y^4    Z' = 2 Y Z
 * where 3 X^2 - 3 Z^4 = 3 (X - Z^2)(X + Z^2). Cost: 8 multiplications for a = -3.
 */
template <typename Curve>
constexpr JacobianPoint twice(const JacobianPoint& p) {
    using S = typename Curve::Field;
    const Words zz = S::sqr(p.z);
    const Words yy = S::sqr(p.y);
    const Words m = Curve::a == -3 ? times<S>(S::mul(S::sub(p.x, zz), S::add(p.x, zz)), 3)
                                   : plus_a_times<Curve>(times<S>(S::sqr(p.x), 3), S::sqr(zz));
    const Words xyy = S::mul(p.x, yy);
    const Words xyy2 = S::add(xyy, xyy);
    const Words s = S::add(xyy2, xyy2);
    const Words yy2 = S::add(yy, yy);
    const Words yyyy4 = S::sqr(yy2);
    JacobianPoint r;
    r.x = S::sub(S::sqr(m), S::add(s, s));
    r.y = S::sub(S::mul(m, S::sub(s, r.x)), S::add(yyyy4, yyyy4));
    r.z = S::sub(S::sub(S::sqr(S::add(p.y, p.z)), yy), zz);
    return r;
}

/** A point to be added often, with powers of its z. */
struct Summand {
    Words x, y, z, zz, zzz;
};

template <typename S>
constexpr Summand summand(const JacobianPoint& p) {
    const Words zz = S::sqr(p.z);
    return {p.x, p.y, p.z, zz, S::mul(zz, p.z)};
}

/** P + Q:
 *     u = X1 Z2^2    s = Y1 Z2^3    h = X2 Z1^2 - u    r = Y2 Z1^3 - s
 *     X' = r^2 - h^3 - 2 u h^2    Y' = r (u h^2 - X') - s h^3    Z' = Z1 Z2 h
 * Cost: 14 multiplications.
 */
template <typename S>
constexpr JacobianPoint sum(const JacobianPoint& p, const Summand& q) {
    const Words zz = S::sqr(p.z);
    const Words u = S::mul(p.x, q.zz);
    const Words s = S::mul(p.y, q.zzz);
    const Words h = S::sub(S::mul(q.x, zz), u);
    const Words r = S::sub(S::mul(q.y, S::mul(zz, p.z)), s);
    const Words hh = S::sqr(h);
    const Words hhh = S::mul(h, hh);
    const Words v = S::mul(u, hh);
    JacobianPoint t;
    t.x = S::sub(S::sub(S::sqr(r), hhh), S::add(v, v));
    t.y = S::sub(S::mul(r, S::sub(v, t.x)), S::mul(s, hhh));
    t.z = S::mul(S::mul(p.z, q.z), h);
    return t;
}

/**
 * k Q for 1 <= k < q and a point Q of the curve, zz = 0 if not covered.
 *
 * An odd k below 2^256 is 32^51 + the sum of 51 odd digits d_i 32^i with d_i from -31 to 31: d_i = 2 n_i - 31 for the
 * five-bit digits n_i of k' = (k - 1) / 2 + 2^259. For an even k they are those of q - k. Cost: 256 doublings and 66
 * additions.
 */
template <typename Curve>
XyzzPoint window_multiply(const Words& k, const AffinePoint& point) {
    using S = typename Curve::Field;
    constexpr std::size_t bits = 5;
    constexpr std::size_t digits = 51;
    constexpr std::size_t entries = std::size_t{1} << (bits - 1);
    Summand odd[entries];
    JacobianPoint p = {S::enter(point.x), S::enter(point.y), S::one};
    const Summand two = summand<S>(twice<Curve>(p));
    JacobianPoint next = p;
    for (Summand& entry : odd) {
        entry = summand<S>(next);
        next = sum<S>(next, two);
    }

    std::uint64_t even = 0;
    const Words n = halved(odd_one(k, Curve::q, even), 0);
    for (std::size_t i = digits; i-- != 0;) {
        for (std::size_t j = 0; j < bits; ++j) p = twice<Curve>(p);
        const std::size_t low = bits * i;
        const std::uint64_t above = low / 64 < 3 ? n[low / 64 + 1] << 1 << (63 - low % 64) : 0;
        const std::uint64_t digit = (n[low / 64] >> low % 64 | above) & 31;
        // Digits from 16 on are 1, 3, ..., 31; those below are -31, ..., -1: their complement counts.
        const std::uint64_t negative = mask(1 ^ digit >> (bits - 1));
        Summand entry = selected<Summand, entries>(odd, (digit ^ negative) & (entries - 1));
        entry.y = negated_where<S>(negative, entry.y);
        p = sum<S>(p, entry);
    }
    const Summand r = summand<S>(p);
    return {r.x, negated_where<S>(even, r.y), r.zz, r.zzz};
}

}  // namespace vrx::field

#endif
