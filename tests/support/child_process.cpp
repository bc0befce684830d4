#include "support/child_process.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

/** Writes the counts of a coverage build, because _exit() does not write them. */
extern "C" [[gnu::weak]] void __gcov_dump();

namespace vrx::test {
namespace {

std::string contents(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
    return text;
}

}  // namespace

ChildRun run_in_child(const std::function<void()>& body) {
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    if (out == nullptr || err == nullptr) throw std::runtime_error("no temporary file");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        std::fclose(out);
        std::fclose(err);
        body();
        std::fflush(nullptr);
        if (__gcov_dump != nullptr) __gcov_dump();
        _exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    ChildRun run;
    if (waitpid(child, &run.status, 0) != child) throw std::runtime_error("the child process is lost");
    run.out = contents(out);
    run.err = contents(err);
    std::fclose(out);
    std::fclose(err);
    return run;
}

testing::AssertionResult passed(const ChildRun& run) {
    if (WIFEXITED(run.status) && WEXITSTATUS(run.status) == EXIT_SUCCESS) return testing::AssertionSuccess();
    return testing::AssertionFailure() << (WIFSIGNALED(run.status) ? "killed by signal " : "exited with ")
                                       << (WIFSIGNALED(run.status) ? WTERMSIG(run.status) : WEXITSTATUS(run.status))
                                       << "\n"
                                       << run.out << run.err;
}

}  // namespace vrx::test
