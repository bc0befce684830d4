#include "keys/der.hpp"

#include <algorithm>

#include "io/declassify.hpp"

namespace vrx::app::der {
namespace {

constexpr std::string_view begin = "-----BEGIN ";
constexpr std::string_view end = "-----END ";
constexpr std::string_view dashes = "-----";
constexpr std::size_t pem_width = 64;
constexpr std::size_t longest_label = 64;  // twice the longest label in RFC 7468

void append_text(SecretBytes& out, std::string_view text) {
    for (const char c : text) out.push_back(static_cast<std::uint8_t>(c));
}

/** All ones if first <= value <= last, otherwise zero; branchless. All arguments are below 2^31. */
constexpr std::uint32_t mask_between(std::uint32_t value, std::uint32_t first, std::uint32_t last) {
    return (((value - first) | (last - value)) >> 31) - 1;
}

constexpr std::uint32_t no_sextet = 0x100;

/** The 6 bits of a base64 character; no_sextet for any other. Neither branches nor addresses depend on it. */
constexpr std::uint32_t sextet(std::uint32_t c) {
    const std::uint32_t upper = mask_between(c, 'A', 'Z');
    const std::uint32_t lower = mask_between(c, 'a', 'z');
    const std::uint32_t digit = mask_between(c, '0', '9');
    const std::uint32_t plus = mask_between(c, '+', '+');
    const std::uint32_t slash = mask_between(c, '/', '/');
    return (upper & (c - 'A')) | (lower & (c - 'a' + 26)) | (digit & (c - '0' + 52)) | (plus & 62) | (slash & 63) |
           (~(upper | lower | digit | plus | slash) & no_sextet);
}

/** The base64 character of 6 bits. */
constexpr std::uint8_t character(std::uint32_t bits) {
    return static_cast<std::uint8_t>((mask_between(bits, 0, 25) & (bits + 'A')) |
                                     (mask_between(bits, 26, 51) & (bits - 26 + 'a')) |
                                     (mask_between(bits, 52, 61) & (bits - 52 + '0')) |
                                     (mask_between(bits, 62, 62) & '+') | (mask_between(bits, 63, 63) & '/'));
}

/** True if a character is blank. Blanks are public. */
bool is_blank(std::uint32_t c) {
    return declassify(((mask_between(c, ' ', ' ') | mask_between(c, '\t', '\n') | mask_between(c, '\r', '\r')) & 1) !=
                      0);
}

/** Remove the first line from a text and return it without its newline and trailing blanks. Line breaks are public. */
std::string_view next_line(std::string_view& text) {
    std::size_t size = 0;
    while (size < text.size() && !declassify(text[size] == '\n')) ++size;
    std::string_view line = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    while (!line.empty() && is_blank(static_cast<std::uint8_t>(line.back()))) line.remove_suffix(1);
    return line;
}

/** True if a line may be the first or last line of a PEM block. A line of base64 never is. */
bool has_dashes(std::string_view line) { return !line.empty() && declassify(line.front() == dashes.front()); }

}  // namespace

void append(SecretBytes& out, std::uint8_t tag, std::initializer_list<std::span<const std::uint8_t>> parts) {
    std::size_t size = 0;
    for (const auto part : parts) size += part.size();
    out.push_back(tag);
    if (size >= 0x100) {
        out.push_back(0x82);
        out.push_back(static_cast<std::uint8_t>(size >> 8));
    } else if (size >= 0x80) {
        out.push_back(0x81);
    }
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
        const bool pad = declassify(c == '=');
        const std::uint32_t bits = pad ? 0 : sextet(c);
        if (declassify(bits == no_sextet) || (padding > 0 && !pad) || padding == 2) return false;
        padding += pad ? 1 : 0;
        group = group << 6 | bits;
        if (++characters % 4 != 0) continue;
        // The unused bits must be zero; otherwise two texts would encode the same octets.
        if (padding > 0 && declassify((group & ((1U << 8 * padding) - 1)) != 0)) return false;
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
            out.push_back(k <= count ? character(group >> (18 - 6 * k) & 63) : std::uint8_t{'='});
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
        const bool dashed = has_dashes(line);
        if (dashed && line.size() >= begin.size() + dashes.size() && line.starts_with(begin) &&
            line.ends_with(dashes)) {
            if (label) return std::nullopt;
            label = line.substr(begin.size(), line.size() - begin.size() - dashes.size());
            if (label->size() > longest_label) return std::nullopt;
            last_line = std::string(end) + *label + std::string(dashes);
            inside = true;
        } else if (inside && dashed && line == last_line) {
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
