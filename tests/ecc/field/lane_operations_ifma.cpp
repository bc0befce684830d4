// LaneOperations with AVX-512 IFMA.
#include <immintrin.h>

#include "ecc/field/curves.hpp"
#include "ecc/field/limbs52.hpp"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f,avx512vl,avx512ifma,bmi2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512vl,avx512ifma,bmi2")
#endif

#include "ecc/field/ifma_lanes.hpp"
#include "ecc/field/lane_operations_of.hpp"

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace vrx::test {

template <typename Curve>
constexpr LaneOperations operations = LaneOperationsOf<field::IfmaLanes, typename Curve::Field>::all;

constinit const AllLaneOperations ifma_lane_operations = {operations<field::CurveTest>, operations<field::CurveA>,
                                                          operations<field::CurveB>, operations<field::CurveC>};

}  // namespace vrx::test
