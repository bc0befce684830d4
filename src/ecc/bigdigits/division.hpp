// Division by a divisor made ready once: Knuth's algorithm D on 64-bit words, each quotient word from the reciprocal of
// the divisor's two top words (Moeller and Granlund, "Improved division by invariant integers").
#ifndef VRX_ECC_BIGDIGITS_DIVISION_HPP
#define VRX_ECC_BIGDIGITS_DIVISION_HPP

#include "ecc/bigdigits/words.hpp"

namespace vrx::bigdigits {

/** floor((2^128 - 1) / d) - 2^64 for a d whose top bit is set. */
inline Word reciprocal(Word d) {
    Word quotient, remainder;
    // (2^128 - 1) - 2^64 d has the high word ~d, which is below d: the quotient fits.
    asm("divq %4" : "=a"(quotient), "=d"(remainder) : "0"(~Word{0}), "1"(~d), "r"(d) : "cc");
    return quotient;
}

/** floor((2^192 - 1) / (d1 2^64 + d0)) - 2^64 for a d1 whose top bit is set. */
inline Word reciprocal(Word d1, Word d0) {
    Word v = reciprocal(d1);
    Word p = d1 * v + d0;
    if (p < d0) {
        --v;
        if (p >= d1) {
            --v;
            p -= d1;
        }
        p -= d1;
    }
    const Wide t = Wide{v} * d0;
    p += high(t);
    if (p < high(t)) {
        --v;
        if (wide(p, low(t)) >= wide(d1, d0)) --v;
    }
    return v;
}

struct ShortDivision {
    Word quotient;
    Word remainder;
};

/** (u1 2^64 + u0) / d for u1 < d, where the top bit of d is set and v is its reciprocal. */
inline ShortDivision divide(Word u1, Word u0, Word d, Word v) {
    const Wide q = Wide{v} * u1 + wide(u1, u0);
    Word q1 = high(q) + 1;
    Word r = u0 - q1 * d;
    const Word mask = -static_cast<Word>(r > low(q));  // q1 was one too large
    q1 += mask;
    r += mask & d;
    if (r >= d) [[unlikely]] {
        ++q1;
        r -= d;
    }
    return {q1, r};
}

struct LongDivision {
    Word quotient;
    Wide remainder;
};

/** (u 2^64 + u0) / d for u < d, where the top bit of d is set and v is the reciprocal of its two words. */
inline LongDivision divide(Wide u, Word u0, Wide d, Word v) {
    const Wide q = Wide{v} * high(u) + u;
    Word q1 = high(q);
    const Word r1 = low(u) - q1 * high(d);
    Wide r = wide(r1, u0) - d - Wide{low(d)} * q1;
    ++q1;
    const Word mask = -static_cast<Word>(high(r) >= low(q));  // q1 was one too large
    q1 += mask;
    r += wide(mask, mask) & d;
    if (r >= d) [[unlikely]] {
        ++q1;
        r -= d;
    }
    return {q1, r};
}

/** A divisor made ready: its significant words, shifted so that the top bit is set, and the reciprocal of the top. */
struct Divisor {
    const Word* words;
    std::size_t count;
    unsigned shift;
    Word inverse;

    /** Of the n significant words v, n not 0, copied into room for as many words, which may be v. */
    Divisor(Word* room, const Word* v, std::size_t n)
        : words(room), count(n), shift(static_cast<unsigned>(std::countl_zero(v[n - 1]))) {
        shift_left(room, v, n, shift);
        inverse = n == 1 ? reciprocal(room[0]) : reciprocal(room[n - 1], room[n - 2]);
    }
};

/**
 * One step of the long division: subtract the right multiple q of the divisor, of n >= 2 words, from u[0..n] and return
 * it. The words u[1..n] are below the divisor.
 */
inline Word divide_step(Word* u, const Divisor& d) {
    const std::size_t n = d.count;
    const Wide top = wide(u[n], u[n - 1]);
    const Wide divisor = wide(d.words[n - 1], d.words[n - 2]);
    Word q;
    if (top >= divisor) [[unlikely]] {
        // The estimate would overflow; top is then equal to the divisor's two words, and q is at most 2^64 - 1.
        q = ~Word{0};
        u[n] -= multiply_subtract(u, d.words, n, q);
    } else {
        const LongDivision estimate = divide(top, u[n - 2], divisor, d.inverse);
        q = estimate.quotient;
        const Word borrow = multiply_subtract(u, d.words, n - 2, q);
        const Wide rest = estimate.remainder - borrow;
        u[n - 2] = low(rest);
        u[n - 1] = high(rest);
        u[n] = -static_cast<Word>(estimate.remainder < borrow);
    }
    if (u[n] != 0) [[unlikely]] {  // the multiple was too large: add the divisor back
        --q;
        u[n] += add(u, u, d.words, n);
    }
    return q;
}

/**
 * Replace the m words u by their remainder, in place: its d.count words are followed by zeros up to m.
 *
 * @param q  out: m words of the quotient; NULL when it is not wanted.
 * @param u  in-out: m + 1 words, the last of which is room for the normalisation and is 0 afterwards.
 */
inline void divide(Word* q, Word* u, std::size_t m, const Divisor& d) {
    const std::size_t n = d.count;
    const std::size_t used = significant(u, m);
    u[m] = 0;
    if (q != nullptr) clear(q, m);
    if (used < n) return;
    u[used] = shift_left(u, u, used, d.shift);
    if (n == 1) {
        Word rest = u[used];
        u[used] = 0;
        for (std::size_t j = used; j-- != 0;) {
            const ShortDivision step = divide(rest, u[j], d.words[0], d.inverse);
            if (q != nullptr) q[j] = step.quotient;
            rest = step.remainder;
            u[j] = 0;
        }
        u[0] = rest >> d.shift;
        return;
    }
    for (std::size_t j = used - n + 1; j-- != 0;) {
        const Word step = divide_step(u + j, d);
        if (q != nullptr) q[j] = step;
    }
    shift_right(u, u, n, d.shift);
}

}  // namespace vrx::bigdigits

#endif
