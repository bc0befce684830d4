#include "ecc/covered.hpp"

#include "ecc/params.hpp"
#include "frame/outcome.hpp"

namespace vrx::ecc {

using field::CurveId;
using field::Words;

namespace {

constexpr CurveId curves[] = {CurveId::test, CurveId::a, CurveId::b, CurveId::c};

template <typename Field>
bool same(const Field& a, const Field& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

bool covers_set(const EcParamSet& set, CurveId& curve) {
    for (const CurveId id : curves) {
        const EcParamSet& original = original_set(id);
        if (!same(set.p, original.p)) continue;
        curve = id;
        return same(set.a, original.a) && same(set.b, original.b) && same(set.q, original.q) &&
               same(set.G, original.G) && set.has_precomp == original.has_precomp &&
               (!has_table(set) || same(set.pp, original.pp));
    }
    return false;
}

bool covers_order(const std::uint32_t* q, CurveId& curve) {
    for (const CurveId id : curves) {
        curve = id;
        if (std::memcmp(q, original_set(id).q, sizeof original_set(id).q) == 0) return true;
    }
    return false;
}

bool covers_point(CurveId curve, const EcPoint& point, field::AffinePoint& words) {
    const field::Nine x = to_nine(point.x);
    const field::Nine y = to_nine(point.y);
    if ((x.high | y.high) != 0) return false;
    words = {x.low, y.low};
    return with_curve(curve, [&]<typename Curve>(Curve) { return field::is_on_curve<Curve>(words); });
}

bool covers_scalar(CurveId curve, const Number& k, Words& words) {
    const field::Nine n = to_nine(k.digits);
    words = n.low;
    const std::uint64_t below = with_curve(curve, [&]<typename Curve>(Curve) {
        Words difference{};
        return field::sub(difference, words, Curve::q);
    });
    // The ninth digit is below 2^32, so only zero reaches bit 63 by counting down.
    return public_outcome(below & (n.high - 1) >> 63 & (field::is_zero(words) ^ 1));
}

}  // namespace vrx::ecc
