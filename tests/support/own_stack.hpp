// Inspects the stack after a call, for secrets that were not wiped.
#ifndef VRX_TESTS_SUPPORT_OWN_STACK_HPP
#define VRX_TESTS_SUPPORT_OWN_STACK_HPP

#include <functional>

#include "support/hex.hpp"

namespace vrx::test {

/** Run `body` on a separate stack. @return all bytes of that stack afterwards */
Bytes stack_after(const std::function<void()>& body);

/** Returns whether `memory` contains any 8 consecutive bytes of `secret`, or all bytes of a shorter one. */
bool holds_part_of(const Bytes& memory, std::span<const std::uint8_t> secret);

/**
 * Returns whether `memory` contains any 4 bytes of `secret`, at a multiple of 4 in both. This finds half-blocks in
 * vectors. Zeros are ignored. Other bytes can be equal by chance.
 */
bool holds_word_of(const Bytes& memory, std::span<const std::uint8_t> secret);

}  // namespace vrx::test

#endif
