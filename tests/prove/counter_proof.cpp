// Proves that the closed form of n counter steps gives the same counter as n steps. A step adds a constant to word 0
// modulo 2^32, and a constant to word 1 modulo 2^32 - 1, where the result is from 1 to 2^32 - 1. The closed form adds n
// times these constants with the same moduli. By induction, n steps do so too. In each range, there is exactly one
// number of each residue class, so the results are equal.
#include <array>
#include <bit>
#include <cstring>

#include "prove/theorem.hpp"

namespace vrx::prove {
namespace {

/** A word of 32 bits, in terms of words of 64 bits. Sums, differences and products are modulo 2^32. */
struct Half {
    Word word;

    constexpr Half() = default;
    template <std::integral N>
    constexpr Half(N n) : word(static_cast<std::uint32_t>(n)) {}
    constexpr explicit Half(const Word& n) {
        word = n.id == 0 ? Word(n.value & 0xffffffffU) : integer::as_word(integer::low(n, 32));
    }
    constexpr operator Word() const { return word; }
    template <std::integral N>
    requires(!std::same_as<N, bool>) constexpr explicit operator N() const { return static_cast<N>(word); }

    friend constexpr Half operator+(const Half& a, const Half& b) { return Half(a.word + b.word); }
    friend constexpr Half operator*(const Half& a, const Half& b) { return Half(a.word * b.word); }
    friend constexpr Half operator^(const Half& a, const Half& b) { return Half(a.word ^ b.word); }
    friend constexpr Half operator|(const Half& a, const Half& b) { return Half(a.word | b.word); }
    friend constexpr Half operator&(const Half& a, const Half& b) { return Half(a.word & b.word); }
    template <std::integral N>
    friend constexpr Half operator>>(const Half& a, N by) {
        return Half(a.word >> by);
    }
    template <std::integral N>
    friend constexpr Half operator<<(const Half& a, N by) {
        return Half(a.word << by);
    }
    friend constexpr bool operator<(const Half& a, const Half& b) { return a.word < b.word; }
    friend constexpr bool operator==(const Half& a, const Half& b) { return a.word == b.word; }
    constexpr Half& operator^=(const Half& b) { return *this = *this ^ b; }
};

/** These proofs have no look-up at an unknown index. */
template <typename T, std::size_t count>
struct Array {
    T entry[count];

    template <typename Index>
    constexpr T& operator[](const Index& i) {
        return entry[static_cast<std::size_t>(i)];
    }
    template <typename Index>
    constexpr const T& operator[](const Index& i) const {
        return entry[static_cast<std::size_t>(i)];
    }
};

}  // namespace
}  // namespace vrx::prove

namespace std {
constexpr vrx::prove::Half rotl(const vrx::prove::Half& a, int by) { return a << by | a >> (32 - by); }
}  // namespace std

using prove_uint64 = vrx::prove::Word;
using prove_uint32 = vrx::prove::Half;
using prove_uint16 = std::uint16_t;
using prove_uint8 = std::uint8_t;
using prove_int8 = std::int8_t;
using prove_int16 = std::int16_t;
using prove_int32 = std::int32_t;
using prove_int64 = std::int64_t;
using prove_int = int;
using prove_char = char;
using prove_longlong = long long;
template <typename T, std::size_t count>
using prove_array = vrx::prove::Array<T, count>;

#include "gost28147/mode.hpp"

namespace vrx::prove {
namespace {

using gost28147::Block;
using gost28147::step_counter;
using integer::form;

Block any() { return {Half(integer::unknown(power(32) - 1)), Half(integer::unknown(power(32) - 1))}; }
Claim same(const Block& a, const Block& b) {
    return equal(form(a.n1.word), form(b.n1.word)) && equal(form(a.n2.word), form(b.n2.word));
}

/** Returns the claim that `to` is `from` plus n times the constants of a step. */
Claim is_counted(const Block& to, const Block& from, const Form& n) {
    const Form n1 = form(to.n1.word), n2 = form(to.n2.word);
    return divides(power(32), n1 - form(from.n1.word) - n * mpz_class(0x01010101)) && Form(0) <= n1 &&
           n1 < Form(power(32)) && divides(power(32) - 1, n2 - form(from.n2.word) - n * mpz_class(0x01010104)) &&
           Form(1) <= n2 && n2 < Form(power(32));
}

TEST(counter, n_steps_at_once_are_n_steps) {
    VRX_NEEDS_SOLVER();
    theorem_on_paths("counter: a step adds its constants, modulo 2^32 and 2^32 - 1", 2, [] {
        const Block c = any();
        return is_counted(step_counter(c), c, 1);
    });
    theorem_on_paths("counter: n steps at once add n times these constants, for 0 < n < 2^32", 2, [] {
        const Block c = any();
        const Word n = integer::unknown(power(32) - 1, 1);
        return is_counted(step_counter(c, n), c, form(n));
    });
}

// Engines add the table of steps from zero to a counter in this way.
TEST(counter, up_to_128_steps_are_sums_with_steps_from_zero) {
    VRX_NEEDS_SOLVER();
    theorem_on_paths("counter: n up to 128 steps are a sum with n steps from zero", 3, [] {
        const Block c = any();
        const Word n = integer::unknown(128, 1);
        const Block steps = step_counter({0, 0}, n);
        const Word sum = c.n2.word + steps.n2.word;
        return same(step_counter(c, n), {c.n1 + steps.n1, Half(sum) + Half(sum >> 32)});
    });
}

}  // namespace
}  // namespace vrx::prove
