// Compares a call of a one-shot function with the model, on two copies of memory.
#ifndef VRX_TESTS_GOST28147_TWIN_CALL_HPP
#define VRX_TESTS_GOST28147_TWIN_CALL_HPP

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "gost28147/tables.hpp"
#include "support/log_capture.hpp"
#include "vrx/modes.h"

namespace vrx::test {

enum class Function { ss, cbc, gamm, gfb, imito, cipher_low, imito_low };

/** The arguments of a call other than memory. */
struct Call {
    Function function = Function::ss;
    int direction = 1;
    int flags = 0;
    int mode = 0;  // the mode number for the dispatcher

    [[nodiscard]] bool is_mac() const { return function == Function::imito || function == Function::imito_low; }
};

inline std::string text_of(const Call& call) {
    return "function " + std::to_string(static_cast<int>(call.function)) + ", mode " + std::to_string(call.mode) +
           ", direction " + std::to_string(call.direction) + ", flags " + std::to_string(call.flags);
}

inline int run_library(const Call& c, const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
                       const std::uint8_t* key) {
    const std::uint32_t* words = key_at(key);
    switch (c.function) {
        case Function::ss:
            return VRX_Gost_SS_m(table, in, out, words, c.direction);
        case Function::cbc:
            return VRX_Gost_CBC_m(table, in, out, iv, words, c.direction);
        case Function::gamm:
            return VRX_Gost_Gamm_m(table, in, out, iv, words, c.flags);
        case Function::gfb:
            return VRX_Gost_GFB_m(table, in, out, iv, words, c.direction, c.flags);
        case Function::imito:
            return VRX_Gost_Imito_m(table, in, out, words, c.flags);
        case Function::cipher_low:
            return do_cipher_low(table, c.mode, in, out, iv, words, c.direction, c.flags);
        default:
            return do_imito_low(table, in, out, words, c.flags);
    }
}

inline int run_model(model::Log& log, const Call& c, const model::Table* table, const vrx_data* in, vrx_data* out,
                     std::uint8_t* iv, const std::uint8_t* key) {
    switch (c.function) {
        case Function::ss:
            return model::ss(log, table, in, out, key, c.direction);
        case Function::cbc:
            return model::cbc(log, table, in, out, iv, key, c.direction);
        case Function::gamm:
            return model::gamm(log, table, in, out, iv, key, c.flags);
        case Function::gfb:
            return model::gfb(log, table, in, out, iv, key, c.direction, c.flags);
        case Function::cipher_low:
            return model::cipher_low(log, table, c.mode, in, out, iv, key, c.direction, c.flags);
        default:
            return model::imito(log, table, in, out, key, c.flags);
    }
}

/** Memory arguments as offsets into a twin memory, and which of them are NULL. */
struct Place {
    std::size_t in = 0;
    std::size_t out = 0;  // for a MAC, its state
    std::size_t iv = 0;
    std::size_t key = 0;
    std::uint32_t length = 0;
    std::uint32_t capacity = 0;
    bool null_table = false, null_in = false, null_out = false, null_iv = false, null_key = false;
    bool null_in_data = false, null_out_data = false;
    bool one_record = false;  // the same vrx_data as input and output
};

/**
 * Runs the same call on library and model. Code, log, every byte of memory and the output's length must agree. Returns
 * the code, or nothing if there is a difference.
 */
inline std::optional<int> expect_equal(TwinMemory& memory, LogCapture& capture, const TestTable& table,
                                       const Call& call, const Place& at) {
    const auto record_of = [](Bytes& bytes, std::size_t offset, std::uint32_t length, bool null) {
        return vrx_data{length, null ? nullptr : bytes.data() + offset};
    };
    struct Outcome {
        int rc;
        std::uint32_t in_length, out_length;
    };
    const auto run = [&](Bytes& bytes, auto function) {
        vrx_data in = record_of(bytes, at.in, at.length, at.null_in_data);
        vrx_data out = record_of(bytes, at.out, at.capacity, at.null_out_data);
        vrx_data* target = at.one_record ? &in : &out;
        const int rc =
            function(at.null_in ? nullptr : &in, at.null_out ? nullptr : target,
                     at.null_iv ? nullptr : bytes.data() + at.iv, at.null_key ? nullptr : bytes.data() + at.key);
        return Outcome{rc, in.length, out.length};
    };
    const Outcome actual = run(memory.library, [&](vrx_data* in, vrx_data* out, std::uint8_t* iv, std::uint8_t* key) {
        return run_library(call, at.null_table ? nullptr : &table.record, in, out, iv, key);
    });
    model::Log log;
    const model::Table model_table = table.model();
    const Outcome expected = run(memory.model, [&](vrx_data* in, vrx_data* out, std::uint8_t* iv, std::uint8_t* key) {
        return run_model(log, call, at.null_table ? nullptr : &model_table, in, out, iv, key);
    });
    const bool equal = actual.rc == expected.rc && actual.in_length == expected.in_length &&
                       actual.out_length == expected.out_length && memory.equal();
    EXPECT_TRUE(equal) << text_of(call) << ", " << table.name << ", length " << at.length << ", in at " << at.in
                       << ", out at " << at.out << ", capacity " << at.capacity << ": code " << actual.rc
                       << ", should be " << expected.rc << "; lengths " << actual.in_length << " " << actual.out_length
                       << ", should be " << expected.in_length << " " << expected.out_length << "; "
                       << memory.difference();
    const std::string logged = capture.take();
    EXPECT_EQ(logged, log) << text_of(call);
    if (!equal || logged != log) return std::nullopt;
    return actual.rc;
}

}  // namespace vrx::test

#endif
