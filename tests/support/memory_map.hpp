// What this process may do with its own memory.
#ifndef VRX_TESTS_SUPPORT_MEMORY_MAP_HPP
#define VRX_TESTS_SUPPORT_MEMORY_MAP_HPP

#include <cstddef>

namespace vrx::test {

/** True when each of the `size` bytes at `address` is mapped readable and none is mapped writable. */
bool is_read_only(const void* address, std::size_t size);

}  // namespace vrx::test

#endif
