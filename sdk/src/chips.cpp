// The named chips and the default device, as tables the device's rules read. Every value was read
// in the chip's own code path of the SDK 6.5.22 (src/bcm/esw); docs/bcmsim.md cites each one.
#include <bcmsim/chips.h>

#include <bcm/error.h>
#include <bcm/policer.h>

#include "action_conflicts.h"
#include "policer_modes.h"

namespace bcmsim {
namespace {

using Actions = std::set<int>;

constexpr int kPreIngress = static_cast<int>(Stage::PreIngress);
constexpr int kIngress = static_cast<int>(Stage::Ingress);
constexpr int kEgress = static_cast<int>(Stage::Egress);

// The statistic classes: each counter mode serves a class whole, bytes and packets.
constexpr StatTypes kAll = stat_types({bcmFieldStatBytes, bcmFieldStatPackets});
constexpr StatTypes kGreen = stat_types({bcmFieldStatGreenBytes, bcmFieldStatGreenPackets});
constexpr StatTypes kYellow = stat_types({bcmFieldStatYellowBytes, bcmFieldStatYellowPackets});
constexpr StatTypes kRed = stat_types({bcmFieldStatRedBytes, bcmFieldStatRedPackets});
constexpr StatTypes kNotGreen =
    stat_types({bcmFieldStatNotGreenBytes, bcmFieldStatNotGreenPackets});
constexpr StatTypes kNotYellow =
    stat_types({bcmFieldStatNotYellowBytes, bcmFieldStatNotYellowPackets});
constexpr StatTypes kNotRed = stat_types({bcmFieldStatNotRedBytes, bcmFieldStatNotRedPackets});
constexpr StatTypes kClasses[] = {kAll, kGreen, kYellow, kRed, kNotGreen, kNotYellow, kNotRed};
constexpr StatTypes kEveryType = kAll | kGreen | kYellow | kRed | kNotGreen | kNotYellow | kNotRed;

// Katana 2's ingress counter modes: any one or two classes (`_bcm_field_stat_hw_mode_get` over
// the Trident table, field_common.c).
std::vector<StatTypes> any_two_classes() {
  std::vector<StatTypes> modes;
  for (StatTypes a : kClasses) {
    for (StatTypes b : kClasses) {
      if (a < b) modes.push_back(a | b);
    }
  }
  return modes;
}

// Trident 2's ingress counter modes: one class, or two colours that share no packet.
std::vector<StatTypes> one_class_or_disjoint_colours() {
  std::vector<StatTypes> modes(std::begin(kClasses), std::end(kClasses));
  for (StatTypes pair : {kGreen | kYellow, kGreen | kRed, kYellow | kRed, kGreen | kNotGreen,
                         kYellow | kNotYellow, kRed | kNotRed}) {
    modes.push_back(pair);
  }
  return modes;
}

// The egress counter modes of every chip modelled (the trx table).
std::vector<StatTypes> egress_counter_modes() {
  return {
    kAll,           kRed | kNotRed,          kGreen | kNotGreen,
    kGreen | kRed | kNotYellow, kGreen | kYellow | kNotRed, kRed | kYellow | kNotGreen};
}

// The lookup stage counts packets and bytes only; a colour is unavailable there.
void lookup_counters(StageRules& rules) {
  rules.counter_modes = {kAll};
  rules.counter_mode_refusal = BCM_E_UNAVAIL;
}

// The actions each stage supports (`_bcm_field_trx_stage_action_support_check`, trx/field.c).
Actions lookup_actions() {
  return {
    bcmFieldActionCosQCpuNew,          bcmFieldActionPrioPktAndIntNew,
    bcmFieldActionPrioPktNew,          bcmFieldActionPrioIntNew,
    bcmFieldActionCopyToCpu,           bcmFieldActionCopyToCpuCancel,
    bcmFieldActionDrop,                bcmFieldActionDropCancel,
    bcmFieldActionInnerVlanPrioNew,    bcmFieldActionIncomingMplsPortSet,
    bcmFieldActionOuterVlanCopyInner,  bcmFieldActionOuterVlanPrioCopyInner,
    bcmFieldActionOuterVlanCfiCopyInner, bcmFieldActionInnerVlanCopyOuter,
    bcmFieldActionInnerVlanPrioCopyOuter};
}
Actions egress_actions() {
  return {
    bcmFieldActionDscpNew,          bcmFieldActionDrop,          bcmFieldActionDropCancel,
    bcmFieldActionRpDrop,           bcmFieldActionRpDropCancel,  bcmFieldActionRpDscpNew,
    bcmFieldActionRpOuterVlanPrioNew, bcmFieldActionYpDrop,      bcmFieldActionYpDropCancel,
    bcmFieldActionYpDscpNew,        bcmFieldActionYpOuterVlanPrioNew, bcmFieldActionGpDrop,
    bcmFieldActionGpDropCancel,     bcmFieldActionGpDscpNew,     bcmFieldActionGpOuterVlanPrioNew,
    bcmFieldActionInnerVlanPrioNew};
}
// What Katana 2 adds at egress: the CPU copy and its queue, redirects and internal priorities.
Actions katana2_egress_extras() {
  return {
    bcmFieldActionCosQCpuNew,    bcmFieldActionPrioIntNew,      bcmFieldActionCopyToCpu,
    bcmFieldActionCopyToCpuCancel, bcmFieldActionRedirect,      bcmFieldActionRedirectTrunk,
    bcmFieldActionRpPrioIntNew,  bcmFieldActionYpPrioIntNew,    bcmFieldActionGpPrioIntNew};
}
// Ingress supports every action declared but those of the other stages' tags.
Actions actions_not_at_ingress() {
  return {
    bcmFieldActionRpOuterVlanPrioNew,  bcmFieldActionYpOuterVlanPrioNew,
    bcmFieldActionGpOuterVlanPrioNew,  bcmFieldActionInnerVlanPrioNew,
    bcmFieldActionIncomingMplsPortSet, bcmFieldActionOuterVlanCopyInner,
    bcmFieldActionOuterVlanPrioCopyInner, bcmFieldActionOuterVlanCfiCopyInner,
    bcmFieldActionInnerVlanCopyOuter,  bcmFieldActionInnerVlanPrioCopyOuter};
}
Actions declared_actions() {
  return {
    bcmFieldActionCosQNew, bcmFieldActionCosQCpuNew, bcmFieldActionVlanCosQNew,
    bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos,
    bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew,
    bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionPrioIntCopy,
    bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel,
    bcmFieldActionDscpNew, bcmFieldActionDscpCancel, bcmFieldActionCopyToCpu,
    bcmFieldActionCopyToCpuCancel, bcmFieldActionSwitchToCpuCancel, bcmFieldActionRedirect,
    bcmFieldActionRedirectTrunk, bcmFieldActionRedirectCancel, bcmFieldActionRedirectPbmp,
    bcmFieldActionEgressMask, bcmFieldActionEgressPortsAdd, bcmFieldActionDrop,
    bcmFieldActionDropCancel, bcmFieldActionL3Switch, bcmFieldActionL3SwitchCancel,
    bcmFieldActionRpDrop, bcmFieldActionRpDropCancel, bcmFieldActionRpDscpNew,
    bcmFieldActionRpOuterVlanPrioNew, bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew,
    bcmFieldActionYpDrop, bcmFieldActionYpDropCancel, bcmFieldActionYpDscpNew,
    bcmFieldActionYpOuterVlanPrioNew, bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew,
    bcmFieldActionInnerVlanPrioNew, bcmFieldActionGpDrop, bcmFieldActionGpDropCancel,
    bcmFieldActionGpDscpNew, bcmFieldActionGpOuterVlanPrioNew, bcmFieldActionGpPrioPktNew,
    bcmFieldActionGpPrioIntNew, bcmFieldActionIncomingMplsPortSet, bcmFieldActionSrcMacNew,
    bcmFieldActionDstMacNew, bcmFieldActionOuterVlanCopyInner, bcmFieldActionOuterVlanPrioCopyInner,
    bcmFieldActionOuterVlanCfiCopyInner, bcmFieldActionInnerVlanCopyOuter,
    bcmFieldActionInnerVlanPrioCopyOuter, bcmFieldActionChangeL2Fields};
}

Actions operator+(Actions a, const Actions& b) {
  a.insert(b.begin(), b.end());
  return a;
}

Actions operator-(Actions a, const Actions& b) {
  for (int action : b) a.erase(action);
  return a;
}

// The qualifiers each stage has (`_bcm_field_stages_supported_qset_init`, field_common.c, over
// the chip's qualifier tables); each stage also takes the stage qualifiers.
std::set<int> stage_qualifiers() {
  return {bcmFieldQualifyStage,          bcmFieldQualifyStageIngress,
          bcmFieldQualifyStageIngressSecurity, bcmFieldQualifyStageIngressQoS,
          bcmFieldQualifyStageLookup,    bcmFieldQualifyStageEgress,
          bcmFieldQualifyStageEgressSecurity, bcmFieldQualifyStageExternal};
}
std::set<int> declared_qualifiers() {
  return {bcmFieldQualifyDstIp6,        bcmFieldQualifySrcMac,        bcmFieldQualifyDstMac,
          bcmFieldQualifySrcIp,         bcmFieldQualifyDstIp,         bcmFieldQualifyInPort,
          bcmFieldQualifyInPorts,       bcmFieldQualifyDrop,          bcmFieldQualifyOuterVlanId,
          bcmFieldQualifyOuterVlanPri,  bcmFieldQualifyInnerVlanId,   bcmFieldQualifyInnerVlanPri,
          bcmFieldQualifyL4SrcPort,     bcmFieldQualifyL4DstPort,     bcmFieldQualifyEtherType,
          bcmFieldQualifyIpProtocol,    bcmFieldQualifyDSCP,          bcmFieldQualifyTtl,
          bcmFieldQualifySrcPort,       bcmFieldQualifyDstPort,       bcmFieldQualifyPacketRes,
          bcmFieldQualifyIpProtocolCommon, bcmFieldQualifyIpType,     bcmFieldQualifyForwardingType,
          bcmFieldQualifyInterfaceClassL2, bcmFieldQualifyL3Routable, bcmFieldQualifyVrf,
          bcmFieldQualifyOutPort,       bcmFieldQualifyVlanFormat,    bcmFieldQualifyMplsTerminated,
          bcmFieldQualifyIngressStpState, bcmFieldQualifyL2SrcStatic, bcmFieldQualifyIntPriority,
          bcmFieldQualifyMyStationHit,  bcmFieldQualifySrcGport};
}
// What each stage lacks of those declared, on all three chips; Katana 2's lookup stage lacks
// SrcGport too.
std::set<int> qualifiers_not_at_lookup() {
  return {bcmFieldQualifyInPorts,       bcmFieldQualifyDrop,          bcmFieldQualifyDstPort,
          bcmFieldQualifyPacketRes,     bcmFieldQualifyForwardingType,
          bcmFieldQualifyInterfaceClassL2, bcmFieldQualifyL3Routable, bcmFieldQualifyVrf,
          bcmFieldQualifyOutPort,       bcmFieldQualifyMplsTerminated,
          bcmFieldQualifyIngressStpState, bcmFieldQualifyL2SrcStatic, bcmFieldQualifyIntPriority,
          bcmFieldQualifyMyStationHit};
}
std::set<int> qualifiers_not_at_ingress() {
  return {bcmFieldQualifyIpProtocolCommon, bcmFieldQualifyOutPort};
}
std::set<int> qualifiers_not_at_egress() {
  return {bcmFieldQualifyInPorts,       bcmFieldQualifySrcPort,       bcmFieldQualifyDstPort,
          bcmFieldQualifyPacketRes,     bcmFieldQualifyIpProtocolCommon,
          bcmFieldQualifyMplsTerminated, bcmFieldQualifyIngressStpState,
          bcmFieldQualifyL2SrcStatic,   bcmFieldQualifyMyStationHit,  bcmFieldQualifySrcGport};
}

// The policer modes a level meters in (`_bcm_field_policer_mode_support`, field_common.c).
std::set<int> meter_modes() {
  return {bcmPolicerModeSrTcm, bcmPolicerModeCommitted,
                                   bcmPolicerModeTrTcm, bcmPolicerModeTrTcmDs};
}
std::set<int> every_creatable_mode() {
  std::set<int> modes;
  for (int mode = 0; mode < bcmPolicerModeCount; ++mode) {
    if (detail::meterable_mode(mode)) modes.insert(mode);
  }
  return modes;
}
PolicerLevel no_meters() {
  return {{}, BCM_E_UNAVAIL};
}

std::set<int> operator+(std::set<int> a, int mode) {
  a.insert(mode);
  return a;
}

// What the three chips share: a lookup stage without meters and with the trx conflicts, meters
// pooled at ingress, the egress counter modes and conflicts, and the qualify answers of the
// qualifier lookup that comes first (`_field_qualify32` and its siblings, field.c).
ChipProfile xgs_profile(const char* name, const char* family) {
  ChipProfile chip;
  chip.name = name;
  chip.family = family;
  for (StageRules& stage : chip.stages) {
    stage.qset_miss = BCM_E_NOT_FOUND;
    stage.empty_policer_detach = BCM_E_EMPTY;
    stage.policer_levels = {no_meters(), no_meters()};
  }
  StageRules& lookup = chip.stages[kPreIngress];
  lookup.qualifiers = stage_qualifiers() + (declared_qualifiers() - qualifiers_not_at_lookup());
  lookup.policer_refusal = BCM_E_UNAVAIL;
  lookup_counters(lookup);
  lookup.actions = lookup_actions();
  lookup.conflicts = detail::lookup_conflicts();
  StageRules& ingress = chip.stages[kIngress];
  ingress.qualifiers = stage_qualifiers() + (declared_qualifiers() - qualifiers_not_at_ingress());
  ingress.global_meter_pools = true;
  ingress.counter_mode_refusal = BCM_E_RESOURCE;
  ingress.actions = declared_actions() - actions_not_at_ingress();
  StageRules& egress = chip.stages[kEgress];
  egress.qualifiers = stage_qualifiers() + (declared_qualifiers() - qualifiers_not_at_egress());
  egress.counter_modes = egress_counter_modes();
  egress.counter_mode_refusal = BCM_E_RESOURCE;
  egress.actions = egress_actions();
  egress.conflicts = detail::egress_conflicts();
  return chip;
}

// Katana 2 (BCM56450): `_field_kt2_functions_init` (katana2/field.c) and the common functions.
ChipProfile katana2() {
  ChipProfile chip = xgs_profile("bcm56450", "Katana 2");
  for (StageRules& stage : chip.stages) {
    stage.group_mode_refusals = {{bcmFieldGroupModeTriple, BCM_E_RESOURCE}};
  }
  StageRules& lookup = chip.stages[kPreIngress];
  lookup.qualifiers.erase(bcmFieldQualifySrcGport);
  // The lookup stage hands a policer to the service meters, which know no field policer.
  lookup.policer_refusal = BCM_E_NOT_FOUND;
  lookup.empty_policer_detach = BCM_E_NONE;
  StageRules& ingress = chip.stages[kIngress];
  ingress.policer_levels = {
      PolicerLevel{meter_modes() + bcmPolicerModeSrTcmModified + bcmPolicerModeCoupledTrTcmDs,
                   BCM_E_UNAVAIL},
      PolicerLevel{{bcmPolicerModeCommitted}, BCM_E_PARAM}};
  ingress.counter_modes = any_two_classes();
  ingress.global_counters = false;
  ingress.conflicts = detail::ingress_conflicts(true);
  StageRules& egress = chip.stages[kEgress];
  egress.group_mode_refusals[bcmFieldGroupModeIntraSliceDouble] = BCM_E_RESOURCE;
  egress.policer_levels[0] = {meter_modes(), BCM_E_UNAVAIL};
  egress.actions = egress_actions() + katana2_egress_extras();
  return chip;
}

// Trident 2 (BCM56850): `_field_td2_functions_init` (trident2/field.c).
ChipProfile trident2() {
  ChipProfile chip = xgs_profile("bcm56850", "Trident 2");
  for (StageRules& stage : chip.stages) {
    stage.group_mode_refusals = {{bcmFieldGroupModeTriple, BCM_E_UNAVAIL}};
  }
  const PolicerLevel level0{meter_modes() + bcmPolicerModeSrTcmModified, BCM_E_UNAVAIL};
  StageRules& ingress = chip.stages[kIngress];
  ingress.group_mode_refusals[bcmFieldGroupModeIntraSliceDouble] = BCM_E_RESOURCE;
  ingress.policer_levels[0] = level0;
  ingress.counter_modes = one_class_or_disjoint_colours();
  ingress.global_counters = false;
  ingress.conflicts = detail::ingress_conflicts(true);
  StageRules& egress = chip.stages[kEgress];
  egress.group_mode_refusals[bcmFieldGroupModeIntraSliceDouble] = BCM_E_RESOURCE;
  egress.policer_levels[0] = level0;
  return chip;
}

// Tomahawk (BCM56960) in global mode: `_bcm_field_th_functions_init` (tomahawk/field.c), its
// ingress groups in tomahawk/field_grp.c.
ChipProfile tomahawk() {
  ChipProfile chip = xgs_profile("bcm56960", "Tomahawk");
  for (StageRules& stage : chip.stages) {
    stage.group_mode_refusals = {{bcmFieldGroupModeTriple, BCM_E_UNAVAIL}};
  }
  StageRules& ingress = chip.stages[kIngress];
  ingress.group_mode_refusals = {{bcmFieldGroupModeQuad, BCM_E_CONFIG},
                                 {bcmFieldGroupModeDirect, BCM_E_CONFIG},
                                 {bcmFieldGroupModeDirectExtraction, BCM_E_CONFIG},
                                 {bcmFieldGroupModeHashing, BCM_E_CONFIG},
                                 {bcmFieldGroupModeExactMatch, BCM_E_CONFIG}};
  ingress.single_wide_in_ports_refusal = BCM_E_CONFIG;
  ingress.frees_first_slice = true;
  ingress.qset_miss = BCM_E_PARAM;
  ingress.qset_miss_by_qualifier = {
      {bcmFieldQualifyDstIp6, BCM_E_NOT_FOUND},   {bcmFieldQualifySrcMac, BCM_E_NOT_FOUND},
      {bcmFieldQualifyDstMac, BCM_E_NOT_FOUND},   {bcmFieldQualifyInPort, BCM_E_NOT_FOUND},
      {bcmFieldQualifyInPorts, BCM_E_NOT_FOUND},  {bcmFieldQualifyInterfaceClassL2, BCM_E_NOT_FOUND},
      {bcmFieldQualifySrcGport, BCM_E_NOT_FOUND}};
  ingress.policer_levels[0] = {meter_modes() + bcmPolicerModeSrTcmModified, BCM_E_UNAVAIL};
  ingress.counter_modes = {kEveryType};
  ingress.actions = ingress.actions - Actions{bcmFieldActionVlanCosQNew};
  ingress.conflicts = detail::ingress_conflicts(false);
  StageRules& egress = chip.stages[kEgress];
  egress.group_mode_refusals[bcmFieldGroupModeIntraSliceDouble] = BCM_E_RESOURCE;
  egress.policer_levels[0] = {meter_modes(), BCM_E_UNAVAIL};
  return chip;
}

using Slices = std::array<std::vector<int>, kStageCount>;

// VFP_TCAM and FP_TCAM sizes from src/soc/mcm/allmems_v.i and allmems_f.i; EFP_TCAM's table file
// is not in the public store: 4 slices of 256 assumed (docs/bcmsim.md).
Slices katana2_slices() {
  return {Config::equal_slices(4, 256), Config::equal_slices(16, 256),
          Config::equal_slices(4, 256)};
}

Slices trident2_slices() {
  std::vector<int> ingress = Config::equal_slices(4, 512);
  ingress.resize(12, 256);
  return {Config::equal_slices(4, 256), ingress, Config::equal_slices(4, 256)};
}

// IFP_TCAM's table file is not in the public store either: 12 slices of 512 single-wide entries.
Slices tomahawk_slices() {
  return {Config::equal_slices(4, 256), Config::equal_slices(12, 512),
          Config::equal_slices(4, 256)};
}

struct NamedChip {
  const char* name;
  ChipProfile (*profile)();
  Slices (*slices)();
};

const NamedChip kChips[] = {{"bcm56450", katana2, katana2_slices},
                            {"bcm56850", trident2, trident2_slices},
                            {"bcm56960", tomahawk, tomahawk_slices}};

// The actions the filters library adds, whatever the stage of its entry.
Actions library_actions() {
  return {
    bcmFieldActionCosQNew,        bcmFieldActionCosQCpuNew,        bcmFieldActionPrioPktAndIntNew,
    bcmFieldActionPrioPktNew,     bcmFieldActionDscpNew,           bcmFieldActionCopyToCpu,
    bcmFieldActionCopyToCpuCancel, bcmFieldActionSwitchToCpuCancel, bcmFieldActionRedirect,
    bcmFieldActionRedirectCancel, bcmFieldActionEgressMask,        bcmFieldActionDrop,
    bcmFieldActionDropCancel,     bcmFieldActionL3Switch,          bcmFieldActionInnerVlanPrioNew,
    bcmFieldActionIncomingMplsPortSet, bcmFieldActionSrcMacNew,    bcmFieldActionDstMacNew,
    bcmFieldActionOuterVlanPrioCopyInner, bcmFieldActionChangeL2Fields};
}

// Katana 2 and the three relaxations the library's catalogue needs: level-1 policers of any mode
// where the library attaches them, statistics objects of any mix of types, and at the lookup and
// egress stages every action the library adds.
ChipProfile relaxed_katana2() {
  ChipProfile chip = katana2();
  chip.name = "default";
  chip.family = "Katana 2, relaxed";
  for (int stage : {kIngress, kEgress}) {
    chip.stages[stage].policer_levels[1] = {every_creatable_mode(), BCM_E_NONE};
  }
  for (StageRules& stage : chip.stages) stage.counter_modes = {kEveryType};
  for (int stage : {kPreIngress, kEgress}) {
    chip.stages[stage].actions = chip.stages[stage].actions + library_actions();
  }
  chip.relaxations = {"level-1 (parent) policers of every mode at ingress and egress",
                      "statistics objects of any mix of types at every stage",
                      "every action the filters library adds, at pre-ingress and egress"};
  return chip;
}

}  // namespace

std::optional<Config> chip_config(std::string_view name) {
  for (const NamedChip& chip : kChips) {
    if (name != chip.name) continue;
    Config config;
    config.slices = chip.slices();
    config.chip = chip.profile();
    return config;
  }
  return std::nullopt;
}

std::vector<std::string> chip_names() {
  std::vector<std::string> names;
  for (const NamedChip& chip : kChips) names.emplace_back(chip.name);
  return names;
}

std::array<std::vector<int>, kStageCount> Config::default_slices() {
  return katana2_slices();
}

ChipProfile Config::default_chip() {
  static const ChipProfile relaxed = relaxed_katana2();
  return relaxed;
}

}  // namespace bcmsim
