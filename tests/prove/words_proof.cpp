// Proves sums, differences, products and selections of 256-bit numbers, for all numbers.
#include "prove/field.hpp"
#include "prove/theorem.hpp"

using namespace vrx::field;
using vrx::prove::equal;
using vrx::prove::Form;
using vrx::prove::implies;
using vrx::prove::power;
using vrx::prove::theorem;
namespace integer = vrx::prove::integer;
using integer::form;
using integer::value;

namespace {

Words any() { return integer::unknown_words<4>(); }
const mpz_class whole = power(256);

TEST(words, add_yields_the_sum_and_the_carry) {
    VRX_NEEDS_SOLVER();
    theorem("add: r + carry N = a + b, carry 0 or 1", 3, [] {
        const Words a = any(), b = any();
        Words r{};
        const auto carry = form(add(r, a, b));
        return equal(value(r) + carry * whole, value(a) + value(b)) && Form(0) <= carry && carry <= Form(1);
    });
}

TEST(words, sub_yields_the_difference_and_the_borrow) {
    VRX_NEEDS_SOLVER();
    theorem("sub: r - borrow N = a - b, borrow 0 or 1", 3, [] {
        const Words a = any(), b = any();
        Words r{};
        const auto borrow = form(sub(r, a, b));
        return equal(value(r) - borrow * whole, value(a) - value(b)) && Form(0) <= borrow && borrow <= Form(1);
    });
}

TEST(words, add_word_and_sub_word_do_so_for_one_word) {
    VRX_NEEDS_SOLVER();
    theorem("add_word: r + carry N = r + w", 2, [] {
        const Words a = any();
        const auto w = integer::unknown();
        Words r = a;
        const auto carry = form(add_word(r, w));
        return equal(value(r) + carry * whole, value(a) + form(w)) && Form(0) <= carry && carry <= Form(1);
    });
    theorem("sub_word: r - borrow N = r - w", 2, [] {
        const Words a = any();
        const auto w = integer::unknown();
        Words r = a;
        const auto borrow = form(sub_word(r, w));
        return equal(value(r) - borrow * whole, value(a) - form(w)) && Form(0) <= borrow && borrow <= Form(1);
    });
}

/** Returns a b as the sum of all products of words at their positions. The products are unknowns. */
Form product(const Words& a, const Words& b) {
    Form sum;
    for (unsigned i = 0; i < 4; ++i)
        for (unsigned j = 0; j < 4; ++j) sum += form(vrx::prove::Wide{a[i]} * b[j]) * power(64 * (i + j));
    return sum;
}

TEST(words, multiply_yields_the_product) {
    VRX_NEEDS_SOLVER();
    theorem("multiply: r = a b, no carry is lost", 20, [] {
        const Words a = any(), b = any();
        const Form expected = product(a, b);
        // The proofs assume only one fact about the unknown products of words: their sum a b is below N^2.
        integer::assume(expected <= Form((whole - 1) * (whole - 1)));
        return equal(value(multiply(a, b)), expected);
    });
}

TEST(words, selection_and_reduction_choose_as_a_branch_does) {
    VRX_NEEDS_SOLVER();
    theorem("conditional_move(mask(bit), a, b) = bit ? a : b", 1, [] {
        const Words a = any(), b = any();
        const auto bit = integer::unknown(1);
        const Form r = value(conditional_move(mask(bit), a, b));
        return implies(equal(form(bit), 1), equal(r, value(a))) && implies(equal(form(bit), 0), equal(r, value(b)));
    });
    theorem("reduce_once(a, m) = a < m ? a : a - m", 2, [] {
        const Words a = any(), m = any();
        const Form r = value(reduce_once(a, m));
        return implies(value(a) < value(m), equal(r, value(a))) &&
               implies(value(m) <= value(a), equal(r, value(a) - value(m)));
    });
}

}  // namespace
