// Lists of check values, in the two forms that sha256sum and its kin print:
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

/** Thrown by CheckValue::of for an input that has no value: a failed check, where a missing file is trouble. */
class NoValue : public Failure {
public:
    using Failure::Failure;
};

/** A kind of values that a list holds. */
struct CheckValue {
    const char* name;  // for messages, "MAC"
    std::string tag;   // of lines of the second form, "SHA1"; empty when there are none
    std::size_t size;  // in bytes
    std::function<Octets(Input&)> of;
};

/** What the user said about lists. */
struct ListOptions {
    std::string out = "-";
    bool tag = false;             // write the second form
    bool reverse = false;         // values have their last byte first
    bool check = false;           // the files are lists; verify them
    bool quiet = false;           // no line for a file that passes
    bool status = false;          // the exit code alone tells
    bool ignore_missing = false;  // files that are not there are no failure
};

/** Options that all commands with lists have. @param check_help  explains --check. */
std::vector<Option> list_options(ListOptions& options, const char* check_help);
/** Options of digests: --tag and --reverse. */
std::vector<Option> form_options(ListOptions& options);

/**
 * Read the arguments of a command with lists.
 *
 * @return the files, standard input when none is named; nothing when the user asked for help, which is then printed.
 */
std::optional<std::vector<std::string>> parse_with_lists(const Command& command, const std::vector<Option>& options,
                                                         const ListOptions& lists, int argc, char** argv);

/**
 * Write a line for each file, or verify the lines of the files.
 *
 * A file that cannot be read is named and does not stop the rest. Lines without a tag hold a value of the first kind.
 *
 * @param read  files that the command has read already: the list may replace none of them, and none of `files`.
 * @return exit_check_failed when a value differs, a line is not understood, or a list checks nothing; otherwise
 *         exit_trouble when a file cannot be read.
 */
int run_lists(std::span<const CheckValue> kinds, const std::vector<std::string>& files, const ListOptions& options,
              std::vector<FileId> read = {});

}  // namespace vrx::app

#endif
