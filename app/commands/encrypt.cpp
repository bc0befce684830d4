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

Without --iv the program generates a random IV of 8 bytes and writes it before the ciphertext, where 'vrx decrypt'
reads it. Mode ss has no IV. Modes ss and cbc take whole blocks of 8 bytes only; nothing is padded. Decryption does
not detect changes: compute a MAC of the ciphertext with 'vrx mac' and a second key.)",
                              R"(vrx keygen --out my.key
vrx encrypt --key my.key -o letter.enc letter.txt)",
                              run};

}  // namespace vrx::app
