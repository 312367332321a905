#include "refusal_rules.h"

#include <array>

#include "device_impl.h"

namespace bcmsim {
namespace {

using detail::Why;

constexpr bool kChip = true;

// In the order of Why. Functions are under src/bcm/esw/ of the SDK.
const std::array<Rule, static_cast<size_t>(Why::L3EgressBusy) + 1> kRules = {{
    {"bad-argument", "an argument is missing or out of range", "", false},
    {"port-unknown", "the port does not exist", "", false},
    {"group-two-stages", "the qualifier set names more than one stage",
     "_bcm_field_group_stage_get (field_common.c)", false},
    {"group-exists", "a group with this id exists", "_field_group_add_initialize (field_common.c)",
     false},
    {"group-unknown", "no such group", "_field_group_get (field_common.c)", false},
    {"group-busy", "the group still has entries", "bcm_esw_field_group_destroy (field_common.c)",
     false},
    {"stage-lacks-qualifier", "the stage has no such qualifier",
     "_field_group_add_initialize (field_common.c); Tomahawk's ingress: "
     "_field_th_group_add_initialize (tomahawk/field_grp.c)",
     kChip},
    {"group-mode", "the stage does not take a group of this mode",
     "_bcm_field_group_add (field_common.c); Tomahawk: tomahawk/field_grp.c", kChip},
    {"single-wide-in-ports", "a single-wide key cannot hold the InPorts bitmap",
     "_field_th_group_add_extractor_codes_get (tomahawk/field_grp.c)", kChip},
    {"no-free-slice", "every slice of the stage is taken",
     "_field_group_add_slice_allocate (field_common.c)", kChip},
    {"group-full", "the group is full and every slice of the stage is taken",
     "_field_group_slice_entry_reserve (field_common.c)", kChip},
    {"group-full-with-policer",
     "the group is full and cannot take another slice: an entry of it holds a policer and the "
     "stage's meters belong to a slice",
     "_field_group_slice_entry_reserve (field_common.c)", kChip},
    {"entry-exists", "an entry with this id exists on the unit",
     "_field_entry_create_id (field_common.c)", false},
    {"entry-unknown", "no such entry", "_field_entry_get (field_common.c)", false},
    {"qset-miss", "the qualifier is not in the group's qualifier set",
     "_bcm_field_entry_qual_get (field_common.c); Tomahawk's ingress: _bcm_field_th_qualify_set "
     "(tomahawk/field.c)",
     kChip},
    {"qualifier-read-miss", "the qualifier is not in the group's qualifier set",
     "_field_entry_qualifier_key_get (field_common.c)", false},
    {"ip-protocol-common-unset", "IpProtocolCommon was never written: zero encodes no protocol",
     "bcm_esw_field_qualify_IpProtocolCommon_get (field.c)", false},
    {"stage-lacks-action", "the stage does not support the action",
     "_bcm_field_trx_stage_action_support_check (trx/field.c); Tomahawk's ingress: "
     "_field_th_ingress_action_support_check (tomahawk/field.c)",
     kChip},
    {"action-twice", "the entry holds this action already", "_field_action_add (field_common.c)",
     false},
    {"action-conflict", "the entry holds an action that refuses this one",
     "_bcm_field_trx_stage_action_conflict_check (trx/field.c); Tomahawk's ingress: "
     "_bcm_field_th_action_conflict_check (tomahawk/field.c)",
     kChip},
    {"vlan-action-sets", "only the Trident 3 style of field processor takes VLAN action sets",
     "bcm_esw_field_action_vlan_actions_add (field.c)", false},
    {"action-not-held", "the entry holds no such action", "_field_action_delete (field_common.c)",
     false},
    {"stat-unknown", "no such statistics object", "_bcm_field_stat_get (field_common.c)", false},
    {"counter-mode", "no hardware counter mode of the stage counts this set of statistics",
     "_bcm_field_stat_hw_mode_get (field_common.c); Tomahawk's ingress: _field_th_flex_mode_get "
     "(tomahawk/field.c)",
     kChip},
    {"stat-busy", "the statistics object is attached to an entry",
     "_field_stat_destroy (field_common.c)", false},
    {"stat-attached", "the entry has a statistics object already",
     "_field_entry_stat_attach (field_common.c)", false},
    {"stat-of-another-group", "the statistics object belongs to another group",
     "_field_entry_stat_attach (field_common.c)", false},
    {"counter-of-another-slice",
     "the statistics object's counter is in another slice, and the stage's counters belong to a "
     "slice",
     "_field_entry_stat_attach, _field_stat_hw_alloc (field_common.c)", kChip},
    {"stat-not-attached", "the entry has no statistics object",
     "_field_entry_stat_detach (field_common.c)", false},
    {"other-stat-attached", "another statistics object is attached to the entry",
     "_field_entry_stat_detach (field_common.c)", false},
    {"stat-type-not-held", "the statistics object does not count this type",
     "_field_stat_value_get, _field_stat_value_set (field_common.c)", false},
    {"stat-set-without-counter",
     "a value other than zero written while no installed entry gives the object a counter",
     "bcm_esw_field_stat_set (field.c)", false},
    {"policer-exists", "a policer with this id exists", "_field_policer_create (field_common.c)",
     false},
    {"policer-busy", "the policer is attached to an entry",
     "bcm_esw_policer_destroy, _field_policer_create (field_common.c)", false},
    {"policer-mode-unmeterable", "no meter of the field processor takes this mode",
     "_field_policer_hw_flags_set (field_common.c)", false},
    {"policer-unknown", "no such policer", "_bcm_field_policer_get (field_common.c)", false},
    {"stage-has-no-meters", "the stage has no field meters",
     "bcm_esw_field_entry_policer_attach (field.c; Katana 2's lookup stage: policer.c)", kChip},
    {"meter-of-one-slice",
     "the group spans two slices and the stage's meters belong to a slice",
     "bcm_esw_field_entry_policer_attach (field.c)", kChip},
    {"policer-level-used", "the entry holds a policer at this level already",
     "bcm_esw_field_entry_policer_attach (field.c)", false},
    {"policer-at-both-levels", "the same policer at both levels of an entry",
     "bcm_esw_field_entry_policer_attach (field.c)", false},
    {"policer-shared-elsewhere", "the policer is shared at another stage or level",
     "bcm_esw_field_entry_policer_attach (field.c)", false},
    {"level-mode", "the level of the stage does not meter in the policer's mode",
     "_bcm_field_policer_mode_support (field_common.c)", kChip},
    {"policer-level-empty", "the level holds no policer",
     "_field_entry_policer_detach (field_common.c)", kChip},
    {"l3-egress-mode-off", "the L3 egress mode is off",
     "bcm_xgs3_l3_egress_create, bcm_xgs3_l3_egress_destroy (firebolt/l3.c)", false},
    {"l3-object-exists", "an L3 object with this id exists",
     "_bcm_esw_l3_intf_create (l3.c), bcm_xgs3_l3_egress_create (firebolt/l3.c)", false},
    {"l3-object-unknown", "no such L3 object",
     "bcm_esw_l3_intf_delete (l3.c), bcm_xgs3_l3_egress_destroy (firebolt/l3.c)", false},
    {"l3-egress-busy", "an installed entry's L3Switch uses the egress object",
     "bcm_xgs3_l3_egress_destroy (firebolt/l3.c)", false},
}};

const Rule kPlannedFault{"planned-fault", "a fault planned with bcmsim::inject_fault",
                         "bcmsim's fault plan", false};
const Rule kUnit{"unit", "the unit does not exist", "", false};

}  // namespace

std::string Rule::decided_in(std::string_view call) const {
  if (!function.empty()) return std::string(function);
  std::string_view api = call;
  if (api.substr(0, 4) == "bcm_") api.remove_prefix(4);
  return "the argument checks of bcm_esw_" + std::string(api);
}

const std::vector<Refusal>& refusals() {
  return detail::device().refusals;
}

void clear_refusals() {
  detail::device().refusals.clear();
}

const Rule& planned_fault_rule() {
  return kPlannedFault;
}

const Rule& unit_rule() {
  return kUnit;
}

const std::vector<const Rule*>& all_rules() {
  static const std::vector<const Rule*> rules = [] {
    std::vector<const Rule*> all{&kPlannedFault, &kUnit};
    for (const Rule& rule : kRules) all.push_back(&rule);
    return all;
  }();
  return rules;
}

namespace detail {

const Rule& rule(Why why) {
  return kRules[static_cast<size_t>(why)];
}

int refuse(Why why, int code) {
  device().refusal = &rule(why);
  return code;
}

}  // namespace detail
}  // namespace bcmsim
