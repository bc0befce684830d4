// vrx hash
#include "commands/commands.hpp"
#include "digest.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    std::string set = "cryptopro";
    ListOptions lists;
    const auto files = parse_with_lists(
        self, digest_options(set, lists, "read lists of digests from the FILEs and verify them"), lists, argc, argv);
    if (!files) return exit_done;

    Piece piece(piece_size);
    const auto kinds = kinds_by_set(set, "digest", "", [&](const vrx_gostr3411_par& chosen, Input& input) {
        return gost_digest(chosen, input, piece);
    });
    return run_lists(kinds, *files, lists);
}

}  // namespace

const Command hash_command{
    "hash",
    "[FILE]...",
    "print or check GOST R 34.11-94 digests",
    R"(Print the GOST R 34.11-94 digest of each FILE, or of standard input, in the format of sha256sum; or verify such
lists.

With --check the exit code is 1 if a file differs or a line is malformed, and 2 if a file cannot be read. A line with
a tag names its parameter set; --set applies to lines without a tag.)",
    R"(vrx hash *.iso > sums
vrx hash --check sums)",
    run};

}  // namespace vrx::app
