/*
 * BCM L3 API: interfaces and egress objects.
 */
#ifndef BCM_L3_H
#define BCM_L3_H

#include <bcm/types.h>

/* Flags of bcm_l3_egress_t.flags, bcm_l3_intf_t.l3a_flags and bcm_l3_egress_create. */
#define BCM_L3_UNTAG 0x00000002
#define BCM_L3_WITH_ID 0x00000040
#define BCM_L3_REPLACE 0x00000100
#define BCM_L3_SRC_DISCARD 0x00080000
#define BCM_L3_DST_DISCARD 0x00100000
#define BCM_L3_KEEP_SRCMAC 0x01000000
#define BCM_L3_KEEP_DSTMAC 0x02000000
#define BCM_L3_KEEP_VLAN 0x04000000
#define BCM_L3_KEEP_TTL 0x08000000

/* Flags of bcm_l3_egress_t.flags2. */
#define BCM_L3_FLAGS2_FIELD_ONLY 0x00000002

/* The leading fields of the SDK's L3 interface record. */
typedef struct bcm_l3_intf_s {
    uint32 l3a_flags;
    uint32 l3a_flags2;
    bcm_vrf_t l3a_vrf;
    bcm_if_t l3a_intf_id;
    bcm_mac_t l3a_mac_addr;
    bcm_vlan_t l3a_vid;
    bcm_vlan_t l3a_inner_vlan;
    int l3a_tunnel_idx;
    int l3a_ttl;
    int l3a_mtu;
} bcm_l3_intf_t;

/* The leading fields of the SDK's L3 egress object. */
typedef struct bcm_l3_egress_s {
    uint32 flags;
    uint32 flags2;
    uint32 flags3;
    bcm_if_t intf;
    bcm_mac_t mac_addr;
    bcm_vlan_t vlan;
    bcm_module_t module;
    bcm_port_t port;
    bcm_trunk_t trunk;
    uint32 mpls_flags;
    int mpls_label;
    int mpls_qos_map_id;
    int mpls_ttl;
    uint8 mpls_pkt_pri;
    uint8 mpls_pkt_cfi;
    uint8 mpls_exp;
    int qos_map_id;
    bcm_if_t encap_id;
    int failover_id;
    bcm_if_t failover_if_id;
    int intf_class;
    bcm_mac_t src_mac_addr;
} bcm_l3_egress_t;

#ifdef __cplusplus
extern "C" {
#endif

extern void bcm_l3_intf_t_init(bcm_l3_intf_t *intf);
extern int bcm_l3_intf_create(int unit, bcm_l3_intf_t *intf);
extern int bcm_l3_intf_delete(int unit, bcm_l3_intf_t *intf);

extern void bcm_l3_egress_t_init(bcm_l3_egress_t *egr);
extern int bcm_l3_egress_create(int unit, uint32 flags, bcm_l3_egress_t *egr, bcm_if_t *if_id);
extern int bcm_l3_egress_destroy(int unit, bcm_if_t intf);

#ifdef __cplusplus
}
#endif

#endif /* BCM_L3_H */
