// The cipher of RFC 5830 on symbolic bits, and common parts of the proofs of its engines.
#ifndef VRX_TESTS_PROVE_BLOCKS_HPP
#define VRX_TESTS_PROVE_BLOCKS_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <span>
#include <utility>

#include "prove/circuit_theorem.hpp"

using prove_uint8 = vrx::prove::U<8>;
using prove_uint16 = vrx::prove::U<16>;
using prove_uint32 = vrx::prove::U<32>;
using prove_uint64 = vrx::prove::U<64>;
using prove_int8 = std::int8_t;
using prove_int16 = std::int16_t;
using prove_int32 = std::int32_t;
using prove_int64 = std::int64_t;
using prove_char = vrx::prove::U<8>;
using prove_int = vrx::prove::U<32>;
using prove_longlong = vrx::prove::U<64>;
template <typename T, std::size_t count>
using prove_array = vrx::prove::Array<T, count>;

namespace vrx::prove {

using Word32 = U<32>;

/** Eight unknown S-boxes. Byte 4i + m holds the outputs of S-boxes 2m (low nibble) and 2m + 1 for the input i. */
struct UnknownBoxes {
    std::array<U<8>, 64> num;

    UnknownBoxes() {
        for (auto& byte : num) byte = U<8>::unknown();
    }
    /** The substitution and rotation of the standard. */
    [[nodiscard]] Word32 f(const Word32& x) const {
        const Bits in = x.bits();
        Bits out;
        for (unsigned box = 0; box < 8; ++box) {
            std::vector<Bits> outputs;
            for (unsigned i = 0; i < 16; ++i) {
                const Bits byte = num[4 * i + box / 2].bits();
                outputs.emplace_back(byte.begin() + box % 2 * 4, byte.begin() + box % 2 * 4 + 4);
            }
            const Bits output = circuit::entry(outputs, {in.begin() + 4 * box, in.begin() + 4 * box + 4});
            out.insert(out.end(), output.begin(), output.end());
        }
        return Word32::of(circuit::rotated(out, 11));
    }
};

/** A deployed table with unknown content. */
template <typename Table>
struct UnknownTable {
    Table table{};

    UnknownTable() {
        for (unsigned k = 0; k < 4; ++k)
            for (unsigned x = 0; x < 256; ++x) table.t[k][x] = Word32::unknown();
        table.initialised = 1;
    }
    [[nodiscard]] Word32 f(const Word32& x) const {
        Word32 sum = 0;
        for (unsigned k = 0; k < 4; ++k) sum ^= table.t[k][x >> 8 * k & 255U];
        return sum;
    }
};

struct TwoWords {
    Word32 n1, n2;
};

/** Returns N1 and N2 after a number of rounds, with one key word for each round. */
template <typename Function>
TwoWords rounds_of_standard(TwoWords b, const Word32 (&key)[8], const Function& function, bool decrypting,
                            unsigned rounds = 32) {
    for (unsigned i = 0; i < rounds; ++i) {
        const bool falling = decrypting ? i >= 8 : i >= 24;
        const Word32 x = b.n1;
        b = {b.n2 ^ function.f(x + key[falling ? 7 - i % 8 : i % 8]), x};
    }
    // The last of the 32 rounds does not swap the halves.
    return rounds == 32 ? TwoWords{b.n2, b.n1} : b;
}

struct UnknownKey {
    Word32 word[8];
    UnknownKey() {
        for (auto& w : word) w = Word32::unknown();
    }
};

inline Bit same(const Word32& a, const Word32& b) { return circuit::equal(a.bits(), b.bits()); }
template <unsigned n>
Bit same(const U<n>& a, const U<n>& b) {
    return circuit::equal(a.bits(), b.bits());
}

}  // namespace vrx::prove

#endif
