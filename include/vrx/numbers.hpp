/** @file vrx/numbers.hpp  An older path of cxx/bigdigits.hpp. New code should include vrx.hpp. */
#ifndef VRX_NUMBERS_HPP
#define VRX_NUMBERS_HPP

#include "vrx/cxx/bigdigits.hpp"

#endif
