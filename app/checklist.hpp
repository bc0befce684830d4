// Writes and verifies lists of check values, in the two formats of sha256sum:
//     a value in hexadecimal, two blanks, a file name
//     TAG (a file name) = a value in hexadecimal
#ifndef VRX_APP_CHECKLIST_HPP
#define VRX_APP_CHECKLIST_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "io/files.hpp"
#include "io/text.hpp"
#include "options.hpp"

namespace vrx::app {

/**
 * Thrown by CheckValue::of if an input has no check value. The check of this input has then failed; this is not an
 * input/output error.
 */
class NoValue : public Failure {
public:
    using Failure::Failure;
};

/** A kind of check value that lists can hold. */
struct CheckValue {
    const char* name;  // the name in messages, e.g. "MAC"
    std::string tag;   // the TAG of lines in the second format, e.g. "SHA1"; empty if this format is not supported
    std::size_t size;  // the length of a value in bytes
    std::function<Octets(Input&)> of;
};

/** The user's options for lists. */
struct ListOptions {
    std::string out = "-";
    bool tag = false;             // write the second format
    bool reverse = false;         // print values in reverse byte order
    bool check = false;           // the files are lists; verify them
    bool quiet = false;           // print no line for a file that passes
    bool status = false;          // report by the exit code only
    bool ignore_missing = false;  // a missing file is not a failure
};

/** Options of every command that handles lists. @param check_help  the help text of --check. */
std::vector<Option> list_options(ListOptions& options, const char* check_help);
/** The options --tag and --reverse, for digests. */
std::vector<Option> form_options(ListOptions& options);

/**
 * Parse the arguments of a command that handles lists.
 *
 * @return the files, or "-" if the user named none; std::nullopt if the user asked for help, which is then printed.
 */
std::optional<std::vector<std::string>> parse_with_lists(const Command& command, const std::vector<Option>& options,
                                                         const ListOptions& lists, int argc, char** argv);

/**
 * Write a line for each file, or verify the lists in the files.
 *
 * A file that cannot be read is reported, and the other files are still processed. In a line without a tag, the value
 * is of the first kind.
 *
 * @param read  files that the command has already read. The list must not replace any of them, nor any of `files`.
 * @return exit_check_failed if a value differs, a line is malformed, or a list checks nothing; otherwise exit_trouble
 *         if a file cannot be read.
 */
int run_lists(std::span<const CheckValue> kinds, const std::vector<std::string>& files, const ListOptions& options,
              std::vector<FileId> read = {});

}  // namespace vrx::app

#endif
