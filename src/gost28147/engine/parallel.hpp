// What the engines have in common: how the modes wrap the cipher when blocks are processed side by side.
//
// An engine includes this inside the region of its file in which its instructions are allowed. All functions are
// templates over a type of that file, so no other file can end up with their code.
#ifndef VRX_GOST28147_ENGINE_PARALLEL_HPP
#define VRX_GOST28147_ENGINE_PARALLEL_HPP

#include "gost28147/engine/list.hpp"

namespace vrx::gost28147 {

/**
 * C(X) ^ Y for `blocks` blocks, at most as many as `count` vectors hold:
 *
 *     codebook         X = input                        Y = 0
 *     CBC decryption   X = input                        Y = input one block earlier
 *     counter          X = register + 1, + 2, ...       Y = input
 *     CFB decryption   X = input one block earlier      Y = input
 *
 * where the block before the first is the register. All is read before the first byte is written.
 * False, with nothing written, where the cipher found that it may not be trusted.
 */
template <std::size_t count, typename Cipher>
[[gnu::always_inline]] inline bool step(const Cipher& cipher, Mode mode, Block& reg, const std::uint8_t* in,
                                        std::uint8_t* out, std::size_t blocks) {
    using Vector = typename Cipher::Vector;
    const auto at = [](std::size_t i) __attribute__((always_inline)) { return i * Vector::blocks * VRX_BLOCK_SIZE; };
    const auto left = [blocks](std::size_t i) __attribute__((always_inline)) {
        return static_cast<std::ptrdiff_t>(blocks - i * Vector::blocks);
    };
    const auto input = [&](std::size_t i) __attribute__((always_inline)) { return Vector::load(in + at(i), left(i)); };
    const auto earlier = [&](std::size_t i) __attribute__((always_inline)) {
        return i == 0 ? Vector::load_behind(reg, in, left(i)) : Vector::load(in + at(i) - VRX_BLOCK_SIZE, left(i));
    };

    Vector v[count];
    if (mode == Mode::counter) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = Vector::counters(reg, i * Vector::blocks);
    } else if (mode == Mode::cfb_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = earlier(i);
    } else {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] = input(i);
    }

    if (!cipher.run(v)) return false;

    if (mode == Mode::counter || mode == Mode::cfb_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] ^= input(i);
    } else if (mode == Mode::cbc_decrypt) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < count; ++i) v[i] ^= earlier(i);
    }
    if (mode == Mode::counter)
        reg = stepped_counter(reg, blocks);
    else if (chains(mode))
        reg = load_block(in + (blocks - 1) * VRX_BLOCK_SIZE);

#pragma GCC unroll 16
    for (std::size_t i = 0; i < count; ++i) v[i].store(out + at(i), left(i));
    return true;
}

}  // namespace vrx::gost28147

#endif
