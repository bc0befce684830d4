// What a call leaves behind on the stack.
#ifndef VRX_TESTS_SUPPORT_OWN_STACK_HPP
#define VRX_TESTS_SUPPORT_OWN_STACK_HPP

#include <functional>

#include "support/hex.hpp"

namespace vrx::test {

/** Run `body` on a stack of its own. @return every byte of that stack as the run left it */
Bytes stack_after(const std::function<void()>& body);

/** Whether any 8 bytes in a row of `secret` stand somewhere in `memory`. */
bool holds_part_of(const Bytes& memory, std::span<const std::uint8_t> secret);

}  // namespace vrx::test

#endif
