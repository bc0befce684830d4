// Which instructions an operation executes, and which memory they name: what others on the same processor can hope to
// see of it. A parent single-steps a child.
#ifndef VRX_TESTS_CONSTANT_TIME_TRACE_HPP
#define VRX_TESTS_CONSTANT_TIME_TRACE_HPP

#include <cstdint>
#include <functional>
#include <vector>

namespace vrx::test {

/** What a program exits with where no process may be traced. */
inline constexpr int cannot_trace = 77;

/** The addresses of instructions and of their operands in memory, in their order, as hashes. */
struct Trace {
    std::uint64_t instructions = 0;
    std::uint64_t hash_of_code = 0;
    std::uint64_t hash_of_data = 0;
    bool operator==(const Trace&) const = default;
};

/** In the child: begin and end what is traced. */
void trace_begins();
void trace_ends();

/**
 * Runs `all` in a child, which marks one stretch for each secret. The first one settles what is settled once and is not
 * followed.
 */
std::vector<Trace> traces_of(const std::function<void()>& all);

/** Prints what was seen. Whether there were so many traces, and all the same. */
bool are_the_same(const char* what, const std::vector<Trace>& traces, std::size_t count);

}  // namespace vrx::test

#endif
