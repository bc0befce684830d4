// vrx encrypt
#include "commands/commands.hpp"
#include "transform.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) { return run_transform(self, true, argc, argv); }

}  // namespace

const Command encrypt_command{"encrypt",
                              "[FILE]",
                              "encrypt a file with GOST 28147-89",
                              R"(Encrypt FILE, or standard input, with GOST 28147-89.

Without --iv an IV of 8 bytes is drawn at random and written before the data, where 'vrx decrypt' reads it. Mode ss
has no IV and writes none. Modes ss and cbc take data of a multiple of 8 bytes only; nothing is padded. The result
carries no check of its own: protect it with 'vrx mac'.)",
                              R"(vrx keygen --out my.key
vrx encrypt --key my.key -o letter.enc letter.txt)",
                              run};

}  // namespace vrx::app
