// Proves the arithmetic of elements in lanes, for every built-in p and all operands in the stated ranges: residue
// classes, ranges of results, and that no limb overflows.
//
// A lane is an exact integer here, but a signed word of 64 bits in the library. Each theorem therefore also claims that
// every intermediate result fits such a word. Lanes are independent of each other in all operations of this
// file. The test Bounds checks that the formulas for points pass only operands in these ranges.
#include "prove/field.hpp"
#include "prove/theorem.hpp"

#include "ecc/field/curves.hpp"
#include "ecc/field/lanes.hpp"

using namespace vrx::field;
using vrx::prove::Claim;
using vrx::prove::divides;
using vrx::prove::equal;
using vrx::prove::Form;
using vrx::prove::power;
using vrx::prove::theorem;
using vrx::prove::Wide;
using vrx::prove::Word;
namespace integer = vrx::prove::integer;

namespace {

/** One lane: an exact integer that may be negative. */
struct Lane {
    Wide n;

    /** The claims that all results since reset() fit a word. Interval arithmetic shows most of them. */
    static inline std::vector<Claim> held;
    static void reset() { held.clear(); }

    static Lane of(vrx::prove::Id id) {
        const Lane r{integer::as_wide(id)};
        if (integer::least(r.n) < -power(63) || integer::most(r.n) >= power(63))
            held.push_back(Form(-power(63)) <= integer::form(r.n) && integer::form(r.n) < Form(power(63)));
        return r;
    }
    static Lane all(const Word& value) { return {Wide(value)}; }

    Lane operator+(const Lane& b) const { return of(integer::sum(n, b.n, false, 128)); }
    Lane operator-(const Lane& b) const { return of(integer::sum(n, b.n, true, 128)); }
    /** The mask must be a constant number of low ones. */
    Lane operator&(const Lane& b) const {
        const mpz_class mask = integer::form(b.n).constant;
        const auto bits = static_cast<unsigned>(mpz_sizeinbase(mask.get_mpz_t(), 2));
        if (mask != power(bits) - 1) throw "not a mask";
        return of(integer::low(n, bits));
    }
    static Lane shift_left(const Lane& a, unsigned bits) {
        return of(integer::product(a.n, Wide(std::uint64_t{1} << bits), 128));
    }
    static Lane shift_right_signed(const Lane& a, unsigned bits) { return of(integer::shifted_right(a.n, bits)); }
    static Lane add_low_product(const Lane& sum, const Lane& a, const Lane& b) {
        return sum + of(integer::low(product(a, b), 52));
    }
    static Lane add_high_product(const Lane& sum, const Lane& a, const Lane& b) {
        return sum + of(integer::shifted_right(product(a, b), 52));
    }
    /** The product of the low 52 bits. */
    static Wide product(const Lane& a, const Lane& b) {
        return integer::as_wide(integer::product(low52(a), low52(b), 128));
    }

private:
    static Wide low52(const Lane& a) { return integer::as_wide(integer::low(a.n, 52)); }
};

using Lanes = Element<Lane>;

Form value(const Lanes& a) {
    Form sum;
    for (unsigned i = 0; i < limb_count; ++i) sum += integer::form(a.limb[i].n) * power(52 * i);
    return sum;
}

/** The field of a curve, its lanes, and what its proofs depend on. */
template <typename Curve>
struct Subject {
    using S = typename Curve::Field;
    using F = LaneField<Lane, S>;
    static constexpr bool is_montgomery = std::is_same_v<Curve, CurveC>;
    /** The high half of a product is subtracted. */
    static constexpr bool is_plus = std::is_same_v<Curve, CurveTest> || std::is_same_v<Curve, CurveB>;

    static mpz_class p() { return integer::number(S::modulus); }
    /** The largest last limb of a number below 2.1 p. */
    static mpz_class last_limb() { return p() * 21 / 10 >> 208; }

    /** Any multiplicand: limbs of 52 bits, a value below 2.1 p. */
    static Lanes multiplicand() {
        Lanes r;
        for (auto& limb : r.limb) limb.n = integer::unknown(power(52) - 1);
        r.limb[limb_count - 1].n = integer::unknown(last_limb());
        integer::assume(value(r) * 10 < Form(p() * 21));
        return r;
    }
    static Claim is_multiplicand(const Lanes& r) {
        Claim all = within(r, 0, power(52) - 1);
        return all && Form(0) <= value(r) && value(r) * 10 < Form(p() * 21);
    }
    /** The limbs are between these bounds. */
    static Claim within(const Lanes& r, const mpz_class& least, const mpz_class& most) {
        Claim all{"true"};
        for (const Lane& limb : r.limb)
            if (integer::least(limb.n) < least || integer::most(limb.n) > most)
                all = all && Form(least) <= integer::form(limb.n) && integer::form(limb.n) <= Form(most);
        return all;
    }
    /** Claims that all intermediate results fit a word. */
    static Claim is_held() {
        Claim all{"true"};
        for (const Claim& claim : Lane::held) all = all && claim;
        return all;
    }

    /**
     * Returns the product of the multiplicands a and b, as a sum of the products of their limbs, which are unknowns.
     * Assumes that the sum is below (2.1 p)^2, because multiplicands are below 2.1 p.
     */
    static Form product(const Lanes& a, const Lanes& b) {
        Form sum;
        for (unsigned i = 0; i < limb_count; ++i)
            for (unsigned j = 0; j < limb_count; ++j)
                sum += integer::form(Lane::product(a.limb[i], b.limb[j])) * power(52 * (i + j));
        integer::assume(Form(0) <= sum);
        integer::assume(sum * 100 < Form(p() * p() * 441));
        return sum;
    }
    /** The claim that r represents the product v: r = v modulo p, or r 2^260 = v in Montgomery form. */
    static Claim represents(const Lanes& r, const Form& v) {
        return divides(p(), is_montgomery ? value(r) * power(260) - v : value(r) - v);
    }
    /** The ranges of a product without carries. */
    static Claim is_loose(const Lanes& r) {
        return within(r, is_plus ? mpz_class(-power(53)) : mpz_class(0), power(56)) && Form(0) <= value(r) &&
               value(r) * 10 < Form(p() * 21);
    }
};

template <typename Curve>
class LaneProofs : public testing::Test {
public:
    template <typename State>
    static void prove(const std::string& what, unsigned faulty, const State& state) {
        const std::string suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
        theorem("lanes, p of " + suite.substr(suite.find('/') + 1) + ": " + what, faulty, [&] {
            Lane::reset();
            const Claim claim = state();
            return claim && Subject<Curve>::is_held();
        });
    }
};
using Curves = testing::Types<CurveTest, CurveA, CurveB, CurveC>;
struct Names {
    template <typename Curve>
    static std::string GetName(int index) {
        return std::array{"Test", "A", "B", "C"}.at(static_cast<std::size_t>(index));
    }
};
TYPED_TEST_SUITE(LaneProofs, Curves, Names);

TYPED_TEST(LaneProofs, of_products_without_carries) {
    VRX_NEEDS_SOLVER();
    using T = Subject<TypeParam>;
    this->prove("mul_loose(a, b) = a b, for multiplicands", 9, [] {
        const Lanes a = T::multiplicand(), b = T::multiplicand();
        const Form v = T::product(a, b);
        const Lanes r = T::F::mul_loose(a, b);
        return T::represents(r, v) && T::is_loose(r);
    });
    this->prove("sqr_loose(a) = a^2, for a multiplicand", 9, [] {
        const Lanes a = T::multiplicand();
        const Form v = T::product(a, a);
        const Lanes r = T::F::sqr_loose(a);
        return T::represents(r, v) && T::is_loose(r);
    });
}

TYPED_TEST(LaneProofs, of_products) {
    VRX_NEEDS_SOLVER();
    using T = Subject<TypeParam>;
    this->prove("mul(a, b) = a b, a multiplicand", 9, [] {
        const Lanes a = T::multiplicand(), b = T::multiplicand();
        const Form v = T::product(a, b);
        const Lanes r = T::F::mul(a, b);
        return T::represents(r, v) && T::is_multiplicand(r);
    });
    this->prove("sqr(a) = a^2, a multiplicand", 9, [] {
        const Lanes a = T::multiplicand();
        const Form v = T::product(a, a);
        const Lanes r = T::F::sqr(a);
        return T::represents(r, v) && T::is_multiplicand(r);
    });
}

TYPED_TEST(LaneProofs, of_differences_of_products) {
    VRX_NEEDS_SOLVER();
    using T = Subject<TypeParam>;
    this->prove("difference_loose(a, b, u, v) = a b - u v, for multiplicands", 9, [] {
        const Lanes a = T::multiplicand(), b = T::multiplicand(), u = T::multiplicand(), v = T::multiplicand();
        const Form difference = T::product(a, b) - T::product(u, v);
        const Lanes r = T::F::difference_loose(a, b, u, v);
        // In Montgomery form there is one reduction: (a b - u v + w p) / 2^260, for a w below 2^260.
        const mpz_class least = T::is_montgomery ? mpz_class(-28) : mpz_class(-210);
        const mpz_class most = T::is_montgomery ? mpz_class(128) : mpz_class(210);
        return T::represents(r, difference) && T::within(r, -power(57), power(57)) &&
               Form(T::p() * least) <= value(r) * 100 && value(r) * 100 <= Form(T::p() * most);
    });
}

TYPED_TEST(LaneProofs, of_carries) {
    VRX_NEEDS_SOLVER();
    using T = Subject<TypeParam>;
    this->prove("carry(a) = a, a multiplicand, for a between -31 p and 31 p", 2, [] {
        const mpz_class p = T::p();
        const mpz_class most = power(60);
        // N - c folds without an addition that makes up for negative limbs.
        const mpz_class least = T::is_montgomery || T::is_plus ? mpz_class(-power(60)) : mpz_class(-31 * power(52));
        Lanes a;
        mpz_class others = 0;
        for (unsigned i = 0; i + 1 < limb_count; ++i) {
            a.limb[i].n = Wide(integer::unknown(most, least));
            others += most << 52 * i;
        }
        // The last limb has to be between these bounds, because the value is.
        const mpz_class last = (31 * p + others >> 208) + 1;
        a.limb[limb_count - 1].n = Wide(integer::unknown(last, -last));
        integer::assume(Form(-31 * p) <= value(a));
        integer::assume(value(a) <= Form(31 * p));
        const Lanes r = T::F::carry(a);
        return divides(p, value(r) - value(a), 4) && T::is_multiplicand(r);
    });
}

}  // namespace
