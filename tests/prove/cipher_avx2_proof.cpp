// Proves that the engine with AVX2 shuffles agrees with the standard, for all keys, blocks and S-boxes.
#include "prove/planes.hpp"

#include "gost28147/engine/avx2.cpp"

namespace vrx::gost28147 {

TEST(cipher_avx2, sums_of_planes_are_those_of_words) {
    VRX_NEEDS_SOLVER();
    prove::prove_sum_of_planes<Plane>("avx2");
}

TEST(cipher_avx2, rounds_are_those_of_the_standard_for_all_s_boxes) {
    VRX_NEEDS_SOLVER();
    for (const bool decrypting : {false, true})
        prove::prove_planes<4, Plane, Vector, prove::UnknownBoxes>(
            "avx2", decrypting, [&](Vector(&v)[8], const KeyPlanes<Plane>& key, const prove::UnknownBoxes& boxes) {
                const Shuffles shuffles(tz::sboxes(tz::Numeric(boxes.num)));
                Shuffled{shuffles, key, decrypting}.run(v);
            });
}

TEST(cipher_avx2, counters_are_sums_with_steps_from_zero) {
    VRX_NEEDS_SOLVER();
    prove::prove_counters<Vector>("avx2");
}

}  // namespace vrx::gost28147
