// HMAC (RFC 2104) with GOST R 34.11-94.
#ifndef VRX_GOSTR3411_HMAC_HPP
#define VRX_GOSTR3411_HMAC_HPP

#include "gostr3411/hash.hpp"
#include "vrx/hmac.h"

namespace vrx::gostr3411 {

/** The inner and the outer hash of a key, each with its pad taken in: what every message under the key begins with. */
struct Keyed {
    State inner;
    State outer;
};

/** From the key's pads, each one block. */
[[nodiscard]] Keyed keyed(const std::uint8_t* ipad_key, const std::uint8_t* opad_key, const Substitution& by);

/** The MAC of a message of 32 bytes. */
[[nodiscard]] Number mac(const Keyed& key, const Number& message, const Substitution& by);

/** The MAC of a message of any length. */
void mac(const Keyed& key, const std::uint8_t* data, std::size_t len, std::uint8_t* out, const Substitution& by);

}  // namespace vrx::gostr3411

#endif
