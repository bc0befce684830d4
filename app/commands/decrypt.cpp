// vrx decrypt
#include "commands/commands.hpp"
#include "transform.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) { return run_transform(self, false, argc, argv); }

}  // namespace

const Command decrypt_command{
    "decrypt",
    "[FILE]",
    "decrypt a file with GOST 28147-89",
    R"(Decrypt FILE, or standard input, with GOST 28147-89. Use the same options as for encryption.

Without --iv the first 8 bytes of the input are the IV (mode ss has none). The program cannot detect a wrong key
or option; it exits with 0 and the output is wrong:

key, S-boxes, mode: all of the output is wrong.
IV: the first 8 bytes are wrong in modes gfb and cbc; everything is wrong in gamm.
--mesh, --no-mesh: everything after byte 1024 is wrong.

A changed byte of the ciphertext changes that byte of the output in gamm, that byte and the next block in gfb, its
block and one byte of the next in cbc, and its block in ss. To detect changes, first check a MAC with 'vrx mac'.)",
    R"(vrx decrypt --key my.key -o letter.txt letter.enc
tar c folder | vrx encrypt --key my.key | vrx decrypt --key my.key | tar t)",
    run};

}  // namespace vrx::app
