// Signing and verification (GOST R 34.10-2001), over any domain.
#ifndef VRX_ECC_SIGN_HPP
#define VRX_ECC_SIGN_HPP

#include "ecc/domain.hpp"
#include "vrx/sign.h"

namespace vrx::ecc {

/** Returns the digest as a number modulo q, or 1 if that number is 0. */
template <typename Domain>
typename Domain::Scalar digest_number(const Domain& domain, const std::uint32_t* digest) {
    Number n{};
    std::memcpy(n.digits, digest, VRX_ECC_DIGEST_WORDS * sizeof *digest);
    const auto e = domain.remainder(n).reduced();
    return conditional_move(e.is_zero(), e.small(1), e);
}

/**
 * Computes r = x(k G) mod q and s = (r d + k e) mod q. Deliberate: accepts r = 0 and s = 0 without drawing another k.
 */
template <typename Domain>
std::optional<EcSignature> sign(const Domain& domain, const std::uint32_t* digest, const Number& k, const Number& d) {
    const auto scalar = domain.scalar(k);
    const auto point = base_multiple(domain, k);
    if (!scalar || !point) return std::nullopt;
    const auto e = digest_number(domain, digest);
    const auto r = domain.remainder(point->x).reduced();
    const auto s = sum_of_products(r, domain.remainder(d), *scalar, e);
    EcSignature sig;
    store(sig.r, r.number());
    store(sig.s, s.number());
    return sig;
}

/**
 * True if x(z1 G + z2 Q) mod q = r for z1 = s / e and z2 = -r / e. s may be greater than or equal to q, but r must be
 * below q.
 */
template <typename Domain>
std::optional<bool> verify(const Domain& domain, const std::uint32_t* digest, const EcPoint& public_key,
                           const EcSignature& sig) {
    const auto r = domain.signature_r(load(sig.r));
    // r = 0 must be rejected. Otherwise an infinite sum (s = 0) or a base point with x = 0 (s = +-e) would pass.
    if (!r) return false;
    const auto v = digest_number(domain, digest).inverse_vartime();
    return domain.sum_has_remainder(domain.remainder(load(sig.s)) * v, public_key, -(*r * v), *r);
}

}  // namespace vrx::ecc

#endif
