/* Encrypts one block with custom S-boxes, given as a text of 128 characters. */
#include <stdio.h>
#include <vrx.h>

int main(void) {
    /* For each input from 0 to 15, the text has eight hexadecimal digits: the outputs of S-boxes 0 to 7. These are the
     * S-boxes of RFC 7836 (id-tc26-gost-28147-param-Z), which are not built in. */
    static const char sboxes[] =
        "C6BC75814838FDE762525F2E2381A65D"
        "A92D89605AF41295B5AF6C189CD6DAC3"
        "E1E70BF48E10974FD47A38BA7745E106"
        "0BC3B4D93D9E43ACF0692E3B1F0BC072";
    /* The example of RFC 8891, appendix A.3. This RFC prints keys and blocks as big-endian numbers. */
    static const uint32_t key[VRX_KEY_WORDS] = {0xffeeddcc, 0xbbaa9988, 0x77665544, 0x33221100,
                                                0xf0f1f2f3, 0xf4f5f6f7, 0xf8f9fafb, 0xfcfdfeff};
    static const uint8_t block[VRX_BLOCK_SIZE] = {0x10, 0x32, 0x54, 0x76, 0x98, 0xba, 0xdc, 0xfe};

    vrx_tz table;
    if (vrx_crpt_init_new_TZ(sboxes, &table) != VRX_OK) return 1;

    uint8_t encrypted[VRX_BLOCK_SIZE];
    vrx_gost_encr_64_m(block, encrypted, key, &table);
    for (int i = VRX_BLOCK_SIZE - 1; i >= 0; i--) printf("%02x", encrypted[i]);
    putchar('\n');
    return 0;
}
