/*
 * BCM L3 API: interfaces and egress objects.
 */
#ifndef BCM_L3_H
#define BCM_L3_H

#include <bcm/types.h>
#include <bcm/mpls.h>
#include <bcm/qos.h>

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

typedef enum bcm_l3_ingress_urpf_mode_e {
    bcmL3IngressUrpfDisable = 0,
    bcmL3IngressUrpfLoose = 1,
    bcmL3IngressUrpfStrict = 2
} bcm_l3_ingress_urpf_mode_t;

typedef struct bcm_l3_intf_qos_s {
    uint32 flags;
    int qos_map_id;
    uint8 pri;
    uint8 cfi;
    int dscp;
} bcm_l3_intf_qos_t;

/* An L3 interface. */
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
    int l3a_mtu_forwarding;
    bcm_if_group_t l3a_group;
    bcm_l3_intf_qos_t vlan_qos;
    bcm_l3_intf_qos_t inner_vlan_qos;
    bcm_l3_intf_qos_t dscp_qos;
    int l3a_intf_class;
    int l3a_ip4_options_profile_id;
    int l3a_nat_realm_id;
    uint16 outer_tpid;
    uint32 l3a_intf_flags;
    uint8 native_routing_vlan_tags;
    bcm_gport_t l3a_source_vp;
    uint32 flow_handle;
    uint32 flow_option_handle;
    bcm_flow_logical_field_t logical_fields[BCM_FLOW_MAX_NOF_LOGICAL_FIELDS];
    uint32 num_of_fields;
    bcm_qos_ingress_model_t ingress_qos_model;
    bcm_qos_egress_model_t egress_qos_model;
    uint32 stat_id;
    int stat_pp_profile;
    uint8 l3a_ttl_dec;
    int opaque_ctrl_id;
    uint32 l3a_mpls_flags;
    bcm_mpls_label_t l3a_mpls_label;
    uint8 l3a_mpls_ttl;
    uint8 l3a_mpls_exp;
} bcm_l3_intf_t;

/* An L3 egress object (next hop). */
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
    bcm_mpls_label_t mpls_label;
    bcm_mpls_egress_action_t mpls_action;
    int mpls_qos_map_id;
    int mpls_ttl;
    uint8 mpls_pkt_pri;
    uint8 mpls_pkt_cfi;
    uint8 mpls_exp;
    int qos_map_id;
    bcm_if_t encap_id;
    bcm_failover_t failover_id;
    bcm_if_t failover_if_id;
    bcm_multicast_t failover_mc_group;
    int dynamic_scaling_factor;
    int dynamic_load_weight;
    int dynamic_queue_size_weight;
    int intf_class;
    uint32 multicast_flags;
    uint16 oam_global_context_id;
    bcm_vntag_t vntag;
    bcm_vntag_action_t vntag_action;
    bcm_etag_t etag;
    bcm_etag_action_t etag_action;
    uint32 flow_handle;
    uint32 flow_option_handle;
    uint32 flow_label_option_handle;
    bcm_flow_logical_field_t logical_fields[BCM_FLOW_MAX_NOF_LOGICAL_FIELDS];
    uint32 num_of_fields;
    int counting_profile;
    int mpls_ecn_map_id;
    bcm_l3_ingress_urpf_mode_t urpf_mode;
    bcm_multicast_t mc_group;
    bcm_mac_t src_mac_addr;
    bcm_gport_t hierarchical_gport;
    uint32 stat_id;
    int stat_pp_profile;
    bcm_gport_t vlan_port_id;
    int replication_id;
    int mtu;
    int nat_realm_id;
    bcm_qos_egress_model_t egress_qos_model;
    int egress_opaque_ctrl_id;
    bcm_encap_access_t encap_access;
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
