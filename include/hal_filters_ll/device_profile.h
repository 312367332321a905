// What the device family offers the filters: capacities, capabilities, the two qualifiers whose
// SDK call depends on the device or the stage, and the catalogue of hardware group types.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include <filters_common/types.h>

namespace HalFiltersLL {

unsigned int getHWEntriesPerPreIngressGroup();
unsigned int getHWEntriesPerIngressGroup();
unsigned int getHWEntriesPerEgressGroup();
unsigned int getMaxHWGroupPreIngress();
unsigned int getMaxHWGroupIngress();
unsigned int getMaxHWGroupEgress();

// The device accepts both copy-to-CPU cancel actions on one entry.
bool supportCopyAndSwitchToCpuCancelSimultaneous();

// An outer-PCP match: on the internal priority at ingress and egress, on the outer VLAN priority
// at any other stage. Returns the SDK's result.
int applyBcmQualifierOuterPcp(int unit, int entry, FiltersCommon::filtersGroupStage_t stage,
                              unsigned char data, unsigned char mask);
int applyBcmQualifierMyStationHit(int unit, int entry, unsigned char data, unsigned char mask);

// One hardware group description: SDK group-create flags, qualifiers (in the order they are
// added), group mode and actions.
struct GroupInfo {
  uint32_t flags;
  std::vector<int32_t> qualifiers;
  int32_t mode;
  std::vector<int32_t> actions;
};

using GroupCatalogue = std::unordered_map<FiltersCommon::filtersGroupStage_t, GroupInfo>;

// Each replaces the content of `out` with the stages of its group type.
void getHWGroupConfigType1(GroupCatalogue& out);
void getHWGroupConfigType2(GroupCatalogue& out);
void getHWGroupConfigType3(GroupCatalogue& out);
void getHWGroupConfigType4(GroupCatalogue& out);
void getHWGroupConfigType5(GroupCatalogue& out);
void getHWGroupConfigType6(GroupCatalogue& out);
void getHWGroupConfigType7(GroupCatalogue& out);
void getHWGroupConfigType8(GroupCatalogue& out);
void getHWGroupConfigType9(GroupCatalogue& out);
void getHWGroupConfigType10(GroupCatalogue& out);

}  // namespace HalFiltersLL
