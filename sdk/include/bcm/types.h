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

typedef uint32 bcm_mpls_label_t;
typedef int bcm_failover_t;
typedef int bcm_multicast_t;
typedef int bcm_if_group_t;
typedef int32 bcm_core_t;
typedef int bcm_policer_pool_t;
typedef int bcm_tsn_pri_map_t;

typedef struct bcm_vntag_s {
    uint8 direction;
    uint8 pointer;
    uint16 dst_vif;
    uint8 loop;
    uint16 src_vif;
} bcm_vntag_t;

typedef enum bcm_vntag_action_e {
    bcmVnTagActionNone = 0,
    bcmVnTagActionChange = 1,
    bcmVnTagActionDelete = 2,
    bcmVnTagActionCount = 3
} bcm_vntag_action_t;

typedef struct bcm_etag_s {
    uint8 pcp;
    uint8 de;
    uint16 src_vid;
    uint16 vid;
} bcm_etag_t;

typedef enum bcm_etag_action_e {
    bcmETagActionNone = 0,
    bcmETagActionChange = 1,
    bcmETagActionDelete = 2,
    bcmETagActionCount = 3
} bcm_etag_action_t;

#define BCM_FLOW_MAX_NOF_LOGICAL_FIELDS 20

typedef struct bcm_flow_logical_field_s {
    uint32 id;
    uint32 value;
} bcm_flow_logical_field_t;

typedef enum bcm_encap_access_e {
    bcmEncapAccessInvalid = 0,
    bcmEncapAccessTunnel1 = 1,
    bcmEncapAccessTunnel2 = 2,
    bcmEncapAccessTunnel3 = 3,
    bcmEncapAccessTunnel4 = 4,
    bcmEncapAccessNativeArp = 5,
    bcmEncapAccessNativeAc = 6,
    bcmEncapAccessArp = 7,
    bcmEncapAccessRif = 8,
    bcmEncapAccessAc = 9
} bcm_encap_access_t;

typedef enum bcm_svtag_pkt_type_e {
    bcmSvtagPktTypeNonMacsec = 0,
    bcmSvtagPktTypeMacsec = 1,
    bcmSvtagPktTypeNonKayMgmt = 2,
    bcmSvtagPktTypeKayMgmt = 3
} bcm_svtag_pkt_type_t;

typedef enum bcm_vlan_tpid_action_e {
    bcmVlanTpidActionNone = 0,
    bcmVlanTpidActionModify = 1,
    bcmVlanTpidActionInner = 2,
    bcmVlanTpidActionOuter = 3
} bcm_vlan_tpid_action_t;

typedef enum bcm_vlan_pcp_action_e {
    bcmVlanPcpActionNone = 0
} bcm_vlan_pcp_action_t;

typedef struct bcm_vlan_svtag_config_s {
    uint32 sc_index;
    bcm_svtag_pkt_type_t pkt_type;
    uint32 offset_adder;
} bcm_vlan_svtag_config_t;

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
    bcm_vlan_pcp_action_t outer_pcp;
    bcm_vlan_pcp_action_t inner_pcp;
    bcm_policer_t policer_id;
    uint16 outer_tpid;
    uint16 inner_tpid;
    bcm_vlan_tpid_action_t outer_tpid_action;
    bcm_vlan_tpid_action_t inner_tpid_action;
    int action_id;
    uint32 class_id;
    bcm_tsn_pri_map_t taf_gate_primap;
    uint32 flags;
    bcm_vlan_action_t outer_tag;
    bcm_vlan_action_t inner_tag;
    bcm_vlan_t forwarding_domain;
    int inner_qos_map_id;
    int outer_qos_map_id;
    uint32 opaque_ctrl_id;
    bcm_vlan_action_t opaque_tag_present;
    bcm_vlan_action_t opaque_tag_not_present;
    bcm_gport_t gport;
    uint32 gport_group;
    bcm_vlan_t new_third_vlan;
    bcm_vlan_action_t third_tag_action;
    bcm_vlan_svtag_config_t svtag_cfg;
    int egr_pkt_length_adjust_profile;
} bcm_vlan_action_set_t;

#endif /* BCM_TYPES_H */
