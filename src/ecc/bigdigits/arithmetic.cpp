// The exported functions for sums, products, quotients, comparison, bits and signs of numbers.
#include <algorithm>

#include "ecc/bigdigits/columns.hpp"
#include "ecc/bigdigits/division.hpp"
#include "ecc/bigdigits/multiply.hpp"
#include "ecc/bigdigits/words.hpp"
#include "frame/barrier.hpp"
#include "vrx/bigdigits.h"

using namespace vrx::bigdigits;
using vrx::wipe;

namespace {

constexpr unsigned digit_bits = 32;

constexpr Digit low_digit(Word x) { return static_cast<Digit>(x); }
constexpr Digit high_digit(Word x) { return static_cast<Digit>(x >> digit_bits); }

/** Computes w = u + v, two digits at a time. Returns the carry. */
Word sum(Digit* w, const Digit* u, const Digit* v, std::uint64_t n) {
    Word carry = 0;
    std::uint64_t i = 0;
    for (; i + 2 <= n; i += 2) {
        const DoubleWord t = DoubleWord{pair(u + i)} + pair(v + i) + carry;
        set_pair(w + i, low(t));
        carry = high(t);
    }
    if (i < n) {
        const Word t = Word{u[i]} + v[i] + carry;
        w[i] = low_digit(t);
        carry = high_digit(t);
    }
    return carry;
}

/** Computes w = u - v, two digits at a time. Returns the borrow. */
Word difference(Digit* w, const Digit* u, const Digit* v, std::uint64_t n) {
    Word borrow = 0;
    std::uint64_t i = 0;
    for (; i + 2 <= n; i += 2) {
        const DoubleWord t = DoubleWord{pair(u + i)} - pair(v + i) - borrow;
        set_pair(w + i, low(t));
        borrow = high(t) & 1;
    }
    if (i < n) {
        const Word t = Word{u[i]} - v[i] - borrow;
        w[i] = low_digit(t);
        borrow = high_digit(t) & 1;
    }
    return borrow;
}

/** Returns digit i of a number, or 0 if i is out of range. */
Digit digit_or_zero(const Digit* b, std::uint64_t n, std::uint64_t i) { return i < n ? b[i] : 0; }

/** Shifts the double digit (hi, lo) left by fewer than 32 bits, and returns the high digit of the result. */
constexpr Digit funnel(Digit hi, Digit lo, unsigned shift) {
    return high_digit((Word{hi} << digit_bits | lo) << shift);
}

/** Computes u mod d, and optionally the quotient q = floor(u / d). q may be u. */
template <bool with_quotient>
[[gnu::noinline]] void short_division(Word* remainder, Digit* q, const Digit* u, Digit d, std::uint64_t n) {
    *remainder = 0;
    if (d == 0 || n == 0) return;
    // Shifts divisor and dividend left until the top bit of the divisor is set. The quotient stays the same.
    const auto shift = static_cast<unsigned>(std::countl_zero(Word{d}));
    const Word divisor = Word{d} << shift;
    const Word inverse = reciprocal(divisor);
    Word rest = 0;  // times 2^shift
    std::uint64_t i = n;
    if (i % 2 != 0) {
        --i;
        const Digit digit = u[i];
        if constexpr (with_quotient) q[i] = digit / d;
        rest = Word{digit % d} << shift;
    }
    while (i != 0) {
        i -= 2;
        const Word word = pair(u + i);
        const ShortDivision step = divide(rest | word >> (word_bits - shift), word << shift, divisor, inverse);
        if constexpr (with_quotient) set_pair(q + i, step.quotient);
        rest = step.remainder;
    }
    *remainder = rest >> shift;
}

/**
 * Calls short_division() and returns the remainder. Erases all other copies of the remainder and of d, including `d` in
 * the caller's frame.
 */
template <bool with_quotient>
Digit short_remainder(Digit* q, const Digit* u, Digit& d, std::uint64_t n) {
    Workspace<1> space;
    Word* remainder = space.take(1);
    vrx::secret_work<vrx::depth::arithmetic>([&] { short_division<with_quotient>(remainder, q, u, d, n); });
    vrx::wipe(&d, sizeof d);
    return low_digit(*remainder);
}

}  // namespace

int spMultiply(std::uint32_t p[2], std::uint32_t x, std::uint32_t y) {
    set_pair(p, Word{x} * y);
    return 0;
}

int spDivide(std::uint32_t* q, std::uint32_t* r, const std::uint32_t u[2], std::uint32_t d) {
    const Word dividend = pair(u);
    if (d >> (digit_bits - 1) == 0) {
        *q = 0;
        *r = 0;
        return -1;
    }
    const Word quotient = dividend / d;
    *q = low_digit(quotient);
    *r = low_digit(dividend % d);
    return static_cast<int>(high_digit(quotient));
}

std::uint32_t mpAdd(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, std::uint64_t ndigits) {
    return in_registers([&] { return low_digit(sum(w, u, v, ndigits)); });
}

std::uint32_t mpSubtract(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, std::uint64_t ndigits) {
    return in_registers([&] { return low_digit(difference(w, u, v, ndigits)); });
}

int mpMultiply(std::uint32_t* w, const std::uint32_t* u, const std::uint32_t* v, std::uint64_t ndigits) {
    switch (ndigits) {
        case 0:
            return 0;
        case 8:
            return in_registers([&] { return product<8>(w, {u}, {v}), 0; });
        case 9:
            return in_registers([&] { return product<9>(w, {u}, {v}), 0; });
        case 16:
            return in_registers([&] { return product<16>(w, {u}, {v}), 0; });
        default:
            break;
    }
    const std::size_t n = words_for(ndigits);
    Workspace<4 * max_words> space;
    return without_trace([&] {
        Word* result = space.take(2 * n);
        const Word* x = space.copy(u, ndigits);
        const Word* y = space.copy(v, ndigits);
        product(result, x, n, y, n);
        store(w, 2 * ndigits, result, 2 * n);
        return 0;
    });
}

int mpSquare(std::uint32_t* w, const std::uint32_t* u, std::uint64_t ndigits) {
    switch (ndigits) {
        case 0:
            return 0;
        case 8:
            return in_registers([&] { return square<8>(w, {u}), 0; });
        case 9:
            return in_registers([&] { return square<9>(w, {u}), 0; });
        case 16:
            return in_registers([&] { return square<16>(w, {u}), 0; });
        default:
            break;
    }
    const std::size_t n = words_for(ndigits);
    Workspace<3 * max_words> space;
    return without_trace([&] {
        Word* result = space.take(2 * n);
        square(result, space.copy(u, ndigits), n);
        store(w, 2 * ndigits, result, 2 * n);
        return 0;
    });
}

int mpEqual(const std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    if (ndigits == 0) return -1;
    Digit differences = 0;
    for (std::uint64_t i = 0; i < ndigits; ++i) differences |= a[i] ^ b[i];
    return differences == 0;
}

int mpCompare(const std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    for (std::uint64_t i = ndigits; i-- != 0;)
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    return 0;
}

int mpIsZero(const std::uint32_t* a, std::uint64_t ndigits) {
    if (ndigits == 0) return -1;
    Digit bits = 0;
    for (std::uint64_t i = 0; i < ndigits; ++i) bits |= a[i];
    return bits == 0;
}

std::uint64_t mpSizeof(const std::uint32_t* a, std::uint64_t ndigits) {
    while (ndigits != 0 && a[ndigits - 1] == 0) --ndigits;
    return ndigits;
}

std::uint64_t mpBitLength(const std::uint32_t* a, std::uint64_t ndigits) {
    if (a == nullptr) return 0;
    const std::uint64_t n = mpSizeof(a, ndigits);
    return n == 0 ? 0 : n * digit_bits - static_cast<unsigned>(std::countl_zero(a[n - 1]));
}

void mpSetEqual(std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    if (ndigits != 0) std::memmove(a, b, ndigits * sizeof(Digit));
}

void mpSetZero(std::uint32_t* a, std::uint64_t ndigits) {
    if (ndigits != 0) wipe(a, ndigits * sizeof(Digit));
}

void mpSetDigit(std::uint32_t* a, std::uint32_t d, std::uint64_t ndigits) {
    std::fill_n(a, ndigits, Digit{0});
    a[0] = d;  // Deliberate: also when ndigits is 0.
}

std::uint32_t mpShiftLeft(std::uint32_t* a, const std::uint32_t* b, std::uint64_t shift, std::uint64_t ndigits) {
    const std::uint64_t whole = shift / digit_bits;
    const auto bits = static_cast<unsigned>(shift % digit_bits);
    // `start` may be below 0. It then wraps around to an index far above ndigits. The digit shifted out is read before
    // a is written.
    const Digit out =
        funnel(digit_or_zero(b, ndigits, ndigits - whole), digit_or_zero(b, ndigits, ndigits - whole - 1), bits);
    if (whole == 0) {  // ascending, so that a may overlap b from below
        Digit below = 0;
        for (std::uint64_t i = 0; i < ndigits; ++i) {
            const Digit digit = b[i];
            a[i] = funnel(digit, below, bits);
            below = digit;
        }
        return out;
    }
    for (std::uint64_t i = ndigits; i-- != 0;)
        a[i] = funnel(digit_or_zero(b, ndigits, i - whole), digit_or_zero(b, ndigits, i - whole - 1), bits);
    return out;
}

std::uint32_t mpShiftRight(std::uint32_t* a, const std::uint32_t* b, std::uint64_t shift, std::uint64_t ndigits) {
    const std::uint64_t whole = shift / digit_bits;
    const auto bits = static_cast<unsigned>(shift % digit_bits);
    const auto shifted = [bits](Digit hi, Digit lo) { return low_digit((Word{hi} << digit_bits | lo) >> bits); };
    const Digit out = shifted(digit_or_zero(b, ndigits, whole), digit_or_zero(b, ndigits, whole - 1));
    if (whole == 0) {  // descending, so that a may overlap b from above
        Digit above = 0;
        for (std::uint64_t i = ndigits; i-- != 0;) {
            const Digit digit = b[i];
            a[i] = shifted(above, digit);
            above = digit;
        }
        return out;
    }
    for (std::uint64_t i = 0; i < ndigits; ++i)
        a[i] = shifted(digit_or_zero(b, ndigits, i + whole + 1), digit_or_zero(b, ndigits, i + whole));
    return out;
}

int mpSetBit(std::uint32_t* a, std::uint64_t ndigits, std::uint64_t ibit, int value) {
    if (ibit / digit_bits >= ndigits) return -1;
    const Digit mask = Digit{1} << ibit % digit_bits;
    Digit& digit = a[ibit / digit_bits];
    digit = value != 0 ? digit | mask : digit & ~mask;
    return 0;
}

int mpGetBit(const std::uint32_t* a, std::uint64_t ndigits, std::uint64_t ibit) {
    if (ibit / digit_bits >= ndigits) return -1;
    return static_cast<int>(a[ibit / digit_bits] >> ibit % digit_bits & 1);
}

void mpModPowerOf2(std::uint32_t* a, std::uint64_t ndigits, std::uint64_t L) {
    const std::uint64_t partial = L / digit_bits;
    if (partial >= ndigits) return;
    a[partial] &= (Digit{1} << L % digit_bits) - 1;
    std::fill_n(a + partial + 1, ndigits - partial - 1, Digit{0});
}

void mpXorBits(std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* c, std::uint64_t ndigits) {
    for (std::uint64_t i = 0; i < ndigits; ++i) a[i] = b[i] ^ c[i];
}

void mpOrBits(std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* c, std::uint64_t ndigits) {
    for (std::uint64_t i = 0; i < ndigits; ++i) a[i] = b[i] | c[i];
}

void mpAndBits(std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* c, std::uint64_t ndigits) {
    for (std::uint64_t i = 0; i < ndigits; ++i) a[i] = b[i] & c[i];
}

void mpNotBits(std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    for (std::uint64_t i = 0; i < ndigits; ++i) a[i] = ~b[i];
}

std::uint32_t mpShortAdd(std::uint32_t* w, const std::uint32_t* u, std::uint32_t d, std::uint64_t ndigits) {
    Word carry = d;
    for (std::uint64_t i = 0; i < ndigits; ++i) {
        const Word t = carry + u[i];
        w[i] = low_digit(t);
        carry = high_digit(t);
    }
    return low_digit(carry);
}

std::uint32_t mpShortSub(std::uint32_t* w, const std::uint32_t* u, std::uint32_t d, std::uint64_t ndigits) {
    Word borrow = d;
    for (std::uint64_t i = 0; i < ndigits; ++i) {
        const Word t = u[i] - borrow;
        w[i] = low_digit(t);
        borrow = high_digit(t) & 1;
    }
    return low_digit(borrow);
}

std::uint32_t mpShortMult(std::uint32_t* w, const std::uint32_t* u, std::uint32_t d, std::uint64_t ndigits) {
    return in_registers([&] {
        Word carry = 0;
        std::uint64_t i = 0;
        for (; i + 2 <= ndigits; i += 2) {
            const DoubleWord t = DoubleWord{pair(u + i)} * d + carry;
            set_pair(w + i, low(t));
            carry = high(t);
        }
        if (i < ndigits) {
            const Word t = Word{u[i]} * d + carry;
            w[i] = low_digit(t);
            carry = high_digit(t);
        }
        return low_digit(carry);
    });
}

std::uint32_t mpShortModMult(std::uint32_t* w, const std::uint32_t* u, std::uint32_t d, const std::uint32_t* /*m*/,
                             std::uint64_t ndigits) {
    return mpShortMult(w, u, d, ndigits);  // Deliberate: ignores the modulus.
}

std::uint32_t mpShortDiv(std::uint32_t* q, const std::uint32_t* u, std::uint32_t d, std::uint64_t ndigits) {
    return short_remainder<true>(q, u, d, ndigits);
}

std::uint32_t mpShortMod(const std::uint32_t* u, std::uint32_t d, std::uint64_t ndigits) {
    return short_remainder<false>(nullptr, u, d, ndigits);
}

int mpShortCmp(const std::uint32_t* a, std::uint32_t d, std::uint64_t ndigits) {
    if (mpSizeof(a, ndigits) > 1) return 1;
    const Digit lowest = ndigits == 0 ? 0 : a[0];
    return lowest > d ? 1 : lowest < d ? -1 : 0;
}

int mpDivide(std::uint32_t* q, std::uint32_t* r, const std::uint32_t* u, std::uint64_t udigits, const std::uint32_t* v,
             std::uint64_t vdigits) {
    const std::uint64_t significant_u = mpSizeof(u, udigits);
    const std::uint64_t significant_v = mpSizeof(v, vdigits);
    if (significant_v == 0 || significant_u < significant_v) {
        if (significant_v == 0)
            std::fill_n(r, udigits, Digit{0});
        else
            std::copy_n(u, udigits, r);
        std::fill_n(q, udigits, Digit{0});
        return significant_v == 0 ? -1 : 0;
    }
    const std::size_t m = words_for(significant_u);
    const std::size_t n = words_for(significant_v);
    Workspace<4 * max_words + 2> space;
    return without_trace([&] {
        Word* rest = space.take(m + 1);
        Word* divisor = space.take(n + 1);
        const unsigned shift = normalising_shift(word(v, significant_v, n - 1));
        load_shifted(divisor, v, significant_v, shift);
        load_shifted(rest, u, significant_u, shift);
        divide_shifted(rest, m, make_shifted_divisor(divisor, n, shift));
        store(q, udigits, rest + n, m + 1 - n);
        store(r, udigits, rest, n);
        return 0;
    });
}

int mpIsNegative(const std::uint32_t* a, std::uint64_t ndigits) {
    return ndigits == 0 ? 0 : static_cast<int>(a[ndigits - 1] >> (digit_bits - 1));
}

int mpChs(std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    const int negative = mpIsNegative(b, ndigits);
    Word borrow = 0;
    for (std::uint64_t i = 0; i < ndigits; ++i) {
        const Word t = Word{0} - b[i] - borrow;
        a[i] = low_digit(t);
        borrow = high_digit(t) & 1;
    }
    return negative;
}

int mpAbs(std::uint32_t* a, const std::uint32_t* b, std::uint64_t ndigits) {
    const int negative = mpIsNegative(b, ndigits);
    // |b| = (b ^ mask) - mask, where mask is all ones for a negative b. Constant-time: b is often a secret.
    const Digit mask = vrx::value_barrier(static_cast<Digit>(-negative));
    Word carry = static_cast<Word>(negative);
    for (std::uint64_t i = 0; i < ndigits; ++i) {
        const Word t = Word{b[i] ^ mask} + carry;
        a[i] = low_digit(t);
        carry = high_digit(t);
    }
    return negative;
}
