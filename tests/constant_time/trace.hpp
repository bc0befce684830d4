// Traces the instructions and memory addresses of an operation, which is what a side channel may reveal. A parent
// process single-steps a child.
#ifndef VRX_TESTS_CONSTANT_TIME_TRACE_HPP
#define VRX_TESTS_CONSTANT_TIME_TRACE_HPP

#include <cstdint>
#include <functional>
#include <vector>

namespace vrx::test {

/** The exit code of a test program if tracing is not permitted. */
inline constexpr int cannot_trace = 77;

/** Hashes of the sequences of instruction addresses and of memory operand addresses. */
struct Trace {
    std::uint64_t instructions = 0;
    std::uint64_t hash_of_code = 0;
    std::uint64_t hash_of_data = 0;
    bool operator==(const Trace&) const = default;
};

/** The child calls these functions at the beginning and at the end of the code to trace. */
void trace_begins();
void trace_ends();

/**
 * Runs `all` in a child, which marks one traced stretch for each secret. The first stretch is not traced, because it
 * includes one-time initialisation.
 */
std::vector<Trace> traces_of(const std::function<void()>& all);

/** Prints a summary. Returns whether there are `count` traces and all are equal. */
bool are_the_same(const char* what, const std::vector<Trace>& traces, std::size_t count);

}  // namespace vrx::test

#endif
