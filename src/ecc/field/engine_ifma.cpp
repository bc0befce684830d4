// The engine "ifma": eight lanes with AVX-512 IFMA. Headers included before the region are compiled for every CPU and
// may be shared with other files. Headers inside the region are only instantiated for this lane type.
#include <immintrin.h>

#include "ecc/field/comb_tables.hpp"
#include "ecc/field/engine_of.hpp"
#include "ecc/field/recode.hpp"

#include "frame/region_ifma.hpp"

#include "ecc/field/ifma_lanes.hpp"
#include "ecc/field/lane_methods.hpp"

#include "frame/region_end.hpp"

namespace vrx::field {

constinit const Engine engine_ifma =
    EngineOf<LaneMethods<IfmaLanes>>::described(cpu::named(cpu::curve_engines, "ifma"));

}  // namespace vrx::field
