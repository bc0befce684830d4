// Proves what an inversion makes of the matrices of division steps: that they stay in range, that (f, g) is divided
// exactly and does not grow, and that d and e stay between -2m and m, in their residue classes, for every built-in m.
//
// Signed numbers are exact integers here, but have 64 or 128 bits in the library. Each theorem therefore also claims
// that every intermediate result fits its type. A product of two unknown numbers is a new unknown. Its bounds, and the
// bounds of sums of such products that follow from those of the factors, are assumed.
#include <vector>

#include "prove/theorem.hpp"

namespace vrx::prove {

/** A signed number of `bits` bits. */
template <unsigned bits>
struct Signed {
    Wide n;

    constexpr Signed() = default;
    template <std::integral N>
    constexpr Signed(N value) : n(value) {}
    constexpr explicit Signed(const Word& w) : n(w) {}
    template <unsigned other>
    constexpr explicit(other > bits) Signed(const Signed<other>& b) : Signed(b.n, 0) {}
    constexpr Signed(const Wide& value, int) : n(value) { hold(); }
    /** The number itself, of which the word keeps the low bits as soon as they are needed. */
    constexpr explicit operator Word() const {
        if (n.id == 0) return Word(static_cast<std::uint64_t>(n.value));
        Word w;
        w.id = n.id;
        return w;
    }
    /** Adds the claim that the number fits its type, unless interval arithmetic shows it. */
    constexpr void hold() const {
        if (n.id != 0) claim_held(n, bits);
    }
    static void claim_held(const Wide& n, unsigned width);
};

/** The claims that all results since reset() fit their types. */
inline std::vector<Claim> held;
/** The products and choices since reset(). */
inline std::map<std::string, Wide> known;
inline void reset() {
    held.clear();
    known.clear();
}

template <unsigned bits>
void Signed<bits>::claim_held(const Wide& n, unsigned width) {
    const mpz_class end = power(width - 1);
    if (integer::least(n) < -end || integer::most(n) >= end)
        held.push_back(Form(mpz_class(-end)) <= integer::form(n) && integer::form(n) < Form(end));
}

/** The value of a form between these bounds. */
inline Wide wide(const Form& f, const mpz_class& least, const mpz_class& most) { return integer::word(f, least, most); }

inline std::string key_of_product(const Wide& a, const Wide& b) {
    return "product " + integer::form(a).text() + integer::form(b).text();
}
inline Wide product(const Wide& a, const Wide& b) {
    const Form f = integer::form(a), g = integer::form(b);
    if (f.terms.empty() || g.terms.empty()) return integer::as_wide(integer::product(a, b, 128));
    const std::string key = key_of_product(a, b);
    if (const auto found = known.find(key); found != known.end()) return found->second;
    const auto size = [](const Wide& n) -> mpz_class {
        return std::max(mpz_class(abs(integer::least(n))), mpz_class(abs(integer::most(n))));
    };
    const mpz_class most = size(a) * size(b);
    return known[key] = wide(integer::unknown_form(-most, most), -most, most);
}

/** From now on, the product of a and b is this form. It is between -most and most. */
inline void set_product(const Wide& a, const Wide& b, const Form& f, const mpz_class& most) {
    integer::assume(Form(mpz_class(-most)) <= f && f <= Form(most));
    known[key_of_product(a, b)] = wide(f, -most, most);
}

/** a where the mask, which is 0 or -1, is -1, and b where it is 0. */
inline Wide chosen(const Wide& mask, const Wide& a, const Wide& b) {
    const mpz_class least = std::min(integer::least(a), integer::least(b));
    const mpz_class most = std::max(integer::most(a), integer::most(b));
    const Form x = integer::form(a), y = integer::form(b), m = integer::form(mask);
    if (m.terms.empty()) return m.constant == 0 ? b : a;
    if (x.terms.empty() && y == Form(0)) return wide(m * mpz_class(-x.constant), least, most);
    const std::string key = "choice " + m.text() + x.text() + y.text();
    if (const auto found = known.find(key); found != known.end()) return found->second;
    const Form r = integer::unknown_form(least, most);
    integer::assume({"(= " + r.text() + " (ite (= " + m.text() + " 0) " + y.text() + " " + x.text() + "))"});
    return known[key] = wide(r, least, most);
}

// Constants that are not negative take the first way, which constant expressions need.
template <unsigned n, unsigned m>
constexpr bool are_known(const Signed<n>& a, const Signed<m>& b) {
    return a.n.id == 0 && b.n.id == 0;
}
template <unsigned n, unsigned m>
constexpr Signed<std::max(n, m)> operator+(const Signed<n>& a, const Signed<m>& b) {
    if (are_known(a, b)) return {a.n + b.n, 0};
    return {integer::as_wide(integer::sum(a.n, b.n, false, 128)), 0};
}
template <unsigned n, unsigned m>
constexpr Signed<std::max(n, m)> operator-(const Signed<n>& a, const Signed<m>& b) {
    if (are_known(a, b) && a.n.value >= b.n.value) return {a.n - b.n, 0};
    return {integer::as_wide(integer::sum(a.n, b.n, true, 128)), 0};
}
template <unsigned n, unsigned m>
constexpr Signed<std::max(n, m)> operator*(const Signed<n>& a, const Signed<m>& b) {
    if (are_known(a, b)) return {a.n * b.n, 0};
    return {product(a.n, b.n), 0};
}
template <unsigned n>
constexpr Signed<n> operator*(int a, const Signed<n>& b) {
    return Signed<n>(a) * b;
}
/** For masks: 0 or -1. */
template <unsigned n>
constexpr Signed<n> operator&(const Signed<n>& a, const Signed<n>& mask) {
    if (mask.n.id == 0 && mask.n.value == 0) return {};
    return {chosen(mask.n, a.n, Wide(0)), 0};
}
template <unsigned n>
constexpr Signed<n> operator^(const Signed<n>& a, const Signed<n>& mask) {
    if (mask.n.id == 0 && mask.n.value == 0) return a;
    const Form f = Form(-1) - integer::form(a.n);
    return {chosen(mask.n, wide(f, -1 - integer::most(a.n), -1 - integer::least(a.n)), a.n), 0};
}
template <unsigned n>
constexpr Signed<n> operator>>(const Signed<n>& a, int by) {
    if (a.n.id == 0) return {a.n >> by, 0};
    return {integer::as_wide(integer::shifted_right(a.n, static_cast<unsigned>(by))), 0};
}
template <unsigned n, unsigned m>
constexpr Signed<n>& operator+=(Signed<n>& a, const Signed<m>& b) {
    return a = a + b;
}
template <unsigned n, unsigned m>
constexpr Signed<n>& operator-=(Signed<n>& a, const Signed<m>& b) {
    return a = a - b;
}
template <unsigned n>
constexpr Signed<n>& operator>>=(Signed<n>& a, int by) {
    return a = a >> by;
}

}  // namespace vrx::prove

using prove_uint8 = std::uint8_t;
using prove_uint32 = std::uint32_t;
using prove_uint64 = vrx::prove::Word;
using prove_uint128 = vrx::prove::Wide;
using prove_int8 = std::int8_t;
using prove_int32 = vrx::prove::Signed<32>;
using prove_int64 = vrx::prove::Signed<64>;
using prove_int128 = vrx::prove::Signed<128>;
/** The proofs of this file do not look up any tables. */
template <std::size_t bytes>
using prove_vector = vrx::prove::Word;

// The loop over steps is proved by steps_proof.cpp.
template <typename... Variables>
void prove_step(Variables&... /*variables*/) {}
template <typename... Variables>
void prove_rows(Variables&... /*variables*/) {}

#include "ecc/uint256/divsteps.hpp"

#include "prove/moduli.hpp"

namespace vrx::prove {
namespace {

using uint256::Limbs62;
using uint256::Matrix;

/** Any number from -most to most. */
Signed<64> any(const mpz_class& most) { return {wide(integer::unknown_form(-most, most), -most, most), 0}; }
Form form(const Signed<64>& a) { return integer::form(a.n); }
Form value(const Limbs62& a) {
    Form sum;
    for (unsigned i = 0; i < 5; ++i) sum += form(a[i]) * power(62 * i);
    return sum;
}
/** Returns the product of a and b, as a sum of the products of a and the limbs of b, which are unknowns. */
Form times(const Signed<64>& a, const Limbs62& b) {
    Form sum;
    for (unsigned i = 0; i < 5; ++i) sum += integer::form(product(a.n, b[i].n)) * power(62 * i);
    return sum;
}
/** Carried limbs, with a last limb from -most to most. */
Limbs62 any_limbs(const mpz_class& most) {
    Limbs62 r;
    for (unsigned i = 0; i < 4; ++i) r[i] = Signed<64>(integer::unknown(power(62) - 1));
    r[4] = any(most);
    return r;
}
Claim is_carried(const Limbs62& a) {
    Claim all{"true"};
    for (unsigned i = 0; i < 4; ++i) all = all && Form(0) <= form(a[i]) && form(a[i]) < Form(power(62));
    return all;
}
Claim between(const mpz_class& least, const Form& f, const mpz_class& most) {
    return Form(least) <= f && f <= Form(most);
}
/** |a| + |b| <= most */
Claim are_within(const Form& a, const Form& b, const Form& most) {
    return a + b <= most && a - b <= most && b - a <= most && Form(0) - a - b <= most;
}
/** Two rows whose absolute values add up to at most `most`. */
Matrix any_matrix(const mpz_class& most) {
    const Matrix t = {any(most), any(most), any(most), any(most)};
    integer::assume(are_within(form(t.u), form(t.v), most));
    integer::assume(are_within(form(t.q), form(t.r), most));
    return t;
}

/** theorem(), with the claim that all results fit their types. */
template <typename State>
void typed_theorem(const std::string& what, unsigned faulty, const State& state) {
    theorem(what, faulty, [&] {
        reset();
        Claim all = state();
        for (const Claim& claim : held) all = all && claim;
        return all;
    });
}

/** Two matrices of 30 and 29 steps, which the proof chooses. */
Matrix halves[2];

}  // namespace
}  // namespace vrx::prove

namespace vrx::uint256 {

template <>
constexpr prove_int64 some_steps<30>(prove_int64 zeta, prove_uint64& /*f*/, prove_uint64& /*g*/, Matrix& t) {
    t = prove::halves[0];
    return zeta;
}
template <>
constexpr prove_int64 some_steps<29>(prove_int64 zeta, prove_uint64& /*f*/, prove_uint64& /*g*/, Matrix& t) {
    t = prove::halves[1];
    return zeta;
}

}  // namespace vrx::uint256

namespace vrx::prove {
namespace {

TEST(matrices, stay_in_range) {
    VRX_NEEDS_SOLVER();
    // A step replaces the rows a and b by 2a or 2b, and by b, b + a or b - a: steps_proof.cpp.
    const auto doubles = [](int factor) {
        const Form bound = integer::unknown_form(1, power(30));
        Form a[2], b[2];
        for (unsigned i = 0; i < 2; ++i) {
            a[i] = integer::unknown_form(-power(30), power(30));
            b[i] = integer::unknown_form(-power(30), power(30));
        }
        integer::assume(are_within(a[0], a[1], bound));
        integer::assume(are_within(b[0], b[1], bound));
        const Form twice = bound * 2, c[2] = {a[0] * factor, a[1] * factor};
        return are_within(a[0] * 2, a[1] * 2, twice) && are_within(b[0], b[1], twice) &&
               are_within(b[0] + c[0], b[1] + c[1], twice) && are_within(b[0] - c[0], b[1] - c[1], twice);
    };
    theorem_and_control(
        "a step doubles the bound of the rows at most", [&] { return doubles(1); }, [&] { return doubles(2); });
    typed_theorem("a batch of 59 steps: the product of two matrices times 8, with rows of at most 2^62", 2, [] {
        halves[0] = any_matrix(power(30));
        halves[1] = any_matrix(power(29));
        const Matrix &first = halves[0], &second = halves[1];
        // |a u| + |a v| <= 2^30 |a| for each number a of the second matrix and each row (u, v) of the first one
        const auto assume_products = [&](const Signed<64>& a, const Signed<64>& u, const Signed<64>& v) {
            const Form size = integer::unknown_form(0, power(29));
            const Form f = form(a);
            integer::assume({"(= " + size.text() + " (ite (>= " + f.text() + " 0) " + f.text() + " " +
                             (Form(0) - f).text() + "))"});
            integer::assume(
                are_within(integer::form(product(a.n, u.n)), integer::form(product(a.n, v.n)), size * power(30)));
        };
        for (const auto* row : {&second.u, &second.q}) assume_products(*row, first.u, first.v);
        for (const auto* row : {&second.v, &second.r}) assume_products(*row, first.q, first.r);
        Matrix t{};
        uint256::batch_of_steps(Signed<64>(0), Word(0), Word(0), t);
        const auto is_sum = [](const Signed<64>& r, const Signed<64>& a, const Signed<64>& u, const Signed<64>& b,
                               const Signed<64>& q) {
            return equal(form(r), (integer::form(product(a.n, u.n)) + integer::form(product(b.n, q.n))) * 8);
        };
        return are_within(form(t.u), form(t.v), power(62)) && are_within(form(t.q), form(t.r), power(62)) &&
               is_sum(t.u, second.u, first.u, second.v, first.q) && is_sum(t.v, second.u, first.v, second.v, first.r) &&
               is_sum(t.q, second.q, first.u, second.r, first.q) && is_sum(t.r, second.q, first.v, second.r, first.r);
    });
}

TEST(matrices, divide_exactly_and_let_no_number_grow) {
    VRX_NEEDS_SOLVER();
    typed_theorem("apply: (f, g) = t (f, g) / 2^62, not larger than before", 4, [] {
        const Matrix t = any_matrix(power(62));
        const Form bound = integer::unknown_form(1, power(256) - 1);
        Limbs62 f = any_limbs(power(8)), g = any_limbs(power(8));
        for (const Limbs62* n : {&f, &g}) {
            integer::assume(value(*n) <= bound);
            integer::assume(Form(0) - bound <= value(*n));
        }
        // The steps of a batch make the division by 2^62 exact, so u f + v g is 2^62 times an integer. Therefore, the
        // sum of the products with the lowest limbs is, too. |u f + v g| <= (|u| + |v|) max(|f|, |g|)
        const auto exact = [&](const Signed<64>& u, const Signed<64>& v) {
            const mpz_class most = power(124);
            const Form lowest = integer::unknown_form(-power(63), power(63)) * power(62);
            set_product(v.n, g[0].n, lowest - integer::form(product(u.n, f[0].n)), most);
            const Form sum = times(u, f) + times(v, g);
            integer::assume(sum <= bound * power(62));
            integer::assume(Form(0) - sum <= bound * power(62));
            return sum;
        };
        const Form of_f = exact(t.u, t.v), of_g = exact(t.q, t.r);
        uint256::apply(f, g, t);
        Claim all = equal(value(f) * power(62), of_f) && equal(value(g) * power(62), of_g);
        for (const Limbs62* n : {&f, &g}) {
            const Form now = expanded(value(*n));
            all = all && is_carried(*n) && now <= bound && Form(0) - bound <= now;
        }
        return all;
    });
}

template <typename Modulus>
class ModuloProofs : public testing::Test {};
TYPED_TEST_SUITE(ModuloProofs, Moduli, ModulusNames);

TYPED_TEST(ModuloProofs, of_sums_by_a_matrix) {
    VRX_NEEDS_SOLVER();
    const mpz_class m = integer::number(TypeParam::modulus);
    typed_theorem("apply_modulo, " + TypeParam::name() + ": t (d, e) / 2^62 modulo m, between -2m and m", 6, [&] {
        const Matrix t = any_matrix(power(62));
        const uint256::OddModulus modulus(TypeParam::modulus);
        Limbs62 d = any_limbs(power(9)), e = any_limbs(power(9));
        for (const Limbs62* n : {&d, &e}) integer::assume(between(1 - 2 * m, value(*n), m - 1));
        // A number d, plus m if d is negative, is between -m and m. |u d + v e| <= (|u| + |v|) (m - 1) for such d and
        // e.
        const auto sum = [&](const Signed<64>& u, const Signed<64>& v) {
            const Form part = times(u, d) + times(v, e);
            const Form whole = part + (form(u & uint256::sign_mask(d[4])) + form(v & uint256::sign_mask(e[4]))) * m;
            integer::assume(between(-power(62) * (m - 1), whole, power(62) * (m - 1)));
            return part;
        };
        const Form of_d = sum(t.u, t.v), of_e = sum(t.q, t.r);
        uint256::apply_modulo(d, e, t, modulus);
        return divides(m, value(d) * power(62) - of_d) && divides(m, value(e) * power(62) - of_e) && is_carried(d) &&
               is_carried(e) && between(1 - 2 * m, value(d), m - 1) && between(1 - 2 * m, value(e), m - 1);
    });
}

TYPED_TEST(ModuloProofs, of_the_final_reduction) {
    VRX_NEEDS_SOLVER();
    const mpz_class m = integer::number(TypeParam::modulus);
    typed_theorem("normalised, " + TypeParam::name() + ": d or -d modulo m, from 0 to m - 1", 3, [&] {
        const uint256::OddModulus modulus(TypeParam::modulus);
        const Limbs62 d = any_limbs(power(9));
        integer::assume(between(1 - 2 * m, value(d), m - 1));
        const Form sign = integer::unknown_form(-1, 0);
        const Limbs62 r = uint256::normalised(d, {wide(sign, -1, 0), 0}, modulus);
        return between(0, value(r), m - 1) && is_carried(r) &&
               implies(equal(sign, 0), divides(m, value(r) - value(d))) &&
               implies(equal(sign, -1), divides(m, value(r) + value(d)));
    });
}

// The controls exchange two words or limbs.
TEST(limbs62, hold_words_and_come_back) {
    VRX_NEEDS_SOLVER();
    const auto to_limbs = [](bool is_faulty) {
        auto a = integer::unknown_words<4>();
        const Form expected = integer::value(a);
        if (is_faulty) std::swap(a[1], a[2]);
        const Limbs62 r = uint256::to_limbs62(a);
        return equal(value(r), expected) && is_carried(r) && between(0, form(r[4]), power(8) - 1);
    };
    theorem_and_control(
        "to_limbs62(a) = a, in carried limbs", [&] { return to_limbs(false); }, [&] { return to_limbs(true); });
    const auto from_limbs = [](bool is_faulty) {
        reset();
        Limbs62 a = any_limbs(0);
        a[4] = Signed<64>(integer::unknown(power(8) - 1));
        const Form expected = value(a);
        if (is_faulty) std::swap(a[1], a[2]);
        return equal(integer::value(uint256::from_limbs62(a)), expected);
    };
    theorem_and_control(
        "from_limbs62(a) = a, for carried limbs of a number below 2^256", [&] { return from_limbs(false); },
        [&] { return from_limbs(true); });
}

}  // namespace
}  // namespace vrx::prove
