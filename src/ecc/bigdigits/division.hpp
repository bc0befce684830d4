// Division by a precomputed reciprocal (Moeller and Granlund, "Improved division by invariant integers").
#ifndef VRX_ECC_BIGDIGITS_DIVISION_HPP
#define VRX_ECC_BIGDIGITS_DIVISION_HPP

#include "ecc/bigdigits/words.hpp"

namespace vrx::bigdigits {

/** floor((2^128 - 1) / d) - 2^64, if the top bit of d is set. */
inline Word reciprocal(Word d) {
    Word quotient, remainder;
    // The high word of (2^128 - 1) - 2^64 d is ~d. Because ~d is below d, the quotient fits a word.
    asm("divq %4" : "=a"(quotient), "=d"(remainder) : "0"(~Word{0}), "1"(~d), "r"(d) : "cc");
    return quotient;
}

struct ShortDivision {
    Word quotient;
    Word remainder;
};

/** (u1 2^64 + u0) / d for u1 < d, if the top bit of d is set and v is its reciprocal. */
inline ShortDivision divide(Word u1, Word u0, Word d, Word v) {
    const DoubleWord q = DoubleWord{v} * u1 + wide(u1, u0);
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

/** A prepared divisor: its significant words, shifted to set the top bit, and the reciprocal of its top words. */
struct Divisor {
    const Word* words;
    std::size_t count;
    Word inverse;
    unsigned shift = 0;
};

/** The shift that sets the top bit of the word. */
inline unsigned normalising_shift(Word top) { return static_cast<unsigned>(std::countl_zero(top)); }

/** Prepares a divisor of n words that are already shifted. The words must outlive the divisor. */
Divisor make_shifted_divisor(const Word* v, std::size_t n, unsigned shift);

/** Prepares a divisor of n > 0 significant words v. `room`, which may be v, holds its n words. */
Divisor make_divisor(Word* room, const Word* v, std::size_t n);

/**
 * Divides u, of m words, in place by d, of n <= m words: u becomes the n words of the remainder, then the m + 1 - n
 * words of the quotient. If n > m, u is the remainder and stays unchanged.
 *
 * @param u  in-out: m + 1 words. The last one need not be initialised.
 */
void divide(Word* u, std::size_t m, const Divisor& d);

/**
 * Does the same for a number u of m + 1 words, with n <= m, that is already shifted left by d.shift. The remainder is
 * shifted back.
 */
void divide_shifted(Word* u, std::size_t m, const Divisor& d);

}  // namespace vrx::bigdigits

#endif
