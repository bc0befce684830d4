// Long division on 64-bit words (Knuth's algorithm D). The estimate of each quotient word uses the reciprocal of the
// divisor's two top words and is at most one too large.
#include "ecc/bigdigits/division.hpp"

#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {
namespace {

/** floor((2^192 - 1) / (d1 2^64 + d0)) - 2^64, if the top bit of d1 is set. */
Word long_reciprocal(Word d1, Word d0) {
    Word v = reciprocal(d1);
    Word p = d1 * v + d0;
    const Word over = -static_cast<Word>(p < d0);
    const Word twice = over & -static_cast<Word>(p >= d1);
    v += over + twice;
    p -= (over & d1) + (twice & d1);
    const DoubleWord t = DoubleWord{v} * d0;
    p += high(t);
    if (p < high(t)) {
        --v;
        if (wide(p, low(t)) >= wide(d1, d0)) --v;
    }
    return v;
}

struct LongDivision {
    Word quotient;
    DoubleWord remainder;
};

/** (u 2^64 + u0) / d for u < d, if the top bit of d is set and v is its reciprocal. */
LongDivision long_divide(DoubleWord u, Word u0, DoubleWord d, Word v) {
    const DoubleWord q = DoubleWord{v} * high(u) + u;
    Word q1 = high(q);
    const Word r1 = low(u) - q1 * high(d);
    DoubleWord r = wide(r1, u0) - d - DoubleWord{low(d)} * q1;
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

/** One step of a division by one word d: replaces u[0..1], where u[1] < d, by the remainder and a quotient word. */
void divide_by_word_step(Word* u, const Divisor& d) {
    const ShortDivision step = divide(u[1], u[0], d.words[0], d.inverse);
    u[0] = step.remainder;
    u[1] = step.quotient;
}

/**
 * Steps of a long division by n >= 2 words d: replaces u[0..n + steps - 1], where the n words u[steps..] are below d,
 * by the n words of the remainder and `steps` words of the quotient.
 */
[[gnu::noinline]] void divide_steps(Word* u, std::size_t steps, const Divisor& d) {
    const std::size_t n = d.count;
    const DoubleWord divisor = wide(d.words[n - 1], d.words[n - 2]);
    DoubleWord top = wide(u[n + steps - 1], u[n + steps - 2]);  // the remainder's two top words stay in registers
    for (std::size_t j = steps; j-- != 0;) {
        Word quotient = ~Word{0};
        if (top >= divisor) [[unlikely]] {
            // The top words equal those of the divisor, so the estimate would overflow. The quotient is 2^64 - 1.
            u[j + n - 1] = low(top);
            multiply_subtract(u + j, d.words, n, quotient);
            top = wide(u[j + n - 1], u[j + n - 2]);
        } else {
            const LongDivision estimate = long_divide(top, u[j + n - 2], divisor, d.inverse);
            quotient = estimate.quotient;
            const Word borrow = multiply_subtract(u + j, d.words, n - 2, quotient);
            top = estimate.remainder - borrow;
            if (estimate.remainder < borrow) [[unlikely]] {  // the multiple was too large by one
                --quotient;
                top += divisor + add(u + j, u + j, d.words, n - 2);
            }
        }
        u[j + n] = quotient;
    }
    u[n - 1] = high(top);
    u[n - 2] = low(top);
}

/**
 * Performs `block` steps at once, for n > block. Estimates the quotient from the top words of the divisor, then
 * subtracts the quotient times the rest of the divisor. Replaces u[0..n + block - 1], where the n words u[block..] are
 * below d, by the n words of the remainder and `block` words of the quotient.
 */
[[gnu::noinline]] void divide_block(Word* u, const Divisor& d) {
    const std::size_t rest = d.count - block;
    const Divisor top{d.words + rest, block, d.inverse};
    Word* quotient = u + d.count;
    // If the top words of the dividend are not below those of the divisor, the estimate does not fit in `block` words.
    if (compare(quotient, top.words, block) >= 0) [[unlikely]]
        return divide_steps(u, block, d);
    divide_steps(u + rest, block, top);
    Rows<block> multiple(quotient);
    for (std::size_t i = 0; i < rest; ++i) u[i] = ~multiple.step(d.words[i], ~u[i]);
    Word borrow = multiple.finish_subtracting(u + rest);
    while (borrow != 0) {  // the estimate was too large, by at most two
        subtract_word(quotient, block, 1);
        borrow -= add(u, u, d.words, d.count);
    }
}

/** The smallest number of divisor words for which division in blocks is faster. */
constexpr std::size_t least_for_blocks = 2 * block;

}  // namespace

Divisor make_shifted_divisor(const Word* v, std::size_t n, unsigned shift) {
    return {v, n, n == 1 ? reciprocal(v[0]) : long_reciprocal(v[n - 1], v[n - 2]), shift};
}

Divisor make_divisor(Word* room, const Word* v, std::size_t n) {
    const unsigned shift = normalising_shift(v[n - 1]);
    shift_left(room, v, n, shift);
    return make_shifted_divisor(room, n, shift);
}

void divide_shifted(Word* u, std::size_t m, const Divisor& d) {
    const std::size_t n = d.count;
    std::size_t j = m - n + 1;
    if (n == 1) {
        while (j-- != 0) divide_by_word_step(u + j, d);
    } else {
        if (n >= least_for_blocks)
            for (; j >= block; j -= block) divide_block(u + j - block, d);
        if (j != 0) divide_steps(u, j, d);
    }
    shift_right(u, u, n, d.shift);
}

void divide(Word* u, std::size_t m, const Divisor& d) {
    const std::size_t used = significant(u, m);
    u[m] = 0;
    if (used < d.count) return;
    u[used] = shift_left(u, u, used, d.shift);
    divide_shifted(u, used, d);
}

}  // namespace vrx::bigdigits
