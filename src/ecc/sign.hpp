// Signatures and keys, as arithmetic on numbers.
#ifndef VRX_ECC_SIGN_HPP
#define VRX_ECC_SIGN_HPP

#include "ecc/fast.hpp"
#include "ecc/multiply.hpp"
#include "vrx/sign.h"

namespace vrx::ecc {

/** The number of a digest modulo q, 0 replaced by 1. */
inline Residue digest_number(const EcParamSet& set, const std::uint32_t* digest) {
    Number n{};
    std::memcpy(n.digits, digest, VRX_ECC_DIGEST_WORDS * sizeof *digest);
    const Residue e = Residue(n, set.q).reduced();
    return e.is_zero() ? e.small(1) : e;
}

/**
 * r = x(k G) mod q, s = r d + k e mod q.
 * Deliberate: neither r = 0 nor s = 0 asks for another k.
 */
inline EcSignature sign(const EcParamSet& set, const std::uint32_t* digest, const Number& k, const Number& d) {
    EcSignature sig{};
    if (fast_sign(set, digest, k, d, sig)) return sig;
    const Residue e = digest_number(set, digest);
    const Residue r = Residue(base_multiple(set, k).x, set.q).reduced();
    const Residue s = r * Residue(d, set.q) + Residue(k, set.q) * e;
    store(sig.r, r.number());
    store(sig.s, s.number());
    return sig;
}

/** x(z1 G + z2 Q) mod q = r for z1 = s / e and z2 = -r / e. Digits of s may stand for q or more, those of r may not. */
inline bool verify(const EcParamSet& set, const std::uint32_t* digest, const EcPoint& public_key,
                   const EcSignature& sig) {
    if (const auto answer = fast_verify(set, digest, public_key, sig); answer != field::Answer::not_covered)
        return answer == field::Answer::yes;
    const Residue e = digest_number(set, digest);
    const Residue r(sig.r, set.q);
    // Without this the sum may be infinite (s = 0), or a base point with x = 0 (s = +-e), and pass.
    if (r.is_zero()) return false;
    const Residue v = e.inverse();
    const Residue z1 = Residue(sig.s, set.q) * v;
    const Residue z2 = v.small(0) - r * v;
    const EcPoint c1 = base_multiple(set, z1.number());
    const EcPoint c2 = point_multiple(set, public_key, z2.number());
    const Affine<Residue> c = sum(load(c1, set), load(c2, set), Residue(set.a, set.p));
    return Residue(c.x.number(), set.q).reduced() == r;
}

}  // namespace vrx::ecc

#endif
