/**
 * @file cxx/modes.hpp  GOST 28147-89 over a whole buffer in one call: modes.h for C++.
 *
 * Nothing is allocated. Threads: no shared state.
 */
#ifndef VRX_CXX_MODES_HPP
#define VRX_CXX_MODES_HPP

#include <optional>

#include "vrx/context.h"
#include "vrx/cxx/kernel.hpp"

namespace vrx {
inline namespace v1 {

/** What is done with blocks to make a message of them. */
enum class Mode : std::uint32_t {
    codebook = VRX_MODE_SS,  /**< each block by itself ("simple substitution"); whole blocks only */
    counter = VRX_MODE_GAMM, /**< "gamma" of a counter */
    feedback = VRX_MODE_GFB, /**< 64-bit cipher feedback */
    cbc = VRX_MODE_CBC,      /**< chained blocks; whole blocks only */
    mac = VRX_MODE_IMITO,    /**< the MAC ("imito") */
};

/** Flags of a call, to be joined with |: see modes.h. */
enum class Flags : int { none = 0, first = VRX_FLAG_FIRST, pad = VRX_FLAG_PAD };
/** Both flags. */
constexpr Flags operator|(Flags a, Flags b) noexcept {
    return static_cast<Flags>(static_cast<int>(a) | static_cast<int>(b));
}

/** The mode of a name of the library's, "ss", "gamm", "gfb" or "cbc". */
inline std::optional<Mode> mode_by_name(const char *name) noexcept {
    const int mode = ciph_mode_by_name(name);
    if (mode == 0) return std::nullopt;
    return static_cast<Mode>(mode);
}

/**
 * The functions of modes.h and context.h one by one, with their codes: buffers of at most 2^32 - 1 bytes
 * (Error::buffer_length above), registers that continue in the next call, flags. All return the bytes written. A span
 * without an address is a NULL pointer to them.
 */
namespace raw {

namespace detail {
template <typename Call>
Result<std::size_t> call(Bytes in, MutableBytes out, Call function) noexcept {
    if (!v1::detail::fits(in.size())) return Error::buffer_length;
    const vrx_data from = v1::detail::record(in);
    vrx_data to = v1::detail::record(out);
    if (const int rc = function(from, to)) return static_cast<Error>(rc);
    return std::size_t{to.length};
}
}  // namespace detail

/** VRX_Gost_SS_m(): codebook. */
inline Result<std::size_t> codebook(const vrx_tz &table, Bytes in, MutableBytes out, const Key &key,
                                    Direction direction) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_SS_m(&table, &from, &to, key.words(), static_cast<int>(direction));
    });
}
/** VRX_Gost_CBC_m(): cipher block chaining. */
inline Result<std::size_t> cbc(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                               Direction direction) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_CBC_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(direction));
    });
}
/** VRX_Gost_Gamm_m(): counter mode. */
inline Result<std::size_t> counter(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                                   Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_Gamm_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(flags));
    });
}
/** VRX_Gost_GFB_m(): cipher feedback. */
inline Result<std::size_t> feedback(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                                    Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_GFB_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(direction),
                              static_cast<int>(flags));
    });
}
/** VRX_Gost_Imito_m(): the MAC's state takes in bytes. */
inline Result<void> mac(const vrx_tz &table, Bytes in, MacValue &state, const Key &key, Flags flags) noexcept {
    const auto done = detail::call(in, MutableBytes(state), [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_Imito_m(&table, &from, &to, key.words(), static_cast<int>(flags));
    });
    return Result<void>::of(done.code());
}
/** do_imito_low(): mac() by its older name. */
inline Result<void> mac_low(const vrx_tz &table, Bytes in, MacValue &state, const Key &key, Flags flags) noexcept {
    const auto done = detail::call(in, MutableBytes(state), [&](const vrx_data &from, vrx_data &to) {
        return do_imito_low(&table, &from, &to, key.words(), static_cast<int>(flags));
    });
    return Result<void>::of(done.code());
}
/** do_cipher_low(): the function of a mode. */
inline Result<std::size_t> cipher_low(const vrx_tz &table, Mode mode, Bytes in, MutableBytes out, Iv &iv,
                                      const Key &key, Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return do_cipher_low(&table, static_cast<int>(mode), &from, &to, iv.data(), key.words(),
                             static_cast<int>(direction), static_cast<int>(flags));
    });
}

/** A length as make_last_block() splits it. */
struct LastBlock {
    Block padded;             /**< the bytes behind the whole blocks, and zeros */
    std::uint32_t tail = 0;   /**< how many bytes those are, 0 to 7 */
    std::uint32_t blocks = 0; /**< whole blocks before them */
};
/** make_last_block(): whole blocks, and what is behind them. */
inline Result<LastBlock> last_block(Bytes data, Flags flags) noexcept {
    if (!v1::detail::fits(data.size())) return Error::buffer_length;
    LastBlock last;
    if (const int rc = make_last_block(data.data(), v1::detail::count(data), last.padded.data(), &last.tail,
                                       &last.blocks, static_cast<int>(flags)))
        return static_cast<Error>(rc);
    return last;
}

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
