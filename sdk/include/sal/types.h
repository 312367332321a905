/*
 * Basic fixed-width types of the SDK's system abstraction layer.
 */
#ifndef SAL_TYPES_H
#define SAL_TYPES_H

typedef signed char int8;
typedef unsigned char uint8;
typedef short int16;
typedef unsigned short uint16;
typedef int int32;
typedef unsigned int uint32;
typedef long long int64;
typedef unsigned long long uint64;

#endif /* SAL_TYPES_H */
