// Policers attached to field entries, one per level.
#include <bcm/error.h>
#include <bcm/field.h>

#include "c_source.h"
#include "sdk_call.h"

namespace bcmsim::detail {
namespace {

bool valid_level(int level) {
  return level >= 0 && level < kPolicerLevels;
}

// A policer shared by several entries keeps the stage and the level of its first attachment.
bool fits_sharing(const State& state, const Policer& policer, Stage stage, int level) {
  if (policer.attachments.empty()) return true;
  const auto& [entry, held_level] = *policer.attachments.begin();
  return held_level == level && state.groups.at(state.entries.at(entry).group).stage == stage;
}

// The answer of a level of the stage to a policer's mode; asked last.
int mode_answer(const PolicerLevel& rules, const Policer& policer) {
  return rules.modes.count(policer.config.mode) ? BCM_E_NONE : refuse(Why::LevelMode, rules.refusal);
}

int attach_policer(Device& dev, Entry& entry, int level, int policer_id) {
  const Group& group = dev.state.groups.at(entry.group);
  const Stage stage = group.stage;
  const StageRules& rules = stage_rules(dev, stage);
  // A meter belongs to one slice where the stage has no shared meter pools.
  if (!rules.global_meter_pools && group.slices.size() > 1) {
    return refuse(Why::MeterOfOneSlice, BCM_E_CONFIG);
  }
  if (rules.policer_refusal != BCM_E_NONE) {
    return refuse(Why::StageHasNoMeters, rules.policer_refusal);
  }
  auto& policers = entry.staged.policers;
  if (policers[level]) return refuse(Why::PolicerLevelUsed, BCM_E_EXISTS);
  if (policers[1 - level] == policer_id) return refuse(Why::PolicerAtBothLevels, BCM_E_PARAM);
  auto policer = dev.state.policers.find(policer_id);
  if (policer == dev.state.policers.end()) return refuse(Why::PolicerUnknown, BCM_E_NOT_FOUND);
  if (!fits_sharing(dev.state, policer->second, stage, level)) {
    return refuse(Why::PolicerSharedElsewhere, BCM_E_PARAM);
  }
  if (int rv = mode_answer(rules.policer_levels[level], policer->second); rv != BCM_E_NONE) {
    return rv;
  }
  policers[level] = policer_id;
  policer->second.attachments.insert({entry.id, level});
  return BCM_E_NONE;
}

std::string args(int unit, int entry, int level) {
  return std::to_string(unit) + ", " + std::to_string(entry) + ", " + std::to_string(level);
}

CSourceBuilder source(int unit, int entry, int level) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry).number(level);
  return source;
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_entry_policer_attach(int unit, bcm_field_entry_t entry_id, int level,
                                   bcm_policer_t policer_id) {
  return sdk_call(
      __func__, unit, entry_id,
      [&] {
        return [unit, entry_id, level, policer_id] {
          return LoggedArgs{args(unit, entry_id, level) + ", " + std::to_string(policer_id),
                            source(unit, entry_id, level).ref(Ref::Policer, policer_id).build()};
        };
      },
      [&](Device& dev) -> int {
        if (!valid_level(level)) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_entry(dev, entry_id, [&](bcmsim::Entry& e) {
          return attach_policer(dev, e, level, policer_id);
        });
      });
}

int bcm_field_entry_policer_detach(int unit, bcm_field_entry_t entry_id, int level) {
  return sdk_call(
      __func__, unit, entry_id,
      [&] {
        return [unit, entry_id, level] {
          return LoggedArgs{args(unit, entry_id, level), source(unit, entry_id, level).build()};
        };
      },
      [&](Device& dev) -> int {
        if (!valid_level(level)) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_entry(dev, entry_id, [&](bcmsim::Entry& e) -> int {
          std::optional<int>& attached = e.staged.policers[level];
          if (!attached) {
            const Stage stage = dev.state.groups.at(e.group).stage;
            return refuse(Why::PolicerLevelEmpty, stage_rules(dev, stage).empty_policer_detach);
          }
          dev.state.policers.at(*attached).attachments.erase({entry_id, level});
          attached.reset();
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
