// Products and squares by rows.
#ifndef VRX_ECC_BIGDIGITS_MULTIPLY_HPP
#define VRX_ECC_BIGDIGITS_MULTIPLY_HPP

#include "ecc/bigdigits/words.hpp"

namespace vrx::bigdigits {

/** w = u v, un + vn words; neither count is 0. w is neither u nor v. */
inline void product(Word* w, const Word* u, std::size_t un, const Word* v, std::size_t vn) {
    w[un] = multiply(w, u, un, v[0]);
    for (std::size_t j = 1; j < vn; ++j) w[j + un] = multiply_add(w + j, u, un, v[j]);
}

/**
 * w = u^2, 2n words; n is not 0. w is not u.
 *
 * The products u[i] u[j] with i < j are formed once and doubled; then the squares u[i]^2 are added.
 */
inline void square(Word* w, const Word* u, std::size_t n) {
    w[0] = 0;
    w[2 * n - 1] = 0;
    if (n > 1) {
        w[n] = multiply(w + 1, u + 1, n - 1, u[0]);
        for (std::size_t i = 1; i + 1 < n; ++i) w[n + i] = multiply_add(w + 2 * i + 1, u + i + 1, n - 1 - i, u[i]);
    }
    Word top = 0;  // the bit that doubling moves into the next pair
    Word carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Wide s = Wide{u[i]} * u[i];
        const Word w0 = w[2 * i], w1 = w[2 * i + 1];
        const Wide t0 = Wide{w0 << 1 | top} + low(s) + carry;
        const Wide t1 = Wide{w1 << 1 | w0 >> (word_bits - 1)} + high(s) + high(t0);
        w[2 * i] = low(t0);
        w[2 * i + 1] = low(t1);
        carry = high(t1);
        top = w1 >> (word_bits - 1);
    }
}

}  // namespace vrx::bigdigits

#endif
