// Commands, their options, and their help.
#ifndef VRX_APP_OPTIONS_HPP
#define VRX_APP_OPTIONS_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "io/failure.hpp"

namespace vrx::app {

/** A command of the program. Each has a file of its own and a line in main.cpp. */
struct Command {
    const char* name;
    const char* operands;     // what may follow the options, for the help
    const char* summary;      // one line of the list of commands
    const char* description;  // a paragraph or two, with newlines
    const char* example;      // command lines
    /** Run it. argv[0] is the command's name. @return the exit code. */
    int (*run)(const Command& self, int argc, char** argv);
};

/** One option of a command. */
struct Option {
    const char* name;                      // its long form, without dashes
    char letter;                           // its short form, or 0
    const char* value;                     // what its value is called in the help; nullptr when it takes none
    const char* help;                      // may contain newlines
    std::function<void(const char*)> set;  // takes the value, or nullptr
};

/** An Option that only sets a mark. */
Option flag_option(const char* name, char letter, const char* help, bool& mark);
/** An Option that stores its value. */
Option text_option(const char* name, char letter, const char* value, const char* help, std::string& text);
Option text_option(const char* name, char letter, const char* value, const char* help,
                   std::optional<std::string>& text);

/** An Option that may be repeated; its values in order. */
Option list_option(const char* name, char letter, const char* value, const char* help, std::vector<std::string>& texts);

/** Wrong use of a command: a Failure that also says where to read more. */
class WrongUse : public Failure {
public:
    WrongUse(const Command& command, const std::string& what);
};

/**
 * Read the arguments of a command in the manner of GNU programs: options and operands in any order, abbreviations, and
 * operands alone after "--".
 *
 * @param most  how many operands the command takes.
 * @return the operands; nothing when the user asked for help, which is then printed.
 */
std::optional<std::vector<std::string>> parse(const Command& command, const std::vector<Option>& options,
                                              std::size_t most, int argc, char** argv);

}  // namespace vrx::app

#endif
