/* Shows what the library logs when calls fail. This program logs to memory; you can also log to a file or to stderr. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <vrx.h>

int main(void) {
    static const uint32_t key[VRX_KEY_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t bytes[20] = {0};
    char *said = NULL;
    size_t size = 0;

    /* The log goes to a stream that the program opened. To append to a file, call vrx_set_log_file("library.log")
     * instead. */
    vrxflog = open_memstream(&said, &size);
    if (vrxflog == NULL) return 1;

    /* 20 bytes are not a multiple of the block size. */
    vrx_data in = {sizeof bytes, bytes}, out = {sizeof bytes, bytes};
    int rc = VRX_Gost_SS_m(TZ_by_name("tz_a"), &in, &out, key, 1);
    printf("VRX_Gost_SS_m: %d\n", rc);

    /* No table has this name. */
    printf("TZ_by_name: %s\n", TZ_by_name("tz_z") == NULL ? "NULL" : "a table");

    /* If an inner function fails, both functions log a line. */
    static const uint8_t unknown[] = {0x06, 0x01, 0x2a};
    uint8_t digest[VRX_HASH_SIZE];
    rc = GOSTR3411_Transform(unknown, sizeof unknown, bytes, sizeof bytes, digest);
    printf("GOSTR3411_Transform: %d\n", rc);

    fclose(vrxflog);
    vrxflog = NULL; /* switches the log off */
    printf("the log:\n%s", said);
    free(said);
    return 0;
}
