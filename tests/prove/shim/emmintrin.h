// The SSE2 instructions are in immintrin.h.
#include "immintrin.h"
