/*
 * Port bitmaps: port p is bit p % 32 of word p / 32.
 */
#ifndef SHARED_PBMP_H
#define SHARED_PBMP_H

#include <sal/types.h>

#define _SHR_PBMP_PORT_MAX 256
#define _SHR_PBMP_WORD_WIDTH 32
#define _SHR_PBMP_WORD_MAX ((_SHR_PBMP_PORT_MAX + _SHR_PBMP_WORD_WIDTH - 1) / _SHR_PBMP_WORD_WIDTH)

typedef struct _shr_pbmp {
    uint32 pbits[_SHR_PBMP_WORD_MAX];
} _shr_pbmp_t;

#define _SHR_PBMP_WORD_GET(bm, word) ((bm).pbits[(word)])
#define _SHR_PBMP_WORD_SET(bm, word, val) ((bm).pbits[(word)] = (val))
#define _SHR_PBMP_WENT(port) ((port) / _SHR_PBMP_WORD_WIDTH)
#define _SHR_PBMP_WBIT(port) (1U << ((port) % _SHR_PBMP_WORD_WIDTH))

#define _SHR_PBMP_WORDS_OP(op)                                   \
    do {                                                         \
        int _w;                                                  \
        for (_w = 0; _w < _SHR_PBMP_WORD_MAX; _w++) { op; }      \
    } while (0)

#define _SHR_PBMP_CLEAR(bm) _SHR_PBMP_WORDS_OP((bm).pbits[_w] = 0)
#define _SHR_PBMP_MEMBER(bm, port) \
    (((bm).pbits[_SHR_PBMP_WENT(port)] & _SHR_PBMP_WBIT(port)) != 0)
#define _SHR_PBMP_PORT_ADD(bm, port) ((bm).pbits[_SHR_PBMP_WENT(port)] |= _SHR_PBMP_WBIT(port))
#define _SHR_PBMP_PORT_REMOVE(bm, port) \
    ((bm).pbits[_SHR_PBMP_WENT(port)] &= ~_SHR_PBMP_WBIT(port))
#define _SHR_PBMP_PORT_SET(bm, port) \
    do { _SHR_PBMP_CLEAR(bm); _SHR_PBMP_PORT_ADD(bm, port); } while (0)
#define _SHR_PBMP_ITER(bm, port) \
    for ((port) = 0; (port) < _SHR_PBMP_PORT_MAX; (port)++) if (_SHR_PBMP_MEMBER((bm), (port)))
#define _SHR_PBMP_ASSIGN(dst, src) ((dst) = (src))
#define _SHR_PBMP_AND(bm_a, bm_b) _SHR_PBMP_WORDS_OP((bm_a).pbits[_w] &= (bm_b).pbits[_w])
#define _SHR_PBMP_OR(bm_a, bm_b) _SHR_PBMP_WORDS_OP((bm_a).pbits[_w] |= (bm_b).pbits[_w])
#define _SHR_PBMP_XOR(bm_a, bm_b) _SHR_PBMP_WORDS_OP((bm_a).pbits[_w] ^= (bm_b).pbits[_w])
#define _SHR_PBMP_REMOVE(bm_a, bm_b) _SHR_PBMP_WORDS_OP((bm_a).pbits[_w] &= ~(bm_b).pbits[_w])
#define _SHR_PBMP_NEGATE(bm_a, bm_b) _SHR_PBMP_WORDS_OP((bm_a).pbits[_w] = ~(bm_b).pbits[_w])
#define _SHR_PBMP_COUNT(bm, count)                                          \
    do {                                                                    \
        int _p;                                                             \
        (count) = 0;                                                        \
        for (_p = 0; _p < _SHR_PBMP_PORT_MAX; _p++)                         \
            if (_SHR_PBMP_MEMBER((bm), _p)) (count)++;                      \
    } while (0)

#ifdef __cplusplus
extern "C" {
#endif
extern int _shr_pbmp_bmnull(_shr_pbmp_t *bm);
extern int _shr_pbmp_bmeq(_shr_pbmp_t *bm1, _shr_pbmp_t *bm2);
#ifdef __cplusplus
}
#endif

#define _SHR_PBMP_IS_NULL(bm) (_shr_pbmp_bmnull(&(bm)))
#define _SHR_PBMP_NOT_NULL(bm) (!_shr_pbmp_bmnull(&(bm)))
#define _SHR_PBMP_EQ(bm_a, bm_b) (_shr_pbmp_bmeq(&(bm_a), &(bm_b)))
#define _SHR_PBMP_NEQ(bm_a, bm_b) (!_shr_pbmp_bmeq(&(bm_a), &(bm_b)))

#endif /* SHARED_PBMP_H */
