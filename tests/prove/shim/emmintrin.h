// The instructions of SSE2 among them.
#include "immintrin.h"
