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
    "decrypt what 'vrx encrypt' wrote",
    R"(Decrypt FILE, or standard input, with GOST 28147-89. All options must be those of the encryption.

Without --iv the first 8 bytes of the input are the IV (but in mode ss, which has none). A wrong key or option is
not noticed, the result is then random bytes.)",
    R"(vrx decrypt --key my.key -o letter.txt letter.enc
tar c folder | vrx encrypt --key my.key | vrx decrypt --key my.key | tar t)",
    run};

}  // namespace vrx::app
