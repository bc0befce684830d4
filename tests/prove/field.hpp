// The field arithmetic of the translated sources, on symbolic integers.
#ifndef VRX_TESTS_PROVE_FIELD_HPP
#define VRX_TESTS_PROVE_FIELD_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <tuple>
#include <utility>

#include "prove/integers.hpp"

using prove_uint64 = vrx::prove::Word;
using prove_uint128 = vrx::prove::Wide;
__extension__ using prove_int128 = __int128;
using prove_uint32 = std::uint32_t;
using prove_uint8 = std::uint8_t;
using prove_int8 = std::int8_t;
using prove_int32 = std::int32_t;
using prove_int64 = std::int64_t;
/** The proofs that include this file do not look up any tables. */
template <std::size_t bytes>
using prove_vector = vrx::prove::Word;

#include "ecc/field/modulus.hpp"

#endif
