// vrx hash, vrx sha1
#include "commands.hpp"
#include "digest.hpp"
#include "pieces.hpp"

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

constexpr const char* check_help = "read lists of digests from the FILEs and verify them";

int run_hash(const Command& self, int argc, char** argv) {
    std::string set = "cryptopro";
    ListOptions lists;
    const auto files = parse_with_lists(self, digest_options(set, lists, check_help), lists, argc, argv);
    if (!files) return exit_done;

    Piece piece(piece_size);
    const auto kinds = kinds_by_set(set, "digest", "", [&](const vrx_gostr3411_par& chosen, Input& input) {
        return gost_digest(chosen, input, piece);
    });
    return run_lists(kinds, *files, lists);
}

int run_sha1(const Command& self, int argc, char** argv) {
    ListOptions lists;
    std::vector<Option> options = form_options(lists);
    for (Option& option : list_options(lists, check_help)) options.push_back(std::move(option));
    const auto files = parse_with_lists(self, options, lists, argc, argv);
    if (!files) return exit_done;

    Piece piece(piece_size);
    const CheckValue sha1{"digest", "SHA1", VRX_SHA1_SIZE, [&](Input& input) { return sha1_digest(input, piece); }};
    return run_lists({&sha1, 1}, *files, lists);
}

}  // namespace

const Command hash_command{
    "hash",
    "[FILE]...",
    "print or check GOST R 34.11-94 digests",
    "Print the GOST R 34.11-94 digest of each FILE, or of standard input, in lines as sha256sum writes them; or "
    "verify\n"
    "such lines.\n"
    "\n"
    "With --check the exit code is 1 when a file differs or a line is not understood, and 2 when a file cannot be\n"
    "read. Lines with a tag name their parameter set; --set is for those without.",
    "vrx hash *.iso > sums\n"
    "vrx hash --check sums",
    run_hash};

const Command sha1_command{
    "sha1",
    "[FILE]...",
    "print or check SHA-1 digests",
    "Print the SHA-1 digest of each FILE, or of standard input, in lines as sha1sum writes them; or verify such "
    "lines.\n"
    "SHA-1 finds accidents, not attacks: two files with one digest can be made.\n"
    "\n"
    "With --check the exit code is 1 when a file differs or a line is not understood, and 2 when a file cannot be\n"
    "read.",
    "vrx sha1 *.iso > sums\n"
    "vrx sha1 --check sums",
    run_sha1};

}  // namespace vrx::app
