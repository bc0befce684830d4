#include "gostr3411/hmac.hpp"

namespace vrx::gostr3411 {
namespace {

State begun_with(const std::uint8_t* block, const Substitution& by) {
    State s{};
    absorb(s, block, 1, by);
    return s;
}

/** Returns the digest of a message whose last block is whole. */
Uint256 continued(State s, const Uint256& last, const Substitution& by) {
    close(s, last, 8 * VRX_HASH_BLOCK_SIZE, by);
    return s.hash;
}

}  // namespace

Keyed keyed(const std::uint8_t* ipad_key, const std::uint8_t* opad_key, const Substitution& by) {
    return {begun_with(ipad_key, by), begun_with(opad_key, by)};
}

Uint256 mac(const Keyed& key, const Uint256& message, const Substitution& by) {
    return continued(key.outer, continued(key.inner, message, by), by);
}

void mac(const Keyed& key, const std::uint8_t* data, std::size_t len, std::uint8_t* out, const Substitution& by) {
    State inner = key.inner;
    finish(inner, data, len, by);
    store(out, continued(key.outer, inner.hash, by));
}

}  // namespace vrx::gostr3411
