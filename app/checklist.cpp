#include "checklist.hpp"

#include <cerrno>

#include "failure.hpp"
#include "text.hpp"

namespace vrx::app {
namespace {

constexpr std::size_t longest_line = 64 * 1024;

/** Lines of an input, without their LF or CRLF. */
class Lines {
public:
    explicit Lines(Input& input) : input_(input), buffer_(longest_line) {}

    /** The next line, cut to `longest_line` bytes. */
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

/** A name as lists hold it; `escaped` tells whether anything was changed. */
std::string escape(std::string_view name, bool& escaped) {
    std::string text;
    for (const char c : name) {
        if (c == '\\')
            text += "\\\\";
        else if (c == '\n')
            text += "\\n";
        else if (c == '\r')
            text += "\\r";
        else
            text += c;
    }
    escaped = text.size() != name.size();
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
            default:
                return std::nullopt;
        }
    }
    return name;
}

/** Compare without telling, by the time it takes, where the difference is. */
bool equal_in_constant_time(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    if (a.size() != b.size()) return false;
    volatile std::uint8_t difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) difference = difference | (a[i] ^ b[i]);
    return difference == 0;
}

enum class Verdict { passed, differs, unreadable, missing };

Verdict verdict(const CheckValue& value, const ListLine& line, const CheckOptions& options) {
    try {
        Input file(line.name);
        return equal_in_constant_time(value.of(file), line.value) ? Verdict::passed : Verdict::differs;
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

/** What a list came to. */
struct Tally {
    std::size_t lines = 0;
    std::size_t not_understood = 0;
    std::size_t passed = 0;
    std::size_t differ = 0;
    std::size_t unreadable = 0;

    [[nodiscard]] int exit_code() const {
        if (not_understood + differ > 0 || (passed == 0 && unreadable == 0)) return exit_check_failed;
        return unreadable > 0 ? exit_trouble : exit_done;
    }
};

Tally check_list(const CheckValue& value, Input& list, const CheckOptions& options, Output& output) {
    Tally tally;
    Lines lines(list);
    for (std::string text; lines.next(text);) {
        ++tally.lines;
        const auto line = parse_list_line(text, value.size);
        if (!line) {
            ++tally.not_understood;
            if (!options.status)
                say("line " + std::to_string(tally.lines) + " of " + list.shown() +
                    " is not understood; it should be " + std::to_string(2 * value.size) +
                    " hexadecimal digits, two blanks and a file name");
            continue;
        }
        const Verdict found = verdict(value, *line, options);
        if (found == Verdict::missing) continue;
        (found == Verdict::passed ? tally.passed : found == Verdict::differs ? tally.differ : tally.unreadable) += 1;
        if (options.status || (options.quiet && found == Verdict::passed)) continue;
        bool escaped = false;
        const std::string name = escape(line->name, escaped);
        output.write((escaped ? "\\" : "") + name + ": " + text_of(found) + "\n");
    }
    return tally;
}

}  // namespace

std::string list_line(std::span<const std::uint8_t> value, std::string_view name) {
    bool escaped = false;
    const std::string text = escape(name, escaped);
    return (escaped ? "\\" : "") + to_hex(value) + "  " + text;
}

std::optional<ListLine> parse_list_line(std::string_view line, std::size_t value_size) {
    const bool escaped = line.starts_with('\\');
    if (escaped) line.remove_prefix(1);
    const std::size_t digits = 2 * value_size;
    // sha256sum and its kin write an asterisk in place of the second blank for files read in binary.
    if (line.size() < digits + 3 || line.size() >= longest_line || line[digits] != ' ' ||
        (line[digits + 1] != ' ' && line[digits + 1] != '*'))
        return std::nullopt;

    ListLine result;
    result.value.resize(value_size);
    if (!from_hex(line.substr(0, digits), result.value)) return std::nullopt;
    const std::string_view name = line.substr(digits + 2);
    if (name.find('\0') != std::string_view::npos) return std::nullopt;
    if (!escaped) {
        result.name = name;
        return result;
    }
    auto unescaped = unescape(name);
    if (!unescaped) return std::nullopt;
    result.name = std::move(*unescaped);
    return result;
}

int write_list(const CheckValue& value, const std::vector<std::string>& files, Output& output) {
    int code = exit_done;
    for (const std::string& path : files) {
        std::string line;
        try {
            Input file(path);
            line = list_line(value.of(file), path) + "\n";
        } catch (const Failure& failure) {
            say(failure.what());
            code = exit_trouble;
            continue;
        }
        output.write(line);
    }
    return code;
}

std::vector<Option> check_options(CheckOptions& options) {
    return {flag_option("quiet", 0, "with --check: no line for a file that passes", options.quiet),
            flag_option("status", 0, "with --check: no lines, the exit code tells", options.status),
            flag_option("ignore-missing", 0, "with --check: no failure for files that are not there",
                        options.ignore_missing)};
}

int check_lists(const CheckValue& value, const std::vector<std::string>& lists, const CheckOptions& options) {
    Output output("-");
    bool failed = false;
    bool trouble = false;
    for (const std::string& path : lists) {
        Tally tally;
        std::string shown;
        try {
            Input list(path);
            shown = list.shown();
            tally = check_list(value, list, options, output);
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
            say(shown + " holds no line to check");
        else if (tally.not_understood > 0)
            say(shown + ": " + count_of(tally.not_understood, "line") + " not understood");
        if (tally.differ > 0) say(shown + ": " + count_of(tally.differ, value.name) + " did not match");
        if (tally.unreadable > 0) say(shown + ": " + count_of(tally.unreadable, "file") + " could not be read");
        if (tally.lines > 0 && tally.not_understood + tally.passed + tally.differ + tally.unreadable == 0)
            say(shown + ": none of its files is there, nothing was checked");
    }
    output.commit();
    return failed ? exit_check_failed : trouble ? exit_trouble : exit_done;
}

}  // namespace vrx::app
