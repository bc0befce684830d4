/**
 * @file cxx/hmac.hpp  HMAC with GOST R 34.11-94: hmac.h for C++.
 *
 * Data may lie at any address and may be empty. The functions allocate nothing. Threads: an object belongs to one
 * thread at a time.
 */
#ifndef VRX_CXX_HMAC_HPP
#define VRX_CXX_HMAC_HPP

#include "vrx/cxx/params.hpp"
#include "vrx/hmac.h"

namespace vrx {
inline namespace v1 {

/**
 * HMAC with GOST R 34.11-94 over a message in pieces.
 *
 * An object can be moved, not copied. Its destructor zeroes all data derived from the key.
 */
class Hmac {
public:
    /**
     * Begin a message with a key of any length.
     *
     * @param key  in: the key; 32 random bytes are best.
     * @param oid  in: DER identifier of a built-in parameter set; if empty, the default set is used. The record must
     *             outlive the object.
     * @return Error::failed if no set has the identifier; Error::bad_params if the set has no table.
     */
    static Result<Hmac> with(Bytes key, Bytes oid = {}) noexcept {
        Result<Hmac> hmac(std::in_place, Unfilled{});
        int rc = VRX_ERR_BAD_PARAMS;
        if (detail::fits(key.size()) && detail::fits(oid.size()))
            rc = GOSTR3411_HMAC_Init(&hmac->native(), oid.empty() ? nullptr : oid.data(), detail::count(oid),
                                     key.data(), detail::count(key));
        if (rc != VRX_OK) hmac = static_cast<Error>(rc);
        return hmac;
    }

    /** For use by with() only. The object is not open yet. */
    explicit Hmac(Unfilled) noexcept {}
    Hmac(const Hmac &) = delete;
    Hmac(Hmac &&) noexcept = default;
    Hmac &operator=(const Hmac &) = delete;
    Hmac &operator=(Hmac &&) noexcept = default;
    ~Hmac() = default;

    /** Authenticate a piece of the message. */
    Hmac &update(Bytes data) noexcept {
        detail::in_pieces(data, [&](const std::uint8_t *piece, std::uint32_t size) {
            GOSTR3411_HMAC_Update(&native(), piece, size);
        });
        return *this;
    }

    /** Finish the message. Call restart() before you begin another. @return the MAC, 32 bytes. */
    Digest finish() noexcept {
        Digest mac;
        std::uint32_t size = 0;
        GOSTR3411_HMAC_Final(&native(), mac.data(), &size);
        return mac;
    }

    /** Begin another message with the same key. @return Error::bad_params if the parameter set's table is now NULL. */
    Result<void> restart() noexcept { return Result<void>::of(GOSTR3411_HMAC_Reset(&native())); }

    /** Access the C record, for the functions of hmac.h. */
    [[nodiscard]] GOSTR3411_HMAC_CTX &native() noexcept { return context_.value; }

private:
    Wiped<GOSTR3411_HMAC_CTX> context_{Unfilled{}};
};

/** Compute the HMAC of a message. @return the MAC, or the errors of Hmac::with(). */
inline Result<Digest> hmac(Bytes key, Bytes data, Bytes oid = {}) noexcept {
    if (data.empty() || !detail::fits(data.size())) {
        auto object = Hmac::with(key, oid);
        if (!object) return object.error();
        return object->update(data).finish();
    }
    if (!detail::fits(key.size()) || !detail::fits(oid.size())) return Error::bad_params;
    Result<Digest> mac(std::in_place);
    std::uint32_t size = 0;
    if (const int rc = GOSTR3411_HMAC(oid.empty() ? nullptr : oid.data(), detail::count(oid), data.data(),
                                      detail::count(data), key.data(), detail::count(key), mac->data(), &size))
        return static_cast<Error>(rc);
    return mac;
}

}  // namespace v1
}  // namespace vrx

#endif
