// Lists of check values in the form of sha256sum: a value in hexadecimal, two blanks, a file name.
#ifndef VRX_APP_CHECKLIST_HPP
#define VRX_APP_CHECKLIST_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "files.hpp"
#include "options.hpp"

namespace vrx::app {

using Octets = std::vector<std::uint8_t>;

/** Thrown by CheckValue::of for an input that has no value: a failed check, where a missing file is trouble. */
class NoValue : public Failure {
public:
    using Failure::Failure;
};

/** The kind of values that a list holds. */
struct CheckValue {
    const char* name;  // for messages, "MAC"
    std::size_t size;  // in bytes
    std::function<Octets(Input&)> of;
};

/** A line of a list, without its line end. A name with backslashes or line ends is escaped, and the line marked. */
std::string list_line(std::span<const std::uint8_t> value, std::string_view name);

struct ListLine {
    Octets value;
    std::string name;
};

/** Read a line (without its line end) back; nothing when it is not of that form. */
std::optional<ListLine> parse_list_line(std::string_view line, std::size_t value_size);

/** Write a line for each file. One that cannot be read is named and does not stop the rest. @return the exit code */
int write_list(const CheckValue& value, const std::vector<std::string>& files, Output& output);

struct CheckOptions {
    bool quiet = false;           // no line for a file that passes
    bool status = false;          // the exit code alone tells
    bool ignore_missing = false;  // files that are not there are no failure
};

std::vector<Option> check_options(CheckOptions& options);

/**
 * Compare the files of lists with the values there, one line of output for each file.
 *
 * @return exit_check_failed when a value differs, a line is not understood, or a list checks nothing; otherwise
 *         exit_trouble when a file cannot be read.
 */
int check_lists(const CheckValue& value, const std::vector<std::string>& lists, const CheckOptions& options);

}  // namespace vrx::app

#endif
