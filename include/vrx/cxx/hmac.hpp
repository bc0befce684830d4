/**
 * @file cxx/hmac.hpp  HMAC with GOST R 34.11-94: hmac.h for C++.
 *
 * Data may lie at any address, and may be empty. Nothing is allocated. Threads: an object belongs to one thread at a
 * time.
 */
#ifndef VRX_CXX_HMAC_HPP
#define VRX_CXX_HMAC_HPP

#include "vrx/cxx/params.hpp"
#include "vrx/hmac.h"

namespace vrx {
inline namespace v1 {

/**
 * HMAC with GOST R 34.11-94 over a message in pieces. It is moved, not copied; what it made of the key is zeroed at its
 * end.
 */
class Hmac {
public:
    /**
     * Begin a message under a key of any length.
     *
     * @param key  in: any bytes; 32 are best.
     * @param oid  in: DER identifier of a built-in parameter set; empty stands for the default one.
     * @return Error::failed where no set has the identifier, Error::bad_params where the set has no table.
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

    /** For with() alone: an object that is not open yet. */
    explicit Hmac(Unfilled) noexcept {}
    Hmac(const Hmac &) = delete;
    Hmac(Hmac &&) noexcept = default;
    Hmac &operator=(const Hmac &) = delete;
    Hmac &operator=(Hmac &&) noexcept = default;
    ~Hmac() = default;

    /** Take in a piece of the message. */
    Hmac &update(Bytes data) noexcept {
        detail::in_pieces(data, [&](const std::uint8_t *piece, std::uint32_t size) {
            GOSTR3411_HMAC_Update(&native(), piece, size);
        });
        return *this;
    }

    /** End the message. restart() begins another. */
    Digest finish() noexcept {
        Digest mac;
        std::uint32_t size = 0;
        GOSTR3411_HMAC_Final(&native(), mac.data(), &size);
        return mac;
    }

    /** Begin another message under the same key. @return Error::bad_params where the parameter set lost its table. */
    Result<void> restart() noexcept { return Result<void>::of(GOSTR3411_HMAC_Reset(&native())); }

    /** The record under it, for the functions of hmac.h. */
    [[nodiscard]] GOSTR3411_HMAC_CTX &native() noexcept { return context_.value; }

private:
    Wiped<GOSTR3411_HMAC_CTX> context_{Unfilled{}};
};

/** HMAC with GOST R 34.11-94 of a message. @return as Hmac::with(). */
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
