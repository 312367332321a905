/*
 * C library services of the SDK's system abstraction layer.
 */
#ifndef SAL_CORE_LIBC_H
#define SAL_CORE_LIBC_H

/* The assertion routine is declared with the SDK's assert.h. */
#include <assert.h>

#endif /* SAL_CORE_LIBC_H */
