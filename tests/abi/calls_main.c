/* A C program of the library's users: it links the shared object and calls every function of it. */
#include <stdlib.h>

#include "calls.h"

static int failures;

void check(int holds, const char* file, int line, const char* condition) {
    if (holds) return;
    ++failures;
    printf("%s:%d: %s does not hold\n", file, line, condition);
}

int main(void) {
    frame_calls();
    tz_calls();
    registry_calls();
    kernel_calls();
    mode_calls();
    context_calls();
    meshing_calls();
    hash_calls();
    hmac_calls();
    kdf_calls();
    sha1_calls();
    bigdigits_calls();
    ecc_calls();
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
