#include "hits.h"

#include <hal_filters_ll/hal_filters_bcm.h>

namespace filtersim {

const HalFiltersLL::FilterEntriesCache::entry_info_t* userEntryOf(int hw_entry) {
  const auto& pools = HalFiltersLL::filters_cache_.entries_info();
  auto pool = pools.upper_bound(hw_entry);
  if (pool == pools.begin()) return nullptr;
  --pool;
  if (hw_entry - pool->first >= static_cast<int>(pool->second.pool.size())) return nullptr;
  return &pool->second;
}

UserHit userHit(bcmsim::Stage stage, int hw_group, int hw_entry) {
  UserHit user{stage, hw_group, hw_entry, std::nullopt, std::nullopt};
  if (const auto* owner = userEntryOf(hw_entry)) {
    user.group = owner->user_key.group_id;
    user.entry = owner->user_key.entry_id;
  }
  return user;
}

std::vector<unsigned short> userEntryCounters(int hw_entry) {
  std::vector<unsigned short> ids;
  if (const auto* owner = userEntryOf(hw_entry)) {
    for (const auto& [id, counter] : owner->user_entry.getCounters()) ids.push_back(id);
  }
  return ids;
}

ExplainedGroup explainedGroup(const bcmsim::GroupExplanation& group,
                              const std::map<int, UserGroup>& groups) {
  ExplainedGroup out{group, std::nullopt, std::nullopt, {}};
  if (auto user = groups.find(group.group); user != groups.end()) out.user_group = user->second;
  if (group.hit) out.hit_entry = userHit(group.stage, group.group, *group.hit).entry;
  for (const bcmsim::NearMiss& miss : group.closest) {
    out.closest_entries.push_back(userHit(group.stage, group.group, miss.entry).entry);
  }
  return out;
}

}  // namespace filtersim
