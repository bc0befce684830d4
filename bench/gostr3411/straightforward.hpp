// Reference implementation of GOST R 34.11-94: one function for each transform of RFC 5831, and four calls of a cipher
// kernel with unrolled rounds. psi moves one place at a time, and a context starts with a copy of its table. This
// implementation is the baseline of the benchmarks.
#ifndef VRX_BENCH_GOSTR3411_STRAIGHTFORWARD_HPP
#define VRX_BENCH_GOSTR3411_STRAIGHTFORWARD_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "vrx/gostr3411.h"

namespace straightforward {

using Octets = std::array<std::uint8_t, 32>;

/** h becomes f(h, m). */
void step(Octets& h, const Octets& m, const vrx_tz& table);

Octets hash(const vrx_tz& table, const std::uint8_t* data, std::size_t size);

/** The key has at most 32 bytes. */
Octets hmac(const vrx_tz& table, const std::uint8_t* key, std::size_t key_size, const std::uint8_t* data,
            std::size_t size);

/** Computes PBKDF2. Each iteration computes a whole HMAC. */
Octets pbkdf2(const vrx_tz& table, const std::uint8_t* password, std::size_t password_size, const std::uint8_t* salt,
              std::size_t salt_size, std::uint64_t iterations);

}  // namespace straightforward

#endif
