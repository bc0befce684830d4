// Static assertions on the platform: little-endian, 8-bit bytes, 32-bit int, 64-bit pointers.
#ifndef VRX_FRAME_PLATFORM_HPP
#define VRX_FRAME_PLATFORM_HPP

#include <bit>
#include <climits>
#include <cstdint>

static_assert(std::endian::native == std::endian::little, "blocks, keys and digests are words in host order");
static_assert(CHAR_BIT == 8 && sizeof(int) == 4 && sizeof(void*) == 8);

#endif
