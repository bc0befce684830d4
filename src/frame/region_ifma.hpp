// From here to frame/region_end.hpp functions may use AVX-512 F, VL and IFMA, and BMI2. Include every other
// header before, so that nothing shared is compiled for more than the baseline.
//
// No include guard: each use begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("avx512f,avx512vl,avx512ifma,bmi2")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512vl,avx512ifma,bmi2")
#endif
