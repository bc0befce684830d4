// AVX-512 variant of deploy(): one store for each row of a table.
#include <immintrin.h>

#include "tz/deployments.hpp"
#include "tz/sboxes.hpp"

#include "frame/region_avx512.hpp"

#include "tz/recover_avx512.hpp"

namespace vrx::tz {

void deploy_avx512(Numeric num, vrx_tz& out) noexcept {
    const __m512i words = _mm512_loadu_si512(num.data());
    out.initialised = 0;
    for (unsigned m = 0; m < 4; ++m)
        for_each_row(words, m, [&](unsigned h, __m512i row) { _mm512_storeu_si512(&out.t[m][16 * h], row); });
    out.initialised = 1;
}

}  // namespace vrx::tz

#include "frame/region_end.hpp"
