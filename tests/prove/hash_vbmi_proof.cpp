// Proves that the step function with VBMI agrees with the standard, for all numbers, blocks and S-boxes.
#include "prove/hash.hpp"

#include "gostr3411/vbmi.cpp"

namespace vrx::gostr3411 {

TEST(hash_vbmi, steps_are_those_of_the_standard_for_all_s_boxes) {
    VRX_NEEDS_SOLVER();
    prove::prove_step("vbmi", [](prove::Octets& h, const prove::Octets& m, const prove::UnknownBoxes& boxes) {
        vrx_tz table{};
        const tz::SBoxes sboxes = tz::sboxes(tz::Numeric(boxes.num));
        Substitution s(table);
        s.sboxes = &sboxes;
        Uint256 number;
        std::memcpy(&number, &h, sizeof number);
        steps_vbmi(number, m.data(), 1, s);
        std::memcpy(&h, &number, sizeof number);
    });
}

}  // namespace vrx::gostr3411
