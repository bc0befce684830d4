// Tests of the one-shot modes: a whole buffer in one call.
#include "vrx/modes.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <optional>

#include "gost28147/twin_call.hpp"
#include "support/hex.hpp"
#include "support/log_capture.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

constexpr std::array modes{Function::ss, Function::cbc, Function::gamm, Function::gfb, Function::imito};
constexpr std::array ciphers{Function::ss, Function::cbc, Function::gamm, Function::gfb};

std::string name_of(const testing::TestParamInfo<Function>& mode) {
    return std::array{"ss", "cbc", "gamm", "gfb", "imito"}[static_cast<std::size_t>(mode.param)];
}

// --- Equality with the model -----------------------------------------------------------------------------------------

class EveryMode : public testing::TestWithParam<Function> {};
INSTANTIATE_TEST_SUITE_P(Modes, EveryMode, testing::ValuesIn(modes), name_of);

/** All modes except the MAC, which has no output and no direction. */
class EveryCipher : public testing::TestWithParam<Function> {};
INSTANTIATE_TEST_SUITE_P(Modes, EveryCipher, testing::ValuesIn(ciphers), name_of);

TEST_P(EveryMode, all_lengths_directions_and_flags_equal_the_model) {
    Random random;
    LogCapture log;
    TwinMemory memory(1024);
    std::size_t turn = 0;
    for (std::uint32_t length = 0; length <= 300; ++length)
        for (const int direction : {0, 1})
            for (int flags = 0; flags < 4; ++flags)
                for (const bool in_place : {false, true}) {
                    const TestTable& table = test_tables()[turn++ % test_tables().size()];
                    const Call call{GetParam(), rubbish_above(random, direction == 0 ? 0 : 1 + random.below(255)),
                                    rubbish_above(random, static_cast<unsigned>(flags)), 0};
                    Place at;
                    at.in = 32 + random.below(16);
                    at.out = in_place && !call.is_mac() ? at.in : 400 + random.below(16);
                    at.iv = 800 + random.below(16);
                    at.key = 840 + random.below(16);
                    at.length = length;
                    at.capacity = call.is_mac() ? 8 : length + (in_place ? 0 : random.below(3));
                    memory.refill(random);
                    ASSERT_TRUE(expect_equal(memory, log, table, call, at));
                }
}

TEST_P(EveryMode, nothing_outside_the_buffers_is_read_or_written) {
    // Each buffer ends where its memory ends, so that sanitizers detect any access beyond it.
    Random random;
    const TestTable& table = any_table(random);
    const bool whole = GetParam() == Function::ss || GetParam() == Function::cbc;
    for (std::uint32_t length = whole ? 8 : 1; length < 200; length += whole ? 8 : 1)
        for (const int direction : {0, 1}) {
            const Call call{GetParam(), direction, VRX_FLAG_FIRST | VRX_FLAG_PAD, 0};
            const std::size_t shift = length % 8;
            Bytes in = random.bytes(shift + length);
            Bytes out(shift + (call.is_mac() ? 8 : length));
            Bytes iv = random.bytes(shift + 8);
            const Bytes key = random.bytes(shift + 32);
            const vrx_data from{length, in.data() + shift};
            vrx_data to{static_cast<std::uint32_t>(out.size() - shift), out.data() + shift};
            ASSERT_EQ(run_library(call, &table.record, &from, &to, iv.data() + shift, key.data() + shift), VRX_OK);
        }
}

TEST_P(EveryMode, a_buffer_of_many_blocks_equals_the_model) {
    Random random;
    LogCapture log;
    TwinMemory memory(3 * 20000 + 200);
    for (const int direction : {0, 1})
        for (const bool in_place : {false, true}) {
            const Call call{GetParam(), direction, VRX_FLAG_FIRST, 0};
            Place at;
            at.in = 1 + random.below(8);
            at.out = in_place && !call.is_mac() ? at.in : 20100 + random.below(8);
            at.iv = 50000;
            at.key = 50100;
            at.length = 8 * (2400 + random.below(100));
            at.capacity = call.is_mac() ? 8 : at.length;
            memory.refill(random);
            ASSERT_TRUE(expect_equal(memory, log, any_table(random), call, at));
        }
}

TEST_P(EveryCipher, overlapping_buffers_are_taken_block_after_block) {
    Random random;
    LogCapture log;
    TwinMemory memory(2048);
    const bool whole = GetParam() == Function::ss || GetParam() == Function::cbc;
    const auto overlap = [&](std::ptrdiff_t distance) {
        for (const int direction : {0, 1})
            for (int round = 0; round < 3; ++round) {
                const Call call{GetParam(), direction, static_cast<int>(random.below(2)) | VRX_FLAG_PAD, 0};
                Place at;
                at.in = 600 + random.below(8);
                at.out = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at.in) + distance);
                at.iv = 1600 + random.below(8);
                at.key = 1700 + random.below(8);
                at.length = 1 + random.below(300);
                if (whole) at.length = (at.length + 7) / 8 * 8;
                at.capacity = at.length;
                memory.refill(random);
                if (!expect_equal(memory, log, any_table(random), call, at)) {
                    ADD_FAILURE() << "at distance " << distance;
                    return false;
                }
            }
        return true;
    };
    for (std::ptrdiff_t backwards = -304; backwards <= 0; ++backwards) ASSERT_TRUE(overlap(backwards));
    for (std::ptrdiff_t forwards = 8; forwards <= 304; forwards += 8) ASSERT_TRUE(overlap(forwards));
    // If the output starts more than one block after the input, each block is read before it is overwritten.
    for (std::ptrdiff_t forwards = 9; forwards <= 100; ++forwards) ASSERT_TRUE(overlap(forwards));
}

TEST_P(EveryCipher, long_overlapping_buffers_are_taken_block_after_block) {
    Random random;
    LogCapture log;
    TwinMemory memory(20000);
    for (int round = 0; round < 200; ++round) {
        const Call call{GetParam(), round % 2, VRX_FLAG_FIRST, 0};
        Place at;
        at.in = 6000 + random.below(8);
        // Small and large distances. A later output starts at a multiple of the block size.
        const std::uint32_t distance = random.below(random.coin() ? 130 : 5000);
        at.out = random.coin() ? at.in - distance : at.in + distance / 8 * 8;
        at.iv = 19000;
        at.key = 19100;
        at.length = at.capacity = 8 * (1 + random.below(700));
        memory.refill(random);
        ASSERT_TRUE(expect_equal(memory, log, any_table(random), call, at)) << "distance " << distance;
    }
}

TEST_P(EveryCipher, one_record_may_be_input_and_output) {
    Random random;
    LogCapture log;
    TwinMemory memory(512);
    for (const std::uint32_t length : {8u, 64u, 136u})
        for (const int direction : {0, 1}) {
            const Call call{GetParam(), direction, VRX_FLAG_FIRST, 0};
            Place at;
            at.in = 33;
            at.iv = 300;
            at.key = 400;
            at.length = length;
            at.one_record = true;
            memory.refill(random);
            EXPECT_EQ(expect_equal(memory, log, any_table(random), call, at), VRX_OK);
        }
}

TEST_P(EveryMode, a_message_in_pieces_of_whole_blocks_equals_one_call) {
    Random random;
    const TestTable& table = any_table(random);
    for (const int direction : {0, 1})
        for (std::uint32_t first = 8; first < 136; first += 8) {
            Bytes message = random.bytes(136);
            const Bytes key = random.bytes(32);
            const Bytes iv = random.bytes(8);
            const auto run = [&](std::initializer_list<std::uint32_t> pieces) {
                Bytes state = iv;
                Bytes out(136);
                std::uint32_t done = 0;
                for (const std::uint32_t piece : pieces) {
                    const Call call{GetParam(), direction, done == 0 ? VRX_FLAG_FIRST : 0, 0};
                    const vrx_data from{piece, message.data() + done};
                    vrx_data to = call.is_mac() ? vrx_data{8, state.data()} : vrx_data{piece, out.data() + done};
                    EXPECT_EQ(run_library(call, &table.record, &from, &to, state.data(), key.data()), VRX_OK);
                    done += piece;
                }
                out.insert(out.end(), state.begin(), state.end());
                return out;
            };
            ASSERT_EQ(run({first, 136 - first}), run({136}));
        }
}

TEST_P(EveryCipher, decryption_inverts_encryption) {
    Random random;
    for (const TestTable& table : test_tables()) {
        const Bytes plain = random.bytes(160);
        const Bytes key = random.bytes(32);
        const Bytes iv = random.bytes(8);
        const auto run = [&](Bytes in, int direction) {
            Bytes state = iv;
            Bytes out(in.size());
            const vrx_data from{160, in.data()};
            vrx_data to{160, out.data()};
            const Call call{GetParam(), direction, VRX_FLAG_FIRST, 0};
            EXPECT_EQ(run_library(call, &table.record, &from, &to, state.data(), key.data()), VRX_OK);
            return out;
        };
        EXPECT_NE(run(plain, 1), plain);
        EXPECT_EQ(run(run(plain, 1), 0), plain) << table.name;
    }
}

// --- Checks, codes, messages -----------------------------------------------------------------------------------------

constexpr unsigned defect_count = 11;

/** Tests every combination of invalid arguments. The first invalid argument determines the code. */
void expect_first_defect_decides(Function function, LogCapture& log) {
    Random random;
    TwinMemory memory(512);
    TestTable closed = published_table("id-Gost28147-89-CryptoPro-B-ParamSet");
    const TestTable open = closed;
    closed.record.initialised = 0;
    for (unsigned defects = 0; defects < 1u << defect_count; ++defects) {
        const auto wrong = [&](unsigned bit) { return (defects >> bit & 1) != 0; };
        const Call call{function, random.coin() ? 1 : 0, static_cast<int>(random.below(2)), 0};
        Place at;
        at.in = 33;
        at.out = 130;
        at.iv = 300;
        at.key = 350;
        at.length = wrong(0) ? 0 : wrong(1) ? 20 : 24;
        at.capacity = call.is_mac() ? (wrong(2) ? random.below(8) : 8) : wrong(2) ? at.length - 1 : at.length;
        if (at.capacity == UINT32_MAX) at.capacity = 0;  // the capacity cannot be below the length of an empty input
        at.null_table = wrong(3);
        at.null_in = wrong(4);
        at.null_out = wrong(5);
        at.null_iv = wrong(6);
        at.null_key = wrong(7);
        at.null_in_data = wrong(8);
        at.null_out_data = wrong(9);
        memory.refill(random);
        const auto rc = expect_equal(memory, log, wrong(10) ? closed : open, call, at);
        ASSERT_TRUE(rc) << "defects " << defects;
        const bool takes_iv = function != Function::ss && !call.is_mac();
        const bool bad = wrong(0) || wrong(1) || wrong(2) || wrong(3) || wrong(4) || wrong(5) ||
                         (wrong(6) && takes_iv) || wrong(7) || wrong(8) || wrong(9) || wrong(10);
        ASSERT_EQ(*rc != VRX_OK, bad) << "defects " << defects;
    }
}

TEST_P(EveryMode, the_first_of_several_wrong_arguments_decides) {
    LogCapture log;
    expect_first_defect_decides(GetParam(), log);
}

TEST_P(EveryMode, codes_are_the_same_without_a_log) {
    Random random;
    TestTable table = published_table("id-Gost28147-89-TestParamSet");
    ASSERT_EQ(vrxflog, nullptr);
    Bytes memory = random.bytes(256);
    const Call call{GetParam(), 1, 0, 0};
    vrx_data in{12, memory.data()};
    vrx_data out{GetParam() == Function::imito ? 8u : 16u, memory.data() + 64};
    std::uint8_t* iv = memory.data() + 128;
    const std::uint8_t* key = memory.data() + 160;
    EXPECT_EQ(run_library(call, &table.record, &in, &out, iv, key), VRX_ERR_BLOCK_MULTIPLE);
    table.record.initialised = 0;
    EXPECT_EQ(run_library(call, &table.record, &in, &out, iv, key), VRX_ERR_FAILED);
    in.length = 0;
    EXPECT_EQ(run_library(call, &table.record, &in, &out, iv, key), VRX_ERR_BUFFER_LENGTH);
    out.data = nullptr;
    EXPECT_EQ(run_library(call, &table.record, &in, &out, iv, key), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(run_library(call, nullptr, &in, &out, iv, key), VRX_ERR_BAD_PARAMS);
}

/** A valid call, which tests change to an invalid one, with its return code and log. */
struct Spoilt {
    TestTable table = published_table("id-Gost28147-89-CryptoPro-C-ParamSet");
    Bytes input = Bytes(32, 0x11);
    Bytes output = Bytes(32, 0x22);
    Bytes iv = Bytes(8, 0x33);
    // With equal key words, decryption would be the same as encryption.
    Bytes key = unhex("0123456789abcdeffedcba98765432100011223344556677ffeeddccbbaa9988");
    vrx_data in{16, input.data()};
    vrx_data out{32, output.data()};
    LogCapture log;

    /** The code and log of a call. A call that fails must not change anything. */
    std::pair<int, std::string> run(const Call& call, bool with_table = true, bool with_in = true, bool with_out = true,
                                    bool with_iv = true, bool with_key = true) {
        const Bytes before = output;
        const Bytes iv_before = iv;
        const std::uint32_t length_before = out.length;
        const int rc =
            run_library(call, with_table ? &table.record : nullptr, with_in ? &in : nullptr, with_out ? &out : nullptr,
                        with_iv ? iv.data() : nullptr, with_key ? key.data() : nullptr);
        if (rc != VRX_OK) {
            EXPECT_EQ(output, before);
            EXPECT_EQ(iv, iv_before);
            EXPECT_EQ(out.length, length_before);
        }
        return {rc, log.take()};
    }
};

using Outcome = std::pair<int, std::string>;

TEST(Modes, codebook_logs_each_of_its_failures) {
    const Call call{Function::ss, 1, 0, 0};
    const Outcome bad_params{VRX_ERR_BAD_PARAMS, "VRX_Gost_SS_m: bad params\n"};
    Spoilt s;
    EXPECT_EQ(s.run(call, false), bad_params);
    EXPECT_EQ(s.run(call, true, false), bad_params);
    EXPECT_EQ(s.run(call, true, true, false), bad_params);
    EXPECT_EQ(s.run(call, true, true, true, true, false), bad_params);

    const Outcome null_data{VRX_ERR_BAD_PARAMS, "VRX_Gost_SS_m: NULL data pointer\n"};
    s.in.data = nullptr;
    EXPECT_EQ(s.run(call), null_data);
    s.in.data = s.input.data();
    s.out.data = nullptr;
    EXPECT_EQ(s.run(call), null_data);
    s.out.data = s.output.data();

    const Outcome length{VRX_ERR_BUFFER_LENGTH, "VRX_Gost_SS_m: invalid buffer length\n"};
    s.in.length = 0;
    EXPECT_EQ(s.run(call), length);
    s.in.length = 16;
    s.out.length = 15;
    EXPECT_EQ(s.run(call), length);
    s.out.length = 16;

    s.table.record.initialised = 0;
    EXPECT_EQ(s.run(call), (Outcome{VRX_ERR_FAILED, "VRX_Gost_SS_m: TZ not initialized\n"}));
    s.table.record.initialised = 1;

    s.in.length = 12;
    EXPECT_EQ(s.run(call),
              (Outcome{VRX_ERR_BLOCK_MULTIPLE, "VRX_Gost_SS_m: input data length should be multiple of block size\n"}));
    s.in.length = 16;
    EXPECT_EQ(s.run(call), (Outcome{VRX_OK, ""}));
}

TEST(Modes, the_other_modes_fail_silently_on_their_arguments) {
    for (const Function function : {Function::cbc, Function::gamm, Function::gfb, Function::imito}) {
        const Call call{function, 1, VRX_FLAG_FIRST, 0};
        const Outcome bad_params{VRX_ERR_BAD_PARAMS, ""};
        Spoilt s;
        s.out.length = call.is_mac() ? 8 : 16;
        EXPECT_EQ(s.run(call, false), bad_params);
        EXPECT_EQ(s.run(call, true, false), bad_params);
        EXPECT_EQ(s.run(call, true, true, false), bad_params);
        if (!call.is_mac()) {
            EXPECT_EQ(s.run(call, true, true, true, false), bad_params);
        }
        EXPECT_EQ(s.run(call, true, true, true, true, false), bad_params);
        s.in.data = nullptr;
        EXPECT_EQ(s.run(call), bad_params);
        s.in.data = s.input.data();
        s.out.data = nullptr;
        EXPECT_EQ(s.run(call), bad_params);
        s.out.data = s.output.data();
        const Outcome length{VRX_ERR_BUFFER_LENGTH, ""};
        s.in.length = 0;
        EXPECT_EQ(s.run(call), length);
        s.in.length = 16;
        --s.out.length;
        EXPECT_EQ(s.run(call), length);
        ++s.out.length;
        s.table.record.initialised = 0;
        EXPECT_EQ(s.run(call), (Outcome{VRX_ERR_FAILED, ""}));
        s.table.record.initialised = 1;
        s.in.length = 12;
        EXPECT_EQ(s.run(call), (Outcome{VRX_ERR_BLOCK_MULTIPLE,
                                        function == Function::cbc ? "" : "make_last_block failed, rc = 0xfffffffa\n"}));
        s.in.length = 16;
        EXPECT_EQ(s.run(call), (Outcome{VRX_OK, ""}));
    }
}

TEST(Modes, empty_input_is_reported_before_the_table_is_checked) {
    for (const Function function : modes) {
        const Call call{function, 1, VRX_FLAG_PAD, 0};
        Spoilt s;
        s.table.record.initialised = 0;
        s.in.length = 0;
        s.out.length = call.is_mac() ? 8 : 0;
        EXPECT_EQ(s.run(call).first, VRX_ERR_BUFFER_LENGTH);
    }
}

TEST(Modes, codebook_and_cbc_have_no_padding) {
    for (const Function function : {Function::ss, Function::cbc})
        for (const int flags : {0, 1, 2, 3}) {
            Spoilt s;
            s.in.length = 12;
            EXPECT_EQ(s.run({function, 1, flags, 0}).first, VRX_ERR_BLOCK_MULTIPLE);
            EXPECT_EQ(s.run({Function::cipher_low, 1, flags, function == Function::ss ? 1 : 4}).first,
                      VRX_ERR_BLOCK_MULTIPLE);
        }
}

TEST(Modes, codebook_takes_no_vector) {
    Spoilt s;
    const Call call{Function::cipher_low, 1, 0, VRX_MODE_SS};
    EXPECT_EQ(s.run(call, true, true, true, false), (Outcome{VRX_OK, ""}));
}

TEST(Modes, output_as_long_as_the_input_suffices) {
    for (const Function function : ciphers)
        for (const std::uint32_t capacity : {16u, 17u, 32u}) {
            Spoilt s;
            s.out.length = capacity;
            EXPECT_EQ(s.run({function, 1, 0, 0}).first, VRX_OK);
            EXPECT_EQ(s.out.length, 16u);
            EXPECT_EQ(s.in.length, 16u);
            // Checks that the bytes after the output are unchanged.
            EXPECT_EQ(hex({s.output.data() + 16, 16}), "22222222222222222222222222222222");
        }
}

TEST(Modes, mac_output_must_be_8_bytes_and_keeps_its_length) {
    for (const Function function : {Function::imito, Function::imito_low})
        for (const std::uint32_t length : {0u, 4u, 7u, 9u, 16u, 0x108u, 0xFFFFFFFFu}) {
            Spoilt s;
            s.out.length = length;
            EXPECT_EQ(s.run({function, 1, 0, 0}).first, VRX_ERR_BUFFER_LENGTH) << length;
            s.out.length = 8;
            EXPECT_EQ(s.run({function, 1, 0, 0}).first, VRX_OK);
            EXPECT_EQ(s.out.length, 8u);
        }
}

TEST(Modes, a_mac_input_may_be_longer_than_its_state) {
    Spoilt s;
    s.in.length = 32;
    s.out.length = 8;
    EXPECT_EQ(s.run({Function::imito, 1, VRX_FLAG_FIRST, 0}), (Outcome{VRX_OK, ""}));
}

TEST(Modes, only_a_flag_byte_of_zero_refuses_a_table) {
    for (const Function function : modes) {
        const Call call{function, 1, 0, 0};
        Spoilt s;
        s.out.length = call.is_mac() ? 8 : 16;
        for (unsigned flag = 1; flag < 256; ++flag) {
            s.table.record.initialised = static_cast<std::uint8_t>(flag);
            ASSERT_EQ(s.run(call).first, VRX_OK) << flag;
        }
        s.table.record.initialised = 0;
        std::memset(s.table.record.zero, 0xFF, 3);
        EXPECT_EQ(s.run(call).first, VRX_ERR_FAILED);
    }
}

// --- Selectors -------------------------------------------------------------------------------------------------------

TEST(Modes, the_dispatcher_takes_the_mode_from_the_low_8_bits) {
    Random random;
    LogCapture log;
    TwinMemory memory(512);
    for (unsigned low = 0; low < 256; ++low)
        for (const int mode : {static_cast<int>(low), rubbish_above(random, low), rubbish_above(random, low)}) {
            const Call call{Function::cipher_low, static_cast<int>(random.below(2)), static_cast<int>(random.below(4)),
                            mode};
            Place at;
            at.in = 33;
            at.out = 130;
            at.iv = 300;
            at.key = 350;
            at.length = at.capacity = 24;
            memory.refill(random);
            const auto rc = expect_equal(memory, log, any_table(random), call, at);
            ASSERT_EQ(rc, low >= 1 && low <= 4 ? VRX_OK : VRX_ERR_BAD_PARAMS) << mode;
        }
}

TEST(Modes, dispatcher_refuses_unknown_modes_first_and_silently) {
    LogCapture log;
    for (const int mode : {0, 5, 6, 255, 256, -256, 0x105})
        EXPECT_EQ(do_cipher_low(nullptr, mode, nullptr, nullptr, nullptr, nullptr, 0, 0), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(log.take(), "");
}

TEST(Modes, dispatchers_equal_the_functions_they_call) {
    Random random;
    LogCapture log;
    TwinMemory memory(512);
    for (int round = 0; round < 4000; ++round) {
        const bool mac = random.below(4) == 0;
        const Call call{mac ? Function::imito_low : Function::cipher_low, rubbish_above(random, random.word()),
                        rubbish_above(random, random.word()), rubbish_above(random, random.below(6))};
        Place at;
        at.in = 33;
        at.out = 130 + random.below(8);
        at.iv = 300;
        at.key = 350;
        at.length = random.below(40);
        at.capacity = random.below(4) == 0 ? random.below(40) : mac ? 8 : at.length;
        switch (random.below(16)) {
            case 0:
                at.null_table = true;
                break;
            case 1:
                at.null_in = true;
                break;
            case 2:
                at.null_out = true;
                break;
            case 3:
                at.null_iv = true;
                break;
            case 4:
                at.null_key = true;
                break;
            case 5:
                at.null_in_data = true;
                break;
            case 6:
                at.null_out_data = true;
                break;
            default:
                break;
        }
        memory.refill(random);
        ASSERT_TRUE(expect_equal(memory, log, any_table(random), call, at));
    }
}

TEST(Modes, direction_counts_by_its_low_8_bits) {
    for (const Function function : {Function::ss, Function::cbc, Function::gfb}) {
        const auto output = [&](int direction) {
            Spoilt s;
            EXPECT_EQ(s.run({function, direction, 0, 0}).first, VRX_OK);
            return s.output;
        };
        EXPECT_NE(output(0), output(1));
        for (const int zero : {0x100, 0x7FFFFF00, -256, INT_MIN}) EXPECT_EQ(output(zero), output(0)) << zero;
        for (const int one : {2, 0x80, 0xFF, 0x101, -1, -255, INT_MAX}) EXPECT_EQ(output(one), output(1)) << one;
    }
}

TEST(Modes, flags_count_by_their_low_8_bits) {
    const auto run = [](Function function, int flags, std::uint32_t length) {
        Spoilt s;
        s.in.length = length;
        if (function == Function::imito) s.out.length = 8;
        const int rc = s.run({function, 1, flags, 0}).first;
        return std::tuple(rc, s.output, s.iv);
    };
    for (const Function function : {Function::gamm, Function::gfb, Function::imito}) {
        for (const int none : {0x100, 0x200, 0x300, -256, INT_MIN, 4, 8, 0xFC})
            for (const std::uint32_t length : {16u, 13u})
                EXPECT_EQ(run(function, none, length), run(function, 0, length));
        for (const int both : {0x103, -253, -1, 0xFF})
            for (const std::uint32_t length : {16u, 13u})
                EXPECT_EQ(run(function, both, length), run(function, 3, length));
    }
}

TEST(Modes, names_are_matched_exactly) {
    LogCapture log;
    EXPECT_EQ(ciph_mode_by_name("ss"), 1);
    EXPECT_EQ(ciph_mode_by_name("gamm"), 2);
    EXPECT_EQ(ciph_mode_by_name("gfb"), 3);
    EXPECT_EQ(ciph_mode_by_name("cbc"), 4);
    EXPECT_EQ(ciph_mode_by_name(nullptr), 0);
    for (const char* other : {"",     "s",   "sss", "SS",   "Ss",  "ss ",   " ss",   "gam", "gamma", "GAMM", "gf",
                              "gfb1", "GFB", "cb",  "cbcs", "CBC", "cbc\n", "imito", "ecb", "%s%n",  "1"})
        EXPECT_EQ(ciph_mode_by_name(other), 0) << other;
    EXPECT_EQ(log.take(), "");
}

// --- Padding ---------------------------------------------------------------------------------------------------------

struct LastBlock {
    int rc;
    std::string last;
    std::uint32_t tail_length, full_blocks;
};

LastBlock last_block_of(std::uint32_t length, int flags) {
    Bytes data(length);
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(i + 1);
    Bytes last(8, 0xEE);
    LastBlock result{0, "", 77, 88};
    result.rc = make_last_block(data.data(), length, last.data(), &result.tail_length, &result.full_blocks, flags);
    result.last = hex(last);
    return result;
}

TEST(MakeLastBlock, whole_blocks_leave_block_and_tail_length_untouched) {
    for (const std::uint32_t length : {8u, 16u, 800u})
        for (const int flags : {0, 1, 2, 3, -1}) {
            const LastBlock result = last_block_of(length, flags);
            EXPECT_EQ(result.rc, VRX_OK);
            EXPECT_EQ(result.full_blocks, length / 8);
            EXPECT_EQ(result.tail_length, 77u);
            EXPECT_EQ(result.last, "eeeeeeeeeeeeeeee");
        }
}

TEST(MakeLastBlock, no_bytes_are_no_blocks) {
    std::uint8_t byte = 0;
    std::uint32_t tail = 77;
    std::uint32_t full = 88;
    EXPECT_EQ(make_last_block(&byte, 0, &byte, &tail, &full, 0), VRX_OK);
    EXPECT_EQ(tail, 77u);
    EXPECT_EQ(full, 0u);
}

TEST(MakeLastBlock, partial_block_without_flag_fails_but_counts_blocks) {
    LogCapture log;
    for (const int flags : {0, 1, 4, 0x100, 0x200, -256, 0xFD})
        for (const std::uint32_t length : {1u, 7u, 9u, 23u}) {
            const LastBlock result = last_block_of(length, flags);
            EXPECT_EQ(result.rc, VRX_ERR_BLOCK_MULTIPLE);
            EXPECT_EQ(result.full_blocks, length / 8);
            EXPECT_EQ(result.tail_length, 77u);
            EXPECT_EQ(result.last, "eeeeeeeeeeeeeeee");
        }
    EXPECT_EQ(log.take(), "");
}

TEST(MakeLastBlock, a_partial_block_with_the_flag_is_padded_with_zeros) {
    for (const int flags : {2, 3, 0xFF, 0x102, -254, -1}) {
        EXPECT_EQ(last_block_of(1, flags).last, "0100000000000000");
        EXPECT_EQ(last_block_of(7, flags).last, "0102030405060700");
        const LastBlock result = last_block_of(19, flags);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.full_blocks, 2u);
        EXPECT_EQ(result.tail_length, 3u);
        EXPECT_EQ(result.last, "1112130000000000");
    }
}

TEST(Modes, partial_cnt_block_is_a_prefix_of_the_padded_one) {
    for (const std::uint32_t length : {5u, 12u, 31u}) {
        Spoilt partial;
        Spoilt whole;
        partial.in.length = length;
        whole.in.length = (length + 7) / 8 * 8;
        std::memset(whole.input.data() + length, 0, 32 - length);
        EXPECT_EQ(partial.run({Function::gamm, 1, VRX_FLAG_PAD, 0}).first, VRX_OK);
        EXPECT_EQ(whole.run({Function::gamm, 1, 0, 0}).first, VRX_OK);
        EXPECT_EQ(partial.out.length, length);
        EXPECT_EQ(hex({partial.output.data(), length}), hex({whole.output.data(), length}));
        EXPECT_EQ(partial.output[length], 0x22);
        // The counter has advanced by a whole step.
        EXPECT_EQ(partial.iv, whole.iv);
    }
}

TEST(Modes, a_mac_pads_with_zeros) {
    Spoilt partial;
    Spoilt whole;
    partial.out.length = whole.out.length = 8;
    partial.in.length = 12;
    std::memset(whole.input.data() + 12, 0, 4);
    EXPECT_EQ(partial.run({Function::imito, 1, VRX_FLAG_FIRST | VRX_FLAG_PAD, 0}).first, VRX_OK);
    EXPECT_EQ(whole.run({Function::imito, 1, VRX_FLAG_FIRST, 0}).first, VRX_OK);
    EXPECT_EQ(partial.output, whole.output);
}

TEST(Modes, encrypting_a_partial_cfb_block_leaves_padded_ciphertext) {
    Spoilt s;
    Bytes gamma = s.iv;
    model::encr_64(gamma.data(), gamma.data(), s.key.data(), s.table.substitution);
    Bytes expected = gamma;
    for (std::size_t i = 0; i < 3; ++i) expected[i] ^= 0x11;
    s.in.length = 3;
    EXPECT_EQ(s.run({Function::gfb, 1, VRX_FLAG_PAD, 0}).first, VRX_OK);
    EXPECT_EQ(hex(s.iv), hex(expected));
    EXPECT_EQ(hex({s.output.data(), 3}), hex({expected.data(), 3}));
}

TEST(Modes, decrypting_a_partial_cfb_block_leaves_plaintext_and_gamma) {
    Spoilt s;
    Bytes gamma = s.iv;
    model::encr_64(gamma.data(), gamma.data(), s.key.data(), s.table.substitution);
    Bytes expected = gamma;
    for (std::size_t i = 0; i < 3; ++i) expected[i] ^= 0x11;
    s.in.length = 3;
    EXPECT_EQ(s.run({Function::gfb, 0, VRX_FLAG_PAD, 0}).first, VRX_OK);
    EXPECT_EQ(hex({s.output.data(), 3}), hex({expected.data(), 3}));
    EXPECT_EQ(hex(s.iv), hex(expected));
}

TEST(Modes, decrypting_feedback_in_place_feeds_back_plaintext) {
    Spoilt s;
    s.out.data = s.in.data;
    Bytes expected(16);
    Bytes feedback = s.iv;
    for (std::size_t at = 0; at < 16; at += 8) {
        model::encr_64(feedback.data(), feedback.data(), s.key.data(), s.table.substitution);
        for (std::size_t i = 0; i < 8; ++i) expected[at + i] = feedback[i] ^= 0x11;
    }
    EXPECT_EQ(run_library({Function::gfb, 0, 0, 0}, &s.table.record, &s.in, &s.out, s.iv.data(), s.key.data()), VRX_OK);
    EXPECT_EQ(hex({s.input.data(), 16}), hex(expected));
    EXPECT_EQ(hex(s.iv), hex(feedback));
}

TEST(Modes, the_first_flag_does_nothing_to_feedback) {
    Spoilt with;
    Spoilt without;
    EXPECT_EQ(with.run({Function::gfb, 1, VRX_FLAG_FIRST, 0}).first, VRX_OK);
    EXPECT_EQ(without.run({Function::gfb, 1, 0, 0}).first, VRX_OK);
    EXPECT_EQ(with.output, without.output);
    EXPECT_EQ(with.iv, without.iv);
}

TEST(Modes, the_first_flag_encrypts_the_vector_of_counter_mode) {
    Spoilt with;
    Spoilt prepared;
    model::encr_64(prepared.iv.data(), prepared.iv.data(), prepared.key.data(), prepared.table.substitution);
    EXPECT_EQ(with.run({Function::gamm, 1, VRX_FLAG_FIRST, 0}).first, VRX_OK);
    EXPECT_EQ(prepared.run({Function::gamm, 1, 0, 0}).first, VRX_OK);
    EXPECT_EQ(with.output, prepared.output);
    EXPECT_EQ(with.iv, prepared.iv);
}

TEST(Modes, the_first_flag_clears_the_whole_mac_state) {
    Spoilt dirty;
    Spoilt clean;
    dirty.out.length = clean.out.length = 8;
    std::memset(clean.output.data(), 0, 8);
    EXPECT_EQ(dirty.run({Function::imito, 1, VRX_FLAG_FIRST, 0}).first, VRX_OK);
    EXPECT_EQ(clean.run({Function::imito, 1, 0, 0}).first, VRX_OK);
    EXPECT_EQ(dirty.output, clean.output);
}

TEST(Modes, the_padded_block_is_copied_before_any_block_is_written) {
    // The output of the first block overlaps the last partial block of the input.
    for (const Function function : {Function::gamm, Function::gfb}) {
        Spoilt apart;
        apart.in.length = 13;
        EXPECT_EQ(apart.run({function, 1, VRX_FLAG_PAD, 0}).first, VRX_OK);
        Spoilt s;
        s.in.length = 13;
        s.out = {13, s.in.data + 8};
        EXPECT_EQ(
            run_library({function, 1, VRX_FLAG_PAD, 0}, &s.table.record, &s.in, &s.out, s.iv.data(), s.key.data()),
            VRX_OK);
        EXPECT_EQ(hex({s.input.data() + 8, 13}), hex({apart.output.data(), 13}));
    }
}

TEST(Modes, both_counter_words_wrap_within_one_buffer) {
    Random random;
    LogCapture log;
    TwinMemory memory(4096);
    constexpr std::array words{0u, 1u, 0xFEFEFEFBu, 0xFEFEFEFCu, 0xFEFEFEFDu, 0xFEFEFEFEu, 0xFEFEFEFFu, 0xFFFFFFFFu};
    for (const std::uint32_t low : words)
        for (const std::uint32_t high : words)
            for (std::uint32_t blocks_before = 0; blocks_before < 12; ++blocks_before) {
                // Both words of the counter reach the edge value inside the buffer, at every position within a vector.
                Place at;
                at.in = 33;
                at.out = 1000;
                at.iv = 3001;
                at.key = 3100;
                at.length = at.capacity = 400;
                memory.refill(random);
                const std::uint32_t start[2] = {low - blocks_before * 0x01010101, high - blocks_before * 0x01010104};
                std::memcpy(memory.library.data() + at.iv, start, 8);
                std::memcpy(memory.model.data() + at.iv, start, 8);
                ASSERT_EQ(expect_equal(memory, log, test_tables()[0], {Function::gamm, 1, 0, 0}, at), VRX_OK);
            }
}

}  // namespace
