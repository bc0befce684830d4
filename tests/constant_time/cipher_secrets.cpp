// Constant-time test of the cipher modes with valgrind. Keys and data are marked as uninitialised memory, so valgrind
// reports every branch and every address that depends on them. Usage: cipher_secrets ENGINE | control. "control" uses
// look-ups, which valgrind must report.
#include <valgrind/memcheck.h>

#include <cstdio>

#include "cipher_work.hpp"

using namespace vrx::test;

namespace {

using vrx::gost28147::Mode;

CipherSecrets secrets;

template <typename Work>
void with_secrets(Work work) {
    static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(&secrets, sizeof secrets));
    work();
}

/** The calls that are constant with the engine avx2 in every build. */
void run_long(const vrx_tz& table) {
    for (const Mode mode : parallel_modes)
        for (const std::size_t blocks : {32U, 64U, 96U, 256U})
            with_secrets([&] { run_mode(mode, table, secrets, blocks); });
}

#ifdef VRX_CONSTANT_TIME
/** The calls that are constant only with VRX_CONSTANT_TIME. */
void run_all(const vrx_tz& table) {
    for (const Mode mode : all_modes) {
        for (const std::size_t blocks : {1U, 2U, 3U, 4U, 5U, 16U, 31U, 33U})
            with_secrets([&] { run_beside(mode, table, secrets, blocks); });
        with_secrets([&] { run_one_by_one(mode, table, secrets, 3); });
    }
    for (const Mode mode : parallel_modes) with_secrets([&] { run_sections(mode, table, secrets); });
}
#endif

}  // namespace

int main(int argc, char** argv) {
    const vrx_tz& built_in = *TZ_by_name("tz_a");
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name == "control") {
        with_secrets([&] { run_look_ups(parallel_modes.front(), built_in, secrets, 32); });
        return 0;
    }
    const auto* engine = offered_named(vrx::gost28147::engines, name);
    if (engine == nullptr) {
        std::fputs("this engine does not run here\n", stderr);
        return 77;
    }
    vrx::gost28147::choice.use(*engine);
    const vrx_tz own = copy_of(built_in);
    for (const vrx_tz* table : {&built_in, &own}) run_long(*table);
#ifdef VRX_CONSTANT_TIME
    const vrx_tz strange = changed(built_in);
    for (const vrx_tz* table : {&built_in, &own, &strange}) run_all(*table);
#endif
    return 0;
}
