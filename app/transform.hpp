// Encrypts or decrypts a file: the common code of 'vrx encrypt' and 'vrx decrypt'.
#ifndef VRX_APP_TRANSFORM_HPP
#define VRX_APP_TRANSFORM_HPP

#include "options.hpp"

namespace vrx::app {

/** Run 'vrx encrypt' or 'vrx decrypt'. @return the exit code. */
int run_transform(const Command& self, bool encrypt, int argc, char** argv);

}  // namespace vrx::app

#endif
