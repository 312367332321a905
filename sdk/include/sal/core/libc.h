/*
 * C library services of the SDK's system abstraction layer.
 */
#ifndef SAL_CORE_LIBC_H
#define SAL_CORE_LIBC_H

#ifdef __cplusplus
extern "C" {
#endif

/* Reports a failed assertion (expression text, file, line) and aborts. */
extern void _sal_assert(const char *expr, const char *file, int line);

#ifdef __cplusplus
}
#endif

#endif /* SAL_CORE_LIBC_H */
