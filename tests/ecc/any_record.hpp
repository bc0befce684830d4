// Parameter records and points with arbitrary content, from a random generator or a fuzzer.
#ifndef VRX_TESTS_ECC_ANY_RECORD_HPP
#define VRX_TESTS_ECC_ANY_RECORD_HPP

#include "ecc_support.hpp"

namespace vrx::test {

/** Records with arbitrary content. The results of the formulas are defined for all of them. */
class AnyRecord {
public:
    AnyRecord() = default;
    explicit AnyRecord(const Random& source) : random(source) {}

    Random random;

    /** Returns a p with 2p < 2^288. It may be prime, composite, even, small or zero. */
    Digits modulus() {
        Digits p = edgy(random);
        switch (random.below(8)) {
            case 0:
                return Digits(cp_ecc_par[random.below(VRX_ECC_SET_COUNT)].p);
            case 1:
                return Digits(random.below(20));
            case 2:
                p = edgy(random, 1 + random.below(9));
                break;
            case 3:
                p.d[0] &= ~1u;
                break;
            default:
                break;
        }
        p.d[8] &= 0x7FFFFFFF;
        return p;
    }
    Digits coordinate(const EcParamSet& set) {
        Digits n = edgy(random);
        switch (random.below(8)) {
            case 0:
                return Digits(random.below(4));
            case 1:
                mpModulo(n.data(), n.data(), VRX_ECC_DIGITS, set.p, VRX_ECC_DIGITS);
                return n;
            case 2:
                return Digits(set.p);
            case 3:
                mpShortAdd(n.data(), set.p, random.below(4), VRX_ECC_DIGITS);
                return n;
            default:
                return n;
        }
    }
    EcPoint any_point(const EcParamSet& set) {
        if (random.below(8) == 0) return {};
        return point(coordinate(set), coordinate(set));
    }
    EcPointJ any_point_j(const EcParamSet& set) {
        const EcPoint p = any_point(set);
        EcPointJ j;
        epA2J(&j, &p);
        coordinate(set).copy_to(j.z);
        return j;
    }
    EcParamSet any_set() {
        EcParamSet set{};
        modulus().copy_to(set.p);
        coordinate(set).copy_to(set.a);
        coordinate(set).copy_to(set.b);
        Digits q = modulus();
        q.d[8] = 0;
        q.copy_to(set.q);
        set.G = any_point(set);
        for (EcPoint& entry : set.pp) entry = any_point(set);
        set.has_precomp = random.below(3);
        return set;
    }
};

}  // namespace vrx::test

#endif
