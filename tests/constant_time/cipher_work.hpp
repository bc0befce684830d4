// What the checks of the cipher's engines run: every mode that works on blocks side by side, and meshed sections.
#ifndef VRX_TESTS_CONSTANT_TIME_CIPHER_WORK_HPP
#define VRX_TESTS_CONSTANT_TIME_CIPHER_WORK_HPP

#include <array>
#include <cstring>
#include <string_view>

#include "gost28147/bulk.hpp"
#include "gost28147/engine/list.hpp"
#include "support/offered.hpp"
#include "vrx.h"

namespace vrx::test {

/** Key, register and data, all of them secret. The sections take key and register and leave the next ones. */
struct CipherSecrets {
    std::uint32_t key[VRX_KEY_WORDS];
    std::uint8_t reg[VRX_BLOCK_SIZE];
    std::uint8_t data[2 * VRX_MESHING_SECTION];
};

constexpr std::array parallel_modes{gost28147::Mode::ecb_encrypt, gost28147::Mode::ecb_decrypt,
                                    gost28147::Mode::cbc_decrypt, gost28147::Mode::counter,
                                    gost28147::Mode::cfb_decrypt};

/** In place, through the engine in use. */
inline void run_mode(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    engine().parallel(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}

inline void run_sections(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets) {
    using namespace gost28147;
    bulk::run_sections(
        mode,
        {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, sizeof secrets.data / VRX_BLOCK_SIZE},
        secrets.key);
}

/** The same S-boxes in a table of the caller's, which an engine has to find them in. */
inline vrx_tz copy_of(const vrx_tz& table) {
    vrx_tz copy;
    std::memcpy(&copy, &table, sizeof copy);
    return copy;
}

}  // namespace vrx::test

#endif
