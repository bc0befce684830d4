// Proves has_remainder(), the last check of a signature, for every curve.
#include "prove/field.hpp"
#include "prove/theorem.hpp"

#include "ecc/field/points.hpp"

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

template <typename Curve>
class Remainders : public testing::Test {};
using Curves = testing::Types<CurveTest, CurveA, CurveB, CurveC>;
struct Names {
    template <typename Curve>
    static std::string GetName(int index) {
        return std::array{"Test", "A", "B", "C"}.at(static_cast<std::size_t>(index));
    }
};
TYPED_TEST_SUITE(Remainders, Curves, Names);
std::string set_name() {
    const std::string suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
    return suite.substr(suite.find('/') + 1);
}

/**
 * A curve with a field that answers the only questions of the check: is zz zero, and is n zz = x for a number n? The
 * answers are unknown, but the same for the same n. The field stops the proof if the check multiplies a number by
 * anything but zz, or compares the product with anything but x.
 */
template <typename Curve>
struct Asked {
    struct Field {
        static constexpr Words modulus = Curve::Field::modulus;
        static inline Words x, zz;
        /** 1 if zz is not zero. */
        static inline vrx::prove::Word zz_is_not_zero;
        static inline std::vector<std::pair<Form, Form>> answers;

        static void reset() {
            x = any();
            zz = any();
            zz_is_not_zero = integer::unknown(1);
            answers.clear();
        }
        static Words to_montgomery(const Words& n) { return n; }
        static Words mul(const Words& n, const Words& factor) {
            return value(factor) == value(zz) ? n : throw "a product with another number than zz";
        }
        static Words sub(const Words& other, const Words& n) {
            return value(other) == value(x) ? n : throw "a difference from another number than x";
        }
        /** The words are all zero if the answer is yes. */
        static Words from_montgomery(const Words& n) {
            return {value(n) == value(zz) ? zz_is_not_zero : differs(value(n)), 0, 0, 0};
        }
        /** An unknown bit that is 0 if n zz = x. */
        static vrx::prove::Word differs(const Form& n) {
            const auto bit = integer::unknown(1);
            for (const auto& [m, answer] : answers) integer::assume(implies(equal(n, m), equal(form(bit), answer)));
            answers.emplace_back(n, form(bit));
            return bit;
        }
    };
    static constexpr Words q = Curve::q;
};

TYPED_TEST(Remainders, of_an_x_coordinate_are_checked_as_defined) {
    VRX_NEEDS_SOLVER();
    using Checked = Asked<TypeParam>;
    using Field = typename Checked::Field;
    const mpz_class q = integer::number(TypeParam::q), p = integer::number(TypeParam::Field::modulus);
    const auto claim = [&] {
        Field::reset();
        const Words r = any_below(q);
        integer::assume(Form(1) <= value(r));
        // Any number that is r modulo q, and the answer for it.
        const Form n = value(r) + integer::unknown_form(0, 4) * q;
        const auto differs = form(Field::differs(n));
        const Answer answer = has_remainder<Checked>(Field::x, Field::zz, r);
        const auto zz_is_not_zero = form(Field::zz_is_not_zero);
        if (answer == Answer::not_covered) return equal(zz_is_not_zero, 0);
        if (answer == Answer::no) return equal(zz_is_not_zero, 1) && implies(n < Form(p), equal(differs, 1));
        // If the answer is yes, there is such a number: the last one in question. It is r modulo q, and below p.
        const auto& [last, last_differs] = Field::answers.back();
        return equal(zz_is_not_zero, 1) && equal(last_differs, 0) && last < Form(p) &&
               (equal(last, value(r)) || equal(last, value(r) + Form(q)));
    };
    // The fault is in r + q, or in the comparison of r and p: r + q is below p on A and C alone, and r is below p
    // there.
    const unsigned faulty = q < p ? 3 : 9;
    vrx::prove::theorem_on_paths(
        "q of " + set_name() + ": has_remainder: some n below p with n = r modulo q has x = n zz", faulty, claim);
}

}  // namespace
