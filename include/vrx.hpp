/**
 * @file vrx.hpp  The whole library for C++20: namespace vrx.
 *
 * Functions take spans and return values or a vrx::Result. Keys, IVs, digests, points and contexts have types of their
 * own, whose destructors zero them. Everything is inline over the C functions. Nothing here throws an exception, and
 * the headers compile with -fno-exceptions and -fno-rtti.
 *
 *     const vrx::Key key = vrx::Key::random().value();
 *     const vrx::Iv iv = vrx::Iv::random().value();
 *     vrx::Encryptor cipher(key, iv);
 *     if (const auto done = cipher.update(message); !done) std::puts(vrx::name(done.error()));
 *
 * Each header in vrx/cxx/ has the name of the C header that it wraps. The C header describes each function in full.
 */
#ifndef VRX_HPP
#define VRX_HPP

#if __cplusplus < 202002L
#error "vrx.hpp needs C++20: use -std=c++20 or the CMake target vrx::cxx. Older C++ programs can include vrx.h."
#else

#include "vrx.h"
#include "vrx/random.h"

// Every program: errors with names, Result, the log; bytes, keys and digests.
#include "vrx/cxx/frame.hpp"
#include "vrx/cxx/types.hpp"

// Choose algorithm parameters.
#include "vrx/cxx/params.hpp"
#include "vrx/cxx/tz.hpp"

// Encrypt and authenticate with GOST 28147-89.
#include "vrx/cxx/context.hpp"
#include "vrx/cxx/kernel.hpp"
#include "vrx/cxx/modes.hpp"

// Hash, and derive keys from passwords.
#include "vrx/cxx/gostr3411.hpp"
#include "vrx/cxx/hmac.hpp"
#include "vrx/cxx/kdf.hpp"
#include "vrx/cxx/sha1.hpp"

// Sign, verify and agree on keys with GOST R 34.10-2001.
#include "vrx/cxx/agree.hpp"
#include "vrx/cxx/curve.hpp"
#include "vrx/cxx/sign.hpp"

// Calculate with curve points and long integers.
#include "vrx/cxx/bigdigits.hpp"
#include "vrx/cxx/multiply.hpp"
#include "vrx/cxx/point.hpp"

#endif

#endif
