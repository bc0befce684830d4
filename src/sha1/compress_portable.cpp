#include <algorithm>
#include <bit>
#include <utility>

#include "frame/bytes.hpp"
#include "sha1/compress.hpp"

namespace vrx::sha1 {
namespace {

using Schedule = std::array<std::uint32_t, 16>;

/** f(t; b, c, d) + K(t) */
template <std::size_t t>
constexpr std::uint32_t mix(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    if constexpr (t < 20)
        return (d ^ (b & (c ^ d))) + 0x5a827999U;
    else if constexpr (t < 40)
        return (b ^ c ^ d) + 0x6ed9eba1U;
    else if constexpr (t < 60)
        return ((b & c) | (d & (b | c))) + 0x8f1bbcdcU;
    else
        return (b ^ c ^ d) + 0xca62c1d6U;
}

/** W(t). Word t & 15 of w holds W(t - 16) on entry and W(t) afterwards. */
template <std::size_t t>
[[gnu::always_inline]] constexpr std::uint32_t scheduled(Schedule& w) {
    if constexpr (t >= 16) w[t & 15] = std::rotl(w[(t + 13) & 15] ^ w[(t + 8) & 15] ^ w[(t + 2) & 15] ^ w[t & 15], 1);
    return w[t & 15];
}

/**
 * Step t. The words of the state are not moved. Instead, their roles A to E rotate: in step t, A is word -t modulo 5.
 */
template <std::size_t t>
[[gnu::always_inline]] constexpr void step(std::array<std::uint32_t, 5>& v, Schedule& w) {
    const auto role = [&v](std::size_t letter) -> std::uint32_t& { return v[(letter + 80 - t) % 5]; };
    role(4) += std::rotl(role(0), 5) + mix<t>(role(1), role(2), role(3)) + scheduled<t>(w);
    role(1) = std::rotl(role(1), 30);
}

}  // namespace

void compress_portable(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept {
    for (; blocks != 0; --blocks, data += block_size) {
        Schedule w;
        for (std::size_t i = 0; i < w.size(); ++i) w[i] = __builtin_bswap32(load_le32(data + 4 * i));
        std::array<std::uint32_t, 5> v;
        std::copy(h.begin(), h.end(), v.begin());
        [&]<std::size_t... t>(std::index_sequence<t...>) __attribute__((always_inline)) { (step<t>(v, w), ...); }
        (std::make_index_sequence<80>{});
        for (std::size_t i = 0; i < h.size(); ++i) h[i] += v[i];
    }
}

}  // namespace vrx::sha1
