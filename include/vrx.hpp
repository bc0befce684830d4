/**
 * @file vrx.hpp  The whole library for C++20: namespace vrx.
 *
 * Spans go in, values or a vrx::Result come out. Keys, vectors, digests, points and contexts are types of their own that
 * zero themselves at their end. Everything is inline over the C functions, which the comments of the C headers describe
 * in full: nothing here throws, and nothing costs more than the calls themselves.
 *
 *     const vrx::Key key = vrx::Key::random().value();
 *     const vrx::Iv iv = vrx::Iv::random().value();
 *     vrx::Encryptor cipher(key, iv);
 *     if (const auto done = cipher.update(message); !done) std::puts(vrx::name(done.error()));
 *
 * It works without exceptions and without run-time type information.
 */
#ifndef VRX_HPP
#define VRX_HPP

#include "vrx.h"
#include "vrx/cipher.hpp"
#include "vrx/curves.hpp"
#include "vrx/hash.hpp"
#include "vrx/numbers.hpp"
#include "vrx/random.h"
#include "vrx/result.hpp"
#include "vrx/tables.hpp"
#include "vrx/types.hpp"

#endif
