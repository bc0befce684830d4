/**
 * @file cxx/context.hpp  GOST 28147-89 over a message in pieces: Encryptor, Decryptor and Mac over context.h.
 *
 * **Warning:** never use an IV twice with the same key.
 *
 * **Warning:** decryption does not detect changed data or a wrong key. Compute a MAC of the ciphertext with a second
 * key, and verify it before you use any plaintext.
 *
 * Buffers may lie at any address. The functions allocate nothing. Threads: an object belongs to one thread at a time.
 */
#ifndef VRX_CXX_CONTEXT_HPP
#define VRX_CXX_CONTEXT_HPP

#include "vrx/context.h"
#include "vrx/cxx/modes.hpp"
#include "vrx/cxx/params.hpp"

namespace vrx {
inline namespace v1 {

/** A table, a mode and key meshing. Both sides have to agree on these parameters, as well as on the key. */
struct CipherParameters {
    const vrx_tz *table; /**< deployed table; a context copies it */
    Mode mode;           /**< mode of operation; Mac does not use it */
    bool key_meshing;    /**< CryptoPro key meshing: a new key every 1024 bytes */

    /** Use the default parameter set. Initially it is CryptoPro-A: cipher feedback with key meshing. */
    CipherParameters() noexcept : CipherParameters(default_cipher_set()) {}
    /** Use a parameter set. */
    CipherParameters(const vrx_gost28147_par &set) noexcept  // NOLINT(google-explicit-constructor)
        : table(set.tz), mode(static_cast<Mode>(set.mode)), key_meshing(set.key_meshing == 1) {}
    /** Use your own choice of table, mode and key meshing. */
    CipherParameters(const vrx_tz &of, Mode in, bool meshing = false) noexcept
        : table(&of), mode(in), key_meshing(meshing) {}
};

/**
 * Encryption or decryption of a message in pieces. Use Encryptor or Decryptor.
 *
 * An object can be moved, not copied. Its destructor zeroes the key.
 */
class Cipher {
public:
    /**
     * Begin a message. The key is copied. Mode::codebook does not use the IV.
     *
     * The table of `parameters` may not be NULL. If it is not deployed, update() fails.
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

    /** Count the bytes that update() will write for `size` bytes. In codebook and CBC mode, these are whole blocks. */
    [[nodiscard]] std::size_t output_size(std::size_t size) const noexcept {
        const vrx_crpt_ctx &ctx = context_.value;
        if (ctx.mode != VRX_MODE_SS && ctx.mode != VRX_MODE_CBC) return size;
        return (size / VRX_BLOCK_SIZE + (size % VRX_BLOCK_SIZE + ctx.block_len) / VRX_BLOCK_SIZE) * VRX_BLOCK_SIZE;
    }

    /**
     * Process the next piece of a message, of any length.
     *
     * @param in   in: the piece; may be empty.
     * @param out  out: at least output_size(in.size()) bytes. It may be the same buffer as in. In codebook and CBC
     *             mode, that requires all earlier pieces to be whole blocks.
     * @return the number of bytes written, output_size(in.size()). Error::buffer_length if out is too small; the object
     *         is then unchanged. Error::context_state after finish(); Error::failed if the table is not deployed;
     *         Error::unknown_mode for Mode::mac and unknown modes.
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
            // With a NULL output the function would only count, so pass the address of an unused byte.
            vrx_data to = out.empty() ? vrx_data{0, &nothing} : detail::record(out.subspan(written));
            rc = vrx_crpt_update(&ctx, &from, &to);
            written += to.length;
        });
        if (rc != VRX_OK) return static_cast<Error>(rc);
        return written;
    }

    /** Process the next piece in place. */
    Result<std::size_t> update(MutableBytes in_out) noexcept { return update(in_out, in_out); }

    /**
     * Finish the message.
     *
     * @return Error::block_multiple if a message in codebook or CBC mode does not consist of whole blocks;
     *         Error::context_state if the message is already finished.
     */
    Result<void> finish() noexcept {
        const int rc = vrx_crpt_final(&native());
        native().initialised = 0;
        return Result<void>::of(rc);
    }

    /**
     * Reopen the object and drop the bytes that it holds. The key and the IV keep the values that the last message
     * left.
     *
     * **Warning:** this does not restore the key or the IV. For a new message, construct a new object with a new IV.
     */
    void restart() noexcept { vrx_crpt_reset(&native()); }

    ///@{
    /** Access the C record, for the functions of context.h. */
    [[nodiscard]] vrx_crpt_ctx &native() noexcept { return context_.value; }
    [[nodiscard]] const vrx_crpt_ctx &native() const noexcept { return context_.value; }
    ///@}

private:
    Wiped<vrx_crpt_ctx, sizeof(vrx_tz)> context_{Unfilled{}};
};

/** Encryption of a message in pieces. */
class Encryptor : public Cipher {
public:
    /** Begin a message, as the constructor of Cipher does. */
    Encryptor(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept
        : Cipher(Direction::encrypt, key, iv, parameters) {}
};

/** Decryption of a message in pieces. */
class Decryptor : public Cipher {
public:
    /** Begin a message, as the constructor of Cipher does. */
    Decryptor(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept
        : Cipher(Direction::decrypt, key, iv, parameters) {}
};

/**
 * The MAC of GOST 28147-89 over a message in pieces. Use a different key from the encryption key.
 *
 * An object can be moved, not copied. Its destructor zeroes the key.
 */
class Mac {
public:
    /** Begin a message. The mode in `parameters` is not used. */
    explicit Mac(const Key &key, const CipherParameters &parameters = CipherParameters()) noexcept {
        open(key, nullptr, parameters);
    }
    /** Begin a message with an initial MAC state, as some formats of encrypted keys require. */
    Mac(const Key &key, const Iv &iv, const CipherParameters &parameters = CipherParameters()) noexcept {
        open(key, iv.data(), parameters);
    }
    Mac(const Mac &) = delete;
    Mac(Mac &&) noexcept = default;
    Mac &operator=(const Mac &) = delete;
    Mac &operator=(Mac &&) noexcept = default;
    ~Mac() = default;

    /**
     * Authenticate a piece of the message, of any length. It may be empty.
     *
     * @return Error::context_state after finish(); Error::failed if the table is not deployed.
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

    /** Finish the message. @return the MAC, all 8 bytes; Error::context_state if the message is already finished. */
    Result<MacValue> finish() noexcept {
        vrx_crpt_ctx &ctx = context_.value;
        if (const int rc = vrx_crpt_final(&ctx)) return static_cast<Error>(rc);
        ctx.initialised = 0;
        return Result<MacValue>(std::in_place, ctx.mac);
    }

    /** Access the C record, for the functions of context.h. */
    [[nodiscard]] vrx_crpt_ctx &native() noexcept { return context_.value; }

private:
    void open(const Key &key, const std::uint8_t *iv, const CipherParameters &parameters) noexcept {
        vrx_crpt_init_context(&context_.value, 1, parameters.table, VRX_MODE_IMITO, 0, parameters.key_meshing ? 1 : 0,
                              0, iv, key.words());
    }

    Wiped<vrx_crpt_ctx, sizeof(vrx_tz)> context_{Unfilled{}};
};

/**
 * Encrypt a whole message.
 *
 * @param key         in: the key.
 * @param iv          in: the IV; never use it again with this key.
 * @param in          in: the plaintext.
 * @param out         out: the ciphertext; at least as long as in. After a failure, do not use it.
 * @param parameters  in: table, mode and key meshing.
 * @return the number of bytes written, or the errors of Cipher::update() and Cipher::finish().
 */
inline Result<std::size_t> encrypt(const Key &key, const Iv &iv, Bytes in, MutableBytes out,
                                   const CipherParameters &parameters = CipherParameters()) noexcept {
    Encryptor cipher(key, iv, parameters);
    const auto written = cipher.update(in, out);
    if (!written) return written;
    if (const auto end = cipher.finish(); !end) return end.error();
    return written;
}

/**
 * Decrypt a whole message.
 *
 * **Warning:** this does not detect changed data or a wrong key. Verify a MAC first.
 *
 * @param key         in: the key.
 * @param iv          in: the IV of the message.
 * @param in          in: the ciphertext.
 * @param out         out: the plaintext; at least as long as in. After a failure, do not use it.
 * @param parameters  in: table, mode and key meshing.
 * @return the number of bytes written, or the errors of Cipher::update() and Cipher::finish().
 */
inline Result<std::size_t> decrypt(const Key &key, const Iv &iv, Bytes in, MutableBytes out,
                                   const CipherParameters &parameters = CipherParameters()) noexcept {
    Decryptor cipher(key, iv, parameters);
    const auto written = cipher.update(in, out);
    if (!written) return written;
    if (const auto end = cipher.finish(); !end) return end.error();
    return written;
}

/** Compute the MAC of a whole message. @return the MAC, or Error::failed if the table is not deployed. */
inline Result<MacValue> mac(const Key &key, Bytes message,
                            const CipherParameters &parameters = CipherParameters()) noexcept {
    Mac object(key, parameters);
    if (const auto taken = object.update(message); !taken) return taken.error();
    return object.finish();
}

namespace raw {

/** Encrypt or decrypt in the given mode: vrx_crpt_crypto_engine(). In cipher feedback, do not decrypt in place. */
inline Result<std::size_t> crypto_engine(Mode mode, const vrx_tz &table, Bytes in, MutableBytes out, Iv &iv,
                                         const Key &key, Direction direction, Flags flags) noexcept {
    return detail::call(in, out, [&](const vrx_data &from, vrx_data &to) {
        return vrx_crpt_crypto_engine(static_cast<std::uint32_t>(mode), &table, &from, &to, iv.data(), key.words(),
                                      static_cast<std::uint8_t>(direction), static_cast<std::uint8_t>(flags));
    });
}
/** Open a context from a parameter block: old_crpt_init_context(). Zero the context before the first call. */
inline Result<void> open_old(vrx_crpt_ctx &ctx, Direction direction, const old_crpt_params &parameters) noexcept {
    return Result<void>::of(old_crpt_init_context(&ctx, static_cast<int>(direction), &parameters));
}
/** Process data with the fields of a context, without buffering: vrx_crpt_context_engine(). See its warnings. */
inline Result<std::size_t> context_engine(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_context_engine(&ctx, &from, &to); });
}
/** Process a piece in counter mode: vrx_crpt_CNT_ctx(). */
inline Result<std::size_t> update_counter(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_CNT_ctx(&ctx, &from, &to); });
}
/** Process a piece in cipher feedback mode: vrx_crpt_CFB_ctx(). */
inline Result<std::size_t> update_feedback(vrx_crpt_ctx &ctx, Bytes in, MutableBytes out) noexcept {
    return detail::call(in, out,
                        [&](const vrx_data &from, vrx_data &to) { return vrx_crpt_CFB_ctx(&ctx, &from, &to); });
}
/** Authenticate a piece: vrx_crpt_IMITO_ctx(). */
inline Result<void> update_mac(vrx_crpt_ctx &ctx, Bytes in) noexcept {
    if (!v1::detail::fits(in.size())) return Error::buffer_length;
    const vrx_data from = v1::detail::record(in);
    return Result<void>::of(vrx_crpt_IMITO_ctx(&ctx, &from));
}
/** Perform one step of key meshing: vrx_crpt_crypto_pro_key_meshing_engine(). */
inline Result<void> mesh_key(const vrx_tz &table, Iv &iv, Key &key) noexcept {
    return Result<void>::of(vrx_crpt_crypto_pro_key_meshing_engine(&table, iv.data(), key.words()));
}
/** Perform one step of key meshing on a parameter block: vrx_crpt_crypto_pro_key_meshing(). */
inline Result<void> mesh_key(old_crpt_params &parameters) noexcept {
    return Result<void>::of(vrx_crpt_crypto_pro_key_meshing(&parameters));
}
/** Count one block of a context, and mesh its key if that is due: vrx_make_key_meshing(). */
inline Result<void> mesh_key_where_due(vrx_crpt_ctx &ctx) noexcept {
    return Result<void>::of(vrx_make_key_meshing(&ctx));
}

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
