// The engine of AVX-512 IFMA. What is included before the vector instructions are switched on is compiled for every
// processor, and may be shared with other files; what comes after belongs to this lane type alone.
#include <immintrin.h>

#include "ecc/field/comb_tables.hpp"
#include "ecc/field/engine_of.hpp"
#include "ecc/field/recode.hpp"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f,avx512vl,avx512ifma,bmi2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512vl,avx512ifma,bmi2")
#endif

#include "ecc/field/ifma_lanes.hpp"
#include "ecc/field/lane_methods.hpp"

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace vrx::field {

constinit const Engine engine_ifma =
    EngineOf<LaneMethods<IfmaLanes>>::named("ifma", cpu::bmi2 | cpu::avx512f | cpu::avx512vl | cpu::avx512ifma);

}  // namespace vrx::field
