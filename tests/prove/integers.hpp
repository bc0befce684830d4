// Symbolic words, described by linear integer arithmetic.
//
// A Word is a constant or an affine form over unknowns with bounds. Sums, and products with constants, stay affine. A
// carry out of 64 bits and a shift each introduce a quotient q as a new unknown: x = 2^n q + r with 0 <= r < 2^n. A
// product of two unknowns is a new unknown with bounds. A mask is all ones times a bit, so selections become case
// distinctions. All other operations throw: nothing is approximated.
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
/** The same value over given unknowns and quotients alone: without remainders of divisions. */
Form expanded(const Form& f);
Claim implies(const Claim& a, const Claim& b);
/**
 * Claims that m divides a. Removes multiples of m from the coefficients of a, and claims that the rest is k m for some
 * k from -range to range. This claim is sufficient, and the solver need not search for a quotient.
 */
Claim divides(const mpz_class& m, const Form& a, int range = 2);

/** 2^n */
mpz_class power(unsigned n);
mpz_class to_mpz(std::uint64_t n);

using Id = std::uint32_t;  // the number of an unknown integer; 0 if there is none

/** 64-bit words, and their sums and products of 128 bits. */
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
    /** Conversion for uses that need a constant, such as an index or a count. */
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

/** Deletes all unknowns and assumptions. If a fault number n is given, the n-th operation from now on is wrong. */
void reset(unsigned fault = 0);
/** The number of operations since reset() in which a fault can be planted. */
unsigned operations();

/** Returns a word of any value up to `most`. */
Word unknown(const mpz_class& most = power(64) - 1, const mpz_class& least = 0);
/** Returns an unknown integer as a form. */
Form unknown_form(const mpz_class& least, const mpz_class& most);
void assume(const Claim& claim);

/** The bounds of a number, as far as interval arithmetic shows them. */
mpz_class least(const Wide& w);
mpz_class most(const Wide& w);
Form form(const Word& w);
Form form(const Wide& w);
/** Returns a word with the value of a form, which is between the given bounds. */
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
/** The value of constant words. */
template <std::size_t count>
mpz_class number(const std::array<Word, count>& words) {
    return value(words).constant;
}

/** Returns an SMT-LIB text which states that the assumptions hold and the claim does not. */
std::string negated(const Claim& claim);
/**
 * SMT-LIB text: given unknowns have random values, and all others the values that follow. It spares the solver the
 * search for a counterexample, but may contradict the assumptions.
 */
std::string example(unsigned long seed);

Id sum(const Wide& a, const Wide& b, bool minus, unsigned bits);
Id product(const Wide& a, const Wide& b, unsigned bits);
Id low(const Wide& a, unsigned bits);
Id shifted_right(const Wide& a, unsigned by);
Id shifted_left(const Word& a, unsigned by);
Id both(const Word& a, const Word& b);
Id either(const Word& a, const Word& b);
Id differing(const Word& a, const Word& b);
Id complement(const Word& a);
/** Converts an integer to a word; constants stay constants. */
Word as_word(Id id);
Wide as_wide(Id id);
/** Returns the outcome of a branch on the current path: see each_path(). */
bool decide(const Claim& claim);
Claim is_less(const Word& a, const Word& b);
Claim is_equal(const Word& a, const Word& b);

/**
 * Calls run() for every path through its branches on unknowns, and assumes the conditions of that path. Claims that the
 * claim of run() holds on every path.
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
/** Constants only. */
constexpr Word operator/(const Word& a, const Word& b) {
    return a.id == 0 && b.id == 0 ? Word(a.value / b.value) : throw "a quotient of unknown numbers";
}
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
