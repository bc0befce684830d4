// Point multiplication with 64-bit words, one point at a time: a comb for k G, a window for k Q. Constant-time except
// for names with _vartime.
//
// The addition formulas are incomplete: if both points have the same x, or one is infinity, the result has zz = 0 (z =
// 0). Every later sum and double then has zz = 0, too, so a check at the end suffices.
//
// All products of a sum or double are inlined, and products that do not depend on each other are next to each other in
// the code. A product takes about a hundred instructions, so a CPU can execute about three products at the same time.
#ifndef VRX_ECC_FIELD_WORD_MULTIPLY_HPP
#define VRX_ECC_FIELD_WORD_MULTIPLY_HPP

#include "ecc/field/comb_tables.hpp"
#include "ecc/field/points.hpp"
#include "ecc/field/recode.hpp"

namespace vrx::field {

/**
 * Computes a / 2 for any element a: half of a, or half of a + p if a is odd. The result is below 2^256, because the
 * carry of a + p is halved, too.
 */
template <typename S>
constexpr Words half(const Words& a) {
    const std::uint64_t odd = mask(a[0] & 1);
    Words even{};
    const std::uint64_t carry = add(even, a, conditional_move(odd, S::modulus, Words{}));
    return halved(even, carry);
}

/** Returns a, or -a if the mask is all ones. */
template <typename S>
constexpr Words negated_where(std::uint64_t negative, const Words& a) {
    return conditional_move(negative, S::sub(Words{}, a), a);
}

/**
 * P + (x, y):
 *     h = x ZZ - X    r = y ZZZ - Y
 *     X' = r^2 - h^3 - 2 X h^2    Y' = r (X h^2 - X') - Y h^3    ZZ' = ZZ h^2    ZZZ' = ZZZ h^3
 * Cost: 10 multiplications.
 */
template <typename S>
[[gnu::noinline, gnu::flatten]] constexpr XyzzPoint plus_affine(const XyzzPoint& p, const Words& x, const Words& y) {
    const Words u = S::mul(x, p.zz);
    const Words t = S::mul(y, p.zzz);
    const Words h = S::sub(u, p.x);
    const Words r = S::sub(t, p.y);
    const Words hh = S::sqr(h);
    const Words rr = S::sqr(r);
    const Words hhh = S::mul(h, hh);
    const Words v = S::mul(p.x, hh);
    XyzzPoint sum;
    sum.zz = S::mul(p.zz, hh);
    sum.zzz = S::mul(p.zzz, hhh);
    const Words yhhh = S::mul(p.y, hhh);
    sum.x = S::sub(S::sub(rr, hhh), S::add(v, v));
    sum.y = S::sub(S::mul(r, S::sub(v, sum.x)), yhhh);
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

/** Computes (k + 2^264 - 1) / 2 modulo q, for k below q. The bits of the result are the signs of the comb. */
template <typename Curve>
constexpr Words comb_signs(const Words& k) {
    using S = Montgomery<Curve::q>;  // used for additions only, so the numbers need not be in Montgomery form
    constexpr Words all_ones = [] {
        Words power = S::one;  // 2^256 modulo q
        for (int i = 0; i < 8; ++i) power = S::add(power, power);
        return S::sub(power, {1, 0, 0, 0});
    }();
    const Words even = S::add(k, all_ones);
    Words odd{};
    const std::uint64_t carry = add(odd, even, Curve::q);
    const std::uint64_t is_odd = mask(even[0] & 1);
    return halved(conditional_move(is_odd, odd, even), is_odd & carry);
}

/**
 * Computes k G for 1 <= k < q. Sets zz to 0 if the formulas cannot handle k. Cost: 43 mixed additions and 3 doublings.
 */
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
        // If the highest sign is -, inverts the other signs, because the table has + for t = 5.
        const std::uint64_t negative = mask(1 ^ bits >> (comb_teeth - 1));
        struct Entry {
            Words x, y;
        };
        static_assert(sizeof(Entry) == sizeof(WordTable{}.word[0][0]));
        Entry p = S::Operations::template lookup<Entry, block_entries>(table.word[block],
                                                                       (bits ^ negative) & (block_entries - 1));
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
 *     T = 2 Y    V = T^2    S = X V    M = 3 X^2 + a Z^4
 *     X' = M^2 - 2 S    Y' = M (S - X') - V^2 / 2    Z' = T Z
 * where 3 X^2 - 3 Z^4 = 3 (X - Z^2)(X + Z^2). Cost: 8 multiplications for a = -3.
 */
template <typename Curve>
[[gnu::noinline, gnu::flatten]] constexpr JacobianPoint twice(const JacobianPoint& p) {
    using S = typename Curve::Field;
    const Words zz = S::sqr(p.z);
    const Words t = S::add(p.y, p.y);
    const Words v = S::sqr(t);
    const Words m = Curve::a == -3 ? times<S>(S::mul(S::sub(p.x, zz), S::add(p.x, zz)), 3)
                                   : plus_a_times<Curve>(times<S>(S::sqr(p.x), 3), S::sqr(zz));
    const Words s = S::mul(p.x, v);
    const Words vv = half<S>(S::sqr(v));
    const Words mm = S::sqr(m);
    JacobianPoint r;
    r.z = S::mul(t, p.z);
    r.x = S::sub(mm, S::add(s, s));
    r.y = S::sub(S::mul(m, S::sub(s, r.x)), vv);
    return r;
}

/** A point that is added many times, with powers of its z. */
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
[[gnu::noinline, gnu::flatten]] constexpr JacobianPoint sum(const JacobianPoint& p, const Summand& q) {
    const Words zz = S::sqr(p.z);
    const Words u = S::mul(p.x, q.zz);
    const Words s = S::mul(p.y, q.zzz);
    const Words zzz = S::mul(zz, p.z);
    const Words h = S::sub(S::mul(q.x, zz), u);
    const Words r = S::sub(S::mul(q.y, zzz), s);
    const Words z = S::mul(p.z, q.z);
    const Words hh = S::sqr(h);
    const Words rr = S::sqr(r);
    const Words hhh = S::mul(h, hh);
    const Words v = S::mul(u, hh);
    JacobianPoint t;
    t.z = S::mul(z, h);
    const Words shhh = S::mul(s, hhh);
    t.x = S::sub(S::sub(rr, hhh), S::add(v, v));
    t.y = S::sub(S::mul(r, S::sub(v, t.x)), shhh);
    return t;
}

/** The table: Q, 3 Q, 5 Q, ... */
template <typename Curve, std::size_t count>
void odd_multiples(const AffinePoint& point, Summand (&odd)[count]) {
    using S = typename Curve::Field;
    const JacobianPoint p = {S::to_montgomery(point.x), S::to_montgomery(point.y), S::one};
    const Summand two = summand<S>(twice<Curve>(p));
    JacobianPoint next = p;
    odd[0] = summand<S>(p);
    for (std::size_t i = 1; i < count; ++i) {
        next = sum<S>(next, two);
        odd[i] = summand<S>(next);
    }
}

/** (X, Y, Z) as (X / ZZ, Y / ZZZ) */
template <typename S>
constexpr XyzzPoint to_xyzz(const JacobianPoint& p) {
    const Summand s = summand<S>(p);
    return {s.x, s.y, s.zz, s.zzz};
}

/**
 * Returns `count` bits of n as a number, where bit `low` is the lowest. count is at most 63. Bits 256 and above are
 * read as 0.
 */
constexpr std::uint64_t bits_from(const Words& n, std::size_t low, std::size_t count) {
    const std::uint64_t above = low / 64 < 3 ? n[low / 64 + 1] << 1 << (63 - low % 64) : 0;
    return (n[low / 64] >> low % 64 | above) & ((std::uint64_t{1} << count) - 1);
}

/**
 * Computes k Q for 1 <= k < q and a point Q of the curve. Sets zz to 0 if the formulas cannot handle k and Q.
 *
 * An odd k below 2^256 is 32^51 plus the sum of d_i 32^i over 51 odd digits d_i from -31 to 31. They are d_i = 2 n_i -
 * 31, where n_i are the five-bit digits of (k - 1) / 2. For an even k, the function uses q - k. Cost: 256 doublings and
 * 66 additions.
 */
template <typename Curve>
XyzzPoint window_multiply(const Words& k, const AffinePoint& point) {
    using S = typename Curve::Field;
    constexpr std::size_t bits = 5;
    constexpr std::size_t digits = 51;
    constexpr std::size_t entries = std::size_t{1} << (bits - 1);
    Summand odd[entries];
    odd_multiples<Curve>(point, odd);

    std::uint64_t even = 0;
    const Words n = halved(odd_one(k, Curve::q, even), 0);
    JacobianPoint p = {odd[0].x, odd[0].y, S::one};
    for (std::size_t i = digits; i-- != 0;) {
        for (std::size_t j = 0; j < bits; ++j) p = twice<Curve>(p);
        const std::uint64_t digit = bits_from(n, bits * i, bits);
        // The digits 16 to 31 mean 1, 3, ..., 31. The digits 0 to 15 mean -31, ..., -1, so they are complemented.
        const std::uint64_t negative = mask(1 ^ digit >> (bits - 1));
        Summand entry = S::Operations::template lookup<Summand, entries>(odd, (digit ^ negative) & (entries - 1));
        entry.y = negated_where<S>(negative, entry.y);
        p = sum<S>(p, entry);
    }
    XyzzPoint r = to_xyzz<S>(p);
    r.y = negated_where<S>(even, r.y);
    return r;
}

/**
 * Does the same for public numbers, not in constant time. Writes k in non-adjacent form: odd digits from -15 to 15, at
 * least five bits apart. Cost: 256 doublings and about 50 additions.
 */
template <typename Curve>
XyzzPoint window_multiply_vartime(const Words& k, const AffinePoint& point) {
    using S = typename Curve::Field;
    constexpr std::size_t bits = 5;
    Summand odd[std::size_t{1} << (bits - 2)];
    odd_multiples<Curve>(point, odd);

    std::int8_t digits[256 + bits] = {};
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < 256 || carry != 0;) {
        if ((i < 256 ? bits_from(k, i, 1) : 0) == carry) {
            ++i;
            continue;
        }
        const std::uint64_t digit = (i < 256 ? bits_from(k, i, bits) : 0) + carry;
        carry = digit >> (bits - 1);
        digits[i] = static_cast<std::int8_t>(static_cast<int>(digit) - static_cast<int>(carry << bits));
        i += bits;
    }

    std::size_t i = sizeof digits - 1;
    while (digits[i] == 0) --i;
    const Summand& top = odd[digits[i] / 2];  // the highest digit is positive
    JacobianPoint p = {top.x, top.y, top.z};
    while (i-- != 0) {
        p = twice<Curve>(p);
        if (digits[i] == 0) continue;
        Summand entry = odd[(digits[i] < 0 ? -digits[i] : digits[i]) / 2];
        if (digits[i] < 0) entry.y = S::sub(Words{}, entry.y);
        p = sum<S>(p, entry);
    }
    return to_xyzz<S>(p);
}

/** The methods of an engine that multiplies one point at a time, with the word operations P. */
template <typename P>
struct WordMethods {
    template <typename Curve>
    struct Over : Curve {
        using Field = typename Curve::Field::template With<P>;
    };
    template <typename Curve>
    [[gnu::noinline]] static XyzzPoint base(const Words& k) {
        return word_comb_multiply<Over<Curve>>(k);
    }
    template <typename Curve>
    [[gnu::noinline]] static XyzzPoint point(const Words& k, const AffinePoint& q) {
        return window_multiply<Over<Curve>>(k, q);
    }
    template <typename Curve>
    [[gnu::noinline]] static XyzzPoint public_point(const Words& k, const AffinePoint& q) {
        return window_multiply_vartime<Over<Curve>>(k, q);
    }
};

}  // namespace vrx::field

#endif
