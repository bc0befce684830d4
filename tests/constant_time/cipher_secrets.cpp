// Constant-time test of the cipher modes with valgrind. Keys and data are marked as uninitialised memory, so valgrind
// reports every branch and every address that depends on them. Usage: cipher_secrets ENGINE. The engine "baseline" uses
// look-ups, which valgrind must report.
#include <valgrind/memcheck.h>

#include <cstdio>

#include "cipher_work.hpp"

using namespace vrx::test;

int main(int argc, char** argv) {
    const auto* engine = argc == 2 ? offered_named(vrx::gost28147::engines, argv[1]) : nullptr;
    if (engine == nullptr) {
        std::fputs("usage: cipher_secrets ENGINE\n", stderr);
        return 2;
    }
    vrx::gost28147::choice.use(*engine);
    static CipherSecrets secrets;
    const auto hide = [] { static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(&secrets, sizeof secrets)); };
    const vrx_tz& built_in = *TZ_by_name("tz_a");
    const vrx_tz own = copy_of(built_in);
    for (const vrx_tz* table : {&built_in, &own})
        for (const auto mode : parallel_modes)
            for (const std::size_t blocks : {32U, 64U, 96U, 256U}) {
                hide();
                run_mode(mode, *table, secrets, blocks);
            }
    return 0;
}
