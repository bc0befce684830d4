/**
 * @file cxx/bigdigits.hpp  Multiple-precision arithmetic: bigdigits.h for C++, with sizes that the compiler checks.
 *
 * A number is a std::array, an array or a std::span with a fixed count of 32-bit digits, least significant first. If
 * sizes do not fit, the call does not compile. The rules and warnings of bigdigits.h on overlap and running time apply.
 */
#ifndef VRX_CXX_BIGDIGITS_HPP
#define VRX_CXX_BIGDIGITS_HPP

#include <optional>

#include "vrx/bigdigits.h"
#include "vrx/cxx/types.hpp"

namespace vrx {
inline namespace v1 {

/** Multiple-precision arithmetic. */
namespace mp {

/** The number of digits that a type has. */
template <typename T>
inline constexpr std::size_t digits = decltype(std::span{std::declval<T &>()})::extent;

/** A readable number: a fixed count of digits, from 1 to VRX_MP_MAX_DIGITS. */
template <typename T>
concept Number = requires(T &number) {
    {std::span{number}};
    requires std::same_as<typename decltype(std::span{number})::value_type, std::uint32_t>;
}
&&digits<T> >= 1 && digits<T> <= VRX_MP_MAX_DIGITS;

/** A writable number. */
template <typename T>
concept Target = Number<T> && !std::is_const_v<typename decltype(std::span{std::declval<T &>()})::element_type>;

/** Numbers with the same count of digits. */
template <typename First, typename... Others>
concept SameSize = ((digits<First> == digits<Others>)&&...);

namespace detail {
template <typename T>
auto *at(T &&number) noexcept {
    return std::span{number}.data();
}
template <typename T>
inline constexpr std::uint64_t count = digits<std::remove_reference_t<T>>;
}  // namespace detail

/** Get the copyright notice of the arithmetic module. */
inline std::string_view copyright_notice() noexcept { return bigdigits_copyright_notice(); }
/** Get the version number of the arithmetic module, 2205. */
inline int version() noexcept { return mpVersion(); }

/* ---- Single digits ----------------------------------------------------------------------------------------------- */

/** Multiply two digits. @return the product, low digit first. */
inline std::array<std::uint32_t, 2> multiply(std::uint32_t x, std::uint32_t y) noexcept {
    std::array<std::uint32_t, 2> p;
    spMultiply(p.data(), x, y);
    return p;
}
/** The result of divide(): a quotient of 33 bits and a remainder. */
struct DigitDivision {
    std::uint32_t quotient;  /**< quotient modulo 2^32 */
    std::uint32_t remainder; /**< remainder, below the divisor */
    int carry;               /**< bit 32 of the quotient; -1 if the top bit of the divisor is clear */
};
/** Divide two digits by a digit d of at least 2^31. */
inline DigitDivision divide(const std::array<std::uint32_t, 2> &u, std::uint32_t d) noexcept {
    DigitDivision result;
    result.carry = spDivide(&result.quotient, &result.remainder, u.data(), d);
    return result;
}

/* ---- Addition and multiplication --------------------------------------------------------------------------------- */

/** Add: w = u + v. @return the carry. */
template <Target W, Number U, Number V>
requires SameSize<W, U, V> std::uint32_t add(W &&w, const U &u, const V &v)
noexcept { return mpAdd(detail::at(w), detail::at(u), detail::at(v), detail::count<W>); }
/** Subtract: w = u - v. @return the borrow. */
template <Target W, Number U, Number V>
requires SameSize<W, U, V> std::uint32_t subtract(W &&w, const U &u, const V &v)
noexcept { return mpSubtract(detail::at(w), detail::at(u), detail::at(v), detail::count<W>); }
/** Multiply: w = u v. w has twice as many digits and may not be an operand. */
template <Target W, Number U, Number V>
requires SameSize<U, V> &&(digits<W> == 2 * digits<U>)void multiply(W &&w, const U &u, const V &v) noexcept {
    mpMultiply(detail::at(w), detail::at(u), detail::at(v), detail::count<U>);
}
/** Square: w = u^2. w has twice as many digits and may not be u. */
template <Target W, Number U>
requires(digits<W> == 2 * digits<U>) void square(W &&w, const U &u) noexcept {
    mpSquare(detail::at(w), detail::at(u), detail::count<U>);
}

/* ---- Comparison and size ----------------------------------------------------------------------------------------- */

/** Test whether a = b. */
template <Number A, Number B>
requires SameSize<A, B>
bool equal(const A &a, const B &b) noexcept { return mpEqual(detail::at(a), detail::at(b), detail::count<A>) == 1; }
/** Compare two numbers. @return 1 if a > b, 0 if a = b, -1 if a < b. */
template <Number A, Number B>
requires SameSize<A, B>
int compare(const A &a, const B &b) noexcept { return mpCompare(detail::at(a), detail::at(b), detail::count<A>); }
/** Test whether a = 0. */
template <Number A>
bool is_zero(const A &a) noexcept {
    return mpIsZero(detail::at(a), detail::count<A>) == 1;
}
/** Count the significant digits. */
template <Number A>
std::size_t significant_digits(const A &a) noexcept {
    return mpSizeof(detail::at(a), detail::count<A>);
}
/** Count the significant bits. */
template <Number A>
std::size_t bit_length(const A &a) noexcept {
    return mpBitLength(detail::at(a), detail::count<A>);
}

/* ---- Copy and clear ---------------------------------------------------------------------------------------------- */

/** Copy: a = b. */
template <Target A, Number B>
requires SameSize<A, B>
void copy(A &&a, const B &b) noexcept { mpSetEqual(detail::at(a), detail::at(b), detail::count<A>); }
/** Set a number to zero. The compiler never removes the writes. */
template <Target A>
void set_zero(A &&a) noexcept {
    mpSetZero(detail::at(a), detail::count<A>);
}
/** Set a number to a digit: a = d. */
template <Target A>
void set_digit(A &&a, std::uint32_t d) noexcept {
    mpSetDigit(detail::at(a), d, detail::count<A>);
}

/* ---- Bits -------------------------------------------------------------------------------------------------------- */

/** Shift left: a = b 2^shift. @return the lowest digit shifted out. */
template <Target A, Number B>
requires SameSize<A, B> std::uint32_t shift_left(A &&a, const B &b, std::uint64_t shift)
noexcept { return mpShiftLeft(detail::at(a), detail::at(b), shift, detail::count<A>); }
/** Shift right: a = floor(b / 2^shift). @return the highest 32 bits shifted out. */
template <Target A, Number B>
requires SameSize<A, B> std::uint32_t shift_right(A &&a, const B &b, std::uint64_t shift)
noexcept { return mpShiftRight(detail::at(a), detail::at(b), shift, detail::count<A>); }
/** Set or clear a bit. @return false if a has no such bit. */
template <Target A>
bool set_bit(A &&a, std::uint64_t bit, bool value) noexcept {
    return mpSetBit(detail::at(a), detail::count<A>, bit, value ? 1 : 0) == 0;
}
/** Get a bit. @return std::nullopt if a has no such bit. */
template <Number A>
std::optional<bool> get_bit(const A &a, std::uint64_t bit) noexcept {
    const int value = mpGetBit(detail::at(a), detail::count<A>, bit);
    if (value < 0) return std::nullopt;
    return value == 1;
}
/** Reduce modulo a power of two: a = a mod 2^bits. */
template <Target A>
void modulo_power_of_2(A &&a, std::uint64_t bits) noexcept {
    mpModPowerOf2(detail::at(a), detail::count<A>, bits);
}
/** Exclusive-or: a = b ^ c. */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_xor(A &&a, const B &b, const C &c) noexcept {
    mpXorBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** Bitwise or: a = b | c. */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_or(A &&a, const B &b, const C &c) noexcept {
    mpOrBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** Bitwise and: a = b & c. */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_and(A &&a, const B &b, const C &c) noexcept {
    mpAndBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** Bitwise complement: a = ~b. */
template <Target A, Number B>
requires SameSize<A, B>
void bit_not(A &&a, const B &b) noexcept { mpNotBits(detail::at(a), detail::at(b), detail::count<A>); }

/* ---- A number and a digit ---------------------------------------------------------------------------------------- */

/** Add a digit: w = u + d. @return the carry. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t add_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortAdd(detail::at(w), detail::at(u), d, detail::count<W>); }
/** Subtract a digit: w = u - d. @return the borrow. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t subtract_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortSub(detail::at(w), detail::at(u), d, detail::count<W>); }
/** Multiply by a digit: w = u d. @return the digit that was cut off. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t multiply_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortMult(detail::at(w), detail::at(u), d, detail::count<W>); }
/** An older name of multiply_digit(). m is not read, and the product is not reduced. */
template <Target W, Number U, Number M>
requires SameSize<W, U, M> std::uint32_t multiply_digit_unreduced(W &&w, const U &u, std::uint32_t d, const M &m)
noexcept { return mpShortModMult(detail::at(w), detail::at(u), d, detail::at(m), detail::count<W>); }
/** Divide by a digit: q = floor(u / d). @return the remainder; 0 if d = 0, and q is then unchanged. */
template <Target Q, Number U>
requires SameSize<Q, U> std::uint32_t divide_digit(Q &&q, const U &u, std::uint32_t d)
noexcept { return mpShortDiv(detail::at(q), detail::at(u), d, detail::count<Q>); }
/** Compute u mod d. @return the remainder; 0 if d = 0. */
template <Number U>
std::uint32_t modulo_digit(const U &u, std::uint32_t d) noexcept {
    return mpShortMod(detail::at(u), d, detail::count<U>);
}
/** Compare a number with a digit. @return 1 if a > d, 0 if a = d, -1 if a < d. */
template <Number A>
int compare_digit(const A &a, std::uint32_t d) noexcept {
    return mpShortCmp(detail::at(a), d, detail::count<A>);
}

/* ---- Division and signs ------------------------------------------------------------------------------------------ */

/** Divide: q = floor(u / v), r = u mod v. @return false if v = 0; q and r are then 0. */
template <Target Q, Target R, Number U, Number V>
requires SameSize<Q, R, U>
bool divide(Q &&q, R &&r, const U &u, const V &v) noexcept {
    return mpDivide(detail::at(q), detail::at(r), detail::at(u), detail::count<U>, detail::at(v), detail::count<V>) ==
           0;
}
/** Test whether a number in two's complement is negative. */
template <Number A>
bool is_negative(const A &a) noexcept {
    return mpIsNegative(detail::at(a), detail::count<A>) == 1;
}
/** Negate: a = -b. @return whether b was negative. */
template <Target A, Number B>
requires SameSize<A, B>
bool negate(A &&a, const B &b) noexcept { return mpChs(detail::at(a), detail::at(b), detail::count<A>) == 1; }
/** Absolute value: a = |b|. @return whether b was negative. */
template <Target A, Number B>
requires SameSize<A, B>
bool absolute(A &&a, const B &b) noexcept { return mpAbs(detail::at(a), detail::at(b), detail::count<A>) == 1; }

/* ---- Modular arithmetic ------------------------------------------------------------------------------------------ */

/** Reduce: r = u mod v. r has as many digits as v. */
template <Target R, Number U, Number V>
requires SameSize<R, V>
void modulo(R &&r, const U &u, const V &v) noexcept {
    mpModulo(detail::at(r), detail::at(u), detail::count<U>, detail::at(v), detail::count<V>);
}
/** Add modulo m: w = (u + v) mod m. The top bit of m must be clear. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M>
void modular_add(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModAdd(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** Subtract modulo m: w = (u - v) mod m. The top bit of m must be clear. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M>
void modular_subtract(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModSub(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** Multiply modulo m: w = u v mod m. The numbers may have at most half of VRX_MP_MAX_DIGITS digits. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M> &&
    (2 * digits<W> <= VRX_MP_MAX_DIGITS) void modular_multiply(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModMult(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** Compute an inverse: u^-1 mod m. @return false if there is none; `inverse` is then 0. */
template <Target W, Number U, Number M>
requires SameSize<W, U, M>
bool modular_inverse(W &&inverse, const U &u, const M &m) noexcept {
    return mpModInv(detail::at(inverse), detail::at(u), detail::at(m), detail::count<W>) == 0;
}
/** Compute a power modulo m: y = x^e mod m. If e = 1, y is x itself, not reduced. */
template <Target Y, Number X, Number E, Number M>
requires SameSize<Y, X, E, M>
void modular_power(Y &&y, const X &x, const E &e, const M &m) noexcept {
    mpModExp(detail::at(y), detail::at(x), detail::at(e), detail::at(m), detail::count<Y>);
}
/** Compute the greatest common divisor of x and y. */
template <Target G, Number X, Number Y>
requires SameSize<G, X, Y>
void greatest_common_divisor(G &&g, const X &x, const Y &y) noexcept {
    mpGcd(detail::at(g), detail::at(x), detail::at(y), detail::count<G>);
}
/** Compute the largest integer s whose square is at most x. */
template <Target S, Number X>
requires SameSize<S, X>
void square_root(S &&s, const X &x) noexcept { mpSqrt(detail::at(s), detail::at(x), detail::count<S>); }
/** Compute the Jacobi symbol (a/n) for odd n. @return 1, 0 or -1. */
template <Number A, Number N>
requires SameSize<A, N>
int jacobi(const A &a, const N &n) noexcept { return mpJacobi(detail::at(a), detail::at(n), detail::count<A>); }

/* ---- Random digits and primality: not for secrets ---------------------------------------------------------------- */

/**
 * Draw a digit from lower to upper with the C library's rand(). **Warning:** the digit is predictable; never use it for
 * secrets.
 */
inline std::uint32_t simple_random(std::uint32_t lower, std::uint32_t upper) noexcept {
    return spSimpleRand(lower, upper);
}
/** Run rounds of the Rabin-Miller test. @return true if w passes all of them. */
template <Number W>
bool passes_rabin_miller(const W &w, std::uint64_t rounds) noexcept {
    return mpRabinMiller(detail::at(w), detail::count<W>, rounds) == 1;
}
/** Test for primality by trial division and rounds of the Rabin-Miller test. @return true if w passes. */
template <Number W>
bool is_prime(const W &w, std::uint64_t rounds) noexcept {
    return mpIsPrime(detail::at(w), detail::count<W>, rounds) == 1;
}
/** Print a message and the text of errno to standard error, and end the process. */
[[noreturn]] inline void fail(const char *message) { mpFail(message); }

/* ---- Conversions ------------------------------------------------------------------------------------------------- */

/** Convert from big-endian octets. Octets that do not fit are ignored. @return the number of digits that were set. */
template <Target A>
std::size_t from_octets(A &&a, Bytes octets) noexcept {
    octets = octets.last(std::min(octets.size(), sizeof(std::uint32_t) * digits<A>));
    return mpConvFromOctets(detail::at(a), detail::count<A>, octets.data(), static_cast<std::uint32_t>(octets.size()));
}
/**
 * Convert to big-endian octets with leading zeros. @return the number of significant octets, even if some do not fit.
 */
template <Number A>
std::size_t to_octets(const A &a, MutableBytes octets) noexcept {
    const std::size_t most = 0x7FFFFFFF;
    if (octets.size() > most) {
        std::ranges::fill(octets.first(octets.size() - most), std::uint8_t{0});
        octets = octets.last(most);
    }
    return mpConvToOctets(detail::at(a), detail::count<A>, octets.data(), static_cast<std::uint32_t>(octets.size()));
}
/** Convert from hexadecimal. Other characters are skipped. @return the number of digits that the string may need. */
template <Target A>
std::size_t from_hex(A &&a, const char *text) noexcept {
    return mpConvFromHex(detail::at(a), detail::count<A>, text);
}
/** Convert from decimal. Other characters are skipped. @return the number of digits that the string may need. */
template <Target A>
std::size_t from_decimal(A &&a, const char *text) noexcept {
    return mpConvFromDecimal(detail::at(a), detail::count<A>, text);
}
/** Convert to hexadecimal without leading zeros. Allocates memory. */
template <Number A>
std::string to_hex(const A &a) {
    std::string text(mpConvToHex(detail::at(a), detail::count<A>, nullptr, 0) + 1, '\0');
    mpConvToHex(detail::at(a), detail::count<A>, text.data(), text.size());
    text.pop_back();
    return text;
}
/** Convert to decimal without leading zeros. Allocates memory. */
template <Number A>
std::string to_decimal(const A &a) {
    std::string text(mpConvToDecimal(detail::at(a), detail::count<A>, nullptr, 0) + 1, '\0');
    mpConvToDecimal(detail::at(a), detail::count<A>, text.data(), text.size());
    text.pop_back();
    return text;
}

/* ---- Printing to the C library's standard output ----------------------------------------------------------------- */

/** The layouts of print(). */
enum class Layout { plain, lines, trimmed, trimmed_lines };

/** Print a number to standard output, each digit as eight hexadecimal characters, most significant first. */
template <Number A>
void print(const A &a, Layout layout = Layout::plain) noexcept {
    switch (layout) {
        case Layout::plain:
            return mpPrint(detail::at(a), detail::count<A>);
        case Layout::lines:
            return mpPrintNL(detail::at(a), detail::count<A>);
        case Layout::trimmed:
            return mpPrintTrim(detail::at(a), detail::count<A>);
        case Layout::trimmed_lines:
            return mpPrintTrimNL(detail::at(a), detail::count<A>);
    }
}

}  // namespace mp

}  // namespace v1
}  // namespace vrx

#endif
