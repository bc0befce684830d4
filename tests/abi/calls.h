/* Calls of every exported function through the shared object, by family. Each result is compared with a known one. */
#ifndef VRX_TESTS_ABI_CALLS_H
#define VRX_TESTS_ABI_CALLS_H

#include "vrx.h"

#define CHECK(condition) check((condition) != 0, __FILE__, __LINE__, #condition)
void check(int holds, const char* file, int line, const char* condition);

void frame_calls(void);
void tz_calls(void);
void registry_calls(void);
void kernel_calls(void);
void mode_calls(void);
void context_calls(void);
void meshing_calls(void);
void hash_calls(void);
void hmac_calls(void);
void kdf_calls(void);
void sha1_calls(void);
void bigdigits_calls(void);
void ecc_calls(void);

#endif
