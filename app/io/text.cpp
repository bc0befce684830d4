#include "io/text.hpp"

#include <algorithm>
#include <charconv>

#include "io/declassify.hpp"

namespace vrx::app {
namespace {

/** Returns all ones if `first` <= c <= `last`, otherwise zero, without a branch. c is below 256. */
constexpr std::uint32_t mask_between(std::uint32_t c, char first, char last) {
    const std::uint32_t below = c - static_cast<std::uint8_t>(first);
    const std::uint32_t above = static_cast<std::uint8_t>(last) - c;
    return ((below | above) >> 31) - 1;
}

/** Returns the hexadecimal digit of a value below 16. */
constexpr char digit_of(std::uint32_t value) {
    return static_cast<char>('0' + value + ((9 - value) >> 31) * ('a' - '0' - 10));
}

/** Returns the value of a hexadecimal digit; for any other character, a number above 15. */
constexpr std::uint32_t value_of(char character) {
    const std::uint32_t c = static_cast<std::uint8_t>(character);
    const std::uint32_t decimal = mask_between(c, '0', '9');
    const std::uint32_t letter = mask_between(c | 0x20, 'a', 'f');
    return (decimal & (c - '0')) | (letter & ((c | 0x20) - 'a' + 10)) | (~(decimal | letter) & 0x100);
}

}  // namespace

std::optional<unsigned> hex_digit(char c) {
    const unsigned value = value_of(c);
    return value < 16 ? std::optional(value) : std::nullopt;
}

std::string to_hex(std::span<const std::uint8_t> octets) {
    std::string text(2 * octets.size(), '\0');
    to_hex(octets, text);
    return text;
}

std::string to_hex(std::uint32_t number) {
    std::string text;
    do text.insert(text.begin(), digit_of(number & 15));
    while ((number >>= 4) != 0);
    return text.size() < 2 ? "0" + text : text;
}

void to_hex(std::span<const std::uint8_t> octets, std::span<char> text) {
    for (std::size_t i = 0; i < octets.size(); ++i) {
        text[2 * i] = digit_of(octets[i] >> 4);
        text[2 * i + 1] = digit_of(octets[i] & 15);
    }
}

bool is_hex(std::string_view text) {
    std::uint32_t seen = 0;
    for (const char c : text) seen |= value_of(c);
    return declassify(seen < 16);
}

bool from_hex(std::string_view text, std::span<std::uint8_t> octets) {
    if (text.size() != 2 * octets.size()) return false;
    std::uint32_t seen = 0;
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const std::uint32_t high = value_of(text[2 * i]);
        const std::uint32_t low = value_of(text[2 * i + 1]);
        seen |= high | low;
        octets[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return declassify(seen < 16);
}

std::optional<std::uint64_t> to_number(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string_view without_line_end(std::string_view text) {
    const auto ends_with = [&](char c) { return !text.empty() && declassify(text.back() == c); };
    if (ends_with('\n')) {
        text.remove_suffix(1);
        if (ends_with('\r')) text.remove_suffix(1);
    }
    return text;
}

std::optional<char32_t> take_utf8(std::string_view& text) {
    constexpr char32_t smallest[] = {0, 0x80, 0x800, 0x10000};  // rejects overlong forms
    const auto first = static_cast<std::uint8_t>(text.front());
    if ((first >= 0x80 && first < 0xC0) || first >= 0xF8) return std::nullopt;
    const std::size_t more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if (text.size() <= more) return std::nullopt;
    char32_t character = more == 0 ? first : first & (0x3FU >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        const auto next = static_cast<std::uint8_t>(text[i]);
        if (next >> 6 != 2) return std::nullopt;
        character = character << 6 | (next & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < smallest[more] || surrogate || character > 0x10FFFF) return std::nullopt;
    text.remove_prefix(more + 1);
    return character;
}

std::u32string from_utf8(std::string_view text) {
    std::u32string characters;
    while (!text.empty()) {
        const auto octet = static_cast<std::uint8_t>(text.front());
        if (const auto character = take_utf8(text)) {
            characters += *character;
        } else {
            characters += char32_t{octet};
            text.remove_prefix(1);
        }
    }
    return characters;
}

void append_utf8(std::string& text, char32_t character) {
    const auto octet = [&](char32_t value) { text += static_cast<char>(value); };
    const auto follow = [&](unsigned shift) { octet(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) return octet(character);
    if (character < 0x800) {
        octet(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        octet(0xE0 | character >> 12);
        follow(6);
    } else {
        octet(0xF0 | character >> 18);
        follow(12);
        follow(6);
    }
    follow(0);
}

bool is_deceptive(char32_t c) {
    struct Range {
        char32_t first;
        char32_t last;
    };
    constexpr Range ranges[] = {{0, 0x1F},         {0x7F, 0x9F},       {0xAD, 0xAD},       {0x034F, 0x034F},
                                {0x061C, 0x061C},  {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
                                {0x200B, 0x200F},  {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
                                {0xD800, 0xDFFF},  {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
                                {0xFFF0, 0xFFFB},  {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
                                {0xE0000, 0xE0FFF}};
    return std::ranges::any_of(ranges, [c](const Range& r) { return c >= r.first && c <= r.last; });
}

void append_visible(std::string& out, std::string_view& text) {
    const std::string_view before = text;
    const auto character = take_utf8(text);
    if (!character) text.remove_prefix(1);
    const std::string_view taken = before.substr(0, before.size() - text.size());
    const auto first = static_cast<std::uint8_t>(taken.front());
    const bool deceptive = character ? is_deceptive(*character) : is_deceptive(char32_t{first});
    if (!deceptive) {
        out += taken;
        return;
    }
    for (const char c : taken) {
        const auto octet = static_cast<std::uint8_t>(c);
        out.append("\\x").append(to_hex({&octet, 1}));
    }
}

std::string in_quotes(std::string_view name) {
    std::string text = "'";
    while (!name.empty()) {
        const char c = name.front();
        if (c == '\n' || c == '\'' || c == '\\') {
            text.append("\\").append(1, c == '\n' ? 'n' : c);
            name.remove_prefix(1);
        } else {
            append_visible(text, name);
        }
    }
    return text + "'";
}

}  // namespace vrx::app
