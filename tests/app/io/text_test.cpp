// Tests of hexadecimal digits, UTF-8, and the escapes of names, over all characters.
#include "io/text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace vrx::app;

std::string utf8(char32_t character) {
    std::string text;
    append_utf8(text, character);
    return text;
}

TEST(Hex, digits_of_both_cases_and_nothing_else_are_read) {
    const std::string digits = "0123456789abcdefABCDEF";
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const std::size_t at = digits.find(c);
        const bool valid = at != std::string::npos;
        const auto value = static_cast<unsigned>(at < 16 ? at : at - 6);
        EXPECT_EQ(hex_digit(c), valid ? std::optional(value) : std::nullopt) << code;
        EXPECT_EQ(is_hex(std::string{'0', c, '1'}), valid) << code;
        for (const std::string& text : {std::string{'1', c, '2', '3'}, std::string{'1', '2', c, '3'}}) {
            std::array<std::uint8_t, 2> octets{};
            EXPECT_EQ(from_hex(text, octets), valid) << code;
            const unsigned expected = text[1] == c && text[2] == '2' ? 0x1023 + (value << 8) : 0x1203 + (value << 4);
            if (valid) {
                EXPECT_EQ(octets[0] << 8 | octets[1], expected) << code;
            }
        }
    }
    std::array<std::uint8_t, 2> octets{};
    for (const char* const other : {"", "123", "12345", "123456"}) EXPECT_FALSE(from_hex(other, octets)) << other;
    EXPECT_TRUE(is_hex(""));
}

TEST(Hex, octets_and_numbers_are_written_in_lower_case) {
    const std::vector<std::uint8_t> octets{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    EXPECT_EQ(to_hex(octets), "0123456789abcdef");
    EXPECT_EQ(to_hex(std::span<const std::uint8_t>()), "");
    EXPECT_EQ(to_hex(0U), "00");
    EXPECT_EQ(to_hex(0xAU), "0a");
    EXPECT_EQ(to_hex(0x10U), "10");
    EXPECT_EQ(to_hex(0x123U), "123");
    EXPECT_EQ(to_hex(0xFFFFFFFFU), "ffffffff");
}

TEST(Number, consists_of_digits_and_fits) {
    EXPECT_EQ(to_number("0"), 0U);
    EXPECT_EQ(to_number("007"), 7U);
    EXPECT_EQ(to_number("18446744073709551615"), UINT64_MAX);
    for (const char* const bad : {"", "18446744073709551616", "-1", "+1", " 1", "1 ", "1x", "0x1"})
        EXPECT_FALSE(to_number(bad)) << bad;
}

TEST(Line, loses_one_newline) {
    EXPECT_EQ(without_line_end("a\n"), "a");
    EXPECT_EQ(without_line_end("a\r\n"), "a");
    EXPECT_EQ(without_line_end("a\n\n"), "a\n");
    EXPECT_EQ(without_line_end("a\r"), "a\r");
    EXPECT_EQ(without_line_end("\n"), "");
    EXPECT_EQ(without_line_end(""), "");
    EXPECT_EQ(without_line_end("a"), "a");
}

TEST(Utf8, every_character_is_written_and_read) {
    std::u32string wrong;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        const std::string text = utf8(c);
        std::string_view rest = text;
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        if (text.size() != (c < 0x80      ? 1U
                            : c < 0x800   ? 2U
                            : c < 0x10000 ? 3U
                                          : 4U) ||
            take_utf8(rest) != (surrogate ? std::nullopt : std::optional(c)) ||
            rest.size() != (surrogate ? text.size() : 0))
            wrong += c;
    }
    EXPECT_EQ(wrong, U"");
    EXPECT_EQ(utf8(0x7FF), "\xDF\xBF");
    EXPECT_EQ(utf8(0x800), "\xE0\xA0\x80");
    EXPECT_EQ(utf8(0xFFFF), "\xEF\xBF\xBF");
    EXPECT_EQ(utf8(0x10000), "\xF0\x90\x80\x80");
}

TEST(Utf8, other_octets_are_not_read) {
    for (const char* const bad : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xC2\xC0",
                                  "\xE0\x9F\xBF", "\xE1\x80", "\xE1\x80\x41", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                                  "\xF0\x90\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"}) {
        std::string_view text = bad;
        EXPECT_FALSE(take_utf8(text));
        EXPECT_EQ(text, bad) << "unchanged";
    }
    std::string_view two = "\xC3\xA9x";
    EXPECT_EQ(take_utf8(two), U'é');
    EXPECT_EQ(two, "x");
    EXPECT_EQ(from_utf8("a\xC3\xA9\xFF\xE2\x82\xAC\xC3"), (std::u32string{'a', 0xE9, 0xFF, 0x20AC, 0xC3}));
    EXPECT_EQ(from_utf8(""), U"");
}

TEST(Names, deceptive_characters_are_escaped_and_no_others) {
    // First and last character of each range.
    constexpr char32_t ranges[][2] = {{0, 0x1F},         {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},
                                      {0x61C, 0x61C},    {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
                                      {0x200B, 0x200F},  {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
                                      {0xD800, 0xDFFF},  {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
                                      {0xFFF0, 0xFFFB},  {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
                                      {0xE0000, 0xE0FFF}};
    std::size_t range = 0;
    std::u32string wrong;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        while (range < std::size(ranges) && c > ranges[range][1]) ++range;
        const bool deceptive = range < std::size(ranges) && c >= ranges[range][0];
        if (is_deceptive(c) != deceptive) wrong += c;
    }
    EXPECT_EQ(wrong, U"");
    const auto visible = [](std::string_view text) {
        std::string out = ">";
        append_visible(out, text);
        return out + "<" + std::string(text);
    };
    EXPECT_EQ(visible("ab"), ">a<b");
    EXPECT_EQ(visible("\xC2\xACx"), ">\xC2\xAC<x");
    EXPECT_EQ(visible("\xC2\xADx"), ">\\xc2\\xad<x");
    EXPECT_EQ(visible("\x1Bx"), ">\\x1b<x");
    EXPECT_EQ(visible("\x9Bx"), ">\\x9b<x") << "not UTF-8, but a control character of some terminals";
    EXPECT_EQ(visible("\xFFx"), ">\xFF<x");
}

TEST(Names, quotation_marks_newlines_and_backslashes_are_escaped) {
    EXPECT_EQ(in_quotes(""), "''");
    EXPECT_EQ(in_quotes("name"), "'name'");
    EXPECT_EQ(in_quotes("a'b\\c\nd\te"), "'a\\'b\\\\c\\nd\\x09e'");
}

}  // namespace
