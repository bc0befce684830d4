// Tests of the built-in tables and of look-ups in them.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "model.hpp"
#include "support/kat.hpp"
#include "support/memory_map.hpp"
#include "support/project.hpp"
#include "support/random.hpp"
#include "support/registry_guard.hpp"
#include "vrx/modes.h"
#include "vrx/params.h"
#include "vrx/tz.h"

namespace {

using vrx::test::Boxes;
using vrx::test::boxes_of;
using vrx::test::Bytes;
using vrx::test::deployed;
using vrx::test::is_read_only;
using vrx::test::KatBlock;

const std::map<std::string, const vrx_tz*> builtin = {
    {"id-Gost28147-89-TestParamSet", &TZ_28147_89[0]},
    {"id-Gost28147-89-CryptoPro-A-ParamSet", &TZ_28147_89[1]},
    {"id-Gost28147-89-CryptoPro-B-ParamSet", &TZ_28147_89[2]},
    {"id-Gost28147-89-CryptoPro-C-ParamSet", &TZ_28147_89[3]},
    {"id-Gost28147-89-CryptoPro-D-ParamSet", &TZ_28147_89[4]},
    {"id-GostR3411-94-TestParamSet", &TZ_3411_94[0]},
    {"id-GostR3411-94-CryptoProParamSet", &TZ_3411_94[1]},
};

/** Checks that the registry returns the parameter set of a block for its identifier. */
void expect_registered(const KatBlock& block, const vrx_tz* table) {
    const Bytes oid = block.octets("oid");
    const auto length = static_cast<std::uint32_t>(oid.size());
    if (block.has("mode")) {
        const std::map<std::string, int> modes = {{"cnt", VRX_MODE_GAMM}, {"cfb", VRX_MODE_GFB}};
        const std::map<std::string, int> meshings = {{"none", 0}, {"cryptopro", 1}};
        vrx_gost28147_par* found = nullptr;
        ASSERT_EQ(oidFindGOST28147Par(oid.data(), length, &found), VRX_OK);
        EXPECT_EQ(found->tz, table);
        EXPECT_EQ(found->name, block.text("sbox"));
        EXPECT_EQ(found->mode, modes.at(block.text("mode")));
        EXPECT_EQ(found->key_meshing, meshings.at(block.text("meshing")));
    } else {
        const vrx_gostr3411_par* found = nullptr;
        ASSERT_EQ(oidFindGOSTR3411Par(oid.data(), length, &found), VRX_OK);
        EXPECT_EQ(found->tz, table);
        EXPECT_EQ(found->name, block.text("sbox"));
    }
}

TEST(tables, are_the_published_boxes_deployed_byte_for_byte) {
    const vrx::test::RegistryGuard guard;
    std::map<const vrx_tz*, int> met;
    vrx::test::for_each_block(vrx::test::in_project("tests/tz/sbox.kat"), [&](const KatBlock& block) {
        EXPECT_EQ(block.text("type"), "sbox");
        const vrx_tz* const table = builtin.at(block.text("sbox"));
        ++met[table];

        Boxes boxes{};
        for (unsigned r = 0; r < 8; ++r) {
            const std::string row = block.text("k" + std::to_string(r + 1));
            ASSERT_EQ(row.size(), 16U);
            for (unsigned i = 0; i < 16; ++i)
                boxes.at(r).at(i) = static_cast<unsigned>(std::stoul(row.substr(i, 1), nullptr, 16));
        }
        const vrx_tz expected = deployed(boxes);
        EXPECT_EQ(std::memcmp(table, &expected, sizeof *table), 0);

        // The published octets have their nibbles swapped.
        Bytes octets = block.octets("octets");
        ASSERT_EQ(octets.size(), std::size_t{VRX_NUM_TZ_SIZE});
        vrx_crpt_swap_num_TZ(octets.data());
        EXPECT_EQ(boxes_of(std::span(octets).first<VRX_NUM_TZ_SIZE>()), boxes);
        vrx_tz own{};
        ASSERT_EQ(vrx_crpt_deploy_TZ(octets.data(), &own), VRX_OK);
        EXPECT_EQ(std::memcmp(table, &own, sizeof own), 0);

        std::string text;
        for (const std::uint8_t b : octets) text += {"0123456789ABCDEF"[b & 15], "0123456789ABCDEF"[b >> 4]};
        vrx_tz from_text{};
        ASSERT_EQ(vrx_crpt_init_new_TZ(text.c_str(), &from_text), VRX_OK);
        EXPECT_EQ(std::memcmp(table, &from_text, sizeof from_text), 0);

        expect_registered(block, table);
    });
    EXPECT_EQ(met.size(), builtin.size()) << "an answer for each table";
}

TEST(tables, have_the_size_and_the_flag_of_a_deployed_record) {
    static_assert(sizeof(vrx_tz) == 4100 && sizeof TZ_28147_89 == 20500 && sizeof TZ_3411_94 == 8200);
    for (const auto& [name, table] : builtin) {
        EXPECT_EQ(table->initialised, 1) << name;
        for (const std::uint8_t b : table->zero) EXPECT_EQ(b, 0) << name;
    }
}

TEST(tables, lie_in_read_only_pages) {
    EXPECT_TRUE(is_read_only(TZ_28147_89, sizeof TZ_28147_89));
    EXPECT_TRUE(is_read_only(TZ_3411_94, sizeof TZ_3411_94));
    vrx_tz own{};
    EXPECT_FALSE(is_read_only(&own, sizeof own)) << "the check tells the difference";
}

TEST(by_id, only_the_low_8_bits_count) {
    vrx::test::Random random;
    for (std::uint32_t low = 0; low < 256; ++low)
        for (const std::uint32_t high : {0U, 1U, 0x800000U, 0xFFFFFFU, random.word() >> 8}) {
            const std::uint32_t id = high << 8 | low;
            EXPECT_EQ(TZ_by_id(id), low <= 4 ? &TZ_28147_89[low] : nullptr) << id;
            EXPECT_EQ(hash_TZ_by_id(id), low <= 1 ? &TZ_3411_94[low] : nullptr) << id;
        }
}

TEST(by_name, listed_names_yield_their_tables) {
    EXPECT_EQ(TZ_by_name("tz_test"), &TZ_28147_89[0]);
    EXPECT_EQ(TZ_by_name("tz_a"), &TZ_28147_89[1]);
    EXPECT_EQ(TZ_by_name("tz_b"), &TZ_28147_89[2]);
    EXPECT_EQ(TZ_by_name("tz_c"), &TZ_28147_89[3]);
    EXPECT_EQ(TZ_by_name("tz_d"), &TZ_28147_89[4]);
    EXPECT_EQ(hash_TZ_by_name("tz_0"), &TZ_3411_94[0]);
    EXPECT_EQ(hash_TZ_by_name("tz_1"), &TZ_3411_94[1]);
}

TEST(by_name, text_is_compared_and_not_its_address) {
    const std::string name = std::string("tz") + "_c";
    EXPECT_EQ(TZ_by_name(name.c_str()), &TZ_28147_89[3]);
    const std::string hash_name = std::string("tz") + "_1";
    EXPECT_EQ(hash_TZ_by_name(hash_name.c_str()), &TZ_3411_94[1]);
}

TEST(by_name, matching_is_exact) {
    EXPECT_EQ(TZ_by_name(nullptr), nullptr);
    EXPECT_EQ(hash_TZ_by_name(nullptr), nullptr);
    for (const std::string good : {"tz_test", "tz_a", "tz_b", "tz_c", "tz_d", "tz_0", "tz_1"}) {
        const std::string shorter = good.substr(0, good.size() - 1);
        for (const std::string& near : {good + " ", " " + good, good + "\n", good + "x", good + good, shorter}) {
            EXPECT_EQ(TZ_by_name(near.c_str()), nullptr) << near;
            EXPECT_EQ(hash_TZ_by_name(near.c_str()), nullptr) << near;
        }
        for (std::size_t i = 0; i < good.size(); ++i) {
            std::string other = good;
            other[i] = static_cast<char>(other[i] ^ 0x20);  // changes letters from upper to lower case or the reverse
            EXPECT_EQ(TZ_by_name(other.c_str()), nullptr) << other;
            EXPECT_EQ(hash_TZ_by_name(other.c_str()), nullptr) << other;
        }
    }
}

TEST(by_name, cipher_and_hash_tables_have_names_of_their_own) {
    for (const char* name : {"tz_test", "tz_a", "tz_b", "tz_c", "tz_d"}) EXPECT_EQ(hash_TZ_by_name(name), nullptr);
    for (const char* name : {"tz_0", "tz_1"}) EXPECT_EQ(TZ_by_name(name), nullptr);
}

}  // namespace
