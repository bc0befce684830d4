// HMAC (RFC 2104) with GOST R 34.11-94.
#ifndef VRX_GOSTR3411_HMAC_HPP
#define VRX_GOSTR3411_HMAC_HPP

#include "gostr3411/hash.hpp"
#include "vrx/hmac.h"

namespace vrx::gostr3411 {

/**
 * The inner and the outer hash state after the key block, XORed with ipad and with opad. Every message with this key
 * starts from these states.
 */
struct Keyed {
    State inner;
    State outer;
};

/** Computes the two states from the key XORed with ipad and the key XORed with opad, which have one block each. */
[[nodiscard]] Keyed keyed(const std::uint8_t* ipad_key, const std::uint8_t* opad_key, const Substitution& by);

/** Returns the MAC of a message of 32 bytes. */
[[nodiscard]] Uint256 mac(const Keyed& key, const Uint256& message, const Substitution& by);

/** Returns the MAC of a message of any length. */
void mac(const Keyed& key, const std::uint8_t* data, std::size_t len, std::uint8_t* out, const Substitution& by);

}  // namespace vrx::gostr3411

#endif
