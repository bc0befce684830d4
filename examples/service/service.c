/* A service in C. It reads requests from standard input and answers them in four threads; README.md lists them. */
#define _GNU_SOURCE
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <vrx.h>
#include <vrx/hedged.h>
#include <vrx/keyfile.h>
#include <vrx/stream.h>

enum { PIECE = 5000, INVALID = 1 };

static int get(FILE *file, void *data, size_t size) { return fread(data, size, 1, file) == 1 ? VRX_OK : INVALID; }
static int put(FILE *file, const void *data, size_t size) {
    return fwrite(data, 1, size, file) == size ? VRX_OK : INVALID;
}

static int hash_stream(FILE *file, const vrx_gostr3411_par *set, uint32_t digest[VRX_ECC_DIGEST_WORDS]) {
    uint8_t piece[PIECE];
    GOSTR3411_CTX ctx;
    int rc = GOSTR3411_Init_ex(&ctx, set->tz);
    for (size_t size; rc == VRX_OK && (size = fread(piece, 1, sizeof piece, file)) != 0;)
        rc = GOSTR3411_Update(&ctx, piece, (uint32_t)size);
    return rc == VRX_OK ? GOSTR3411_Final(&ctx, (uint8_t *)digest) : rc;
}

/* Reads a private key or a public one. */
static int read_key(FILE *file, vrx_private_key *own, vrx_public_key *peer) {
    uint8_t text[PIECE];
    const size_t size = fread(text, 1, sizeof text, file);
    const int rc = own != NULL ? vrx_read_private_key(text, size, own) : vrx_read_public_key(text, size, peer);
    vrx_wipe(text, sizeof text);
    return rc;
}

static int hash(FILE **file) {
    uint32_t digest[VRX_ECC_DIGEST_WORDS];
    const int rc = hash_stream(file[0], get_GOSTR3411_par(1), digest);
    return rc == VRX_OK ? put(file[1], digest, sizeof digest) : rc;
}

static int sign(FILE **file) {
    vrx_private_key key;
    uint32_t digest[VRX_ECC_DIGEST_WORDS];
    EcSignature signature;
    uint8_t octets[VRX_SIGNATURE_SIZE];
    int rc = read_key(file[0], &key, NULL);
    if (rc == VRX_OK) rc = hash_stream(file[1], key.hash, digest);
    if (rc == VRX_OK) rc = vrx_hedged_sign(key.curve, digest, key.d, &signature);
    if (rc == VRX_OK) rc = ecUnloadSignValue(&signature, octets);
    vrx_wipe_private_key(&key);
    return rc == VRX_OK ? put(file[2], octets, sizeof octets) : rc;
}

static int verify(FILE **file) {
    vrx_public_key key;
    uint32_t digest[VRX_ECC_DIGEST_WORDS];
    EcSignature signature;
    uint8_t octets[VRX_SIGNATURE_SIZE];
    int rc = read_key(file[0], NULL, &key);
    if (rc == VRX_OK) rc = get(file[1], octets, sizeof octets);
    if (rc == VRX_OK) rc = ecLoadSignValue(octets, &signature);
    if (rc == VRX_OK) rc = vrx_check_signature(key.curve, &signature);
    if (rc == VRX_OK) rc = hash_stream(file[2], key.hash, digest);
    return rc == VRX_OK ? ecVerify(key.curve, digest, &key.Q, &signature) : rc;
}

static int agree(FILE **file) {
    vrx_private_key key;
    vrx_public_key peer;
    uint8_t ukm[VRX_UKM_SIZE], kek[VRX_KEK_SIZE];
    int rc = read_key(file[0], &key, NULL);
    if (rc == VRX_OK) rc = read_key(file[1], NULL, &peer);
    if (rc == VRX_OK) rc = get(file[2], ukm, sizeof ukm);
    if (rc == VRX_OK && peer.curve != key.curve) rc = VRX_ERR_KEY_CURVE;
    if (rc == VRX_OK) {
        const vrx_data oid = {key.hash->oid_length, (uint8_t *)key.hash->oid};
        rc = ecMakeKEK(key.curve, &oid, ukm, key.d, &peer.Q, kek);
    }
    if (rc == VRX_OK) rc = put(file[3], kek, sizeof kek);
    vrx_wipe_private_key(&key);
    vrx_wipe(kek, sizeof kek);
    return rc;
}

static int run_cipher(FILE **file, int direction) {
    uint8_t key[VRX_KEY_SIZE], iv[VRX_BLOCK_SIZE], piece[PIECE];
    vrx_crpt_ctx stream;
    int rc = get(file[0], key, sizeof key);
    if (rc == VRX_OK && direction == VRX_ENCRYPT && vrx_system_random(iv, sizeof iv) != 0) rc = VRX_ERR_RANDOM;
    if (rc == VRX_OK) rc = direction == VRX_ENCRYPT ? put(file[2], iv, sizeof iv) : get(file[1], iv, sizeof iv);
    if (rc == VRX_OK) rc = vrx_open_stream(&stream, get_GOST28147_par(1), direction, iv, key);
    vrx_wipe(key, sizeof key);
    if (rc != VRX_OK) return rc;
    for (size_t size; rc == VRX_OK && (size = fread(piece, 1, sizeof piece, file[1])) != 0;) {
        rc = vrx_update_stream(&stream, piece, size, piece, size, NULL);
        if (rc == VRX_OK) rc = put(file[2], piece, size);
    }
    const int end = vrx_close_stream(&stream);
    return rc == VRX_OK ? end : rc;
}

static int encrypt(FILE **file) { return run_cipher(file, VRX_ENCRYPT); }
static int decrypt(FILE **file) { return run_cipher(file, VRX_DECRYPT); }

static const struct request {
    const char *name, *modes; /* the second is how its files are opened */
    int (*run)(FILE **);
} requests[] = {{"hash", "rw", hash},     {"sign", "rrw", sign},       {"verify", "rrr", verify},
                {"agree", "rrrw", agree}, {"encrypt", "rrw", encrypt}, {"decrypt", "rrw", decrypt}};

static int answer(char *line) {
    FILE *file[4] = {NULL};
    char *rest, *word = strtok_r(line, " \n", &rest);
    const struct request *found = NULL;
    for (size_t i = 0; word != NULL && i < sizeof requests / sizeof *requests; i++)
        if (strcmp(requests[i].name, word) == 0) found = &requests[i];
    int rc = found != NULL ? VRX_OK : INVALID;
    for (size_t i = 0; rc == VRX_OK && found->modes[i] != '\0'; i++) {
        word = strtok_r(NULL, " \n", &rest);
        if (word == NULL || (file[i] = fopen(word, found->modes[i] == 'r' ? "rb" : "wb")) == NULL) rc = INVALID;
    }
    if (rc == VRX_OK) rc = found->run(file);
    for (size_t i = 0; i < 4; i++)
        if (file[i] != NULL && (ferror(file[i]) | fclose(file[i])) != 0 && rc == VRX_OK) rc = INVALID;
    return rc;
}

static const char *text_of(int rc) {
    return rc == INVALID ? "a file or the request is not valid" : vrx_key_error_text(rc);
}

static void *serve(void *unused) {
    static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    static unsigned count;
    char line[4096];
    for (;;) {
        pthread_mutex_lock(&lock);
        const char *more = fgets(line, sizeof line, stdin);
        const unsigned number = ++count;
        pthread_mutex_unlock(&lock);
        if (more == NULL) return unused;
        printf("%u %s\n", number, text_of(answer(line)));
    }
}

int main(void) {
    pthread_t threads[4];
    vrxflog = stderr; /* before the threads start */
    for (int i = 0; i < 4; i++) pthread_create(&threads[i], NULL, serve, NULL);
    for (int i = 0; i < 4; i++) pthread_join(threads[i], NULL);
    return 0;
}
