// The types that every engine works with: the cipher, the mode, a run of whole blocks; and the counter's step.
#ifndef VRX_GOST28147_MODE_HPP
#define VRX_GOST28147_MODE_HPP

#include <cstddef>
#include <cstdint>

#include "gost28147/block.hpp"
#include "vrx/tz.h"

namespace vrx::gost28147 {

/** The table and key that every mode encrypts with. */
struct Cipher {
    const vrx_tz& table;
    Key key;
};

enum class Mode {
    // Parallelizable: no block depends on the result of the previous one.
    ecb_encrypt,
    ecb_decrypt,
    cbc_decrypt,
    counter,      // the counter is stepped before each block
    cfb_decrypt,  // standard CFB: feeds back the ciphertext block, even in place
    // Chained: each block depends on the previous one.
    cbc_encrypt,
    cfb_encrypt,
    mac,
    // CFB that reads the feedback from the input after writing the output: in place it feeds back plaintext.
    cfb_decrypt_rereading
};

constexpr bool parallelizable(Mode mode) { return mode <= Mode::cfb_decrypt; }
constexpr bool chained(Mode mode) { return mode >= Mode::cbc_encrypt && mode <= Mode::mac; }
constexpr bool decrypts(Mode mode) { return mode == Mode::ecb_decrypt || mode == Mode::cbc_decrypt; }
constexpr bool has_register(Mode mode) { return mode > Mode::ecb_decrypt; }
/** A parallelizable mode whose register becomes the last ciphertext block. */
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

/** The next counter: word 0 plus 01010101h modulo 2^32, word 1 plus 01010104h modulo 2^32 - 1, never 0. */
constexpr Block step_counter(Block c) {
    const std::uint32_t n2 = c.n2 + 0x01010104U;
    return {c.n1 + 0x01010101U, n2 + (n2 < 0x01010104U ? 1U : 0U)};
}

/**
 * The counter after n steps, 0 < n < 2^32. Word 1 is a sum modulo 2^32 - 1 that is never 0: the carries out of 32 bits
 * are added until none is left.
 */
constexpr Block step_counter(Block c, std::uint64_t n) {
    std::uint64_t n2 = c.n2 + n * 0x01010104U;
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    n2 = (n2 & 0xffffffffU) + (n2 >> 32);
    return {c.n1 + static_cast<std::uint32_t>(n) * 0x01010101U, static_cast<std::uint32_t>(n2)};
}

}  // namespace vrx::gost28147

#endif
