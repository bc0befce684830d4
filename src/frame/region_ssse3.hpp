// Functions from here to frame/region_end.hpp may use SSSE3. Include all other headers first: shared functions must be
// compiled for the baseline.
//
// No include guard: each include begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("ssse3")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("ssse3")
#endif
