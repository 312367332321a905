/*
 * BCM API error codes.
 */
#ifndef BCM_ERROR_H
#define BCM_ERROR_H

#include <shared/error.h>

typedef enum bcm_error_e {
    BCM_E_NONE = _SHR_E_NONE,
    BCM_E_INTERNAL = _SHR_E_INTERNAL,
    BCM_E_MEMORY = _SHR_E_MEMORY,
    BCM_E_UNIT = _SHR_E_UNIT,
    BCM_E_PARAM = _SHR_E_PARAM,
    BCM_E_EMPTY = _SHR_E_EMPTY,
    BCM_E_FULL = _SHR_E_FULL,
    BCM_E_NOT_FOUND = _SHR_E_NOT_FOUND,
    BCM_E_EXISTS = _SHR_E_EXISTS,
    BCM_E_TIMEOUT = _SHR_E_TIMEOUT,
    BCM_E_BUSY = _SHR_E_BUSY,
    BCM_E_FAIL = _SHR_E_FAIL,
    BCM_E_DISABLED = _SHR_E_DISABLED,
    BCM_E_BADID = _SHR_E_BADID,
    BCM_E_RESOURCE = _SHR_E_RESOURCE,
    BCM_E_CONFIG = _SHR_E_CONFIG,
    BCM_E_UNAVAIL = _SHR_E_UNAVAIL,
    BCM_E_INIT = _SHR_E_INIT,
    BCM_E_PORT = _SHR_E_PORT,
    BCM_E_IO = _SHR_E_IO,
    BCM_E_ACCESS = _SHR_E_ACCESS,
    BCM_E_NO_HANDLER = _SHR_E_NO_HANDLER,
    BCM_E_PARTIAL = _SHR_E_PARTIAL
} bcm_error_t;

#define BCM_SUCCESS(rv) _SHR_E_SUCCESS(rv)
#define BCM_FAILURE(rv) _SHR_E_FAILURE(rv)
#define BCM_IF_ERROR_RETURN(op)                  \
    do {                                         \
        int __rv__;                              \
        if ((__rv__ = (op)) < 0) return __rv__;  \
    } while (0)
#define bcm_errmsg(r) _SHR_ERRMSG(r)

#endif /* BCM_ERROR_H */
