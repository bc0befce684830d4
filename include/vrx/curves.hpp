/** @file vrx/curves.hpp  An older path to the headers of curves in cxx/. New code should include vrx.hpp. */
#ifndef VRX_CURVES_HPP
#define VRX_CURVES_HPP

#include "vrx/cipher.hpp"
#include "vrx/cxx/agree.hpp"
#include "vrx/cxx/curve.hpp"
#include "vrx/cxx/multiply.hpp"
#include "vrx/cxx/point.hpp"
#include "vrx/cxx/sign.hpp"
#include "vrx/hash.hpp"
#include "vrx/numbers.hpp"

#endif
