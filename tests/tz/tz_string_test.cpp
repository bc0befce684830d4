// TZ strings: 128 characters, the low nibble of each byte first.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "model.hpp"
#include "support/random.hpp"
#include "vrx/tz.h"

namespace {

using vrx::test::Bytes;
using vrx::test::Random;

using vrx::test::modelled;
using vrx::test::Numeric;

std::string random_digits(Random& random) {
    std::string text;
    while (text.size() < VRX_TZ_STRING_SIZE) text += "0123456789ABCDEF"[random.below(16)];
    return text;
}

Numeric converted(const std::string& text) {
    Numeric num{};
    EXPECT_EQ(vrx_crpt_TZ_str_to_num(text.c_str(), num.data()), VRX_OK);
    return num;
}

TEST(tz_string, first_character_of_a_pair_is_the_low_nibble) {
    std::string text(VRX_TZ_STRING_SIZE, '0');
    text.replace(0, 8, "1001AFFA");
    const Numeric num = converted(text);
    EXPECT_EQ(num[0], 0x01);
    EXPECT_EQ(num[1], 0x10);
    EXPECT_EQ(num[2], 0xFA);
    EXPECT_EQ(num[3], 0xAF);
    EXPECT_EQ(num[4], 0x00);
}

TEST(tz_string, every_pair_of_hexadecimal_digits_gives_its_byte) {
    const std::string digits = "0123456789ABCDEF";
    for (std::size_t low = 0; low < 16; ++low)
        for (std::size_t high = 0; high < 16; ++high) {
            std::string text;
            while (text.size() < VRX_TZ_STRING_SIZE) text += {digits[low], digits[high]};
            for (const std::uint8_t b : converted(text)) ASSERT_EQ(b, 16 * high + low);
        }
}

TEST(tz_string, every_character_counts_as_stated_in_every_position) {
    Random random;
    for (std::size_t position = 0; position < VRX_TZ_STRING_SIZE; ++position)
        for (unsigned code = 1; code < 256; ++code) {
            std::string text = random_digits(random);
            text.at(position) = static_cast<char>(code);
            ASSERT_EQ(converted(text), modelled(text)) << "code " << code << " at " << position;
        }
}

TEST(tz_string, every_pair_of_characters_is_combined_as_stated) {
    std::string text;
    for (unsigned pair = 0; pair < 255 * 255; ++pair) {
        text += {static_cast<char>(1 + pair % 255), static_cast<char>(1 + pair / 255)};
        if (text.size() < VRX_TZ_STRING_SIZE && pair + 1 < 255 * 255) continue;
        text.resize(VRX_TZ_STRING_SIZE, '0');
        ASSERT_EQ(converted(text), modelled(text)) << "up to pair " << pair;
        text.clear();
    }
}

TEST(tz_string, lower_case_letters_are_not_the_digits_they_resemble) {
    std::string text(VRX_TZ_STRING_SIZE, '0');
    text.replace(0, 4, "a00a");
    const Numeric num = converted(text);
    EXPECT_EQ(num[0], 0x2A) << "97 - 55 = 2Ah";
    EXPECT_EQ(num[1], 0xA0) << "16 times 2Ah, the low 8 bits";
}

TEST(tz_string, zero_anywhere_before_the_end_makes_the_text_too_short) {
    Random random;
    for (std::size_t position = 0; position < VRX_TZ_STRING_SIZE; ++position) {
        std::string text = random_digits(random);
        text.at(position) = '\0';
        Numeric num;
        num.fill(0xA5);
        const Numeric before = num;
        ASSERT_EQ(vrx_crpt_TZ_str_to_num(text.c_str(), num.data()), VRX_ERR_UNKNOWN_TZ);
        ASSERT_EQ(num, before);
    }
}

TEST(tz_string, of_another_length_is_refused_and_the_outputs_stay_untouched) {
    for (std::size_t length = 0; length < 400; ++length) {
        if (length == VRX_TZ_STRING_SIZE) continue;
        const std::string text(length, '7');
        Numeric num;
        num.fill(0xA5);
        const Numeric before = num;
        EXPECT_EQ(vrx_crpt_TZ_str_to_num(text.c_str(), num.data()), VRX_ERR_UNKNOWN_TZ) << length;
        EXPECT_EQ(num, before) << length;
        vrx_tz table;
        std::memset(&table, 0xA5, sizeof table);
        const vrx_tz untouched = table;
        EXPECT_EQ(vrx_crpt_init_new_TZ(text.c_str(), &table), VRX_ERR_UNKNOWN_TZ) << length;
        EXPECT_EQ(std::memcmp(&table, &untouched, sizeof table), 0) << length;
    }
}

TEST(tz_string, conversion_writes_64_bytes_at_any_address) {
    Random random;
    const std::string text = random_digits(random);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes memory(shift + VRX_NUM_TZ_SIZE + 1, 0xA5);
        ASSERT_EQ(vrx_crpt_TZ_str_to_num(text.c_str(), memory.data() + shift), VRX_OK);
        const Numeric num = modelled(text);
        Bytes expected(shift, 0xA5);
        expected.insert(expected.end(), num.begin(), num.end());
        expected.push_back(0xA5);
        EXPECT_EQ(memory, expected);
    }
}

TEST(tz_string, is_deployed_as_its_numeric_form) {
    Random random;
    for (int i = 0; i < 200; ++i) {
        std::string text = random_digits(random);
        if (i % 2 == 1)
            for (char& c : text) c = static_cast<char>(1 + random.below(255));
        vrx_tz table = random.value<vrx_tz>();
        vrx_tz expected = vrx::test::deployed(vrx::test::boxes_of(modelled(text)));
        std::memcpy(expected.zero, table.zero, sizeof expected.zero);
        ASSERT_EQ(vrx_crpt_init_new_TZ(text.c_str(), &table), VRX_OK);
        ASSERT_EQ(std::memcmp(&table, &expected, sizeof table), 0);
    }
}

TEST(tz_string, without_a_record_is_refused_after_its_length_was_checked) {
    EXPECT_EQ(vrx_crpt_init_new_TZ(std::string(VRX_TZ_STRING_SIZE, '0').c_str(), nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_crpt_init_new_TZ("", nullptr), VRX_ERR_UNKNOWN_TZ);
}

}  // namespace
