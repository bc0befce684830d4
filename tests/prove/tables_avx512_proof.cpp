// Proves the recovery of S-boxes with AVX-512.
#include <immintrin.h>

#include "prove/tables.hpp"

#include "tz/recover_avx512.hpp"

TEST(tables_avx512, are_accepted_exactly_if_they_are_expansions) {
    VRX_NEEDS_SOLVER();
    vrx::prove::prove_recovery("avx512", [](const vrx_tz& table, bool& accepted) {
        vrx::tz::Claim claim(table);
        for (unsigned m = 0; m < 4; ++m) claim.check(m);
        accepted = claim.holds();
        const vrx::tz::Tables tables = claim.tables();
        vrx::tz::SBoxes out{};
        _mm512_store_si512(out.even, tables.even);
        _mm512_store_si512(out.odd, tables.odd);
        return out;
    });
}
