#include <hal_filters_ll/device_profile.h>

#include <hal_filters_ll/bcm_sdk.h>

namespace HalFiltersLL {
namespace {

using FiltersCommon::FILTERS_GROUP_STAGE_EGRESS;
using FiltersCommon::FILTERS_GROUP_STAGE_INGRESS;
using FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS;

// Every hardware group is created with its id and its mode, and with an empty action set.
constexpr uint32_t kGroupFlags = BCM_FIELD_GROUP_CREATE_WITH_ID | BCM_FIELD_GROUP_CREATE_WITH_MODE;

GroupInfo group(std::vector<int32_t> qualifiers,
                bcm_field_group_mode_t mode = bcmFieldGroupModeSingle) {
  return GroupInfo{kGroupFlags, std::move(qualifiers), mode, {}};
}

}  // namespace

unsigned int getHWEntriesPerPreIngressGroup() {
  return 256;
}
unsigned int getHWEntriesPerIngressGroup() {
  return 256;
}
unsigned int getHWEntriesPerEgressGroup() {
  return 128;
}
unsigned int getMaxHWGroupPreIngress() {
  return 4;
}
unsigned int getMaxHWGroupIngress() {
  return 16;
}
unsigned int getMaxHWGroupEgress() {
  return 4;
}

bool supportCopyAndSwitchToCpuCancelSimultaneous() {
  return true;
}

int applyBcmQualifierOuterPcp(int unit, int entry, FiltersCommon::filtersGroupStage_t stage,
                              unsigned char data, unsigned char mask) {
  if (stage == FILTERS_GROUP_STAGE_INGRESS || stage == FILTERS_GROUP_STAGE_EGRESS) {
    return bcm_field_qualify_IntPriority(unit, entry, data, mask);
  }
  return bcm_field_qualify_OuterVlanPri(unit, entry, data, mask);
}

int applyBcmQualifierMyStationHit(int unit, int entry, unsigned char data, unsigned char mask) {
  return bcm_field_qualify_MyStationHit(unit, entry, data, mask);
}

void getHWGroupConfigType1(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS,
          group({bcmFieldQualifyOuterVlanId, bcmFieldQualifyInPorts, bcmFieldQualifySrcMac,
                 bcmFieldQualifyDstMac, bcmFieldQualifyPacketRes, bcmFieldQualifyMplsTerminated,
                 bcmFieldQualifyL2SrcStatic, bcmFieldQualifyEtherType,
                 bcmFieldQualifyIngressStpState, bcmFieldQualifyDrop, bcmFieldQualifyInPort})}};
}

void getHWGroupConfigType2(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS,
          group({bcmFieldQualifyOuterVlanId, bcmFieldQualifyInnerVlanId, bcmFieldQualifyInPorts,
                 bcmFieldQualifySrcMac, bcmFieldQualifyEtherType, bcmFieldQualifySrcIp,
                 bcmFieldQualifySrcGport})}};
}

void getHWGroupConfigType3(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS,
          group({bcmFieldQualifyInPorts, bcmFieldQualifyL4DstPort, bcmFieldQualifyL4SrcPort,
                 bcmFieldQualifyEtherType, bcmFieldQualifyIpProtocol, bcmFieldQualifyOuterVlanId,
                 bcmFieldQualifyIpType, bcmFieldQualifyTtl, bcmFieldQualifySrcIp,
                 bcmFieldQualifyDstIp, bcmFieldQualifyDstPort, bcmFieldQualifyForwardingType,
                 bcmFieldQualifyMyStationHit})}};
}

void getHWGroupConfigType4(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_PRE_INGRESS,
          group({bcmFieldQualifyInPort, bcmFieldQualifyOuterVlanId, bcmFieldQualifyOuterVlanPri,
                 bcmFieldQualifyInnerVlanId, bcmFieldQualifyInnerVlanPri, bcmFieldQualifyEtherType,
                 bcmFieldQualifyDSCP, bcmFieldQualifySrcIp, bcmFieldQualifyDstIp,
                 bcmFieldQualifyIpProtocol, bcmFieldQualifyL4DstPort,
                 bcmFieldQualifyIpProtocolCommon, bcmFieldQualifyIpType})}};
}

void getHWGroupConfigType5(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_EGRESS,
          group({bcmFieldQualifyInPort, bcmFieldQualifyOutPort, bcmFieldQualifyDstMac,
                 bcmFieldQualifyOuterVlanId, bcmFieldQualifyIntPriority, bcmFieldQualifyInnerVlanId,
                 bcmFieldQualifyInnerVlanPri, bcmFieldQualifyEtherType})}};
}

void getHWGroupConfigType6(GroupCatalogue& out) {
  out = {
      {FILTERS_GROUP_STAGE_PRE_INGRESS,
       group({bcmFieldQualifyOuterVlanId, bcmFieldQualifyOuterVlanPri, bcmFieldQualifyInnerVlanId,
              bcmFieldQualifyInnerVlanPri, bcmFieldQualifySrcMac, bcmFieldQualifyDstMac,
              bcmFieldQualifyEtherType, bcmFieldQualifyInPort, bcmFieldQualifyVlanFormat})}};
}

void getHWGroupConfigType7(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS,
          group({bcmFieldQualifyInPorts, bcmFieldQualifySrcPort, bcmFieldQualifyInterfaceClassL2,
                 bcmFieldQualifyDstMac, bcmFieldQualifyL2SrcStatic, bcmFieldQualifyEtherType,
                 bcmFieldQualifyL4DstPort, bcmFieldQualifyIpType, bcmFieldQualifyIpProtocol,
                 bcmFieldQualifyForwardingType},
                bcmFieldGroupModeIntraSliceDouble)}};
}

void getHWGroupConfigType8(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS, group({bcmFieldQualifyVrf, bcmFieldQualifyL3Routable,
                                              bcmFieldQualifyDstIp6, bcmFieldQualifyEtherType})}};
}

void getHWGroupConfigType9(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS,
          group({bcmFieldQualifyInPorts, bcmFieldQualifyOuterVlanId, bcmFieldQualifyIntPriority,
                 bcmFieldQualifyInnerVlanId, bcmFieldQualifyInnerVlanPri, bcmFieldQualifyIpType,
                 bcmFieldQualifyDSCP})}};
}

void getHWGroupConfigType10(GroupCatalogue& out) {
  out = {{FILTERS_GROUP_STAGE_INGRESS, group({bcmFieldQualifyInPorts, bcmFieldQualifyEtherType,
                                              bcmFieldQualifySrcIp, bcmFieldQualifyDstIp})}};
}

}  // namespace HalFiltersLL
