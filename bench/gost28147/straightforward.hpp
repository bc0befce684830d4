// Reference implementation of GOST 28147-89: unrolled rounds with four table look-ups each, one call per block. It is
// the baseline of the benchmarks.
#ifndef VRX_BENCH_GOST28147_STRAIGHTFORWARD_HPP
#define VRX_BENCH_GOST28147_STRAIGHTFORWARD_HPP

#include <cstddef>
#include <cstdint>

#include "vrx/context.h"

namespace straightforward {

struct Work {
    const vrx_tz* table;
    const std::uint32_t* key;
    std::uint8_t* reg;
    const std::uint8_t* in;
    std::uint8_t* out;
    std::size_t blocks;
};

void ecb_encrypt(const Work& w);
void ecb_decrypt(const Work& w);
void cbc_encrypt(const Work& w);
void cbc_decrypt(const Work& w);
void counter(const Work& w);
void cfb_encrypt(const Work& w);
void cfb_decrypt(const Work& w);
void mac(const Work& w);

/** Processes sections of 128 blocks. Meshes key and register before each section. */
void meshed(void (*mode)(const Work& w), Work w, std::uint32_t* key);

}  // namespace straightforward

#endif
