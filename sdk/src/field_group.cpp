// Field groups: the qualifier and action sets, and group creation and destruction.
#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/names.h>

#include "c_flags.h"
#include "c_source.h"
#include "call_args.h"
#include "sdk_call.h"
#include "tcam.h"
#include "text.h"

namespace bcmsim::detail {
namespace {

// The stage a qualifier set names; the SDK takes ingress when it names none.
int stage_of(const bcm_field_qset_t& qset, Stage* stage) {
  struct StageQualifier {
    int qualifier;
    Stage stage;
  };
  static const StageQualifier kStages[] = {{bcmFieldQualifyStageLookup, Stage::PreIngress},
                                           {bcmFieldQualifyStageIngress, Stage::Ingress},
                                           {bcmFieldQualifyStageEgress, Stage::Egress}};
  int named = 0;
  *stage = Stage::Ingress;
  for (const StageQualifier& s : kStages) {
    if (BCM_FIELD_QSET_TEST(qset, s.qualifier)) {
      *stage = s.stage;
      ++named;
    }
  }
  return named > 1 ? refuse(Why::GroupTwoStages, BCM_E_PARAM) : BCM_E_NONE;
}

// Every qualifier of the group's set is one its stage has.
bool supports_qualifiers(const StageRules& rules, const Group& group) {
  for (int qualifier : group.qualifiers()) {
    if (!rules.qualifiers.count(qualifier)) return false;
  }
  return true;
}

bool names_in_ports(const Group& group) {
  return BCM_FIELD_QSET_TEST(group.qset, bcmFieldQualifyInPorts);
}

// The stage's answer to the group's mode. Where a single-wide key cannot hold a port bitmap, a
// group left to choose its mode takes the next width.
int mode_answer(const StageRules& rules, Group& group) {
  const bool single_without_bitmap = rules.single_wide_in_ports_refusal && names_in_ports(group);
  if (group.mode == bcmFieldGroupModeSingle && single_without_bitmap) {
    return refuse(Why::SingleWideInPorts, rules.single_wide_in_ports_refusal);
  }
  auto refusal = rules.group_mode_refusals.find(group.mode);
  if (refusal != rules.group_mode_refusals.end()) return refuse(Why::GroupMode, refusal->second);
  group.double_wide_key = group.mode == bcmFieldGroupModeIntraSliceDouble ||
                          (group.mode == bcmFieldGroupModeAuto && single_without_bitmap);
  return BCM_E_NONE;
}

int lowest_free_group_id(const State& state) {
  int id = 1;
  while (state.groups.count(id)) ++id;
  return id;
}

int create_group(Device& dev, bcm_field_group_config_t* config) {
  if (!config) return refuse(Why::BadArgument, BCM_E_PARAM);
  Group group;
  if (int rv = stage_of(config->qset, &group.stage); rv != BCM_E_NONE) return rv;
  const bool with_mode = config->flags & BCM_FIELD_GROUP_CREATE_WITH_MODE;
  if (with_mode && (config->mode < 0 || config->mode >= bcmFieldGroupModeCount)) {
    return refuse(Why::BadArgument, BCM_E_PARAM);
  }
  const bool with_id = config->flags & BCM_FIELD_GROUP_CREATE_WITH_ID;
  if (with_id && config->group < 0) return refuse(Why::BadArgument, BCM_E_PARAM);
  if (with_id && dev.state.groups.count(config->group)) {
    return refuse(Why::GroupExists, BCM_E_EXISTS);
  }
  group.mode = with_mode ? config->mode : bcmFieldGroupModeAuto;
  group.qset = config->qset;
  const StageRules& rules = stage_rules(dev, group.stage);
  if (!supports_qualifiers(rules, group)) return refuse(Why::StageLacksQualifier, BCM_E_UNAVAIL);
  if (int rv = mode_answer(rules, group); rv != BCM_E_NONE) return rv;
  const int slice = free_slice(dev, group.stage);
  if (slice < 0 || slice_capacity(dev, group, slice) <= 0) {
    return refuse(Why::NoFreeSlice, BCM_E_RESOURCE);
  }
  group.id = with_id ? config->group : lowest_free_group_id(dev.state);
  group.priority = config->priority;
  group.flags = config->flags;
  // The action set asked for is not kept: a group takes every action its stage supports.
  BCM_FIELD_ASET_INIT(group.aset);
  for (int action : stage_rules(dev, group.stage).actions) BCM_FIELD_ASET_ADD(group.aset, action);
  tcam_add_slice(group, slice, slice_capacity(dev, group, slice));
  config->group = group.id;
  dev.changed(group);
  dev.state.groups.emplace(group.id, std::move(group));
  return BCM_E_NONE;
}

std::string describe(const bcm_field_group_config_t* config) {
  if (!config) return "NULL";
  std::string qset;
  for (int q = 0; q < bcmFieldQualifyCount; ++q) {
    if (BCM_FIELD_QSET_TEST(config->qset, q)) qset += (qset.empty() ? "" : " ") + qualifier_name(q);
  }
  std::string aset;
  for (int a = 0; a < bcmFieldActionCount; ++a) {
    if (BCM_FIELD_ASET_TEST(config->aset, a)) aset += (aset.empty() ? "" : " ") + action_name(a);
  }
  return "{flags " + hex_text(config->flags) + ", group " + std::to_string(config->group) +
         ", priority " + std::to_string(config->priority) + ", mode " +
         group_mode_name(config->mode) + ", qset [" + qset + "], aset [" + aset + "]}";
}

CallSource group_config_source(int unit, const bcm_field_group_config_t* config) {
  CSourceBuilder source;
  source.number(unit);
  if (!config) return source.literal("NULL").build();
  source.structure("bcm_field_group_config_t", "group_config",
                   {{"flags", c_group_flags(config->flags)},
                    {"group", std::to_string(config->group)},
                    {"priority", std::to_string(config->priority)},
                    {"mode", "bcmFieldGroupMode" + group_mode_name(config->mode)}});
  std::vector<std::string> sets{"BCM_FIELD_QSET_INIT(group_config.qset);",
                                "BCM_FIELD_ASET_INIT(group_config.aset);"};
  for (int q = 0; q < bcmFieldQualifyCount; ++q) {
    if (BCM_FIELD_QSET_TEST(config->qset, q))
      sets.push_back("BCM_FIELD_QSET_ADD(group_config.qset, " + c_qualifier(q) + ");");
  }
  for (int a = 0; a < bcmFieldActionCount; ++a) {
    if (BCM_FIELD_ASET_TEST(config->aset, a))
      sets.push_back("BCM_FIELD_ASET_ADD(group_config.aset, " + c_action(a) + ");");
  }
  const bool chosen = !(config->flags & BCM_FIELD_GROUP_CREATE_WITH_ID);
  return source.fill(std::move(sets))
      .makes(Ref::Group, config->group, chosen, "group_config.group")
      .build();
}

// The field processor starts again: entries, statistics objects, policers and groups are
// destroyed. Entry ids start again; statistics and policer ids count on.
int clear_field_state(Device& dev) {
  dev.state.entries.clear();
  dev.state.stats.clear();
  dev.state.policers.clear();
  dev.meters.clear();
  dev.state.groups.clear();
  dev.group_lookups.clear();
  dev.prepared.reset();
  dev.entry_ids.reset();
  return BCM_E_NONE;
}

// bcm_field_init and bcm_field_detach, which take the unit alone.
int clear_field_call(const char* function, int unit) {
  return sdk_call(
      function, unit, kNoEntry, [&] { return [unit] { return std::to_string(unit); }; },
      clear_field_state);
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

void bcm_field_qset_t_init(bcm_field_qset_t* qset) {
  sdk_void_call(__func__, qset);
  if (qset) BCM_FIELD_QSET_INIT(*qset);
}

void bcm_field_aset_t_init(bcm_field_aset_t* aset) {
  sdk_void_call(__func__, aset);
  if (aset) BCM_FIELD_ASET_INIT(*aset);
}

void bcm_field_group_config_t_init(bcm_field_group_config_t* group_config) {
  sdk_void_call(__func__, group_config);
  if (group_config) memset(group_config, 0, sizeof(*group_config));
}

int bcm_field_group_config_create(int unit, bcm_field_group_config_t* group_config) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, config = kept(group_config)] {
          return LoggedArgs{std::to_string(unit) + ", " + describe(address(config)),
                            group_config_source(unit, address(config))};
        };
      },
      [&](Device& dev) -> int { return create_group(dev, group_config); });
}

int bcm_field_group_destroy(int unit, bcm_field_group_t group) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, group] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(group),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::Group, group)
                                .removes(Ref::Group, group)
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        Group* g = find_group(dev.state, group);
        if (!g) return refuse(Why::GroupUnknown, BCM_E_NOT_FOUND);
        if (!g->entries.empty()) return refuse(Why::GroupBusy, BCM_E_BUSY);
        // Its statistics objects go with it.
        for (auto stat = dev.state.stats.begin(); stat != dev.state.stats.end();) {
          stat = stat->second.group == group ? dev.state.stats.erase(stat) : std::next(stat);
        }
        dev.state.groups.erase(group);
        // The stages' lists of groups to look up in change with it.
        dev.group_lookups.erase(group);
        dev.prepared.reset();
        return BCM_E_NONE;
      });
}

int bcm_field_init(int unit) {
  return clear_field_call(__func__, unit);
}

int bcm_field_detach(int unit) {
  return clear_field_call(__func__, unit);
}

}  // extern "C"
