// Conversion between octets and hexadecimal digits.
#ifndef VRX_TESTS_SUPPORT_HEX_HPP
#define VRX_TESTS_SUPPORT_HEX_HPP

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vrx::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes unhex(std::string_view text) {
    const auto digit = [](char c) -> unsigned {
        if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
        if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
        if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
        throw std::invalid_argument("not a hexadecimal digit");
    };
    if (text.size() % 2 != 0) throw std::invalid_argument("an odd number of hexadecimal digits");
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    return bytes;
}

inline std::string hex(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t b : bytes) {
        text += "0123456789abcdef"[b >> 4];
        text += "0123456789abcdef"[b & 15];
    }
    return text;
}

}  // namespace vrx::test

#endif
