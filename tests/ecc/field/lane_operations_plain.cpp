// LaneOperations on plain arrays.
#include "ecc/field/curves.hpp"
#include "ecc/field/lane_operations_of.hpp"
#include "ecc/field/plain_lanes.hpp"

namespace vrx::test {

template <typename Curve>
constexpr LaneOperations operations = LaneOperationsOf<field::PlainLanes, typename Curve::Field>::all;

constinit const AllLaneOperations plain_lane_operations = {operations<field::CurveTest>, operations<field::CurveA>,
                                                           operations<field::CurveB>, operations<field::CurveC>};

}  // namespace vrx::test
