// Division by a divisor made ready once, with reciprocals (Moeller and Granlund, "Improved division by invariant
// integers").
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

struct ShortDivision {
    Word quotient;
    Word remainder;
};

/** (u1 2^64 + u0) / d for u1 < d, where the top bit of d is set and v is its reciprocal. */
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

/** A divisor made ready: its significant words, shifted so that the top bit is set, and the reciprocal of the top. */
struct Divisor {
    const Word* words;
    std::size_t count;
    Word inverse;
    unsigned shift = 0;
};

/** The shift that sets the top bit of the word. */
inline unsigned normalising_shift(Word top) { return static_cast<unsigned>(std::countl_zero(top)); }

/** Of n words that are shifted already by their normalising shift; they outlive the divisor. */
Divisor make_shifted_divisor(const Word* v, std::size_t n, unsigned shift);

/** Of the n significant words v, n not 0, copied into room for as many words, which may be v. */
Divisor make_divisor(Word* room, const Word* v, std::size_t n);

/**
 * Divide u, of m words, in place by d, of n <= m words: u becomes the n words of the remainder, then the m + 1 - n
 * words of the quotient. When n > m, u is the remainder already and stays as it is.
 *
 * @param u  in-out: m + 1 words; what stands in the last one does not matter.
 */
void divide(Word* u, std::size_t m, const Divisor& d);

/** The same for u times 2^d.shift, of m + 1 words, and n <= m; the remainder is not shifted. */
void divide_shifted(Word* u, std::size_t m, const Divisor& d);

}  // namespace vrx::bigdigits

#endif
