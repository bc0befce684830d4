/* Fault injection for allocations. */
#ifndef VRX_TESTS_FAULTS_FAULTS_H
#define VRX_TESTS_FAULTS_FAULTS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Make only the n-th allocation from now on fail; 0: none. */
void fail_allocation(long n);
/* The number of allocations that are not freed. */
long live_allocations(void);
/* The number of nonzero bytes in the memory that was freed last, before it was freed. */
size_t octets_left_in_last(void);

#ifdef __cplusplus
}
#endif

#endif
