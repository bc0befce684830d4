/**
 * @file vrx/tables.hpp  An older path of cxx/frame.hpp, cxx/tz.hpp and cxx/params.hpp. New code should include vrx.hpp.
 */
#ifndef VRX_TABLES_HPP
#define VRX_TABLES_HPP

#include "vrx/cxx/frame.hpp"
#include "vrx/cxx/params.hpp"
#include "vrx/cxx/tz.hpp"

#endif
