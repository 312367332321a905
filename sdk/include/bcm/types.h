/*
 * Types shared by the BCM API modules.
 */
#ifndef BCM_TYPES_H
#define BCM_TYPES_H

#include <sal/types.h>
#include <shared/gport.h>
#include <shared/pbmp.h>

typedef int bcm_port_t;
typedef int bcm_module_t;
typedef int bcm_gport_t;
typedef int bcm_if_t;
typedef int bcm_trunk_t;
typedef int bcm_policer_t;
typedef int bcm_vrf_t;
typedef int bcm_l4_port_t;
typedef int bcm_cos_queue_t;
typedef uint16 bcm_vlan_t;
typedef uint32 bcm_ip_t;
typedef uint8 bcm_mac_t[6];
typedef uint8 bcm_ip6_t[16];

#define BCM_IF_INVALID (-1)

/* Port bitmaps. */
typedef _shr_pbmp_t bcm_pbmp_t;

#define BCM_PBMP_PORT_MAX _SHR_PBMP_PORT_MAX
#define BCM_PBMP_CLEAR(pbm) _SHR_PBMP_CLEAR(pbm)
#define BCM_PBMP_MEMBER(bmp, port) _SHR_PBMP_MEMBER((bmp), (port))
#define BCM_PBMP_ITER(bmp, port) _SHR_PBMP_ITER((bmp), (port))
#define BCM_PBMP_COUNT(pbm, count) _SHR_PBMP_COUNT(pbm, count)
#define BCM_PBMP_IS_NULL(pbm) _SHR_PBMP_IS_NULL(pbm)
#define BCM_PBMP_NOT_NULL(pbm) _SHR_PBMP_NOT_NULL(pbm)
#define BCM_PBMP_EQ(pbm_a, pbm_b) _SHR_PBMP_EQ(pbm_a, pbm_b)
#define BCM_PBMP_NEQ(pbm_a, pbm_b) _SHR_PBMP_NEQ(pbm_a, pbm_b)
#define BCM_PBMP_ASSIGN(dst, src) _SHR_PBMP_ASSIGN(dst, src)
#define BCM_PBMP_AND(pbm_a, pbm_b) _SHR_PBMP_AND(pbm_a, pbm_b)
#define BCM_PBMP_OR(pbm_a, pbm_b) _SHR_PBMP_OR(pbm_a, pbm_b)
#define BCM_PBMP_XOR(pbm_a, pbm_b) _SHR_PBMP_XOR(pbm_a, pbm_b)
#define BCM_PBMP_REMOVE(pbm_a, pbm_b) _SHR_PBMP_REMOVE(pbm_a, pbm_b)
#define BCM_PBMP_NEGATE(pbm_a, pbm_b) _SHR_PBMP_NEGATE(pbm_a, pbm_b)
#define BCM_PBMP_PORT_SET(pbm, port) _SHR_PBMP_PORT_SET(pbm, port)
#define BCM_PBMP_PORT_ADD(pbm, port) _SHR_PBMP_PORT_ADD(pbm, port)
#define BCM_PBMP_PORT_REMOVE(pbm, port) _SHR_PBMP_PORT_REMOVE(pbm, port)
#define BCM_PBMP_WORD_GET(bm, word) _SHR_PBMP_WORD_GET(bm, word)
#define BCM_PBMP_WORD_SET(bm, word, val) _SHR_PBMP_WORD_SET(bm, word, val)

/* Global ports. */
#define BCM_GPORT_INVALID _SHR_GPORT_INVALID
#define BCM_GPORT_TYPE_LOCAL _SHR_GPORT_TYPE_LOCAL
#define BCM_GPORT_TYPE_MODPORT _SHR_GPORT_TYPE_MODPORT
#define BCM_GPORT_TYPE_TRUNK _SHR_GPORT_TYPE_TRUNK
#define BCM_GPORT_LOCAL_CPU _SHR_GPORT_LOCAL_CPU
#define BCM_GPORT_IS_SET(_gport) _SHR_GPORT_IS_SET(_gport)
#define BCM_GPORT_IS_LOCAL(_gport) _SHR_GPORT_IS_LOCAL(_gport)
#define BCM_GPORT_LOCAL_SET(_gport, _port) _SHR_GPORT_LOCAL_SET(_gport, _port)
#define BCM_GPORT_LOCAL_GET(_gport) _SHR_GPORT_LOCAL_GET(_gport)
#define BCM_GPORT_IS_MODPORT(_gport) _SHR_GPORT_IS_MODPORT(_gport)
#define BCM_GPORT_MODPORT_SET(_gport, _module, _port) _SHR_GPORT_MODPORT_SET(_gport, _module, _port)
#define BCM_GPORT_MODPORT_MODID_GET(_gport) _SHR_GPORT_MODPORT_MODID_GET(_gport)
#define BCM_GPORT_MODPORT_PORT_GET(_gport) _SHR_GPORT_MODPORT_PORT_GET(_gport)
#define BCM_GPORT_IS_TRUNK(_gport) _SHR_GPORT_IS_TRUNK(_gport)
#define BCM_GPORT_TRUNK_SET(_gport, _trunk_id) _SHR_GPORT_TRUNK_SET(_gport, _trunk_id)
#define BCM_GPORT_TRUNK_GET(_gport) _SHR_GPORT_TRUNK_GET(_gport)

/* Field processor statistic types: even values count bytes, odd values packets. */
typedef enum bcm_field_stat_e {
    bcmFieldStatBytes = 0,
    bcmFieldStatPackets = 1,
    bcmFieldStatDefault = bcmFieldStatPackets,
    bcmFieldStatGreenBytes = 2,
    bcmFieldStatGreenPackets = 3,
    bcmFieldStatYellowBytes = 4,
    bcmFieldStatYellowPackets = 5,
    bcmFieldStatRedBytes = 6,
    bcmFieldStatRedPackets = 7,
    bcmFieldStatNotGreenBytes = 8,
    bcmFieldStatNotGreenPackets = 9,
    bcmFieldStatNotYellowBytes = 10,
    bcmFieldStatNotYellowPackets = 11,
    bcmFieldStatNotRedBytes = 12,
    bcmFieldStatNotRedPackets = 13
} bcm_field_stat_t;

/* VLAN tag actions. */
typedef enum bcm_vlan_action_e {
    bcmVlanActionNone = 0,
    bcmVlanActionAdd = 1,
    bcmVlanActionReplace = 2,
    bcmVlanActionDelete = 3,
    bcmVlanActionCopy = 4,
    bcmVlanActionCompressed = 5,
    bcmVlanActionMappedAdd = 6,
    bcmVlanActionMappedReplace = 7,
    bcmVlanActionOuterAdd = 8,
    bcmVlanActionInnerAdd = 9,
    bcmVlanActionCopyVsan = 10,
    bcmVlanActionReplaceVsan = 11,
    bcmVlanActionArpVlanTranslateAdd = 12
} bcm_vlan_action_t;

/* What to do with each tag of a packet, per tag state (dt double, ot outer, it inner, ut none). */
typedef struct bcm_vlan_action_set_s {
    bcm_vlan_t new_outer_vlan;
    bcm_vlan_t new_inner_vlan;
    uint8 new_inner_pkt_prio;
    uint8 new_outer_cfi;
    uint8 new_inner_cfi;
    bcm_if_t ingress_if;
    int priority;
    bcm_vlan_action_t dt_outer;
    bcm_vlan_action_t dt_outer_prio;
    bcm_vlan_action_t dt_outer_pkt_prio;
    bcm_vlan_action_t dt_outer_cfi;
    bcm_vlan_action_t dt_inner;
    bcm_vlan_action_t dt_inner_prio;
    bcm_vlan_action_t dt_inner_pkt_prio;
    bcm_vlan_action_t dt_inner_cfi;
    bcm_vlan_action_t ot_outer;
    bcm_vlan_action_t ot_outer_prio;
    bcm_vlan_action_t ot_outer_pkt_prio;
    bcm_vlan_action_t ot_outer_cfi;
    bcm_vlan_action_t ot_inner;
    bcm_vlan_action_t ot_inner_pkt_prio;
    bcm_vlan_action_t ot_inner_cfi;
    bcm_vlan_action_t it_outer;
    bcm_vlan_action_t it_outer_pkt_prio;
    bcm_vlan_action_t it_outer_cfi;
    bcm_vlan_action_t it_inner;
    bcm_vlan_action_t it_inner_prio;
    bcm_vlan_action_t it_inner_pkt_prio;
    bcm_vlan_action_t it_inner_cfi;
    bcm_vlan_action_t ut_outer;
    bcm_vlan_action_t ut_outer_pkt_prio;
    bcm_vlan_action_t ut_outer_cfi;
    bcm_vlan_action_t ut_inner;
    bcm_vlan_action_t ut_inner_pkt_prio;
    bcm_vlan_action_t ut_inner_cfi;
    uint16 outer_tpid;
    uint16 inner_tpid;
} bcm_vlan_action_set_t;

#endif /* BCM_TYPES_H */
