#include "text.hpp"

#include <charconv>

namespace vrx::app {
namespace {

constexpr std::string_view digits = "0123456789abcdef";

}  // namespace

std::optional<unsigned> hex_digit(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
    return std::nullopt;
}

std::string to_hex(std::span<const std::uint8_t> octets) {
    std::string text(2 * octets.size(), '\0');
    to_hex(octets, text);
    return text;
}

void to_hex(std::span<const std::uint8_t> octets, std::span<char> text) {
    for (std::size_t i = 0; i < octets.size(); ++i) {
        text[2 * i] = digits[octets[i] >> 4];
        text[2 * i + 1] = digits[octets[i] & 15];
    }
}

bool from_hex(std::string_view text, std::span<std::uint8_t> octets) {
    if (text.size() != 2 * octets.size()) return false;
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const auto high = hex_digit(text[2 * i]);
        const auto low = hex_digit(text[2 * i + 1]);
        if (!high || !low) return false;
        octets[i] = static_cast<std::uint8_t>(*high << 4 | *low);
    }
    return true;
}

std::optional<std::uint64_t> to_number(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string_view without_line_end(std::string_view text) {
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
        if (text.ends_with('\r')) text.remove_suffix(1);
    }
    return text;
}

std::string in_quotes(std::string_view name) {
    std::string text = "'";
    for (const char c : name) {
        const auto octet = static_cast<std::uint8_t>(c);
        if (c == '\n')
            text += "\\n";
        else if (octet < 0x20 || octet == 0x7f)
            text += "\\x" + to_hex({&octet, 1});
        else
            text += c;
    }
    return text + "'";
}

}  // namespace vrx::app
