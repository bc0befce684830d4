// Products and squares of numbers of any length, and their multiply-accumulate steps.
#ifndef VRX_ECC_BIGDIGITS_MULTIPLY_HPP
#define VRX_ECC_BIGDIGITS_MULTIPLY_HPP

#include <type_traits>
#include <utility>

#include "ecc/bigdigits/words.hpp"

namespace vrx::bigdigits {

/** w = u v, of un + vn words. Neither count is 0. w must not overlap u or v. */
void product(Word* w, const Word* u, std::size_t un, const Word* v, std::size_t vn);

/** w = u^2, of 2n words. n is not 0. w must not overlap u. */
void square(Word* w, const Word* u, std::size_t n);

/** A compile-time number as an argument. */
template <std::size_t value>
using Index = std::integral_constant<std::size_t, value>;

/** Calls f(Index<0>), f(Index<1>), ..., f(Index<n - 1>): a loop that always unrolls. f must be always_inline. */
template <std::size_t n, typename F>
[[gnu::always_inline]] inline void unrolled(F f) {
    [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) { (f(Index<i>{}), ...); }
    (std::make_index_sequence<n>{});
}

/**
 * Computes addend + u x + carry, which is at most 2^128 - 1. The low word replaces the addend, the high word the carry.
 */
inline void multiply_step(Word u, Word x, Word& addend, Word& carry) {
    // Uses assembly, because g++ compiles the same steps with DoubleWord to code that takes a third longer.
    Word lo = u;
    Word hi;
    asm("mulq %[x]\n\t"
        "addq %[addend], %%rax\n\t"
        "adcq $0, %%rdx\n\t"
        "addq %[carry], %%rax\n\t"
        "adcq $0, %%rdx"
        : "+a"(lo), "=&d"(hi)
        : [x] "r"(x), [addend] "r"(addend), [carry] "r"(carry)
        : "cc");
    addend = lo;
    carry = hi;
}

/** w = w + u x. Returns the word carried out. */
inline Word multiply_add(Word* w, const Word* u, std::size_t n, Word x) {
    Word carry = 0;
    for (std::size_t i = 0; i < n; ++i) multiply_step(u[i], x, w[i], carry);
    return carry;
}

/** w = w - u x. Returns the word borrowed. */
inline Word multiply_subtract(Word* w, const Word* u, std::size_t n, Word x) {
    Word borrow = 0;
    for (std::size_t i = 0; i < n; ++i) {
        // Uses w - u x = ~(~w + u x), because a carry is cheaper than a borrow.
        Word t = ~w[i];
        multiply_step(u[i], x, t, borrow);
        w[i] = ~t;
    }
    return borrow;
}

/** The number of rows processed at once. */
inline constexpr std::size_t block = 4;

/**
 * Adds the products of a number u and `rows` words x to another number, one word at a time. Each row has a carry of its
 * own. Computing several rows at once hides the latency of the carries.
 */
template <std::size_t rows>
class Rows {
public:
    explicit Rows(const Word* x) {
        unrolled<rows>([&](auto r) __attribute__((always_inline)) { x_[r] = x[r]; });
    }

    /** Multiplies the next word of u by the first `active` rows. Returns the word of the sum that this completes. */
    template <std::size_t active = rows>
    [[gnu::always_inline]] Word step(Word u, Word w) {
        static_assert(0 < active && active <= rows);
        Word carry = carry_[0];
        multiply_step(u, x_[0], w, carry);
        unrolled<active - 1>([&](auto r) __attribute__((always_inline)) {
            Word addend = carry_[r + 1];
            multiply_step(u, x_[r + 1], addend, carry);
            carry_[r] = addend;
        });
        carry_[active - 1] = carry;
        return w;
    }
    /**
     * Stores the carries after the last word of u. finish_subtracting() subtracts them from w instead, and returns the
     * borrow.
     */
    void finish(Word* w) const {
        unrolled<rows>([&](auto r) __attribute__((always_inline)) { w[r] = carry_[r]; });
    }
    [[nodiscard]] Word finish_subtracting(Word* w) const {
        Word borrow = 0;
        unrolled<rows>([&](auto r) __attribute__((always_inline)) {
            const DoubleWord t = DoubleWord{w[r]} - carry_[r] - borrow;
            w[r] = low(t);
            borrow = high(t) & 1;
        });
        return borrow;
    }

private:
    Word x_[rows];
    Word carry_[rows] = {};
};

}  // namespace vrx::bigdigits

#endif
