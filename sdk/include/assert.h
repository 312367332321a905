/*
 * The SDK declares its assertion routine in an assert.h of its own, ahead of the C library's.
 * This one keeps the C library's assert macro (it includes the next assert.h on the path) and
 * adds the routine.
 */
#pragma GCC system_header /* lets the next line through -Wpedantic */
#include_next <assert.h>

#ifndef BCMSIM_SAL_ASSERT_H
#define BCMSIM_SAL_ASSERT_H

#ifdef __cplusplus
extern "C" {
#endif

/* Reports a failed assertion (expression text, file, line) and aborts. */
extern void _sal_assert(const char *expr, const char *file, int line);

#ifdef __cplusplus
}
#endif

#endif /* BCMSIM_SAL_ASSERT_H */
