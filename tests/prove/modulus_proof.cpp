// Proves the arithmetic for every built-in p and q, for all elements.
#include "prove/field.hpp"
#include "prove/theorem.hpp"

#include "ecc/field/curves.hpp"

using namespace vrx::field;
using vrx::prove::Claim;
using vrx::prove::divides;
using vrx::prove::equal;
using vrx::prove::Form;
using vrx::prove::implies;
using vrx::prove::power;
using vrx::prove::theorem;
namespace integer = vrx::prove::integer;
using integer::form;
using integer::value;

namespace {

const mpz_class whole = power(256);

Words any() { return integer::unknown_words<4>(); }
Words any_below(const mpz_class& end) {
    const Words r = any();
    integer::assume(value(r) < Form(end));
    return r;
}
Claim is_below(const Words& a, const mpz_class& end) { return value(a) < Form(end); }

/**
 * Returns the product of a and b, as a sum of the products of their words, which are unknowns. Assumes that the sum is
 * below `end`.
 */
Form product(const Words& a, const Words& b, const mpz_class& end) {
    Form sum;
    for (unsigned i = 0; i < 4; ++i)
        for (unsigned j = 0; j < 4; ++j) sum += form(vrx::prove::Wide{a[i]} * b[j]) * power(64 * (i + j));
    integer::assume(Form(0) <= sum);
    integer::assume(sum < Form(end));
    return sum;
}

template <typename Field>
std::string name = "?";
template <>
const std::string name<CurveTest::Field> = "p of Test";
template <>
const std::string name<CurveA::Field> = "p of A";
template <>
const std::string name<CurveB::Field> = "p of B";
template <>
const std::string name<CurveC::Field> = "p of C";
template <>
const std::string name<Montgomery<CurveTest::q>> = "q of Test";
template <>
const std::string name<Montgomery<CurveA::q>> = "q of A";
template <>
const std::string name<Montgomery<CurveB::q>> = "q of B";
template <>
const std::string name<Montgomery<CurveC::q>> = "q of C";

/** The engine's word operations, with products that the test provides. */
struct AnyProduct : PlainWords {
    static inline WideWords product;
    static inline std::array<vrx::prove::Word, 5> sum;

    static WideWords multiply(const Words&, const Words&) { return product; }
    static WideWords square(const Words&) { return product; }
    template <const Words& m, vrx::prove::Word inverse>
    static std::array<vrx::prove::Word, 5> montgomery(const Words&, const Words&) {
        return sum;
    }
};

/** The engine's word operations, with access to the Montgomery product before the final subtraction. */
struct Seen : PlainWords {
    static inline std::array<vrx::prove::Word, 5> sum;

    template <const Words& m, vrx::prove::Word inverse>
    static std::array<vrx::prove::Word, 5> montgomery(const Words& a, const Words& b) {
        sum = PlainWords::montgomery<m, inverse>(a, b);
        return {};
    }
};

struct Names {
    template <typename S>
    static std::string GetName(int /*index*/) {
        std::string r = name<S>;
        for (char& c : r)
            if (c == ' ') c = '_';
        return r;
    }
};

template <typename S>
class Loose : public testing::Test {};
using LooseFields = testing::Types<CurveTest::Field, CurveA::Field, CurveB::Field>;
TYPED_TEST_SUITE(Loose, LooseFields, Names);

// Every number of four words is an element. So only the residue class of a result must be proved, not its range.

TYPED_TEST(Loose, sums_and_differences_are_of_their_class) {
    VRX_NEEDS_SOLVER();
    using S = TypeParam;
    const mpz_class p = integer::number(S::modulus);
    theorem(name<S> + ": add(a, b) = a + b modulo p", 3, [&] {
        const Words a = any(), b = any();
        return divides(p, value(S::add(a, b)) - value(a) - value(b));
    });
    theorem(name<S> + ": sub(a, b) = a - b modulo p", 3, [&] {
        const Words a = any(), b = any();
        return divides(p, value(S::sub(a, b)) - value(a) + value(b));
    });
}

// A product is P::multiply(), which words_proof covers, followed by the reduction of an arbitrary number of eight
// words.
TYPED_TEST(Loose, products_are_of_their_class) {
    VRX_NEEDS_SOLVER();
    using S = typename TypeParam::template With<AnyProduct>;
    const mpz_class p = integer::number(S::modulus);
    theorem(name<TypeParam> + ": mul, of any product v: v modulo p", 9, [&] {
        AnyProduct::product = integer::unknown_words<8>();
        return divides(p, value(S::mul(Words{}, Words{})) - value(AnyProduct::product));
    });
    theorem(name<TypeParam> + ": sqr, of any square v: v modulo p", 9, [&] {
        AnyProduct::product = integer::unknown_words<8>();
        return divides(p, value(S::sqr(Words{})) - value(AnyProduct::product));
    });
}

TYPED_TEST(Loose, canonical_elements_are_below_the_modulus) {
    VRX_NEEDS_SOLVER();
    using S = TypeParam;
    const mpz_class p = integer::number(S::modulus);
    theorem(name<S> + ": from_montgomery(a) = a modulo p, and below p", 2, [&] {
        const Words a = any();
        const Words r = S::from_montgomery(a);
        return divides(p, value(r) - value(a)) && is_below(r, p);
    });
}

template <typename S>
class Reduced : public testing::Test {};
using ReducedFields = testing::Types<CurveC::Field, Montgomery<CurveTest::q>, Montgomery<CurveA::q>,
                                     Montgomery<CurveB::q>, Montgomery<CurveC::q>>;
TYPED_TEST_SUITE(Reduced, ReducedFields, Names);

TYPED_TEST(Reduced, sums_and_differences_are_reduced) {
    VRX_NEEDS_SOLVER();
    using S = TypeParam;
    const mpz_class m = integer::number(S::modulus);
    theorem(name<S> + ": add(a, b) = a + b modulo m, and below m, for a, b below m", 3, [&] {
        const Words a = any_below(m), b = any_below(m);
        const Words r = S::add(a, b);
        return divides(m, value(r) - value(a) - value(b)) && is_below(r, m);
    });
    theorem(name<S> + ": sub(a, b) = a - b modulo m, and below m, for a, b below m", 3, [&] {
        const Words a = any_below(m), b = any_below(m);
        const Words r = S::sub(a, b);
        return divides(m, value(r) - value(a) + value(b)) && is_below(r, m);
    });
}

// P::montgomery() computes (a b + u m) / N, which is below 2m. The final subtraction follows.
TYPED_TEST(Reduced, products_are_reduced) {
    VRX_NEEDS_SOLVER();
    using S = TypeParam;
    const mpz_class m = integer::number(S::modulus);
    for (const bool first : {true, false})
        theorem(name<S> + ": t N = a b + u m, t below 2m, for " + (first ? "a" : "b") + " below m", 20, [&] {
            const Words a = any(), b = any();
            const Form ab = product(a, b, whole * m);
            static_cast<void>(S::template With<Seen>::mul(a, b));
            return divides(m, value(Seen::sum) * whole - ab) && value(Seen::sum) < Form(2 * m);
        });
    theorem(name<S> + ": mul, of any t below 2m: t modulo m, and below m", 3, [&] {
        AnyProduct::sum = integer::unknown_words<5>();
        integer::assume(value(AnyProduct::sum) < Form(2 * m));
        const Words r = S::template With<AnyProduct>::mul(Words{}, Words{});
        return divides(m, value(r) - value(AnyProduct::sum)) && is_below(r, m);
    });
}

}  // namespace
