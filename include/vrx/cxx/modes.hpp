/**
 * @file cxx/modes.hpp  GOST 28147-89 over a whole buffer in one call: modes.h for C++.
 *
 * The warnings of modes.h apply. The functions allocate nothing. Threads: no shared state.
 */
#ifndef VRX_CXX_MODES_HPP
#define VRX_CXX_MODES_HPP

#include <optional>

#include "vrx/context.h"
#include "vrx/cxx/kernel.hpp"

namespace vrx {
inline namespace v1 {

/** The modes of operation. */
enum class Mode : std::uint32_t {
    codebook = VRX_MODE_SS,  /**< each block independently ("simple substitution"); whole blocks only */
    counter = VRX_MODE_GAMM, /**< counter mode ("gamma") */
    feedback = VRX_MODE_GFB, /**< 64-bit cipher feedback */
    cbc = VRX_MODE_CBC,      /**< cipher block chaining; whole blocks only */
    mac = VRX_MODE_IMITO,    /**< the MAC ("imito") */
};

/** Flags of a call, VRX_FLAG_FIRST and VRX_FLAG_PAD. Combine them with |. */
enum class Flags : int { none = 0, first = VRX_FLAG_FIRST, pad = VRX_FLAG_PAD };
/** Combine flags. */
constexpr Flags operator|(Flags a, Flags b) noexcept {
    return static_cast<Flags>(static_cast<int>(a) | static_cast<int>(b));
}

/** Find a mode by its name: "ss", "gamm", "gfb" or "cbc". */
inline std::optional<Mode> mode_by_name(const char *name) noexcept {
    const int mode = ciph_mode_by_name(name);
    if (mode == 0) return std::nullopt;
    return static_cast<Mode>(mode);
}

/**
 * The C functions one by one, with their codes.
 *
 * Buffers have at most 2^32 - 1 bytes; longer ones give Error::buffer_length. A call leaves the IV or MAC state ready
 * for the next call. The mode functions return the number of bytes written. If data() of a span is nullptr, they pass
 * NULL.
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

/** Encrypt or decrypt in codebook mode: VRX_Gost_SS_m(). */
inline Result<std::size_t> codebook(const vrx_tz &table, Bytes in, MutableBytes out, const Key &key,
                                    Direction direction) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_SS_m(&table, &from, &to, key.words(), static_cast<int>(direction));
    });
}
/** Encrypt or decrypt in CBC mode: VRX_Gost_CBC_m(). */
inline Result<std::size_t> cbc(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                               Direction direction) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_CBC_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(direction));
    });
}
/** Encrypt or decrypt in counter mode: VRX_Gost_Gamm_m(). */
inline Result<std::size_t> counter(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                                   Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_Gamm_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(flags));
    });
}
/**
 * Encrypt or decrypt in cipher feedback mode: VRX_Gost_GFB_m().
 *
 * **Warning:** do not decrypt in place: the call succeeds but yields wrong plaintext after the first block. A Decryptor
 * decrypts in place correctly.
 */
inline Result<std::size_t> feedback(const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv, const Key &key,
                                    Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_GFB_m(&table, &from, &to, iv.data(), key.words(), static_cast<int>(direction),
                              static_cast<int>(flags));
    });
}
/** Add bytes to a MAC state: VRX_Gost_Imito_m(). */
inline Result<void> mac(const vrx_tz &table, Bytes in, MacValue &state, const Key &key, Flags flags) noexcept {
    const auto done = detail::call(in, MutableBytes(state), [&](const vrx_data &from, vrx_data &to) {
        return VRX_Gost_Imito_m(&table, &from, &to, key.words(), static_cast<int>(flags));
    });
    return Result<void>::of(done.code());
}
/** Add bytes to a MAC state: do_imito_low(), an older name. */
inline Result<void> mac_low(const vrx_tz &table, Bytes in, MacValue &state, const Key &key, Flags flags) noexcept {
    const auto done = detail::call(in, MutableBytes(state), [&](const vrx_data &from, vrx_data &to) {
        return do_imito_low(&table, &from, &to, key.words(), static_cast<int>(flags));
    });
    return Result<void>::of(done.code());
}
/** Encrypt or decrypt in the given mode: do_cipher_low(). In cipher feedback, do not decrypt in place. */
inline Result<std::size_t> cipher_low(const vrx_tz &table, Mode mode, Bytes in, MutableBytes out, Iv &iv,
                                      const Key &key, Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return do_cipher_low(&table, static_cast<int>(mode), &from, &to, iv.data(), key.words(),
                             static_cast<int>(direction), static_cast<int>(flags));
    });
}

/** The result of last_block(). */
struct LastBlock {
    Block padded;             /**< the bytes after the whole blocks, padded with zeros */
    std::uint32_t tail = 0;   /**< number of bytes after the whole blocks, 0 to 7 */
    std::uint32_t blocks = 0; /**< number of whole blocks */
};
/** Split data into whole blocks and a padded last one: make_last_block(). */
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
