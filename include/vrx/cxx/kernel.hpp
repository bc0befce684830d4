/**
 * @file cxx/kernel.hpp  GOST 28147-89 on single blocks: kernel.h for C++.
 *
 * Every table must be deployed: the functions do not check this. The functions allocate nothing. Threads: no shared
 * state.
 */
#ifndef VRX_CXX_KERNEL_HPP
#define VRX_CXX_KERNEL_HPP

#include "vrx/cxx/types.hpp"
#include "vrx/kernel.h"

namespace vrx {
inline namespace v1 {

/** The direction of an operation. */
enum class Direction : int { decrypt = 0, encrypt = 1 };

/** Encrypt a block. */
inline Block encrypt_block(const Block &in, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_encr_64_m(in.data(), out.data(), key.words(), &table);
    return out;
}
/** Decrypt a block. */
inline Block decrypt_block(const Block &in, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_decr_64_m(in.data(), out.data(), key.words(), &table);
    return out;
}
/** Perform one step of the MAC: add a block to the state. */
inline void mac_block(const Block &in, MacValue &state, const Key &key, const vrx_tz &table) noexcept {
    vrx_gost_imito_64_m(in.data(), state.data(), key.words(), &table);
}
/** Perform one step of counter mode. Before the first block, `counter` is the encrypted IV. */
inline Block counter_block(const Block &in, Iv &counter, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_gamm_64_m(in.data(), out.data(), counter.data(), key.words(), &table);
    return out;
}
/** Perform one step of cipher feedback. Before the first block, `feedback` is the IV. */
inline Block feedback_block(const Block &in, Iv &feedback, const Key &key, const vrx_tz &table,
                            Direction direction) noexcept {
    Block out;
    vrx_gost_GFB_64_m(in.data(), out.data(), feedback.data(), key.words(), &table, static_cast<int>(direction));
    return out;
}
/** Perform one step of cipher block chaining. Before the first block, `chain` is the IV. */
inline Block cbc_block(const Block &in, Iv &chain, const Key &key, const vrx_tz &table, Direction direction) noexcept {
    Block out;
    vrx_gost_cbc_64_m(in.data(), out.data(), chain.data(), key.words(), &table, static_cast<int>(direction));
    return out;
}

}  // namespace v1
}  // namespace vrx

#endif
