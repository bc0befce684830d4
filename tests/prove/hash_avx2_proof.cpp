// Proves that the step function with AVX2 and look-ups agrees with the standard, for all numbers, blocks and tables.
#include "prove/hash.hpp"

#include "gostr3411/avx2.cpp"

namespace vrx::gostr3411 {

TEST(hash_avx2, steps_are_those_of_the_standard_for_all_tables) {
    VRX_NEEDS_SOLVER();
    prove::prove_step<prove::UnknownTable<vrx_tz>>(
        "avx2, any table", [](prove::Octets& h, const prove::Octets& m, const prove::UnknownTable<vrx_tz>& unknown) {
            const Substitution s(unknown.table);
            Uint256 number;
            std::memcpy(&number, &h, sizeof number);
            steps_avx2(number, m.data(), 1, s);
            std::memcpy(&h, &number, sizeof number);
        });
}

}  // namespace vrx::gostr3411
