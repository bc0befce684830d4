// Products and squares.
#ifndef VRX_ECC_BIGDIGITS_MULTIPLY_HPP
#define VRX_ECC_BIGDIGITS_MULTIPLY_HPP

#include <type_traits>
#include <utility>

#include "ecc/bigdigits/words.hpp"

namespace vrx::bigdigits {

/** w = u v, un + vn words; neither count is 0. w is neither u nor v. */
void product(Word* w, const Word* u, std::size_t un, const Word* v, std::size_t vn);

/** w = u^2, 2n words; n is not 0. w is not u. */
void square(Word* w, const Word* u, std::size_t n);

/** A number that is known to the compiler, as an argument. */
template <std::size_t value>
using Index = std::integral_constant<std::size_t, value>;

/** f(Index<0>), f(Index<1>), ..., f(Index<n - 1>), for what has to unroll; f is always inlined. */
template <std::size_t n, typename F>
[[gnu::always_inline]] inline void unrolled(F f) {
    [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) { (f(Index<i>{}), ...); }
    (std::make_index_sequence<n>{});
}

/** addend + u x + carry: the low word replaces the addend, the high word the carry. No such sum exceeds 2^128 - 1. */
inline void multiply_step(Word u, Word x, Word& addend, Word& carry) {
    // As C++ on DoubleWord, g++ needs a third more time.
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

/** w = w + u x; the word carried out is returned. */
inline Word multiply_add(Word* w, const Word* u, std::size_t n, Word x) {
    Word carry = 0;
    for (std::size_t i = 0; i < n; ++i) multiply_step(u[i], x, w[i], carry);
    return carry;
}

/** w = w - u x; the word borrowed is returned. */
inline Word multiply_subtract(Word* w, const Word* u, std::size_t n, Word x) {
    Word borrow = 0;
    for (std::size_t i = 0; i < n; ++i) {
        // w - u x is the complement of the complement of w plus u x: a carry costs less than a borrow.
        Word t = ~w[i];
        multiply_step(u[i], x, t, borrow);
        w[i] = ~t;
    }
    return borrow;
}

/** Rows that are worked on at once. */
inline constexpr std::size_t block = 4;

/**
 * The products of a number u with `rows` words x, added to another number a word at a time. Several rows at once hide
 * the latency of the carries, of which there is one for each row.
 */
template <std::size_t rows>
class Rows {
public:
    explicit Rows(const Word* x) {
        unrolled<rows>([&](auto r) __attribute__((always_inline)) { x_[r] = x[r]; });
    }

    /** The next word of u against the first `active` rows; the word of the sum that this completes. */
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
    /** What is left behind the last word of u: put it there, or subtract it from what is there, with a borrow. */
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
