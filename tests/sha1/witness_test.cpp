// The same digests as OpenSSL, on random input.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <array>

#include "support/random.hpp"
#include "vrx/sha1.h"

namespace {

using namespace vrx::test;

TEST(witness, digests_are_equal_over_random_cuts) {
    Random random;
    for (int i = 0; i < 3000; ++i) {
        const Bytes data = random.bytes(random.below(i % 100 == 0 ? 100000 : 500));
        sha_context ctx;
        shaInit(&ctx);
        for (std::size_t at = 0; at < data.size();) {
            const std::size_t size = std::min<std::size_t>(1 + random.below(300), data.size() - at);
            shaUpdate(&ctx, &data[at], size);
            at += size;
        }
        std::array<std::uint8_t, VRX_SHA1_SIZE> out{};
        shaFinal(&ctx, out.data());
        std::array<std::uint8_t, VRX_SHA1_SIZE> expected{};
        ASSERT_EQ(EVP_Digest(data.data(), data.size(), expected.data(), nullptr, EVP_sha1(), nullptr), 1);
        ASSERT_EQ(hex(out), hex(expected)) << data.size() << " bytes";
    }
}

}  // namespace
