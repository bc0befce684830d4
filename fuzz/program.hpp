// Runs the program vrx inside a fuzz target: in this process, in a temporary folder.
#ifndef VRX_FUZZ_PROGRAM_HPP
#define VRX_FUZZ_PROGRAM_HPP

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz.hpp"

namespace vrx::fuzz {

/** The result of a run: exit code, standard output and standard error. */
struct Done {
    int code;
    std::string out, err;
};

/** Files by name. */
using Files = std::map<std::string, std::string>;

/**
 * A temporary folder and standard streams for runs of the program. Only one exists at a time. As long as no name
 * contains a slash, a run writes nothing outside the folder. A run has no terminal on which to ask for a password.
 */
class Folder {
public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    /** Replace the contents of the folder with these files, readable only by their owner. */
    void fill(const Files& files);
    [[nodiscard]] Files files() const;

    /** Run a function with the folder as working directory and with the temporary standard streams. */
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

/** Checks the properties that every run has, even a failed one. */
void check_run(const Done& done);

}  // namespace vrx::fuzz

#endif
