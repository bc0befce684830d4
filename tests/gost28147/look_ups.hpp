// The modes with look-ups, block by block, in every build of the library. Every engine must compute the same.
#ifndef VRX_TESTS_GOST28147_LOOK_UPS_HPP
#define VRX_TESTS_GOST28147_LOOK_UPS_HPP

#include "gost28147/in_order.hpp"

namespace vrx::test {

/** The rounds on one block as the standard defines them. */
struct LookUps {
    gost28147::Cipher cipher;

    template <const auto& order>
    [[nodiscard]] gost28147::Block run(gost28147::Block b) const {
        return gost28147::rounds<order>(b, cipher.key, cipher.table);
    }
};

inline void by_look_ups(gost28147::Mode mode, const gost28147::Run& run) {
    const LookUps look_ups{run.cipher};
    in_order(mode, run, gost28147::BlockBy<LookUps>{look_ups});
}

}  // namespace vrx::test

#endif
