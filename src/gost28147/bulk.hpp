// The modes over runs of whole blocks: the one place where a faster engine takes over. Nothing is checked here.
//
// in and out may be the same bytes. Where they overlap otherwise the blocks are taken in order, each read whole before
// it is written.
#ifndef VRX_GOST28147_BULK_HPP
#define VRX_GOST28147_BULK_HPP

#include <cstddef>

#include "gost28147/block.hpp"
#include "vrx/context.h"

namespace vrx::gost28147 {

/** What every mode works with. */
struct Cipher {
    const vrx_tz& table;
    Key key;
};

void ecb_encrypt(Cipher cipher, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void ecb_decrypt(Cipher cipher, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

/** The chaining value goes in and comes out. */
void cbc_encrypt(Cipher cipher, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cbc_decrypt(Cipher cipher, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

/** The counter is stepped before each block. */
void counter(Cipher cipher, std::uint8_t* counter, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

void cfb_encrypt(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

/** Standard feedback: the ciphertext block, also in place. */
void cfb_decrypt(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

/** Feedback read from the input block after the output block was written: in place it is the plaintext. */
void cfb_decrypt_rereading(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out,
                           std::size_t blocks);

void mac(Cipher cipher, std::uint8_t* state, const std::uint8_t* in, std::size_t blocks);

/** The modes in which no block waits for the one before it. */
enum class Mode { ecb_encrypt, ecb_decrypt, cbc_decrypt, counter, cfb_decrypt };

inline constexpr std::size_t section_blocks = VRX_MESHING_SECTION / VRX_BLOCK_SIZE;

/**
 * Whole sections of 1024 bytes with CryptoPro key meshing (RFC 4357, section 2.3.2): before each, key and register are
 * meshed. The codebook does not use its register, but it is meshed all the same.
 */
void meshed_sections(Mode mode, const vrx_tz& table, std::uint32_t* key, std::uint8_t* reg, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t sections);

}  // namespace vrx::gost28147

#endif
