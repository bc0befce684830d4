// Functions from here to frame/region_end.hpp may use AVX-512 F, BW, VL and VBMI, BMI and BMI2. Include all other
// headers first: shared functions must be compiled for the baseline.
//
// No include guard: each include begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("avx512f,avx512bw,avx512vl,avx512vbmi,bmi,bmi2")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512vl,avx512vbmi,bmi,bmi2")
// Intrinsics of the compiler use undefined registers on purpose.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
