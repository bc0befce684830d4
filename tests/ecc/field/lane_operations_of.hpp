// LaneOperations over a lane type V. Include this file inside the region of its instruction set.
#ifndef VRX_TESTS_ECC_FIELD_LANE_OPERATIONS_OF_HPP
#define VRX_TESTS_ECC_FIELD_LANE_OPERATIONS_OF_HPP

#include "ecc/field/lane_operations.hpp"
#include "ecc/field/lanes.hpp"

namespace vrx::test {

template <typename V, typename S>
struct LaneOperationsOf {
    using F = field::LaneField<V, S>;
    using E = field::Element<V>;

    static E load(const LaneWords& a) {
        E r;
        for (std::size_t i = 0; i < field::limb_count; ++i) r.limb[i] = V::load(a.limb[i]);
        return r;
    }
    static void store(const E& a, LaneWords& r) {
        for (std::size_t i = 0; i < field::limb_count; ++i) a.limb[i].store(r.limb[i]);
    }
    static void mul(const LaneWords& a, const LaneWords& b, LaneWords& r) { store(F::mul(load(a), load(b)), r); }
    static void sqr(const LaneWords& a, LaneWords& r) { store(F::sqr(load(a)), r); }
    static void multiple(const LaneWords& a, int n, LaneWords& plus, LaneWords& minus) {
        E up = load(a) - load(a);
        E down = up;
        for (; n != 0; --n) {
            up = up + load(a);
            down = down - load(a);
        }
        store(F::carry(up), plus);
        store(F::carry(down), minus);
    }
    static void difference(const LaneWords& a, const LaneWords& b, const LaneWords& u, const LaneWords& v,
                           LaneWords& r) {
        store(F::carry(F::difference_loose(load(a), load(b), load(u), load(v))), r);
    }
    static constexpr LaneOperations all = {mul, sqr, multiple, difference};
};

}  // namespace vrx::test

#endif
