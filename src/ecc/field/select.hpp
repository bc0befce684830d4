// Entries of tables, without a branch or an address that depends on which.
#ifndef VRX_ECC_FIELD_SELECT_HPP
#define VRX_ECC_FIELD_SELECT_HPP

#include <cstring>

#include "ecc/field/words.hpp"

namespace vrx::field {

/** All ones where a = b, for words below 2^63. */
constexpr std::uint64_t equal_mask(std::uint64_t a, std::uint64_t b) { return mask(((a ^ b) - 1) >> 63); }

/** So many bytes as a vector of words. */
template <std::size_t bytes>
struct VectorOf {
    using Type [[gnu::vector_size(bytes)]] = std::uint64_t;
};

/** Entry `index` of a table of so many, by vectors of so many bytes; zero for another index. Reads the whole table. */
template <std::size_t bytes, typename Entry, std::size_t count>
[[gnu::always_inline]] inline Entry selected(const void* table, std::uint64_t index) {
    using Block = typename VectorOf<bytes>::Type;
    constexpr std::size_t blocks = sizeof(Entry) / bytes;
    static_assert(sizeof(Entry) % bytes == 0);
    Block sum[blocks] = {};
    for (std::size_t e = 0; e < count; ++e) {
        const std::byte* entry = static_cast<const std::byte*>(table) + e * sizeof(Entry);
        const Block here = Block{} + equal_mask(e, index);
#pragma GCC unroll 10
        for (std::size_t i = 0; i < blocks; ++i) {
            Block block;
            std::memcpy(&block, entry + i * bytes, bytes);
            sum[i] |= block & here;
        }
    }
    Entry r;
    std::memcpy(&r, sum, sizeof r);
    return r;
}

}  // namespace vrx::field

#endif
