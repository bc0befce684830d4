// The work of the constant-time tests of the cipher: every parallelizable mode, and meshed sections.
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

/** A secret key, register and data. run_sections() replaces the key and the register with those of the next section. */
struct CipherSecrets {
    std::uint32_t key[VRX_KEY_WORDS];
    std::uint8_t reg[VRX_BLOCK_SIZE];
    std::uint8_t data[2 * VRX_MESHING_SECTION];
};

inline constexpr std::array parallel_modes{gost28147::Mode::ecb_encrypt, gost28147::Mode::ecb_decrypt,
                                           gost28147::Mode::cbc_decrypt, gost28147::Mode::counter,
                                           gost28147::Mode::cfb_decrypt};

/** In these modes, each block depends on the previous one. */
inline constexpr std::array chained_modes{gost28147::Mode::cbc_encrypt, gost28147::Mode::cfb_encrypt,
                                          gost28147::Mode::mac};

/** Runs a mode in place, on the engine in use. */
inline void run_mode(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    engine().parallel(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}

inline void run_chain_of(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    engine().chain(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}

inline void run_sections(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets) {
    using namespace gost28147;
    bulk::run_sections(
        mode,
        {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, sizeof secrets.data / VRX_BLOCK_SIZE},
        secrets.key);
}

/** A caller-supplied copy of a table. An engine has to recover its S-boxes. */
inline vrx_tz copy_of(const vrx_tz& table) {
    vrx_tz copy;
    std::memcpy(&copy, &table, sizeof copy);
    return copy;
}

}  // namespace vrx::test

#endif
