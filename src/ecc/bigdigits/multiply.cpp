// Schoolbook products and squares, in blocks of four rows.
#include "ecc/bigdigits/multiply.hpp"

namespace vrx::bigdigits {
namespace {

/**
 * Calls f(Index<rows>) with the number of rows of the first block. If the rows do not fill whole blocks, the first
 * block has the rows that are left over.
 */
template <typename F>
void with_first_rows(std::size_t n, F f) {
    switch (n % block) {
        case 1:
            return f(Index<1>{});
        case 2:
            return f(Index<2>{});
        case 3:
            return f(Index<3>{});
        default:
            return f(Index<block>{});
    }
}

/**
 * Adds the products u[i] u[j] for i < j and i < rows to w. The old values of w[n] and all later words are taken as 0.
 * For the first block, the old value of every word of w is taken as 0.
 */
template <std::size_t rows, bool is_first>
void add_triangle(Word* w, const Word* u, std::size_t n) {
    Rows<rows> sum(u);
    const auto old = [&](std::size_t j) { return is_first ? 0 : w[j]; };
    w[0] = old(0);
    unrolled<rows - 1>([&](auto r) __attribute__((always_inline)) {
        w[r + 1] = sum.template step<r + 1>(u[r + 1], old(r + 1));
    });
    for (std::size_t j = rows; j < n; ++j) w[j] = sum.step(u[j], old(j));
    sum.finish(w + n);
}

/** Computes w = 2 w + the squares u[i]^2, where the square of u[i] is added at word 2i. */
void double_and_add_squares(Word* w, const Word* u, std::size_t n) {
    Word top = 0;  // the bit that doubling shifts into the next pair
    Word carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const DoubleWord s = DoubleWord{u[i]} * u[i];
        const Word w0 = w[2 * i], w1 = w[2 * i + 1];
        const DoubleWord t0 = DoubleWord{w0 << 1 | top} + low(s) + carry;
        const DoubleWord t1 = DoubleWord{w1 << 1 | w0 >> (word_bits - 1)} + high(s) + high(t0);
        w[2 * i] = low(t0);
        w[2 * i + 1] = low(t1);
        carry = high(t1);
        top = w1 >> (word_bits - 1);
    }
}

}  // namespace

void product(Word* w, const Word* u, std::size_t un, const Word* v, std::size_t vn) {
    with_first_rows(vn, [&](auto rows) {
        Rows<rows> sum(v);
        for (std::size_t i = 0; i < un; ++i) w[i] = sum.step(u[i], 0);
        sum.finish(w + un);
        for (std::size_t j = rows; j < vn; j += block) {
            Rows<block> more(v + j);
            for (std::size_t i = 0; i < un; ++i) w[j + i] = more.step(u[i], w[j + i]);
            more.finish(w + j + un);
        }
    });
}

void square(Word* w, const Word* u, std::size_t n) {
    // The products u[i] u[j] with i < j are computed once and doubled. Then the squares u[i]^2 are added.
    with_first_rows(n, [&](auto rows) {
        add_triangle<rows, true>(w, u, n);
        for (std::size_t i = rows; i < n; i += block) add_triangle<block, false>(w + 2 * i, u + i, n - i);
    });
    double_and_add_squares(w, u, n);
}

}  // namespace vrx::bigdigits
