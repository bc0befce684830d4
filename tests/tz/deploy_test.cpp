// Tests of the deployment of numeric TZs.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ostream>

#include "model.hpp"
#include "support/child_process.hpp"
#include "support/random.hpp"
#include "vrx/tz.h"

namespace {

using vrx::test::boxes_of;
using vrx::test::Bytes;
using vrx::test::deployed;
using vrx::test::Random;

using Numeric = std::array<std::uint8_t, VRX_NUM_TZ_SIZE>;

Numeric random_numeric(Random& random) { return random.value<Numeric>(); }

/** Deployment with one of the functions that can do it. */
struct Deploy {
    const char* name;
    int (*run)(const std::uint8_t*, vrx_tz*);
};
void PrintTo(const Deploy& deploy, std::ostream* out) { *out << deploy.name; }

class DeployTest : public testing::TestWithParam<Deploy> {
protected:
    static int deploy(const std::uint8_t* num_tz, vrx_tz* out) { return GetParam().run(num_tz, out); }
};
INSTANTIATE_TEST_SUITE_P(both_names, DeployTest,
                         testing::Values(Deploy{"vrx_crpt_deploy_TZ", vrx_crpt_deploy_TZ},
                                         Deploy{"vrx_crpt_init_num_TZ", vrx_crpt_init_num_TZ}),
                         [](const auto& suite) { return suite.param.name; });

TEST_P(DeployTest, random_boxes_are_expanded_by_the_rule) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        const Numeric num = random_numeric(random);
        vrx_tz table = random.value<vrx_tz>();
        vrx_tz expected = deployed(boxes_of(num));
        std::memcpy(expected.zero, table.zero, sizeof expected.zero);
        ASSERT_EQ(deploy(num.data(), &table), VRX_OK);
        ASSERT_EQ(std::memcmp(&table, &expected, sizeof table), 0);
    }
}

TEST_P(DeployTest, four_look_ups_are_substitution_and_rotation) {
    Random random;
    const Numeric num = random_numeric(random);
    vrx_tz table;
    ASSERT_EQ(deploy(num.data(), &table), VRX_OK);
    for (int i = 0; i < 10000; ++i) {
        const std::uint32_t v = random.word();
        ASSERT_EQ(table.t[0][v & 255] ^ table.t[1][v >> 8 & 255] ^ table.t[2][v >> 16 & 255] ^ table.t[3][v >> 24],
                  vrx::test::substituted(boxes_of(num), v));
    }
}

TEST_P(DeployTest, one_box_output_sets_its_bits_in_16_entries_of_one_table) {
    // S-box 5 yields 1 for the input 9, and 0 for every other input. Only the entries of table 2 whose index has the
    // high nibble 9 are then not 0. Their bit 20 is rotated to bit 31.
    Numeric num{};
    num[4 * 9 + 2] = 0x10;
    vrx_tz table;
    ASSERT_EQ(deploy(num.data(), &table), VRX_OK);
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned x = 0; x < 256; ++x) EXPECT_EQ(table.t[k][x], k == 2 && x >> 4 == 9 ? 0x80000000U : 0U);
}

TEST_P(DeployTest, bytes_behind_the_flag_keep_what_they_held) {
    const Numeric num{};
    vrx_tz table;
    std::memset(&table, 0xA5, sizeof table);
    ASSERT_EQ(deploy(num.data(), &table), VRX_OK);
    EXPECT_EQ(table.initialised, 1);
    for (const std::uint8_t b : table.zero) EXPECT_EQ(b, 0xA5);
}

TEST_P(DeployTest, bytes_around_the_record_are_not_written) {
    struct {
        std::array<std::uint8_t, 64> before;
        vrx_tz table;
        std::array<std::uint8_t, 64> after;
    } memory;
    std::memset(&memory, 0x5A, sizeof memory);
    const Numeric num{};
    ASSERT_EQ(deploy(num.data(), &memory.table), VRX_OK);
    for (const std::uint8_t b : memory.before) EXPECT_EQ(b, 0x5A);
    for (const std::uint8_t b : memory.after) EXPECT_EQ(b, 0x5A);
}

TEST_P(DeployTest, numeric_tz_may_lie_at_an_odd_address_and_stays_unchanged) {
    Random random;
    const Bytes octets = random.bytes(VRX_NUM_TZ_SIZE);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        // The memory ends after the last byte.
        Bytes memory(shift + VRX_NUM_TZ_SIZE);
        std::copy(octets.begin(), octets.end(), memory.begin() + static_cast<std::ptrdiff_t>(shift));
        const Bytes before = memory;
        vrx_tz table{};
        ASSERT_EQ(deploy(memory.data() + shift, &table), VRX_OK);
        const vrx_tz expected = deployed(boxes_of(std::span(octets).first<VRX_NUM_TZ_SIZE>()));
        EXPECT_EQ(std::memcmp(&table, &expected, sizeof table), 0);
        EXPECT_EQ(memory, before);
    }
}

TEST_P(DeployTest, null_pointer_is_refused_and_the_record_stays_untouched) {
    vrx_tz table;
    std::memset(&table, 0xA5, sizeof table);
    const vrx_tz before = table;
    EXPECT_EQ(deploy(nullptr, &table), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(std::memcmp(&table, &before, sizeof table), 0);
    const Numeric num{};
    EXPECT_EQ(deploy(num.data(), nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(deploy(nullptr, nullptr), VRX_ERR_BAD_PARAMS);
}

/**
 * A record across two pages. The entries are at the end of the first page, and the flag is at the beginning of the
 * second. Only one page is writable at a time, so each switch to the other causes a fault, and its handler inspects the
 * record.
 */
namespace turns {

vrx_tz* record;
std::size_t page;
volatile sig_atomic_t count;
vrx_tz seen[3];

void protect(bool entries, bool flag) {
    auto* const start = reinterpret_cast<std::uint8_t*>(record);
    mprotect(start, page, entries ? PROT_READ : PROT_READ | PROT_WRITE);
    mprotect(start + page, page, flag ? PROT_READ : PROT_READ | PROT_WRITE);
}

void on_fault(int) {
    if (count == 3) _exit(2);
    std::memcpy(&seen[count], record, sizeof *record);
    count = count + 1;
    protect(count == 1, count == 2);
}

}  // namespace turns

TEST_P(DeployTest, flag_is_clear_while_entries_are_written) {
    turns::page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (turns::page != offsetof(vrx_tz, initialised)) GTEST_SKIP() << "needs pages of 4096 bytes";
    const char* const preloaded = std::getenv("LD_PRELOAD");
    if (preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr)
        GTEST_SKIP() << "valgrind does not repeat an instruction that faulted";
    const auto child = vrx::test::run_in_child([] {
        void* const memory = mmap(nullptr, 2 * turns::page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(memory, MAP_FAILED);
        turns::record = static_cast<vrx_tz*>(memory);
        std::memset(memory, 0xA5, sizeof(vrx_tz));
        const vrx_tz before = *turns::record;
        Random random(1);
        const Numeric num = random_numeric(random);
        vrx_tz expected = deployed(boxes_of(num));
        std::memcpy(expected.zero, before.zero, sizeof expected.zero);

        signal(SIGSEGV, turns::on_fault);
        turns::protect(true, true);
        EXPECT_EQ(deploy(num.data(), turns::record), VRX_OK);
        signal(SIGSEGV, SIG_DFL);

        ASSERT_EQ(turns::count, 3) << "flag, entries, flag";
        EXPECT_EQ(std::memcmp(&turns::seen[0], &before, sizeof before), 0) << "the flag is written first";
        EXPECT_EQ(turns::seen[1].initialised, 0) << "and cleared";
        EXPECT_EQ(std::memcmp(turns::seen[1].t, before.t, sizeof before.t), 0);
        EXPECT_EQ(turns::seen[2].initialised, 0) << "still clear after the last entry";
        EXPECT_EQ(std::memcmp(turns::seen[2].t, expected.t, sizeof expected.t), 0);
        EXPECT_EQ(std::memcmp(turns::record, &expected, sizeof expected), 0);
    });
    EXPECT_TRUE(vrx::test::passed(child));
}

TEST(swap, exchanges_the_nibbles_of_each_byte) {
    Numeric num{};
    for (unsigned start = 0; start < 256; start += VRX_NUM_TZ_SIZE) {
        for (unsigned i = 0; i < VRX_NUM_TZ_SIZE; ++i) num.at(i) = static_cast<std::uint8_t>(start + i);
        EXPECT_EQ(vrx_crpt_swap_num_TZ(num.data()), VRX_OK);
        for (unsigned i = 0; i < VRX_NUM_TZ_SIZE; ++i) EXPECT_EQ(num.at(i), (start + i) % 16 * 16 + (start + i) / 16);
    }
}

TEST(swap, done_twice_restores_the_bytes_and_touches_no_others) {
    Random random;
    Bytes memory = random.bytes(1 + VRX_NUM_TZ_SIZE + 1);
    const Bytes before = memory;
    EXPECT_EQ(vrx_crpt_swap_num_TZ(memory.data() + 1), VRX_OK);
    EXPECT_NE(memory, before);
    EXPECT_EQ(memory.front(), before.front());
    EXPECT_EQ(memory.back(), before.back());
    EXPECT_EQ(vrx_crpt_swap_num_TZ(memory.data() + 1), VRX_OK);
    EXPECT_EQ(memory, before);
}

}  // namespace
