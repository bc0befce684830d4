// Deployment of a table, compared with a reference implementation.
#include <cstring>

#include "frame/cpu.hpp"
#include "support.hpp"
#include "tz/deployments.hpp"

namespace {

[[gnu::noinline]] void straightforward(const std::uint8_t* num, vrx_tz* out) {
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned x = 0; x < 256; ++x) {
            const std::uint32_t low = num[4 * (x & 15) + k] & 15U;
            const std::uint32_t high = num[4 * (x >> 4) + k] >> 4;
            const std::uint32_t word = (low | high << 4) << (8 * k);
            out->t[k][x] = word << 11 | word >> 21;
        }
    out->initialised = 1;
}

const bool registered = [] {
    for (const vrx::tz::Deployment& d : vrx::tz::deployments) {
        if (!vrx::cpu::offers(d.needs)) continue;
        bench::add(std::string("deploy/") + d.name, [&d](benchmark::State& state) {
            std::uint8_t num[VRX_NUM_TZ_SIZE];
            for (unsigned i = 0; i < sizeof num; ++i) num[i] = static_cast<std::uint8_t>(i * 167);
            vrx_tz table{};
            vrx_tz expected{};
            straightforward(num, &expected);
            d.run(vrx::tz::Numeric(num), table);
            if (std::memcmp(&table, &expected, sizeof table) != 0) return state.SkipWithError("wrong result");
            const auto slow = [&] {
                straightforward(num, &expected);
                benchmark::ClobberMemory();
            };
            const auto fast = [&] {
                d.run(vrx::tz::Numeric(num), table);
                benchmark::ClobberMemory();
            };
            bench::compare(state, slow, fast, sizeof table);
        });
    }
    return true;
}();

}  // namespace
