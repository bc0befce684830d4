// Access rights of this process's memory.
#ifndef VRX_TESTS_SUPPORT_MEMORY_MAP_HPP
#define VRX_TESTS_SUPPORT_MEMORY_MAP_HPP

#include <cstddef>

namespace vrx::test {

/** Returns whether all `size` bytes at `address` are mapped readable and none writable. */
bool is_read_only(const void* address, std::size_t size);

}  // namespace vrx::test

#endif
