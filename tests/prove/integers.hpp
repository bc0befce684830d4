// Words as integers: what arithmetic on words says of them, in linear integer arithmetic.
//
// A Word is a constant or an affine form over unknowns with bounds. Sums and multiples by constants stay affine. What
// leaves the 64 bits, and what a shift takes apart, introduces the quotient as an unknown: x = 2^n q + r with 0 <= r <
// 2^n. A product of two unknowns is a new unknown with its bounds. Masks are known to be all ones times a bit, so that
// selections become case distinctions. Operations that have no such meaning throw: nothing is approximated.
#ifndef VRX_TESTS_PROVE_INTEGERS_HPP
#define VRX_TESTS_PROVE_INTEGERS_HPP

#include <gmpxx.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "prove/solver.hpp"

namespace vrx::prove {

/** A sum of multiples of unknowns and a constant. */
struct Form {
    std::map<unsigned, mpz_class> terms;
    mpz_class constant = 0;

    Form() = default;
    Form(const mpz_class& c) : constant(c) {}
    Form(int c) : constant(c) {}

    Form& operator+=(const Form& b);
    Form& operator*=(const mpz_class& c);
    friend Form operator+(Form a, const Form& b) { return a += b; }
    friend Form operator*(Form a, const mpz_class& c) { return a *= c; }
    friend Form operator-(Form a, const Form& b) { return a += b * mpz_class(-1); }
    bool operator==(const Form&) const = default;
    [[nodiscard]] std::string text() const;
};

/** A claim or an assumption, as a term of sort Bool. */
struct Claim {
    std::string text;

    friend Claim operator&&(const Claim& a, const Claim& b) { return {"(and " + a.text + " " + b.text + ")"}; }
    friend Claim operator||(const Claim& a, const Claim& b) { return {"(or " + a.text + " " + b.text + ")"}; }
    Claim operator!() const { return {"(not " + text + ")"}; }
};
Claim operator<(const Form& a, const Form& b);
Claim operator<=(const Form& a, const Form& b);
Claim equal(const Form& a, const Form& b);
Claim implies(const Claim& a, const Claim& b);
/**
 * That m divides a: what is left of a without the multiples of m in its coefficients is k m for a k from -range to
 * range. (A sufficient condition; the solver has no quotient to look for.)
 */
Claim divides(const mpz_class& m, const Form& a, int range = 2);

/** 2^n */
mpz_class power(unsigned n);
mpz_class to_mpz(std::uint64_t n);

using Id = std::uint32_t;  // of an unknown integer; 0 is none

/** 64-bit words, and the sums and products of twice that size which they are taken out of. */
struct Wide;
struct Word {
    std::uint64_t value = 0;
    Id id = 0;

    using Twice = Wide;

    constexpr Word() = default;
    template <std::integral N>
    constexpr Word(N n) : value(static_cast<std::uint64_t>(n)) {}
    constexpr explicit Word(const Wide& n);
    constexpr bool operator==(const Word& other) const;
    constexpr auto operator<=>(const Word& other) const;
    constexpr explicit operator bool() const;
    /** Where an index or a count has to be known. */
    template <std::integral N>
    requires(!std::same_as<N, bool>) constexpr explicit operator N() const {
        return static_cast<N>(id == 0 ? value : throw "an unknown number where a known one has to be");
    }
};
struct Wide {
    __extension__ using Builtin = unsigned __int128;
    Builtin value = 0;
    Id id = 0;

    constexpr Wide() = default;
    template <std::integral N>
    constexpr Wide(N n) : value(static_cast<Builtin>(n)) {}
    constexpr Wide(const Word& n) : value(n.value), id(n.id) {}
};

namespace integer {

/** Everything about unknowns since reset(). */
void reset(unsigned fault = 0);
/** How many operations could have gone wrong since then. */
unsigned operations();

/** A word of any value up to `most`. */
Word unknown(const mpz_class& most = power(64) - 1, const mpz_class& least = 0);
/** An unknown number by itself. */
Form unknown_form(const mpz_class& least, const mpz_class& most);
void assume(const Claim& claim);

Form form(const Word& w);
Form form(const Wide& w);
/** A word that is this form, which stays between these bounds. */
Word word(const Form& f, const mpz_class& least, const mpz_class& most);

template <std::size_t count>
std::array<Word, count> unknown_words() {
    std::array<Word, count> r;
    for (Word& w : r) w = unknown();
    return r;
}
template <std::size_t count>
Form value(const std::array<Word, count>& words) {
    Form sum;
    for (std::size_t i = 0; i < count; ++i) sum += form(words[i]) * power(64 * static_cast<unsigned>(i));
    return sum;
}
/** A constant number. */
template <std::size_t count>
mpz_class number(const std::array<Word, count>& words) {
    return value(words).constant;
}

/** The text that says what is assumed, and that a claim does not hold. */
std::string negated(const Claim& claim);

Id sum(const Wide& a, const Wide& b, bool minus, unsigned bits);
Id product(const Wide& a, const Wide& b, unsigned bits);
Id low(const Wide& a, unsigned bits);
Id shifted_right(const Wide& a, unsigned by);
Id shifted_left(const Word& a, unsigned by);
Id both(const Word& a, const Word& b);
Id either(const Word& a, const Word& b);
Id differing(const Word& a, const Word& b);
Id complement(const Word& a);
/** Constants come back as such. */
Word as_word(Id id);
Wide as_wide(Id id);
/** Which way a branch goes: see each_path(). */
bool decide(const Claim& claim);
Claim is_less(const Word& a, const Word& b);
Claim is_equal(const Word& a, const Word& b);

/**
 * Calls run() for every way through its branches on unknowns. In each, what the branches found is assumed. The claim is
 * that on every path the claim of run() holds.
 */
void each_path(const std::function<Claim()>& run, const std::function<void(const std::string& negated)>& check);

}  // namespace integer

constexpr Word::Word(const Wide& n) : value(static_cast<std::uint64_t>(n.value)) {
    if (n.id != 0) *this = integer::as_word(integer::low(n, 64));
}

#define VRX_PROVE_OPERATION(op, wide_result, word_result)      \
    template <std::same_as<Wide> W>                            \
    constexpr Wide operator op(const W& a, const Wide& b) {    \
        if (a.id == 0 && b.id == 0) {                          \
            Wide r;                                            \
            r.value = a.value op b.value;                      \
            return r;                                          \
        }                                                      \
        return integer::as_wide(wide_result);                  \
    }                                                          \
    constexpr Word operator op(const Word& a, const Word& b) { \
        if (a.id == 0 && b.id == 0) return a.value op b.value; \
        return integer::as_word(word_result);                  \
    }
VRX_PROVE_OPERATION(+, integer::sum(a, b, false, 128), integer::sum(a, b, false, 64))
VRX_PROVE_OPERATION(-, integer::sum(a, b, true, 128), integer::sum(a, b, true, 64))
VRX_PROVE_OPERATION(*, integer::product(a, b, 128), integer::product(a, b, 64))
#undef VRX_PROVE_OPERATION

#define VRX_PROVE_OPERATION(op, word_result)                   \
    constexpr Word operator op(const Word& a, const Word& b) { \
        if (a.id == 0 && b.id == 0) return a.value op b.value; \
        return integer::as_word(word_result);                  \
    }                                                          \
    constexpr Word& operator op##=(Word& a, const Word& b) { return a = a op b; }
VRX_PROVE_OPERATION(&, integer::both(a, b))
VRX_PROVE_OPERATION(|, integer::either(a, b))
VRX_PROVE_OPERATION(^, integer::differing(a, b))
#undef VRX_PROVE_OPERATION
constexpr Word& operator+=(Word& a, const Word& b) { return a = a + b; }
constexpr Word& operator-=(Word& a, const Word& b) { return a = a - b; }
constexpr Word& operator*=(Word& a, const Word& b) { return a = a * b; }

template <std::integral N>
constexpr Wide operator>>(const Wide& a, N by) {
    if (a.id != 0) return integer::as_wide(integer::shifted_right(a, static_cast<unsigned>(by)));
    Wide r;
    r.value = a.value >> by;
    return r;
}
template <std::integral N>
constexpr Word operator>>(const Word& a, N by) {
    if (a.id != 0) return integer::as_word(integer::shifted_right(a, static_cast<unsigned>(by)));
    return a.value >> by;
}
template <std::integral N>
constexpr Word operator<<(const Word& a, N by) {
    if (a.id != 0) return integer::as_word(integer::shifted_left(a, static_cast<unsigned>(by)));
    return a.value << by;
}
constexpr Word operator~(const Word& a) {
    if (a.id != 0) return integer::as_word(integer::complement(a));
    return ~a.value;
}
constexpr bool Word::operator==(const Word& other) const {
    if (id == 0 && other.id == 0) return value == other.value;
    return integer::decide(integer::is_equal(*this, other));
}
constexpr auto Word::operator<=>(const Word& other) const {
    if (id == 0 && other.id == 0) return value <=> other.value;
    if (integer::decide(integer::is_less(*this, other))) return std::strong_ordering::less;
    return integer::decide(integer::is_equal(*this, other)) ? std::strong_ordering::equal
                                                            : std::strong_ordering::greater;
}
constexpr Word::operator bool() const { return *this != Word{0}; }
}  // namespace vrx::prove

template <>
struct std::numeric_limits<vrx::prove::Word> {
    static constexpr bool is_specialized = true;
    static constexpr int digits = 64;
};

#endif
