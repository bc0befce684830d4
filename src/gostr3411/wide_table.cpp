#include "gostr3411/wide_table.hpp"

#include <bit>
#include <cstring>

#include "tz/deploy.hpp"
#include "tz/published.hpp"

namespace vrx::gostr3411 {
namespace {

constexpr WideTable widened(tz::Numeric num) {
    // The outputs of each S-box at their positions after the rotation.
    std::uint32_t output[8][16]{};
    for (unsigned n = 0; n < 8; ++n)
        for (unsigned i = 0; i < 16; ++i)
            output[n][i] = std::rotl((num[4 * i + n / 2] >> 4 * (n % 2) & 15U) << 4 * n, 11);
    WideTable wide{};
    for (unsigned x = 0; x < 4096; ++x) {
        wide.low[x] = output[0][x & 15] ^ output[1][x >> 4 & 15] ^ output[2][x >> 8];
        wide.high[x] = output[5][x & 15] ^ output[6][x >> 4 & 15] ^ output[7][x >> 8];
    }
    for (unsigned x = 0; x < 256; ++x) wide.middle[x] = output[3][x & 15] ^ output[4][x >> 4];
    return wide;
}

constexpr WideTable hash_wide[VRX_TZ_3411_94_COUNT] = {widened(tz::numeric(tz::hash_test)),
                                                       widened(tz::numeric(tz::hash_cryptopro))};

}  // namespace

const WideTable* built_in_wide_table(const vrx_tz& table) noexcept {
    for (std::size_t i = 0; i < VRX_TZ_3411_94_COUNT; ++i)
        if (&table == &TZ_3411_94[i] || std::memcmp(table.t, TZ_3411_94[i].t, sizeof table.t) == 0)
            return &hash_wide[i];
    return nullptr;
}

}  // namespace vrx::gostr3411
