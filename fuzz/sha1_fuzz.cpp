// Fuzz target: SHA-1 over any split of the message and from any initial length, and every engine of the compression
// function, compared with a literal implementation of the standard.
#include "choices.hpp"
#include "sha1/compress.hpp"
#include "sha1/model.hpp"

namespace {

using namespace vrx::test;
using vrx::fuzz::require;

void check(const sha_context& ctx, const Sha1Model& model) {
    require(std::equal(model.digest.begin(), model.digest.end(), std::begin(ctx.digest)), "the chaining value");
    require(ctx.count_hi == model.count >> 32 && ctx.count_lo == static_cast<std::uint32_t>(model.count), "the count");
    Bytes data(sizeof ctx.data);
    std::memcpy(data.data(), ctx.data, data.size());
    require(std::equal(model.held.begin(), model.held.end(), data.begin()), "the bytes that wait");
}

void hash(Random& random) {
    auto ctx = random.value<sha_context>();
    Sha1Model model;
    shaInit(&ctx);
    if (random.below(4) == 0) {  // as if this number of bytes had been processed
        const std::uint64_t count =
            (std::uint64_t{random.word()} << 32 | (random.coin() ? ~0U : random.word())) / 64 * 64;
        ctx.count_hi = static_cast<std::uint32_t>(count >> 32);
        ctx.count_lo = static_cast<std::uint32_t>(count);
        model.count = count;
    }
    while (random.has_decisions() && random.below(12) != 0) {
        const Bytes piece = random.bytes(random.below(random.coin() ? 140 : 700));
        shaUpdate(&ctx, piece.empty() ? nullptr : piece.data(), piece.size());
        model.update(piece);
        check(ctx, model);
    }
    Bytes digest(VRX_SHA1_SIZE);
    shaFinal(&ctx, digest.data());
    require(digest == model.final(), "the digest");
}

void transform(Random& random) {
    auto ctx = random.value<sha_context>();
    Words before;
    std::copy(std::begin(ctx.digest), std::end(ctx.digest), before.begin());
    Bytes block;
    for (const std::uint32_t word : ctx.data)
        for (int i = 24; i >= 0; i -= 8) block.push_back(static_cast<std::uint8_t>(word >> i));
    shaTransform(&ctx);
    const Words expected = model_compress(before, block);
    require(std::equal(expected.begin(), expected.end(), std::begin(ctx.digest)), "one block");
}

void variants(Random& random) {
    const std::size_t blocks = random.below(6);
    const std::size_t shift = random.below(8);
    const Bytes data = random.bytes(shift + 64 * blocks);
    const auto start = random.value<Words>();
    Words expected = start;
    for (std::size_t i = 0; i < blocks; ++i)
        expected = model_compress(expected, std::span(data).subspan(shift + 64 * i, 64));
    for (const auto& variant : vrx::sha1::engines) {
        if (!vrx::cpu::offers(variant.needs)) continue;
        Words actual = start;
        variant.run(actual, data.data() + shift, blocks);
        require(actual == expected, variant.name);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Random random = vrx::fuzz::choices(data, size);
    for (int steps = 0; steps < 8 && (steps == 0 || random.has_decisions()); ++steps) switch (random.below(4)) {
            case 0:
                transform(random);
                break;
            case 1:
                variants(random);
                break;
            default:
                hash(random);
                break;
        }
    return 0;
}
