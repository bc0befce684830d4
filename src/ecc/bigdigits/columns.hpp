// Products and squares of fixed-size numbers, column by column. The functions work on digits in place, so they leave no
// copies to wipe.
#ifndef VRX_ECC_BIGDIGITS_COLUMNS_HPP
#define VRX_ECC_BIGDIGITS_COLUMNS_HPP

#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {

/** The accumulator of a column of a product: three words, of which the lowest is the next word of the result. */
struct Column {
    Word c0 = 0, c1 = 0, c2 = 0;

    void add(Word u, Word v) {
        asm("mulq %[v]\n\t"
            "addq %%rax, %[c0]\n\t"
            "adcq %%rdx, %[c1]\n\t"
            "adcq $0, %[c2]"
            : [c0] "+&r"(c0), [c1] "+&r"(c1), [c2] "+&r"(c2), "+a"(u)
            : [v] "r"(v)
            : "cc", "rdx");
    }
    void add(const Column& other) {
        asm("addq %[a0], %[c0]\n\t"
            "adcq %[a1], %[c1]\n\t"
            "adcq %[a2], %[c2]"
            : [c0] "+&r"(c0), [c1] "+&r"(c1), [c2] "+r"(c2)
            : [a0] "r"(other.c0), [a1] "r"(other.c1), [a2] "r"(other.c2)
            : "cc");
    }
    Word next() { return std::exchange(c0, std::exchange(c1, std::exchange(c2, 0))); }
};

/** A number of ndigits digits, read in place as words. */
template <std::size_t ndigits>
struct Fixed {
    static constexpr std::size_t n = words_for(ndigits);
    const Digit* digits;

    [[gnu::always_inline]] Word operator[](std::size_t i) const {
        return 2 * i + 1 < ndigits ? pair(digits + 2 * i) : digits[2 * i];
    }
};

/**
 * Column k of the product of two n-word numbers is the sum of u[i] v[k - i] for height(k, n) values of i, beginning
 * with first(k, n).
 */
constexpr std::size_t first(std::size_t k, std::size_t n) { return k < n ? 0 : k - n + 1; }
constexpr std::size_t height(std::size_t k, std::size_t n) { return k < n ? k + 1 : 2 * n - 1 - k; }

/** Computes w = u v. w must not overlap u or v. */
template <std::size_t ndigits>
void product(Digit* w, Fixed<ndigits> u, Fixed<ndigits> v) {
    constexpr std::size_t n = u.n;
    Column sum;
    unrolled<ndigits>([&](auto k) __attribute__((always_inline)) {
        unrolled<height(k, n)>([&](auto i) __attribute__((always_inline)) {
            sum.add(u[first(k, n) + i], v[k - first(k, n) - i]);
        });
        set_pair(w + 2 * k, sum.next());
    });
}

/** Computes w = u^2. w must not overlap u. Equal products of a column are computed once and added twice. */
template <std::size_t ndigits>
void square(Digit* w, Fixed<ndigits> u) {
    constexpr std::size_t n = u.n;
    Column sum;
    unrolled<ndigits>([&](auto k) __attribute__((always_inline)) {
        Column half;
        unrolled<height(k, n) / 2>([&](auto i) __attribute__((always_inline)) {
            half.add(u[first(k, n) + i], u[k - first(k, n) - i]);
        });
        sum.add(half);
        sum.add(half);
        if constexpr (k % 2 == 0) sum.add(u[k / 2], u[k / 2]);
        set_pair(w + 2 * k, sum.next());
    });
}

}  // namespace vrx::bigdigits

#endif
