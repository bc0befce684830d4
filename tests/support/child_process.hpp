// Checks that must not touch this process: its standard streams, the library's globals at their start.
#ifndef VRX_TESTS_SUPPORT_CHILD_PROCESS_HPP
#define VRX_TESTS_SUPPORT_CHILD_PROCESS_HPP

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace vrx::test {

/** How a child process ended, and what reached the two standard outputs it was given (files). */
struct ChildRun {
    int status = 0; /**< as waitpid() tells it */
    std::string out;
    std::string err;
};

/** Run `body` in a forked child. Expectations that fail in it make it exit with 1; their texts are in `out`. */
ChildRun run_in_child(const std::function<void()>& body);

/** The child came to its end, and none of its expectations failed. */
testing::AssertionResult passed(const ChildRun& run);

}  // namespace vrx::test

#endif
