// Proves for the engine with VBMI permutes for any table that its sums of planes are sums of words.
#include "prove/planes.hpp"

#include "gost28147/engine/vbmi_any.cpp"

namespace vrx::gost28147 {

TEST(cipher_vbmi_any, sums_of_planes_are_those_of_words) {
    VRX_NEEDS_SOLVER();
    prove::prove_sum_of_planes<Plane>("vbmi, any table");
}

}  // namespace vrx::gost28147
