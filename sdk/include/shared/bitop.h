/*
 * Bit arrays held in 32-bit words (bit n is bit n % 32 of word n / 32).
 */
#ifndef SHARED_BITOP_H
#define SHARED_BITOP_H

#include <sal/types.h>

typedef uint32 SHR_BITDCL;

#define SHR_BITWID 32
#define _SHR_BITDCLSIZE(_max) (((_max) + SHR_BITWID - 1) / SHR_BITWID)
#define SHR_BITSET(_a, _b) ((_a)[(_b) / SHR_BITWID] |= (1U << ((_b) % SHR_BITWID)))
#define SHR_BITCLR(_a, _b) ((_a)[(_b) / SHR_BITWID] &= ~(1U << ((_b) % SHR_BITWID)))
#define SHR_BITGET(_a, _b) ((_a)[(_b) / SHR_BITWID] & (1U << ((_b) % SHR_BITWID)))

#endif /* SHARED_BITOP_H */
