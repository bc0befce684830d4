#include "straightforward.hpp"

#include <cstring>
#include <vector>

namespace straightforward {
namespace {

inline std::uint32_t f(const vrx_tz& tz, std::uint32_t x) {
    return tz.t[0][x & 255] ^ tz.t[1][x >> 8 & 255] ^ tz.t[2][x >> 16 & 255] ^ tz.t[3][x >> 24];
}

inline void up(std::uint32_t& n1, std::uint32_t& n2, const std::uint32_t* k, const vrx_tz& tz) {
    n2 ^= f(tz, n1 + k[0]);
    n1 ^= f(tz, n2 + k[1]);
    n2 ^= f(tz, n1 + k[2]);
    n1 ^= f(tz, n2 + k[3]);
    n2 ^= f(tz, n1 + k[4]);
    n1 ^= f(tz, n2 + k[5]);
    n2 ^= f(tz, n1 + k[6]);
    n1 ^= f(tz, n2 + k[7]);
}
inline void down(std::uint32_t& n1, std::uint32_t& n2, const std::uint32_t* k, const vrx_tz& tz) {
    n2 ^= f(tz, n1 + k[7]);
    n1 ^= f(tz, n2 + k[6]);
    n2 ^= f(tz, n1 + k[5]);
    n1 ^= f(tz, n2 + k[4]);
    n2 ^= f(tz, n1 + k[3]);
    n1 ^= f(tz, n2 + k[2]);
    n2 ^= f(tz, n1 + k[1]);
    n1 ^= f(tz, n2 + k[0]);
}

[[gnu::noinline]] void encrypt(const std::uint8_t* in, std::uint8_t* out, const Octets& key, const vrx_tz& tz) {
    std::uint32_t k[8];
    std::uint32_t n[2];
    std::memcpy(k, key.data(), sizeof k);
    std::memcpy(n, in, sizeof n);
    up(n[0], n[1], k, tz);
    up(n[0], n[1], k, tz);
    up(n[0], n[1], k, tz);
    down(n[0], n[1], k, tz);
    const std::uint32_t result[2] = {n[1], n[0]};
    std::memcpy(out, result, sizeof result);
}

Octets sum_mod_2(const Octets& a, const Octets& b) {
    Octets out;
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = a[i] ^ b[i];
    return out;
}

/**
 * The transform A: shifts right by 64 bits. The new top 64 bits are the sum modulo 2 of the lowest two 64-bit words.
 */
Octets transform_a(const Octets& y) {
    Octets out;
    for (std::size_t i = 0; i < 24; ++i) out[i] = y[i + 8];
    for (std::size_t i = 0; i < 8; ++i) out[24 + i] = y[i] ^ y[i + 8];
    return out;
}

Octets transform_p(const Octets& y) {
    Octets out;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t k = 0; k < 8; ++k) out[i + 4 * k] = y[8 * i + k];
    return out;
}

constexpr Octets c3 = {0x00, 0xff, 0x00, 0xff, 0x00, 0xff, 0x00, 0xff, 0xff, 0x00, 0xff, 0x00, 0xff, 0x00, 0xff, 0x00,
                       0x00, 0xff, 0xff, 0x00, 0xff, 0x00, 0x00, 0xff, 0xff, 0x00, 0x00, 0x00, 0xff, 0xff, 0x00, 0xff};

/** Applies psi `places` times. Each time, the new top word is the sum modulo 2 of six words. */
template <std::size_t places>
Octets psi(const Octets& y) {
    std::uint16_t w[16 + places];
    std::memcpy(w, y.data(), sizeof y);
    for (std::size_t n = 0; n < places; ++n)
        w[16 + n] = static_cast<std::uint16_t>(w[n] ^ w[n + 1] ^ w[n + 2] ^ w[n + 3] ^ w[n + 12] ^ w[n + 15]);
    Octets out;
    std::memcpy(out.data(), w + places, sizeof out);
    return out;
}

void add(Octets& sum, const Octets& block) {
    std::uint32_t a[8];
    std::uint32_t b[8];
    std::memcpy(a, sum.data(), sizeof a);
    std::memcpy(b, block.data(), sizeof b);
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        carry += std::uint64_t{a[i]} + b[i];
        a[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    std::memcpy(sum.data(), a, sizeof a);
}

struct alignas(64) Context {
    vrx_tz table;
    Octets hash{}, sum{};
    std::uint64_t bits = 0;

    explicit Context(const vrx_tz& t) : table(t) {}
    void take(const std::uint8_t* data, std::size_t size) {
        for (std::size_t count; size != 0; data += count, size -= count) {
            Octets block{};
            count = size < block.size() ? size : block.size();
            std::memcpy(block.data(), data, count);
            add(sum, block);
            step(hash, block, table);
            bits += 8 * count;
        }
    }
    Octets digest() {
        Octets length{};
        std::memcpy(length.data(), &bits, sizeof bits);
        step(hash, length, table);
        step(hash, sum, table);
        return hash;
    }
};

}  // namespace

void step(Octets& h, const Octets& m, const vrx_tz& table) {
    Octets u = h;
    Octets v = m;
    Octets s;
    for (std::size_t j = 0; j < 4; ++j) {
        if (j != 0) {
            u = transform_a(u);
            if (j == 2) u = sum_mod_2(u, c3);
            v = transform_a(transform_a(v));
        }
        encrypt(&h[8 * j], &s[8 * j], transform_p(sum_mod_2(u, v)), table);
    }
    h = psi<61>(sum_mod_2(h, psi<1>(sum_mod_2(m, psi<12>(s)))));
}

Octets hash(const vrx_tz& table, const std::uint8_t* data, std::size_t size) {
    Context ctx(table);
    ctx.take(data, size);
    return ctx.digest();
}

Octets hmac(const vrx_tz& table, const std::uint8_t* key, std::size_t key_size, const std::uint8_t* data,
            std::size_t size) {
    Octets pads[2] = {};
    for (std::size_t i = 0; i < 32; ++i) {
        const std::uint8_t k = i < key_size ? key[i] : 0;
        pads[0][i] = k ^ 0x36;
        pads[1][i] = k ^ 0x5c;
    }
    Context inner(table);
    inner.take(pads[0].data(), 32);
    inner.take(data, size);
    const Octets digest = inner.digest();
    Context outer(table);
    outer.take(pads[1].data(), 32);
    outer.take(digest.data(), 32);
    return outer.digest();
}

Octets pbkdf2(const vrx_tz& table, const std::uint8_t* password, std::size_t password_size, const std::uint8_t* salt,
              std::size_t salt_size, std::uint64_t iterations) {
    std::vector<std::uint8_t> first(salt, salt + salt_size);
    first.insert(first.end(), {0, 0, 0, 1});
    Octets u = hmac(table, password, password_size, first.data(), first.size());
    Octets out = u;
    for (std::uint64_t i = 1; i < iterations; ++i) {
        u = hmac(table, password, password_size, u.data(), u.size());
        out = sum_mod_2(out, u);
    }
    return out;
}

}  // namespace straightforward
