#include "checklist.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "io/failure.hpp"
#include "keys/keys.hpp"

namespace vrx::app {
namespace {

constexpr std::size_t longest_line = 64 * 1024;

/** Reads an input line by line, without LF or CRLF. */
class Lines {
public:
    explicit Lines(Input& input) : input_(input), buffer_(longest_line) {}

    /** Read the next line, truncated to `longest_line` bytes. Returns false at the end of the input. */
    bool next(std::string& line) {
        line.clear();
        bool any = false;
        while (position_ < size_ || refill()) {
            any = true;
            const char c = static_cast<char>(buffer_[position_++]);
            if (c == '\n') break;
            if (line.size() < longest_line) line += c;
        }
        if (line.ends_with('\r')) line.pop_back();
        return any;
    }

private:
    bool refill() {
        position_ = 0;
        size_ = input_.read(buffer_);
        return size_ > 0;
    }

    Input& input_;
    Piece buffer_;
    std::size_t position_ = 0;
    std::size_t size_ = 0;
};

/** Escape a file name for a list. Deceptive characters become \xHH. Sets `escaped` to true if the name changed. */
std::string escape(std::string_view name, bool& escaped) {
    std::string text;
    const std::size_t size = name.size();
    while (!name.empty()) {
        const char c = name.front();
        if (c != '\\' && c != '\n' && c != '\r') {
            append_visible(text, name);
            continue;
        }
        text.append("\\").append(1, c == '\n' ? 'n' : c == '\r' ? 'r' : c);
        name.remove_prefix(1);
    }
    escaped = text.size() != size;
    return text;
}

std::optional<std::string> unescape(std::string_view text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            name += text[i];
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        switch (text[i]) {
            case '\\':
                name += '\\';
                break;
            case 'n':
                name += '\n';
                break;
            case 'r':
                name += '\r';
                break;
            case 'x': {
                std::uint8_t octet = 0;
                if (!from_hex(text.substr(i + 1, 2), {&octet, 1}) || octet == 0) return std::nullopt;
                name += static_cast<char>(octet);
                i += 2;
                break;
            }
            default:
                return std::nullopt;
        }
    }
    return name;
}

/** Format a line of a list, without its newline. If the name has to be escaped, the line begins with a backslash. */
std::string list_line(const CheckValue& kind, bool tagged, const Octets& value, std::string_view name) {
    bool escaped = false;
    const std::string text = escape(name, escaped);
    return (escaped ? "\\" : "") +
           (tagged ? kind.tag + " (" + text + ") = " + to_hex(value) : to_hex(value) + "  " + text);
}

/** The fields of a line, as views into it. */
struct Fields {
    const CheckValue* kind;
    std::string_view digits;
    std::string_view name;
};

/** Parse "digits  name". Other programs write an asterisk for the second blank (binary mode), or a single blank. */
std::optional<Fields> plain_fields(std::string_view line, const CheckValue& kind) {
    const std::size_t digits = 2 * kind.size;
    if (line.size() <= digits || line[digits] != ' ') return std::nullopt;
    const std::string_view rest = line.substr(digits + 1);
    const bool two = rest.starts_with(' ') || rest.starts_with('*');
    return Fields{&kind, line.substr(0, digits), rest.substr(two ? 1 : 0)};
}

/** Parse "TAG (name) = digits". */
std::optional<Fields> tagged_fields(std::string_view line, const CheckValue& kind) {
    const std::string before = kind.tag + " (";
    constexpr std::string_view after = ") = ";
    const std::size_t digits = 2 * kind.size;
    if (kind.tag.empty() || line.size() < before.size() + after.size() + digits || !line.starts_with(before))
        return std::nullopt;
    const std::string_view name = line.substr(before.size(), line.size() - before.size() - digits);
    if (!name.ends_with(after)) return std::nullopt;
    return Fields{&kind, line.substr(line.size() - digits), name.substr(0, name.size() - after.size())};
}

std::optional<Fields> fields_of(std::string_view line, std::span<const CheckValue> kinds) {
    for (const CheckValue& kind : kinds)
        if (const auto fields = tagged_fields(line, kind)) return fields;
    return plain_fields(line, kinds.front());
}

struct ListLine {
    const CheckValue* kind;
    Octets value;
    std::string name;
};

/** Parse a line (without its newline) in either form; std::nullopt if it has neither form. */
std::optional<ListLine> parse_list_line(std::string_view line, std::span<const CheckValue> kinds) {
    const bool escaped = line.starts_with('\\');
    if (line.size() >= longest_line || line.find('\0') != std::string_view::npos) return std::nullopt;
    const auto fields = fields_of(line.substr(escaped ? 1 : 0), kinds);
    if (!fields || fields->name.empty()) return std::nullopt;

    ListLine result{fields->kind, Octets(fields->kind->size), std::string(fields->name)};
    if (!from_hex(fields->digits, result.value)) return std::nullopt;
    if (!escaped) return result;
    auto unescaped = unescape(fields->name);
    if (!unescaped) return std::nullopt;
    result.name = std::move(*unescaped);
    return result;
}

/** Describe the expected format of a line, for messages. */
std::string form(std::span<const CheckValue> kinds) {
    const CheckValue& kind = kinds.front();
    const std::string digits = std::to_string(2 * kind.size) + " hexadecimal digits";
    return digits + ", two blanks and a file name" +
           (kind.tag.empty() ? "" : ", or " + kind.tag + " (file name) = " + digits);
}

/** Compute the check value of a file, in the byte order of the list. */
Octets value_of(const CheckValue& kind, Input& file, const ListOptions& options) {
    Octets value = kind.of(file);
    if (options.reverse) std::reverse(value.begin(), value.end());
    return value;
}

/** Write a line for each file. @return the exit code */
int write_list(const CheckValue& kind, const std::vector<std::string>& files, const ListOptions& options,
               Output& output) {
    int code = exit_done;
    for (const std::string& path : files) {
        std::string line;
        try {
            Input file(path);
            line = list_line(kind, options.tag, value_of(kind, file, options), path) + "\n";
        } catch (const Failure& failure) {
            say(failure.what());
            code = exit_trouble;
            continue;
        }
        output.write(line);
    }
    return code;
}

enum class Verdict { passed, differs, unreadable, missing };

Verdict verdict(const ListLine& line, const ListOptions& options) {
    try {
        Input file(line.name);
        return equal_in_constant_time(value_of(*line.kind, file, options), line.value) ? Verdict::passed
                                                                                       : Verdict::differs;
    } catch (const NoValue& failure) {
        if (!options.status) say(failure.what());
        return Verdict::differs;
    } catch (const SystemFailure& failure) {
        if (failure.error() == ENOENT && options.ignore_missing) return Verdict::missing;
        say(failure.what());
        return Verdict::unreadable;
    }
}

const char* text_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::passed:
            return "OK";
        case Verdict::differs:
            return "FAILED";
        default:
            return "FAILED open or read";
    }
}

std::string count_of(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/** Counts of the results for the lines of a list. */
struct Tally {
    std::size_t lines = 0;
    std::size_t malformed = 0;
    std::size_t passed = 0;
    std::size_t differ = 0;
    std::size_t unreadable = 0;

    [[nodiscard]] int exit_code() const {
        if (malformed + differ > 0 || (passed == 0 && unreadable == 0)) return exit_check_failed;
        return unreadable > 0 ? exit_trouble : exit_done;
    }
};

Tally check_list(std::span<const CheckValue> kinds, Input& list, const ListOptions& options, Output& output) {
    Tally tally;
    Lines lines(list);
    for (std::string text; lines.next(text);) {
        ++tally.lines;
        const auto line = parse_list_line(text, kinds);
        if (!line) {
            ++tally.malformed;
            if (!options.status)
                say("line " + std::to_string(tally.lines) + " of " + list.shown() + " is malformed; the format is " +
                    form(kinds));
            continue;
        }
        const Verdict found = verdict(*line, options);
        if (found == Verdict::missing) continue;
        (found == Verdict::passed ? tally.passed : found == Verdict::differs ? tally.differ : tally.unreadable) += 1;
        if (options.status || (options.quiet && found == Verdict::passed)) continue;
        bool escaped = false;
        const std::string name = escape(line->name, escaped);
        output.write((escaped ? "\\" : "") + name + ": " + text_of(found) + "\n");
    }
    return tally;
}

/** Verify the files that the lists name, and print the result for each file. @return the exit code */
int check_lists(std::span<const CheckValue> kinds, const std::vector<std::string>& lists, const ListOptions& options) {
    Output output("-");
    bool failed = false;
    bool trouble = false;
    for (const std::string& path : lists) {
        Tally tally;
        std::string shown;
        try {
            Input list(path);
            shown = list.shown();
            tally = check_list(kinds, list, options, output);
        } catch (const SystemFailure& failure) {
            if (shown.empty()) {
                say(failure.what());
                trouble = true;
                continue;
            }
            throw;
        }
        failed |= tally.exit_code() == exit_check_failed;
        trouble |= tally.exit_code() == exit_trouble;
        if (options.status) continue;
        if (tally.lines == 0)
            say(shown + " has no lines to check");
        else if (tally.malformed > 0)
            say(shown + ": " + count_of(tally.malformed, "malformed line"));
        if (tally.differ > 0) say(shown + ": " + count_of(tally.differ, kinds.front().name) + " did not match");
        if (tally.unreadable > 0) say(shown + ": " + count_of(tally.unreadable, "file") + " could not be read");
        if (tally.lines > 0 && tally.malformed + tally.passed + tally.differ + tally.unreadable == 0)
            say(shown + ": none of its files exists, so nothing was checked");
    }
    output.commit();
    return failed ? exit_check_failed : trouble ? exit_trouble : exit_done;
}

/**
 * Collect the identities of the input files, which the list must not replace. A file that cannot be opened is ignored
 * here, because the error is reported when the file is read.
 */
void add_ids(const std::vector<std::string>& files, std::vector<FileId>& ids) {
    for (const std::string& path : files) {
        struct stat status {};
        if ((path == "-" ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) == 0)
            ids.push_back({status.st_dev, status.st_ino});
    }
}

}  // namespace

std::vector<Option> list_options(ListOptions& options, const char* check_help) {
    Option check = flag_option("check", 'c', check_help, options.check);
    check.files = Files::listed;
    return {output_option("out", 'o', "OUT", "output file for the list; default: standard output", options.out), check,
            flag_option("quiet", 0, "with --check: print no line for a file that passes", options.quiet),
            flag_option("status", 0, "with --check: print nothing; the exit code tells the result", options.status),
            flag_option("ignore-missing", 0, "with --check: ignore missing files", options.ignore_missing)};
}

std::vector<Option> form_options(ListOptions& options) {
    return {flag_option("tag", 0, "write lines as BSD programs do; --check takes both forms", options.tag),
            flag_option("reverse", 'r', "print the last byte first, as some programs do; also for --check",
                        options.reverse)};
}

std::optional<std::vector<std::string>> parse_with_lists(const Command& command, const std::vector<Option>& options,
                                                         const ListOptions& lists, int argc, char** argv) {
    auto files = parse(command, options, std::string::npos, argc, argv);
    if (!files) return files;
    if (lists.check && lists.out != "-") throw WrongUse(command, "--out has no meaning with --check");
    if (lists.check && lists.tag) throw WrongUse(command, "--tag has no meaning with --check");
    if (!lists.check && (lists.quiet || lists.status || lists.ignore_missing))
        throw WrongUse(command, "--quiet, --status and --ignore-missing belong to --check");
    if (files->empty()) files->push_back("-");
    return files;
}

int run_lists(std::span<const CheckValue> kinds, const std::vector<std::string>& files, const ListOptions& options,
              std::vector<FileId> read) {
    if (options.check) return check_lists(kinds, files, options);
    // Standard output may be one of the inputs: a shell pattern such as * often matches the output file too, and other
    // programs allow this.
    if (options.out != "-") add_ids(files, read);
    Output output(options.out, read);
    const int code = write_list(kinds.front(), files, options, output);
    output.commit();
    return code;
}

}  // namespace vrx::app
