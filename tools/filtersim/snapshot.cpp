#include "snapshot.h"

#include <bcmsim/device.h>
#include <bcmsim/names.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "hits.h"

namespace filtersim {
namespace {

using namespace FiltersCommon;
using HalFiltersLL::filters_cache_;

ShownHwEntry shownHwEntry(int id, const bcmsim::Entry& entry) {
  ShownHwEntry shown{id, entry.installed.has_value(), entry.priority, {}, {}, std::nullopt, {}};
  const bcmsim::EntryView& view = entry.installed ? *entry.installed : entry.staged;
  for (const auto& q : view.qualifiers) {
    shown.qualifiers.push_back(bcmsim::qualifier_name(q.qualifier) + "=" +
                               bcmsim::format_qualifier(q));
  }
  for (const auto& a : view.actions) {
    shown.actions.push_back(bcmsim::action_name(a.action) + "(" + bcmsim::format_action(a) + ")");
  }
  shown.stat = view.stat;
  for (int level = 0; level < bcmsim::kPolicerLevels; ++level) {
    if (view.policers[level]) {
      shown.policers.push_back(std::to_string(*view.policers[level]) + " (level " +
                               std::to_string(level) + ")");
    }
  }
  return shown;
}

std::string userEntryName(const HalFiltersLL::user_entry_key_t& key) {
  return userStageName(key.stage) + " group " + std::to_string(key.group_id) + " entry " +
         std::to_string(key.entry_id);
}

bool wanted(const ShowFilter& filter, const HalFiltersLL::user_entry_key_t& key) {
  if (!filter.user_entry) return !filter.hw_entry;
  return key.stage == filter.user_entry->stage && key.group_id == filter.user_entry->group &&
         key.entry_id == filter.user_entry->entry;
}

std::vector<ShownGroup> shownGroups(const std::map<int, UserGroup>& user_groups) {
  std::vector<ShownGroup> groups;
  for (const auto& [id, group] : bcmsim::state().groups) {
    ShownGroup shown{id,
                     bcmsim::stage_name(group.stage),
                     std::nullopt,
                     group.priority,
                     bcmsim::group_mode_name(group.mode),
                     group.entries.size(),
                     group.slots.size(),
                     {}};
    if (auto user = user_groups.find(id); user != user_groups.end()) shown.user = user->second;
    for (int q : group.qualifiers()) shown.qualifiers.push_back(bcmsim::qualifier_name(q));
    groups.push_back(std::move(shown));
  }
  return groups;
}

std::string counterTypeName(counter_type_t type) {
  if (type < COUNTER_TYPE_PACKETS || type > COUNTER_TYPE_NOT_GREEN_BYTES) {
    return "type " + std::to_string(type);
  }
  return bcmsim::stat_type_name(HalFiltersLL::HalFiltersBcm::FiltersCommonCounterType2BcmCounterType(type));
}

// Every counter id of the live user entries, with the entries that name it; the newest names
// the statistic the library reads.
std::vector<ShownCounter> shownCounters() {
  std::map<unsigned short, ShownCounter> counters;
  HalFiltersLL::HalFiltersItf& filters = HalFiltersLL::HalFiltersBcm::getInstance();
  for (const auto& [base, info] : filters_cache_.entries_info()) {
    for (const auto& [id, counter] : info.user_entry.getCounters()) {
      ShownCounter& shown = counters[id];
      shown.id = id;
      shown.type = counterTypeName(counter.getType());
      shown.shared_by.push_back(userEntryName(info.user_key));
    }
  }
  std::vector<ShownCounter> list;
  for (auto& [id, shown] : counters) {
    unsigned long long value = 0;
    HalLogCapture quiet;  // an unknown counter is shown here, not logged
    if (filters.getCounterValue(id, value) == 0) shown.value = value;
    list.push_back(std::move(shown));
  }
  return list;
}

std::vector<ShownPolicer> shownPolicers() {
  std::vector<ShownPolicer> policers;
  for (const auto& [id, policer] : bcmsim::state().policers) {
    const bcm_policer_config_t& c = policer.config;
    ShownPolicer shown{id,
                       bcmsim::policer_mode_name(c.mode) + " cir " + std::to_string(c.ckbits_sec) +
                           " kbit/s burst " + std::to_string(c.ckbits_burst) + " kbit, pir " +
                           std::to_string(c.pkbits_sec) + " kbit/s burst " +
                           std::to_string(c.pkbits_burst) + " kbit",
                       {}};
    for (const auto& [entry, level] : policer.attachments) {
      const auto* owner = userEntryOf(entry);
      shown.metering.push_back((owner ? userEntryName(owner->user_key) + " " : std::string()) +
                               "(hw " + std::to_string(entry) + ", level " +
                               std::to_string(level) + ")");
    }
    policers.push_back(std::move(shown));
  }
  return policers;
}

}  // namespace

std::string userStageName(filtersGroupStage_t stage) {
  switch (stage) {
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      return "pre-ingress";
    case FILTERS_GROUP_STAGE_INGRESS:
      return "ingress";
    case FILTERS_GROUP_STAGE_EGRESS:
      return "egress";
    default:
      return "stage " + std::to_string(stage);
  }
}

Snapshot takeSnapshot(const ShowFilter& filter, const std::map<int, UserGroup>& groups) {
  Snapshot snapshot;
  const bcmsim::State& state = bcmsim::state();
  const bool everything = !filter.user_entry && !filter.hw_entry;
  if (everything) {
    snapshot.groups = shownGroups(groups);
    snapshot.counters = shownCounters();
    snapshot.policers = shownPolicers();
  }
  std::map<int, ShownUserEntry> by_base;
  for (int id : state.entry_ids()) {
    if (filter.hw_entry && id != *filter.hw_entry) continue;
    const ShownHwEntry shown = shownHwEntry(id, *state.entry(id));
    const auto* owner = userEntryOf(id);
    if (!owner) {
      if (everything || filter.hw_entry) snapshot.other_entries.push_back(shown);
      continue;
    }
    if (!filter.hw_entry && !wanted(filter, owner->user_key)) continue;
    const int base = static_cast<int>(owner->pool.front().entry.getId());
    ShownUserEntry& user = by_base[base];
    user.stage = userStageName(owner->user_key.stage);
    user.group = owner->user_key.group_id;
    user.entry = owner->user_key.entry_id;
    user.hw.push_back(shown);
  }
  for (auto& [base, user] : by_base) snapshot.user_entries.push_back(std::move(user));
  return snapshot;
}

}  // namespace filtersim
