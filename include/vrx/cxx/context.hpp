/**
 * @file cxx/context.hpp  GOST 28147-89 over a message in pieces: Encryptor, Decryptor and Mac over context.h.
 *
 * Buffers may lie at any address. Nothing is allocated. Threads: an object belongs to one thread at a time.
 */
#ifndef VRX_CXX_CONTEXT_HPP
#define VRX_CXX_CONTEXT_HPP

#include "vrx/context.h"
#include "vrx/cxx/modes.hpp"
#include "vrx/cxx/params.hpp"

namespace vrx {
inline namespace v1 {

/** A table, a mode and whether the key is meshed: what both ends of a message have to agree on, besides the key. */
struct CipherParameters {
    const vrx_tz *table; /**< deployed; it is copied where a context is opened */
    Mode mode;           /**< in a Mac not used */
    bool key_meshing;    /**< CryptoPro key meshing: another key every 1024 bytes */

    /** The default parameter set: CryptoPro-A, which is cipher feedback with key meshing. */
    CipherParameters() noexcept : CipherParameters(default_cipher_set()) {}
    /** Those of a parameter set. */
    CipherParameters(const vrx_gost28147_par &set) noexcept  // NOLINT(google-explicit-constructor)
        : table(set.tz), mode(static_cast<Mode>(set.mode)), key_meshing(set.key_meshing == 1) {}
    /** A table with a mode of one's choice. */
    CipherParameters(const vrx_tz &of, Mode in, bool meshing = false) noexcept
        : table(&of), mode(in), key_meshing(meshing) {}
};

/**
 * A message that is encrypted or decrypted piece by piece; see Encryptor and Decryptor.
 *
 * It is moved, not copied, and its key is zeroed at its end.
 */
class Cipher {
public:
    /**
     * Begin a message. The key is copied. In Mode::codebook the vector is not used.
     *
     * No pointer of `parameters` may be NULL; a table that is not deployed makes update() fail.
     */
    Cipher(Direction direction, const Key &key, const Iv &iv,
           const CipherParameters &parameters = CipherParameters()) noexcept {
        vrx_crpt_init_context(&native(), static_cast<int>(direction), parameters.table,
                              static_cast<std::uint32_t>(parameters.mode), 0, parameters.key_meshing ? 1 : 0, 0,
                              iv.data(), key.words());
    }
    Cipher(const Cipher &) = delete;
    Cipher(Cipher &&) noexcept = default;
    Cipher &operator=(const Cipher &) = delete;
    Cipher &operator=(Cipher &&) noexcept = default;
    ~Cipher() = default;

    /** The bytes that update() writes for `size` bytes: as many, or whole blocks with what was held back before. */
    [[nodiscard]] std::size_t output_size(std::size_t size) const noexcept {
        const vrx_crpt_ctx &ctx = context_.value;
        if (ctx.mode != VRX_MODE_SS && ctx.mode != VRX_MODE_CBC) return size;
        return (size / VRX_BLOCK_SIZE + (size % VRX_BLOCK_SIZE + ctx.block_len) / VRX_BLOCK_SIZE) * VRX_BLOCK_SIZE;
    }

    /**
     * Process the next piece of a message, of any length.
     *
     * @param in   in: may be empty, which does nothing.
     * @param out  out: at least output_size(in.size()) bytes. It may be the same buffer as in; in the modes of whole
     *             blocks only while none of a block is held back.
     * @return the bytes written: output_size(). Error::buffer_length where out is too small (nothing has happened then),
     *         Error::context_state after finish(), Error::failed for a table that is not deployed,
     *         Error::unknown_mode for Mode::mac and for numbers that are no mode.
     */
    Result<std::size_t> update(Bytes in, MutableBytes out) noexcept {
        vrx_crpt_ctx &ctx = native();
        if (ctx.mode == VRX_MODE_IMITO) return Error::unknown_mode;
        if (ctx.initialised == 0) return Error::context_state;
        if (out.size() < output_size(in.size())) return Error::buffer_length;
        std::uint8_t nothing = 0;
        std::size_t written = 0;
        int rc = VRX_OK;
        detail::in_pieces(in, [&](const std::uint8_t *piece, std::uint32_t size) {
            if (rc != VRX_OK) return;
            const vrx_data from = detail::record({piece, size});
            // Without a place to write to the function would only count.
            vrx_data to = out.empty() ? vrx_data{0, &nothing} : detail::record(out.subspan(written));
            rc = vrx_crpt_update(&ctx, &from, &to);
            written += to.length;
        });
        if (rc != VRX_OK) return static_cast<Error>(rc);
        return written;
    }

    /** update() in place. */
    Result<std::size_t> update(MutableBytes in_out) noexcept { return update(in_out, in_out); }

    /**
     * End the message.
     *
     * @return Error::block_multiple where part of a block is held back, in the modes of whole blocks;
     *         Error::context_state where the message has ended before.
     */
    Result<void> finish() noexcept {
        const int rc = vrx_crpt_final(&native());
        native().initialised = 0;
        return Result<void>::of(rc);
    }

    /** Begin another message, with key and register as the last one left them; drops what was held back. */
    void restart() noexcept { vrx_crpt_reset(&native()); }

    ///@{
    /** The record under it, for the functions of context.h. */
    [[nodiscard]] vrx_crpt_ctx &native() noexcept { return context_.value; }
    [[nodiscard]] const vrx_crpt_ctx &native() const noexcept { return context_.value; }
    ///@}

private:
    Wiped<vrx_crpt_ctx, sizeof(vrx_tz)> context_{Unfilled{}};
};

/** Encrypts a message piece by piece. */
class Encryptor : public Cipher {
public:
    /** As Cipher's. */
    Encryptor(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept
        : Cipher(Direction::encrypt, key, iv, parameters) {}
};

/** Decrypts a message piece by piece. */
class Decryptor : public Cipher {
public:
    /** As Cipher's. */
    Decryptor(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept
        : Cipher(Direction::decrypt, key, iv, parameters) {}
};

/**
 * The MAC of GOST 28147-89 over a message in pieces. Take another key than the one that encrypts.
 *
 * It is moved, not copied, and its key is zeroed at its end.
 */
class Mac {
public:
    /** Begin a message. The mode of the parameters is not used. */
    explicit Mac(const Key &key, const CipherParameters &parameters = CipherParameters()) noexcept {
        open(key, nullptr, parameters);
    }
    /** Begin a message from a state that is not zero, as some formats of encrypted keys do. */
    Mac(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept {
        open(key, iv.data(), parameters);
    }
    Mac(const Mac &) = delete;
    Mac(Mac &&) noexcept = default;
    Mac &operator=(const Mac &) = delete;
    Mac &operator=(Mac &&) noexcept = default;
    ~Mac() = default;

    /**
     * Take in a piece of the message, of any length, none included.
     *
     * @return Error::context_state after finish(), Error::failed for a table that is not deployed.
     */
    Result<void> update(Bytes in) noexcept {
        vrx_crpt_ctx &ctx = context_.value;
        if (ctx.initialised == 0) return Error::context_state;
        int rc = VRX_OK;
        detail::in_pieces(in, [&](const std::uint8_t *piece, std::uint32_t size) {
            const vrx_data from = detail::record({piece, size});
            if (rc == VRX_OK) rc = vrx_crpt_update(&ctx, &from, nullptr);
        });
        return Result<void>::of(rc);
    }

    /** End the message. @return its MAC, the whole state; Error::context_state where it has ended before. */
    Result<MacValue> finish() noexcept {
        vrx_crpt_ctx &ctx = context_.value;
        if (const int rc = vrx_crpt_final(&ctx)) return static_cast<Error>(rc);
        ctx.initialised = 0;
        return Result<MacValue>(std::in_place, ctx.mac);
    }

    /** The record under it, for the functions of context.h. */
    [[nodiscard]] vrx_crpt_ctx &native() noexcept { return context_.value; }

private:
    void open(const Key &key, const std::uint8_t *iv, const CipherParameters &parameters) noexcept {
        vrx_crpt_init_context(&context_.value, 1, parameters.table, VRX_MODE_IMITO, 0, parameters.key_meshing ? 1 : 0,
                              0, iv, key.words());
    }

    Wiped<vrx_crpt_ctx, sizeof(vrx_tz)> context_{Unfilled{}};
};

/** Encrypt a whole message. @return as Cipher::update(), and Error::block_multiple; out is then not to be used. */
inline Result<std::size_t> encrypt(const Key &key, const Iv &iv, Bytes in, MutableBytes out,
                                   const CipherParameters &parameters = CipherParameters()) noexcept {
    Encryptor cipher(key, iv, parameters);
    const auto written = cipher.update(in, out);
    if (!written) return written;
    if (const auto end = cipher.finish(); !end) return end.error();
    return written;
}

/** Decrypt a whole message. @return as encrypt(). */
inline Result<std::size_t> decrypt(const Key &key, const Iv &iv, Bytes in, MutableBytes out,
                                   const CipherParameters &parameters = CipherParameters()) noexcept {
    Decryptor cipher(key, iv, parameters);
    const auto written = cipher.update(in, out);
    if (!written) return written;
    if (const auto end = cipher.finish(); !end) return end.error();
    return written;
}

/** The MAC of a whole message. @return Error::failed for a table that is not deployed. */
inline Result<MacValue> mac(const Key &key, Bytes message,
                            const CipherParameters &parameters = CipherParameters()) noexcept {
    Mac object(key, parameters);
    if (const auto taken = object.update(message); !taken) return taken.error();
    return object.finish();
}

namespace raw {

/** vrx_crpt_crypto_engine(): the function of a mode, as contexts choose it. */
inline Result<std::size_t> crypto_engine(Mode mode, const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv,
                                         const Key &key, Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return vrx_crpt_crypto_engine(static_cast<std::uint32_t>(mode), &table, &from, &to, iv.data(), key.words(),
                                      static_cast<std::uint8_t>(direction), static_cast<std::uint8_t>(flags));
    });
}
/** old_crpt_init_context(): opens a context from a parameter block. */
inline Result<void> open_old(vrx_crpt_ctx &ctx, Direction direction, const old_crpt_params &parameters) noexcept {
    return Result<void>::of(old_crpt_init_context(&ctx, static_cast<int>(direction), &parameters));
}
/** vrx_crpt_context_engine(): bytes through a context, nothing held back. */
inline Result<std::size_t> context_engine(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_context_engine(&ctx, &from, &to); });
}
/** vrx_crpt_CNT_ctx(): update in counter mode. */
inline Result<std::size_t> update_counter(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_CNT_ctx(&ctx, &from, &to); });
}
/** vrx_crpt_CFB_ctx(): update in cipher feedback. */
inline Result<std::size_t> update_feedback(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_CFB_ctx(&ctx, &from, &to); });
}
/** vrx_crpt_IMITO_ctx(): update of the MAC. */
inline Result<void> update_mac(vrx_crpt_ctx &ctx, Bytes in) noexcept {
    if (!v1::detail::fits(in.size())) return Error::buffer_length;
    const vrx_data from = v1::detail::record(in);
    return Result<void>::of(vrx_crpt_IMITO_ctx(&ctx, &from));
}
/** vrx_crpt_crypto_pro_key_meshing_engine(): one step of key meshing. */
inline Result<void> mesh_key(const vrx_tz &table, Iv &iv, Key &key) noexcept {
    return Result<void>::of(vrx_crpt_crypto_pro_key_meshing_engine(&table, iv.data(), key.words()));
}
/** vrx_crpt_crypto_pro_key_meshing(): one step of key meshing in a parameter block. */
inline Result<void> mesh_key(old_crpt_params &parameters) noexcept {
    return Result<void>::of(vrx_crpt_crypto_pro_key_meshing(&parameters));
}
/** vrx_make_key_meshing(): counts a block of a context, and meshes its key where that is due. */
inline Result<void> mesh_key_where_due(vrx_crpt_ctx &ctx) noexcept {
    return Result<void>::of(vrx_make_key_meshing(&ctx));
}

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
