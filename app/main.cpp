// The program vrx: finds the command, runs it, and reports what went wrong.
#include <algorithm>
#include <array>
#include <csignal>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include <vrx.h>

#include "commands/commands.hpp"
#include "io/confinement.hpp"
#include "io/failure.hpp"
#include "io/files.hpp"
#include "io/text.hpp"
#include "keys/keys.hpp"
#include "keys/traces.hpp"
#include "topics.hpp"

namespace vrx::app {
namespace {

constexpr std::array commands{&encrypt_command,   &decrypt_command,  &mac_command,        &hash_command,
                              &sha1_command,      &hmac_command,     &derive_command,     &keygen_command,
                              &keypair_command,   &pubkey_command,   &sign_command,       &verify_command,
                              &cms_show_command,  &cms_sign_command, &cms_verify_command, &agree_command,
                              &diversify_command, &inspect_command,  &params_command,     &speed_command};

/** An earlier name of a command, which the program still accepts. */
struct Alias {
    std::string_view name;
    std::string_view command;
};
constexpr std::array aliases{Alias{"genkey", "keypair"}};

constexpr const char* where_to_look = "; 'vrx help' lists the commands";

int print(const std::string& text) {
    Output output("-");
    output.write(text);
    output.commit();
    return exit_done;
}

/** Format a line of a list of commands or topics. */
std::string summary_line(std::string name, const char* summary) {
    name.resize(13, ' ');
    return "  " + name + summary + "\n";
}

std::string overview() {
    std::string text = R"(Usage: vrx COMMAND [OPTIONS] [FILE]...

GOST cryptography for files. Without FILE, or if FILE is -, commands read standard input.

Commands:
)";
    for (const Command* command : commands) text += summary_line(command->name, command->summary);
    text += summary_line("help", "this list, or help on a command or topic");
    text += summary_line("version", "print the version of the program");
    text += "\nTopics:\n";
    for (const Topic& topic : topics()) text += summary_line(topic.name, topic.summary);
    return text + R"(
'vrx help COMMAND' or 'vrx COMMAND --help' explains a command, 'vrx help TOPIC' a topic.
Manual pages: vrx(1), vrx_keys(5) and vrx_formats(5). Guides: /usr/share/doc/libvrx-dev (package libvrx-dev).
Exit codes: 0 done, 1 a check failed, 2 wrong use or an input/output error ('vrx help exit-codes').

Example:
  vrx keygen --out my.key
  vrx encrypt --key my.key -o letter.enc letter.txt
  vrx decrypt --key my.key -o letter.txt letter.enc
)";
}

std::string version() { return "vrx " VRX_VERSION "\n" + std::string(vrx_copyright_notice()) + "\n"; }

/** The command that arguments name, and the number of words in its name. */
struct Named {
    const Command* command;  // nullptr if there is none
    int words;
};

/** True if this is the first word of commands with two words. */
bool is_group(std::string_view word) {
    return std::ranges::any_of(
        commands, [&](const Command* c) { return std::string_view(c->name).starts_with(std::string(word) + " "); });
}

/** Find a command by its name or an alias. The name has one word, or two. */
Named command_named(int argc, char** argv) {
    std::string name = argv[0];
    const int words = argc > 1 && is_group(name) ? 2 : 1;
    if (words == 2) name += std::string(" ") + argv[1];
    for (const Alias& alias : aliases)
        if (name == alias.name) name = alias.command;
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const Command* c) { return c->name == name; });
    return {found != commands.end() ? *found : nullptr, words};
}

/** The help on the first word of commands with two words. */
std::string group_overview(std::string_view group) {
    std::string text = "Usage: vrx " + std::string(group) + " COMMAND [OPTIONS] [FILE]\n\nCommands:\n";
    for (const Command* command : commands)
        if (std::string_view(command->name).starts_with(std::string(group) + " "))
            text += summary_line(command->name, command->summary);
    return text + "\n'vrx help " + std::string(group) + " COMMAND' explains a command.\n";
}

/**
 * Returns a text that lists the protections that work on this machine. To find out, the function switches each of them
 * on, so the process is confined afterwards.
 */
std::string protections() {
    const Confinement confined = confine({});
    const SecretPages pages(1);
    std::string text = "On this machine:\n\n  files         ";
    text += confined.landlock > 0
                ? "only those on the command line (Landlock, version " + std::to_string(confined.landlock) + ")"
                : "not limited: the kernel has no Landlock";
    text += "\n  system calls  ";
    text += confined.seccomp ? "only those that the program needs (seccomp)" : "not limited: the kernel has no seccomp";
    text += "\n  secrets       ";
    switch (pages.protection()) {
        case SecretPages::Protection::hidden:
            return text + "in memory that even the kernel does not map (memfd_secret)\n";
        case SecretPages::Protection::locked:
            return text + "in locked memory\n";
        default:
            return text + "in memory that may be swapped out\n";
    }
}

int help(int argc, char** argv) {
    if (argc == 1) return print(overview());
    const std::string_view name = argv[1];
    const Named named = command_named(argc - 1, argv + 1);
    if (argc > 1 + named.words)
        throw Failure("help takes the name of one command or topic" + std::string(where_to_look));
    for (const Topic& topic : topics())
        if (name == topic.name)
            return print(name == "secrets" ? topic.text + ("\n" + protections()) : std::string(topic.text));
    if (name == "help" || name == "version") return print(overview());
    if (named.words == 1 && is_group(name)) return print(group_overview(name));
    if (named.command == nullptr)
        throw Failure("there is no command or topic " + in_quotes(name) + "; 'vrx help' lists them");
    std::string option = "--help";
    std::array<char*, 3> arguments{argv[named.words], option.data(), nullptr};
    return named.command->run(*named.command, 2, arguments.data());
}

int run(int argc, char** argv) {
    if (argc < 2) throw Failure("name a command" + std::string(where_to_look));
    const std::string_view name = argv[1];
    if (name == "help" || name == "--help" || name == "-h") return help(argc - 1, argv + 1);
    if (name == "version" || name == "--version") {
        if (argc > 2) throw Failure(std::string(name) + " takes no operands; leave them out");
        return print(version());
    }
    if (name.starts_with('-')) throw Failure("the command comes first, not " + in_quotes(name) + where_to_look);
    const Named named = command_named(argc - 1, argv + 1);
    if (named.command == nullptr && is_group(name))
        throw Failure((argc == 2 ? in_quotes(name) + " needs a second word"
                                 : "there is no command " + in_quotes(std::string(name) + " " + argv[2])) +
                      "; 'vrx help " + std::string(name) + "' lists the commands");
    if (named.command == nullptr) throw Failure("there is no command " + in_quotes(name) + where_to_look);
    return named.command->run(*named.command, argc - named.words, argv + named.words);
}

/** Run the program and report failures. @return the exit code. */
[[gnu::noinline]] int run_and_report(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const Failure& failure) {
        say(failure.what());
    } catch (const std::bad_alloc&) {
        say("there is not enough memory; free some, or raise the limit (ulimit -v)");
    } catch (const std::exception& error) {
        say("internal error, please report it: ", error.what());
    }
    return exit_trouble;
}

}  // namespace
}  // namespace vrx::app

int main(int argc, char** argv) {
    using namespace vrx::app;
    occupy_standard_streams();
#ifdef VRX_CONFINED
    enable_confinement();
#endif
    // If a write exceeds the limit of the file size, it fails with an error instead of a signal.
    std::signal(SIGXFSZ, SIG_IGN);
    const int code = run_and_report(argc, argv);
    clear_traces();
    return code;
}
