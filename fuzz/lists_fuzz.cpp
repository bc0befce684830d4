// Fuzz target: lists of digests and MACs. The program reads any text as a list without a crash. A list that it wrote
// for a file is valid for that file and for no other contents, whatever the name of the file is.
#include "program.hpp"

namespace {

using vrx::fuzz::Done;
using vrx::fuzz::Files;
using vrx::fuzz::Folder;
using vrx::fuzz::Input;
using vrx::fuzz::require;
using Arguments = std::vector<std::string>;

std::string text_of(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

/** A valid file name, or an empty string. */
std::string name_of(Input& input) {
    std::string name = text_of(input.take(input.byte() % 64));
    for (char& c : name)
        if (c == '\0' || c == '/') c = '\\';
    const bool taken = name == "." || name == ".." || name == "-" || name == "list" || name == "key";
    return taken ? "" : name;
}

Arguments operator+(Arguments a, const Arguments& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/** The command, and the options that are the same for writing and checking a list. */
Arguments command_of(std::uint8_t choice) {
    const bool reverse = (choice & 16) != 0;
    Arguments command;
    switch (choice % 4) {
        case 0:
            command = {"hash"};
            break;
        case 1:
            command = {"sha1"};
            break;
        case 2:
            command = {"hmac", "--key", "key"};
            break;
        default:
            return {"mac", "--key", "key"};
    }
    if (reverse) command.emplace_back("--reverse");
    return command;
}

void any_text(Folder& folder, const Arguments& command, Input& input) {
    const std::string list = text_of(input.rest());
    folder.fill({{"key", std::string(32, 'k')}, {"a", "some text"}, {"list", list}});
    const Done done = folder.vrx(command + Arguments{"--check", "list"});
    if (list.empty()) require(done.code == 1, "a list without lines checks nothing");
    // Each line of output belongs to a line of the list.
    require(std::count(done.out.begin(), done.out.end(), '\n') <= std::count(list.begin(), list.end(), '\n') + 1,
            "lines of the list are answered once");
    const Done silent = folder.vrx(command + Arguments{"--check", "--status", "list"});
    require(silent.code == done.code && silent.out.empty(), "--status says the same with its code alone");
}

void own_list(Folder& folder, const Arguments& command, bool tagged, Input& input) {
    const std::string name = name_of(input);
    const std::uint8_t flip = input.byte();
    const std::string content = "x" + text_of(input.rest());  // an empty message has no MAC
    if (name.empty()) return;
    Files files{{"key", std::string(32, 'k')}, {name, content}};
    folder.fill(files);
    const Done made = folder.vrx(command + (tagged && command.front() != "mac" ? Arguments{"--tag"} : Arguments{}) +
                                 Arguments{"--", name});
    require(made.code == 0 && made.err.empty() && made.out.ends_with('\n') &&
                std::count(made.out.begin(), made.out.end(), '\n') == 1,
            "a file makes one line");
    files["list"] = made.out;
    folder.fill(files);
    const Done checked = folder.vrx(command + Arguments{"--check", "list"});
    require(checked.code == 0 && checked.out.ends_with(": OK\n"), "a list confirms the file that it was made of");

    files[name].at(flip % content.size()) ^= 1;
    folder.fill(files);
    require(folder.vrx(command + Arguments{"--check", "list"}).code == 1, "a list notices a changed bit");
    files.erase(name);
    folder.fill(files);
    require(folder.vrx(command + Arguments{"--check", "list"}).code == 2, "a list misses a file that is gone");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Folder folder;
    Input input(data, size);
    const std::uint8_t choice = input.byte();
    const Arguments command = command_of(choice);
    if ((choice & 64) != 0)
        any_text(folder, command, input);
    else
        own_list(folder, command, (choice & 32) != 0, input);
    return 0;
}
