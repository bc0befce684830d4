// GOST 28147-89 on one block: the key, encryption, decryption and the 16 rounds of the MAC (RFC 5830).
#ifndef VRX_GOST28147_BLOCK_HPP
#define VRX_GOST28147_BLOCK_HPP

#include <array>
#include <cstdint>
#include <utility>

#include "frame/bytes.hpp"
#include "tz/deploy.hpp"
#include "vrx/kernel.h"

namespace vrx::gost28147 {

/** A block as two words, N1 and N2 of the standard. */
struct Block {
    std::uint32_t n1;
    std::uint32_t n2;

    friend constexpr bool operator==(Block, Block) = default;
    friend constexpr Block operator^(Block a, Block b) { return {a.n1 ^ b.n1, a.n2 ^ b.n2}; }
};

inline Block load_block(const std::uint8_t* bytes) { return {load_le32(bytes), load_le32(bytes + 4)}; }

inline void store_block(std::uint8_t* bytes, Block b) {
    store_le32(bytes, b.n1);
    store_le32(bytes + 4, b.n2);
}

/** Both words as one 64-bit word, with n1 in its lower half. */
constexpr std::uint64_t joined(Block b) { return std::uint64_t{b.n2} << 32 | b.n1; }
constexpr Block parted(std::uint64_t words) {
    return {static_cast<std::uint32_t>(words), static_cast<std::uint32_t>(words >> 32)};
}

/**
 * Writes both words with one store. The next call may load both words at once, and store forwarding works only if a
 * single store wrote them.
 */
inline void store_register(std::uint8_t* reg, Block b) {
    const std::uint64_t words = joined(b);
    std::memcpy(reg, &words, sizeof words);
}

/** A view of the caller's eight key words, at any address. They are never copied to memory of the library. */
class Key {
public:
    explicit Key(const std::uint32_t* words) : words_(words) {}
    std::uint32_t operator[](std::size_t i) const {
        std::uint32_t word;
        std::memcpy(&word, words_ + i, sizeof word);
        return word;
    }

private:
    const std::uint32_t* words_;
};

// The key word of each round (RFC 5830, sections 5.1, 5.2 and 8).
inline constexpr std::array<std::uint8_t, 32> encryption_order = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7,
                                                                  0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0};
inline constexpr std::array<std::uint8_t, 32> decryption_order = {0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0,
                                                                  7, 6, 5, 4, 3, 2, 1, 0, 7, 6, 5, 4, 3, 2, 1, 0};
inline constexpr std::array<std::uint8_t, 16> mac_order = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
/** True for the key order of decryption. */
template <const auto& order>
inline constexpr bool backward = order[8] == decryption_order[8];

/**
 * Computes half ^ f(v), which is the new value of one half in a round. The look-ups of bytes 1 and 2 complete last, so
 * they are combined with the other terms at the end. This makes the dependency chain from v to the result one XOR
 * shorter. The empty asm statement keeps compilers from reordering the terms.
 */
[[gnu::always_inline]] inline std::uint32_t mixed(std::uint32_t half, std::uint32_t v, const vrx_tz& table) {
    const auto byte = [v](unsigned k) -> std::size_t { return std::uint64_t{v} >> 8 * k & 255; };
    std::uint32_t early = half ^ table.t[0][byte(0)];
    asm("" : "+r"(early));
    early ^= table.t[3][byte(3)];
    std::uint32_t late = table.t[1][byte(1)] ^ table.t[2][byte(2)];
    asm("" : "+r"(early), "+r"(late));
    return early ^ late;
}

/**
 * Performs the rounds of one direction. Each round adds a key word to one half, substitutes, and combines the result
 * with the other half.
 */
template <const auto& order>
[[gnu::always_inline]] inline Block rounds(Block b, Key key, const vrx_tz& table) {
    [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
        ((i % 2 == 0 ? b.n2 = mixed(b.n2, b.n1 + key[order[i]], table)
                     : b.n1 = mixed(b.n1, b.n2 + key[order[i]], table)),
         ...);
    }
    (std::make_index_sequence<order.size()>{});
    return b;
}

/**
 * Computes E(b). The last of the 32 rounds does not swap the halves. rounds() swaps in every round, so n1 and n2 are
 * exchanged here.
 */
Block encrypt(Block b, Key key, const vrx_tz& table);

/** Computes D(b), the inverse of encrypt(). */
Block decrypt(Block b, Key key, const vrx_tz& table);

/** Computes M(b): 16 rounds, each of which swaps the halves. */
Block mac_rounds(Block b, Key key, const vrx_tz& table);

}  // namespace vrx::gost28147

#endif
