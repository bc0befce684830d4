#include "gostr3411/hmac.hpp"

namespace vrx::gostr3411 {
namespace {

State begun_with(const std::uint8_t* block, const vrx_tz& table) {
    State s{};
    absorb(s, block, 1, table);
    return s;
}

/** The digest of a message that ends with a whole block. */
Number continued(State s, const Number& last, const vrx_tz& table) {
    absorb(s, last, 8 * VRX_HASH_BLOCK_SIZE, table);
    close(s, table);
    return s.hash;
}

}  // namespace

Keyed keyed(const std::uint8_t* ipad_key, const std::uint8_t* opad_key, const vrx_tz& table) {
    return {begun_with(ipad_key, table), begun_with(opad_key, table)};
}

Number mac(const Keyed& key, const Number& message, const vrx_tz& table) {
    return continued(key.outer, continued(key.inner, message, table), table);
}

void mac(const Keyed& key, const std::uint8_t* data, std::size_t len, std::uint8_t* out, const vrx_tz& table) {
    State inner = key.inner;
    finish(inner, data, len, table);
    store(out, continued(key.outer, inner.hash, table));
}

}  // namespace vrx::gostr3411
