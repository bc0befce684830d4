/* Multiple-precision arithmetic. */
#include <string.h>

#include "calls.h"

void bigdigits_calls(void) {
    CHECK(mpVersion() == 2205);
    CHECK(strlen(bigdigits_copyright_notice()) > 0);
}
