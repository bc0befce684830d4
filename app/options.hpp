// Defines commands and their options, parses arguments, and prints help.
#ifndef VRX_APP_OPTIONS_HPP
#define VRX_APP_OPTIONS_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "io/failure.hpp"

namespace vrx::app {

/** A command of the program. Each is defined in its own file and listed in main.cpp. */
struct Command {
    const char* name;
    const char* operands;     // for the help: what may follow the options
    const char* summary;      // one line, for the list of commands
    const char* description;  // a paragraph or two, with newlines
    const char* example;      // command lines
    /** Run it. argv[0] is the command's name. @return the exit code. */
    int (*run)(const Command& self, int argc, char** argv);
};

/** The kind of files that the value of an option names. */
enum class Files { none, read, written, listed };  // listed: files to read that name further files to read

/** One option of a command. */
struct Option {
    const char* name;                      // its long form, without dashes
    char letter;                           // its short form, or 0
    const char* value;                     // the name of its value in the help; nullptr if the option takes no value
    const char* help;                      // may contain newlines
    std::function<void(const char*)> set;  // called with the value, or with nullptr if the option takes no value
    Files files = Files::none;
};

/** An Option that sets a flag. */
Option flag_option(const char* name, char letter, const char* help, bool& mark);
/** An Option that stores its value. */
Option text_option(const char* name, char letter, const char* value, const char* help, std::string& text);
Option text_option(const char* name, char letter, const char* value, const char* help,
                   std::optional<std::string>& text);

/** An Option whose value is a FILE to read. */
Option input_option(const char* name, char letter, const char* help, std::optional<std::string>& path);
/** An Option whose value is a FILE to read, and which may be repeated. Stores its values in order. */
Option input_option(const char* name, char letter, const char* help, std::vector<std::string>& paths);

/** An Option whose value is a file to write. */
Option output_option(const char* name, char letter, const char* value, const char* help, std::string& path);
Option output_option(const char* name, char letter, const char* value, const char* help,
                     std::optional<std::string>& path);

/** A usage error: a Failure whose text also points to the help. */
class WrongUse : public Failure {
public:
    WrongUse(const Command& command, const std::string& what);
};

/**
 * Parse the arguments of a command by GNU conventions: options and operands in any order, abbreviated long options, and
 * only operands after "--". Then confine the process to the files that the arguments name.
 *
 * @param most  the maximum number of operands.
 * @return the operands; std::nullopt if the user asked for help, which is then printed.
 */
std::optional<std::vector<std::string>> parse(const Command& command, const std::vector<Option>& options,
                                              std::size_t most, int argc, char** argv);

}  // namespace vrx::app

#endif
