/*
 * Global port (gport) encoding: the type lives in bits 31..26, the rest is the type's payload.
 */
#ifndef SHARED_GPORT_H
#define SHARED_GPORT_H

#define _SHR_GPORT_NONE 0
#define _SHR_GPORT_INVALID (-1)

#define _SHR_GPORT_TYPE_LOCAL 1
#define _SHR_GPORT_TYPE_MODPORT 2
#define _SHR_GPORT_TYPE_TRUNK 3
#define _SHR_GPORT_TYPE_LOCAL_CPU 5
#define _SHR_GPORT_TYPE_MAX 49

#define _SHR_GPORT_TYPE_SHIFT 26
#define _SHR_GPORT_TYPE_MASK 0x3f
#define _SHR_GPORT_LOCAL_TYPE_SHIFT 21
#define _SHR_GPORT_LOCAL_TYPE_MASK 0x1f
#define _SHR_GPORT_LOCAL_TYPE_COMMON 0
#define _SHR_GPORT_PORT_SHIFT 0
#define _SHR_GPORT_PORT_MASK 0x7ff
#define _SHR_GPORT_MODID_SHIFT 11
#define _SHR_GPORT_MODID_MASK 0x7fff
#define _SHR_GPORT_TRUNK_SHIFT 0
#define _SHR_GPORT_TRUNK_MASK 0x3ffffff

#define _SHR_GPORT_LOCAL_CPU (_SHR_GPORT_TYPE_LOCAL_CPU << _SHR_GPORT_TYPE_SHIFT)

#define _SHR_GPORT_TYPE_GET(_gport) \
    (((_gport) >> _SHR_GPORT_TYPE_SHIFT) & _SHR_GPORT_TYPE_MASK)
#define _SHR_GPORT_IS_SET(_gport) \
    (_SHR_GPORT_TYPE_GET(_gport) > 0 && _SHR_GPORT_TYPE_GET(_gport) <= _SHR_GPORT_TYPE_MAX)

#define _SHR_GPORT_IS_LOCAL(_gport)                                          \
    (_SHR_GPORT_TYPE_GET(_gport) == _SHR_GPORT_TYPE_LOCAL &&                 \
     (((_gport) >> _SHR_GPORT_LOCAL_TYPE_SHIFT) & _SHR_GPORT_LOCAL_TYPE_MASK) == \
         _SHR_GPORT_LOCAL_TYPE_COMMON)
#define _SHR_GPORT_LOCAL_SET(_gport, _port)                         \
    ((_gport) = (_SHR_GPORT_TYPE_LOCAL << _SHR_GPORT_TYPE_SHIFT) |  \
                (((_port) & _SHR_GPORT_PORT_MASK) << _SHR_GPORT_PORT_SHIFT))
#define _SHR_GPORT_LOCAL_GET(_gport) \
    (_SHR_GPORT_IS_LOCAL(_gport) ? (((_gport) >> _SHR_GPORT_PORT_SHIFT) & _SHR_GPORT_PORT_MASK) : -1)

#define _SHR_GPORT_IS_MODPORT(_gport) (_SHR_GPORT_TYPE_GET(_gport) == _SHR_GPORT_TYPE_MODPORT)
#define _SHR_GPORT_MODPORT_SET(_gport, _module, _port)                          \
    ((_gport) = (_SHR_GPORT_TYPE_MODPORT << _SHR_GPORT_TYPE_SHIFT) |            \
                (((_module) & _SHR_GPORT_MODID_MASK) << _SHR_GPORT_MODID_SHIFT) | \
                (((_port) & _SHR_GPORT_PORT_MASK) << _SHR_GPORT_PORT_SHIFT))
#define _SHR_GPORT_MODPORT_MODID_GET(_gport) \
    (((_gport) >> _SHR_GPORT_MODID_SHIFT) & _SHR_GPORT_MODID_MASK)
#define _SHR_GPORT_MODPORT_PORT_GET(_gport) \
    (((_gport) >> _SHR_GPORT_PORT_SHIFT) & _SHR_GPORT_PORT_MASK)

#define _SHR_GPORT_IS_TRUNK(_gport) (_SHR_GPORT_TYPE_GET(_gport) == _SHR_GPORT_TYPE_TRUNK)
#define _SHR_GPORT_TRUNK_SET(_gport, _trunk_id)                    \
    ((_gport) = (_SHR_GPORT_TYPE_TRUNK << _SHR_GPORT_TYPE_SHIFT) | \
                (((_trunk_id) & _SHR_GPORT_TRUNK_MASK) << _SHR_GPORT_TRUNK_SHIFT))
#define _SHR_GPORT_TRUNK_GET(_gport) \
    (((_gport) >> _SHR_GPORT_TRUNK_SHIFT) & _SHR_GPORT_TRUNK_MASK)

#endif /* SHARED_GPORT_H */
