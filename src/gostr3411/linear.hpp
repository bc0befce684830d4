// The linear transforms of the step function as maps over octets, computed from their definitions. The engines derive
// their shuffles from them.
#ifndef VRX_GOSTR3411_LINEAR_HPP
#define VRX_GOSTR3411_LINEAR_HPP

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace vrx::gostr3411 {

/** 32 elements, one for each octet of a number. */
template <typename Octet>
using Octets = std::array<Octet, 32>;

/**
 * For each octet of the result, a mask of octets of the argument. The octet of the result is the XOR of these octets.
 * Bit i of the mask stands for octet i.
 */
using OctetMap = Octets<std::uint32_t>;

constexpr OctetMap identity() {
    OctetMap y{};
    for (unsigned i = 0; i < y.size(); ++i) y[i] = 1U << i;
    return y;
}

/**
 * Applies A `times` times: drops the lowest 64 bits. The new top 64 bits are the XOR of the dropped bits and the next
 * 64 bits.
 */
template <typename Octet>
constexpr Octets<Octet> transform_a(Octets<Octet> y, unsigned times) {
    for (; times != 0; --times) {
        Octets<Octet> out{};
        for (std::size_t i = 0; i < y.size(); ++i)
            out[i] = i < 24 ? y[i + 8] : static_cast<Octet>(y[i - 24] ^ y[i - 16]);
        y = out;
    }
    return y;
}

/** Applies P: octet i + 4k of the result is octet 8i + k of the argument. */
template <typename Octet>
constexpr Octets<Octet> transform_p(const Octets<Octet>& y) {
    Octets<Octet> out{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t k = 0; k < 8; ++k) out[i + 4 * k] = y[8 * i + k];
    return out;
}

/** Applies psi `times` times: moves the 16-bit words down by one place. The new top word is the XOR of six words. */
constexpr OctetMap psi(OctetMap y, unsigned times) {
    for (; times != 0; --times) {
        OctetMap out{};
        for (std::size_t i = 0; i < y.size(); ++i)
            out[i] = i < 30 ? y[i + 2] : y[i - 30] ^ y[i - 28] ^ y[i - 26] ^ y[i - 24] ^ y[i - 6] ^ y[i];
        y = out;
    }
    return y;
}

// The result of a step is psi^61(H + psi(M + psi^12(S))) = psi^61(H) + psi^62(M) + psi^74(S).
inline constexpr OctetMap psi_61 = psi(identity(), 61);
inline constexpr OctetMap psi_62 = psi(identity(), 62);
inline constexpr OctetMap psi_74 = psi(identity(), 74);

// Key j, from 0 to 3, is P(A^j(H)) + P(A^2j(M)) + a constant.
template <unsigned j>
inline constexpr OctetMap key_of_h = transform_p(transform_a(identity(), j));
template <unsigned j>
inline constexpr OctetMap key_of_m = transform_p(transform_a(identity(), 2 * j));

/** C3 of RFC 5831, section 6.1, with octet 0 first. It is added to key 2. C2 and C4 are 0. */
constexpr Octets<std::uint8_t> c3() {
    Octets<std::uint8_t> octets{};
    for (unsigned i = 0; i < octets.size(); ++i) octets[i] = (0xb19655aaU >> i & 1) != 0 ? 0xff : 0;
    return octets;
}
constexpr Octets<std::uint8_t> key_constant(unsigned j) {
    return j < 2 ? Octets<std::uint8_t>{} : transform_p(transform_a(c3(), j - 2));
}

/** The parts of a 256-bit number that a register of 16 octets may hold. */
enum class Part {
    low,      // octets 0 to 15
    high,     // 16 to 31
    halves1,  // the first halves of the four 64-bit words
    halves2   // the second halves
};

/** Returns the index of the octet of the number that is at a place of a part. */
constexpr unsigned octet_at(Part part, unsigned place) {
    switch (part) {
        case Part::low:
            return place;
        case Part::high:
            return 16 + place;
        case Part::halves1:
            return 8 * (place / 4) + place % 4;
        case Part::halves2:
            break;
    }
    return 8 * (place / 4) + 4 + place % 4;
}

/** Returns the places of a part that hold terms of octet `out` of the result. Bit i stands for place i. */
constexpr unsigned places(const OctetMap& map, Part part, std::size_t out) {
    unsigned set = 0;
    for (unsigned place = 0; place < 16; ++place) set |= (map[out] >> octet_at(part, place) & 1U) << place;
    return set;
}

/** Returns the largest number of terms that any octet of the result has in a part. */
constexpr std::size_t most_terms(const OctetMap& map, Part part) {
    int most = 0;
    for (std::size_t out = 0; out < map.size(); ++out)
        if (const int n = std::popcount(places(map, part, out)); n > most) most = n;
    return static_cast<std::size_t>(most);
}

}  // namespace vrx::gostr3411

#endif
