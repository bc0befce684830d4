/** @file vrx/types.hpp  An older path of cxx/types.hpp. New code should include vrx.hpp. */
#ifndef VRX_TYPES_HPP
#define VRX_TYPES_HPP

#include "vrx/cxx/types.hpp"

#endif
