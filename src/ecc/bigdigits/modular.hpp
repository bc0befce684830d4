// Remainders, and what is made of them: sums, products and powers modulo m, inverses, divisors, roots, symbols.
#ifndef VRX_ECC_BIGDIGITS_MODULAR_HPP
#define VRX_ECC_BIGDIGITS_MODULAR_HPP

#include <utility>

#include "ecc/bigdigits/division.hpp"
#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {

/**
 * A modulus of n words, made ready for division when the first remainder needs it. Modulo 0 every remainder is 0.
 */
class Modulus {
public:
    /** Of a number m that outlives the object, and room for a copy of as many words. */
    Modulus(Word* room, const Word* m, std::size_t n) : room_(room), m_(m), n_(n), count_(significant(m, n)) {}

    /** u = u mod m, in place: un words and room for one more. Words of the remainder beyond un are not written. */
    void reduce(Word* u, std::size_t un) const {
        if (count_ == 0) return clear(u, un);
        const std::size_t used = significant(u, un);
        if (used < count_ || (used == count_ && compare(u, m_, count_) < 0)) return;
        divide(nullptr, u, un, Divisor(room_, m_, count_));
    }
    [[nodiscard]] const Word* words() const { return m_; }
    [[nodiscard]] std::size_t size() const { return n_; }

private:
    Word* room_;
    const Word* m_;
    std::size_t n_;
    std::size_t count_;
};

/**
 * y = x^e mod m, from left to right, a bit at a time: y = y^2, and y = x y where the bit is 1.
 *
 * @param y     out: the n words of the result; not x.
 * @param x     in: n words below m.
 * @param bits  in: the number of significant bits of e, at least 1.
 * @param work  2n + 1 words for the products.
 */
inline void power(Word* y, const Word* x, const Word* e, std::size_t bits, const Divisor& m, std::size_t n,
                  Word* work) {
    copy(y, x, n);
    const auto reduce = [&] {
        divide(nullptr, work, 2 * n, m);
        copy(y, work, n);
    };
    for (std::size_t i = bits - 1; i-- != 0;) {
        square(work, y, n);
        reduce();
        if (bit(e, i) != 0) {
            product(work, x, n, y, n);
            reduce();
        }
    }
}

/** a = b mod a and b = a, the step of Euclid's algorithm, for a that is not 0. Room for n + 1 words in each. */
inline void euclid_step(Word*& a, Word*& b, std::size_t n, Word* quotient, Word* room) {
    divide(quotient, b, n, Divisor(room, a, significant(a, n)));
    std::swap(a, b);
}

}  // namespace vrx::bigdigits

#endif
