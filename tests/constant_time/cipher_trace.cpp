// Constant-time test of the cipher modes by single-stepping: instructions and memory addresses must be the same for all
// keys and data. This test is for the engines that valgrind cannot run. Usage: cipher_trace ENGINE | control
#include <cstdio>
#include <random>
#include <string_view>

#include "cipher_work.hpp"
#include "trace.hpp"

namespace {

using namespace vrx::test;

constexpr std::size_t runs = 4;

bool is_constant(const char* what, const std::function<void(CipherSecrets&)>& operation) {
    static CipherSecrets secrets;
    const auto traces = traces_of([&] {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < runs; ++i) {
            for (auto& word : secrets.key) word = static_cast<std::uint32_t>(random());
            for (auto& byte : secrets.reg) byte = static_cast<std::uint8_t>(random());
            for (auto& byte : secrets.data) byte = static_cast<std::uint8_t>(random());
            trace_begins();
            operation(secrets);
            trace_ends();
        }
    });
    return are_the_same(what, traces, runs - 1);
}

}  // namespace

int main(int argc, char** argv) {
    const vrx_tz& built_in = *TZ_by_name("tz_a");
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name == "control") {
        const auto look_up = [&](CipherSecrets& s) { run_look_ups(parallel_modes.front(), built_in, s, 5); };
        const auto chain = [&](CipherSecrets& s) { run_look_ups(chained_modes.front(), built_in, s, 5); };
        return is_constant("look-ups", look_up) || is_constant("look-ups in a chain", chain) ? 1 : 0;
    }
    const auto* engine = offered_named(vrx::gost28147::engines, name);
    if (engine == nullptr) {
        std::fputs("this engine does not run here\n", stderr);
        return cannot_trace;
    }
    vrx::gost28147::choice.use(*engine);
    const vrx_tz own = copy_of(built_in);
    bool constant = true;
    for (const vrx_tz* table : {&built_in, &own})
        for (const auto mode : parallel_modes) {
            for (const std::size_t blocks : {5U, 16U, 33U, 200U})
                constant &= is_constant("blocks", [&](CipherSecrets& s) { run_mode(mode, *table, s, blocks); });
            constant &= is_constant("sections", [&](CipherSecrets& s) { run_sections(mode, *table, s); });
        }
    if (engine->chain == vrx::gost28147::chain_permutes)
        for (const vrx_tz* table : {&built_in, &own})
            for (const auto mode : chained_modes)
                for (const std::size_t blocks : {1U, 4U, 33U})
                    constant &= is_constant("chain", [&](CipherSecrets& s) { run_chain_of(mode, *table, s, blocks); });
#ifdef VRX_CONSTANT_TIME
    const vrx_tz strange = changed(built_in);
    for (const vrx_tz* table : {&built_in, &own, &strange})
        for (const auto mode : all_modes) {
            for (const std::size_t blocks : {1U, 2U, 4U})
                constant &= is_constant("any mode", [&](CipherSecrets& s) { run_beside(mode, *table, s, blocks); });
            constant &= is_constant("in order", [&](CipherSecrets& s) { run_one_by_one(mode, *table, s, 2); });
        }
#endif
    return constant ? 0 : 1;
}
