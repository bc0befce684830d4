// Functions from here to frame/region_end.hpp may use AVX2 and BMI. Include all other headers first: shared functions
// must be compiled for the baseline.
//
// No include guard: each include begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("avx2,bmi")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi")
#endif
