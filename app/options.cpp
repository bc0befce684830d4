#include "options.hpp"

#include <getopt.h>

#include <algorithm>
#include <string_view>

#include "io/confinement.hpp"
#include "io/files.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

/** Format an option for the first column of the help: "-k, --key FILE". */
std::string form(const Option& option) {
    std::string text = option.letter != 0 ? std::string("-") + option.letter + ", --" : "    --";
    text += option.name;
    if (option.value != nullptr) text += std::string(" ") + option.value;
    return text;
}

std::string indented(std::string_view text, std::size_t columns) {
    std::string result;
    for (const char c : text) {
        result += c;
        if (c == '\n') result.append(columns, ' ');
    }
    return result;
}

void print_help(const Command& command, const std::vector<Option>& options) {
    std::size_t width = 0;
    for (const Option& option : options) width = std::max(width, form(option).size());

    std::string text = std::string("Usage: vrx ") + command.name + " [OPTIONS]";
    if (command.operands[0] != '\0') text += std::string(" ") + command.operands;
    text += std::string("\n\n") + command.description + "\n\nOptions:\n";
    for (const Option& option : options) {
        std::string column = form(option);
        column.resize(width, ' ');
        text += "  " + column + "  " + indented(option.help, width + 4) + "\n";
    }
    text += std::string("\nExample:\n  ") + indented(command.example, 2) + "\n";

    Output output("-");
    output.write(text);
    output.commit();
}

}  // namespace

Option flag_option(const char* name, char letter, const char* help, bool& mark) {
    return {name, letter, nullptr, help, [&mark](const char*) { mark = true; }};
}

Option text_option(const char* name, char letter, const char* value, const char* help, std::string& text) {
    return {name, letter, value, help, [&text](const char* given) { text = given; }};
}

Option text_option(const char* name, char letter, const char* value, const char* help,
                   std::optional<std::string>& text) {
    return {name, letter, value, help, [&text](const char* given) { text = given; }};
}

Option input_option(const char* name, char letter, const char* help, std::optional<std::string>& path) {
    return {name, letter, "FILE", help, [&path](const char* given) { path = given; }, Files::read};
}

Option input_option(const char* name, char letter, const char* help, std::vector<std::string>& paths) {
    return {name, letter, "FILE", help, [&paths](const char* given) { paths.emplace_back(given); }, Files::read};
}

Option output_option(const char* name, char letter, const char* value, const char* help, std::string& path) {
    return {name, letter, value, help, [&path](const char* given) { path = given; }, Files::written};
}

Option output_option(const char* name, char letter, const char* value, const char* help,
                     std::optional<std::string>& path) {
    return {name, letter, value, help, [&path](const char* given) { path = given; }, Files::written};
}

WrongUse::WrongUse(const Command& command, const std::string& what)
    : Failure(what + "; see 'vrx " + command.name + " --help'") {}

std::optional<std::vector<std::string>> parse(const Command& command, const std::vector<Option>& options,
                                              std::size_t most, int argc, char** argv) {
    bool help = false;
    std::vector<Option> all = options;
    all.push_back(flag_option("help", 'h', "print this help", help));

    // getopt_long() identifies a long option by a number. Here this number is the index of the option, plus an offset
    // that is above all characters.
    constexpr int first_value = 256;
    std::string letters = ":";  // makes getopt_long() return ':' if a value is missing
    std::vector<struct option> longs;
    for (const Option& option : all) {
        const bool takes_value = option.value != nullptr;
        longs.push_back({option.name, takes_value ? required_argument : no_argument, nullptr,
                         first_value + static_cast<int>(longs.size())});
        if (option.letter == 0) continue;
        letters += option.letter;
        if (takes_value) letters += ':';
    }
    longs.push_back({});

    Access access;
    optind = 0;
    opterr = 0;
    for (;;) {
        const int found = getopt_long(argc, argv, letters.c_str(), longs.data(), nullptr);
        if (found == -1) break;
        if (found == ':' || found == '?') {
            const bool is_letter = optopt != 0 && optopt < first_value;
            const std::string given =
                in_quotes(is_letter ? std::string{'-', static_cast<char>(optopt)} : argv[optind - 1]);
            if (found == ':') throw WrongUse(command, "option " + given + " needs a value");
            if (optopt >= first_value) throw WrongUse(command, "option " + given + " takes no value");
            throw WrongUse(command, "there is no option " + given + ", or the abbreviation is ambiguous");
        }
        const auto option = found >= first_value ? all.begin() + (found - first_value)
                                                 : std::find_if(all.begin(), all.end(),
                                                                [found](const Option& o) { return o.letter == found; });
        option->set(optarg);
        if (option->files == Files::read) access.inputs.emplace_back(optarg);
        if (option->files == Files::written) access.outputs.emplace_back(optarg);
        if (option->files == Files::listed) access.every_input = true;
    }
    if (help) {
        print_help(command, all);
        return std::nullopt;
    }
    std::vector<std::string> operands(argv + optind, argv + argc);
    if (operands.size() > most) throw WrongUse(command, "there is one operand too many, " + in_quotes(operands[most]));
    access.inputs.insert(access.inputs.end(), operands.begin(), operands.end());
    confine(access);
    return operands;
}

}  // namespace vrx::app
