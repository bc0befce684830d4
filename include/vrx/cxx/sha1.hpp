/**
 * @file cxx/sha1.hpp  SHA-1: sha1.h for C++.
 *
 * Data may lie at any address and may be empty. The functions allocate nothing. Threads: an object belongs to one
 * thread at a time.
 */
#ifndef VRX_CXX_SHA1_HPP
#define VRX_CXX_SHA1_HPP

#include "vrx/cxx/types.hpp"
#include "vrx/sha1.h"

namespace vrx {
inline namespace v1 {

/**
 * SHA-1 of a message in pieces. An object can be copied; the copies are then independent.
 *
 * **Warning:** SHA-1 does not resist collisions. Do not use it for signatures or in new formats.
 */
class Sha1 {
public:
    /** Begin a message. */
    Sha1() noexcept { shaInit(&native()); }

    /** Hash a piece of the message. */
    Sha1 &update(Bytes data) noexcept {
        detail::in_pieces(data,
                          [&](const std::uint8_t *piece, std::uint32_t size) { shaUpdate(&native(), piece, size); });
        return *this;
    }

    /** Finish the message and begin a new one. @return the digest. */
    Sha1Digest finish() noexcept {
        Sha1Digest digest;
        shaFinal(&native(), digest.data());
        shaInit(&native());
        return digest;
    }

    /** Compute the digest of the pieces so far. You can continue the message. */
    [[nodiscard]] Sha1Digest digest() const noexcept { return Sha1(*this).finish(); }

    /** Access the C record, for the functions of sha1.h. */
    [[nodiscard]] sha_context &native() noexcept { return context_.value; }

private:
    Wiped<sha_context> context_{Unfilled{}};
};

/** Hash a message with SHA-1. */
inline Sha1Digest sha1(Bytes data) noexcept { return Sha1().update(data).finish(); }

namespace raw {
/** Process the block in the data of a record: shaTransform(). */
inline void sha1_step(sha_context &context) noexcept { shaTransform(&context); }

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
