/** @file vrx/types.hpp  An older path of cxx/types.hpp; new code includes vrx.hpp. */
#ifndef VRX_TYPES_HPP
#define VRX_TYPES_HPP

#include "vrx/cxx/types.hpp"

#endif
