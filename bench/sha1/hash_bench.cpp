// SHA-1: each engine of the compression function, and whole calls compared with OpenSSL.
#include <benchmark/benchmark.h>

#include <array>
#include <vector>

#include "sha1/compress.hpp"
#include "vrx/sha1.h"

#ifdef VRX_WITH_OPENSSL
#include <openssl/evp.h>
#endif

namespace {

using Digest = std::array<std::uint8_t, VRX_SHA1_SIZE>;

std::vector<std::uint8_t> message(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 167 + i / 256);
    return bytes;
}

Digest vrx_hash(const std::vector<std::uint8_t>& data) {
    Digest out;
    sha_context ctx;
    shaInit(&ctx);
    shaUpdate(&ctx, data.data(), data.size());
    shaFinal(&ctx, out.data());
    return out;
}

#ifdef VRX_WITH_OPENSSL
Digest openssl_hash(const std::vector<std::uint8_t>& data) {
    // Fetched once, as OpenSSL recommends for speed.
    static EVP_MD* const method = EVP_MD_fetch(nullptr, "SHA1", nullptr);
    static EVP_MD_CTX* const ctx = EVP_MD_CTX_new();
    Digest out;
    EVP_DigestInit_ex2(ctx, method, nullptr);
    EVP_DigestUpdate(ctx, data.data(), data.size());
    EVP_DigestFinal_ex(ctx, out.data(), nullptr);
    return out;
}
#else
constexpr auto openssl_hash = vrx_hash;
#endif

using Hash = Digest (*)(const std::vector<std::uint8_t>&);

void throughput(benchmark::State& state, Hash hash, Hash expected) {
    const auto data = message(static_cast<std::size_t>(state.range(0)));
    if (hash(data) != expected(data)) return state.SkipWithError("wrong result");
    for (auto _ : state) benchmark::DoNotOptimize(hash(data));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void compression(benchmark::State& state, vrx::sha1::Compress compress) {
    constexpr std::size_t blocks = 256;
    const auto data = message(blocks * vrx::sha1::block_size);
    std::array<std::uint32_t, VRX_SHA1_DIGEST_WORDS> expected{};
    std::array<std::uint32_t, VRX_SHA1_DIGEST_WORDS> h{};
    vrx::sha1::compress_portable(expected, data.data(), blocks);
    compress(h, data.data(), blocks);
    if (h != expected) return state.SkipWithError("wrong result");
    for (auto _ : state) {
        compress(h, data.data(), blocks);
        benchmark::DoNotOptimize(h);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(data.size()));
}

void sizes(benchmark::internal::Benchmark* row) { row->Arg(64)->Arg(1024)->Arg(16384)->Arg(1 << 20); }

[[maybe_unused]] const bool rows = [] {
    for (const vrx::sha1::Engine& variant : vrx::sha1::engines)
        if (vrx::cpu::offers(variant.needs))
            benchmark::RegisterBenchmark(("sha1/compress/" + std::string(variant.name)).c_str(), compression,
                                         variant.run);
    return true;
}();

BENCHMARK_CAPTURE(throughput, vrx, vrx_hash, openssl_hash)->Name("sha1/vrx")->Apply(sizes);
#ifdef VRX_WITH_OPENSSL
BENCHMARK_CAPTURE(throughput, openssl, openssl_hash, vrx_hash)->Name("sha1/openssl")->Apply(sizes);
#endif

}  // namespace
