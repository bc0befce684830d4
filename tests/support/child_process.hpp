// Runs checks in a child process. The checks then affect neither the standard streams of this process nor the library's
// global variables in this process.
#ifndef VRX_TESTS_SUPPORT_CHILD_PROCESS_HPP
#define VRX_TESTS_SUPPORT_CHILD_PROCESS_HPP

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace vrx::test {

/** The exit status of a child process, and its standard output and standard error. */
struct ChildRun {
    int status = 0; /**< from waitpid() */
    std::string out;
    std::string err;
};

/**
 * Run `body` in a forked child. If an expectation fails in the child, it exits with 1, and `out` contains the message.
 */
ChildRun run_in_child(const std::function<void()>& body);

/** Checks that the child ended normally and that its expectations held. */
testing::AssertionResult passed(const ChildRun& run);

}  // namespace vrx::test

#endif
