/* Allocations that fail when they are told to. */
#ifndef VRX_TESTS_FAULTS_FAULTS_H
#define VRX_TESTS_FAULTS_FAULTS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Let the n-th allocation from now on fail, and it alone; 0: none. */
void fail_allocation(long n);
/* Allocations that were made and not given back. */
long live_allocations(void);
/* Octets other than 0 in the memory that was given back last. */
size_t octets_left_in_last(void);

#ifdef __cplusplus
}
#endif

#endif
