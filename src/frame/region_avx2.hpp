// From here to frame/region_end.hpp functions may use AVX2 and BMI. Include every other header before, so that nothing
// shared is compiled for more than the baseline.
//
// No include guard: each use begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("avx2,bmi")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi")
#endif
