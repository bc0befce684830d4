// Checks published answers of SHA-1 for all cuts of the message, with every compression function.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "support/kat.hpp"
#include "support/project.hpp"
#include "vrx/sha1.h"

namespace {

using namespace vrx::test;

using Digest = std::array<std::uint8_t, VRX_SHA1_SIZE>;

Digest streamed(std::span<const std::uint8_t> message, std::size_t piece) {
    sha_context ctx;
    shaInit(&ctx);
    for (std::size_t at = 0; at < message.size(); at += piece) {
        const std::size_t size = std::min(piece, message.size() - at);
        Bytes room(size + 2);
        std::uint8_t* odd = room.data() + (reinterpret_cast<std::uintptr_t>(room.data()) % 2 == 0 ? 1 : 0);
        std::copy_n(message.begin() + static_cast<std::ptrdiff_t>(at), size, odd);
        shaUpdate(&ctx, odd, size);
    }
    Digest out{};
    shaFinal(&ctx, out.data());
    return out;
}

TEST(sha1, known_answers_over_all_cuts_at_odd_addresses) {
    for_each_block(in_project("tests/sha1/hash.kat"), [](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "sha1");
        const Bytes message = block.octets("message");
        const std::string digest = block.text("digest");
        for (const std::size_t piece : {1UL, 3UL, 63UL, 64UL, 65UL, 127UL, 128UL, 1000UL, 100000UL})
            EXPECT_EQ(hex(streamed(message, piece)), digest) << piece << " bytes at a time";
        for (std::size_t cut = 0; cut <= std::min<std::size_t>(message.size(), 300); ++cut) {
            sha_context ctx;
            shaInit(&ctx);
            shaUpdate(&ctx, message.data(), cut);
            shaUpdate(&ctx, message.data() + cut, message.size() - cut);
            Digest out{};
            shaFinal(&ctx, out.data());
            EXPECT_EQ(hex(out), digest) << "cut at " << cut;
        }
    });
}

// FIPS 180-2, appendix A.3.
TEST(sha1, a_million_times_the_letter_a) {
    const Bytes message(1000000, 'a');
    for (const std::size_t piece : {1UL, 64UL, 999UL, 1000000UL})
        EXPECT_EQ(hex(streamed(message, piece)), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

}  // namespace
