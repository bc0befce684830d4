// The engine of AVX-512 IFMA. What is included before the vector instructions are switched on is compiled for every
// processor, and may be shared with other files; what comes after belongs to this lane type alone.
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
