// Field actions: added to and removed from the entry's staged view.
#include <algorithm>
#include <optional>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/names.h>

#include "action_conflicts.h"
#include "c_source.h"
#include "sdk_call.h"
#include "text.h"
#include "words.h"

namespace bcmsim::detail {
namespace {

// The vlan action set's fields that differ from their initial value, as C assignments.
CSourceBuilder::Fields vlan_action_fields(const bcm_vlan_action_set_t& set) {
  CSourceBuilder::Fields fields;
  if (set.new_outer_vlan) fields.push_back({"new_outer_vlan", std::to_string(set.new_outer_vlan)});
  if (set.new_inner_vlan) fields.push_back({"new_inner_vlan", std::to_string(set.new_inner_vlan)});
  return fields;
}

// What an action's two parameters stand for where they are more than numbers.
struct ParamRefs {
  std::optional<Ref> param0, param1;
};

ParamRefs param_refs(int action) {
  switch (action) {
    case bcmFieldActionL3Switch:
    case bcmFieldActionChangeL2Fields:
      return {Ref::L3Egress, std::nullopt};
    case bcmFieldActionRedirectPort:
      return {std::nullopt, Ref::Port};  // the module, then the port
    default:
      return {};
  }
}

void param(CSourceBuilder& source, std::optional<Ref> kind, uint32_t value) {
  if (kind) {
    source.ref(*kind, static_cast<int32_t>(value));
  } else {
    source.number(value);
  }
}

CallSource action_source(int unit, int entry, const ActionValue& value) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry).literal(c_action(value.action));
  switch (value.form) {
    case ActionForm::Mac:
      source.mac("mac", value.words);
      break;
    case ActionForm::Ports:
      source.pbmp("pbmp", value.words);
      break;
    case ActionForm::Params: {
      const ParamRefs refs = param_refs(value.action);
      param(source, refs.param0, value.param0);
      param(source, refs.param1, value.param1);
      break;
    }
  }
  return source.build();
}

LoggedArgs vlan_actions_args(int unit, int entry, int action, const bcm_vlan_action_set_t* set) {
  std::string text = std::to_string(unit) + ", " + std::to_string(entry) + ", " + action_name(action);
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry).literal(c_action(action));
  if (!set) return {text + ", NULL", source.literal("NULL").build()};
  text += ", {new_outer_vlan " + std::to_string(set->new_outer_vlan) + ", new_inner_vlan " +
          std::to_string(set->new_inner_vlan) + "}";
  return {std::move(text),
          source.structure("bcm_vlan_action_set_t", "vlan_actions", vlan_action_fields(*set))
              .build()};
}

LoggedArgs action_args(int unit, int entry, const ActionValue& value) {
  return {std::to_string(unit) + ", " + std::to_string(entry) + ", " + action_name(value.action) +
              ", " + format_action(value),
          action_source(unit, entry, value)};
}

// An action outside the group's action set, which holds what its stage supports, is unavailable;
// one the entry's actions refuse is a configuration error.
int check_action(const Device& dev, const Group& group, const Entry& entry, int action) {
  if (!group.allows_action(action)) return refuse(Why::StageLacksAction, BCM_E_UNAVAIL);
  const ActionConflicts& conflicts = stage_rules(dev, group.stage).conflicts;
  for (const ActionValue& held : entry.staged.actions) {
    if (held.action == action) return refuse(Why::ActionTwice, BCM_E_CONFIG);
    if (actions_conflict(conflicts, held.action, action)) {
      return refuse(Why::ActionConflict, BCM_E_CONFIG);
    }
  }
  return BCM_E_NONE;
}

bool is_bitmap_action(int action) {
  return action == bcmFieldActionRedirectPbmp || action == bcmFieldActionEgressMask ||
         action == bcmFieldActionEgressPortsAdd;
}

// The ports a port-bitmap action may name: every port of the device but its loopback ports.
bool valid_action_ports(const Device& dev, const Words& ports) {
  const soc_info_t& info = dev.soc.info;
  for (int port = 0; port < _SHR_PBMP_PORT_MAX; ++port) {
    const bool named = ports[port / 32] & (1u << (port % 32));
    if (named && (!_SHR_PBMP_MEMBER(info.all.bitmap, port) || _SHR_PBMP_MEMBER(info.lb_pbm, port))) {
      return false;
    }
  }
  return true;
}

// Adds an action whose arguments `valid(device)` checks first, before the entry is looked up.
template <class Valid>
int add_action(const char* function, int unit, int entry, const ActionValue& value,
               Valid&& valid) {
  return sdk_call(
      function, unit, entry,
      [&] { return [unit, entry, value] { return action_args(unit, entry, value); }; },
      [&](Device& dev) -> int {
        if (!valid(static_cast<const Device&>(dev))) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_entry(dev, entry, [&](Entry& e) -> int {
          const Group& group = dev.state.groups.at(e.group);
          if (int rv = check_action(dev, group, e, value.action); rv != BCM_E_NONE) return rv;
          e.staged.actions.push_back(value);
          return BCM_E_NONE;
        });
      });
}

ActionValue params_action(int action, uint32_t param0, uint32_t param1) {
  ActionValue value;
  value.action = action;
  value.param0 = param0;
  value.param1 = param1;
  return value;
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_action_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                         uint32 param0, uint32 param1) {
  // Port-bitmap actions do not fit two parameters on a device of more than 32 ports: the SDK
  // refuses them here, before it looks the entry up, and takes them through ports_add.
  return add_action(__func__, unit, entry, params_action(action, param0, param1),
                    [&](const Device&) { return !is_bitmap_action(action); });
}

int bcm_field_action_mac_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                             bcm_mac_t mac) {
  ActionValue value;
  value.action = action;
  value.form = bcmsim::ActionForm::Mac;
  value.words = mac_words(mac);
  // Only the MAC rewrites take a MAC; the SDK looks at nothing else first.
  const bool mac_action = action == bcmFieldActionSrcMacNew || action == bcmFieldActionDstMacNew;
  return add_action(__func__, unit, entry, value, [&](const Device&) { return mac_action; });
}

int bcm_field_action_ports_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                               bcm_pbmp_t pbmp) {
  ActionValue value;
  value.action = action;
  value.form = bcmsim::ActionForm::Ports;
  value.words = pbmp_words(pbmp);
  // Only the port-bitmap actions take a bitmap, and only of ports the device has.
  return add_action(__func__, unit, entry, value, [&](const Device& dev) {
    return is_bitmap_action(action) && valid_action_ports(dev, value.words);
  });
}

// Only devices with the Trident 3 style of field processor implement VLAN action sets
// (bcm_esw_field_action_vlan_actions_add, field.c); the others answer before the entry.
int bcm_field_action_vlan_actions_add(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                                      bcm_vlan_action_set_t* vlan_action_set) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, entry, action, set = kept(vlan_action_set)] {
          return vlan_actions_args(unit, entry, action, address(set));
        };
      },
      [](Device&) { return refuse(Why::VlanActionSets, BCM_E_UNAVAIL); });
}

int bcm_field_action_delete(int unit, bcm_field_entry_t entry, bcm_field_action_t action,
                            uint32 param0, uint32 param1) {
  const ActionValue wanted = params_action(action, param0, param1);
  return sdk_call(
      __func__, unit, entry,
      [&] { return [unit, entry, wanted] { return action_args(unit, entry, wanted); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          auto& actions = e.staged.actions;
          // The SDK finds the action by its number; only mirror actions, which may be held
          // twice, are told apart by their parameters.
          auto it = std::find_if(actions.begin(), actions.end(),
                                 [&](const bcmsim::ActionValue& a) { return a.action == action; });
          if (it == actions.end()) return refuse(Why::ActionNotHeld, BCM_E_NOT_FOUND);
          actions.erase(it);
          return BCM_E_NONE;
        });
      });
}

int bcm_field_action_remove(int unit, bcm_field_entry_t entry, bcm_field_action_t action) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, entry, action] {
          return LoggedArgs{
              std::to_string(unit) + ", " + std::to_string(entry) + ", " + action_name(action),
              CSourceBuilder()
                  .number(unit)
                  .ref(Ref::Entry, entry)
                  .literal(c_action(action))
                  .build()};
        };
      },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          auto& actions = e.staged.actions;
          auto first =
              std::remove_if(actions.begin(), actions.end(),
                             [&](const bcmsim::ActionValue& a) { return a.action == action; });
          if (first == actions.end()) return refuse(Why::ActionNotHeld, BCM_E_NOT_FOUND);
          actions.erase(first, actions.end());
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
