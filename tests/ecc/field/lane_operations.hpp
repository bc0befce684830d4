// Lane arithmetic on plain memory, for tests that are compiled for every CPU.
#ifndef VRX_TESTS_ECC_FIELD_LANE_OPERATIONS_HPP
#define VRX_TESTS_ECC_FIELD_LANE_OPERATIONS_HPP

#include "ecc/field/limbs52.hpp"

namespace vrx::test {

/** The limbs of eight lanes. */
struct LaneWords {
    std::uint64_t limb[field::limb_count][field::lane_count];
};

struct LaneOperations {
    void (*mul)(const LaneWords& a, const LaneWords& b, LaneWords& r);
    void (*sqr)(const LaneWords& a, LaneWords& r);
    /** carry(n a) and carry(-n a) */
    void (*multiple)(const LaneWords& a, int n, LaneWords& plus, LaneWords& minus);
    /** carry(a b - u v) */
    void (*difference)(const LaneWords& a, const LaneWords& b, const LaneWords& u, const LaneWords& v, LaneWords& r);
};

/** The operations for the fields of the four curves, in the order of CurveId. */
using AllLaneOperations = LaneOperations[4];
extern const AllLaneOperations plain_lane_operations;
extern const AllLaneOperations ifma_lane_operations;

}  // namespace vrx::test

#endif
