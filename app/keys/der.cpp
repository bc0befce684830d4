#include "keys/der.hpp"

#include <algorithm>

namespace vrx::app::der {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view begin = "-----BEGIN ";
constexpr std::string_view end = "-----END ";
constexpr std::string_view dashes = "-----";
constexpr std::size_t pem_width = 64;
constexpr std::size_t longest_label = 64;  // twice the longest label in RFC 7468

void append_text(SecretBytes& out, std::string_view text) {
    for (const char c : text) out.push_back(static_cast<std::uint8_t>(c));
}

/** The 6 bits of a base64 character. Uses comparisons instead of a table, so that no address depends on a key. */
std::optional<std::uint32_t> sextet(std::uint8_t c) {
    const auto between = [c](char from, char to) { return c >= from && c <= to; };
    if (between('A', 'Z')) return c - std::uint32_t{'A'};
    if (between('a', 'z')) return c - std::uint32_t{'a'} + 26;
    if (between('0', '9')) return c - std::uint32_t{'0'} + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return std::nullopt;
}

bool is_blank(std::uint8_t c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/** Remove the first line from a text and return it without its newline and trailing blanks. */
std::string_view next_line(std::string_view& text) {
    const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    std::string_view line = text.substr(0, size);
    text.remove_prefix(size);
    while (!line.empty() && is_blank(static_cast<std::uint8_t>(line.back()))) line.remove_suffix(1);
    return line;
}

}  // namespace

void append(SecretBytes& out, std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts) {
    std::size_t size = 0;
    for (const auto part : parts) size += part.size();
    out.push_back(tag);
    out.push_back(static_cast<std::uint8_t>(size));
    for (const auto part : parts)
        for (const std::uint8_t octet : part) out.push_back(octet);
}

bool decode_base64(SecretBytes& text) {
    const std::span<std::uint8_t> bytes = text.bytes();
    std::size_t written = 0;
    std::size_t padding = 0;
    std::size_t characters = 0;
    std::uint32_t group = 0;
    for (const std::uint8_t c : bytes) {
        if (is_blank(c)) continue;
        const bool pad = c == '=';
        const auto bits = pad ? std::optional<std::uint32_t>(0) : sextet(c);
        if (!bits || (padding > 0 && !pad) || padding == 2) return false;
        padding += pad ? 1 : 0;
        group = group << 6 | *bits;
        if (++characters % 4 != 0) continue;
        // The unused bits must be zero; otherwise two texts would encode the same octets.
        if (padding > 0 && (group & ((1U << 8 * padding) - 1)) != 0) return false;
        for (std::size_t i = 0; i < 3 - padding; ++i)
            bytes[written++] = static_cast<std::uint8_t>(group >> (16 - 8 * i));
        group = 0;
        if (padding > 0) padding = 2;
    }
    text.truncate(written);
    return characters % 4 == 0;
}

void append_base64(SecretBytes& out, std::span<const std::uint8_t> octets, std::size_t width) {
    std::size_t column = 0;
    for (std::size_t i = 0; i < octets.size(); i += 3) {
        std::uint32_t group = 0;
        const std::size_t count = std::min<std::size_t>(3, octets.size() - i);
        for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? octets[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            out.push_back(k <= count ? static_cast<std::uint8_t>(alphabet[group >> (18 - 6 * k) & 63]) : '=');
        column += 4;
        if (column % width == 0) out.push_back('\n');
    }
    if (column % width != 0) out.push_back('\n');
}

std::optional<std::string> decode_pem(SecretBytes& text) {
    std::optional<std::string> label;
    std::string last_line;
    bool inside = false;
    std::size_t size = 0;
    for (std::string_view rest = text.text(); !rest.empty();) {
        const std::string_view line = next_line(rest);
        if (line.size() >= begin.size() + dashes.size() && line.starts_with(begin) && line.ends_with(dashes)) {
            if (label) return std::nullopt;
            label = line.substr(begin.size(), line.size() - begin.size() - dashes.size());
            if (label->size() > longest_label) return std::nullopt;
            last_line = std::string(end) + *label + std::string(dashes);
            inside = true;
        } else if (inside && line == last_line) {
            inside = false;
        } else if (inside) {
            // This copies towards the front of the same buffer.
            std::ranges::copy(line, text.bytes().begin() + static_cast<std::ptrdiff_t>(size));
            size += line.size();
        }
    }
    text.truncate(size);
    if (!label || inside || !decode_base64(text)) return std::nullopt;
    return label;
}

void append_pem(SecretBytes& out, std::string_view label, std::span<const std::uint8_t> octets) {
    const std::string rest = std::string(label) + std::string(dashes) + "\n";
    append_text(out, std::string(begin) + rest);
    append_base64(out, octets, pem_width);
    append_text(out, std::string(end) + rest);
}

}  // namespace vrx::app::der
