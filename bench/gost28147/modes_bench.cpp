// Whole buffers: every mode with every engine, and with installed peers. "ratio" is the speed-up over a reference
// implementation; the two are timed alternately. Names: modes/MODE/ENGINE/TABLE/BYTES. TABLE is "built-in" for a
// built-in table, "own" for a custom table, whose S-boxes are recovered first, and "strange" for a table that no
// S-boxes produce.
#include <cstring>
#include <map>

#include "gost28147/engine/list.hpp"
#include "peers.hpp"
#include "straightforward.hpp"
#include "support.hpp"
#include "vrx.h"

namespace {

using bench::Job;
using straightforward::Work;
using vrx::gost28147::Engine;

constexpr std::uint32_t key[VRX_KEY_WORDS] = {0x01234567, 0x89abcdef, 0xfedcba98, 0x76543210,
                                              0x0f1e2d3c, 0x4b5a6978, 0x8796a5b4, 0xc3d2e1f0};

struct Mode {
    const char* name;
    void (*baseline)(const Work& w);
    /** The exported function. */
    int (*run)(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* reg);
    bool parallel;
};

template <int direction>
int ecb(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t*) {
    return VRX_Gost_SS_m(table, in, out, key, direction);
}
template <int direction>
int cbc(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* reg) {
    return VRX_Gost_CBC_m(table, in, out, reg, key, direction);
}
int counter(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* reg) {
    return VRX_Gost_Gamm_m(table, in, out, reg, key, 0);
}
template <int direction>
int cfb(const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* reg) {
    return VRX_Gost_GFB_m(table, in, out, reg, key, direction, 0);
}
int mac(const vrx_tz* table, const vrx_data* in, vrx_data*, std::uint8_t* reg) {
    vrx_data state{VRX_BLOCK_SIZE, reg};
    return VRX_Gost_Imito_m(table, in, &state, key, 0);
}

constexpr Mode modes[] = {{"ecb_encrypt", straightforward::ecb_encrypt, ecb<1>, true},
                          {"ecb_decrypt", straightforward::ecb_decrypt, ecb<0>, true},
                          {"counter", straightforward::counter, counter, true},
                          {"cbc_decrypt", straightforward::cbc_decrypt, cbc<0>, true},
                          {"cfb_decrypt", straightforward::cfb_decrypt, cfb<0>, true},
                          {"cbc_encrypt", straightforward::cbc_encrypt, cbc<1>, false},
                          {"cfb_encrypt", straightforward::cfb_encrypt, cfb<1>, false},
                          {"mac", straightforward::mac, mac, false}};

const vrx_tz* table_of(const std::string& kind) {
    static const vrx_tz own = TZ_28147_89[1];
    static const vrx_tz strange = [] {
        vrx_tz t = TZ_28147_89[1];
        std::uint32_t x = 1;
        for (auto& half : t.t)
            for (std::uint32_t& word : half) word = x = x * 1664525 + 1013904223;
        return t;
    }();
    if (kind == "built-in") return &TZ_28147_89[1];
    return kind == "own" ? &own : &strange;
}

/** The input does not start at a cache line. */
struct Buffers {
    std::vector<std::uint8_t> in, out, expected;
    std::uint8_t reg[VRX_BLOCK_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint8_t other_reg[VRX_BLOCK_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    explicit Buffers(std::size_t size) : in(size), out(size), expected(size) {
        for (std::size_t i = 0; i < size; ++i) in[i] = static_cast<std::uint8_t>(i * 167 + i / 256);
    }
};

void measure(benchmark::State& state, const Mode& mode, const Engine& engine, const vrx_tz* table, std::size_t size) {
    vrx::gost28147::choice.use(engine);
    Buffers b(size);
    const Job baseline = [&] {
        mode.baseline({table, key, b.other_reg, b.in.data(), b.expected.data(), size / VRX_BLOCK_SIZE});
    };
    const vrx_data in{static_cast<std::uint32_t>(size), b.in.data()};
    vrx_data out{static_cast<std::uint32_t>(size), b.out.data()};
    const Job job = [&] { mode.run(table, &in, &out, b.reg); };
    baseline();
    job();
    if (b.out != b.expected || std::memcmp(b.reg, b.other_reg, sizeof b.reg) != 0)
        return state.SkipWithError("wrong result");
    bench::compare(state, baseline, job, size);
}

/** A context with key meshing that processes the buffer repeatedly. */
void measure_meshed(benchmark::State& state, const Mode& mode, std::uint32_t number, const Engine& engine,
                    std::size_t size) {
    vrx::gost28147::choice.use(engine);
    Buffers b(size);
    const vrx_tz* const table = table_of("own");
    vrx_crpt_ctx ctx;
    vrx_crpt_init_context(&ctx, 0, table, number, 0, 1, 0, b.reg, key);
    std::uint32_t slow_key[VRX_KEY_WORDS];
    const vrx_data in{static_cast<std::uint32_t>(size), b.in.data()};
    const Job job = [&] {
        vrx_data out{static_cast<std::uint32_t>(size), b.out.data()};
        vrx_crpt_update(&ctx, &in, &out);
    };
    const Job baseline = [&] {
        straightforward::meshed(mode.baseline,
                                {table, nullptr, b.other_reg, b.in.data(), b.expected.data(), size / VRX_BLOCK_SIZE},
                                slow_key);
    };
    job();  // from here on, every section begins with key meshing
    std::memcpy(slow_key, ctx.key, sizeof slow_key);
    std::memcpy(b.other_reg, ctx.iv, sizeof b.other_reg);
    job();
    baseline();
    if (b.out != b.expected) return state.SkipWithError("wrong result");
    bench::compare(state, baseline, job, size);
}

const bool registered = [] {
    using vrx::gost28147::engines;
    bench::describe(vrx::gost28147::engine().name);
    for (const Engine& engine : engines) {
        if (!vrx::cpu::offers(engine.needs)) continue;
        const auto row = [&](const Mode& mode, const char* kind, std::size_t size) {
            bench::add(
                std::string("modes/") + mode.name + '/' + engine.name + '/' + kind + '/' + std::to_string(size),
                [&, kind, size](benchmark::State& s) { measure(s, mode, engine, table_of(kind), size); },
                bench::samples(size));
        };
        for (const Mode& mode : modes) {
            for (const std::size_t size : {8U, 16U, 24U, 64U, 256U, 1024U, 8192U, 65536U, 1048576U})
                row(mode, "own", size);
            if (!mode.parallel) continue;
            for (const std::size_t size : {16U, 64U, 256U}) row(mode, "built-in", size);
            for (const std::size_t size : {1024U, 4096U, 65536U}) row(mode, "strange", size);
        }
        for (const auto& [number, index] : std::map<std::uint32_t, std::size_t>{
                 {VRX_MODE_SS, 1}, {VRX_MODE_GAMM, 2}, {VRX_MODE_CBC, 3}, {VRX_MODE_GFB, 4}})
            for (const std::size_t size : {8192U, 65536U})
                bench::add(
                    std::string("context/") + modes[index].name + '/' + engine.name + "/meshed/" + std::to_string(size),
                    [&engine, number = number, index = index, size](benchmark::State& s) {
                        measure_meshed(s, modes[index], number, engine, size);
                    });
    }
    for (const peers::Row& peer : peers::rows())
        for (const std::size_t size : {64U, 256U, 1024U, 8192U, 65536U, 1048576U}) {
            const std::string name = std::string("modes/") + peer.mode + '/' + peer.name + '/' + std::to_string(size);
            if (!peer.open) {
                bench::add_missing(name, peer.package);
                continue;
            }
            bench::add(
                name,
                [&peer, size](benchmark::State& state) {
                    Buffers b(size);
                    const Mode& mode = *std::find_if(std::begin(modes), std::end(modes),
                                                     [&](const Mode& m) { return std::string(m.name) == peer.mode; });
                    const Job job = peer.open(b.in.data(), b.out.data(), size);
                    if (!job) return state.SkipWithError("the peer does not have it");
                    bench::compare(
                        state,
                        [&] {
                            mode.baseline({&TZ_28147_89[1], key, b.reg, b.in.data(), b.expected.data(), size / 8});
                        },
                        job, size);
                },
                bench::samples(size));
        }
    return true;
}();

}  // namespace
