// Compares every engine with the modes by look-ups for all lengths, addresses, overlaps and tables, and checks which
// code path ran.
#include "gost28147/engine/list.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "gost28147/bulk.hpp"
#include "gost28147/look_ups.hpp"
#include "gost28147/mesh.hpp"
#include "support/engines.hpp"
#include "support/fenced_pages.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::gost28147;
using vrx::test::by_look_ups;
using vrx::test::Bytes;
using vrx::test::FencedPages;
using vrx::test::from_no_s_boxes;
using vrx::test::from_s_boxes;
using vrx::test::offered;
using vrx::test::Random;

constexpr std::size_t block = VRX_BLOCK_SIZE;

using With = vrx::test::WithEngine<vrx::gost28147::choice>;

struct Named {
    const char* name;
    Mode mode;
};

/** Compares bulk::run() with by_look_ups() in every mode. */
constexpr Named all_modes[] = {{"ecb_encrypt", Mode::ecb_encrypt},
                               {"ecb_decrypt", Mode::ecb_decrypt},
                               {"cbc_encrypt", Mode::cbc_encrypt},
                               {"cbc_decrypt", Mode::cbc_decrypt},
                               {"counter", Mode::counter},
                               {"cfb_encrypt", Mode::cfb_encrypt},
                               {"cfb_decrypt", Mode::cfb_decrypt},
                               {"cfb_decrypt_rereading", Mode::cfb_decrypt_rereading},
                               {"mac", Mode::mac}};

constexpr Mode modes[] = {Mode::ecb_encrypt, Mode::ecb_decrypt, Mode::cbc_decrypt, Mode::counter, Mode::cfb_decrypt};

/** A record at an address that is a multiple of 4 but not of 8. */
class AtOddPlace {
public:
    explicit AtOddPlace(const vrx_tz& table) { std::memcpy(room_ + 1, &table, sizeof table); }
    [[nodiscard]] const vrx_tz& table() const {
        return *static_cast<const vrx_tz*>(static_cast<const void*>(room_ + 1));
    }

private:
    alignas(64) std::uint32_t room_[1 + sizeof(vrx_tz) / 4];
};

using WayOf = bool (*)(Mode, const Run&) noexcept;

/** Runs an engine. @return the code path that it took */
WayOf way_taken(const Engine& e, Mode mode, const Run& run) {
    const auto way =
        std::ranges::find_if(e.ways, [&](const Way& w) { return run.blocks >= w.fewest && w.run(mode, run); });
    return way->run;
}

/** The way for tables that were not made from S-boxes, in engines that have no faster one. */
#ifndef VRX_CONSTANT_TIME
constexpr WayOf for_any_table = look_up;
#else
constexpr WayOf for_any_table = scan_table;
#endif

class EveryEngine : public vrx::test::EachEngine<vrx::gost28147::choice> {
protected:
    Random random_;
    Bytes key_bytes_ = random_.bytes(VRX_KEY_SIZE + 1);
    /** The data is at an odd address. */
    Key key_{static_cast<const std::uint32_t*>(static_cast<const void*>(key_bytes_.data() + 1))};
    AtOddPlace sound_{from_s_boxes(random_)};
    AtOddPlace strange_{from_no_s_boxes(random_)};
    const vrx_tz* tables_[3] = {&TZ_28147_89[1], &sound_.table(), &strange_.table()};
};

/**
 * Runs the engine and the plain mode at the same offsets of two copies of memory. Compares the copies and the
 * registers.
 */
void expect_same(const Named& f, Cipher c, const Bytes& memory, std::size_t in, std::size_t out, std::size_t blocks,
                 const Bytes& reg) {
    Bytes fast = memory;
    Bytes plain = memory;
    Bytes fast_reg = reg;
    Bytes plain_reg = reg;
    bulk::run(f.mode, {c, fast_reg.data(), fast.data() + in, fast.data() + out, blocks});
    by_look_ups(f.mode, {c, plain_reg.data(), plain.data() + in, plain.data() + out, blocks});
    ASSERT_EQ(fast_reg, plain_reg) << f.name << ", " << blocks << " blocks from " << in << " to " << out;
    ASSERT_EQ(fast, plain) << f.name << ", " << blocks << " blocks from " << in << " to " << out;
}

TEST_P(EveryEngine, any_number_of_blocks_at_any_place) {
    const With with(*GetParam());
    for (std::size_t blocks = 0; blocks <= 600; ++blocks)
        for (const Named& f : all_modes) {
            const std::size_t in = random_.below(65);
            const std::size_t out = in + blocks * block + random_.below(65);
            const Bytes memory = random_.bytes(out + blocks * block + 64);
            expect_same(f, {*tables_[(blocks + in) % 3], key_}, memory, in, out, blocks, random_.bytes(block));
            if (HasFatalFailure()) return;
        }
}

TEST_P(EveryEngine, in_place) {
    const With with(*GetParam());
    for (std::size_t blocks = 1; blocks <= 300; ++blocks)
        for (const Named& f : all_modes) {
            const Bytes memory = random_.bytes(blocks * block + 80);
            const std::size_t at = 8 + random_.below(64);
            expect_same(f, {*tables_[blocks % 3], key_}, memory, at, at, blocks, random_.bytes(block));
            if (HasFatalFailure()) return;
        }
}

TEST_P(EveryEngine, every_overlap) {
    const With with(*GetParam());
    constexpr std::size_t lengths[] = {1,  2,  3,  5,   8,   13,  16,  17,  31,  32,
                                       33, 64, 65, 100, 127, 128, 129, 137, 150, 192};
    constexpr int furthest = 1100;
    const Bytes memory = random_.bytes(2 * furthest + 192 * block);
    std::size_t turn = 0;
    for (int distance = -furthest; distance <= furthest; ++distance)
        for (const Named& f : all_modes)
            for (int i = 0; i < 3; ++i) {
                const std::size_t blocks = lengths[turn++ % std::size(lengths)];
                const vrx_tz& table = *tables_[random_.below(3)];
                const auto out = static_cast<std::size_t>(furthest + distance);
                expect_same(f, {table, key_}, memory, furthest, out, blocks, random_.bytes(block));
                if (HasFatalFailure()) return;
            }
}

TEST_P(EveryEngine, counters_around_the_carry) {
    const With with(*GetParam());
    const Named& f = all_modes[4];
    const Bytes memory = random_.bytes(4 * 150 * block);
    for (const std::uint32_t n2 : {0x00000000U, 0x00000001U, 0x01010103U, 0x01010104U, 0xFEFEFEFAU, 0xFEFEFEFBU,
                                   0xFEFEFEFCU, 0xFFFFFFFEU, 0xFFFFFFFFU})
        for (std::uint32_t steps = 0; steps < 140; steps += 1 + steps / 3) {
            // Returns the counter that is `steps` steps before the carry.
            const std::uint32_t start[2] = {random_.word(), n2 - steps * 0x01010104U};
            Bytes reg(block);
            std::memcpy(reg.data(), start, block);
            for (const std::size_t blocks : {1U, 2U, 7U, 16U, 33U, 64U, 128U, 150U}) {
                expect_same(f, {*tables_[random_.below(3)], key_}, memory, 0, 2 * 150 * block, blocks, reg);
                if (HasFatalFailure()) return;
            }
        }
}

TEST_P(EveryEngine, a_flipped_bit_anywhere_in_the_table_is_noticed) {
    const Engine& e = *GetParam();
    vrx_tz table = from_s_boxes(random_);
    table.initialised = 1;
    auto* const bytes = static_cast<std::uint8_t*>(static_cast<void*>(&table));
    const Bytes data = random_.bytes(40 * block);
    Bytes expected(data.size());
    Bytes got(data.size());
    const WayOf trusting = way_taken(e, Mode::ecb_encrypt, {{table, key_}, nullptr, data.data(), got.data(), 40});
    for (std::size_t bit = 0; bit < 8 * sizeof table; ++bit) {
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        // For one of these numbers of blocks, engines check the table before the rounds; for the other, between the
        // rounds.
        for (const std::size_t blocks : {40U, 32U}) {
            by_look_ups(Mode::ecb_encrypt, {{table, key_}, nullptr, data.data(), expected.data(), blocks});
            const WayOf way =
                way_taken(e, Mode::ecb_encrypt, {{table, key_}, nullptr, data.data(), got.data(), blocks});
            ASSERT_TRUE(
                std::equal(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(blocks * block), expected.begin()))
                << "bit " << bit;
            if (trusting != for_any_table) {
                const bool entries = bit < 8 * sizeof table.t;
                ASSERT_EQ(way == trusting, !entries) << "bit " << bit << ", " << blocks << " blocks";
            }
        }
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
}

TEST_P(EveryEngine, a_flipped_bit_anywhere_in_the_table_is_detected_by_a_chain) {
    const Engine& e = *GetParam();
    vrx_tz table = from_s_boxes(random_);
    table.initialised = 1;
    auto* const bytes = static_cast<std::uint8_t*>(static_cast<void*>(&table));
    const Bytes data = random_.bytes(64 * block);
    for (std::size_t bit = 0; bit < 8 * sizeof table; ++bit) {
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        Bytes expected(block);
        Bytes got(block);
        by_look_ups(Mode::mac, {{table, key_}, expected.data(), data.data(), nullptr, 64});
        e.chain(Mode::mac, {{table, key_}, got.data(), data.data(), nullptr, 64});
        ASSERT_EQ(got, expected) << "bit " << bit;
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
}

TEST_P(EveryEngine, one_entry_changed_to_another_s_box_output_is_detected) {
    const Engine& e = *GetParam();
    const Bytes data = random_.bytes(70 * block);
    Bytes expected(data.size());
    Bytes got(data.size());
    for (int turn = 0; turn < 2000; ++turn) {
        vrx_tz table = from_s_boxes(random_);
        const vrx_tz other = from_s_boxes(random_);
        // Replaces rows, columns, diagonals and single entries by those of another table.
        const unsigned m = random_.below(4);
        const unsigned x = random_.below(256);
        for (unsigned i = 0; i < 16; ++i) {
            const unsigned at = turn % 4 == 0   ? x
                                : turn % 4 == 1 ? (x & 240) + i
                                : turn % 4 == 2 ? (x & 15) + 16 * i
                                                : 17 * i;
            table.t[m][at] = other.t[m][at];
        }
        const std::size_t blocks = turn % 8 < 4 ? 30 : 70;
        by_look_ups(Mode::ecb_decrypt, {{table, key_}, nullptr, data.data(), expected.data(), blocks});
        e.parallel(Mode::ecb_decrypt, {{table, key_}, nullptr, data.data(), got.data(), blocks});
        ASSERT_TRUE(
            std::equal(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(blocks * block), expected.begin()));
    }
}

TEST_P(EveryEngine, sections_are_meshed_as_one_by_one) {
    const With with(*GetParam());
    for (const Mode mode : modes)
        for (const vrx_tz* table : tables_)
            for (std::size_t sections = 1; sections <= 5; ++sections)
                for (const std::ptrdiff_t distance : {-1024, -8, 0, 8, 1016, 1024, 1030, 6000}) {
                    const std::size_t size = sections * VRX_MESHING_SECTION;
                    Bytes fast = random_.bytes(1024 + size + 6000);
                    Bytes slow = fast;
                    std::uint32_t fast_key[VRX_KEY_WORDS];
                    std::uint32_t slow_key[VRX_KEY_WORDS];
                    for (unsigned i = 0; i < VRX_KEY_WORDS; ++i) fast_key[i] = slow_key[i] = random_.word();
                    Bytes fast_reg = random_.bytes(block);
                    Bytes slow_reg = fast_reg;
                    bulk::run_sections(mode,
                                       {{*table, Key(fast_key)},
                                        fast_reg.data(),
                                        &fast[1024],
                                        &fast[1024] + distance,
                                        sections * section_blocks},
                                       fast_key);
                    for (std::size_t i = 0; i < sections; ++i) {
                        ASSERT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(table, slow_reg.data(), slow_key), VRX_OK);
                        const std::uint8_t* const in = &slow[1024] + i * VRX_MESHING_SECTION;
                        std::uint8_t* const out =
                            &slow[1024] + distance + static_cast<std::ptrdiff_t>(i * VRX_MESHING_SECTION);
                        by_look_ups(mode, {{*table, Key(slow_key)}, slow_reg.data(), in, out, section_blocks});
                    }
                    ASSERT_EQ(fast, slow) << static_cast<int>(mode) << ", " << sections << ", " << distance;
                    ASSERT_EQ(fast_reg, slow_reg);
                    ASSERT_TRUE(std::ranges::equal(fast_key, slow_key));
                }
}

/** A context that is fed less than a section at a time never processes whole sections. */
TEST_P(EveryEngine, contexts_with_a_border_at_every_position) {
    const With with(*GetParam());
    const Bytes iv = random_.bytes(block);
    const Bytes message = random_.bytes(3 * VRX_MESHING_SECTION + 2 * block);
    const std::size_t step = std::string_view(GetParam()->name) == "baseline" ? 7 : 1;
    for (const std::uint32_t mode : {1U, 2U, 3U, 4U, 5U})
        for (const int direction : {0, 1}) {
            const auto open = [&](vrx_crpt_ctx& ctx) {
                ASSERT_EQ(vrx_crpt_init_context(
                              &ctx, direction, tables_[mode % 3], mode, 1, 1, 2, iv.data(),
                              static_cast<const std::uint32_t*>(static_cast<const void*>(key_bytes_.data()))),
                          VRX_OK);
            };
            // Processes pieces of at most `most` bytes, from the offset `from` to the end.
            const auto feed = [&](vrx_crpt_ctx& ctx, Bytes& out, std::size_t& read, std::size_t& written,
                                  std::size_t end, std::size_t most) {
                while (read != end) {
                    const std::size_t length = std::min(most, end - read);
                    const vrx_data in{static_cast<std::uint32_t>(length), const_cast<std::uint8_t*>(&message[read])};
                    vrx_data to{static_cast<std::uint32_t>(out.size() - written), &out[written]};
                    ASSERT_EQ(vrx_crpt_update(&ctx, &in, &to), VRX_OK);
                    read += length;
                    if (mode != VRX_MODE_IMITO) written += to.length;
                }
            };
            vrx_crpt_ctx slow;
            open(slow);
            Bytes expected(message.size() + block);
            std::size_t slow_read = 0;
            std::size_t slow_written = 0;
            feed(slow, expected, slow_read, slow_written, message.size(), 24);
            for (std::size_t first = 1; first <= 1100; first += step) {
                vrx_crpt_ctx ctx;
                open(ctx);
                Bytes out(message.size() + block);
                std::size_t read = 0;
                std::size_t written = 0;
                feed(ctx, out, read, written, first, first);
                feed(ctx, out, read, written, message.size(), message.size());
                ASSERT_EQ(out, expected) << "mode " << mode << ", first " << first;
                ASSERT_EQ(written, slow_written);
                ASSERT_EQ(std::memcmp(ctx.key, slow.key, sizeof ctx.key), 0);
                ASSERT_EQ(std::memcmp(ctx.iv, slow.iv, sizeof ctx.iv), 0);
                ASSERT_EQ(std::memcmp(ctx.mac, slow.mac, sizeof ctx.mac), 0);
                ASSERT_EQ(ctx.mesh_count, slow.mesh_count);
                ASSERT_EQ(ctx.flags, slow.flags);
                ASSERT_EQ(ctx.block_len, slow.block_len);
            }
        }
}

TEST_P(EveryEngine, nothing_beside_the_buffers_is_touched) {
    const With with(*GetParam());
    constexpr std::size_t most = 200;
    FencedPages in(most * block);
    FencedPages out(most * block);
    FencedPages tables(sizeof(vrx_tz));
    FencedPages keys(VRX_KEY_SIZE);
    FencedPages regs(block);
    Bytes expected(most * block);
    for (const bool upper : {false, true})
        for (const vrx_tz* source : tables_) {
            auto* const table = static_cast<vrx_tz*>(static_cast<void*>(tables.bytes(sizeof(vrx_tz), upper)));
            std::memcpy(table, source, sizeof *table);
            std::uint8_t* const key = keys.bytes(VRX_KEY_SIZE, upper);
            std::memcpy(key, key_bytes_.data(), VRX_KEY_SIZE);
            const Cipher cipher{*table, Key(static_cast<const std::uint32_t*>(static_cast<const void*>(key)))};
            std::uint8_t* const reg = regs.bytes(block, upper);
            for (std::size_t blocks = 1; blocks <= most; ++blocks)
                for (const Named& f : all_modes) {
                    const Bytes start = random_.bytes(block);
                    Bytes plain_reg = start;
                    std::copy(start.begin(), start.end(), reg);
                    std::uint8_t* const from = in.bytes(blocks * block, upper);
                    std::uint8_t* const to = out.bytes(blocks * block, !upper);
                    for (std::size_t i = 0; i < blocks * block; ++i) from[i] = static_cast<std::uint8_t>(i * blocks);
                    std::fill(to, to + blocks * block, std::uint8_t{0});
                    std::ranges::fill(expected, std::uint8_t{0});
                    bulk::run(f.mode, {cipher, reg, from, to, blocks});
                    by_look_ups(f.mode, {cipher, plain_reg.data(), from, expected.data(), blocks});
                    ASSERT_TRUE(std::equal(to, to + blocks * block, expected.begin())) << f.name << ' ' << blocks;
                    ASSERT_TRUE(std::equal(plain_reg.begin(), plain_reg.end(), reg)) << f.name << ' ' << blocks;
                }
        }
}

INSTANTIATE_TEST_SUITE_P(engines, EveryEngine, vrx::test::each_of(engines), vrx::test::engine_name);

/** The code path that an engine takes for a number of blocks with a table. */
WayOf way_of(const Engine& e, const vrx_tz& table, std::size_t blocks) {
    const std::uint32_t key[VRX_KEY_WORDS] = {};
    Bytes data(blocks * block);
    return way_taken(e, Mode::ecb_encrypt, {{table, Key(key)}, nullptr, data.data(), data.data(), blocks});
}

struct Ways {
    WayOf few, many, strange;
};

#ifndef VRX_CONSTANT_TIME
Ways ways_of(std::string_view name) {
    if (name.starts_with("vbmi")) return {permute_words, permute_words, permute_planes};
    return {look_up, name == "avx2" ? shuffle_planes : look_up, look_up};
}
#else
Ways ways_of(std::string_view name) {
    if (name == "vbmi") return {permute_words, permute_words, permute_planes};
    if (name == "baseline") return {scan_sboxes, scan_sboxes, scan_table};
    return {shuffle_words, name == "avx2" ? shuffle_planes : shuffle_words, scan_table};
}
#endif

TEST(Engine, each_goes_the_way_it_is_named_for) {
    Random random;
    const vrx_tz sound = from_s_boxes(random);
    const vrx_tz strange = from_no_s_boxes(random);
    for (const Engine& e : engines) {
        if (!offered(e)) continue;
        const Ways ways = ways_of(e.name);
        for (const vrx_tz* table : {&sound, &TZ_28147_89[0], &TZ_3411_94[1]}) {
            EXPECT_EQ(way_of(e, *table, 20), ways.few) << e.name;
            EXPECT_EQ(way_of(e, *table, 200), ways.many) << e.name;
        }
        EXPECT_EQ(way_of(e, strange, 200), ways.strange) << e.name;
    }
}

TEST(Engine, many_steps_of_the_counter_are_as_single_ones) {
    Random random;
    for (const std::uint32_t n2 : {0U, 1U, 0xFEFEFEFBU, 0xFEFEFEFCU, 0xFFFFFFFFU, random.word()}) {
        Block single{random.word(), n2};
        const Block start = single;
        for (std::uint64_t n = 1; n < 3000; ++n) {
            single = step_counter(single);
            ASSERT_EQ(step_counter(start, n), single) << n2 << ' ' << n;
        }
    }
}

}  // namespace
