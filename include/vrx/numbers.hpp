/** @file vrx/numbers.hpp  An older path of cxx/bigdigits.hpp; new code includes vrx.hpp. */
#ifndef VRX_NUMBERS_HPP
#define VRX_NUMBERS_HPP

#include "vrx/cxx/bigdigits.hpp"

#endif
