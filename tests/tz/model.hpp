// Slow reference implementation of the substitution: eight S-boxes, each on its nibble, then a rotation.
#ifndef VRX_TESTS_TZ_MODEL_HPP
#define VRX_TESTS_TZ_MODEL_HPP

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "vrx/tz.h"

namespace vrx::test {

/** boxes[r][i] is the output of S-box r for the input i. S-box r substitutes bits 4r to 4r + 3. */
using Boxes = std::array<std::array<unsigned, 16>, 8>;

inline Boxes boxes_of(std::span<const std::uint8_t, VRX_NUM_TZ_SIZE> num) {
    Boxes boxes{};
    for (unsigned i = 0; i < 16; ++i)
        for (unsigned r = 0; r < 8; ++r) {
            const unsigned byte = num[4 * i + r / 2];
            boxes.at(r).at(i) = r % 2 == 0 ? byte % 16 : byte / 16;
        }
    return boxes;
}

/** Substitutes the nibbles of v from `first` to `last`, sets the other nibbles to 0, and rotates left by 11 bits. */
inline std::uint32_t substituted(const Boxes& boxes, std::uint32_t v, unsigned first = 0, unsigned last = 7) {
    std::uint64_t sum = 0;
    std::uint64_t place = 1;
    for (unsigned r = 0; r < 8; ++r, place *= 16)
        if (r >= first && r <= last) sum += place * boxes.at(r).at(v / place % 16);
    for (unsigned bit = 0; bit < 11; ++bit) sum = 2 * sum % (std::uint64_t{1} << 32) + sum / (std::uint64_t{1} << 31);
    return static_cast<std::uint32_t>(sum);
}

/** The deployed record of eight boxes. */
inline vrx_tz deployed(const Boxes& boxes) {
    vrx_tz table{};
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned x = 0; x < 256; ++x) table.t[k][x] = substituted(boxes, x << (8 * k), 2 * k, 2 * k + 1);
    table.initialised = 1;
    return table;
}

using Numeric = std::array<std::uint8_t, VRX_NUM_TZ_SIZE>;

/** Returns the value of a character: the value of a decimal digit; for any other character, its code minus 55. */
inline int value_of(unsigned code) {
    const int c = static_cast<int>(code);
    return code >= '0' && code <= '9' ? c - '0' : c - 55;
}

/** If both numbers are nibbles, returns first + 16 second. Otherwise, returns the low 8 bits of first | 16 second. */
inline std::uint8_t byte_of(unsigned first, unsigned second) {
    return static_cast<std::uint8_t>(value_of(second) * 16 | value_of(first));
}

/** The numeric form of a text of 128 characters. */
inline Numeric modelled(const std::string& text) {
    Numeric num{};
    for (std::size_t k = 0; k < num.size(); ++k)
        num.at(k) = byte_of(static_cast<std::uint8_t>(text.at(2 * k)), static_cast<std::uint8_t>(text.at(2 * k + 1)));
    return num;
}

}  // namespace vrx::test

#endif
