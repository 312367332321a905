/*
 * Error codes shared by every SDK module, and their message table.
 */
#ifndef SHARED_ERROR_H
#define SHARED_ERROR_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum _shr_error_e {
    _SHR_E_NONE = 0,
    _SHR_E_INTERNAL = -1,
    _SHR_E_MEMORY = -2,
    _SHR_E_UNIT = -3,
    _SHR_E_PARAM = -4,
    _SHR_E_EMPTY = -5,
    _SHR_E_FULL = -6,
    _SHR_E_NOT_FOUND = -7,
    _SHR_E_EXISTS = -8,
    _SHR_E_TIMEOUT = -9,
    _SHR_E_BUSY = -10,
    _SHR_E_FAIL = -11,
    _SHR_E_DISABLED = -12,
    _SHR_E_BADID = -13,
    _SHR_E_RESOURCE = -14,
    _SHR_E_CONFIG = -15,
    _SHR_E_UNAVAIL = -16,
    _SHR_E_INIT = -17,
    _SHR_E_PORT = -18,
    _SHR_E_IO = -19,
    _SHR_E_ACCESS = -20,
    _SHR_E_NO_HANDLER = -21,
    _SHR_E_PARTIAL = -22,
    _SHR_E_LIMIT = -23
} _shr_error_t;

/* One text per code, indexed by minus the code; the last entry is "Unknown error". */
extern char *_shr_errmsg[];

#define _SHR_ERRMSG(r) \
    _shr_errmsg[((r) + 0 <= 0 && (r) + 0 > _SHR_E_LIMIT + 0) ? -((r) + 0) : -(_SHR_E_LIMIT + 0)]

#define _SHR_E_SUCCESS(rv) ((rv) >= 0)
#define _SHR_E_FAILURE(rv) ((rv) < 0)

#ifdef __cplusplus
}
#endif

#endif /* SHARED_ERROR_H */
