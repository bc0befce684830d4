// Numbers as arrays of 64-bit words, least significant first: the form of digits during an operation.
#ifndef VRX_ECC_BIGDIGITS_WORDS_HPP
#define VRX_ECC_BIGDIGITS_WORDS_HPP

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/platform.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"

namespace vrx::bigdigits {

using Digit = std::uint32_t;
using Word = std::uint64_t;
__extension__ typedef unsigned __int128 DoubleWord;

inline constexpr std::size_t max_digits = 256;
inline constexpr std::size_t max_words = max_digits / 2;
inline constexpr unsigned word_bits = 64;

constexpr Word low(DoubleWord x) { return static_cast<Word>(x); }
constexpr Word high(DoubleWord x) { return static_cast<Word>(x >> word_bits); }
constexpr DoubleWord wide(Word hi, Word lo) { return DoubleWord{hi} << word_bits | lo; }

/** The number of words that hold ndigits digits. */
constexpr std::size_t words_for(std::uint64_t ndigits) { return ndigits / 2 + ndigits % 2; }

/** Loads two digits as a word. set_pair() stores them. */
inline Word pair(const Digit* digits) {
    Word w;
    std::memcpy(&w, digits, sizeof w);
    return w;
}
inline void set_pair(Digit* digits, Word w) { std::memcpy(digits, &w, sizeof w); }

/** Converts a number of ndigits digits to words_for(ndigits) words w. */
inline void load(Word* w, const Digit* digits, std::uint64_t ndigits) {
    for (std::uint64_t i = 0; i < ndigits / 2; ++i) {
        w[i] = pair(digits + 2 * i);
        // Keeps the compiler from using memcpy(), whose wide, overlapping stores break store-to-load forwarding.
        asm volatile("");
    }
    if (ndigits % 2 != 0) w[ndigits / 2] = digits[ndigits - 1];
}

/** Returns word i of a number of ndigits digits. */
inline Word word(const Digit* digits, std::uint64_t ndigits, std::size_t i) {
    return 2 * i + 1 < ndigits ? pair(digits + 2 * i) : digits[2 * i];
}

/**
 * Computes w = 2^shift times a number of ndigits digits, in words_for(ndigits) + 1 words. shift is below 64, and
 * ndigits is not 0.
 */
inline void load_shifted(Word* w, const Digit* digits, std::uint64_t ndigits, unsigned shift) {
    Word out = 0;
    std::uint64_t i = 0;
    for (; i < ndigits / 2; ++i) {
        const Word x = pair(digits + 2 * i);
        w[i] = x << shift | out;
        out = x >> 1 >> (word_bits - 1 - shift);
    }
    if (ndigits % 2 != 0) {
        const Word x = digits[ndigits - 1];
        w[i++] = x << shift | out;
        out = x >> 1 >> (word_bits - 1 - shift);
    }
    w[i] = out;
}

/** Stores the lowest ndigits digits of a number of n words, padded with zeros. */
inline void store(Digit* digits, std::uint64_t ndigits, const Word* w, std::size_t n) {
    const std::size_t there = std::min<std::size_t>(ndigits, 2 * n);
    if (there != 0) std::memcpy(digits, w, there * sizeof(Digit));
    std::fill_n(digits + there, ndigits - there, Digit{0});
}

/**
 * Returns f(), and erases the stack and the registers that f used. The result of f must not be secret. Put arrays into
 * a Workspace in the caller's frame.
 */
template <std::size_t depth = depth::arithmetic, typename F>
auto without_trace(F f) {
    return secret_work<depth>(f);
}

/**
 * Returns f(). In code optimised for speed, the temporaries of f are in registers. In other code, the function erases
 * the temporaries.
 */
template <typename F>
auto in_registers(F f) {
#if defined(__OPTIMIZE__) && !defined(__OPTIMIZE_SIZE__)
    return f();
#else
    return without_trace(f);
#endif
}

/** Stack memory for the temporaries of one call. The destructor wipes the part that was taken. */
template <std::size_t capacity>
class Workspace {
public:
    Workspace() {}
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    ~Workspace() { wipe(words_, taken_ * sizeof(Word)); }

    /** Room for n words, not cleared. */
    Word* take(std::size_t n) {
        Word* room = words_ + taken_;
        taken_ += n;
        return room;
    }
    /** A copy of a number in words. */
    Word* copy(const Digit* digits, std::uint64_t ndigits) {
        Word* room = take(words_for(ndigits));
        load(room, digits, ndigits);
        return room;
    }

private:
    Word words_[capacity];
    std::size_t taken_ = 0;
};

/** The number of significant words: the index of the highest non-zero word plus 1. */
inline std::size_t significant(const Word* u, std::size_t n) {
    while (n != 0 && u[n - 1] == 0) --n;
    return n;
}

inline void clear(Word* w, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) w[i] = 0;
}

inline void copy(Word* w, const Word* u, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) w[i] = u[i];
}

/** Returns -1 if u < v, 0 if u = v, and 1 if u > v. */
inline int compare(const Word* u, const Word* v, std::size_t n) {
    while (n-- != 0)
        if (u[n] != v[n]) return u[n] < v[n] ? -1 : 1;
    return 0;
}

inline unsigned bit(const Word* u, std::size_t i) {
    return static_cast<unsigned>(u[i / word_bits] >> i % word_bits & 1);
}

inline std::size_t bit_length(const Word* u, std::size_t n) {
    n = significant(u, n);
    return n == 0 ? 0 : n * word_bits - static_cast<std::size_t>(std::countl_zero(u[n - 1]));
}

/** w = u + v. Returns the carry. w may be u or v. */
inline Word add(Word* w, const Word* u, const Word* v, std::size_t n) {
    Word carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const DoubleWord t = DoubleWord{u[i]} + v[i] + carry;
        w[i] = low(t);
        carry = high(t);
    }
    return carry;
}

/** w = u - v. Returns the borrow. w may be u or v. */
inline Word subtract(Word* w, const Word* u, const Word* v, std::size_t n) {
    Word borrow = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const DoubleWord t = DoubleWord{u[i]} - v[i] - borrow;
        w[i] = low(t);
        borrow = high(t) & 1;
    }
    return borrow;
}

/** w = w - x. Returns the borrow. */
inline Word subtract_word(Word* w, std::size_t n, Word x) {
    for (std::size_t i = 0; i < n && x != 0; ++i) {
        const Word borrow = w[i] < x;
        w[i] -= x;
        x = borrow;
    }
    return x;
}

/** w = u 2^shift for a shift below 64. Returns the word shifted out. w may be u. */
inline Word shift_left(Word* w, const Word* u, std::size_t n, unsigned shift) {
    Word out = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Word x = u[i];
        w[i] = x << shift | out;
        out = x >> 1 >> (word_bits - 1 - shift);
    }
    return out;
}

/** w = floor(u / 2^shift) for a shift below 64. w may be u. */
inline void shift_right(Word* w, const Word* u, std::size_t n, unsigned shift) {
    Word out = 0;
    for (std::size_t i = n; i-- != 0;) {
        const Word x = u[i];
        w[i] = x >> shift | out;
        out = x << 1 << (word_bits - 1 - shift);
    }
}

}  // namespace vrx::bigdigits

#endif
