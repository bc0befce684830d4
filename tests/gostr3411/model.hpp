// Slow reference implementation of GOST R 34.11-94 according to RFC 5831. It works octet by octet, and uses S-boxes
// instead of expanded tables.
#ifndef VRX_TESTS_GOSTR3411_MODEL_HPP
#define VRX_TESTS_GOSTR3411_MODEL_HPP

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "support/kat.hpp"
#include "support/project.hpp"
#include "tz/model.hpp"

namespace vrx::test {

/** A 256-bit number as its octets, least significant first. */
using Octets = std::array<std::uint8_t, 32>;

/** The substitution and rotation of a round. */
using Substitution = std::function<std::uint32_t(std::uint32_t)>;

inline Substitution on_boxes(const Boxes& boxes) {
    return [boxes](std::uint32_t v) { return substituted(boxes, v); };
}

/** The S-boxes of a parameter set, from the file in tests/tz. */
inline Boxes boxes_of_set(const std::string& name) {
    for (const KatBlock& block : read_kat(in_project("tests/tz/sbox.kat"))) {
        if (block.text("sbox") != name) continue;
        Boxes boxes{};
        for (unsigned r = 0; r < 8; ++r) {
            const std::string outputs = block.text("k" + std::to_string(r + 1));
            for (unsigned i = 0; i < 16; ++i) boxes.at(r).at(i) = unhex("0" + outputs.substr(i, 1)).at(0);
        }
        return boxes;
    }
    throw std::runtime_error("no S-boxes for " + name);
}

inline constexpr const char* test_set = "id-GostR3411-94-TestParamSet";
inline constexpr const char* cryptopro_set = "id-GostR3411-94-CryptoProParamSet";

inline Octets sum_mod_2(const Octets& a, const Octets& b) {
    Octets out{};
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = a[i] ^ b[i];
    return out;
}

/** The step function, with its intermediate results. */
struct ModelStep {
    std::array<Octets, 4> keys{};
    Octets s{};
    Octets out{};
};

namespace model {

/**
 * The transform A: drops the lowest 64 bits. The new top 64 bits are the exclusive-or of the dropped bits and the next
 * 64 bits.
 */
inline Octets a(const Octets& y) {
    Octets out{};
    for (std::size_t i = 0; i < 32; ++i) out[i] = i < 24 ? y[i + 8] : y[i - 24] ^ y[i - 16];
    return out;
}

/** The transform P: phi(i + 1 + 4(k - 1)) = 8i + k, where octets are numbered from 1. */
inline Octets p(const Octets& y) {
    Octets out{};
    for (std::size_t i = 0; i <= 3; ++i)
        for (std::size_t k = 1; k <= 8; ++k) out[i + 1 + 4 * (k - 1) - 1] = y[8 * i + k - 1];
    return out;
}

/** C3 = 1^8 0^8 1^16 0^24 1^16 0^8 (0^8 1^8)^2 1^8 0^8 (0^8 1^8)^4 (1^8 0^8)^4, most significant bit first */
inline Octets c3() {
    std::string octets = "10110001100101100101010110101010";
    std::reverse(octets.begin(), octets.end());
    Octets out{};
    for (std::size_t i = 0; i < 32; ++i) out[i] = octets.at(i) == '1' ? 0xff : 0;
    return out;
}

inline std::uint32_t word(const std::uint8_t* octets) {
    std::uint32_t value = 0;
    for (unsigned i = 4; i-- != 0;) value = value * 256 + octets[i];
    return value;
}

inline void put_word(std::uint8_t* octets, std::uint32_t value) {
    for (unsigned i = 0; i < 4; ++i, value /= 256) octets[i] = static_cast<std::uint8_t>(value % 256);
}

/** GOST 28147-89 on one block. Every round except the last swaps the halves. */
inline void encrypt(const Substitution& substitute, const Octets& key, const std::uint8_t* in, std::uint8_t* out) {
    std::uint32_t n1 = word(in);
    std::uint32_t n2 = word(in + 4);
    for (unsigned round = 0; round < 32; ++round) {
        const unsigned key_word = round < 24 ? round % 8 : 31 - round;
        const std::uint32_t mixed = n2 ^ substitute(n1 + word(&key.at(4 * key_word)));
        n2 = n1;
        n1 = mixed;
    }
    put_word(out, n2);
    put_word(out + 4, n1);
}

/**
 * Applies psi `times` times. Each time, the words move down by one, and the new top word is the exclusive-or of six
 * words.
 */
inline Octets psi(Octets y, int times) {
    for (; times > 0; --times) {
        std::array<std::uint8_t, 2> top{};
        for (const std::size_t n : {1U, 2U, 3U, 4U, 13U, 16U})
            for (std::size_t i = 0; i < 2; ++i) top.at(i) ^= y.at(2 * (n - 1) + i);
        std::copy(y.begin() + 2, y.end(), y.begin());
        std::copy(top.begin(), top.end(), y.begin() + 30);
    }
    return y;
}

}  // namespace model

inline ModelStep model_step(const Octets& h, const Octets& m, const Substitution& substitute) {
    ModelStep result;
    Octets u = h;
    Octets v = m;
    result.keys[0] = model::p(sum_mod_2(u, v));
    for (std::size_t j = 2; j <= 4; ++j) {
        u = sum_mod_2(model::a(u), j == 3 ? model::c3() : Octets{});
        v = model::a(model::a(v));
        result.keys.at(j - 1) = model::p(sum_mod_2(u, v));
    }
    for (std::size_t j = 0; j < 4; ++j)
        model::encrypt(substitute, result.keys.at(j), &h.at(8 * j), &result.s.at(8 * j));
    const Octets inner = model::psi(sum_mod_2(m, model::psi(result.s, 12)), 1);
    result.out = model::psi(sum_mod_2(h, inner), 61);
    return result;
}

/** A hash context, field by field. */
struct ModelContext {
    Substitution substitute;
    Octets sum{};
    Octets hash{};
    Octets length{};
    Octets buffer{};
    std::size_t count = 0;

    void absorb(const Octets& block, unsigned bits) {
        unsigned carry = 0;
        for (std::size_t i = 0; i < 32; ++i) {
            carry += unsigned{sum.at(i)} + block.at(i);
            sum.at(i) = static_cast<std::uint8_t>(carry % 256);
            carry /= 256;
        }
        hash = model_step(hash, block, substitute).out;
        std::uint64_t more = bits;
        for (std::size_t i = 0; i < 8; ++i) {  // only 64 bits of the 256 are used
            more += length.at(i);
            length.at(i) = static_cast<std::uint8_t>(more % 256);
            more /= 256;
        }
    }

    void update(std::span<const std::uint8_t> data) {
        while (count < 32 && !data.empty()) {
            buffer.at(count++) = data.front();
            data = data.subspan(1);
        }
        if (count < 32) return;
        absorb(buffer, 256);
        for (; data.size() > 32; data = data.subspan(32)) {
            Octets block{};
            std::copy_n(data.begin(), 32, block.begin());
            absorb(block, 256);
        }
        std::copy(data.begin(), data.end(), buffer.begin());
        count = data.size();
    }

    Octets final() {
        if (count != 0) {
            std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(count), buffer.end(), std::uint8_t{0});
            absorb(buffer, static_cast<unsigned>(8 * count));
        }
        hash = model_step(hash, length, substitute).out;
        hash = model_step(hash, sum, substitute).out;
        return hash;
    }
};

inline Octets model_digest(const Substitution& substitute, std::span<const std::uint8_t> message) {
    ModelContext ctx{.substitute = substitute};
    ctx.update(message);
    return ctx.final();
}

/** HMAC (RFC 2104) with blocks and digests of 32 octets. */
inline Octets model_hmac(const Substitution& substitute, std::span<const std::uint8_t> key,
                         std::span<const std::uint8_t> message) {
    Octets k{};
    if (key.size() > 32)
        k = model_digest(substitute, key);
    else
        std::copy(key.begin(), key.end(), k.begin());
    const auto padded_hash = [&](std::uint8_t pad, std::span<const std::uint8_t> text) {
        Bytes all;
        for (const std::uint8_t octet : k) all.push_back(octet ^ pad);
        all.insert(all.end(), text.begin(), text.end());
        return model_digest(substitute, all);
    };
    return padded_hash(0x5c, padded_hash(0x36, message));
}

/** The first block of PBKDF2 (RFC 8018). 0 iterations are treated as one. */
inline Octets model_pbkdf2(const Substitution& substitute, std::span<const std::uint8_t> password,
                           std::span<const std::uint8_t> salt, unsigned iterations) {
    Bytes text(salt.begin(), salt.end());
    text.insert(text.end(), {0, 0, 0, 1});
    Octets u = model_hmac(substitute, password, text);
    Octets t = u;
    for (unsigned k = 2; k <= iterations; ++k) {
        u = model_hmac(substitute, password, u);
        t = sum_mod_2(t, u);
    }
    return t;
}

/**
 * The PKCS #12 derivation (RFC 7292, appendix B). The hash of each further block continues that of the previous one.
 */
inline Bytes model_pba(const Substitution& substitute, std::span<const std::uint8_t> password,
                       std::span<const std::uint8_t> salt, unsigned iterations, int id, std::size_t out_len) {
    const auto repeated = [](std::span<const std::uint8_t> text) {
        Bytes out;
        while (!text.empty() && (out.size() < text.size() || out.size() % 32 != 0))
            out.push_back(text[out.size() % text.size()]);
        return out;
    };
    const Bytes diversifier(32, static_cast<std::uint8_t>(id));
    Bytes input = repeated(salt);
    const Bytes p = repeated(password);
    input.insert(input.end(), p.begin(), p.end());
    ModelContext hash{.substitute = substitute};
    Bytes out;
    while (out.size() < out_len) {
        hash.update(diversifier);
        hash.update(input);
        Octets a = hash.final();
        for (unsigned k = 2; k <= iterations; ++k) {
            hash = {.substitute = substitute};
            hash.update(a);
            a = hash.final();
        }
        out.insert(out.end(), a.begin(), a.end());
        for (std::size_t block = 0; block < input.size(); block += 32) {
            unsigned carry = 1;
            for (std::size_t i = 32; i-- != 0;) {
                carry += unsigned{input.at(block + i)} + a.at(i);
                input.at(block + i) = static_cast<std::uint8_t>(carry % 256);
                carry /= 256;
            }
        }
    }
    out.resize(out_len);
    return out;
}

}  // namespace vrx::test

#endif
