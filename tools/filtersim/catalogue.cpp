#include "catalogue.h"

#include <algorithm>
#include <array>

#include <bcm/field.h>
#include <bcmsim/names.h>
#include <hal_filters_ll/device_profile.h>

namespace filtersim {
namespace {

using namespace FiltersCommon;

constexpr std::array<void (*)(HalFiltersLL::GroupCatalogue&), 10> kGroupTypes = {
    HalFiltersLL::getHWGroupConfigType1, HalFiltersLL::getHWGroupConfigType2,
    HalFiltersLL::getHWGroupConfigType3, HalFiltersLL::getHWGroupConfigType4,
    HalFiltersLL::getHWGroupConfigType5, HalFiltersLL::getHWGroupConfigType6,
    HalFiltersLL::getHWGroupConfigType7, HalFiltersLL::getHWGroupConfigType8,
    HalFiltersLL::getHWGroupConfigType9, HalFiltersLL::getHWGroupConfigType10};

constexpr filtersGroupStage_t kStages[] = {FILTERS_GROUP_STAGE_PRE_INGRESS,
                                           FILTERS_GROUP_STAGE_INGRESS, FILTERS_GROUP_STAGE_EGRESS};

// The qualifiers a scenario match is written with. A match listed twice differs by stage:
// `only_at` names the stage of the first row, the second serves the others.
struct MatchQualifiers {
  const char* match;
  std::vector<int> qualifiers;
  filtersGroupStage_t only_at = FILTERS_GROUP_STAGE_NONE;
};

const std::vector<MatchQualifiers>& matchQualifiers() {
  static const std::vector<MatchQualifiers> table = {
      {"ingress_ports", {bcmFieldQualifyInPorts}, FILTERS_GROUP_STAGE_INGRESS},
      {"ingress_ports", {bcmFieldQualifyInPort}},
      {"egress_ports", {bcmFieldQualifyOutPort}},
      {"outer_vlan", {bcmFieldQualifyOuterVlanId}},
      {"inner_vlan", {bcmFieldQualifyInnerVlanId}},
      {"pcp", {bcmFieldQualifyOuterVlanPri}, FILTERS_GROUP_STAGE_PRE_INGRESS},
      {"pcp", {bcmFieldQualifyIntPriority}},
      {"inner_pcp", {bcmFieldQualifyInnerVlanPri}},
      {"tpid", {bcmFieldQualifyEtherType}},
      {"dst_mac", {bcmFieldQualifyDstMac}},
      {"src_mac", {bcmFieldQualifySrcMac}},
      {"dst_l4_port", {bcmFieldQualifyL4DstPort}},
      {"src_l4_port", {bcmFieldQualifyL4SrcPort}},
      {"l2_src_entry", {bcmFieldQualifyL2SrcStatic}},
      {"src_ipv4", {bcmFieldQualifySrcIp}},
      {"dst_ipv4", {bcmFieldQualifyDstIp}},
      {"dst_ipv6", {bcmFieldQualifyDstIp6}},
      {"vlan_tagging", {bcmFieldQualifyVlanFormat}},
      {"ip_protocol", {bcmFieldQualifyIpProtocol}},
      {"packet_res", {bcmFieldQualifyPacketRes}},
      {"mpls_terminated", {bcmFieldQualifyMplsTerminated}},
      {"tos", {bcmFieldQualifyDSCP}},
      {"ttl", {bcmFieldQualifyTtl}},
      {"virtual_port", {bcmFieldQualifySrcGport}},
      {"src_port", {bcmFieldQualifySrcPort}},
      {"cpu_port", {bcmFieldQualifyInPort}},
      {"dest_cpu_port", {bcmFieldQualifyDstPort}},
      {"ingress_stp_state", {bcmFieldQualifyIngressStpState}},
      {"vlan_info", {bcmFieldQualifyInterfaceClassL2}},
      {"vrf", {bcmFieldQualifyVrf, bcmFieldQualifyL3Routable}},
      {"drop", {bcmFieldQualifyDrop}},
      {"my_station_hit", {bcmFieldQualifyMyStationHit}},
      {"forwarding_type", {bcmFieldQualifyForwardingType}},
  };
  return table;
}

std::string stageName(filtersGroupStage_t stage) {
  switch (stage) {
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      return "pre-ingress";
    case FILTERS_GROUP_STAGE_INGRESS:
      return "ingress";
    default:
      return "egress";
  }
}

std::optional<HalFiltersLL::GroupInfo> groupInfo(unsigned int type, filtersGroupStage_t stage) {
  if (type < 1 || type > kGroupTypes.size()) return std::nullopt;
  HalFiltersLL::GroupCatalogue catalogue;
  kGroupTypes[type - 1](catalogue);
  auto info = catalogue.find(stage);
  if (info == catalogue.end()) return std::nullopt;
  return info->second;
}

bool contains(const std::vector<int32_t>& set, int qualifier) {
  return std::find(set.begin(), set.end(), qualifier) != set.end();
}

// The qualifiers of a group no scenario match is written with.
std::vector<std::string> otherQualifiers(const HalFiltersLL::GroupInfo& info,
                                         filtersGroupStage_t stage) {
  std::vector<std::string> others;
  for (int qualifier : info.qualifiers) {
    bool used = false;
    for (const MatchQualifiers& row : matchQualifiers()) {
      if (row.only_at != FILTERS_GROUP_STAGE_NONE && row.only_at != stage) continue;
      used |= std::find(row.qualifiers.begin(), row.qualifiers.end(), qualifier) !=
              row.qualifiers.end();
    }
    if (!used) others.push_back(bcmsim::qualifier_name(qualifier));
  }
  return others;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? "-" : text;
}

}  // namespace

std::optional<std::vector<std::string>> matchesOfGroupType(unsigned int type,
                                                           filtersGroupStage_t stage) {
  const std::optional<HalFiltersLL::GroupInfo> info = groupInfo(type, stage);
  if (!info) return std::nullopt;
  std::vector<std::string> matches;
  std::vector<std::string> decided;  // a stage-specific row decides its match for its stage
  for (const MatchQualifiers& row : matchQualifiers()) {
    if (row.only_at != FILTERS_GROUP_STAGE_NONE && row.only_at != stage) continue;
    if (std::find(decided.begin(), decided.end(), row.match) != decided.end()) continue;
    decided.push_back(row.match);
    const bool taken = std::all_of(row.qualifiers.begin(), row.qualifiers.end(),
                                   [&](int q) { return contains(info->qualifiers, q); });
    if (taken) matches.push_back(row.match);
  }
  return matches;
}

std::string undescribedStageWarning(unsigned int type, filtersGroupStage_t stage) {
  if (type < 1 || type > kGroupTypes.size() || groupInfo(type, stage)) return "";
  if (stage < FILTERS_GROUP_STAGE_PRE_INGRESS || stage > FILTERS_GROUP_STAGE_EGRESS) return "";
  return "group type " + std::to_string(type) + " describes no " + stageName(stage) +
         " group: it is created with the stage qualifier alone and an id the SDK chooses, so its "
         "entries find no group and fail; see filtersim --catalogue for the types of this stage";
}

std::string groupTypesTaking(const std::string& match) {
  std::string text;
  for (filtersGroupStage_t stage : kStages) {
    std::string types;
    for (unsigned int type = 1; type <= kGroupTypes.size(); ++type) {
      const auto matches = matchesOfGroupType(type, stage);
      if (!matches || std::find(matches->begin(), matches->end(), match) == matches->end()) continue;
      types += (types.empty() ? " " : ", ") + std::to_string(type);
    }
    if (!types.empty()) text += (text.empty() ? "" : "; ") + stageName(stage) + types;
  }
  return text.empty() ? "none" : text;
}

bool groupTypeIsDoubleWide(unsigned int type, filtersGroupStage_t stage) {
  const std::optional<HalFiltersLL::GroupInfo> info = groupInfo(type, stage);
  return info && info->mode == bcmFieldGroupModeIntraSliceDouble;
}

std::vector<std::string> matchNames() {
  std::vector<std::string> names = {"raw"};
  for (const MatchQualifiers& row : matchQualifiers()) {
    if (std::find(names.begin(), names.end(), row.match) == names.end()) names.push_back(row.match);
  }
  return names;
}

void writeCatalogue(std::ostream& out) {
  out << "| Type | Stage | Matches | Other qualifiers |\n|---|---|---|---|\n";
  for (unsigned int type = 1; type <= kGroupTypes.size(); ++type) {
    for (filtersGroupStage_t stage : kStages) {
      const std::optional<HalFiltersLL::GroupInfo> info = groupInfo(type, stage);
      if (!info) continue;
      out << "| " << type << " | " << stageName(stage) << " | "
          << joined(*matchesOfGroupType(type, stage)) << " | "
          << joined(otherQualifiers(*info, stage)) << " |\n";
    }
  }
}

}  // namespace filtersim
