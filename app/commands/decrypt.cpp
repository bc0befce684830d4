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

wrong key, S-boxes or mode: all of the output is wrong.
wrong IV: the first 8 bytes are wrong in modes gfb and cbc; everything is wrong in gamm.
wrong use of --mesh or --no-mesh: everything after byte 1024 is wrong.

If one byte of the ciphertext was changed, this part of the output is wrong:

gamm: the same byte.
gfb: the same byte, and the next block of 8 bytes.
cbc: the block with this byte, and one byte of the next block.
ss: the block with this byte.

To detect changes, first check a MAC with 'vrx mac'.)",
    R"(vrx decrypt --key my.key -o letter.txt letter.enc
tar c folder | vrx encrypt --key my.key | vrx decrypt --key my.key | tar t)",
    run};

}  // namespace vrx::app
