/**
 * @file cxx/bigdigits.hpp  Multiple-precision arithmetic for C++: bigdigits.h over arrays whose sizes the compiler checks.
 *
 * A number is a std::array, an array or a std::span of a fixed number of 32-bit digits, least significant first. Where
 * sizes do not fit the call does not compile. Everything else is as bigdigits.h says: overlap, contents, speed.
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

/** The number of digits of a type. */
template <typename T>
inline constexpr std::size_t digits = decltype(std::span{std::declval<T &>()})::extent;

/** Digits that can be read: their number is fixed, at least 1 and at most VRX_MP_MAX_DIGITS. */
template <typename T>
concept Number = requires(T &number) {
    {std::span{number}};
    requires std::same_as<typename decltype(std::span{number})::value_type, std::uint32_t>;
}
&&digits<T> >= 1 && digits<T> <= VRX_MP_MAX_DIGITS;

/** Digits that can be written. */
template <typename T>
concept Target = Number<T> && !std::is_const_v<typename decltype(std::span{std::declval<T &>()})::element_type>;

/** Numbers of the same number of digits. */
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

/** The module's attribution. */
inline std::string_view copyright_notice() noexcept { return bigdigits_copyright_notice(); }
/** The module's version number, 2205. */
inline int version() noexcept { return mpVersion(); }

/* ---- Single digits ---- */

/** x y, low digit first. */
inline std::array<std::uint32_t, 2> multiply(std::uint32_t x, std::uint32_t y) noexcept {
    std::array<std::uint32_t, 2> p;
    spMultiply(p.data(), x, y);
    return p;
}
/** A quotient of 33 bits, and a remainder. */
struct DigitDivision {
    std::uint32_t quotient;  /**< modulo 2^32 */
    std::uint32_t remainder; /**< below the divisor */
    int carry;               /**< bit 32 of the quotient; -1 when the top bit of the divisor is clear */
};
/** u / d, for d of 2^31 and more. */
inline DigitDivision divide(const std::array<std::uint32_t, 2> &u, std::uint32_t d) noexcept {
    DigitDivision result;
    result.carry = spDivide(&result.quotient, &result.remainder, u.data(), d);
    return result;
}

/* ---- Addition and multiplication ---- */

/** w = u + v. @return the carry. */
template <Target W, Number U, Number V>
requires SameSize<W, U, V> std::uint32_t add(W &&w, const U &u, const V &v)
noexcept { return mpAdd(detail::at(w), detail::at(u), detail::at(v), detail::count<W>); }
/** w = u - v. @return the borrow. */
template <Target W, Number U, Number V>
requires SameSize<W, U, V> std::uint32_t subtract(W &&w, const U &u, const V &v)
noexcept { return mpSubtract(detail::at(w), detail::at(u), detail::at(v), detail::count<W>); }
/** w = u v; w has twice as many digits, and is not an operand. */
template <Target W, Number U, Number V>
requires SameSize<U, V> &&(digits<W> == 2 * digits<U>)void multiply(W &&w, const U &u, const V &v) noexcept {
    mpMultiply(detail::at(w), detail::at(u), detail::at(v), detail::count<U>);
}
/** w = u^2; w has twice as many digits, and is not u. */
template <Target W, Number U>
requires(digits<W> == 2 * digits<U>) void square(W &&w, const U &u) noexcept {
    mpSquare(detail::at(w), detail::at(u), detail::count<U>);
}

/* ---- Comparison and size ---- */

/** a = b */
template <Number A, Number B>
requires SameSize<A, B>
bool equal(const A &a, const B &b) noexcept { return mpEqual(detail::at(a), detail::at(b), detail::count<A>) == 1; }
/** 1 when a > b, 0 when a = b, -1 when a < b */
template <Number A, Number B>
requires SameSize<A, B>
int compare(const A &a, const B &b) noexcept { return mpCompare(detail::at(a), detail::at(b), detail::count<A>); }
/** a = 0 */
template <Number A>
bool is_zero(const A &a) noexcept {
    return mpIsZero(detail::at(a), detail::count<A>) == 1;
}
/** The number of significant digits. */
template <Number A>
std::size_t significant_digits(const A &a) noexcept {
    return mpSizeof(detail::at(a), detail::count<A>);
}
/** The number of significant bits. */
template <Number A>
std::size_t bit_length(const A &a) noexcept {
    return mpBitLength(detail::at(a), detail::count<A>);
}

/* ---- Copy and clear ---- */

/** a = b */
template <Target A, Number B>
requires SameSize<A, B>
void copy(A &&a, const B &b) noexcept { mpSetEqual(detail::at(a), detail::at(b), detail::count<A>); }
/** a = 0, for good. */
template <Target A>
void set_zero(A &&a) noexcept {
    mpSetZero(detail::at(a), detail::count<A>);
}
/** a = d */
template <Target A>
void set_digit(A &&a, std::uint32_t d) noexcept {
    mpSetDigit(detail::at(a), d, detail::count<A>);
}

/* ---- Bits ---- */

/** a = b 2^shift. @return the lowest digit shifted out. */
template <Target A, Number B>
requires SameSize<A, B> std::uint32_t shift_left(A &&a, const B &b, std::uint64_t shift)
noexcept { return mpShiftLeft(detail::at(a), detail::at(b), shift, detail::count<A>); }
/** a = floor(b / 2^shift). @return the highest 32 bits shifted out. */
template <Target A, Number B>
requires SameSize<A, B> std::uint32_t shift_right(A &&a, const B &b, std::uint64_t shift)
noexcept { return mpShiftRight(detail::at(a), detail::at(b), shift, detail::count<A>); }
/** Set a bit. @return false where a has no such bit. */
template <Target A>
bool set_bit(A &&a, std::uint64_t bit, bool value) noexcept {
    return mpSetBit(detail::at(a), detail::count<A>, bit, value ? 1 : 0) == 0;
}
/** A bit; nothing where a has no such bit. */
template <Number A>
std::optional<bool> get_bit(const A &a, std::uint64_t bit) noexcept {
    const int value = mpGetBit(detail::at(a), detail::count<A>, bit);
    if (value < 0) return std::nullopt;
    return value == 1;
}
/** a = a mod 2^bits */
template <Target A>
void modulo_power_of_2(A &&a, std::uint64_t bits) noexcept {
    mpModPowerOf2(detail::at(a), detail::count<A>, bits);
}
/** a = b exclusive-or c */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_xor(A &&a, const B &b, const C &c) noexcept {
    mpXorBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** a = b or c */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_or(A &&a, const B &b, const C &c) noexcept {
    mpOrBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** a = b and c */
template <Target A, Number B, Number C>
requires SameSize<A, B, C>
void bit_and(A &&a, const B &b, const C &c) noexcept {
    mpAndBits(detail::at(a), detail::at(b), detail::at(c), detail::count<A>);
}
/** a = the complement of b */
template <Target A, Number B>
requires SameSize<A, B>
void bit_not(A &&a, const B &b) noexcept { mpNotBits(detail::at(a), detail::at(b), detail::count<A>); }

/* ---- A number and a digit ---- */

/** w = u + d. @return the carry. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t add_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortAdd(detail::at(w), detail::at(u), d, detail::count<W>); }
/** w = u - d. @return the borrow. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t subtract_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortSub(detail::at(w), detail::at(u), d, detail::count<W>); }
/** w = u d. @return the digit that does not fit. */
template <Target W, Number U>
requires SameSize<W, U> std::uint32_t multiply_digit(W &&w, const U &u, std::uint32_t d)
noexcept { return mpShortMult(detail::at(w), detail::at(u), d, detail::count<W>); }
/** multiply_digit() under an older name; m is not read, and nothing is reduced. */
template <Target W, Number U, Number M>
requires SameSize<W, U, M> std::uint32_t multiply_digit_unreduced(W &&w, const U &u, std::uint32_t d, const M &m)
noexcept { return mpShortModMult(detail::at(w), detail::at(u), d, detail::at(m), detail::count<W>); }
/** q = floor(u / d). @return the remainder; 0 for d = 0, and q is then as it was. */
template <Target Q, Number U>
requires SameSize<Q, U> std::uint32_t divide_digit(Q &&q, const U &u, std::uint32_t d)
noexcept { return mpShortDiv(detail::at(q), detail::at(u), d, detail::count<Q>); }
/** u mod d; 0 for d = 0. */
template <Number U>
std::uint32_t modulo_digit(const U &u, std::uint32_t d) noexcept {
    return mpShortMod(detail::at(u), d, detail::count<U>);
}
/** 1 when a > d, 0 when a = d, -1 when a < d */
template <Number A>
int compare_digit(const A &a, std::uint32_t d) noexcept {
    return mpShortCmp(detail::at(a), d, detail::count<A>);
}

/* ---- Division and signs ---- */

/** q = floor(u / v), r = u mod v, both of the digits of u. @return false for v = 0; q and r are then 0. */
template <Target Q, Target R, Number U, Number V>
requires SameSize<Q, R, U>
bool divide(Q &&q, R &&r, const U &u, const V &v) noexcept {
    return mpDivide(detail::at(q), detail::at(r), detail::at(u), detail::count<U>, detail::at(v), detail::count<V>) ==
           0;
}
/** Whether a is negative, read in two's complement. */
template <Number A>
bool is_negative(const A &a) noexcept {
    return mpIsNegative(detail::at(a), detail::count<A>) == 1;
}
/** a = -b. @return whether b was negative. */
template <Target A, Number B>
requires SameSize<A, B>
bool negate(A &&a, const B &b) noexcept { return mpChs(detail::at(a), detail::at(b), detail::count<A>) == 1; }
/** a = |b|. @return whether b was negative. */
template <Target A, Number B>
requires SameSize<A, B>
bool absolute(A &&a, const B &b) noexcept { return mpAbs(detail::at(a), detail::at(b), detail::count<A>) == 1; }

/* ---- Modular arithmetic ---- */

/** r = u mod v; r has the digits of v. */
template <Target R, Number U, Number V>
requires SameSize<R, V>
void modulo(R &&r, const U &u, const V &v) noexcept {
    mpModulo(detail::at(r), detail::at(u), detail::count<U>, detail::at(v), detail::count<V>);
}
/** w = (u + v) mod m. The top bit of m is clear. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M>
void modular_add(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModAdd(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** w = (u - v) mod m. The top bit of m is clear. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M>
void modular_subtract(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModSub(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** w = u v mod m, for at most half of VRX_MP_MAX_DIGITS. */
template <Target W, Number U, Number V, Number M>
requires SameSize<W, U, V, M> &&
    (2 * digits<W> <= VRX_MP_MAX_DIGITS) void modular_multiply(W &&w, const U &u, const V &v, const M &m) noexcept {
    mpModMult(detail::at(w), detail::at(u), detail::at(v), detail::at(m), detail::count<W>);
}
/** inverse = u^-1 mod m. @return false where there is none; the result is then 0. */
template <Target W, Number U, Number M>
requires SameSize<W, U, M>
bool modular_inverse(W &&inverse, const U &u, const M &m) noexcept {
    return mpModInv(detail::at(inverse), detail::at(u), detail::at(m), detail::count<W>) == 0;
}
/** y = x^e mod m */
template <Target Y, Number X, Number E, Number M>
requires SameSize<Y, X, E, M>
void modular_power(Y &&y, const X &x, const E &e, const M &m) noexcept {
    mpModExp(detail::at(y), detail::at(x), detail::at(e), detail::at(m), detail::count<Y>);
}
/** g = the greatest common divisor of x and y */
template <Target G, Number X, Number Y>
requires SameSize<G, X, Y>
void greatest_common_divisor(G &&g, const X &x, const Y &y) noexcept {
    mpGcd(detail::at(g), detail::at(x), detail::at(y), detail::count<G>);
}
/** s = floor of the square root of x */
template <Target S, Number X>
requires SameSize<S, X>
void square_root(S &&s, const X &x) noexcept { mpSqrt(detail::at(s), detail::at(x), detail::count<S>); }
/** The Jacobi symbol (a/n) for odd n: 1, 0 or -1. */
template <Number A, Number N>
requires SameSize<A, N>
int jacobi(const A &a, const N &n) noexcept { return mpJacobi(detail::at(a), detail::at(n), detail::count<A>); }

/* ---- Random digits and primality: not for secrets ---- */

/** A digit from lower to upper, by the C library's rand(). */
inline std::uint32_t simple_random(std::uint32_t lower, std::uint32_t upper) noexcept {
    return spSimpleRand(lower, upper);
}
/** Whether w passes so many rounds of the Rabin-Miller test. */
template <Number W>
bool passes_rabin_miller(const W &w, std::uint64_t rounds) noexcept {
    return mpRabinMiller(detail::at(w), detail::count<W>, rounds) == 1;
}
/** Whether w is prime, as far as trial division and so many rounds of the Rabin-Miller test tell. */
template <Number W>
bool is_prime(const W &w, std::uint64_t rounds) noexcept {
    return mpIsPrime(detail::at(w), detail::count<W>, rounds) == 1;
}
/** End the process with a message and the text of the system's last error. */
[[noreturn]] inline void fail(const char *message) { mpFail(message); }

/* ---- Conversions ---- */

/** a = the number in big-endian octets; those that do not fit are lost. @return the digits that took octets. */
template <Target A>
std::size_t from_octets(A &&a, Bytes octets) noexcept {
    octets = octets.last(std::min(octets.size(), sizeof(std::uint32_t) * digits<A>));
    return mpConvFromOctets(detail::at(a), detail::count<A>, octets.data(), static_cast<std::uint32_t>(octets.size()));
}
/** Big-endian octets of a, with zeros in front. @return the significant octets of a, also where they do not fit. */
template <Number A>
std::size_t to_octets(const A &a, MutableBytes octets) noexcept {
    const std::size_t most = 0x7FFFFFFF;
    if (octets.size() > most) {
        std::ranges::fill(octets.first(octets.size() - most), std::uint8_t{0});
        octets = octets.last(most);
    }
    return mpConvToOctets(detail::at(a), detail::count<A>, octets.data(), static_cast<std::uint32_t>(octets.size()));
}
/** a = the hexadecimal number in a text; other characters are skipped. @return the digits that the text may need. */
template <Target A>
std::size_t from_hex(A &&a, const char *text) noexcept {
    return mpConvFromHex(detail::at(a), detail::count<A>, text);
}
/** a = the decimal number in a text; other characters are skipped. @return the digits that the text may need. */
template <Target A>
std::size_t from_decimal(A &&a, const char *text) noexcept {
    return mpConvFromDecimal(detail::at(a), detail::count<A>, text);
}
/** a in hexadecimal, without leading zeros. Allocates. */
template <Number A>
std::string to_hex(const A &a) {
    std::string text(mpConvToHex(detail::at(a), detail::count<A>, nullptr, 0) + 1, '\0');
    mpConvToHex(detail::at(a), detail::count<A>, text.data(), text.size());
    text.pop_back();
    return text;
}
/** a in decimal, without leading zeros. Allocates. */
template <Number A>
std::string to_decimal(const A &a) {
    std::string text(mpConvToDecimal(detail::at(a), detail::count<A>, nullptr, 0) + 1, '\0');
    mpConvToDecimal(detail::at(a), detail::count<A>, text.data(), text.size());
    text.pop_back();
    return text;
}

/* ---- Printing to the C library's standard output ---- */

/** How print() lays a number out. */
enum class Layout { plain, lines, trimmed, trimmed_lines };

/** Print a as digits of eight hexadecimal figures, most significant first. */
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
