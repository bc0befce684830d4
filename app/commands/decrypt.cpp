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

With a wrong key, wrong S-boxes or a wrong mode, all of the output is wrong.
With a wrong IV, the first 8 bytes are wrong in modes gfb and cbc, and everything is wrong in gamm.
With the wrong one of --mesh and --no-mesh, everything after byte 1024 is wrong.

One changed byte of the ciphertext makes a part of the output wrong. In gamm, this is the same byte. In gfb, it is the
same byte and the next block of 8 bytes. In cbc, it is the block with this byte, and one byte of the next block. In ss,
it is the block with this byte.

To detect changes, first check a MAC with 'vrx mac'.)",
    R"(vrx decrypt --key my.key -o letter.txt letter.enc
tar c folder | vrx encrypt --key my.key | vrx decrypt --key my.key | tar t)",
    run};

}  // namespace vrx::app
