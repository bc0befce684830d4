// Overhead of the C++ headers over the C functions. The baseline of each row does the same work in C. It includes the
// zeroing of contexts, which a program in C needs as well. A ratio of 1 means no overhead.
#include <cstring>
#include <memory>
#include <vrx.hpp>

#include "support.hpp"

namespace {

using Octets = std::vector<std::uint8_t>;

Octets varied(std::size_t size) {
    Octets octets(size);
    for (std::size_t i = 0; i < size; ++i) octets[i] = static_cast<std::uint8_t>(37 * i + (i >> 8));
    return octets;
}

const std::array<std::uint32_t, 8> key_words{0x01234567, 0x89abcdef, 2, 3, 4, 5, 6, 7};
const std::array<std::uint8_t, 8> iv_bytes{1, 2, 3, 4, 5, 6, 7, 8};

void check(bool right) {
    if (!right) std::abort();
}

void cipher(benchmark::State& state) {
    Octets text = varied(static_cast<std::size_t>(state.range(0)));
    const vrx_gost28147_par* set = get_GOST28147_default_par();
    const vrx::Key key(key_words);
    const vrx::Iv iv(iv_bytes);
    const auto in_c = [&] {
        vrx_crpt_ctx ctx;
        vrx_crpt_init_context(&ctx, 1, set->tz, set->mode, 0, set->key_meshing, 0, iv_bytes.data(), key_words.data());
        const vrx_data in{static_cast<std::uint32_t>(text.size()), text.data()};
        vrx_data out{in.length, text.data()};
        check(vrx_crpt_update(&ctx, &in, &out) == VRX_OK && vrx_crpt_final(&ctx) == VRX_OK);
        vrx::wipe(&ctx.mode, sizeof ctx - sizeof ctx.table);
    };
    const auto in_cxx = [&] {
        vrx::Encryptor encryptor(key, iv);
        check(encryptor.update(text, text) && encryptor.finish());
    };
    bench::compare(state, in_c, in_cxx, text.size());
}

void hash(benchmark::State& state) {
    const Octets text = varied(static_cast<std::size_t>(state.range(0)));
    const auto in_c = [&] {
        GOSTR3411_CTX ctx;
        std::uint8_t digest[VRX_HASH_SIZE];
        GOSTR3411_Init_ex(&ctx, get_GOSTR3411_default_par()->tz);
        GOSTR3411_Update(&ctx, text.data(), static_cast<std::uint32_t>(text.size()));
        GOSTR3411_Final(&ctx, digest);
        benchmark::DoNotOptimize(digest);
        vrx::wipe(&ctx.sum, sizeof ctx - sizeof ctx.table);
    };
    const auto in_cxx = [&] { benchmark::DoNotOptimize(vrx::Hash().update(text).finish().data()); };
    bench::compare(state, in_c, in_cxx, text.size());
}

void hash_in_one_call(benchmark::State& state) {
    const Octets text = varied(static_cast<std::size_t>(state.range(0)));
    const auto in_c = [&] {
        std::uint8_t digest[VRX_HASH_SIZE];
        GOSTR3411_Transform_ex(get_GOSTR3411_default_par()->tz, text.data(), static_cast<std::uint32_t>(text.size()),
                               digest);
        benchmark::DoNotOptimize(digest);
    };
    const auto in_cxx = [&] { benchmark::DoNotOptimize(vrx::hash(text).data()); };
    bench::compare(state, in_c, in_cxx, text.size());
}

void hmac(benchmark::State& state) {
    const Octets text = varied(static_cast<std::size_t>(state.range(0)));
    const auto in_c = [&] {
        GOSTR3411_HMAC_CTX ctx;
        std::uint8_t mac[VRX_HMAC_SIZE];
        std::uint32_t size = 0;
        check(GOSTR3411_HMAC_Init(&ctx, nullptr, 0, iv_bytes.data(), 8) == VRX_OK);
        GOSTR3411_HMAC_Update(&ctx, text.data(), static_cast<std::uint32_t>(text.size()));
        GOSTR3411_HMAC_Final(&ctx, mac, &size);
        benchmark::DoNotOptimize(mac);
        vrx::wipe(&ctx, sizeof ctx);
    };
    const auto in_cxx = [&] {
        auto object = vrx::Hmac::with(iv_bytes);
        check(object.has_value());
        benchmark::DoNotOptimize(object->update(text).finish().data());
    };
    bench::compare(state, in_c, in_cxx, text.size());
}

void modular_multiply(benchmark::State& state) {
    const vrx::Curve& curve = vrx::curve(vrx::CurveId::a);
    std::uint32_t a[VRX_ECC_DIGITS];
    std::memcpy(a, curve.G.y, sizeof a);
    vrx::Scalar b(curve.G.y);
    const auto in_c = [&] {
        mpModMult(a, a, curve.b, curve.p, VRX_ECC_DIGITS);
        benchmark::DoNotOptimize(a);
    };
    const auto in_cxx = [&] {
        vrx::mp::modular_multiply(b.digits(), b.digits(), curve.b, curve.p);
        benchmark::DoNotOptimize(b.data());
    };
    bench::compare(state, in_c, in_cxx, 0);
}

void verify(benchmark::State& state) {
    const vrx::PrivateKey key = vrx::PrivateKey::generate().value();
    const vrx::PublicKey other = key.public_key().value();
    const vrx::Digest digest = vrx::hash({});
    const vrx::Signature signature = vrx::sign(key, digest).value();
    const auto in_c = [&] {
        std::uint32_t words[VRX_ECC_DIGEST_WORDS];
        EcSignature numbers;
        std::memcpy(words, digest.data(), sizeof words);
        ecLoadSignValue(signature.data(), &numbers);
        check(ecVerify(&key.curve(), words, &other.point().native(), &numbers) == VRX_OK);
    };
    bench::compare(
        state, in_c, [&] { check(vrx::verify(other, digest, signature)); }, 0);
}

void sampled(benchmark::internal::Benchmark* row) { row->UseManualTime()->Iterations(101); }
void sizes(benchmark::internal::Benchmark* row) { row->Arg(8)->Arg(64)->Arg(1024)->Arg(16384)->Apply(sampled); }

BENCHMARK(cipher)->Apply(sizes);
BENCHMARK(hash)->Apply(sizes);
BENCHMARK(hash_in_one_call)->Apply(sizes);
BENCHMARK(hmac)->Apply(sizes);
BENCHMARK(modular_multiply)->Apply(sampled);
BENCHMARK(verify)->Apply(sampled);

}  // namespace
