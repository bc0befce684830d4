// The copyright notice and version of the multiple-precision arithmetic.
#include "ecc/bigdigits/notice.hpp"

#include "vrx/bigdigits.h"

namespace vrx::bigdigits {

const char* notice() {
    return "bigdigits: multiple-precision arithmetic of libvrx, copyright the libvrx developers, MIT licence";
}

}  // namespace vrx::bigdigits

const char* bigdigits_copyright_notice(void) { return vrx::bigdigits::notice(); }

int mpVersion(void) { return 2205; }
