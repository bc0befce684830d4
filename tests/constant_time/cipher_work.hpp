// The work of the constant-time tests of the cipher: every mode, and meshed sections.
#ifndef VRX_TESTS_CONSTANT_TIME_CIPHER_WORK_HPP
#define VRX_TESTS_CONSTANT_TIME_CIPHER_WORK_HPP

#include <array>
#include <cstring>
#include <string_view>

#include "gost28147/bulk.hpp"
#include "gost28147/engine/list.hpp"
#include "gost28147/look_ups.hpp"
#include "gost28147/plain.hpp"
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

inline constexpr std::array all_modes{gost28147::Mode::ecb_encrypt, gost28147::Mode::ecb_decrypt,
                                      gost28147::Mode::cbc_encrypt, gost28147::Mode::cbc_decrypt,
                                      gost28147::Mode::counter,     gost28147::Mode::cfb_encrypt,
                                      gost28147::Mode::cfb_decrypt, gost28147::Mode::cfb_decrypt_rereading,
                                      gost28147::Mode::mac};

/** Runs any mode in place as the exported functions do: several blocks at a time if the mode permits this. */
inline void run_beside(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    bulk::run(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}
/** Runs any mode in place, block by block. */
inline void run_one_by_one(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    plain::run(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}
/** Runs any mode in place with look-ups, which a test must detect. */
inline void run_look_ups(gost28147::Mode mode, const vrx_tz& table, CipherSecrets& secrets, std::size_t blocks) {
    using namespace gost28147;
    by_look_ups(mode, {{table, Key(secrets.key)}, secrets.reg, secrets.data, secrets.data, blocks});
}

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

/** A table that no S-boxes expand to. */
inline vrx_tz changed(const vrx_tz& table) {
    vrx_tz other;
    std::memcpy(&other, &table, sizeof other);
    other.t[3][200] ^= 1;
    return other;
}

/** A caller-supplied copy of a table. An engine has to recover its S-boxes. */
inline vrx_tz copy_of(const vrx_tz& table) {
    vrx_tz copy;
    std::memcpy(&copy, &table, sizeof copy);
    return copy;
}

}  // namespace vrx::test

#endif
