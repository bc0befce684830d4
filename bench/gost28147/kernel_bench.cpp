// Single blocks: the exported kernel, a reference implementation, the best hand-scheduled code, and libgcrypt.
//
// In "chained" rows, each result is the input of the next call, so they measure latency. "independent" rows measure
// throughput.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>

#include "vrx.h"

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif

extern "C" void hand_scheduled_encrypt(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key,
                                       const vrx_tz* table);

namespace {

using Kernel = void (*)(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* key, const vrx_tz* table);

constexpr std::uint32_t key[VRX_KEY_WORDS] = {0x01234567, 0x89abcdef, 0xfedcba98, 0x76543210,
                                              0x0f1e2d3c, 0x4b5a6978, 0x8796a5b4, 0xc3d2e1f0};
const vrx_tz* const table = &TZ_28147_89[1];

/** Reference implementation: a loop over the rounds. */
[[gnu::noinline]] void loop_encrypt(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* k,
                                    const vrx_tz* tz) {
    std::uint32_t n1;
    std::uint32_t n2;
    std::memcpy(&n1, in, 4);
    std::memcpy(&n2, in + 4, 4);
    for (unsigned i = 0; i < 32; ++i) {
        const std::uint32_t v = n1 + k[i < 24 ? i % 8 : 31 - i];
        const std::uint32_t f =
            tz->t[0][v & 255] ^ tz->t[1][v >> 8 & 255] ^ tz->t[2][v >> 16 & 255] ^ tz->t[3][v >> 24];
        const std::uint32_t next = n2 ^ f;
        n2 = n1;
        n1 = next;
    }
    std::memcpy(out, &n2, 4);
    std::memcpy(out + 4, &n1, 4);
}

bool same_result(Kernel kernel) {
    std::uint8_t expected[VRX_BLOCK_SIZE];
    std::uint8_t got[VRX_BLOCK_SIZE];
    const std::uint8_t block[VRX_BLOCK_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    loop_encrypt(block, expected, key, table);
    kernel(block, got, key, table);
    return std::memcmp(expected, got, sizeof got) == 0;
}

void chained(benchmark::State& state, Kernel kernel) {
    if (!same_result(kernel)) return state.SkipWithError("wrong result");
    std::uint8_t block[VRX_BLOCK_SIZE] = {};
    for (auto _ : state) {
        kernel(block, block, key, table);
        benchmark::DoNotOptimize(block);
    }
    state.SetBytesProcessed(state.iterations() * VRX_BLOCK_SIZE);
}

void independent(benchmark::State& state, Kernel kernel) {
    if (!same_result(kernel)) return state.SkipWithError("wrong result");
    std::array<std::uint8_t, 256 * VRX_BLOCK_SIZE> blocks{};
    for (auto _ : state) {
        for (std::size_t i = 0; i < blocks.size(); i += VRX_BLOCK_SIZE) kernel(&blocks[i], &blocks[i], key, table);
        benchmark::DoNotOptimize(blocks);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(blocks.size()));
}

#ifdef VRX_WITH_LIBGCRYPT
class Gcrypt {
public:
    Gcrypt() {
        gcry_check_version(nullptr);
        if (gcry_cipher_open(&handle_, GCRY_CIPHER_GOST28147, GCRY_CIPHER_MODE_ECB, 0) != 0) return;
        gcry_cipher_ctl(handle_, GCRYCTL_SET_SBOX, const_cast<char*>("1.2.643.2.2.31.1"), 0);
        gcry_cipher_setkey(handle_, key, sizeof key);
    }
    ~Gcrypt() { gcry_cipher_close(handle_); }
    Gcrypt(const Gcrypt&) = delete;
    Gcrypt& operator=(const Gcrypt&) = delete;
    void encrypt(std::uint8_t* data, std::size_t size) { gcry_cipher_encrypt(handle_, data, size, nullptr, 0); }

private:
    gcry_cipher_hd_t handle_ = nullptr;
};

void libgcrypt_chained(benchmark::State& state) {
    Gcrypt cipher;
    std::uint8_t block[VRX_BLOCK_SIZE] = {};
    for (auto _ : state) cipher.encrypt(block, sizeof block);
    state.SetBytesProcessed(state.iterations() * VRX_BLOCK_SIZE);
}
BENCHMARK(libgcrypt_chained)->Name("block/chained/libgcrypt");

void libgcrypt_independent(benchmark::State& state) {
    Gcrypt cipher;
    std::array<std::uint8_t, 256 * VRX_BLOCK_SIZE> blocks{};
    for (auto _ : state) cipher.encrypt(blocks.data(), blocks.size());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(blocks.size()));
}
BENCHMARK(libgcrypt_independent)->Name("block/independent/libgcrypt");
#endif

BENCHMARK_CAPTURE(chained, hand_scheduled, hand_scheduled_encrypt)->Name("block/chained/hand-scheduled");
BENCHMARK_CAPTURE(chained, vrx, vrx_gost_encr_64_m)->Name("block/chained/vrx");
BENCHMARK_CAPTURE(chained, loop, loop_encrypt)->Name("block/chained/loop");
BENCHMARK_CAPTURE(independent, hand_scheduled, hand_scheduled_encrypt)->Name("block/independent/hand-scheduled");
BENCHMARK_CAPTURE(independent, vrx, vrx_gost_encr_64_m)->Name("block/independent/vrx");
BENCHMARK_CAPTURE(independent, loop, loop_encrypt)->Name("block/independent/loop");

}  // namespace
