// Slow reference implementation of SHA-1 according to RFC 3174, in 64-bit arithmetic.
#ifndef VRX_TESTS_SHA1_MODEL_HPP
#define VRX_TESTS_SHA1_MODEL_HPP

#include <array>
#include <cstdint>
#include <span>

#include "support/hex.hpp"
#include "vrx/sha1.h"

namespace vrx::test {

/** The chaining value. */
using Words = std::array<std::uint32_t, VRX_SHA1_DIGEST_WORDS>;

/** RFC 3174, section 6.1, in 64-bit arithmetic. */
inline Words model_compress(const Words& h, std::span<const std::uint8_t> block) {
    constexpr std::uint64_t modulus = std::uint64_t{1} << 32;
    const auto rotate = [](std::uint64_t x, unsigned n) { return (x << n) % modulus + (x >> (32 - n)); };
    std::array<std::uint64_t, 80> w{};
    for (std::size_t t = 0; t < 80; ++t) {
        if (t < 16)
            for (std::size_t i = 0; i < 4; ++i) w.at(t) = 256 * w.at(t) + block[4 * t + i];
        else
            w.at(t) = rotate(w.at(t - 3) ^ w.at(t - 8) ^ w.at(t - 14) ^ w.at(t - 16), 1);
    }
    std::uint64_t a = h[0];
    std::uint64_t b = h[1];
    std::uint64_t c = h[2];
    std::uint64_t d = h[3];
    std::uint64_t e = h[4];
    for (std::size_t t = 0; t < 80; ++t) {
        const std::uint64_t not_b = modulus - 1 - b;
        const std::array f = {(b & c) | (not_b & d), b ^ c ^ d, (b & c) | (b & d) | (c & d), b ^ c ^ d};
        const std::array<std::uint64_t, 4> k = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};
        const std::uint64_t next = (rotate(a, 5) + f.at(t / 20) + e + w.at(t) + k.at(t / 20)) % modulus;
        e = d;
        d = c;
        c = rotate(b, 30);
        b = a;
        a = next;
    }
    Words out{};
    const std::array<std::uint64_t, 5> sums = {h[0] + a, h[1] + b, h[2] + c, h[3] + d, h[4] + e};
    for (std::size_t i = 0; i < out.size(); ++i) out.at(i) = static_cast<std::uint32_t>(sums.at(i) % modulus);
    return out;
}

inline constexpr Words initial = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

/** A SHA-1 context. */
struct Sha1Model {
    Words digest = initial;
    Bytes held; /**< the beginning of data */
    std::uint64_t count = 0;

    void update(std::span<const std::uint8_t> bytes) {
        count += bytes.size();
        for (const std::uint8_t byte : bytes) {
            held.push_back(byte);
            if (held.size() < 64) continue;
            digest = model_compress(digest, held);
            held.clear();
        }
    }
    Bytes final() {
        std::uint64_t bits = 8 * count;
        Bytes padding = {0x80};
        while ((held.size() + padding.size()) % 64 != 56) padding.push_back(0);
        for (int i = 56; i >= 0; i -= 8) padding.push_back(static_cast<std::uint8_t>(bits >> i));
        update(padding);
        Bytes out;
        for (const std::uint32_t word : digest)
            for (int i = 24; i >= 0; i -= 8) out.push_back(static_cast<std::uint8_t>(word >> i));
        return out;
    }
};

}  // namespace vrx::test

#endif
