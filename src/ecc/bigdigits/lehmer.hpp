// Lehmer's algorithm: many steps of Euclid's algorithm at once, from the leading words of long numbers (D. E. Knuth,
// The Art of Computer Programming 2, section 4.5.2, algorithm L).
#ifndef VRX_ECC_BIGDIGITS_LEHMER_HPP
#define VRX_ECC_BIGDIGITS_LEHMER_HPP

#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {

/**
 * The matrix of a number of steps. An even number of steps maps (x, y), where x >= y, to (a x - b y, d y - c x). An odd
 * number of steps maps it to the negatives of these. Initially a = d = 1 and b = c = 0.
 */
struct Steps {
    Word a = 1, b = 0, c = 0, d = 1;
    bool odd = false;

    /** Appends a step with this quotient. */
    void add(Word quotient) {
        const Word next_c = a + quotient * c;
        const Word next_d = b + quotient * d;
        a = c;
        b = d;
        c = next_c;
        d = next_d;
        odd = !odd;
    }
    [[nodiscard]] bool any() const { return b != 0; }
};

/**
 * Returns the steps that are determined by the leading bits of two numbers. x and y are these leading bits, rounded
 * down, with x >= y. x is below 2^126.
 */
inline Steps leading_steps(DoubleWord x, DoubleWord y) {
    Steps s;
    // x was below 2^126 at first. While y is at least 2^64, all of a to d are therefore below 2^62.
    while (high(y) != 0) {
        // The quotient of the whole numbers lies between one / one_by and other / other_by, whatever the discarded bits
        // are.
        const DoubleWord one = s.odd ? x - s.a : x + s.a;
        const DoubleWord one_by = s.odd ? y + s.c : y - s.c;
        const DoubleWord other = s.odd ? x + s.b : x - s.b;
        const DoubleWord other_by = s.odd ? y - s.d : y + s.d;
        Word quotient = 0;
        DoubleWord rest = one;
        for (; rest >= one_by && quotient < 4; ++quotient) rest -= one_by;  // most quotients are small
        if (rest >= one_by) quotient = low(one / one_by);
        if (other < quotient * other_by || other - quotient * other_by >= other_by) break;
        const DoubleWord next = x - quotient * y;
        x = y;
        y = next;
        s.add(quotient);
    }
    return s;
}

/** Performs all steps on x >= y, until y = 0 and x is the greatest common divisor. */
inline Steps all_steps(Word& x, Word& y) {
    Steps s;
    while (y != 0) {
        const Word quotient = x / y;
        s.add(quotient);
        x -= quotient * y;
        std::swap(x, y);
    }
    return s;
}

/** w = a x - b y, which must not be negative and must fit n words. */
inline void difference_of_multiples(Word* w, Word a, const Word* x, Word b, const Word* y, std::size_t n) {
    clear(w, n);
    multiply_add(w, x, n, a);
    multiply_subtract(w, y, n, b);
}

/** w = a x + b y, which must fit n words. */
inline void sum_of_multiples(Word* w, Word a, const Word* x, Word b, const Word* y, std::size_t n) {
    clear(w, n);
    multiply_add(w, x, n, a);
    multiply_add(w, y, n, b);
}

/**
 * Sets x_top to the leading 126 bits of x, and y_top to the bits of y in the same positions. Both numbers have n > 1
 * words, and the top word of x is not 0.
 */
inline void leading(const Word* x, const Word* y, std::size_t n, DoubleWord& x_top, DoubleWord& y_top) {
    const unsigned shift = static_cast<unsigned>(std::countl_zero(x[n - 1]));
    const auto top = [=](const Word* u) {
        const Word below = n > 2 ? u[n - 3] >> 1 >> (word_bits - 1 - shift) : 0;
        return (wide(u[n - 1], u[n - 2]) << shift | below) >> 2;
    };
    x_top = top(x);
    y_top = top(y);
}

}  // namespace vrx::bigdigits

#endif
