#include "gostr3411/hmac.hpp"

namespace vrx::gostr3411 {
namespace {

State begun_with(const std::uint8_t* block, const vrx_tz& table) {
    State s{};
    absorb(s, block, 1, table);
    return s;
}

}  // namespace

Keyed keyed(const std::uint8_t* ipad_key, const std::uint8_t* opad_key, const vrx_tz& table) {
    return {begun_with(ipad_key, table), begun_with(opad_key, table)};
}

void mac(const Keyed& key, const std::uint8_t* data, std::size_t len, std::uint8_t* out, const vrx_tz& table) {
    State inner = key.inner;
    finish(inner, data, len, table);
    store(out, inner.hash);
    State outer = key.outer;
    finish(outer, out, VRX_HMAC_SIZE, table);
    store(out, outer.hash);
}

}  // namespace vrx::gostr3411
