// Constant-time table look-up: reads every entry and selects one with masks.
#ifndef VRX_ECC_FIELD_LOOKUP_HPP
#define VRX_ECC_FIELD_LOOKUP_HPP

#include <cstring>

#include "ecc/field/words.hpp"

namespace vrx::field {

/** Returns all ones if a = b, else zero. Both words must be below 2^63. */
constexpr std::uint64_t equal_mask(std::uint64_t a, std::uint64_t b) { return mask(((a ^ b) - 1) >> 63); }

/** A vector of words that has the given size in bytes. */
template <std::size_t bytes>
struct VectorOf {
    using Type [[gnu::vector_size(bytes)]] = std::uint64_t;
};

/** Entry `index` of a table of `count` entries, or zero if out of range. Reads the whole table in vectors of `bytes`.
 */
template <std::size_t bytes, typename Entry, std::size_t count>
[[gnu::always_inline]] inline Entry constant_time_lookup(const void* table, std::uint64_t index) {
    using Vector = typename VectorOf<bytes>::Type;
    constexpr std::size_t vectors = sizeof(Entry) / bytes;
    static_assert(sizeof(Entry) % bytes == 0);
    Vector sum[vectors] = {};
    for (std::size_t e = 0; e < count; ++e) {
        const std::byte* entry = static_cast<const std::byte*>(table) + e * sizeof(Entry);
        const Vector here = Vector{} + equal_mask(e, index);
#pragma GCC unroll 10
        for (std::size_t i = 0; i < vectors; ++i) {
            Vector words;
            std::memcpy(&words, entry + i * bytes, bytes);
            sum[i] |= words & here;
        }
    }
    Entry r;
    std::memcpy(&r, sum, sizeof r);
    return r;
}

}  // namespace vrx::field

#endif
