/* Prints the MAC of a file, as vrx mac does with the default parameter set. Usage: mac KEYFILE FILE */
#include <stdio.h>
#include <vrx.h>

static int absorb(vrx_crpt_ctx *ctx, FILE *file) {
    uint8_t piece[4096];
    vrx_data in = {0, piece};
    while ((in.length = (uint32_t)fread(piece, 1, sizeof piece, file)) != 0)
        if (vrx_crpt_update(ctx, &in, NULL) != VRX_OK) return 0;
    return !ferror(file) && vrx_crpt_final(ctx) == VRX_OK;
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "Usage: mac KEYFILE FILE\n");
        return 2;
    }
    uint32_t key[VRX_KEY_WORDS];
    FILE *file = fopen(argv[1], "rb");
    if (file == NULL || fread(key, 1, sizeof key, file) != sizeof key) {
        fprintf(stderr, "mac: %s is not a key of 32 bytes\n", argv[1]);
        return 2;
    }
    fclose(file);

    const vrx_gost28147_par *set = get_GOST28147_default_par();
    vrx_crpt_ctx ctx;
    vrx_crpt_init_context(&ctx, 1, set->tz, VRX_MODE_IMITO, 0, set->key_meshing, 0, NULL, key);
    file = fopen(argv[2], "rb");
    if (file == NULL || !absorb(&ctx, file)) {
        fprintf(stderr, "mac: cannot read %s\n", argv[2]);
        return 2;
    }
    fclose(file);
    for (size_t i = 0; i < sizeof ctx.mac; i++) printf("%02x", ctx.mac[i]);
    putchar('\n');
    return 0;
}
