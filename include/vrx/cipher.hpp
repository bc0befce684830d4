/** @file vrx/cipher.hpp  An older path to the headers of the cipher in cxx/. New code should include vrx.hpp. */
#ifndef VRX_CIPHER_HPP
#define VRX_CIPHER_HPP

#include "vrx/cxx/context.hpp"
#include "vrx/cxx/kernel.hpp"
#include "vrx/cxx/modes.hpp"

#endif
