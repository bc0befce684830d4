// The program vrx inside a fuzz target: its sources run in this process, in a folder of their own.
#ifndef VRX_FUZZ_PROGRAM_HPP
#define VRX_FUZZ_PROGRAM_HPP

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz.hpp"

namespace vrx::fuzz {

/** What a run left: exit code, standard output and standard error. */
struct Done {
    int code;
    std::string out, err;
};

/** Files by name. */
using Files = std::map<std::string, std::string>;

/**
 * A temporary folder and standard streams for runs of the program. There is one at a time. Nothing outside is written,
 * as long as no name holds a slash, and there is no terminal to ask for a password.
 */
class Folder {
public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    /** Make the folder hold these files, readable by their owner alone, and nothing else. */
    void fill(const Files& files);
    [[nodiscard]] Files files() const;

    /** Run a function with the folder as working directory, and the streams in place of the standard ones. */
    Done inside(const std::function<int()>& function, std::string_view standard_input = "");
    /** Run the program. */
    Done vrx(std::vector<std::string> arguments, std::string_view standard_input = "");

private:
    std::string path_;
    int outside_;
    int folder_;
    int streams_[3];
    int saved_[3];
};

/** What holds for every run, wherever it failed. */
void check_run(const Done& done);

}  // namespace vrx::fuzz

#endif
