// From here to frame/region_end.hpp functions may use SHA, SSE4.1 and SSSE3. Include every other
// header before, so that nothing shared is compiled for more than the baseline.
//
// No include guard: each use begins a region.
#if defined(__clang__)
#pragma clang attribute push([[gnu::target("sha,sse4.1,ssse3")]], apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("sha,sse4.1,ssse3")
#endif
