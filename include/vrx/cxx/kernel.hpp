/**
 * @file cxx/kernel.hpp  GOST 28147-89 on single blocks: kernel.h for C++.
 *
 * Nothing is allocated. Threads: no shared state.
 */
#ifndef VRX_CXX_KERNEL_HPP
#define VRX_CXX_KERNEL_HPP

#include "vrx/cxx/types.hpp"
#include "vrx/kernel.h"

namespace vrx {
inline namespace v1 {

/** Which way. */
enum class Direction : int { decrypt = 0, encrypt = 1 };

/** A block encrypted. */
inline Block encrypt_block(const Block &in, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_encr_64_m(in.data(), out.data(), key.words(), &table);
    return out;
}
/** A block decrypted. */
inline Block decrypt_block(const Block &in, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_decr_64_m(in.data(), out.data(), key.words(), &table);
    return out;
}
/** A step of the MAC: the state takes in a block. */
inline void mac_block(const Block &in, MacValue &state, const Key &key, const vrx_tz &table) noexcept {
    vrx_gost_imito_64_m(in.data(), state.data(), key.words(), &table);
}
/** A step of the counter mode; `counter` is the encrypted vector at first. */
inline Block counter_block(const Block &in, Iv &counter, const Key &key, const vrx_tz &table) noexcept {
    Block out;
    vrx_gost_gamm_64_m(in.data(), out.data(), counter.data(), key.words(), &table);
    return out;
}
/** A step of cipher feedback. */
inline Block feedback_block(const Block &in, Iv &feedback, const Key &key, const vrx_tz &table,
                            Direction direction) noexcept {
    Block out;
    vrx_gost_GFB_64_m(in.data(), out.data(), feedback.data(), key.words(), &table, static_cast<int>(direction));
    return out;
}
/** A step of cipher block chaining. */
inline Block cbc_block(const Block &in, Iv &chain, const Key &key, const vrx_tz &table, Direction direction) noexcept {
    Block out;
    vrx_gost_cbc_64_m(in.data(), out.data(), chain.data(), key.words(), &table, static_cast<int>(direction));
    return out;
}

}  // namespace v1
}  // namespace vrx

#endif
