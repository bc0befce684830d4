// Recognises built-in parameter sets, and implements the general domain.
#include "ecc/domain.hpp"

namespace vrx::ecc {

using field::CurveId;

namespace {

constexpr CurveId curves[] = {CurveId::test, CurveId::a, CurveId::b, CurveId::c};

template <typename Field>
bool same(const Field& a, const Field& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

std::optional<CurveId> builtin_curve(const EcParamSet& set) {
    for (const CurveId curve : curves) {
        const EcParamSet& original = original_set(curve);
        if (!same(set.p, original.p)) continue;
        if (same(set.a, original.a) && same(set.b, original.b) && same(set.q, original.q) && same(set.G, original.G) &&
            set.has_precomp == original.has_precomp && (!has_table(set) || same(set.pp, original.pp)))
            return curve;
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<CurveId> builtin_curve_of_order(const std::uint32_t* q) {
    for (const CurveId curve : curves)
        if (std::memcmp(q, original_set(curve).q, sizeof original_set(curve).q) == 0) return curve;
    return std::nullopt;
}

std::optional<General::Point> General::table_multiple(const Scalar& k) const {
    return to_affine(multiple_by_table<Residue>(k.number(), [&](unsigned m) { return load(set_.pp[m], set_); }));
}

std::optional<General::Point> General::jacobian_multiple(const EcPoint& p, const Scalar& k) const {
    return to_affine(multiple_from_top(load(p, set_), k.number()));
}

std::optional<General::Point> General::affine_multiple(const EcPoint& p, const Scalar& k) const {
    return multiple_from_bottom(load(p, set_), k.number(), Residue(set_.a, set_.p));
}

std::optional<bool> General::sum_has_remainder(const Scalar& z1, const EcPoint& public_key, const Scalar& z2,
                                               const Scalar& r) const {
    // Calls with_domain() for each multiple, because the built-in domain may accept z1 G even if it does not accept the
    // key or the sum.
    const EcPoint c1 =
        with_domain(set_, [&](const auto& domain) { return to_record(base_multiple(domain, z1.number())); });
    const EcPoint c2 = with_domain(
        set_, [&](const auto& domain) { return to_record(point_multiple(domain, public_key, z2.number())); });
    const Point c = sum(load(c1, set_), load(c2, set_), Residue(set_.a, set_.p));
    return remainder(c.x).reduced() == r;
}

}  // namespace vrx::ecc
