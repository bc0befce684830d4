// Rounds on planes of bytes, for the engines that look bytes up with shuffles or permutes.
//
// Include this inside a region, like parallel.hpp. `Plane` is a register of that region, with the operations that are
// used below.
#ifndef VRX_GOST28147_ENGINE_PLANES_HPP
#define VRX_GOST28147_ENGINE_PLANES_HPP

#include "frame/wipe.hpp"
#include "gost28147/block.hpp"

namespace vrx::gost28147 {

/** Eight vectors of blocks as eight planes: plane k holds byte k of every block. */
template <typename Plane>
struct Planes {
    Plane p[8];

    /**
     * Loads the planes. First moves bytes with the same place in two blocks next to each other. The remaining work is
     * an 8 by 8 transposition of these pairs.
     */
    template <typename Vector>
    [[gnu::always_inline]] void load(const Vector* v) {
        Plane a[8];
        Plane b[8];
#pragma GCC unroll 4
        for (unsigned i = 0; i < 8; i += 2)
            Plane::template unpack<16>(Plane{v[i].v}.pairs(), Plane{v[i + 1].v}.pairs(), a[i], a[i + 1]);
#pragma GCC unroll 4
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned from = i % 2 + 4 * (i / 2);
            Plane::template unpack<32>(a[from], a[from + 2], b[2 * i], b[2 * i + 1]);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 4; ++i) Plane::template unpack<64>(b[i], b[i + 4], p[2 * i], p[2 * i + 1]);
    }

    /** The inverse of load(). Also swaps the halves, because the last round does not swap them. */
    template <typename Vector>
    [[gnu::always_inline]] void store(Vector* v) const {
        Plane a[8];
        Plane b[8];
        Plane c[8];
#pragma GCC unroll 4
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned from = (2 * i + 4) % 8;
            Plane::template unpack<8>(p[from], p[from + 1], a[2 * i], a[2 * i + 1]);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned from = i % 2 + 4 * (i / 2);
            Plane::template unpack<16>(a[from], a[from + 2], b[2 * i], b[2 * i + 1]);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 4; ++i) {
            Plane::template unpack<32>(b[i], b[i + 4], c[2 * i], c[2 * i + 1]);
            v[2 * i].v = c[2 * i].v;
            v[2 * i + 1].v = c[2 * i + 1].v;
        }
    }
};

/**
 * The bytes of the key words as planes: for each byte, the negated byte, and a mask that shows whether it is nonzero.
 */
template <typename Plane>
class KeyPlanes {
public:
    struct Word {
        Plane minus[4];
        Plane some[3];
    };

    explicit KeyPlanes(Key key) {
        for (unsigned i = 0; i < VRX_KEY_WORDS; ++i)
            for (unsigned k = 0; k < 4; ++k) {
                const std::uint32_t minus = 0U - (key[i] >> 8 * k & 0xff);
                word_[i].minus[k] = Plane::repeated(static_cast<std::uint8_t>(minus));
                // This is not a comparison, because a compiler may turn a comparison into a branch on the key.
                if (k < 3) word_[i].some[k] = Plane::repeated(static_cast<std::uint8_t>(minus >> 8));
            }
    }
    KeyPlanes(const KeyPlanes&) = delete;
    KeyPlanes& operator=(const KeyPlanes&) = delete;
    ~KeyPlanes() { wipe(this, sizeof *this); }

    /** The planes for a round, 0 to 31. */
    [[nodiscard]] const Word& of_round(unsigned number, bool decrypting) const {
        const unsigned k = number % 8;
        return word_[number / 8 < (decrypting ? 1U : 3U) ? k : 7 - k];
    }

private:
    Word word_[VRX_KEY_WORDS];
};

/**
 * Computes t = x + K byte by byte. With m = -(K + carry in), the sum of a byte is x - m, and there is a carry if x >=
 * m. If m = 0, there is also a carry, unless K and the carry in are both 0. Cost: 18 instructions.
 */
template <typename Plane>
[[gnu::always_inline]] inline void add(Plane (&t)[4], const Plane* x, const typename KeyPlanes<Plane>::Word& key) {
    t[0] = x[0] - key.minus[0];
    Plane carry = x[0].not_less(key.minus[0]) & key.some[0];
#pragma GCC unroll 2
    for (unsigned k = 1; k < 3; ++k) {
        const Plane minus = key.minus[k] + carry;
        t[k] = x[k] - minus;
        carry = x[k].not_less(minus) & (key.some[k] | carry);
    }
    t[3] = x[3] - (key.minus[3] + carry);
}

/**
 * Performs the 32 rounds on `count` vectors. substitute(half, t) computes half ^= f(t), where half and t have four
 * planes each.
 */
template <typename Plane, std::size_t count, typename Vector, typename Substitute>
[[gnu::always_inline]] inline void rounds_on_planes(Vector (&v)[count], const KeyPlanes<Plane>& key, bool decrypting,
                                                    Substitute substitute) {
    constexpr std::size_t groups = count / 8;
    Planes<Plane> planes[groups];
#pragma GCC unroll 2
    for (std::size_t g = 0; g < groups; ++g) planes[g].load(v + 8 * g);
    const auto round = [&](Plane * half, const Plane* other, unsigned number) __attribute__((always_inline)) {
        Plane t[4];
        add(t, other, key.of_round(number, decrypting));
        substitute(half, t);
    };
    for (unsigned i = 0; i < 32; i += 2) {
#pragma GCC unroll 2
        for (std::size_t g = 0; g < groups; ++g) round(planes[g].p + 4, planes[g].p, i);
#pragma GCC unroll 2
        for (std::size_t g = 0; g < groups; ++g) round(planes[g].p, planes[g].p + 4, i + 1);
    }
#pragma GCC unroll 2
    for (std::size_t g = 0; g < groups; ++g) planes[g].store(v + 8 * g);
}

}  // namespace vrx::gost28147

#endif
