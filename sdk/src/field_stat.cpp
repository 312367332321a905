// Field statistics objects and their attachment to entries.
#include <algorithm>
#include <optional>
#include <vector>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/names.h>

#include "c_source.h"
#include "call_args.h"
#include "sdk_call.h"
#include "text.h"

namespace bcmsim::detail {
namespace {

constexpr int kStatTypeCount = bcmFieldStatNotRedPackets + 1;
constexpr int kMaxStatsPerObject = 15;

// The statistic types a call names: nothing when it passed NULL.
using StatTypeList = std::optional<std::vector<bcm_field_stat_t>>;

StatTypeList kept_types(int nstat, const bcm_field_stat_t* types) {
  if (!types) return std::nullopt;
  return std::vector<bcm_field_stat_t>(types, types + std::max(nstat, 0));
}

std::string stat_types_text(const StatTypeList& types) {
  if (!types) return "NULL";
  std::string text = "[";
  for (size_t i = 0; i < types->size(); ++i) text += (i ? " " : "") + stat_type_name((*types)[i]);
  return text + "]";
}

// A statistics object's creation, with the id the SDK chose.
LoggedArgs create_args(int unit, int group, int nstat, const StatTypeList& types,
                       const std::optional<int>& stat_id) {
  std::vector<std::string> c_types;
  if (types) {
    for (bcm_field_stat_t type : *types) c_types.push_back(c_stat_type(type));
  }
  CSourceBuilder source;
  source.number(unit)
      .ref(Ref::Group, group)
      .number(nstat)
      .array("bcm_field_stat_t", "stat_types", c_types);
  if (stat_id) {
    source.output("int", "stat_id").makes(Ref::Stat, *stat_id, true, "stat_id", group);
  } else {
    source.literal("NULL");
  }
  return {std::to_string(unit) + ", " + std::to_string(group) + ", " + std::to_string(nstat) +
              ", " + stat_types_text(types) + " -> " +
              (stat_id ? std::to_string(*stat_id) : "NULL"),
          source.build()};
}

// The answer of the stage's hardware counter modes to a set of statistic types: none when one
// mode serves them all.
int counter_mode_answer(const StageRules& rules, const bcm_field_stat_t* types, int nstat) {
  StatTypes wanted = 0;
  for (int i = 0; i < nstat; ++i) wanted |= stat_types({types[i]});
  for (StatTypes mode : rules.counter_modes) {
    if ((wanted & ~mode) == 0) return BCM_E_NONE;
  }
  return refuse(Why::CounterMode, rules.counter_mode_refusal);
}

int create_stat(Device& dev, int group, int nstat, const bcm_field_stat_t* types, int* stat_id) {
  if (!types || !stat_id || nstat <= 0 || nstat > kMaxStatsPerObject) {
    return refuse(Why::BadArgument, BCM_E_PARAM);
  }
  for (int i = 0; i < nstat; ++i) {
    if (types[i] < 0 || types[i] >= kStatTypeCount) return refuse(Why::BadArgument, BCM_E_PARAM);
  }
  const Group* owner = find_group(dev.state, group);
  if (!owner) return refuse(Why::GroupUnknown, BCM_E_NOT_FOUND);
  // The id is taken before the counter modes are asked: a refused object uses one up.
  const int id = dev.stat_ids.take([&](int taken) { return dev.state.stats.count(taken) > 0; });
  const int mode = counter_mode_answer(stage_rules(dev, owner->stage), types, nstat);
  if (mode != BCM_E_NONE) return mode;
  Stat stat;
  stat.id = id;
  stat.group = group;
  stat.types.assign(types, types + nstat);
  stat.values.assign(nstat, 0);
  dev.state.stats.emplace(id, std::move(stat));
  *stat_id = id;
  return BCM_E_NONE;
}

// Runs `use(Stat&, index of the type)` on an existing statistics object holding that type, or
// `without_counter(Stat&)` while no installed entry gives it a hardware counter: the type is not
// looked at then.
template <class Use, class WithoutCounter>
int with_stat_type(Device& dev, int stat_id, bcm_field_stat_t type, Use&& use,
                   WithoutCounter&& without_counter) {
  auto it = dev.state.stats.find(stat_id);
  if (it == dev.state.stats.end()) return refuse(Why::StatUnknown, BCM_E_NOT_FOUND);
  Stat& stat = it->second;
  if (stat.counting.empty()) return without_counter(stat);
  for (size_t i = 0; i < stat.types.size(); ++i) {
    if (stat.types[i] == type) return use(stat, i);
  }
  return refuse(Why::StatTypeNotHeld, BCM_E_PARAM);
}

std::string stat_args(int unit, int stat_id, bcm_field_stat_t type) {
  return std::to_string(unit) + ", " + std::to_string(stat_id) + ", " + stat_type_name(type);
}

CSourceBuilder stat_source(int unit, int stat_id, bcm_field_stat_t type) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Stat, stat_id).literal(c_stat_type(type));
  return source;
}

LoggedArgs attachment_args(int unit, int entry, int stat_id) {
  return {std::to_string(unit) + ", " + std::to_string(entry) + ", " + std::to_string(stat_id),
          CSourceBuilder().number(unit).ref(Ref::Entry, entry).ref(Ref::Stat, stat_id).build()};
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_stat_create(int unit, bcm_field_group_t group, int nstat, bcm_field_stat_t* stat_arr,
                          int* stat_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, group, nstat, types = kept_types(nstat, stat_arr), made = kept(stat_id)] {
          return create_args(unit, group, nstat, types, made);
        };
      },
      [&](Device& dev) -> int { return create_stat(dev, group, nstat, stat_arr, stat_id); });
}

int bcm_field_stat_destroy(int unit, int stat_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, stat_id] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(stat_id),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::Stat, stat_id)
                                .removes(Ref::Stat, stat_id)
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        auto it = dev.state.stats.find(stat_id);
        if (it == dev.state.stats.end()) return refuse(Why::StatUnknown, BCM_E_NOT_FOUND);
        if (!it->second.entries.empty()) return refuse(Why::StatBusy, BCM_E_BUSY);
        dev.state.stats.erase(it);
        return BCM_E_NONE;
      });
}

int bcm_field_stat_get(int unit, int stat_id, bcm_field_stat_t stat, uint64* value) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, stat_id, stat, read = kept(value)] {
          return LoggedArgs{
              stat_args(unit, stat_id, stat) + " -> " + (read ? std::to_string(*read) : "NULL"),
              stat_source(unit, stat_id, stat).output("uint64", "stat_value").build()};
        };
      },
      [&](Device& dev) -> int {
        if (!value) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_stat_type(
            dev, stat_id, stat,
            [&](bcmsim::Stat& s, size_t i) -> int {
              *value = s.values[i];
              return BCM_E_NONE;
            },
            [&](bcmsim::Stat&) -> int {
              *value = 0;  // the counts kept since the last counter are not read
              return BCM_E_NONE;
            });
      });
}

int bcm_field_stat_set(int unit, int stat_id, bcm_field_stat_t stat, uint64 value) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, stat_id, stat, value] {
          return LoggedArgs{stat_args(unit, stat_id, stat) + ", " + std::to_string(value),
                            stat_source(unit, stat_id, stat).uint64("stat_value", value).build()};
        };
      },
      [&](Device& dev) -> int {
        return with_stat_type(
            dev, stat_id, stat,
            [&](bcmsim::Stat& s, size_t i) -> int {
              s.values[i] = value;
              return BCM_E_NONE;
            },
            // Without a hardware counter a zero is accepted and changes nothing: the kept counts
            // come back with the next counter.
            [&](bcmsim::Stat&) {
              return value == 0 ? BCM_E_NONE : refuse(Why::StatSetWithoutCounter, BCM_E_UNAVAIL);
            });
      });
}

int bcm_field_entry_stat_attach(int unit, bcm_field_entry_t entry, int stat_id) {
  return sdk_call(
      __func__, unit, entry,
      [&] { return [unit, entry, stat_id] { return attachment_args(unit, entry, stat_id); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](bcmsim::Entry& e) -> int {
          if (e.staged.stat) return refuse(Why::StatAttached, BCM_E_EXISTS);
          auto it = dev.state.stats.find(stat_id);
          if (it == dev.state.stats.end()) return refuse(Why::StatUnknown, BCM_E_NOT_FOUND);
          if (it->second.group != e.group) return refuse(Why::StatOfAnotherGroup, BCM_E_PARAM);
          if (!counter_serves_slice(dev, it->second, e)) {
            return refuse(Why::CounterOfAnotherSlice, BCM_E_CONFIG);
          }
          e.staged.stat = stat_id;
          it->second.entries.insert(entry);
          return BCM_E_NONE;
        });
      });
}

int bcm_field_entry_stat_detach(int unit, bcm_field_entry_t entry, int stat_id) {
  return sdk_call(
      __func__, unit, entry,
      [&] { return [unit, entry, stat_id] { return attachment_args(unit, entry, stat_id); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](bcmsim::Entry& e) -> int {
          if (!e.staged.stat) return refuse(Why::StatNotAttached, BCM_E_EMPTY);
          if (e.staged.stat != stat_id) return refuse(Why::OtherStatAttached, BCM_E_PARAM);
          // The counter is given up at once; the entry's hardware stops counting for the object
          // although it points at it until the next install.
          stop_counting(dev.state, stat_id, entry);
          if (e.installed) dev.changed(dev.state.groups.at(e.group));
          e.staged.stat.reset();
          dev.state.stats.at(stat_id).entries.erase(entry);
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
