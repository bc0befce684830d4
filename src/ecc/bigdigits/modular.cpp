#include "ecc/bigdigits/modular.hpp"

#include <algorithm>

#include "vrx/bigdigits.h"

using namespace vrx::bigdigits;

namespace {

/** a is 1. */
bool is_one(const Word* a, std::size_t n) { return n != 0 && a[0] == 1 && significant(a, n) == 1; }

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
        // Deliberate: the sum counts modulo 2^(32 ndigits), and an odd last digit has no upper half.
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
        // Deliberate: the top bit of the difference decides, not the borrow.
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

int mpModInv(std::uint32_t* inv, const std::uint32_t* u, const std::uint32_t* m, std::uint64_t ndigits) {
    if (ndigits == 0) return 1;
    // Euclid's algorithm on (x3, y3) = (u, m), with x1 u = +-x3 and y1 u = -+y3 modulo m; the cofactors stay below m,
    // and their signs alternate.
    const std::size_t n = words_for(ndigits);
    Workspace<7 * max_words + 4> space;
    return without_trace([&] {
        const Word* modulus = space.copy(m, ndigits);
        Word* x1 = space.take(n);
        Word* y1 = space.take(n);
        Word* x3 = space.take(n + 1);
        Word* y3 = space.take(n + 1);
        Word* room = space.take(n);
        clear(x1, n);
        clear(y1, n);
        x1[0] = 1;
        load(x3, u, ndigits);
        load(y3, m, ndigits);
        bool positive = true;
        while (significant(y3, n) != 0) {
            euclid_step(y3, x3, n, room, [=](const Word* quotient, std::size_t count) {
                const std::size_t used = significant(y1, n);
                const std::size_t rows = used == 0 ? 0 : significant(quotient, count);
                for (std::size_t i = 0; i < rows; ++i) {
                    // Nothing stands there yet: x1 is no longer than y1. A sum below m has no carry out of n words.
                    const Word carry = multiply_add(x1 + i, y1, used, quotient[i]);
                    if (i + used < n) x1[i + used] = carry;
                }
            });
            std::swap(x1, y1);
            positive = !positive;
        }
        const bool exists = is_one(x3, n);
        if (!exists)
            clear(x1, n);
        else if (!positive)
            subtract(x1, modulus, x1, n);
        store(inv, ndigits, x1, n);
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
    // Newton's method from a power of 2 above the root falls to the root and stops where it would rise.
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
        // (x/y) with y odd: the factors 2 of x first, (2/y) = (-1)^((y^2 - 1)/8); then (x/y) = +-(y mod x / x).
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
