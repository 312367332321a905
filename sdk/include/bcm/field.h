/*
 * BCM field processor API: groups, entries, qualifiers, actions, statistics and policer
 * attachment. Every enumerator carries its numeric value.
 */
#ifndef BCM_FIELD_H
#define BCM_FIELD_H

#include <string.h>

#include <bcm/types.h>
#include <shared/bitop.h>

typedef int bcm_field_group_t;
typedef int bcm_field_entry_t;

/* Qualifiers. */
typedef enum bcm_field_qualify_e {
    bcmFieldQualifyDstIp6 = 1,
    bcmFieldQualifySrcMac = 6,
    bcmFieldQualifyDstMac = 7,
    bcmFieldQualifySrcIp = 9,
    bcmFieldQualifyDstIp = 10,
    bcmFieldQualifyInPort = 12,
    bcmFieldQualifyInPorts = 13,
    bcmFieldQualifyDrop = 15,
    bcmFieldQualifyOuterVlanId = 18,
    bcmFieldQualifyOuterVlanPri = 19,
    bcmFieldQualifyInnerVlanId = 22,
    bcmFieldQualifyInnerVlanPri = 23,
    bcmFieldQualifyL4SrcPort = 27,
    bcmFieldQualifyL4DstPort = 28,
    bcmFieldQualifyEtherType = 29,
    bcmFieldQualifyIpProtocol = 30,
    bcmFieldQualifyIp6NextHeader = bcmFieldQualifyIpProtocol,
    bcmFieldQualifyDSCP = 31,
    bcmFieldQualifyTos = bcmFieldQualifyDSCP,
    bcmFieldQualifyIp6TrafficClass = bcmFieldQualifyDSCP,
    bcmFieldQualifyTtl = 32,
    bcmFieldQualifyIp6HopLimit = bcmFieldQualifyTtl,
    bcmFieldQualifySrcPort = 35,
    bcmFieldQualifyDstPort = 40,
    bcmFieldQualifyPacketRes = 43,
    bcmFieldQualifyIpProtocolCommon = 52,
    bcmFieldQualifyIpType = 61,
    bcmFieldQualifyForwardingType = 62,
    bcmFieldQualifyStage = 67,
    bcmFieldQualifyStageIngress = 68,
    bcmFieldQualifyStageIngressSecurity = 69,
    bcmFieldQualifyStageIngressQoS = 70,
    bcmFieldQualifyStageLookup = 71,
    bcmFieldQualifyStageEgress = 72,
    bcmFieldQualifyStageEgressSecurity = 73,
    bcmFieldQualifyStageExternal = 74,
    bcmFieldQualifyInterfaceClassL2 = 79,
    bcmFieldQualifyL3Routable = 82,
    bcmFieldQualifyVrf = 84,
    bcmFieldQualifyOutPort = 86,
    bcmFieldQualifyVlanFormat = 90,
    bcmFieldQualifyMplsTerminated = 98,
    bcmFieldQualifyIngressStpState = 111,
    bcmFieldQualifyL2SrcStatic = 113,
    bcmFieldQualifyIntPriority = 142,
    bcmFieldQualifyMyStationHit = 153,
    bcmFieldQualifySrcGport = 196,
    bcmFieldQualifyCount = 1269
} bcm_field_qualify_t;

#define BCM_FIELD_USER_NUM_UDFS 277
#define BCM_FIELD_QUALIFY_MAX (bcmFieldQualifyCount + BCM_FIELD_USER_NUM_UDFS)

/* Actions. */
typedef enum bcm_field_action_e {
    bcmFieldActionCosQNew = 0,
    bcmFieldActionCosQCpuNew = 1,
    bcmFieldActionVlanCosQNew = 2,
    bcmFieldActionPrioPktAndIntCopy = 5,
    bcmFieldActionPrioPktAndIntNew = 6,
    bcmFieldActionPrioPktAndIntTos = 7,
    bcmFieldActionPrioPktAndIntCancel = 8,
    bcmFieldActionPrioPktCopy = 9,
    bcmFieldActionPrioPktNew = 10,
    bcmFieldActionPrioPktTos = 11,
    bcmFieldActionPrioPktCancel = 12,
    bcmFieldActionPrioIntCopy = 13,
    bcmFieldActionPrioIntNew = 14,
    bcmFieldActionPrioIntTos = 15,
    bcmFieldActionPrioIntCancel = 16,
    bcmFieldActionDscpNew = 20,
    bcmFieldActionDscpCancel = 21,
    bcmFieldActionCopyToCpu = 23,
    bcmFieldActionCopyToCpuCancel = 24,
    bcmFieldActionSwitchToCpuCancel = 25,
    bcmFieldActionRedirect = 29,
    bcmFieldActionRedirectPort = bcmFieldActionRedirect,
    bcmFieldActionRedirectTrunk = 30,
    bcmFieldActionRedirectCancel = 31,
    bcmFieldActionRedirectPbmp = 32,
    bcmFieldActionEgressMask = 37,
    bcmFieldActionEgressPortsAdd = 38,
    bcmFieldActionDrop = 39,
    bcmFieldActionDropCancel = 40,
    bcmFieldActionL3Switch = 48,
    bcmFieldActionL3SwitchCancel = 49,
    bcmFieldActionRpDrop = 52,
    bcmFieldActionRpDropCancel = 53,
    bcmFieldActionRpDscpNew = 61,
    bcmFieldActionRpOuterVlanPrioNew = 64,
    bcmFieldActionRpPrioPktNew = 69,
    bcmFieldActionRpPrioIntNew = 81,
    bcmFieldActionYpDrop = 84,
    bcmFieldActionYpDropCancel = 85,
    bcmFieldActionYpDscpNew = 93,
    bcmFieldActionYpOuterVlanPrioNew = 96,
    bcmFieldActionYpPrioPktNew = 101,
    bcmFieldActionYpPrioIntNew = 113,
    bcmFieldActionInnerVlanPrioNew = 123,
    bcmFieldActionGpDrop = 136,
    bcmFieldActionGpDropCancel = 137,
    bcmFieldActionGpDscpNew = 145,
    bcmFieldActionGpOuterVlanPrioNew = 150,
    bcmFieldActionGpPrioPktNew = 155,
    bcmFieldActionGpPrioIntNew = 167,
    bcmFieldActionIncomingMplsPortSet = 176,
    bcmFieldActionSrcMacNew = 200,
    bcmFieldActionDstMacNew = 201,
    bcmFieldActionOuterVlanCopyInner = 221,
    bcmFieldActionOuterVlanPrioCopyInner = 222,
    bcmFieldActionOuterVlanCfiCopyInner = 223,
    bcmFieldActionInnerVlanCopyOuter = 224,
    bcmFieldActionInnerVlanPrioCopyOuter = 225,
    bcmFieldActionChangeL2Fields = 390,
    bcmFieldActionCount = 820
} bcm_field_action_t;

/* Group modes. */
typedef enum bcm_field_group_mode_e {
    bcmFieldGroupModeSingle = 0,
    bcmFieldGroupModeDouble = 1,
    bcmFieldGroupModeTriple = 2,
    bcmFieldGroupModeQuad = 3,
    bcmFieldGroupModeAuto = 4,
    bcmFieldGroupModeDirect = 5,
    bcmFieldGroupModeDirectExtraction = 6,
    bcmFieldGroupModeHashing = 7,
    bcmFieldGroupModeExactMatch = 8,
    bcmFieldGroupModeIntraSliceDouble = 9,
    bcmFieldGroupModeCount = 10
} bcm_field_group_mode_t;

/* Values of the IpType qualifier. */
typedef enum bcm_field_IpType_e {
    bcmFieldIpTypeAny = 0,
    bcmFieldIpTypeNonIp = 1,
    bcmFieldIpTypeIpv4Any = 5,
    bcmFieldIpTypeIpv6 = 10,
    bcmFieldIpTypeIp = 11,
    bcmFieldIpTypeArp = 12
} bcm_field_IpType_t;

/* Values of the IpProtocolCommon qualifier. */
typedef enum bcm_field_IpProtocolCommon_e {
    bcmFieldIpProtocolCommonTcp = 0,
    bcmFieldIpProtocolCommonUdp = 1,
    bcmFieldIpProtocolCommonIgmp = 2,
    bcmFieldIpProtocolCommonIcmp = 3,
    bcmFieldIpProtocolCommonIp6Icmp = 4,
    bcmFieldIpProtocolCommonIp6HopByHop = 5,
    bcmFieldIpProtocolCommonIpInIp = 6,
    bcmFieldIpProtocolCommonTcpUdp = 7,
    bcmFieldIpProtocolCommonUnknown = 8
} bcm_field_IpProtocolCommon_t;

/* Values of the ForwardingType qualifier. */
typedef enum bcm_field_ForwardingType_e {
    bcmFieldForwardingTypeAny = 0,
    bcmFieldForwardingTypeL2 = 1,
    bcmFieldForwardingTypeL3 = 2,
    bcmFieldForwardingTypeL2Shared = 3,
    bcmFieldForwardingTypeL2Independent = 4,
    bcmFieldForwardingTypeL2Vpn = 5,
    bcmFieldForwardingTypeL2VpnDirect = 6,
    bcmFieldForwardingTypeL3Direct = 7,
    bcmFieldForwardingTypeIp4Ucast = 8
} bcm_field_ForwardingType_t;

/* Values of the VlanFormat qualifier (a bit set). */
#define BCM_FIELD_VLAN_FORMAT_UNTAGGED 0
#define BCM_FIELD_VLAN_FORMAT_OUTER_TAGGED 1
#define BCM_FIELD_VLAN_FORMAT_INNER_TAGGED 2
#define BCM_FIELD_VLAN_FORMAT_OUTER_TAGGED_VID_ZERO 4
#define BCM_FIELD_VLAN_FORMAT_INNER_TAGGED_VID_ZERO 8

/* Values of the PacketRes qualifier. */
#define BCM_FIELD_PKT_RES_UNKNOWN 0x0
#define BCM_FIELD_PKT_RES_CONTROL 0x1
#define BCM_FIELD_PKT_RES_BPDU 0x2
#define BCM_FIELD_PKT_RES_L2BC 0x3
#define BCM_FIELD_PKT_RES_L2UC 0x4
#define BCM_FIELD_PKT_RES_L2UNKNOWN 0x5
#define BCM_FIELD_PKT_RES_L3MCUNKNOWN 0x6
#define BCM_FIELD_PKT_RES_L3MCKNOWN 0x7
#define BCM_FIELD_PKT_RES_L2MCKNOWN 0x8
#define BCM_FIELD_PKT_RES_L2MCUNKNOWN 0x9
#define BCM_FIELD_PKT_RES_L3UCKNOWN 0xa
#define BCM_FIELD_PKT_RES_L3UCUNKNOWN 0xb
#define BCM_FIELD_PKT_RES_MPLSKNOWN 0xc
#define BCM_FIELD_PKT_RES_MPLSUNKNOWN 0xf

/* Qualifier and action sets. */
typedef struct bcm_field_qset_s {
    SHR_BITDCL w[_SHR_BITDCLSIZE(BCM_FIELD_QUALIFY_MAX)];
    SHR_BITDCL udf_map[_SHR_BITDCLSIZE(BCM_FIELD_USER_NUM_UDFS)];
} bcm_field_qset_t;

#define BCM_FIELD_QSET_INIT(qset) memset(&(qset), 0, sizeof(bcm_field_qset_t))
#define BCM_FIELD_QSET_ADD(qset, q) SHR_BITSET(((qset).w), (q))
#define BCM_FIELD_QSET_REMOVE(qset, q) SHR_BITCLR(((qset).w), (q))
#define BCM_FIELD_QSET_TEST(qset, q) SHR_BITGET(((qset).w), (q))

#define BCM_FIELD_ACTION_WIDTH_MAX 48

typedef struct bcm_field_action_width_s {
    uint32 action;
    uint32 width;
    uint8 valid;
} bcm_field_action_width_t;

typedef struct bcm_field_aset_s {
    SHR_BITDCL w[_SHR_BITDCLSIZE(bcmFieldActionCount)];
    bcm_field_action_width_t actions_width[16];
} bcm_field_aset_t;

#define BCM_FIELD_ASET_INIT(aset) memset(&(aset), 0, sizeof(bcm_field_aset_t))
#define BCM_FIELD_ASET_ADD(aset, a) SHR_BITSET(((aset).w), (a))
#define BCM_FIELD_ASET_REMOVE(aset, a) SHR_BITCLR(((aset).w), (a))
#define BCM_FIELD_ASET_TEST(aset, a) SHR_BITGET(((aset).w), (a))

/* Group creation. */
#define BCM_FIELD_GROUP_CREATE_WITH_ID 0x00000001
#define BCM_FIELD_GROUP_CREATE_WITH_PORT 0x00000002
#define BCM_FIELD_GROUP_CREATE_WITH_MODE 0x00000004
#define BCM_FIELD_GROUP_CREATE_SMALL 0x00000008
#define BCM_FIELD_GROUP_CREATE_LARGE 0x00000010
#define BCM_FIELD_GROUP_CREATE_WITH_ASET 0x00000020
#define BCM_FIELD_GROUP_CREATE_WITH_PRESELSET 0x00000040

#define BCM_FIELD_GROUP_PRIO_ANY (-0x7fffffff)

#define BCM_FIELD_MAX_NAME_LEN 100
#define BCM_FIELD_PRESEL_SEL_MAX 1024
#define BCM_FIELD_GROUP_ACTION_RES_ID_DEFAULT (-1)

typedef struct bcm_field_presel_set_s {
    SHR_BITDCL w[_SHR_BITDCLSIZE(BCM_FIELD_PRESEL_SEL_MAX)];
} bcm_field_presel_set_t;

typedef enum bcm_field_group_cycle_e {
    bcmFieldGroupCycle0 = 0,
    bcmFieldGroupCycle1 = 1,
    bcmFieldGroupCycleCount = 2
} bcm_field_group_cycle_t;

typedef enum bcm_field_group_mode_type_e {
    bcmFieldGroupModeTypeAuto = 0,
    bcmFieldGroupModeTypeL2Single = 1,
    bcmFieldGroupModeTypeL3Single = 2,
    bcmFieldGroupModeTypeL3SingleAny = 3,
    bcmFieldGroupModeTypeL3Double = 4,
    bcmFieldGroupModeTypeL3DoubleAny = 5,
    bcmFieldGroupModeTypeL3DoubleAlternate = 6,
    bcmFieldGroupModeTypeCount = 7
} bcm_field_group_mode_type_t;

typedef enum bcm_field_group_packet_type_e {
    bcmFieldGroupPacketTypeDefault = 0,
    bcmFieldGroupPacketTypeIp = 1,
    bcmFieldGroupPacketTypeNonIp = 2,
    bcmFieldGroupPacketTypeIp4 = 3,
    bcmFieldGroupPacketTypeIp6 = 4,
    bcmFieldGroupPacketTypeHigig = 5,
    bcmFieldGroupPacketTypeFrontPanel = 6,
    bcmFieldGroupPacketTypeLoopback = 7,
    bcmFieldGroupPacketTypeAuto = 8,
    bcmFieldGroupPacketTypeCount = 9
} bcm_field_group_packet_type_t;

typedef uint32 bcm_field_hintid_t;
typedef int bcm_field_presel_group_t;

/* The leading fields of the SDK's group description; the library sets no others. */
typedef struct bcm_field_group_config_s {
    uint32 flags;
    bcm_field_qset_t qset;
    int priority;
    bcm_field_group_mode_t mode;
    bcm_pbmp_t ports;
    bcm_field_group_t group;
    bcm_field_aset_t aset;
    bcm_field_presel_set_t preselset;
    bcm_field_presel_set_t group_ref;
    int max_entry_priorities;
    bcm_field_hintid_t hintid;
    int action_res_id;
    uint8 name[BCM_FIELD_MAX_NAME_LEN];
    bcm_field_group_cycle_t cycle;
    uint32 pgm_bmp;
    uint32 share_id;
    bcm_field_presel_group_t presel_group;
    bcm_field_group_mode_type_t mode_type;
    bcm_field_group_packet_type_t packet_type;
} bcm_field_group_config_t;

/* Entry priorities. */
#define BCM_FIELD_ENTRY_PRIO_HIGHEST 0x7fffffff
#define BCM_FIELD_ENTRY_PRIO_LOWEST 0
#define BCM_FIELD_ENTRY_PRIO_DEFAULT BCM_FIELD_ENTRY_PRIO_LOWEST
#define BCM_FIELD_ENTRY_PRIO_DONT_CARE BCM_FIELD_ENTRY_PRIO_LOWEST
#define BCM_FIELD_ENTRY_INVALID (-1)
#define BCM_FIELD_EXACT_MATCH_MASK (~0)

#ifdef __cplusplus
extern "C" {
#endif

extern int bcm_field_init(int unit);
extern int bcm_field_detach(int unit);

extern void bcm_field_qset_t_init(bcm_field_qset_t *qset);
extern void bcm_field_aset_t_init(bcm_field_aset_t *aset);
extern void bcm_field_group_config_t_init(bcm_field_group_config_t *group_config);
extern int bcm_field_group_config_create(int unit, bcm_field_group_config_t *group_config);
extern int bcm_field_group_destroy(int unit, bcm_field_group_t group);

extern int bcm_field_entry_create(int unit, bcm_field_group_t group, bcm_field_entry_t *entry);
extern int bcm_field_entry_create_id(int unit, bcm_field_group_t group, bcm_field_entry_t entry);
extern int bcm_field_entry_destroy(int unit, bcm_field_entry_t entry);
extern int bcm_field_entry_install(int unit, bcm_field_entry_t entry);
extern int bcm_field_entry_reinstall(int unit, bcm_field_entry_t entry);
extern int bcm_field_entry_remove(int unit, bcm_field_entry_t entry);
extern int bcm_field_entry_prio_set(int unit, bcm_field_entry_t entry, int prio);
extern int bcm_field_entry_prio_get(int unit, bcm_field_entry_t entry, int *prio);

extern int bcm_field_qualify_SrcMac(int unit, bcm_field_entry_t entry, bcm_mac_t data,
                                    bcm_mac_t mask);
extern int bcm_field_qualify_DstMac(int unit, bcm_field_entry_t entry, bcm_mac_t data,
                                    bcm_mac_t mask);
extern int bcm_field_qualify_EtherType(int unit, bcm_field_entry_t entry, uint16 data,
                                       uint16 mask);
extern int bcm_field_qualify_EtherType_get(int unit, bcm_field_entry_t entry, uint16 *data,
                                           uint16 *mask);
extern int bcm_field_qualify_L4SrcPort(int unit, bcm_field_entry_t entry, bcm_l4_port_t data,
                                       bcm_l4_port_t mask);
extern int bcm_field_qualify_L4DstPort(int unit, bcm_field_entry_t entry, bcm_l4_port_t data,
                                       bcm_l4_port_t mask);
extern int bcm_field_qualify_L2SrcStatic(int unit, bcm_field_entry_t entry, uint8 data,
                                         uint8 mask);
extern int bcm_field_qualify_VlanFormat(int unit, bcm_field_entry_t entry, uint8 data,
                                        uint8 mask);
extern int bcm_field_qualify_IpProtocol(int unit, bcm_field_entry_t entry, uint8 data,
                                        uint8 mask);
extern int bcm_field_qualify_MplsTerminated(int unit, bcm_field_entry_t entry, uint8 data,
                                            uint8 mask);
extern int bcm_field_qualify_DSCP(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask);
extern int bcm_field_qualify_IngressStpState(int unit, bcm_field_entry_t entry, uint8 data,
                                             uint8 mask);
extern int bcm_field_qualify_Ttl(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask);
extern int bcm_field_qualify_L3Routable(int unit, bcm_field_entry_t entry, uint8 data,
                                        uint8 mask);
extern int bcm_field_qualify_Drop(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask);
extern int bcm_field_qualify_MyStationHit(int unit, bcm_field_entry_t entry, uint8 data,
                                          uint8 mask);
extern int bcm_field_qualify_IntPriority(int unit, bcm_field_entry_t entry, uint8 data,
                                         uint8 mask);
extern int bcm_field_qualify_OuterVlanPri(int unit, bcm_field_entry_t entry, uint8 data,
                                          uint8 mask);
extern int bcm_field_qualify_InnerVlanPri(int unit, bcm_field_entry_t entry, uint8 data,
                                          uint8 mask);
extern int bcm_field_qualify_SrcIp(int unit, bcm_field_entry_t entry, bcm_ip_t data,
                                   bcm_ip_t mask);
extern int bcm_field_qualify_DstIp(int unit, bcm_field_entry_t entry, bcm_ip_t data,
                                   bcm_ip_t mask);
extern int bcm_field_qualify_DstIp6(int unit, bcm_field_entry_t entry, bcm_ip6_t data,
                                    bcm_ip6_t mask);
extern int bcm_field_qualify_PacketRes(int unit, bcm_field_entry_t entry, uint32 data,
                                       uint32 mask);
extern int bcm_field_qualify_Vrf(int unit, bcm_field_entry_t entry, uint32 data, uint32 mask);
extern int bcm_field_qualify_InterfaceClassL2(int unit, bcm_field_entry_t entry, uint32 data,
                                              uint32 mask);
extern int bcm_field_qualify_InPort(int unit, bcm_field_entry_t entry, bcm_port_t data,
                                    bcm_port_t mask);
extern int bcm_field_qualify_OutPort(int unit, bcm_field_entry_t entry, bcm_port_t data,
                                     bcm_port_t mask);
extern int bcm_field_qualify_InPorts(int unit, bcm_field_entry_t entry, bcm_pbmp_t data,
                                     bcm_pbmp_t mask);
extern int bcm_field_qualify_ForwardingType(int unit, bcm_field_entry_t entry,
                                            bcm_field_ForwardingType_t type);
extern int bcm_field_qualify_SrcPort(int unit, bcm_field_entry_t entry, bcm_module_t data_modid,
                                     bcm_module_t mask_modid, bcm_port_t data_port,
                                     bcm_port_t mask_port);
extern int bcm_field_qualify_DstPort(int unit, bcm_field_entry_t entry, bcm_module_t data_modid,
                                     bcm_module_t mask_modid, bcm_port_t data_port,
                                     bcm_port_t mask_port);
extern int bcm_field_qualify_OuterVlanId(int unit, bcm_field_entry_t entry, bcm_vlan_t data,
                                         bcm_vlan_t mask);
extern int bcm_field_qualify_InnerVlanId(int unit, bcm_field_entry_t entry, bcm_vlan_t data,
                                         bcm_vlan_t mask);
extern int bcm_field_qualify_SrcGport(int unit, bcm_field_entry_t entry, bcm_gport_t port_id);
extern int bcm_field_qualify_IpType(int unit, bcm_field_entry_t entry, bcm_field_IpType_t type);
extern int bcm_field_qualify_IpType_get(int unit, bcm_field_entry_t entry,
                                        bcm_field_IpType_t *type);
extern int bcm_field_qualify_IpProtocolCommon(int unit, bcm_field_entry_t entry,
                                              bcm_field_IpProtocolCommon_t protocol);
extern int bcm_field_qualify_IpProtocolCommon_get(int unit, bcm_field_entry_t entry,
                                                  bcm_field_IpProtocolCommon_t *protocol);

extern int bcm_field_action_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                                uint32 param0, uint32 param1);
extern int bcm_field_action_delete(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                                   uint32 param0, uint32 param1);
extern int bcm_field_action_remove(int unit, bcm_field_entry_t entry, bcm_field_action_t action);
extern int bcm_field_action_mac_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                                    bcm_mac_t mac);
extern int bcm_field_action_ports_add(int unit, bcm_field_entry_t entry,
                                      bcm_field_action_t action, bcm_pbmp_t pbmp);
extern int bcm_field_action_vlan_actions_add(int unit, bcm_field_entry_t entry,
                                             bcm_field_action_t action,
                                             bcm_vlan_action_set_t *vlan_action_set);

extern int bcm_field_stat_create(int unit, bcm_field_group_t group, int nstat,
                                 bcm_field_stat_t *stat_arr, int *stat_id);
extern int bcm_field_stat_destroy(int unit, int stat_id);
extern int bcm_field_stat_get(int unit, int stat_id, bcm_field_stat_t stat, uint64 *value);
extern int bcm_field_stat_set(int unit, int stat_id, bcm_field_stat_t stat, uint64 value);
extern int bcm_field_entry_stat_attach(int unit, bcm_field_entry_t entry, int stat_id);
extern int bcm_field_entry_stat_detach(int unit, bcm_field_entry_t entry, int stat_id);

extern int bcm_field_entry_policer_attach(int unit, bcm_field_entry_t entry_id, int level,
                                          bcm_policer_t policer_id);
extern int bcm_field_entry_policer_detach(int unit, bcm_field_entry_t entry_id, int level);

#ifdef __cplusplus
}
#endif

#endif /* BCM_FIELD_H */
