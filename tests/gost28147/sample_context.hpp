// A sample context for tests: its table, key and IV, and updates with a separate output buffer.
#ifndef VRX_TESTS_GOST28147_SAMPLE_CONTEXT_HPP
#define VRX_TESTS_GOST28147_SAMPLE_CONTEXT_HPP

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "gost28147/model.hpp"
#include "gost28147/tables.hpp"
#include "gost28147/twin_context.hpp"
#include "support/hex.hpp"
#include "support/log_capture.hpp"
#include "vrx/context.h"

namespace vrx::test {

inline const std::string not_deployed = "VRX_Gost_SS_m: TZ not initialized\n";

/** A table, a key and an IV, and contexts opened with them. */
struct Sample {
    TestTable table = published_table("id-Gost28147-89-CryptoPro-A-ParamSet");
    Bytes key = unhex("0123456789abcdeffedcba98765432100011223344556677ffeeddccbbaa9988");
    Bytes iv = unhex("1122334455667788");
    LogCapture log;

    [[nodiscard]] vrx_crpt_ctx open(std::uint32_t mode, int direction = 1, std::uint32_t key_meshing = 0,
                                    bool with_iv = true) const {
        vrx_crpt_ctx ctx;
        EXPECT_EQ(vrx_crpt_init_context(&ctx, direction, &table.record, mode, 0, key_meshing, 0,
                                        with_iv ? iv.data() : nullptr, key_at(key.data())),
                  VRX_OK);
        return ctx;
    }
    [[nodiscard]] Bytes encrypted(Bytes block) const {
        model::encr_64(block.data(), block.data(), key.data(), table.substitution);
        return block;
    }
    [[nodiscard]] Bytes absorbed(Bytes mac, const Bytes& block) const {
        model::imito_64(block.data(), mac.data(), key.data(), table.substitution);
        return mac;
    }
};

/** The bytes 0, 1, 2, ... */
inline Bytes counted(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}

struct CallResult {
    int rc;
    std::uint32_t length;
    Bytes output;
};

/** Calls vrx_crpt_update with a separate output buffer of `capacity` bytes, filled with EE. */
inline CallResult update(vrx_crpt_ctx& ctx, Bytes input, std::uint32_t capacity) {
    Bytes output(capacity + 1, 0xEE);
    Bytes spare(1);
    const auto count = static_cast<std::uint32_t>(input.size());
    const vrx_data in{count, count == 0 ? spare.data() : input.data()};
    vrx_data out{capacity, output.data()};
    const int rc = vrx_crpt_update(&ctx, &in, &out);
    EXPECT_EQ(output.back(), 0xEE);
    output.pop_back();
    return {rc, out.length, output};
}

/** The output of an update that must succeed. */
inline Bytes updated(vrx_crpt_ctx& ctx, const Bytes& input) {
    CallResult result = update(ctx, input, static_cast<std::uint32_t>(input.size() + 8));
    EXPECT_EQ(result.rc, VRX_OK);
    result.output.resize(result.length);
    return result.output;
}

inline constexpr std::array all_modes{1u, 2u, 3u, 4u, 5u};

}  // namespace vrx::test

#endif
