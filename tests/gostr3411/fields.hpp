// A hash context and its model, side by side.
#ifndef VRX_TESTS_GOSTR3411_FIELDS_HPP
#define VRX_TESTS_GOSTR3411_FIELDS_HPP

#include <gtest/gtest.h>

#include <cstring>

#include "model.hpp"
#include "vrx/gostr3411.h"

namespace vrx::test {

template <typename Field>
Octets octets(const Field& field) {
    static_assert(sizeof field == sizeof(Octets));
    Octets out{};
    std::memcpy(out.data(), &field, out.size());
    return out;
}

inline void expect_fields(const GOSTR3411_CTX& ctx, const ModelContext& model, const vrx_tz& table) {
    EXPECT_EQ(std::memcmp(&ctx.table, &table, sizeof table), 0);
    EXPECT_EQ(hex(octets(ctx.sum)), hex(model.sum));
    EXPECT_EQ(hex(octets(ctx.hash)), hex(model.hash));
    EXPECT_EQ(hex(octets(ctx.length)), hex(model.length));
    EXPECT_EQ(hex(octets(ctx.buffer)), hex(model.buffer));
    EXPECT_EQ(ctx.count, model.count);
}

/** Copies the fields of the model to a context. */
inline void put_fields(GOSTR3411_CTX& ctx, const ModelContext& model) {
    std::memcpy(ctx.sum, model.sum.data(), sizeof ctx.sum);
    std::memcpy(ctx.hash, model.hash.data(), sizeof ctx.hash);
    std::memcpy(ctx.length, model.length.data(), sizeof ctx.length);
    std::memcpy(ctx.buffer, model.buffer.data(), sizeof ctx.buffer);
    ctx.count = static_cast<std::uint32_t>(model.count);
}

/** The round function of a table of any content. */
inline Substitution on_table(const vrx_tz& table) {
    return [table](std::uint32_t v) {
        std::uint32_t sum = 0;
        for (unsigned k = 0; k < 4; ++k) sum ^= table.t[k][v >> 8 * k & 0xff];
        return sum;
    };
}

}  // namespace vrx::test

#endif
