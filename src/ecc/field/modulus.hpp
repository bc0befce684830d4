// Constant-time field arithmetic modulo 256-bit numbers of three shapes: N - c, N / 2 + c, and any modulus above N / 2
// in Montgomery form.
//
// An element modulo N - c or N / 2 + c is any representative below N = 2^256. In Montgomery form it is the number times
// N, below the modulus. Every operation takes and returns elements. to_montgomery() converts a number to an element,
// and from_montgomery() an element to a number below the modulus. For pseudo-Mersenne moduli the Montgomery factor
// is 1. B is 2^64. A test tries all numbers with a B of a few bits.
#ifndef VRX_ECC_FIELD_MODULUS_HPP
#define VRX_ECC_FIELD_MODULUS_HPP

#include <tuple>

#include "ecc/field/lookup.hpp"

namespace vrx::field {

/** Products and table look-ups in plain C++, for words of any size. Engines replace them. */
template <typename W, std::size_t count>
struct PlainWordsOf {
    using Word = W;
    using Words = WordsOf<Word, count>;
    using WideWords = WordsOf<Word, 2 * count>;

    template <typename Entry, std::size_t entries>
    static Entry lookup(const void* table, std::uint64_t index) {
        return constant_time_lookup<16, Entry, entries>(table, index);
    }

    /** Computes a b, which is below N^2 for any a and b. */
    static constexpr WideWords multiply(const Words& a, const Words& b) { return field::multiply(a, b); }
    static constexpr WideWords square(const Words& a) { return field::multiply(a, a); }

    /**
     * r = the low half of v plus factor times the high half, modulo N, for any v and factor. Returns the carry. The
     * carry is at most factor, because the sum is at most (N - 1)(factor + 1), which is below N (factor + 1).
     */
    static constexpr Word add_multiple(Words& r, const WideWords& v, Word factor) {
        Word carry = 0;
#pragma GCC unroll 4
        for (std::size_t i = 0; i < count; ++i) r[i] = mul_add(v[count + i], factor, v[i], carry);
        return carry;
    }

    /**
     * The Montgomery product (a b + u m) / N, where u is the number below N that makes the division exact. The result
     * is below b + m for any a and b. inverse is -1 / m modulo B.
     */
    template <const Words& m, Word inverse>
    static constexpr WordsOf<Word, count + 1> montgomery(const Words& a, const Words& b) {
        WordsOf<Word, count + 1> t{};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < count; ++i) {
            // t is below b + m here, and below B (b + m) before the shift by one word.
            Word carry = 0;
#pragma GCC unroll 4
            for (std::size_t j = 0; j < count; ++j) t[j] = mul_add(a[i], b[j], t[j], carry);
            Word top = 0;
            t[count] = add_carry(t[count], carry, top);
            const Word u = t[0] * inverse;
            carry = 0;
            static_cast<void>(mul_add(u, m[0], t[0], carry));
#pragma GCC unroll 4
            for (std::size_t j = 1; j < count; ++j) t[j - 1] = mul_add(u, m[j], t[j], carry);
            Word again = 0;
            t[count - 1] = add_carry(t[count], carry, again);
            t[count] = top + again;
        }
        return t;
    }
};
using PlainWords = PlainWordsOf<std::uint64_t, 4>;

/**
 * Pseudo-Mersenne: p = N - c, so N = c modulo p. c (c + 1) < B makes sure that adding c for a second carry changes word
 * 0 alone.
 */
template <std::uint64_t c, typename P = PlainWords>
struct PseudoMersenneMinus {
    using Operations = P;
    using Word = typename P::Word;
    using Words = typename P::Words;
    using WideWords = typename P::WideWords;
    /** The same field over the operations of another engine. */
    template <typename Other>
    using With = PseudoMersenneMinus<c, Other>;

    static_assert(c < std::uint64_t{1} << (word_bits<Word> + 1) / 2 &&
                  c * (c + 1) <= static_cast<std::uint64_t>(~Word{0}));
    static constexpr Words modulus = [] {
        Words r{};
        sub_word(r, Word{c});
        return r;
    }();
    static constexpr Words one = {1};

    /** a and b may be any numbers below N. All results are below N. */
    static constexpr Words mul(const Words& a, const Words& b) { return reduce(P::multiply(a, b)); }
    static constexpr Words sqr(const Words& a) { return reduce(P::square(a)); }

    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const Word carry = field::add(r, a, b);
        return fold(r, carry);
    }

    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        const Word borrow = field::sub(r, a, b);
        const Word again = sub_word(r, mask(borrow) & Word{c});
        // After a second borrow, word 0 is at least B - c, so subtracting c does not borrow.
        r[0] -= mask(again) & Word{c};
        return r;
    }

    static constexpr Words to_montgomery(const Words& a) { return a; }
    /** The result is below p for any a, because N is below 2p. */
    static constexpr Words from_montgomery(const Words& a) { return reduce_once(a, modulus); }

private:
    /** r + high N, for any r, and for high up to c. */
    static constexpr Words fold(Words r, Word high) {
        const Word carry = add_word(r, high * Word{c});
        // After a carry, r is below high c, which is at most c^2. Therefore adding c to word 0 does not carry.
        r[0] += mask(carry) & Word{c};
        return r;
    }

    /** For any v: the carry out of the low half is at most c. */
    static constexpr Words reduce(const WideWords& v) {
        Words low{};
        const Word high = P::add_multiple(low, v, Word{c});
        return fold(low, high);
    }
};

/**
 * Pseudo-Mersenne: p = N / 2 + c, so N = -2c modulo p. The substitutes for multiples of N fit a word, because
 * 2c (2c + 1) < B, and they are below N / 2.
 */
template <std::uint64_t c, typename P = PlainWords>
struct PseudoMersennePlus {
    using Operations = P;
    using Word = typename P::Word;
    using Words = typename P::Words;
    using WideWords = typename P::WideWords;
    template <typename Other>
    using With = PseudoMersennePlus<c, Other>;

    static constexpr int top_bit = word_bits<Word> - 1;
    static constexpr std::size_t last = std::tuple_size_v<Words> - 1;
    static_assert(last > 0 && c < std::uint64_t{1} << (word_bits<Word> + 1) / 2 &&
                  2 * c * (2 * c + 1) <= static_cast<std::uint64_t>(~Word{0}));
    static constexpr Words modulus = [] {
        Words r{c};
        r[last] = Word{1} << top_bit;
        return r;
    }();
    static constexpr Words one = {1};

    /** a and b may be any numbers below N. All results are below N. */
    static constexpr Words mul(const Words& a, const Words& b) { return reduce(P::multiply(a, b)); }
    static constexpr Words sqr(const Words& a) { return reduce(P::square(a)); }

    /**
     * After a carry, subtracts p if the top bit of the sum is 0, and 2p if it is 1. Either way the top bit is 1 before
     * c or 2c is subtracted, so this subtraction does not borrow.
     */
    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const Word carry = field::add(r, a, b);
        const Word top = r[last] >> top_bit;
        r[last] |= carry << top_bit;
        static_cast<void>(sub_word(r, mask(carry) & (Word{c} + (mask(top) & Word{c}))));
        return r;
    }

    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        const Word borrow = field::sub(r, a, b);
        return raise(r, borrow);
    }

    static constexpr Words to_montgomery(const Words& a) { return a; }
    /** The result is below p for any a, because N is below 2p. */
    static constexpr Words from_montgomery(const Words& a) { return reduce_once(a, modulus); }

private:
    /**
     * r - k N for any r, and for k up to 2c. Adds 2k p, or (2k - 1) p if the top bit of r is set. In both cases, the
     * top bit is 0 before the last addition, and this addition adds at most 4c^2, so one carry chain suffices.
     */
    static constexpr Words raise(Words r, Word k) {
        const Word odd = r[last] >> top_bit & (k | (Word{0} - k)) >> top_bit;
        r[last] ^= odd << top_bit;
        static_cast<void>(add_word(r, (k + k - odd) * Word{c}));
        return r;
    }

    /** For any v: subtracting 2c times the high half borrows at most 2c times N. */
    static constexpr Words reduce(const WideWords& v) {
        // low - x = ~(~low + x)
        WideWords complement = v;
#pragma GCC unroll 4
        for (std::size_t i = 0; i <= last; ++i) complement[i] = ~v[i];
        Words r{};
        const Word high = P::add_multiple(r, complement, Word{2 * c});
#pragma GCC unroll 4
        for (std::size_t i = 0; i <= last; ++i) r[i] = ~r[i];
        return raise(r, high);
    }
};

/** Any odd modulus above N / 2, in Montgomery form: an element is the number times N, reduced (P. L. Montgomery, 1985).
 */
template <auto m, typename P = PlainWords>
struct Montgomery {
    using Operations = P;
    using Word = typename P::Word;
    using Words = typename P::Words;
    template <typename Other>
    using With = Montgomery<m, Other>;

    static constexpr std::size_t count = std::tuple_size_v<Words>;
    static_assert(m[count - 1] >> (word_bits<Word> - 1) == 1 && (m[0] & 1) == 1);
    static constexpr Words modulus = m;

    /** One in Montgomery form: N - m, which is below m. */
    static constexpr Words one = [] {
        Words r{};
        sub(r, Words{}, m);
        return r;
    }();

    /** The result is below m if a or b is below m. The other factor may be any number below N. */
    static constexpr Words mul(const Words& a, const Words& b) {
        const auto t = P::template montgomery<modulus, inverse>(a, b);
        Words low{};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < count; ++i) low[i] = t[i];
        return less_modulus(low, t[count]);
    }

    static constexpr Words sqr(const Words& a) { return mul(a, a); }

    /** The result is below m for a and b below m. */
    static constexpr Words add(const Words& a, const Words& b) {
        Words r{};
        const Word carry = field::add(r, a, b);
        return less_modulus(r, carry);
    }

    /** The result is below m for a and b below m. */
    static constexpr Words sub(const Words& a, const Words& b) {
        Words r{};
        Words corrected{};
        const Word borrow = field::sub(r, a, b);
        field::add(corrected, r, m);
        return conditional_move(mask(borrow), corrected, r);
    }

    /** Any number below N, in Montgomery form. */
    static constexpr Words to_montgomery(const Words& a) { return mul(a, square_of_power); }
    /** Converts any a to the number below m that it represents. */
    static constexpr Words from_montgomery(const Words& a) { return mul(a, {1}); }

private:
    /** -1 / m modulo B. Each Newton step doubles the number of correct bits. */
    static constexpr Word inverse = [] {
        Word x = m[0];
        for (int i = 0; i < 5; ++i) x *= 2 - m[0] * x;
        return Word{0} - x;
    }();

    /** N^2 modulo m. */
    static constexpr Words square_of_power = [] {
        Words r = one;
        for (std::size_t i = 0; i < count * word_bits<Word>; ++i) r = add(r, r);
        return r;
    }();

    /** The final subtraction for the number a + high N, which is below 2m. */
    static constexpr Words less_modulus(const Words& a, Word high) {
        Words r{};
        const Word borrow = field::sub(r, a, m);
        return conditional_move(mask(borrow & (high ^ 1)), a, r);
    }
};

}  // namespace vrx::field

#endif
