// Short messages, each with a new context: init, one update, final. Names: opened/MODE/vrx/BYTES. The baseline is the
// reference implementation without a context, so the ratio shows the overhead of a context.
#include "straightforward.hpp"
#include "support.hpp"
#include "vrx.h"

namespace {

using straightforward::Work;

constexpr std::uint32_t key[VRX_KEY_WORDS] = {0x01234567, 0x89abcdef, 0xfedcba98, 0x76543210,
                                              0x0f1e2d3c, 0x4b5a6978, 0x8796a5b4, 0xc3d2e1f0};

struct Mode {
    const char* name;
    std::uint32_t number;
    int encrypt;
    void (*baseline)(const Work& w);
};

constexpr Mode modes[] = {{"counter", VRX_MODE_GAMM, 1, straightforward::counter},
                          {"cbc_decrypt", VRX_MODE_CBC, 0, straightforward::cbc_decrypt},
                          {"cbc_encrypt", VRX_MODE_CBC, 1, straightforward::cbc_encrypt},
                          {"cfb_decrypt", VRX_MODE_GFB, 0, straightforward::cfb_decrypt},
                          {"cfb_encrypt", VRX_MODE_GFB, 1, straightforward::cfb_encrypt},
                          {"mac", VRX_MODE_IMITO, 1, straightforward::mac}};

void measure(benchmark::State& state, const Mode& mode, std::size_t size) {
    const vrx_tz* const table = TZ_by_name("tz_a");
    std::vector<std::uint8_t> in(size, 0x5a), out(size), expected(size);
    std::uint8_t iv[VRX_BLOCK_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint8_t reg[VRX_BLOCK_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    const vrx_data from{static_cast<std::uint32_t>(size), in.data()};
    bool failed = false;
    bench::compare(
        state,
        [&] {
            mode.baseline({table, key, reg, in.data(), expected.data(), size / VRX_BLOCK_SIZE});
        },
        [&] {
            vrx_data to{static_cast<std::uint32_t>(size), out.data()};
            vrx_crpt_ctx ctx;
            vrx_crpt_init_context(&ctx, mode.encrypt, table, mode.number, 0, 0, 0, iv, key);
            failed |= vrx_crpt_update(&ctx, &from, &to) != VRX_OK || vrx_crpt_final(&ctx) != VRX_OK;
        },
        size);
    if (failed) state.SkipWithError("a call failed");
}

[[maybe_unused]] const bool registered = [] {
    for (const Mode& mode : modes)
        for (const std::size_t size : {16U, 64U, 1024U})
            bench::add(std::string("opened/") + mode.name + "/vrx/" + std::to_string(size),
                       [&mode, size](benchmark::State& state) { measure(state, mode, size); });
    return true;
}();

}  // namespace
