// The modes of bulk.hpp block by block: what they mean, for runs that are too short for an engine, and for buffers that
// overlap so that later input is earlier output.
#ifndef VRX_GOST28147_PLAIN_HPP
#define VRX_GOST28147_PLAIN_HPP

#include "gost28147/bulk.hpp"

namespace vrx::gost28147::plain {

void ecb_encrypt(Cipher cipher, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void ecb_decrypt(Cipher cipher, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cbc_encrypt(Cipher cipher, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cbc_decrypt(Cipher cipher, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void counter(Cipher cipher, std::uint8_t* counter, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cfb_encrypt(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cfb_decrypt(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);
void cfb_decrypt_rereading(Cipher cipher, std::uint8_t* feedback, const std::uint8_t* in, std::uint8_t* out,
                           std::size_t blocks);
void mac(Cipher cipher, std::uint8_t* state, const std::uint8_t* in, std::size_t blocks);

/** Any of the parallel modes; the codebook has no register. */
void run(Mode mode, Cipher cipher, std::uint8_t* reg, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks);

/** K = D(K, C), then register = E(K, register). */
void mesh(const vrx_tz& table, std::uint32_t* key, std::uint8_t* reg);

}  // namespace vrx::gost28147::plain

#endif
