/** @file vrx/result.hpp  An older path of cxx/frame.hpp. New code should include vrx.hpp. */
#ifndef VRX_RESULT_HPP
#define VRX_RESULT_HPP

#include "vrx/cxx/frame.hpp"

#endif
