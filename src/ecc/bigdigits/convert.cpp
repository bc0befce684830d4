// The exported functions that convert numbers from and to octets and text, and print them.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ecc/bigdigits/division.hpp"
#include "ecc/bigdigits/words.hpp"
#include "vrx/bigdigits.h"

using namespace vrx::bigdigits;
using vrx::wipe;

namespace {

/** The number of decimal digits that fit a word, and 10 to the power of that number. */
constexpr unsigned chunk_digits = 19;
constexpr Word chunk = 10'000'000'000'000'000'000u;
static_assert(std::countl_zero(chunk) == 0);

/**
 * Returns the byte count that the octet conversions use for nbytes. They interpret nbytes as a signed number, and use 0
 * for a negative one.
 */
constexpr std::uint32_t positive(std::uint32_t nbytes) { return nbytes >> 31 != 0 ? 0 : nbytes; }

/** Returns the number of bytes to reserve for the value of a text with so many characters, rounded up. */
std::uint64_t bytes_for(std::uint64_t characters, double bytes_per_character) {
    const double exact = static_cast<double>(characters) * bytes_per_character;
    const auto whole = static_cast<std::uint64_t>(exact);
    return static_cast<double>(whole) < exact ? whole + 1 : whole;
}

/** Returns the number of digits that a big-endian number of nbytes bytes fills. */
constexpr std::uint64_t digits_for(std::uint32_t nbytes, std::uint64_t ndigits) {
    return std::min<std::uint64_t>((std::uint64_t{positive(nbytes)} + 3) / 4, ndigits);
}

unsigned hex_value(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
    return 16;
}

/** Computes a = a factor + addend, in n digits. */
void multiply_and_add(Digit* a, std::uint64_t n, Digit factor, Digit addend) {
    Word carry = addend;
    for (std::uint64_t i = 0; i < n; ++i) {
        const Word t = Word{a[i]} * factor + carry;
        a[i] = static_cast<Digit>(t);
        carry = t >> 32;
    }
}

/** Writes the text of a number to a buffer of capacity smax. character(i) returns character i of `length`. */
template <typename Character>
std::uint64_t write_text(char* s, std::uint64_t smax, std::uint64_t length, Character character) {
    if (s == nullptr || smax == 0) return length;
    const std::uint64_t kept = std::min(length, smax - 1);
    for (std::uint64_t i = 0; i < kept; ++i) s[i] = character(i);
    // Deliberate: writes every byte of the buffer.
    std::fill_n(s + kept, smax - kept, '0');
    s[kept] = '\0';
    s[smax - 1] = '\0';
    return length;
}

/**
 * Divides a number into chunks of 19 decimal digits. chunks[0] has the lowest digits. Returns the number of chunks.
 * Sets `words` to 0.
 */
std::size_t decimal_chunks(Word* chunks, Word* words, std::size_t n) {
    const Word inverse = reciprocal(chunk);
    std::size_t count = 0;
    while ((n = significant(words, n)) != 0) {
        Word rest = 0;
        for (std::size_t i = n; i-- != 0;) {
            const ShortDivision step = divide(rest, words[i], chunk, inverse);
            words[i] = step.quotient;
            rest = step.remainder;
        }
        chunks[count++] = rest;
    }
    return count;
}

/** Writes a nonzero number as decimal text. `words` and `chunks` are buffers of words_for() and chunks_for() words. */
std::uint64_t decimal_text(const Digit* a, std::uint64_t ndigits, char* s, std::uint64_t smax, Word* words,
                           Word* chunks) {
    load(words, a, ndigits);
    const std::size_t count = decimal_chunks(chunks, words, words_for(ndigits));
    unsigned top_digits = 0;
    for (Word top = chunks[count - 1]; top != 0; top /= 10) ++top_digits;
    const std::uint64_t length = std::uint64_t{count - 1} * chunk_digits + top_digits;

    char digits[chunk_digits];  // of the current chunk
    const std::uint64_t result = write_text(s, smax, length, [&](std::uint64_t i) {
        const std::uint64_t from_end = length - 1 - i;
        const auto place = static_cast<unsigned>(from_end % chunk_digits);
        if (i == 0 || place == chunk_digits - 1) {
            Word rest = chunks[from_end / chunk_digits];
            for (char& digit : digits) {
                digit = static_cast<char>('0' + rest % 10);
                rest /= 10;
            }
        }
        return digits[place];
    });
    wipe(digits, sizeof digits);
    return result;
}

/** Returns the most chunks that n words can yield. Each chunk holds more than 63 bits. */
constexpr std::size_t chunks_for(std::size_t n) { return n + n / 63 + 1; }

void print_digit(Digit digit) { std::printf("%08x ", digit); }

/** Returns the number of digits to print without leading zeros: at least one, unless ndigits is 0. */
std::uint64_t trimmed(const Digit* a, std::uint64_t ndigits) {
    return std::min(std::max(mpSizeof(a, ndigits), std::uint64_t{1}), ndigits);
}

}  // namespace

std::uint64_t mpConvFromOctets(std::uint32_t* a, std::uint64_t ndigits, const std::uint8_t* c, std::uint32_t nbytes) {
    std::fill_n(a, ndigits, Digit{0});
    const std::uint64_t written = digits_for(nbytes, ndigits);
    const std::uint64_t taken = std::min<std::uint64_t>(positive(nbytes), 4 * written);
    for (std::uint64_t i = 0; i < taken; ++i) a[i / 4] |= static_cast<Digit>(c[nbytes - 1 - i]) << 8 * (i % 4);
    return written;
}

std::uint64_t mpConvToOctets(const std::uint32_t* a, std::uint64_t ndigits, std::uint8_t* c, std::uint32_t nbytes) {
    for (std::uint64_t i = 0; i < positive(nbytes); ++i)
        c[nbytes - 1 - i] = i / 4 < ndigits ? static_cast<std::uint8_t>(a[i / 4] >> 8 * (i % 4)) : std::uint8_t{0};
    return (mpBitLength(a, ndigits) + 7) / 8;
}

std::uint64_t mpConvFromHex(std::uint32_t* a, std::uint64_t ndigits, const char* s) {
    std::fill_n(a, ndigits, Digit{0});
    const std::uint64_t length = std::strlen(s);
    const auto nbytes = static_cast<std::uint32_t>(bytes_for(length, 0.5));
    const std::uint64_t written = digits_for(nbytes, ndigits);
    std::uint64_t nibble = 0;
    for (std::uint64_t i = length; i-- != 0 && nibble < 8 * written;) {
        const unsigned value = hex_value(s[i]);
        if (value >= 16) continue;
        a[nibble / 8] |= value << 4 * (nibble % 8);
        ++nibble;
    }
    return written;
}

std::uint64_t mpConvFromDecimal(std::uint32_t* a, std::uint64_t ndigits, const char* s) {
    std::fill_n(a, ndigits, Digit{0});
    const auto nbytes = static_cast<std::uint32_t>(bytes_for(std::strlen(s), 0.41524));
    const std::uint64_t written = digits_for(nbytes, ndigits);
    Digit value = 0;  // the characters not yet added to a, as a number below `scale`
    Digit scale = 1;
    for (; *s != '\0'; ++s) {
        if (*s < '0' || *s > '9') continue;
        value = value * 10 + static_cast<Digit>(*s - '0');
        scale *= 10;
        if (scale == 1'000'000'000) {
            multiply_and_add(a, written, scale, value);
            value = 0;
            scale = 1;
        }
    }
    multiply_and_add(a, written, scale, value);
    // Deliberate: drops any carry beyond the bytes that are reserved for the text.
    if (nbytes < 4 * written) mpModPowerOf2(a, written, std::uint64_t{8} * nbytes);
    return written;
}

std::uint64_t mpConvToHex(const std::uint32_t* a, std::uint64_t ndigits, char* s, std::uint64_t smax) {
    const std::uint64_t length = std::max<std::uint64_t>((mpBitLength(a, ndigits) + 3) / 4, 1);
    return write_text(s, smax, length, [=](std::uint64_t i) {
        const std::uint64_t nibble = length - 1 - i;
        const Digit digit = ndigits == 0 ? 0 : a[nibble / 8];
        return "0123456789abcdef"[digit >> 4 * (nibble % 8) & 15];
    });
}

std::uint64_t mpConvToDecimal(const std::uint32_t* a, std::uint64_t ndigits, char* s, std::uint64_t smax) {
    const std::uint64_t used = mpSizeof(a, ndigits);
    if (used == 0) return write_text(s, smax, 1, [](std::uint64_t) { return '0'; });
    const std::size_t n = words_for(used);
    if (used <= max_digits) {
        Workspace<max_words + chunks_for(max_words)> space;
        Word* words = space.take(n);
        return decimal_text(a, used, s, smax, words, space.take(chunks_for(n)));
    }
    const std::size_t size = (n + chunks_for(n)) * sizeof(Word);
    Word* words = static_cast<Word*>(std::malloc(size));
    if (words == nullptr) mpFail("conv_to_base: Not enough memory: src/ecc/bigdigits");
    const std::uint64_t length = decimal_text(a, used, s, smax, words, words + n);
    wipe(words, size);
    std::free(words);
    return length;
}

void mpPrint(const std::uint32_t* a, std::uint64_t ndigits) {
    for (std::uint64_t i = ndigits; i-- != 0;) print_digit(a[i]);
}

void mpPrintNL(const std::uint32_t* a, std::uint64_t ndigits) {
    for (std::uint64_t i = ndigits; i-- != 0;) {
        print_digit(a[i]);
        if ((ndigits - i) % 8 == 0 && i != 0) std::putchar('\n');
    }
    std::putchar('\n');
}

void mpPrintTrim(const std::uint32_t* a, std::uint64_t ndigits) { mpPrint(a, trimmed(a, ndigits)); }

void mpPrintTrimNL(const std::uint32_t* a, std::uint64_t ndigits) { mpPrintNL(a, trimmed(a, ndigits)); }
