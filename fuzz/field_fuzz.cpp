// Fuzz target: the curve engines, compared with the general methods on digits. Covers field and scalar arithmetic in
// words and in vector lanes up to the bounds of each form, inverses, and single and double multiplication by every
// engine that this CPU supports.
//
// Input: one byte selects the curve and the property. Numbers follow. Each number has a byte for its kind, and data:
// plain bytes, a value near a bound, or words of zeros and ones.
#include "ecc/field/adx_words.hpp"
#include "ecc/field/engines.hpp"
#include "ecc/field/lane_operations.hpp"
#include "ecc/field/order.hpp"
#include "ecc/field/recode.hpp"
#include "fuzz.hpp"
#include "vrx.h"

namespace {

using namespace vrx::field;
using vrx::fuzz::Input;
using vrx::fuzz::require;
using vrx::test::LaneOperations;
using vrx::test::LaneWords;

/** A number of nine digits, with the general operations. */
struct Digits {
    std::uint32_t d[VRX_ECC_DIGITS] = {};

    Digits() = default;
    explicit Digits(std::uint32_t small) { d[0] = small; }
    Digits(const Words& w) { std::memcpy(d, w.data(), sizeof w); }  // NOLINT(google-explicit-constructor)
    bool operator==(const Digits&) const = default;
    [[nodiscard]] Words words() const {
        Words w;
        std::memcpy(w.data(), d, sizeof w);
        return w;
    }
};
Digits modulo(const Digits& a, const Words& m) {
    Digits r;
    mpModulo(r.d, a.d, VRX_ECC_DIGITS, Digits(m).d, VRX_ECC_DIGITS);
    return r;
}
Digits product(const Digits& a, const Digits& b, const Words& m) {
    Digits r;
    mpModMult(r.d, a.d, b.d, Digits(m).d, VRX_ECC_DIGITS);
    return r;
}
Digits sum(const Digits& a, const Digits& b, const Words& m) {
    Digits r;
    mpModAdd(r.d, a.d, b.d, Digits(m).d, VRX_ECC_DIGITS);
    return r;
}
Digits difference(const Digits& a, const Digits& b, const Words& m) {
    Digits r;
    mpModSub(r.d, a.d, b.d, Digits(m).d, VRX_ECC_DIGITS);
    return r;
}

template <typename T>
T raw(Input& input) {
    std::uint8_t bytes[sizeof(T)];
    input.fill(bytes);
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/** Reads a number of 256 bits, which may be near a bound of a modulus. */
Words number(Input& input, const Words& modulus) {
    const std::uint8_t kind = input.byte();
    if (kind % 8 == 0) return raw<Words>(input);
    Words r{};
    if (kind % 8 == 1) {  // words of zeros, of ones, or of any bits
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned what = kind >> 3 & 1 ? input.byte() % 4 : i % 2;
            r[i] = what == 0 ? 0 : what == 1 ? ~std::uint64_t{0} : raw<std::uint64_t>(input);
        }
        return r;
    }
    switch (kind % 8) {
        case 2:  // near 0 and 2^256
            break;
        case 3:
            r[3] = std::uint64_t{1} << 63;
            break;
        case 4:
            r = modulus;
            break;
        case 5:
            add(r, modulus, modulus);
            break;
        case 6:
            r = halved(modulus, 0);
            break;
        default:
            r[(kind >> 3) / 8 % 4] = std::uint64_t{1} << input.byte() % 64;
    }
    const auto small = static_cast<std::int64_t>(raw<std::int16_t>(input));
    const auto low = static_cast<std::uint64_t>(small);
    const std::uint64_t high = mask(low >> 63);
    add(r, r, {low, high, high, high});
    return r;
}

/** A field in words. Elements are numbers below 2^256, or below the modulus in Montgomery form. */
template <typename S>
void check_words(Input& input) {
    const Words& m = S::modulus;
    const Words x = number(input, m);
    const Words y = number(input, m);
    constexpr bool is_plain = S::one == Words{1, 0, 0, 0};
    // In plain form, a and b are x and y themselves, which may be greater than or equal to the modulus.
    const Words a = is_plain ? x : S::to_montgomery(x);
    const Words b = is_plain ? y : S::to_montgomery(y);
    const auto is = [](const Words& r, const Digits& expected) { return Digits(S::from_montgomery(r)) == expected; };
    require(is(a, modulo(x, m)), "an element is its number");
    require(is(S::mul(a, b), product(x, y, m)), "product");
    require(is(S::sqr(a), product(x, x, m)), "square");
    require(is(S::add(a, b), sum(x, y, m)), "sum");
    require(is(S::sub(a, b), difference(x, y, m)), "difference");
}

template <typename Curve>
void check_order(Input& input) {
    using Q = Order<Curve>;
    const Words& q = Curve::q;
    Digits nine = number(input, q);
    nine.d[VRX_ECC_DIGITS - 1] = raw<std::uint32_t>(input);
    const Words a = Q::reduced(Nine{nine.words(), nine.d[VRX_ECC_DIGITS - 1]});
    require(Digits(a) == modulo(nine, q), "reduction of nine digits");
    const Words b = Q::reduced(number(input, q));
    const Words u = Q::reduced(number(input, q));
    const Words v = Q::reduced(number(input, q));
    require(Digits(Q::product(a, b)) == product(a, b, q), "product modulo q");
    require(Digits(Q::sum_of_products(a, b, u, v)) == sum(product(a, b, q), product(u, v, q), q), "sum of products");
    require(Digits(Q::negative(a)) == difference(Digits(), a, q), "negative");
}

/** Tests arithmetic modulo p, q and an arbitrary odd number. */
template <typename Curve>
void check_inverse(Input& input) {
    Words m = input.byte() % 2 == 0 ? Curve::q : Curve::Field::modulus;
    if (input.byte() % 4 == 0) {
        m = number(input, m);
        m[0] |= 1;
        if (m == Words{1, 0, 0, 0}) return;
    }
    const Words x = modulo(number(input, m), m).words();
    const Words i = inverse(x, OddModulus(m));
    require(i == inverse_vartime(x, OddModulus(m)), "inverses by both ways");
    Digits gcd;
    mpGcd(gcd.d, Digits(x).d, Digits(m).d, VRX_ECC_DIGITS);
    const bool exists = gcd == Digits(1);
    require(modulo(i, m) == Digits(i) && product(x, i, m) == Digits(exists ? 1 : 0), "inverse");
    require(exists || is_zero(i) != 0, "no inverse is 0");
}

/** Reads a multiplicand in a lane. It is below 2.1 p, and it may be above 2^256. */
template <typename S>
void set_lane(LaneWords& a, std::size_t lane, Input& input) {
    Digits n = number(input, S::modulus);
    const Digits p = S::modulus;
    if (input.byte() % 4 == 0) mpAdd(n.d, n.d, p.d, VRX_ECC_DIGITS);
    Digits most;  // 2.09 p
    mpShortMult(most.d, p.d, 209, VRX_ECC_DIGITS);
    mpShortDiv(most.d, most.d, 100, VRX_ECC_DIGITS);
    while (mpCompare(n.d, most.d, VRX_ECC_DIGITS) >= 0) mpSubtract(n.d, n.d, p.d, VRX_ECC_DIGITS);
    for (std::size_t i = 0; i < limb_count; ++i) {
        a.limb[i][lane] = (n.d[0] | std::uint64_t{n.d[1]} << 32) & mask52;
        mpShiftRight(n.d, n.d, 52, VRX_ECC_DIGITS);
    }
}

/** The value of a multiplicand. */
template <typename S>
Digits lane(const LaneWords& a, std::size_t l) {
    Limbs52 limbs;
    Digits sum;
    for (std::size_t i = limb_count; i-- != 0;) {
        limbs.limb[i] = a.limb[i][l];
        require(limbs.limb[i] <= mask52, "limbs have 52 bits");
        mpShiftLeft(sum.d, sum.d, 52, VRX_ECC_DIGITS);
        const Digits limb = Words{limbs.limb[i], 0, 0, 0};
        mpAdd(sum.d, sum.d, limb.d, VRX_ECC_DIGITS);
    }
    Digits most;
    mpShortMult(sum.d, sum.d, 10, VRX_ECC_DIGITS);
    mpShortMult(most.d, Digits(S::modulus).d, 21, VRX_ECC_DIGITS);
    require(mpCompare(sum.d, most.d, VRX_ECC_DIGITS) < 0, "multiplicands are below 2.1 p");
    return S::from_montgomery(scalar_of<S>(limbs));
}

template <typename S>
void check_lanes(Input& input, const LaneOperations& operations) {
    const Words& p = S::modulus;
    LaneWords a, b, u, v, r, minus;
    for (std::size_t l = 0; l < lane_count; ++l)
        for (LaneWords* x : {&a, &b, &u, &v}) set_lane<S>(*x, l, input);
    const auto n = static_cast<std::uint32_t>(1 + input.byte() % 14);
    const auto all = [&](const auto& holds, const char* property) {
        for (std::size_t l = 0; l < lane_count; ++l) require(holds(l), property);
    };
    operations.mul(a, b, r);
    all([&](std::size_t l) { return lane<S>(r, l) == product(lane<S>(a, l), lane<S>(b, l), p); }, "product in lanes");
    operations.sqr(a, r);
    all([&](std::size_t l) { return lane<S>(r, l) == product(lane<S>(a, l), lane<S>(a, l), p); }, "square in lanes");
    operations.difference(a, b, u, v, r);
    all(
        [&](std::size_t l) {
            return lane<S>(r, l) ==
                   difference(product(lane<S>(a, l), lane<S>(b, l), p), product(lane<S>(u, l), lane<S>(v, l), p), p);
        },
        "difference of products in lanes");
    operations.multiple(a, static_cast<int>(n), r, minus);
    all(
        [&](std::size_t l) {
            const Digits multiple = product(Digits(n), lane<S>(a, l), p);
            return lane<S>(r, l) == multiple && lane<S>(minus, l) == difference(Digits(), multiple, p);
        },
        "multiples in lanes");
}

bool runs(const Engine& engine) { return vrx::cpu::offers(engine.needs); }

EcPoint record(const AffinePoint& p) {
    EcPoint r{};
    std::memcpy(r.x, p.x.data(), sizeof p.x);
    std::memcpy(r.y, p.y.data(), sizeof p.y);
    return r;
}
AffinePoint affine(const EcPoint& p) {
    AffinePoint r;
    std::memcpy(r.x.data(), p.x, sizeof r.x);
    std::memcpy(r.y.data(), p.y, sizeof r.y);
    return r;
}
bool same(const EcPoint& a, const EcPoint& b) { return epIsEqual(&a, &b) == 1; }

/** Point multiplication by the general methods. */
class General {
public:
    explicit General(CurveId curve) : set_(*get_GOSTR3410_par(static_cast<std::uint32_t>(curve))) {}

    [[nodiscard]] EcPoint base(const Words& k) const {
        EcPoint r{};
        if (set_.has_precomp != 1) return point(k, set_.G);
        epMultPP(&r, Digits(k).d, &set_);
        return r;
    }
    [[nodiscard]] EcPoint point(const Words& k, const EcPoint& p) const {
        EcPoint r{};
        set_.has_precomp == 1 ? epMultJ(&r, &p, Digits(k).d, &set_) : epMult(&r, &p, Digits(k).d, &set_);
        return r;
    }
    [[nodiscard]] EcPoint sum(const EcPoint& p, const EcPoint& q) const {
        EcPoint r;
        epAdd(&r, &p, &q, &set_);
        return r;
    }

private:
    const vrx::test::ForcedEngine none_{vrx::test::engine_none};
    const EcParamSet& set_;
};

template <typename Curve>
void check_multiples(Input& input, CurveId curve) {
    const auto here = vrx::test::engines_here();
    const Engine& engine = *here[input.byte() % here.size()];
    const auto scalar = [&input] {
        Words k = Order<Curve>::reduced(number(input, Curve::q));
        k[0] |= is_zero(k);
        return k;
    };
    const General general(curve);
    const Words k = scalar();
    const EcPoint first = general.base(k);
    AffinePoint r;
    if (engine.multiply_base(curve, k, r)) require(same(record(r), first), "multiple of the base point");

    const Words z = scalar();
    const EcPoint second = general.point(z, first);
    if (engine.multiply(curve, z, affine(first), r)) require(same(record(r), second), "multiple of a point");

    const Words z1 = scalar();
    const EcPoint both = general.sum(general.base(z1), second);
    const Words remainder = Order<Curve>::reduced(affine(both).x);
    if (is_zero(remainder) != 0) return;
    const Answer answer = engine.sum_has_remainder(curve, z1, z, affine(first), remainder);
    require(answer != Answer::no, "a sum has its remainder");
    Words other = remainder;
    other[input.byte() % 4] ^= std::uint64_t{1} << input.byte() % 63;
    if (other == remainder || is_zero(other) != 0 || other != Order<Curve>::reduced(other)) return;
    require(engine.sum_has_remainder(curve, z1, z, affine(first), other) != Answer::yes, "a sum has one remainder");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::uint8_t what = input.byte();
    const auto curve = static_cast<CurveId>(what % 4);
    with_curve(curve, [&]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        switch (what / 4 % 8) {
            case 0:  // rarely, because this takes a hundred times as long
                return what < 32 ? check_multiples<Curve>(input, curve) : check_words<S>(input);
            case 1:
                return check_lanes<S>(input, vrx::test::plain_lane_operations[what % 4]);
            case 2:
                if (runs(engine_ifma)) check_lanes<S>(input, vrx::test::ifma_lane_operations[what % 4]);
                return;
            case 3:
                return check_inverse<Curve>(input);
            case 4:
                return check_order<Curve>(input);
            case 5:
                if (runs(engine_adx)) check_words<typename S::template With<AdxWords>>(input);
                return;
            case 6:
                return check_words<Montgomery<Curve::q>>(input);
            default:
                return check_words<S>(input);
        }
    });
    return 0;
}
