// The step function of RFC 5831, section 6, on symbolic bits.
#ifndef VRX_TESTS_PROVE_HASH_HPP
#define VRX_TESTS_PROVE_HASH_HPP

#include "prove/blocks.hpp"

namespace vrx::prove {

/** A number of 256 bits as 32 octets, the least significant first. */
using Octets = std::array<U<8>, 32>;

inline Octets unknown_octets() {
    Octets r;
    for (auto& octet : r) octet = U<8>::unknown();
    return r;
}
inline Octets sum(Octets a, const Octets& b) {
    for (unsigned i = 0; i < 32; ++i) a[i] ^= b[i];
    return a;
}
/** A(y4 | y3 | y2 | y1) = (y1 + y2) | y4 | y3 | y2, with y1 the lowest 64 bits. */
inline Octets a_of_standard(const Octets& y) {
    Octets r;
    for (unsigned i = 0; i < 8; ++i) {
        for (unsigned j = 0; j < 3; ++j) r[8 * j + i] = y[8 * (j + 1) + i];
        r[24 + i] = y[i] ^ y[8 + i];
    }
    return r;
}
/** P: phi(i + 1 + 4 (k - 1)) = 8i + k, where octets are numbered from 1. */
inline Octets p_of_standard(const Octets& y) {
    Octets r;
    for (unsigned i = 0; i <= 3; ++i)
        for (unsigned k = 1; k <= 8; ++k) r[i + 1 + 4 * (k - 1) - 1] = y[8 * i + k - 1];
    return r;
}
/** psi(y16 | ... | y1) = (y1 + y2 + y3 + y4 + y13 + y16) | y16 | ... | y2, words of 16 bits. */
inline Octets psi_of_standard(const Octets& y, unsigned times) {
    Octets now = y;
    for (; times != 0; --times) {
        Octets r;
        for (unsigned half = 0; half < 2; ++half) {
            const auto word = [&](unsigned i) { return now[2 * (i - 1) + half]; };
            for (unsigned i = 1; i < 16; ++i) r[2 * (i - 1) + half] = word(i + 1);
            r[30 + half] = word(1) ^ word(2) ^ word(3) ^ word(4) ^ word(13) ^ word(16);
        }
        now = r;
    }
    return now;
}
/** C3, with the most significant octet first. */
inline Octets c3_of_standard() {
    constexpr unsigned char octets[32] = {0xff, 0x00, 0xff, 0xff, 0x00, 0x00, 0x00, 0xff, 0xff, 0x00, 0x00,
                                          0xff, 0x00, 0xff, 0xff, 0x00, 0x00, 0xff, 0x00, 0xff, 0x00, 0xff,
                                          0x00, 0xff, 0xff, 0x00, 0xff, 0x00, 0xff, 0x00, 0xff, 0x00};
    Octets r;
    for (unsigned i = 0; i < 32; ++i) r[31 - i] = octets[i];
    return r;
}

template <typename Function>
Octets step_of_standard(const Octets& h, const Octets& m, const Function& function) {
    Octets u = h, v = m, s;
    for (unsigned j = 0; j < 4; ++j) {
        if (j != 0) {
            u = a_of_standard(u);
            if (j == 2) u = sum(u, c3_of_standard());
            v = a_of_standard(a_of_standard(v));
        }
        const Octets key_octets = p_of_standard(sum(u, v));
        Word32 key[8];
        for (unsigned i = 0; i < 32; ++i) key[i / 4].byte[i % 4] = key_octets[i].byte[0];
        TwoWords block;
        for (unsigned i = 0; i < 4; ++i) {
            block.n1.byte[i] = h[8 * j + i].byte[0];
            block.n2.byte[i] = h[8 * j + 4 + i].byte[0];
        }
        block = rounds_of_standard(block, key, function, false);
        for (unsigned i = 0; i < 4; ++i) {
            s[8 * j + i].byte[0] = block.n1.byte[i];
            s[8 * j + 4 + i].byte[0] = block.n2.byte[i];
        }
    }
    return psi_of_standard(sum(h, psi_of_standard(sum(m, psi_of_standard(s, 12)), 1)), 61);
}

/** step(h, m, S-boxes or tables) replaces h. */
template <typename Function = UnknownBoxes, typename Step>
void prove_step(const std::string& engine, const Step& step) {
    circuit_theorem("hash, " + engine + ": the step function", 50, [&] {
        circuit::keep_tables_closed();
        const Function function;
        const Octets h = unknown_octets(), m = unknown_octets();
        Octets result = h;
        step(result, m, function);
        const Octets expected = step_of_standard(h, m, function);
        Bit all = one;
        for (unsigned i = 0; i < 32; ++i) all = conjunction(all, same(result[i], expected[i]));
        return all;
    });
}

}  // namespace vrx::prove

#endif
