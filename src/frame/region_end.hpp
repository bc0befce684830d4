// The end of a region that frame/region_avx2.hpp or frame/region_avx512.hpp began.
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
