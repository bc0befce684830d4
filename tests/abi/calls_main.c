/* A C program that links to the shared object, as users' programs do, and calls every exported function. */
#include <stdlib.h>

#include "calls.h"

static int failures;

void check(int holds, const char* file, int line, const char* condition) {
    if (holds) return;
    ++failures;
    printf("%s:%d: check failed: %s\n", file, line, condition);
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
