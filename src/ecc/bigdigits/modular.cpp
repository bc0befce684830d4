// The exported functions for modular arithmetic, inverses, greatest common divisors, square roots, Jacobi symbols and
// powers.
#include "ecc/bigdigits/modular.hpp"

#include <algorithm>

#include "ecc/bigdigits/lehmer.hpp"
#include "ecc/uint256/divsteps.hpp"
#include "vrx/bigdigits.h"

using namespace vrx::bigdigits;
namespace uint256 = vrx::uint256;

namespace {

/** True if a = 1. */
bool is_one(const Word* a, std::size_t n) { return a[0] == 1 && significant(a, n) == 1; }

}  // namespace

int mpModulo(std::uint32_t* r, const std::uint32_t* u, std::uint64_t udigits, const std::uint32_t* v,
             std::uint64_t vdigits) {
    const std::size_t m = words_for(udigits);
    const std::size_t n = words_for(vdigits);
    Workspace<2 * max_words + 1 + 2 * max_words> space;
    return without_trace([&] {
        Word* rest = space.take(std::max(m, n) + 1);
        clear(rest, std::max(m, n));
        load(rest, u, udigits);
        const Word* modulus = space.copy(v, vdigits);
        Modulus(space.take(n), modulus, n).reduce(rest, m);
        store(r, vdigits, rest, n);
        return 0;
    });
}

int mpModAdd(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, const std::uint32_t* m,
             std::uint64_t ndigits) {
    const std::size_t n = words_for(ndigits);
    Workspace<4 * max_words + 2> space;
    return without_trace([&] {
        Word* x = space.take(n + 1);
        Word* y = space.take(n + 1);
        load(x, u, ndigits);
        load(y, v, ndigits);
        const Word* modulus = space.copy(m, ndigits);
        const Modulus mod(space.take(n), modulus, n);
        mod.reduce(x, n);
        mod.reduce(y, n);
        add(x, x, y, n);
        // Deliberate: the sum is modulo 2^(32 ndigits). If ndigits is odd, the last word holds only one digit.
        if (ndigits % 2 != 0) x[n - 1] &= 0xffffffff;
        if (compare(x, modulus, n) >= 0) subtract(x, x, modulus, n);
        store(w, ndigits, x, n);
        return 0;
    });
}

int mpModSub(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, const std::uint32_t* m,
             std::uint64_t ndigits) {
    if (ndigits == 0) return 0;
    const std::size_t n = words_for(ndigits);
    Workspace<4 * max_words + 2> space;
    return without_trace([&] {
        Word* x = space.take(n + 1);
        Word* y = space.take(n + 1);
        load(x, u, ndigits);
        load(y, v, ndigits);
        const Word* modulus = space.copy(m, ndigits);
        const Modulus mod(space.take(n), modulus, n);
        mod.reduce(x, n);
        mod.reduce(y, n);
        subtract(x, x, y, n);
        // Deliberate: tests the top bit of the difference, not the borrow.
        const unsigned top_bit = ndigits % 2 != 0 ? 31 : 63;
        if ((x[n - 1] >> top_bit & 1) != 0) add(x, x, modulus, n);
        store(w, ndigits, x, n);
        return 0;
    });
}

int mpModMult(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, const std::uint32_t* m,
              std::uint64_t ndigits) {
    if (ndigits == 0) return 0;
    const std::size_t n = words_for(ndigits);
    Workspace<6 * max_words + 1> space;
    return without_trace([&] {
        Word* t = space.take(2 * n + 1);
        const Word* x = space.copy(u, ndigits);
        const Word* y = space.copy(v, ndigits);
        const Word* modulus = space.copy(m, ndigits);
        product(t, x, n, y, n);
        Modulus(space.take(n), modulus, n).reduce(t, 2 * n);
        store(w, ndigits, t, n);
        return 0;
    });
}

namespace {

using InverseSpace = Workspace<7 * max_words + 5>;

/**
 * Computes inv = 1 / u modulo m by division steps, for an odd m > 1 of at most four words. Returns whether the inverse
 * exists.
 */
bool inverse_by_division_steps(Word* inv, Word* u, const Word* m, std::size_t n, InverseSpace& space) {
    using uint256::Words;
    Modulus(space.take(n), m, n).reduce(u, n);
    const auto padded = [n](const Word* from) {
        Words words{};
        std::copy_n(from, std::min(n, words.size()), words.begin());
        return words;
    };
    const Words inverse = uint256::inverse_vartime(padded(u), uint256::OddModulus(padded(m)));
    clear(inv, n);
    std::copy_n(inverse.begin(), std::min(n, inverse.size()), inv);
    return significant(inv, n) != 0;
}

/** Computes inv = 1 / u modulo m by Lehmer's algorithm. Returns whether the inverse exists. */
bool inverse_by_euclid(Word* inv, Word* u, const Word* m, std::size_t n, InverseSpace& space) {
    // Invariant: xc u = x and yc u = -y modulo m, or xc u = -x and yc u = y. The two cases alternate with each step.
    // The cofactors xc and yc are at most m.
    Word* x = u;
    Word* y = space.take(n + 1);
    Word* xc = inv;
    Word* yc = space.take(n);
    Word* room[] = {space.take(n + 1), space.take(n + 1)};
    copy(y, m, n);
    clear(xc, n);
    clear(yc, n);
    xc[0] = 1;
    bool positive = true;
    const auto apply_to_cofactors = [&](const Steps& s) {
        sum_of_multiples(room[0], s.a, xc, s.b, yc, n);
        sum_of_multiples(room[1], s.c, xc, s.d, yc, n);
        copy(xc, room[0], n);
        copy(yc, room[1], n);
        positive ^= s.odd;
    };
    for (std::size_t used; (used = significant(y, n)) != 0;) {
        Steps s;
        const bool same_length = significant(x, n) == used && compare(x, y, n) >= 0;
        if (same_length && used == 1) {
            apply_to_cofactors(all_steps(x[0], y[0]));
            break;
        }
        if (same_length) {
            DoubleWord x_top, y_top;
            leading(x, y, used, x_top, y_top);
            s = leading_steps(x_top, y_top);
        }
        if (s.any()) {
            const Word *from = x, *less = y;
            if (s.odd) std::swap(from, less);
            difference_of_multiples(room[0], s.odd ? s.b : s.a, from, s.odd ? s.a : s.b, less, used);
            difference_of_multiples(room[1], s.odd ? s.c : s.d, less, s.odd ? s.d : s.c, from, used);
            copy(x, room[0], used);
            copy(y, room[1], used);
            apply_to_cofactors(s);
            continue;
        }
        euclid_step(y, x, n, room[0], [=](const Word* quotient, std::size_t count) {
            const std::size_t length = significant(yc, n);
            const std::size_t rows = length == 0 ? 0 : significant(quotient, count);
            for (std::size_t i = 0; i < rows; ++i) {
                // xc has no more words than yc, so this word is still 0. The sum is at most m, so it does not carry out
                // of n words.
                const Word carry = multiply_add(xc + i, yc, length, quotient[i]);
                if (i + length < n) xc[i + length] = carry;
            }
        });
        std::swap(xc, yc);
        positive = !positive;
    }
    const bool exists = is_one(x, n);
    if (!exists)
        clear(inv, n);
    else if (!positive)
        subtract(inv, m, xc, n);
    else if (xc != inv)
        copy(inv, xc, n);
    return exists;
}

}  // namespace

int mpModInv(std::uint32_t* inv, const std::uint32_t* u, const std::uint32_t* m, std::uint64_t ndigits) {
    if (ndigits == 0) return 1;
    const std::size_t n = words_for(ndigits);
    InverseSpace space;
    return without_trace<vrx::depth::inversion>([&] {
        const Word* modulus = space.copy(m, ndigits);
        Word* x = space.take(n + 1);
        Word* result = space.take(n);
        load(x, u, ndigits);
        const bool short_and_odd = modulus[0] % 2 == 1 && significant(modulus, n) <= 4 && !is_one(modulus, n);
        const bool exists = short_and_odd ? inverse_by_division_steps(result, x, modulus, n, space)
                                          : inverse_by_euclid(result, x, modulus, n, space);
        store(inv, ndigits, result, n);
        return exists ? 0 : 1;
    });
}

int mpGcd(std::uint32_t* g, const std::uint32_t* x, const std::uint32_t* y, std::uint64_t ndigits) {
    const std::size_t n = words_for(ndigits);
    Workspace<3 * max_words + 2> space;
    return without_trace([&] {
        Word* a = space.take(n + 1);
        Word* b = space.take(n + 1);
        Word* room = space.take(n);
        load(a, x, ndigits);
        load(b, y, ndigits);
        while (significant(a, n) != 0) euclid_step(a, b, n, room);
        store(g, ndigits, b, n);
        return 0;
    });
}

int mpSqrt(std::uint32_t* s, const std::uint32_t* x, std::uint64_t ndigits) {
    // Newton's method, from a power of 2 above the root. The approximations decrease until the root is reached, so the
    // loop stops when the next one would not be smaller.
    const std::size_t n = words_for(ndigits);
    Workspace<5 * max_words + 2> space;
    return without_trace([&] {
        const Word* square = space.copy(x, ndigits);
        Word* v = space.take(n + 1);
        Word* rest = space.take(n + 1);
        Word* room = space.take(n);
        clear(v, n);
        const std::size_t bits = bit_length(square, n);
        if (bits != 0) {
            const std::size_t root_bits = (bits + 1) / 2;
            v[root_bits / word_bits] |= Word{1} << root_bits % word_bits;
            for (;;) {
                copy(rest, square, n);
                const std::size_t used = significant(v, n);
                divide(rest, n, make_divisor(room, v, used));
                Word* quotient = rest + used;
                std::fill_n(std::copy_n(quotient, n + 1 - used, rest), used, Word{0});
                if (compare(rest, v, n) >= 0) break;
                add(v, v, rest, n);
                shift_right(v, v, n, 1);
            }
        }
        store(s, ndigits, v, n);
        return 0;
    });
}

int mpJacobi(const std::uint32_t* a, const std::uint32_t* n_, std::uint64_t ndigits) {
    const std::size_t n = words_for(ndigits);
    Workspace<3 * max_words + 2> space;
    return without_trace([&] {
        Word* x = space.take(n + 1);
        Word* y = space.take(n + 1);
        Word* room = space.take(n);
        load(x, a, ndigits);
        load(y, n_, ndigits);
        // Computes (x/y) for odd y. Removes each factor 2 of x with (2/y) = (-1)^((y^2 - 1)/8). Then uses (x/y) = (y
        // mod x / x), or the negative of it if x and y are both 3 modulo 4.
        int sign = 1;
        for (;;) {
            if (significant(x, n) == 0) return 0;
            while ((x[0] & 1) == 0) {
                const Word eighth = y[0] & 7;
                if (eighth == 3 || eighth == 5) sign = -sign;
                shift_right(x, x, n, 1);
            }
            if (is_one(x, n)) return sign;
            if ((x[0] & 3) == 3 && (y[0] & 3) == 3) sign = -sign;
            euclid_step(x, y, n, room);
        }
    });
}

int mpModExp(std::uint32_t* y, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* m,
             std::uint64_t ndigits) {
    const std::size_t n = words_for(ndigits);
    Workspace<8 * max_words + 2> space;
    return without_trace([&] {
        Word* result = space.take(n);
        const Word* exponent = space.copy(e, ndigits);
        Word* base = space.take(n + 1);
        load(base, x, ndigits);
        const std::size_t bits = bit_length(exponent, n);
        if (bits > 1) {
            Word* modulus = space.copy(m, ndigits);
            const std::size_t count = significant(modulus, n);
            clear(result, n);
            if (count != 0) {
                const Divisor divisor = make_divisor(modulus, modulus, count);
                divide(base, n, divisor);
                power(result, base, exponent, bits, divisor, space.take(2 * count + 1));
            }
        } else if (bits == 1) {
            copy(result, base, n);  // Deliberate: not reduced.
        } else {
            clear(result, n);
            if (n != 0) result[0] = 1;
        }
        store(y, ndigits, result, n);
        return 0;
    });
}
