// Proves that the step function for any CPU agrees with the standard, for all numbers, blocks and tables.
#include "prove/hash.hpp"

#include "gostr3411/step.cpp"

namespace vrx::gostr3411 {

TEST(hash_plain, steps_are_those_of_the_standard_for_all_tables) {
    VRX_NEEDS_SOLVER();
    prove::prove_step<prove::UnknownTable<vrx_tz>>(
        "baseline, any table",
        [](prove::Octets& h, const prove::Octets& m, const prove::UnknownTable<vrx_tz>& unknown) {
            store(h.data(), step(load(h.data()), load(m.data()), unknown.table));
        });
}

}  // namespace vrx::gostr3411
