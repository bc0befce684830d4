// Inverses modulo odd numbers of up to 256 bits, by division steps (D. J. Bernstein, B.-Y. Yang, "Fast constant-time
// gcd computation and modular inversion", 2019, with the initial value delta = 1/2).
//
// A division step maps (delta, f, g), with f odd, to (1 - delta, g, (g - f) / 2) if delta > 0 and g is odd. Otherwise
// it maps to (1 + delta, f, (g + (g mod 2) f) / 2). From (1/2, m, x) with 0 <= x < m < 2^256, 590 steps always reach g
// = 0. Then f is plus or minus the greatest common divisor.
//
// A step depends on the low bits alone. A batch of steps therefore works on one word of each number, and yields a
// matrix of small integers. The matrix is then applied to the whole numbers f and g, and, modulo m, to d and e. Here d
// x = f and e x = g modulo m, except for powers of two, which cancel.
#ifndef VRX_ECC_UINT256_DIVSTEPS_HPP
#define VRX_ECC_UINT256_DIVSTEPS_HPP

#include <algorithm>
#include <bit>
#include <utility>

#include "ecc/uint256/words.hpp"

namespace vrx::uint256 {

/**
 * A number of up to 309 bits in five signed limbs of 62 bits. Only the last limb may be negative or larger. Functions
 * that work limb by limb are templates over the bits of a limb, so that a test can try all short moduli and numbers.
 */
using Limbs62 = std::array<std::int64_t, 5>;

/** Returns all ones for a negative number, else zero. The compiler cannot tell the value of the result. */
constexpr std::int64_t sign_mask(std::int64_t a) { return value_barrier(a >> 63); }

template <int bits = 62>
inline constexpr std::uint64_t limb_mask = (std::uint64_t{1} << bits) - 1;
inline constexpr std::uint64_t mask62 = limb_mask<>;

constexpr Limbs62 to_limbs62(const Words& a) {
    return {static_cast<std::int64_t>(a[0] & mask62), static_cast<std::int64_t>((a[0] >> 62 | a[1] << 2) & mask62),
            static_cast<std::int64_t>((a[1] >> 60 | a[2] << 4) & mask62),
            static_cast<std::int64_t>((a[2] >> 58 | a[3] << 6) & mask62), static_cast<std::int64_t>(a[3] >> 56)};
}

/** Converts limbs of a number from 0 to 2^256 - 1. */
constexpr Words from_limbs62(const Limbs62& a) {
    const auto limb = [&a](std::size_t i) { return static_cast<std::uint64_t>(a[i]); };
    return {limb(0) | limb(1) << 62, limb(1) >> 2 | limb(2) << 60, limb(2) >> 4 | limb(3) << 58,
            limb(3) >> 6 | limb(4) << 56};
}

/** An odd modulus from 3 to 2^256 - 1, prepared for inversion. */
struct OddModulus {
    Limbs62 limbs{};
    std::uint64_t inverse = 0;  // the inverse of the modulus, modulo 2^64

    constexpr explicit OddModulus(const Words& m) : OddModulus(to_limbs62(m), m[0]) {}
    /** Prepares a modulus from its limbs, which may have fewer than 62 bits, and from its lowest bits. */
    constexpr OddModulus(const Limbs62& m, std::uint64_t low) : limbs(m) {
        std::uint64_t x = low;
        for (int i = 0; i < 5; ++i) x *= 2 - low * x;
        inverse = x;
    }
};

/**
 * The matrix that maps (f, g) to 2^n times their values after n steps. In each row the absolute values add up to at
 * most 2^n, because a step adds or subtracts two rows, or doubles one.
 */
struct Matrix {
    std::int64_t u, v, q, r;
};

/**
 * At most 30 division steps on the low words of an odd f and any g, constant-time. zeta is -(delta + 1/2).
 *
 * f is odd, so h = floor(f / 2) determines it. For an odd g, (g + f) / 2 is floor(g / 2) + h + 1, and (g - f) / 2 is
 * floor(g / 2) + ~h + 1. The matrix is scaled by 2^steps. One word holds a row (u, v) as u + 2^32 v, because u and v
 * are between -2^30 and 2^30.
 */
template <int steps>
constexpr std::int64_t some_steps(std::int64_t zeta, std::uint64_t& f, std::uint64_t& g, Matrix& t) {
    static_assert(steps <= 30);
    std::uint64_t h = f >> 1;
    std::uint64_t uv = 1;
    std::uint64_t qr = std::uint64_t{1} << 32;
    for (int i = 0; i < steps; ++i) {
        const std::uint64_t bit = g & 1;
        const std::uint64_t odd = mask(bit);
        const std::uint64_t positive = mask(static_cast<std::uint64_t>(zeta) >> 63);  // delta > 0
        const std::uint64_t swap = odd & positive;
        const std::uint64_t half = g >> 1;
        g = ((h ^ positive) & odd) + (half + bit);
        h ^= (h ^ half) & swap;
        const std::uint64_t row = qr + (((uv ^ positive) - positive) & odd);
        uv ^= (uv ^ qr) & swap;
        uv += uv;
        qr = row;
        zeta = static_cast<std::int64_t>((static_cast<std::uint64_t>(zeta) ^ swap) - 1);
    }
    f = h << 1 | 1;
    const auto low = [](std::uint64_t row) { return std::int64_t{static_cast<std::int32_t>(row)}; };
    const auto high = [low](std::uint64_t row) {
        return static_cast<std::int64_t>(row - static_cast<std::uint64_t>(low(row))) >> 32;
    };
    t = {low(uv), high(uv), low(qr), high(qr)};
    return zeta;
}

/** 59 steps. The matrix is scaled by 2^62, like one of 62 steps, so a row adds up to at most 2^62. */
template <int first_half = 30, int second_half = 29>
constexpr std::int64_t batch_of_steps(std::int64_t zeta, std::uint64_t f, std::uint64_t g, Matrix& t) {
    Matrix first{};
    Matrix second{};
    zeta = some_steps<first_half>(zeta, f, g, first);
    zeta = some_steps<second_half>(zeta, f, g, second);
    t = {8 * (second.u * first.u + second.v * first.q), 8 * (second.u * first.v + second.v * first.r),
         8 * (second.q * first.u + second.r * first.q), 8 * (second.q * first.v + second.r * first.r)};
    return zeta;
}

/**
 * Performs 62 steps for public numbers, with the initial value delta = 1. Shifts out all trailing zeros of g at once,
 * and clears several bits of g at once before f and g are next exchanged. eta is -delta.
 */
constexpr std::int64_t batch_of_steps_vartime(std::int64_t eta, std::uint64_t f, std::uint64_t g, Matrix& t) {
    std::uint64_t u = 1;
    std::uint64_t v = 0;
    std::uint64_t q = 0;
    std::uint64_t r = 1;
    for (int left = 62;;) {
        const int zeros = std::countr_zero(g | ~std::uint64_t{0} << left);
        g >>= zeros;
        u <<= zeros;
        v <<= zeros;
        eta -= zeros;
        left -= zeros;
        if (left == 0) break;
        if (eta < 0) {
            eta = -eta;
            f = std::exchange(g, std::uint64_t{0} - f);
            u = std::exchange(q, std::uint64_t{0} - u);
            v = std::exchange(r, std::uint64_t{0} - v);
        }
        // f (f^2 - 2) is -1 / f modulo 2^6.
        const std::int64_t bits = std::min<std::int64_t>({eta + 1, left, 6});
        const std::uint64_t w = g * f * (f * f - 2) & ((std::uint64_t{1} << bits) - 1);
        g += f * w;
        q += u * w;
        r += v * w;
    }
    t = {static_cast<std::int64_t>(u), static_cast<std::int64_t>(v), static_cast<std::int64_t>(q),
         static_cast<std::int64_t>(r)};
    return eta;
}

/**
 * (f, g) = the matrix times (f, g), divided exactly by 2^62. The absolute values in a row of the matrix add up to at
 * most 2^62, so the larger of |f| and |g| does not grow. Initially, the larger is the modulus. All sums are below 2^(62
 * + 62 + 1).
 */
template <int bits = 62>
constexpr void apply(Limbs62& f, Limbs62& g, const Matrix& t) {
    i128 cf = i128{t.u} * f[0] + i128{t.v} * g[0];
    i128 cg = i128{t.q} * f[0] + i128{t.r} * g[0];
    cf >>= bits;
    cg >>= bits;
#pragma GCC unroll 4
    for (std::size_t i = 1; i < 5; ++i) {
        cf += i128{t.u} * f[i] + i128{t.v} * g[i];
        cg += i128{t.q} * f[i] + i128{t.r} * g[i];
        f[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cf) & limb_mask<bits>);
        g[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cg) & limb_mask<bits>);
        cf >>= bits;
        cg >>= bits;
    }
    f[4] = static_cast<std::int64_t>(cf);
    g[4] = static_cast<std::int64_t>(cg);
}

/**
 * (d, e) = the matrix times (d, e), divided by 2^62 modulo m. d and e are between -2m and m before and after.
 *
 * If d or e is negative, m is added to it, so that both are between -m and m. A row of the matrix then yields a number
 * between -2^62 m and 2^62 m. From this number, the function subtracts the multiple of m below 2^62 m that sets the low
 * limb to 0. The difference is divisible by 2^62.
 */
template <int bits = 62>
constexpr void apply_modulo(Limbs62& d, Limbs62& e, const Matrix& t, const OddModulus& m) {
    // md and me are the multiples of m to add: first those that make d and e non-negative, and then also those that set
    // the low limbs of both sums to 0.
    const std::int64_t d_sign = sign_mask(d[4]);
    const std::int64_t e_sign = sign_mask(e[4]);
    std::int64_t md = (t.u & d_sign) + (t.v & e_sign);
    std::int64_t me = (t.q & d_sign) + (t.r & e_sign);
    i128 cd = i128{t.u} * d[0] + i128{t.v} * e[0];
    i128 ce = i128{t.q} * d[0] + i128{t.r} * e[0];
    const auto correction = [&m](i128 sum, std::int64_t multiple) {
        return static_cast<std::int64_t>(
            (m.inverse * static_cast<std::uint64_t>(sum) + static_cast<std::uint64_t>(multiple)) & limb_mask<bits>);
    };
    md -= correction(cd, md);
    me -= correction(ce, me);
    cd = (cd + i128{m.limbs[0]} * md) >> bits;
    ce = (ce + i128{m.limbs[0]} * me) >> bits;
#pragma GCC unroll 4
    for (std::size_t i = 1; i < 5; ++i) {
        cd += i128{t.u} * d[i] + i128{t.v} * e[i] + i128{m.limbs[i]} * md;
        ce += i128{t.q} * d[i] + i128{t.r} * e[i] + i128{m.limbs[i]} * me;
        d[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cd) & limb_mask<bits>);
        e[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(ce) & limb_mask<bits>);
        cd >>= bits;
        ce >>= bits;
    }
    d[4] = static_cast<std::int64_t>(cd);
    e[4] = static_cast<std::int64_t>(ce);
}

/** Returns a + (m & add_mask), negated if sign is all ones, with carried limbs. a is between -2m and m. */
template <int bits = 62>
constexpr Limbs62 corrected(const Limbs62& a, const OddModulus& m, std::int64_t add_mask, std::int64_t sign) {
    Limbs62 r{};
    std::int64_t carry = 0;
    for (std::size_t i = 0; i < 5; ++i) {
        const std::int64_t limb = (((a[i] + (m.limbs[i] & add_mask)) ^ sign) - sign) + carry;
        r[i] = i < 4 ? static_cast<std::int64_t>(static_cast<std::uint64_t>(limb) & limb_mask<bits>) : limb;
        carry = limb >> bits;
    }
    return r;
}

/** Returns d, or -d if f_sign is all ones, reduced modulo m. d is between -2m and m; the result is from 0 to m - 1. */
template <int bits = 62>
constexpr Limbs62 normalised(const Limbs62& d, std::int64_t f_sign, const OddModulus& m) {
    const Limbs62 near = corrected<bits>(d, m, sign_mask(d[4]), f_sign);
    return corrected<bits>(near, m, sign_mask(near[4]), 0);
}

/** Returns all ones if a is 1 or -1, else zero. */
template <int bits = 62>
constexpr std::uint64_t is_unit(const Limbs62& a) {
    std::uint64_t plus = static_cast<std::uint64_t>(a[0]) ^ 1;
    std::uint64_t minus = static_cast<std::uint64_t>(a[0]) ^ limb_mask<bits>;
    for (std::size_t i = 1; i < 4; ++i) {
        plus |= static_cast<std::uint64_t>(a[i]);
        minus |= static_cast<std::uint64_t>(a[i]) ^ limb_mask<bits>;
    }
    plus |= static_cast<std::uint64_t>(a[4]);
    minus |= ~static_cast<std::uint64_t>(a[4]);
    const auto is_nonzero = [](std::uint64_t v) { return (v | (std::uint64_t{0} - v)) >> 63; };
    return mask(1 ^ (is_nonzero(plus) & is_nonzero(minus)));
}

/** Returns the low bits of a number, which a batch of steps reads. */
template <int bits = 62>
constexpr std::uint64_t low_word(const Limbs62& a) {
    return static_cast<std::uint64_t>(a[0]) | static_cast<std::uint64_t>(a[1]) << bits;
}

/**
 * Returns 1 / x modulo m for 0 <= x < m, or 0 if there is no inverse. Constant-time. Cost: ten batches of 59 steps.
 */
constexpr Words inverse(const Words& x, const OddModulus& m) {
    Limbs62 f = m.limbs;
    Limbs62 g = to_limbs62(x);
    Limbs62 d{};
    Limbs62 e{1};
    std::int64_t zeta = -1;
    for (int i = 0; i < 10; ++i) {
        Matrix t{};
        zeta = batch_of_steps(zeta, low_word(f), low_word(g), t);
        apply_modulo(d, e, t, m);
        apply(f, g, t);
    }
    const std::uint64_t exists = is_unit(f);
    return conditional_move(exists, from_limbs62(normalised(d, sign_mask(f[4]), m)), Words{});
}

/** Does the same for public numbers, not in constant time. */
constexpr Words inverse_vartime(const Words& x, const OddModulus& m) {
    Limbs62 f = m.limbs;
    Limbs62 g = to_limbs62(x);
    Limbs62 d{};
    Limbs62 e{1};
    std::int64_t eta = -1;
    while (g != Limbs62{}) {
        Matrix t{};
        eta = batch_of_steps_vartime(eta, low_word(f), low_word(g), t);
        apply_modulo(d, e, t, m);
        apply(f, g, t);
    }
    return is_unit(f) == 0 ? Words{} : from_limbs62(normalised(d, sign_mask(f[4]), m));
}

}  // namespace vrx::uint256

#endif
