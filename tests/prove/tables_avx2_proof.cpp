// Proves the recovery of S-boxes with AVX2.
#include "prove/tables.hpp"

#include "tz/avx2.cpp"

TEST(tables_avx2, are_accepted_exactly_if_they_are_expansions) {
    VRX_NEEDS_SOLVER();
    vrx::prove::prove_recovery("avx2", [](const vrx_tz& table, bool& accepted) {
        vrx::tz::SBoxes out{};
        accepted = vrx::tz::recover_avx2(table, out);
        return out;
    });
}
