// The action pairs each family's conflict check refuses on one entry, per stage.
#pragma once

#include <bcmsim/chip_profile.h>

namespace bcmsim::detail {

// The lookup and egress stages: the same on every chip modelled.
ActionConflicts lookup_conflicts();
ActionConflicts egress_conflicts();

// The ingress stage. Katana 2 and Trident 2 refuse a port-bitmap action beside an L3 switch, in
// both orders; Tomahawk does not.
ActionConflicts ingress_conflicts(bool bitmap_actions_refuse_l3_switch);

// True when an entry holding `held` refuses `added`, a pair of the table (the same action twice is
// refused apart).
bool actions_conflict(const ActionConflicts& conflicts, int held, int added);

}  // namespace bcmsim::detail
