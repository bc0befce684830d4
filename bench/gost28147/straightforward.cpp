#include "straightforward.hpp"

#include <cstring>

namespace straightforward {
namespace {

struct Halves {
    std::uint32_t n1, n2;
};

Halves load(const std::uint8_t* from) {
    Halves h;
    std::memcpy(&h, from, sizeof h);
    return h;
}
void store(std::uint8_t* to, Halves h) { std::memcpy(to, &h, sizeof h); }
Halves operator^(Halves a, Halves b) { return {a.n1 ^ b.n1, a.n2 ^ b.n2}; }

inline std::uint32_t f(const vrx_tz& tz, std::uint32_t x) {
    return tz.t[0][x & 255] ^ tz.t[1][x >> 8 & 255] ^ tz.t[2][x >> 16 & 255] ^ tz.t[3][x >> 24];
}
inline void up(Halves& h, const std::uint32_t* k, const vrx_tz& tz) {
    h.n2 ^= f(tz, h.n1 + k[0]);
    h.n1 ^= f(tz, h.n2 + k[1]);
    h.n2 ^= f(tz, h.n1 + k[2]);
    h.n1 ^= f(tz, h.n2 + k[3]);
    h.n2 ^= f(tz, h.n1 + k[4]);
    h.n1 ^= f(tz, h.n2 + k[5]);
    h.n2 ^= f(tz, h.n1 + k[6]);
    h.n1 ^= f(tz, h.n2 + k[7]);
}
inline void down(Halves& h, const std::uint32_t* k, const vrx_tz& tz) {
    h.n2 ^= f(tz, h.n1 + k[7]);
    h.n1 ^= f(tz, h.n2 + k[6]);
    h.n2 ^= f(tz, h.n1 + k[5]);
    h.n1 ^= f(tz, h.n2 + k[4]);
    h.n2 ^= f(tz, h.n1 + k[3]);
    h.n1 ^= f(tz, h.n2 + k[2]);
    h.n2 ^= f(tz, h.n1 + k[1]);
    h.n1 ^= f(tz, h.n2 + k[0]);
}

[[gnu::noinline]] void encrypt(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* k, const vrx_tz* tz) {
    Halves h = load(in);
    up(h, k, *tz);
    up(h, k, *tz);
    up(h, k, *tz);
    down(h, k, *tz);
    store(out, {h.n2, h.n1});
}

[[gnu::noinline]] void decrypt(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* k, const vrx_tz* tz) {
    Halves h = load(in);
    up(h, k, *tz);
    down(h, k, *tz);
    down(h, k, *tz);
    down(h, k, *tz);
    store(out, {h.n2, h.n1});
}

[[gnu::noinline]] void add_to_mac(const std::uint8_t* in, std::uint8_t* state, const std::uint32_t* k,
                                  const vrx_tz* tz) {
    Halves h = load(in) ^ load(state);
    up(h, k, *tz);
    up(h, k, *tz);
    store(state, h);
}

template <typename Step>
void for_each_block(const Work& w, Step step) {
    for (std::size_t i = 0; i < w.blocks; ++i) step(w.in + 8 * i, w.out + 8 * i);
}

}  // namespace

void ecb_encrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) { encrypt(in, out, w.key, w.table); });
}

void ecb_decrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) { decrypt(in, out, w.key, w.table); });
}

void cbc_encrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) {
        store(w.reg, load(in) ^ load(w.reg));
        encrypt(w.reg, w.reg, w.key, w.table);
        std::memcpy(out, w.reg, 8);
    });
}

void cbc_decrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) {
        const Halves ciphertext = load(in);
        decrypt(in, out, w.key, w.table);
        store(out, load(out) ^ load(w.reg));
        store(w.reg, ciphertext);
    });
}

void counter(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) {
        Halves c = load(w.reg);
        c.n1 += 0x01010101;
        c.n2 += 0x01010104;
        if (c.n2 < 0x01010104) ++c.n2;
        store(w.reg, c);
        std::uint8_t gamma[8];
        encrypt(w.reg, gamma, w.key, w.table);
        store(out, load(in) ^ load(gamma));
    });
}

void cfb_encrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) {
        encrypt(w.reg, w.reg, w.key, w.table);
        store(w.reg, load(in) ^ load(w.reg));
        std::memcpy(out, w.reg, 8);
    });
}

void cfb_decrypt(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t* out) {
        const Halves ciphertext = load(in);
        encrypt(w.reg, w.reg, w.key, w.table);
        store(out, ciphertext ^ load(w.reg));
        store(w.reg, ciphertext);
    });
}

void mac(const Work& w) {
    for_each_block(w, [&](const std::uint8_t* in, std::uint8_t*) { add_to_mac(in, w.reg, w.key, w.table); });
}

void meshed(void (*mode)(const Work& w), Work w, std::uint32_t* key) {
    // RFC 4357, section 2.3.2.
    static const std::uint8_t constant[32] = {0x69, 0x00, 0x72, 0x22, 0x64, 0xC9, 0x04, 0x23, 0x8D, 0x3A, 0xDB,
                                              0x96, 0x46, 0xE9, 0x2A, 0xC4, 0x18, 0xFE, 0xAC, 0x94, 0x00, 0xED,
                                              0x07, 0x12, 0xC0, 0x86, 0xDC, 0xC2, 0xEF, 0x4C, 0xA9, 0x2B};
    for (std::size_t sections = w.blocks / 128; sections != 0; --sections, w.in += 1024, w.out += 1024) {
        std::uint8_t next[32];
        ecb_decrypt({w.table, key, nullptr, constant, next, 4});
        std::memcpy(key, next, sizeof next);
        encrypt(w.reg, w.reg, key, w.table);
        mode({w.table, key, w.reg, w.in, w.out, 128});
    }
}

}  // namespace straightforward
