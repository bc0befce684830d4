// The hash, HMAC and PBKDF2 with every engine, and with installed peers. "ratio" is the speed-up over a reference
// implementation; the two are timed alternately.
//
// Names: hash/ENGINE/TABLE/BYTES, hmac/ENGINE/BYTES and pbkdf2/ENGINE/ITERATIONS. ENGINE may be the name of a peer.
// TABLE is "built-in" for a built-in table, "own" for a custom table, whose S-boxes are recovered first, and "context"
// for the copy of a table in a context.
#include <cstring>

#include "gostr3411/engine.hpp"
#include "peers.hpp"
#include "straightforward.hpp"
#include "support.hpp"
#include "vrx.h"

namespace {

using peers::Digest;
using peers::Function;
using peers::password;
using peers::salt;
using vrx::gostr3411::Engine;

std::vector<std::uint8_t> message(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 167 + i / 256);
    return bytes;
}

const vrx_tz own = TZ_3411_94[1];

template <const vrx_tz* table>
Digest one_shot(const std::uint8_t* data, std::size_t size) {
    Digest out;
    GOSTR3411_Transform_ex(table, data, static_cast<std::uint32_t>(size), out.data());
    return out;
}

Digest in_context(const std::uint8_t* data, std::size_t size) {
    Digest out;
    GOSTR3411_CTX ctx;
    GOSTR3411_Init_ex(&ctx, &TZ_3411_94[1]);
    GOSTR3411_Update(&ctx, data, static_cast<std::uint32_t>(size));
    GOSTR3411_Final(&ctx, out.data());
    return out;
}

Digest hmac(const std::uint8_t* data, std::size_t size) {
    Digest out;
    std::uint32_t written;
    GOSTR3411_HMAC(nullptr, 0, data, static_cast<std::uint32_t>(size), password.data(), password.size(), out.data(),
                   &written);
    return out;
}

Digest pbkdf2(const std::uint8_t*, std::size_t iterations) {
    Digest out;
    GOSTR3411_PKCS5_PBKDF2(password.data(), password.size(), salt.data(), salt.size(), iterations, nullptr, 0,
                           out.data(), out.size());
    return out;
}

/** The reference implementation of a task. */
Function baseline(const std::string& work) {
    if (work == "hash")
        return [](const std::uint8_t* data, std::size_t size) { return straightforward::hash(own, data, size); };
    if (work == "hmac")
        return [](const std::uint8_t* data, std::size_t size) {
            return straightforward::hmac(own, password.data(), password.size(), data, size);
        };
    return [](const std::uint8_t*, std::size_t iterations) {
        return straightforward::pbkdf2(own, password.data(), password.size(), salt.data(), salt.size(), iterations);
    };
}

void measure(benchmark::State& state, const std::string& work, const Function& run, std::size_t size) {
    const auto data = message(size);
    const Function slow = baseline(work);
    if (run(data.data(), size) != slow(data.data(), size)) return state.SkipWithError("wrong result");
    bench::compare(
        state, [&] { benchmark::DoNotOptimize(slow(data.data(), size)); },
        [&] { benchmark::DoNotOptimize(run(data.data(), size)); }, size);
    if (work != "pbkdf2") return;
    state.counters["iterations/s"] = 1e6 * state.counters["MB/s"];
    state.counters.erase("MB/s");
}

std::vector<std::size_t> sizes(const std::string& work) {
    if (work == "hash") return {64, 256, 1024, 8192, 65536, 1 << 20};
    if (work == "hmac") return {64, 1024};
    return {128};  // short, so that interrupts are rare
}

const bool registered = [] {
    bench::describe(vrx::gostr3411::engine().name);
    for (const Engine& engine : vrx::gostr3411::engines) {
        if (!vrx::cpu::offers(engine.needs)) continue;
        const auto add = [&](const std::string& work, const std::string& kind, const Function& run) {
            for (const std::size_t size : sizes(work)) {
                const std::string name = work + '/' + engine.name + '/' + kind + std::to_string(size);
                const auto row = [&engine, work, run, size](benchmark::State& state) {
                    vrx::gostr3411::choice.use(engine);
                    measure(state, work, run, size);
                };
                bench::add(name, row, bench::samples(size));
            }
        };
        add("hash", "own/", one_shot<&own>);
        add("hash", "built-in/", one_shot<&TZ_3411_94[1]>);
        add("hash", "context/", in_context);
        add("hmac", "", hmac);
        add("pbkdf2", "", pbkdf2);
    }
    for (const peers::Row& peer : peers::rows())
        for (const std::size_t size : sizes(peer.work)) {
            const std::string name = peer.work + '/' + peer.name + '/' + std::to_string(size);
            if (peer.run)
                bench::add(
                    name, [&peer, size](benchmark::State& state) { measure(state, peer.work, peer.run, size); },
                    bench::samples(size));
            else
                bench::add_missing(name, peer.package);
        }
    return true;
}();

}  // namespace
