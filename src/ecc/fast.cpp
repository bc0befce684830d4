#include "ecc/fast.hpp"

#include "frame/outcome.hpp"

namespace vrx::ecc {
namespace {

using field::AffinePoint;
using field::Answer;
using field::CurveId;
using field::Nine;
using field::Order;
using field::Words;

void store_point(EcPoint& point, const AffinePoint& words) {
    store(point.x, words.x);
    store(point.y, words.y);
}

/** The number of a digest modulo q, 0 replaced by 1. */
template <typename Curve>
Words digest_words(const std::uint32_t* digest) {
    Words n;
    static_assert(sizeof n == VRX_ECC_DIGEST_WORDS * sizeof *digest);
    std::memcpy(n.data(), digest, sizeof n);
    Words e = Order<Curve>::reduced(n);
    e[0] |= field::is_zero(e);
    return e;
}

}  // namespace

bool fast_base_multiple(const EcParamSet& set, const Number& k, EcPoint& r) {
    CurveId curve;
    Words scalar;
    AffinePoint product;
    if (!covers_set(set, curve) || !covers_scalar(curve, k, scalar) ||
        !field::engine().multiply_base(curve, scalar, product))
        return false;
    store_point(r, product);
    return true;
}

bool fast_multiple(const EcParamSet& set, const EcPoint& p, const Number& k, EcPoint& r) {
    if (std::memcmp(&p, &set.G, sizeof p) == 0) return fast_base_multiple(set, k, r);
    CurveId curve;
    Words scalar;
    AffinePoint point;
    AffinePoint product;
    if (!covers_set(set, curve) || !covers_point(curve, p, point) || !covers_scalar(curve, k, scalar) ||
        !field::engine().multiply(curve, scalar, point, product))
        return false;
    store_point(r, product);
    return true;
}

bool fast_sign(const EcParamSet& set, const std::uint32_t* digest, const Number& k, const Number& d, EcSignature& sig) {
    CurveId curve;
    Words scalar;
    AffinePoint product;
    if (!covers_set(set, curve) || !covers_scalar(curve, k, scalar) ||
        !field::engine().multiply_base(curve, scalar, product))
        return false;
    with_curve(curve, [&]<typename Curve>(Curve) {
        using Q = Order<Curve>;
        const Words r = Q::reduced(product.x);
        store(sig.r, r);
        store(sig.s, Q::sum_of_products(r, Q::reduced(to_nine(d.digits)), scalar, digest_words<Curve>(digest)));
    });
    return true;
}

Answer fast_verify(const EcParamSet& set, const std::uint32_t* digest, const EcPoint& public_key,
                   const EcSignature& sig) {
    CurveId curve;
    AffinePoint point;
    Words r;
    if (!covers_set(set, curve)) return Answer::not_covered;
    if (!covers_scalar(curve, load(sig.r), r)) return Answer::no;
    if (!covers_point(curve, public_key, point)) return Answer::not_covered;
    return with_curve(curve, [&]<typename Curve>(Curve) {
        using Q = Order<Curve>;
        const Words v = Q::inverse_vartime(digest_words<Curve>(digest));
        const Words z1 = Q::product(v, Q::reduced(to_nine(sig.s)));
        const Words z2 = Q::negative(Q::product(v, r));
        return field::engine().sum_has_remainder(curve, z1, z2, point, r);
    });
}

bool fast_agree(const EcParamSet& set, const Number& u, const Number& d, const EcPoint& p, EcPoint& r) {
    CurveId curve;
    if (!covers_set(set, curve)) return false;
    Number t;
    with_curve(curve, [&]<typename Curve>(Curve) {
        using Q = Order<Curve>;
        store(t.digits, Q::product(Q::reduced(to_nine(u.digits)), Q::reduced(to_nine(d.digits))));
    });
    return fast_multiple(set, p, t, r);
}

bool fast_magnitude(const std::uint32_t* q, const Number& n, std::uint32_t* out) {
    CurveId curve;
    if (!covers_order(q, curve)) return false;
    Nine magnitude = to_nine(n.digits);
    const std::uint64_t negative = field::mask(magnitude.high >> 31);
    for (std::uint64_t& word : magnitude.low) word ^= negative;
    magnitude.high ^= negative & 0xFFFFFFFF;
    std::uint64_t carry = negative & 1;
    for (std::uint64_t& word : magnitude.low) word = field::add_carry(word, 0, carry);
    magnitude.high += carry;
    with_curve(curve, [&]<typename Curve>(Curve) { store(out, Order<Curve>::reduced(magnitude)); });
    return true;
}

bool is_publicly_zero(const std::uint32_t* digits) {
    std::uint64_t any = 0;
    for (unsigned i = 0; i < digit_count; ++i) any |= digits[i];
    return public_outcome((any - 1) >> 63);
}

}  // namespace vrx::ecc
