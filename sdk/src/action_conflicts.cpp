// The action pairs the Tomahawk family refuses on one entry, for the actions these headers
// declare. The check is one way: a row lists what an entry holding its action refuses to add,
// so the order in which actions are added matters (an entry with a redirect refuses an L3 switch,
// one with an L3 switch takes a redirect). Ingress rows come from the family's own check, and
// where it has none for an action from the checks it falls back on; the other stages from those
// fallbacks. Mirror actions, which may be added twice, are not declared here.
#include "action_conflicts.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include <bcm/field.h>

namespace bcmsim::detail {
namespace {

struct ConflictRow {
  Stage stage;
  int existing;
  std::vector<int> refused;
};

const std::vector<ConflictRow>& conflict_rows() {
  static const std::vector<ConflictRow> rows = {
    {Stage::PreIngress, bcmFieldActionCosQCpuNew, {bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktNew, bcmFieldActionPrioIntNew}},
    {Stage::PreIngress, bcmFieldActionPrioPktAndIntNew, {bcmFieldActionCosQCpuNew, bcmFieldActionPrioPktNew, bcmFieldActionPrioIntNew}},
    {Stage::PreIngress, bcmFieldActionPrioPktNew, {bcmFieldActionCosQCpuNew, bcmFieldActionPrioPktAndIntNew}},
    {Stage::PreIngress, bcmFieldActionPrioIntNew, {bcmFieldActionCosQCpuNew, bcmFieldActionPrioPktAndIntNew}},
    {Stage::PreIngress, bcmFieldActionCopyToCpu, {bcmFieldActionCopyToCpuCancel}},
    {Stage::PreIngress, bcmFieldActionCopyToCpuCancel, {bcmFieldActionCopyToCpu}},
    {Stage::PreIngress, bcmFieldActionDrop, {bcmFieldActionDropCancel}},
    {Stage::PreIngress, bcmFieldActionDropCancel, {bcmFieldActionDrop}},
    {Stage::PreIngress, bcmFieldActionOuterVlanCopyInner, {bcmFieldActionInnerVlanCopyOuter}},
    {Stage::PreIngress, bcmFieldActionOuterVlanPrioCopyInner, {bcmFieldActionInnerVlanPrioCopyOuter}},
    {Stage::PreIngress, bcmFieldActionInnerVlanCopyOuter, {bcmFieldActionOuterVlanCopyInner}},
    {Stage::PreIngress, bcmFieldActionInnerVlanPrioCopyOuter, {bcmFieldActionOuterVlanPrioCopyInner}},
    {Stage::Ingress, bcmFieldActionCosQNew, {bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionVlanCosQNew, {bcmFieldActionCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioPktAndIntCopy, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioPktNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioPktAndIntNew, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioPktNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioPktAndIntTos, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioPktNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioPktAndIntCancel, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioPktNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioPktCopy, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionYpPrioPktNew, bcmFieldActionGpPrioPktNew}},
    {Stage::Ingress, bcmFieldActionPrioPktNew, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionYpPrioPktNew, bcmFieldActionGpPrioPktNew}},
    {Stage::Ingress, bcmFieldActionPrioPktTos, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktCancel, bcmFieldActionRpPrioPktNew, bcmFieldActionYpPrioPktNew, bcmFieldActionGpPrioPktNew}},
    {Stage::Ingress, bcmFieldActionPrioPktCancel, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionRpPrioPktNew, bcmFieldActionYpPrioPktNew, bcmFieldActionGpPrioPktNew}},
    {Stage::Ingress, bcmFieldActionPrioIntCopy, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioIntNew, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioIntTos, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntCancel, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionPrioIntCancel, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew, bcmFieldActionGpPrioIntNew}},
    {Stage::Ingress, bcmFieldActionDscpNew, {bcmFieldActionDscpCancel, bcmFieldActionRpDscpNew, bcmFieldActionYpDscpNew, bcmFieldActionGpDscpNew}},
    {Stage::Ingress, bcmFieldActionDscpCancel, {bcmFieldActionDscpNew, bcmFieldActionRpDscpNew, bcmFieldActionYpDscpNew, bcmFieldActionGpDscpNew}},
    {Stage::Ingress, bcmFieldActionCopyToCpu, {bcmFieldActionCopyToCpuCancel, bcmFieldActionSwitchToCpuCancel}},
    {Stage::Ingress, bcmFieldActionCopyToCpuCancel, {bcmFieldActionCopyToCpu}},
    {Stage::Ingress, bcmFieldActionSwitchToCpuCancel, {bcmFieldActionCopyToCpu}},
    {Stage::Ingress, bcmFieldActionRedirect, {bcmFieldActionRedirectTrunk, bcmFieldActionRedirectCancel, bcmFieldActionRedirectPbmp, bcmFieldActionEgressMask, bcmFieldActionEgressPortsAdd, bcmFieldActionL3Switch}},
    {Stage::Ingress, bcmFieldActionRedirectTrunk, {bcmFieldActionRedirect, bcmFieldActionRedirectCancel, bcmFieldActionRedirectPbmp, bcmFieldActionEgressMask, bcmFieldActionEgressPortsAdd, bcmFieldActionL3Switch}},
    {Stage::Ingress, bcmFieldActionRedirectCancel, {bcmFieldActionRedirect, bcmFieldActionRedirectTrunk, bcmFieldActionRedirectPbmp, bcmFieldActionEgressMask, bcmFieldActionEgressPortsAdd}},
    {Stage::Ingress, bcmFieldActionRedirectPbmp, {bcmFieldActionRedirect, bcmFieldActionRedirectTrunk, bcmFieldActionRedirectCancel, bcmFieldActionEgressMask, bcmFieldActionEgressPortsAdd}},
    {Stage::Ingress, bcmFieldActionEgressMask, {bcmFieldActionRedirect, bcmFieldActionRedirectTrunk, bcmFieldActionRedirectCancel, bcmFieldActionRedirectPbmp, bcmFieldActionEgressPortsAdd}},
    {Stage::Ingress, bcmFieldActionEgressPortsAdd, {bcmFieldActionRedirect, bcmFieldActionRedirectTrunk, bcmFieldActionRedirectCancel, bcmFieldActionRedirectPbmp, bcmFieldActionEgressMask}},
    {Stage::Ingress, bcmFieldActionDrop, {bcmFieldActionDropCancel, bcmFieldActionRpDrop, bcmFieldActionRpDropCancel, bcmFieldActionYpDrop, bcmFieldActionYpDropCancel, bcmFieldActionGpDrop, bcmFieldActionGpDropCancel}},
    {Stage::Ingress, bcmFieldActionDropCancel, {bcmFieldActionDrop, bcmFieldActionRpDrop, bcmFieldActionRpDropCancel, bcmFieldActionYpDrop, bcmFieldActionYpDropCancel, bcmFieldActionGpDrop, bcmFieldActionGpDropCancel}},
    {Stage::Ingress, bcmFieldActionL3Switch, {bcmFieldActionL3SwitchCancel, bcmFieldActionSrcMacNew, bcmFieldActionDstMacNew, bcmFieldActionChangeL2Fields}},
    {Stage::Ingress, bcmFieldActionL3SwitchCancel, {bcmFieldActionL3Switch, bcmFieldActionSrcMacNew, bcmFieldActionDstMacNew, bcmFieldActionChangeL2Fields}},
    {Stage::Ingress, bcmFieldActionRpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionRpDropCancel}},
    {Stage::Ingress, bcmFieldActionRpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionRpDrop}},
    {Stage::Ingress, bcmFieldActionRpDscpNew, {bcmFieldActionDscpNew, bcmFieldActionDscpCancel}},
    {Stage::Ingress, bcmFieldActionRpPrioPktNew, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel}},
    {Stage::Ingress, bcmFieldActionRpPrioIntNew, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel}},
    {Stage::Ingress, bcmFieldActionYpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionYpDropCancel}},
    {Stage::Ingress, bcmFieldActionYpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionYpDrop}},
    {Stage::Ingress, bcmFieldActionYpDscpNew, {bcmFieldActionDscpNew, bcmFieldActionDscpCancel}},
    {Stage::Ingress, bcmFieldActionYpPrioPktNew, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel}},
    {Stage::Ingress, bcmFieldActionYpPrioIntNew, {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel}},
    {Stage::Ingress, bcmFieldActionGpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionGpDropCancel}},
    {Stage::Ingress, bcmFieldActionGpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionGpDrop}},
    {Stage::Ingress, bcmFieldActionGpDscpNew, {bcmFieldActionDscpNew, bcmFieldActionDscpCancel}},
    {Stage::Ingress, bcmFieldActionGpPrioPktNew, {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew, bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel, bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew, bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel}},
    {Stage::Ingress, bcmFieldActionGpPrioIntNew, {bcmFieldActionCosQCpuNew, bcmFieldActionVlanCosQNew, bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew, bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel}},
    {Stage::Ingress, bcmFieldActionSrcMacNew, {bcmFieldActionL3Switch, bcmFieldActionL3SwitchCancel, bcmFieldActionChangeL2Fields}},
    {Stage::Ingress, bcmFieldActionDstMacNew, {bcmFieldActionL3Switch, bcmFieldActionL3SwitchCancel, bcmFieldActionChangeL2Fields}},
    {Stage::Ingress, bcmFieldActionChangeL2Fields, {bcmFieldActionL3Switch, bcmFieldActionL3SwitchCancel, bcmFieldActionSrcMacNew, bcmFieldActionDstMacNew}},
    {Stage::Egress, bcmFieldActionCopyToCpu, {bcmFieldActionCopyToCpuCancel}},
    {Stage::Egress, bcmFieldActionCopyToCpuCancel, {bcmFieldActionCopyToCpu}},
    {Stage::Egress, bcmFieldActionDrop, {bcmFieldActionDropCancel, bcmFieldActionRpDrop, bcmFieldActionRpDropCancel, bcmFieldActionYpDrop, bcmFieldActionYpDropCancel, bcmFieldActionGpDrop, bcmFieldActionGpDropCancel}},
    {Stage::Egress, bcmFieldActionDropCancel, {bcmFieldActionDrop, bcmFieldActionRpDrop, bcmFieldActionRpDropCancel, bcmFieldActionYpDrop, bcmFieldActionYpDropCancel, bcmFieldActionGpDrop, bcmFieldActionGpDropCancel}},
    {Stage::Egress, bcmFieldActionRpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionRpDropCancel}},
    {Stage::Egress, bcmFieldActionRpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionRpDrop}},
    {Stage::Egress, bcmFieldActionYpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionYpDropCancel}},
    {Stage::Egress, bcmFieldActionYpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionYpDrop}},
    {Stage::Egress, bcmFieldActionGpDrop, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionGpDropCancel}},
    {Stage::Egress, bcmFieldActionGpDropCancel, {bcmFieldActionDrop, bcmFieldActionDropCancel, bcmFieldActionGpDrop}},
  };
  return rows;
}

const std::map<std::pair<Stage, int>, const std::vector<int>*>& conflict_index() {
  static const auto index = [] {
    std::map<std::pair<Stage, int>, const std::vector<int>*> built;
    for (const ConflictRow& row : conflict_rows()) built[{row.stage, row.existing}] = &row.refused;
    return built;
  }();
  return index;
}

}  // namespace

bool actions_conflict(Stage stage, int existing, int added) {
  if (existing == added) return true;
  auto row = conflict_index().find({stage, existing});
  return row != conflict_index().end() &&
         std::find(row->second->begin(), row->second->end(), added) != row->second->end();
}

}  // namespace bcmsim::detail
