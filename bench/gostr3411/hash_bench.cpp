// GOST R 34.11-94, HMAC and PBKDF2 beside libgcrypt.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <vector>

#include "vrx.h"

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif

namespace {

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

std::vector<std::uint8_t> message(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 167 + i / 256);
    return bytes;
}

constexpr std::array<std::uint8_t, 8> password = {'p', 'a', 's', 's', 'w', 'o', 'r', 'd'};
constexpr std::array<std::uint8_t, 4> salt = {'s', 'a', 'l', 't'};

Digest one_shot(const std::vector<std::uint8_t>& data) {
    Digest out;
    GOSTR3411_Transform_ex(&TZ_3411_94[1], data.data(), static_cast<std::uint32_t>(data.size()), out.data());
    return out;
}

Digest streamed(const std::vector<std::uint8_t>& data) {
    Digest out;
    GOSTR3411_CTX ctx;
    GOSTR3411_Init_ex(&ctx, &TZ_3411_94[1]);
    GOSTR3411_Update(&ctx, data.data(), static_cast<std::uint32_t>(data.size()));
    GOSTR3411_Final(&ctx, out.data());
    return out;
}

Digest hmac(const std::vector<std::uint8_t>& data) {
    Digest out;
    std::uint32_t size;
    GOSTR3411_HMAC(nullptr, 0, data.data(), static_cast<std::uint32_t>(data.size()), password.data(), password.size(),
                   out.data(), &size);
    return out;
}

Digest pbkdf2(std::uint64_t iterations) {
    Digest out;
    GOSTR3411_PKCS5_PBKDF2(password.data(), password.size(), salt.data(), salt.size(), iterations, nullptr, 0,
                           out.data(), out.size());
    return out;
}

#ifdef VRX_WITH_LIBGCRYPT
const bool started = gcry_check_version(nullptr) != nullptr;

Digest libgcrypt_hash(const std::vector<std::uint8_t>& data) {
    Digest out;
    gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP, out.data(), data.data(), data.size());
    return out;
}

Digest libgcrypt_hmac(const std::vector<std::uint8_t>& data) {
    gcry_md_hd_t handle;
    gcry_md_open(&handle, GCRY_MD_GOSTR3411_CP, GCRY_MD_FLAG_HMAC);
    gcry_md_setkey(handle, password.data(), password.size());
    gcry_md_write(handle, data.data(), data.size());
    Digest out;
    std::memcpy(out.data(), gcry_md_read(handle, 0), out.size());
    gcry_md_close(handle);
    return out;
}

Digest libgcrypt_pbkdf2(std::uint64_t iterations) {
    Digest out;
    gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, GCRY_MD_GOSTR3411_CP, salt.data(), salt.size(),
                    static_cast<unsigned long>(iterations), out.size(), out.data());
    return out;
}
#else
const bool started = true;
constexpr auto libgcrypt_hash = one_shot;
constexpr auto libgcrypt_hmac = hmac;
constexpr auto libgcrypt_pbkdf2 = pbkdf2;
#endif

using OfMessage = Digest (*)(const std::vector<std::uint8_t>&);

void throughput(benchmark::State& state, OfMessage function, OfMessage expected) {
    const auto data = message(static_cast<std::size_t>(state.range(0)));
    if (!started || function(data) != expected(data)) return state.SkipWithError("wrong result");
    for (auto _ : state) benchmark::DoNotOptimize(function(data));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void iterations(benchmark::State& state, Digest (*function)(std::uint64_t)) {
    const auto count = static_cast<std::uint64_t>(state.range(0));
    if (!started || function(3) != libgcrypt_pbkdf2(3)) return state.SkipWithError("wrong result");
    for (auto _ : state) benchmark::DoNotOptimize(function(count));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* row) { row->Arg(64)->Arg(1024)->Arg(16384)->Arg(1 << 20); }

BENCHMARK_CAPTURE(throughput, one_shot, one_shot, libgcrypt_hash)->Name("gostr3411/one-shot/vrx")->Apply(sizes);
BENCHMARK_CAPTURE(throughput, streamed, streamed, libgcrypt_hash)->Name("gostr3411/context/vrx")->Apply(sizes);
BENCHMARK_CAPTURE(throughput, hmac, hmac, libgcrypt_hmac)->Name("gostr3411/hmac/vrx")->Apply(sizes);
BENCHMARK_CAPTURE(iterations, pbkdf2, pbkdf2)->Name("gostr3411/pbkdf2/vrx")->Arg(2048);
#ifdef VRX_WITH_LIBGCRYPT
BENCHMARK_CAPTURE(throughput, libgcrypt, libgcrypt_hash, one_shot)->Name("gostr3411/one-shot/libgcrypt")->Apply(sizes);
BENCHMARK_CAPTURE(throughput, libgcrypt_hmac, libgcrypt_hmac, hmac)->Name("gostr3411/hmac/libgcrypt")->Apply(sizes);
BENCHMARK_CAPTURE(iterations, libgcrypt_pbkdf2, libgcrypt_pbkdf2)->Name("gostr3411/pbkdf2/libgcrypt")->Arg(2048);
#endif

}  // namespace
