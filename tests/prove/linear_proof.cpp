// Proves the maps over octets from which the engines of the hash derive their shuffles: psi, A, P and combinations of
// these, as matrices over GF(2). An octet consists of eight sums of unknown bits. Two maps are equal if and only if
// they have the same sums.
#include "prove/hash.hpp"

#include "gostr3411/linear.hpp"

namespace vrx::gostr3411 {
namespace {

using prove::Bit;
using prove::conjunction;

prove::Octets applied(const OctetMap& map, const prove::Octets& y) {
    prove::Octets r;
    for (unsigned i = 0; i < 32; ++i) {
        prove::U<8> sum = 0;
        for (unsigned j = 0; j < 32; ++j)
            if ((map[i] >> j & 1) != 0) sum ^= y[j];
        r[i] = sum;
    }
    return r;
}
Bit same(const prove::Octets& a, const prove::Octets& b) {
    Bit all = prove::one;
    for (unsigned i = 0; i < 32; ++i) all = conjunction(all, prove::same(a[i], b[i]));
    return all;
}

TEST(linear, powers_of_psi_are_those_of_the_standard) {
    VRX_NEEDS_SOLVER();
    prove::circuit_theorem("psi^61, psi^62 and psi^74", 3, [] {
        const auto y = prove::unknown_octets();
        return conjunction(same(applied(psi_61, y), prove::psi_of_standard(y, 61)),
                           conjunction(same(applied(psi_62, y), prove::psi_of_standard(y, 62)),
                                       same(applied(psi_74, y), prove::psi_of_standard(y, 74))));
    });
}

template <unsigned j>
Bit keys_are_those_of_the_standard(const prove::Octets& h, const prove::Octets& m) {
    prove::Octets u = h, v = m, constant{};
    for (unsigned i = 1; i <= j; ++i) {
        u = prove::a_of_standard(u);
        if (i == 2) u = prove::sum(u, prove::c3_of_standard());
        v = prove::a_of_standard(prove::a_of_standard(v));
    }
    const auto c = key_constant(j);
    for (unsigned i = 0; i < 32; ++i) constant[i] = c[i];
    const prove::Octets key = prove::sum(prove::sum(applied(key_of_h<j>, h), applied(key_of_m<j>, m)), constant);
    return same(key, prove::p_of_standard(prove::sum(u, v)));
}

TEST(linear, keys_from_a_and_p_are_those_of_the_standard) {
    VRX_NEEDS_SOLVER();
    prove::circuit_theorem("keys 0 to 3: P A^j (H) + P A^2j (M) + a constant", 3, [] {
        const auto h = prove::unknown_octets(), m = prove::unknown_octets();
        return conjunction(
            conjunction(keys_are_those_of_the_standard<0>(h, m), keys_are_those_of_the_standard<1>(h, m)),
            conjunction(keys_are_those_of_the_standard<2>(h, m), keys_are_those_of_the_standard<3>(h, m)));
    });
}

}  // namespace
}  // namespace vrx::gostr3411
