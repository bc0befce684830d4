/**
 * @file cxx/sha1.hpp  SHA-1: sha1.h for C++.
 *
 * Data may lie at any address, and may be empty. Nothing is allocated. Threads: an object belongs to one thread at a
 * time.
 */
#ifndef VRX_CXX_SHA1_HPP
#define VRX_CXX_SHA1_HPP

#include "vrx/cxx/types.hpp"
#include "vrx/sha1.h"

namespace vrx {
inline namespace v1 {

/** SHA-1 of a message in pieces. It may be copied: the copy goes on by itself. Not for anything new. */
class Sha1 {
public:
    /** Begin a message. */
    Sha1() noexcept { shaInit(&native()); }

    /** Take in a piece of the message. */
    Sha1 &update(Bytes data) noexcept {
        detail::in_pieces(data,
                          [&](const std::uint8_t *piece, std::uint32_t size) { shaUpdate(&native(), piece, size); });
        return *this;
    }

    /** End the message. The object is then as new. */
    Sha1Digest finish() noexcept {
        Sha1Digest digest;
        shaFinal(&native(), digest.data());
        shaInit(&native());
        return digest;
    }

    /** The digest of what came so far; more may follow. */
    [[nodiscard]] Sha1Digest digest() const noexcept { return Sha1(*this).finish(); }

    /** The record under it, for the functions of sha1.h. */
    [[nodiscard]] sha_context &native() noexcept { return context_.value; }

private:
    Wiped<sha_context> context_{Unfilled{}};
};

/** SHA-1 of a message. */
inline Sha1Digest sha1(Bytes data) noexcept { return Sha1().update(data).finish(); }

namespace raw {
/** shaTransform(): processes the block in a record's data. */
inline void sha1_step(sha_context &context) noexcept { shaTransform(&context); }

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
