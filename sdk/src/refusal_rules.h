// The rules by which the device refuses calls, and how a refusal names its rule.
#pragma once

#include <bcmsim/refusals.h>

namespace bcmsim::detail {

// One per rule of refusal_rules.cpp, in its order.
enum class Why {
  BadArgument,
  PortUnknown,
  GroupTwoStages,
  GroupExists,
  GroupUnknown,
  GroupBusy,
  StageLacksQualifier,
  GroupMode,
  SingleWideInPorts,
  NoFreeSlice,
  GroupFull,
  GroupFullWithPolicer,
  EntryExists,
  EntryUnknown,
  QsetMiss,
  QualifierReadMiss,
  IpProtocolCommonUnset,
  StageLacksAction,
  ActionTwice,
  ActionConflict,
  VlanActionSets,
  ActionNotHeld,
  StatUnknown,
  CounterMode,
  StatBusy,
  StatAttached,
  StatOfAnotherGroup,
  CounterOfAnotherSlice,
  StatNotAttached,
  OtherStatAttached,
  StatTypeNotHeld,
  StatSetWithoutCounter,
  PolicerExists,
  PolicerBusy,
  PolicerModeUnmeterable,
  PolicerUnknown,
  StageHasNoMeters,
  MeterOfOneSlice,
  PolicerLevelUsed,
  PolicerAtBothLevels,
  PolicerSharedElsewhere,
  LevelMode,
  PolicerLevelEmpty,
  L3EgressModeOff,
  L3ObjectExists,
  L3ObjectUnknown,
  L3EgressBusy,
};

const Rule& rule(Why why);

// Names the rule by which the running call is refused; gives back the call's code, so that a
// refusal reads `return refuse(Why::GroupExists, BCM_E_EXISTS);`.
int refuse(Why why, int code);

}  // namespace bcmsim::detail
