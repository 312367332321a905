// Match translation: every match of the filter model becomes Broadcom qualifiers.
#pragma once

#include <list>
#include <map>

#include <hal_filters_ll/bcm_sdk.h>

#include <filters_common/filters_common.h>
#include <hal_bcm_common/hal_bcm_common.h>
#include <limid/limid.h>

namespace HalFiltersLL {

// The model's values and the SDK's.
extern const std::map<FiltersCommon::en_Resolution, uint32> g_PacketResConversionTable_;
extern const std::map<FiltersCommon::en_StpState, uint8> g_StpStateConversionTable_;
extern const std::map<FiltersCommon::en_ForwardingType, bcm_field_ForwardingType_e>
    g_ForwardingTypeConversionTable_;

// An SDK qualifier result as the library's: 0, or -2 after a log line naming the cause.
int qualifierResultToHalErr(int rv, int eid);

// Scalar qualifiers; each answers 0 or -2.
int setBcmSrcMacQualifier(const FiltersCommon::Match* match, int eid);
int setBcmDstMacQualifier(const FiltersCommon::Match* match, int eid);
int setBcmEtherTypeQualifier(const FiltersCommon::Match* match, int eid);
int setBcmL2SrcStaticQualifier(const FiltersCommon::Match* match, int eid);
int setBcmPacketResQualifier(const FiltersCommon::Match* match, int eid);
int setBcmMplsTerminatedQualifier(const FiltersCommon::Match* match, int eid);
int setBcmDstL4PortQualifier(FiltersCommon::filtersGroupStage_t stage,
                             const FiltersCommon::Match* match, int eid);
int setBcmSrcL4PortQualifier(FiltersCommon::filtersGroupStage_t stage,
                             const FiltersCommon::Match* match, int eid);
int setBcmSrcIpv4Qualifier(const FiltersCommon::Match* match, int eid);
int setBcmDstIpv4Qualifier(const FiltersCommon::Match* match, int eid);
int setBcmToSQualifier(const FiltersCommon::Match* match, int eid);
int setBcmIpProtocolQualifier(const FiltersCommon::Match* match, int eid);
int setBcmTtlQualifier(const FiltersCommon::Match* match, int eid);
int setBcmIngressStpStateQualifier(const FiltersCommon::Match* match, int eid);
int setBcmVrfIdQualifier(const FiltersCommon::Match* match, int eid);
int setBcmDstIpv6Qualifier(const FiltersCommon::Match* match, int eid);
int setBcmDropQualifier(const FiltersCommon::Match* match, int eid);
int setBcmMyStationHitQualifier(const FiltersCommon::Match* match, int eid);
int setBcmForwardingTypeQualifier(const FiltersCommon::Match* match, int eid);
int setBcmVlanTaggingQualifier(const FiltersCommon::Match* match, int eid);
int setBcmCpuPortQualifier(int eid);
int setBcmDestCpuPortQualifier(int eid);

// Qualifiers that an L3 or L4 match implies, written only where nothing was written yet.
int setBcmEtherTypeQualifierSoft(unsigned short ether_type, int eid);
int setBcmIpTypeQualifierSoft(bcm_field_IpType_e ip_type, int eid);
int setBcmIpProtocolCommonQualifierSoft(bcm_field_IpProtocolCommon_e protocol, int eid,
                                        FiltersCommon::filtersGroupStage_t stage);

// Port qualifiers.
int setBcmIngressPortsQualifier(FiltersCommon::filtersGroupStage_t stage,
                                const FiltersCommon::Match* match, int eid);
int setBcmEgressPortQualifier(const FiltersCommon::Match* match, int eid);
int setBcmSrcPortQualifier(const FiltersCommon::Match* match, int eid);
int setBcmVirtualPortQualifier(const FiltersCommon::Match* match, int eid);
// (Re)writes the InPorts qualifier of an ingress hardware entry from the cached bitmap.
int ConfigureInPortsMatch(const int& eid);

// VLAN and PCP qualifiers.
int setBcmExternalVlanIdQualifier(const std::list<limid_t>& ports,
                                  FiltersCommon::filtersGroupStage_t stage,
                                  const FiltersCommon::Match* match, int eid);
int setBcmInnerVlanIdQualifier(const FiltersCommon::Match* match, int eid);
int setBcmPcpQualifier(const std::list<limid_t>& ports, FiltersCommon::filtersGroupStage_t stage,
                       const FiltersCommon::Match* match, int eid);
int setBcmInnerPcpQualifier(const FiltersCommon::Match* match, int eid);
int setBcmVlanInfoQualifier(const FiltersCommon::Match* match, int eid);
// The model's service VLAN type in the bridge domain's numbering (3 and 4 are crossed); 0, or -2
// for a type outside 0 to 4.
int xlateSvcVlanInfo(const FiltersCommon::vlan_info_t& model, hal_bd_vlan_info_t& bridge_domain);

}  // namespace HalFiltersLL
