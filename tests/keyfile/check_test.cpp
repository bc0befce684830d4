// Checks of keys and signatures.
#include <gtest/gtest.h>
#include <vrx.h>
#include <vrx/check.h>

#include <algorithm>
#include <array>

namespace {

using Digits = std::array<std::uint32_t, VRX_ECC_DIGITS>;

Digits plus(const std::uint32_t (&number)[VRX_ECC_DIGITS], int more) {
    Digits digits, difference{};
    difference[0] = static_cast<std::uint32_t>(more < 0 ? -more : more);
    if (more < 0)
        mpSubtract(digits.data(), number, difference.data(), digits.size());
    else
        mpAdd(digits.data(), number, difference.data(), digits.size());
    return digits;
}

TEST(check, private_keys_are_from_1_to_q_minus_1) {
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        const auto check = [&](const Digits& d) { return vrx_check_private_key(&set, d.data()); };
        EXPECT_EQ(check({0}), VRX_ERR_FAILED);
        EXPECT_EQ(check({1}), VRX_OK);
        EXPECT_EQ(check(plus(set.q, -1)), VRX_OK);
        EXPECT_EQ(check(plus(set.q, 0)), VRX_ERR_FAILED);
        EXPECT_EQ(check(plus(set.q, 1)), VRX_ERR_FAILED);
        Digits all;
        all.fill(0xFFFFFFFF);
        EXPECT_EQ(check(all), VRX_ERR_FAILED);
        for (std::size_t digit = 0; digit < VRX_ECC_DIGITS; ++digit)
            for (unsigned bit = 0; bit < 32; ++bit) {
                Digits d{};
                d[digit] = 1U << bit;
                EXPECT_EQ(check(d), mpCompare(d.data(), set.q, d.size()) < 0 ? VRX_OK : VRX_ERR_FAILED);
                d = plus(set.q, 0);
                d[digit] ^= 1U << bit;
                EXPECT_EQ(check(d), mpCompare(d.data(), set.q, d.size()) < 0 ? VRX_OK : VRX_ERR_FAILED);
            }
    }
}

TEST(check, signatures_have_r_and_s_from_1_to_q_minus_1) {
    const EcParamSet& set = *get_GOSTR3410_par(3);
    const std::array numbers{Digits{0}, Digits{1}, plus(set.q, -1), plus(set.q, 0), plus(set.q, 1)};
    for (std::size_t r = 0; r < numbers.size(); ++r)
        for (std::size_t s = 0; s < numbers.size(); ++s) {
            EcSignature signature;
            std::ranges::copy(numbers[r], signature.r);
            std::ranges::copy(numbers[s], signature.s);
            const bool valid = r >= 1 && r <= 2 && s >= 1 && s <= 2;
            EXPECT_EQ(vrx_check_signature(&set, &signature), valid ? VRX_OK : VRX_ERR_FAILED) << r << s;
        }
}

TEST(check, public_keys_are_points_with_coordinates_below_p) {
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        EXPECT_EQ(vrx_check_public_key(&set, &set.G), VRX_OK);
        const EcPoint infinity{};
        EXPECT_EQ(vrx_check_public_key(&set, &infinity), VRX_ERR_FAILED);
        for (const bool of_x : {true, false}) {
            EcPoint point = set.G;
            (of_x ? point.x : point.y)[0] ^= 1;
            EXPECT_EQ(vrx_check_public_key(&set, &point), VRX_ERR_FAILED);
            point = set.G;
            std::uint32_t* const coordinate = of_x ? point.x : point.y;
            mpAdd(coordinate, coordinate, set.p, VRX_ECC_DIGITS);
            EXPECT_EQ(ecCheckPublicKey(&set, &point), VRX_OK) << "the library accepts it";
            EXPECT_EQ(vrx_check_public_key(&set, &point), VRX_ERR_FAILED);
        }
    }
}

TEST(check, infinity_is_not_a_public_key_even_where_it_fulfils_the_equation) {
    EcParamSet set = *get_GOSTR3410_par(1);
    std::ranges::fill(set.b, 0U);
    const EcPoint infinity{};
    EXPECT_EQ(vrx_check_public_key(&set, &infinity), VRX_ERR_FAILED);
}

TEST(check, null_pointers_are_bad_params) {
    const EcParamSet& set = *get_GOSTR3410_par(1);
    const Digits one{1};
    const EcSignature signature{{1}, {1}};
    EXPECT_EQ(vrx_check_public_key(nullptr, &set.G), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_check_public_key(&set, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_check_private_key(nullptr, one.data()), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_check_private_key(&set, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_check_signature(nullptr, &signature), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_check_signature(&set, nullptr), VRX_ERR_BAD_PARAMS);
}

}  // namespace
