// vrx sha1
#include <vrx.h>

#include "checklist.hpp"
#include "commands/commands.hpp"
#include "io/pieces.hpp"

namespace vrx::app {
namespace {

Octets sha1_digest(Input& input, Piece& piece) {
    sha_context context;
    shaInit(&context);
    for_each_piece(input, piece,
                   [&](std::span<const std::uint8_t> data) { shaUpdate(&context, data.data(), data.size()); });
    Octets digest(VRX_SHA1_SIZE);
    shaFinal(&context, digest.data());
    return digest;
}

int run(const Command& self, int argc, char** argv) {
    ListOptions lists;
    std::vector<Option> options = form_options(lists);
    for (Option& option : list_options(lists, "read lists of digests from the FILEs and verify them"))
        options.push_back(std::move(option));
    const auto files = parse_with_lists(self, options, lists, argc, argv);
    if (!files) return exit_done;

    Piece piece(piece_size);
    const CheckValue sha1{"digest", "SHA1", VRX_SHA1_SIZE, [&](Input& input) { return sha1_digest(input, piece); }};
    return run_lists({&sha1, 1}, *files, lists);
}

}  // namespace

const Command sha1_command{
    "sha1",
    "[FILE]...",
    "print or check SHA-1 digests",
    R"(Print the SHA-1 digest of each FILE, or of standard input, in the format of sha1sum; or verify such lists. SHA-1
detects accidental corruption, not tampering: attackers can make two files with the same digest.

With --check the exit code is 1 if a file differs or a line is malformed, and 2 if a file cannot be read.)",
    R"(vrx sha1 *.iso > sums
vrx sha1 --check sums)",
    run};

}  // namespace vrx::app
