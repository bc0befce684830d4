/** @file vrx/hash.hpp  An older path to the headers of hashes in cxx/. New code should include vrx.hpp. */
#ifndef VRX_HASH_HPP
#define VRX_HASH_HPP

#include "vrx/cxx/gostr3411.hpp"
#include "vrx/cxx/hmac.hpp"
#include "vrx/cxx/kdf.hpp"
#include "vrx/cxx/sha1.hpp"

#endif
