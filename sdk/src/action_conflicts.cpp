// The action pairs the SDK's conflict checks refuse on one entry, for the actions these headers
// declare. A check is one way: only the row of the action the entry already holds is read, so the
// order in which actions are added matters (an entry with a redirect refuses an L3 switch, one
// with an L3 switch takes a redirect). Every chip modelled answers the lookup and egress stages
// through `_bcm_field_trx_stage_action_conflict_check` (trx/field.c); at ingress Katana 2 does
// too, Trident 2 through `_bcm_field_td2_action_conflict_check` (trident2/field.c), which adds
// nothing for these actions, and Tomahawk through `_bcm_field_th_action_conflict_check`
// (tomahawk/field.c), which lets the port-bitmap actions stand beside an L3 switch.
#include "action_conflicts.h"

#include <bcm/field.h>

namespace bcmsim::detail {
namespace {

using Actions = std::set<int>;

Actions operator+(Actions a, const Actions& b) {
  a.insert(b.begin(), b.end());
  return a;
}

// Every action of `held` refuses every action of `refused` (an action refusing itself adds
// nothing: the same action twice is refused anyway).
void refuse(ActionConflicts& table, const Actions& held, const Actions& refused) {
  for (int action : held) table[action].insert(refused.begin(), refused.end());
}

Actions cos_queues() {
  return {bcmFieldActionCosQNew, bcmFieldActionVlanCosQNew};
}
Actions internal_priorities() {
  return {bcmFieldActionPrioIntCopy, bcmFieldActionPrioIntNew,
                          bcmFieldActionPrioIntTos, bcmFieldActionPrioIntCancel};
}
Actions packet_priorities() {
  return {bcmFieldActionPrioPktCopy, bcmFieldActionPrioPktNew,
                          bcmFieldActionPrioPktTos, bcmFieldActionPrioPktCancel};
}
Actions packet_and_internal_priorities() {
  return {bcmFieldActionPrioPktAndIntCopy, bcmFieldActionPrioPktAndIntNew,
                                bcmFieldActionPrioPktAndIntTos, bcmFieldActionPrioPktAndIntCancel};
}
Actions colour_internal_priorities() {
  return {bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew,
                                bcmFieldActionGpPrioIntNew};
}
Actions colour_packet_priorities() {
  return {bcmFieldActionRpPrioPktNew, bcmFieldActionYpPrioPktNew,
                                bcmFieldActionGpPrioPktNew};
}
Actions dscps() {
  return {bcmFieldActionDscpNew, bcmFieldActionDscpCancel};
}
Actions colour_dscps() {
  return {bcmFieldActionRpDscpNew, bcmFieldActionYpDscpNew,
                             bcmFieldActionGpDscpNew};
}
Actions drops() {
  return {bcmFieldActionDrop, bcmFieldActionDropCancel};
}
// Each colour's drop and its cancel.
std::vector<Actions> colour_drops() {
  return {{bcmFieldActionRpDrop, bcmFieldActionRpDropCancel},
                                {bcmFieldActionYpDrop, bcmFieldActionYpDropCancel},
                                {bcmFieldActionGpDrop, bcmFieldActionGpDropCancel}};
}
Actions redirects() {
  return {bcmFieldActionRedirect, bcmFieldActionRedirectTrunk};
}
Actions bitmap_actions() {
  return {bcmFieldActionRedirectPbmp, bcmFieldActionEgressMask,
                                bcmFieldActionEgressPortsAdd};
}
Actions l3_switches() {
  return {bcmFieldActionL3Switch, bcmFieldActionL3SwitchCancel};
}
Actions mac_rewrites() {
  return {bcmFieldActionSrcMacNew, bcmFieldActionDstMacNew};
}

// Drops against the colour drops, at ingress and egress alike.
void refuse_drops(ActionConflicts& table) {
  Actions all_colours;
  for (const Actions& colour : colour_drops()) all_colours = all_colours + colour;
  refuse(table, drops(), all_colours + drops());
  for (const Actions& colour : colour_drops()) refuse(table, colour, drops() + colour);
}

}  // namespace

ActionConflicts lookup_conflicts() {
  ActionConflicts table;
  const Actions priorities = {bcmFieldActionCosQCpuNew, bcmFieldActionPrioPktAndIntNew};
  refuse(table, priorities,
         priorities + Actions{bcmFieldActionPrioPktNew, bcmFieldActionPrioIntNew});
  refuse(table, {bcmFieldActionPrioPktNew, bcmFieldActionPrioIntNew}, priorities);
  refuse(table, {bcmFieldActionCopyToCpu}, {bcmFieldActionCopyToCpuCancel});
  refuse(table, {bcmFieldActionCopyToCpuCancel}, {bcmFieldActionCopyToCpu});
  refuse(table, {bcmFieldActionDrop}, {bcmFieldActionDropCancel});
  refuse(table, {bcmFieldActionDropCancel}, {bcmFieldActionDrop});
  refuse(table, {bcmFieldActionOuterVlanCopyInner}, {bcmFieldActionInnerVlanCopyOuter});
  refuse(table, {bcmFieldActionInnerVlanCopyOuter}, {bcmFieldActionOuterVlanCopyInner});
  refuse(table, {bcmFieldActionOuterVlanPrioCopyInner}, {bcmFieldActionInnerVlanPrioCopyOuter});
  refuse(table, {bcmFieldActionInnerVlanPrioCopyOuter}, {bcmFieldActionOuterVlanPrioCopyInner});
  return table;
}

ActionConflicts egress_conflicts() {
  ActionConflicts table;
  refuse(table, {bcmFieldActionCopyToCpu}, {bcmFieldActionCopyToCpuCancel});
  refuse(table, {bcmFieldActionCopyToCpuCancel}, {bcmFieldActionCopyToCpu});
  refuse_drops(table);
  return table;
}

ActionConflicts ingress_conflicts(bool bitmap_actions_refuse_l3_switch) {
  ActionConflicts table;
  refuse(table, cos_queues(), cos_queues() + internal_priorities() + colour_internal_priorities());
  refuse(table, packet_and_internal_priorities(),
         cos_queues() + packet_and_internal_priorities() + packet_priorities() + internal_priorities() + colour_packet_priorities() + colour_internal_priorities());
  refuse(table, packet_priorities(), packet_and_internal_priorities() + packet_priorities() + colour_packet_priorities());
  refuse(table, internal_priorities(), cos_queues() + internal_priorities() + colour_internal_priorities());
  refuse(table, {bcmFieldActionPrioIntNew}, {bcmFieldActionPrioPktAndIntNew});
  refuse(table, colour_packet_priorities(), packet_and_internal_priorities() + packet_priorities());
  refuse(table, {bcmFieldActionRpPrioIntNew, bcmFieldActionYpPrioIntNew}, cos_queues() + internal_priorities());
  // The green row names the CPU copy's queue where its siblings name the queue.
  refuse(table, {bcmFieldActionGpPrioIntNew},
         Actions{bcmFieldActionCosQCpuNew, bcmFieldActionVlanCosQNew} + internal_priorities());
  refuse(table, dscps(), dscps() + colour_dscps());
  refuse(table, colour_dscps(), dscps());
  refuse(table, {bcmFieldActionCopyToCpu},
         {bcmFieldActionCopyToCpuCancel, bcmFieldActionSwitchToCpuCancel});
  refuse(table, {bcmFieldActionCopyToCpuCancel, bcmFieldActionSwitchToCpuCancel},
         {bcmFieldActionCopyToCpu});
  const Actions forwarding = redirects() + bitmap_actions() + Actions{bcmFieldActionRedirectCancel};
  refuse(table, forwarding, forwarding);
  refuse(table, redirects(), {bcmFieldActionL3Switch});
  if (bitmap_actions_refuse_l3_switch) {
    refuse(table, bitmap_actions(), {bcmFieldActionL3Switch});
    refuse(table, {bcmFieldActionL3Switch}, {bcmFieldActionRedirectPbmp});
  }
  refuse_drops(table);
  const Actions l2_change = mac_rewrites() + Actions{bcmFieldActionChangeL2Fields};
  refuse(table, l3_switches(), l3_switches() + l2_change);
  refuse(table, mac_rewrites(), l3_switches() + Actions{bcmFieldActionChangeL2Fields});
  refuse(table, {bcmFieldActionChangeL2Fields}, l3_switches() + mac_rewrites());
  return table;
}

bool actions_conflict(const ActionConflicts& conflicts, int held, int added) {
  auto row = conflicts.find(held);
  return row != conflicts.end() && row->second.count(added) > 0;
}

}  // namespace bcmsim::detail
