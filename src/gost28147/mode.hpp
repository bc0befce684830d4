// The types that every engine uses: the cipher, the mode, and a run of whole blocks. Also the step of the counter.
#ifndef VRX_GOST28147_MODE_HPP
#define VRX_GOST28147_MODE_HPP

#include <cstddef>
#include <cstdint>

#include "gost28147/block.hpp"
#include "vrx/tz.h"

namespace vrx::gost28147 {

/** The table and the key with which every mode encrypts. */
struct Cipher {
    const vrx_tz& table;
    Key key;
};

enum class Mode {
    // Parallelizable modes: no block depends on the result of the previous block.
    ecb_encrypt,
    ecb_decrypt,
    cbc_decrypt,
    counter,      // the counter is stepped before each block
    cfb_decrypt,  // standard CFB: feeds back the ciphertext block, even in place
    // Chained modes: each block depends on the result of the previous block.
    cbc_encrypt,
    cfb_encrypt,
    mac,
    // CFB decryption that reads the feedback from the input after it has written the output. In place, the feedback is
    // therefore plaintext.
    cfb_decrypt_rereading
};

constexpr bool parallelizable(Mode mode) { return mode <= Mode::cfb_decrypt; }
constexpr bool chained(Mode mode) { return mode >= Mode::cbc_encrypt && mode <= Mode::mac; }
constexpr bool decrypts(Mode mode) { return mode == Mode::ecb_decrypt || mode == Mode::cbc_decrypt; }
constexpr bool has_register(Mode mode) { return mode > Mode::ecb_decrypt; }
/** True for a parallelizable mode whose register becomes the last ciphertext block. */
constexpr bool keeps_ciphertext(Mode mode) { return mode == Mode::cbc_decrypt || mode == Mode::cfb_decrypt; }

/**
 * A run of whole blocks. `reg` is the chaining value, counter, feedback or MAC state, and is updated; ECB has none. The
 * MAC has no `out`. `in` and `out` may be the same buffer.
 */
struct Run {
    Cipher cipher;
    std::uint8_t* reg;
    const std::uint8_t* in;
    std::uint8_t* out;
    std::size_t blocks;

    void skip(std::size_t n) {
        in += n * VRX_BLOCK_SIZE;
        if (out != nullptr) out += n * VRX_BLOCK_SIZE;
        blocks -= n;
    }
};

/**
 * Returns the next counter. Word 0 is increased by 01010101h modulo 2^32, and word 1 by 01010104h modulo 2^32 - 1. The
 * new word 1 is from 1 to 2^32 - 1.
 */
constexpr Block step_counter(Block c) {
    const std::uint32_t n2 = c.n2 + 0x01010104U;
    return {c.n1 + 0x01010101U, n2 + (n2 < 0x01010104U ? 1U : 0U)};
}

/**
 * Returns the counter after n steps, for 0 < n < 2^32. To reduce word 1 modulo 2^32 - 1, the function adds the bits
 * above 2^32 to the lower 32 bits until no carry is left. The result is never 0.
 */
constexpr Block step_counter(Block c, std::uint64_t n) {
    std::uint64_t n2 = c.n2 + n * 0x01010104U;
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    return {c.n1 + static_cast<std::uint32_t>(n) * 0x01010101U, static_cast<std::uint32_t>(n2)};
}

}  // namespace vrx::gost28147

#endif
