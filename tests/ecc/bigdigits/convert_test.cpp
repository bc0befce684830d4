// Tests of conversion from and to octets and text, and of printing.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "digits.hpp"
#include "support/child_process.hpp"
#include "vrx/bigdigits.h"

#if defined(__SANITIZE_ADDRESS__)
#define VRX_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VRX_TEST_ASAN 1
#endif
#endif

#ifdef VRX_TEST_ASAN
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=64"; }
#endif

namespace vrx::test {
namespace {

// ---- octets

TEST(Octets, every_buffer_size_around_the_needed_one) {
    Numbers numbers;
    for (std::size_t n = 1; n <= 9; ++n)
        for (std::uint32_t size = 0; size <= 4 * n + 9; ++size) {
            const DigitVector a = numbers(n);
            Bytes buffer(size + 2, 0xee);
            EXPECT_EQ(mpConvToOctets(a.data(), n, buffer.data() + 1, size), (Slow(a).bits() + 7) / 8);
            EXPECT_EQ(buffer.front(), 0xee);
            EXPECT_EQ(buffer.back(), 0xee);
            Slow value;
            for (std::uint32_t i = 1; i <= size; ++i) value = value * Slow(256) + Slow(buffer[i]);
            EXPECT_EQ(value, Slow(a) % Slow::power_of_2(8 * size)) << show(a) << " in " << size;

            const Bytes octets = numbers.random().bytes(size);
            Slow number;
            for (const std::uint8_t octet : octets) number = number * Slow(256) + Slow(octet);
            Guarded d(n);
            EXPECT_EQ(mpConvFromOctets(d, n, octets.data(), size), std::min<std::size_t>((size + 3) / 4, n));
            EXPECT_EQ(d.value(), number.digits(n)) << size;
        }
}

TEST(Octets, three_bytes_in_eight_in_two_and_in_none) {
    const Digit a[2] = {0x00abcdef, 0};
    Bytes eight(8, 0xee), two(2, 0xee);
    EXPECT_EQ(mpConvToOctets(a, 2, eight.data(), 8), 3U);
    EXPECT_EQ(eight, (Bytes{0, 0, 0, 0, 0, 0xab, 0xcd, 0xef}));
    EXPECT_EQ(mpConvToOctets(a, 2, two.data(), 2), 3U);
    EXPECT_EQ(two, (Bytes{0xcd, 0xef}));
    EXPECT_EQ(mpConvToOctets(a, 2, nullptr, 0), 3U);
}

TEST(Octets, nine_bytes_into_two_digits_keep_the_eight_low_ones) {
    const Bytes c = {9, 1, 2, 3, 4, 5, 6, 7, 8};
    Guarded a(2);
    EXPECT_EQ(mpConvFromOctets(a, 2, c.data(), 9), 2U);
    EXPECT_EQ(a.value(), (DigitVector{0x05060708, 0x01020304}));
}

TEST(Octets, a_byte_count_from_2_to_the_31_on_is_negative) {
    for (const std::uint32_t nbytes : {0x80000000U, 0x80000004U, 0xffffffffU}) {
        Guarded a(DigitVector{0x123456, 7});
        EXPECT_EQ(mpConvToOctets(a, 2, nullptr, nbytes), 5U);
        EXPECT_EQ(mpConvFromOctets(a, 2, nullptr, nbytes), 0U);
        EXPECT_EQ(a.value(), DigitVector(2));
    }
}

TEST(Octets, no_bytes_and_no_digits) {
    Guarded a(DigitVector{1, 2, 3});
    EXPECT_EQ(mpConvFromOctets(a, 3, nullptr, 0), 0U);
    EXPECT_EQ(a.value(), DigitVector(3));
    Guarded untouched(DigitVector{1});
    const Bytes c = {1, 2, 3};
    EXPECT_EQ(mpConvFromOctets(untouched, 0, c.data(), 3), 0U);
    EXPECT_EQ(untouched.value(), DigitVector{1});
    Bytes out(3, 0xee);
    EXPECT_EQ(mpConvToOctets(untouched, 0, out.data(), 3), 0U);
    EXPECT_EQ(out, Bytes(3, 0));
}

// ---- text to numbers

std::size_t rounded_up(std::size_t length, std::size_t per_100000) { return (length * per_100000 + 99999) / 100000; }

void expect_from_text(const std::string& text, unsigned base, const Slow& number, std::size_t n) {
    const std::size_t bytes = base == 16 ? (text.size() + 1) / 2 : rounded_up(text.size(), 41524);
    Guarded a(n);
    const std::uint64_t count = base == 16 ? mpConvFromHex(a, n, text.c_str()) : mpConvFromDecimal(a, n, text.c_str());
    EXPECT_EQ(count, std::min((bytes + 3) / 4, n)) << text;
    EXPECT_EQ(a.value(), (number % Slow::power_of_2(8 * bytes)).digits(n)) << text << ", " << n << " digits";
}

Slow from_text(const std::string& text, unsigned base) {
    Slow x;
    for (const char c : text)
        x = x * Slow(base) + Slow(static_cast<std::uint64_t>(c <= '9' ? c - '0' : (c | 32) - 'a' + 10));
    return x;
}

TEST(FromText, numbers_of_every_length_into_every_count) {
    Numbers numbers;
    for (std::size_t length = 1; length <= 100; ++length) {
        std::string hex, decimal;
        for (std::size_t i = 0; i < length; ++i) {
            hex += "0123456789abcdefABCDEF"[numbers.random().below(22)];
            decimal += "0123456789"[numbers.random().below(10)];
        }
        for (const std::size_t n : Counts{1, 2, 3, 9, 12, 13, 33}) {
            expect_from_text(hex, 16, from_text(hex, 16), n);
            expect_from_text(decimal, 10, from_text(decimal, 10), n);
            expect_from_text(std::string(length, 'f'), 16, from_text(std::string(length, 'f'), 16), n);
            expect_from_text(std::string(length, '9'), 10, from_text(std::string(length, '9'), 10), n);
        }
    }
}

TEST(FromText, skipped_characters_count_into_the_return_value) {
    Digit a[4];
    EXPECT_EQ(mpConvFromHex(a, 4, "0x1F"), 1U);
    EXPECT_EQ(a[0], 31U);
    EXPECT_EQ(mpConvFromHex(a, 4, "  12 : 34 -- zz"), 2U);  // 15 characters, 8 bytes
    EXPECT_EQ(a[0], 0x1234U);
    EXPECT_EQ(mpConvFromHex(a, 4, "        -"), 2U);
    EXPECT_EQ(mpIsZero(a, 4), 1);
    EXPECT_EQ(mpConvFromDecimal(a, 4, "1 000 000 000"), 2U);  // 13 characters, 6 bytes
    EXPECT_EQ(a[0], 1000000000U);
    EXPECT_EQ(mpConvFromDecimal(a, 4, "-42f"), 1U);
    EXPECT_EQ(a[0], 42U);
}

TEST(FromText, other_characters_are_skipped) {
    for (int c = 1; c < 256; ++c) {
        const std::string text = {'1', static_cast<char>(c), '2'};
        const bool decimal = c >= '0' && c <= '9';
        const bool hex = decimal || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        Digit a[2];
        mpConvFromHex(a, 2, text.c_str());
        const auto value = static_cast<Digit>(decimal ? c - '0' : (c | 32) - 'a' + 10);
        EXPECT_EQ(a[0], hex ? 0x102 + 16 * value : 0x12U) << c;
        mpConvFromDecimal(a, 2, text.c_str());
        EXPECT_EQ(a[0], decimal ? 102 + 10 * value : 12U) << c;
    }
}

TEST(FromText, the_empty_text_is_0_and_returns_0) {
    Guarded a(3), b(3);
    EXPECT_EQ(mpConvFromHex(a, 3, ""), 0U);
    EXPECT_EQ(mpConvFromDecimal(b, 3, ""), 0U);
    EXPECT_EQ(a.value(), DigitVector(3));
    EXPECT_EQ(b.value(), DigitVector(3));
}

TEST(FromText, no_digits_return_0) {
    Guarded a(DigitVector{5});
    EXPECT_EQ(mpConvFromHex(a, 0, "1234"), 0U);
    EXPECT_EQ(mpConvFromDecimal(a, 0, "1234"), 0U);
    EXPECT_EQ(a.value(), DigitVector{5});
}

TEST(FromText, a_carry_out_of_the_estimated_bytes_is_lost) {
    // The loop finds lengths for which a number of nines needs one byte more than 0.41524 bytes per character. It finds
    // one length for each number of bytes in the top digit, one to four.
    std::set<std::size_t> filled;
    for (std::size_t length = 1; filled.size() < 4; ++length) {
        const std::size_t bytes = rounded_up(length, 41524);
        if (static_cast<double>(bytes) >= static_cast<double>(length) * 0.4152410118609203) continue;
        if (!filled.insert(bytes % 4).second) continue;
        const std::string nines(length, '9');
        const Slow number = from_text(nines, 10);
        ASSERT_EQ((number.bits() + 7) / 8, bytes + 1);
        expect_from_text(nines, 10, number, bytes / 4 + 2);
        expect_from_text(nines, 10, number, bytes / 4);
    }
}

// ---- numbers to text

/** The expected buffer: leading characters, NUL, fill, and a NUL at the end. */
std::string filled(const std::string& text, std::size_t smax) {
    std::string s(smax, '0');
    const std::size_t kept = std::min(text.size(), smax - 1);
    text.copy(s.data(), kept);
    s[kept] = '\0';
    s.back() = '\0';
    return s;
}

TEST(ToText, every_capacity_around_the_needed_one_is_written_whole) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 3, 9})
        for (int i = 0; i < 20; ++i) {
            const DigitVector a = i == 0 ? DigitVector(n) : numbers(n);
            for (const unsigned base : {10U, 16U}) {
                const std::string text = Slow(a).text(base);
                for (std::size_t smax = 1; smax <= text.size() + 12; ++smax) {
                    std::string s(smax + 2, '#');
                    const std::uint64_t length = base == 10 ? mpConvToDecimal(a.data(), n, s.data() + 1, smax)
                                                            : mpConvToHex(a.data(), n, s.data() + 1, smax);
                    EXPECT_EQ(length, text.size());
                    EXPECT_EQ(s.front(), '#');
                    EXPECT_EQ(s.back(), '#');
                    EXPECT_EQ(s.substr(1, smax), filled(text, smax)) << text << " in " << smax;
                }
            }
        }
}

TEST(ToText, of_numbers_of_all_counts_and_back) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 3, 4, 5, 8, 9, 12, 17, 33, 64, 128, 255, 256, 257, 300, 513})
        for (int i = 0; i < (n < 64 ? 20 : 4); ++i) {
            const DigitVector a = i == 0 ? DigitVector(n, 0xffffffff) : numbers(n);
            std::string s(10 * n + 10, '#');
            Guarded back(n);
            const std::string decimal = Slow(a).text(10), hex = Slow(a).text(16);
            EXPECT_EQ(mpConvToDecimal(a.data(), n, s.data(), s.size()), decimal.size());
            EXPECT_EQ(s, filled(decimal, s.size()));
            mpConvFromDecimal(back, n, s.c_str());
            EXPECT_EQ(back.value(), a);
            EXPECT_EQ(mpConvToHex(a.data(), n, s.data(), s.size()), hex.size());
            EXPECT_EQ(s, filled(hex, s.size()));
            mpConvFromHex(back, n, s.c_str());
            EXPECT_EQ(back.value(), a);
        }
}

TEST(ToText, powers_of_ten_and_their_neighbours) {
    Slow x(1);
    for (int exponent = 0; exponent < 80; ++exponent, x = x * Slow(10))
        for (const Slow& y : {x - Slow(1), x, x + Slow(1)}) {
            std::string s(100, '#');
            EXPECT_EQ(mpConvToDecimal(y.digits(9).data(), 9, s.data(), s.size()), y.text(10).size());
            EXPECT_STREQ(s.c_str(), y.text(10).c_str());
        }
}

TEST(ToText, without_a_buffer_or_a_capacity_only_counts) {
    const Digit a[2] = {0x1234, 0}, zero[2] = {0, 0};
    char s[2] = {'#', '#'};
    EXPECT_EQ(mpConvToHex(a, 2, nullptr, 100), 4U);
    EXPECT_EQ(mpConvToDecimal(a, 2, nullptr, 100), 4U);
    EXPECT_EQ(mpConvToHex(zero, 2, nullptr, 100), 1U);
    EXPECT_EQ(mpConvToDecimal(zero, 2, nullptr, 0), 1U);
    EXPECT_EQ(mpConvToHex(a, 2, s, 0), 4U);
    EXPECT_EQ(mpConvToDecimal(a, 2, s, 0), 4U);
    EXPECT_EQ(mpConvToDecimal(zero, 2, s, 0), 1U);
    EXPECT_EQ(s[0], '#');
}

TEST(ToText, truncation_keeps_leading_digits_and_returns_the_length) {
    const Digit a = 0x1234;
    char s[3];
    EXPECT_EQ(mpConvToHex(&a, 1, s, 3), 4U);
    EXPECT_STREQ(s, "12");
    EXPECT_EQ(mpConvToDecimal(&a, 1, s, 3), 4U);
    EXPECT_STREQ(s, "46");
    const Digit thousand = 1000;
    char t[8];
    EXPECT_EQ(mpConvToDecimal(&thousand, 1, t, 8), 4U);
    EXPECT_STREQ(t, "1000");
}

TEST(ToText, zero_writes_its_nul_only_within_the_capacity) {
    const Digit zero = 0;
    char s[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(mpConvToHex(&zero, 1, s, 1), 1U);
    EXPECT_EQ(std::string(s, 4), std::string("\0###", 4));
    EXPECT_EQ(mpConvToDecimal(&zero, 1, s, 2), 1U);
    EXPECT_EQ(std::string(s, 4), std::string("0\0##", 4));
    EXPECT_EQ(mpConvToDecimal(&zero, 0, s, 3), 1U);
    EXPECT_EQ(std::string(s, 4), std::string("0\0\0#", 4));
    EXPECT_EQ(mpConvToHex(&zero, 0, s, 3), 1U);
    EXPECT_EQ(std::string(s, 4), std::string("0\0\0#", 4));
}

TEST(ToText, ends_the_process_when_memory_runs_out) {
    const ChildRun run = run_in_child([] {
        std::vector<Digit> huge(std::size_t{1} << 24, 1);
#ifndef VRX_TEST_ASAN
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_AS, &none);
#endif
        mpConvToDecimal(huge.data(), huge.size(), nullptr, 0);
    });
    EXPECT_TRUE(WIFEXITED(run.status));
    EXPECT_EQ(WEXITSTATUS(run.status), 1);
    const std::string message =
        std::string("conv_to_base: Not enough memory: src/ecc/bigdigits: ") + std::strerror(ENOMEM) + "\n";
    EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
}

// ---- printing

std::string printed(void (*print)(const Digit*, std::uint64_t), const DigitVector& a) {
    return run_in_child([&] { print(a.data(), a.size()); }).out;
}

TEST(Print, most_significant_digit_first_each_with_a_blank) {
    EXPECT_EQ(printed(mpPrint, {0xabc, 0, 0x12345678}), "12345678 00000000 00000abc ");
    EXPECT_EQ(printed(mpPrint, {0, 0}), "00000000 00000000 ");
    EXPECT_EQ(printed(mpPrint, {}), "");
}

TEST(Print, lines_have_eight_digits) {
    const std::string digit = "00000007 ";
    std::string eight;
    for (int i = 0; i < 8; ++i) eight += digit;
    EXPECT_EQ(printed(mpPrintNL, {}), "\n");
    EXPECT_EQ(printed(mpPrintNL, {7}), digit + "\n");
    EXPECT_EQ(printed(mpPrintNL, DigitVector(8, 7)), eight + "\n");
    EXPECT_EQ(printed(mpPrintNL, DigitVector(9, 7)), eight + "\n" + digit + "\n");
    EXPECT_EQ(printed(mpPrintNL, DigitVector(16, 7)), eight + "\n" + eight + "\n");
    EXPECT_EQ(printed(mpPrintNL, DigitVector(17, 7)), eight + "\n" + eight + "\n" + digit + "\n");
}

TEST(Print, trimming_drops_leading_zero_digits_but_the_last) {
    EXPECT_EQ(printed(mpPrintTrim, {1, 0xff, 0, 0}), "000000ff 00000001 ");
    EXPECT_EQ(printed(mpPrintTrim, {0, 0, 0}), "00000000 ");
    EXPECT_EQ(printed(mpPrintTrimNL, {0, 0, 0}), "00000000 \n");
    EXPECT_EQ(printed(mpPrintTrimNL, {1, 2, 0, 0, 0, 0, 0, 0, 0}), "00000002 00000001 \n");
    DigitVector nine(12);
    nine[8] = 1;
    EXPECT_EQ(printed(mpPrintTrimNL, nine),
              "00000001 00000000 00000000 00000000 00000000 00000000 00000000 00000000 \n00000000 \n");
}

TEST(Print, goes_through_the_c_librarys_standard_output) {
    // Output that the program wrote before comes first.
    const ChildRun run = run_in_child([] {
        const Digit a = 1;
        std::printf("before ");
        mpPrint(&a, 1);
        std::printf("after");
    });
    EXPECT_EQ(run.out, "before 00000001 after");
}

}  // namespace
}  // namespace vrx::test
