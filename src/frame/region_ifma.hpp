// Functions from here to frame/region_end.hpp may use AVX-512 F, VL and IFMA, and BMI2. Include all other headers
// first: shared functions must be compiled for the baseline.
//
// No include guard: each include begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("avx512f,avx512vl,avx512ifma,bmi2")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512vl,avx512ifma,bmi2")
#endif
