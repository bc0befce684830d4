// Remainders, powers modulo m, and the step of Euclid's algorithm.
#ifndef VRX_ECC_BIGDIGITS_MODULAR_HPP
#define VRX_ECC_BIGDIGITS_MODULAR_HPP

#include <utility>

#include "ecc/bigdigits/division.hpp"
#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {

/**
 * A modulus. reduce() prepares it as a divisor only for numbers that are not reduced yet. Modulo 0 every remainder is
 * 0.
 */
class Modulus {
public:
    /** m has n words and must outlive the object. `room` has n words, too. */
    Modulus(Word* room, const Word* m, std::size_t n) : room_(room), m_(m), count_(significant(m, n)) {}

    /** u = u mod m, in place. u has un words, and room for one more. */
    void reduce(Word* u, std::size_t un) const {
        if (count_ == 0) return clear(u, un);
        const std::size_t used = significant(u, un);
        if (used < count_ || (used == count_ && compare(u, m_, count_) < 0)) return;
        divide(u, used, make_divisor(room_, m_, count_));
        clear(u + count_, used + 1 - count_);
    }

private:
    Word* room_;
    const Word* m_;
    std::size_t count_;
};

/**
 * y = x^e mod m, by square and multiply from left to right. Not constant-time.
 *
 * @param y     out: as many words as the modulus; must not overlap x.
 * @param x     in: as many words, below m.
 * @param bits  in: the number of significant bits of e, at least 1.
 * @param work  buffer for products: twice as many words as the modulus, plus one.
 */
inline void power(Word* y, const Word* x, const Word* e, std::size_t bits, const Divisor& m, Word* work) {
    const std::size_t n = m.count;
    const auto reduce = [&] {
        divide(work, 2 * n, m);
        copy(y, work, n);
    };
    copy(y, x, n);
    for (std::size_t i = bits - 1; i-- != 0;) {
        square(work, y, n);
        reduce();
        if (bit(e, i) != 0) {
            product(work, x, n, y, n);
            reduce();
        }
    }
}

/**
 * A step of Euclid's algorithm, (a, b) = (b mod a, a), for a > 0. Each array has room for n + 1 words.
 *
 * @param use  called with the words of the quotient and their count.
 */
template <typename Use>
inline void euclid_step(Word*& a, Word*& b, std::size_t n, Word* room, Use use) {
    const std::size_t used = significant(a, n);
    divide(b, n, make_divisor(room, a, used));
    use(b + used, n + 1 - used);
    clear(b + used, n + 1 - used);
    std::swap(a, b);
}
inline void euclid_step(Word*& a, Word*& b, std::size_t n, Word* room) {
    euclid_step(a, b, n, room, [](const Word*, std::size_t) {});
}

}  // namespace vrx::bigdigits

#endif
