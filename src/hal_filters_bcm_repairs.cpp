// Hardware entries out of step with their pool after a failure: destroyed by a failed reinstall,
// left out by a failed create for a new LAG member, or left on the chip by a deletion that
// failed. The next operation on their user entry puts them back in step: a topology event of one
// of its LAGs and a create repair them, a delete destroys what is on the chip and takes the
// missing ones as gone. Whether an SDK entry exists is known from the library's own calls, never
// read from a failure's code.
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

// The entry without its L3 switch.
FiltersCommon::FiltersEntry withoutL3Switch(const FiltersCommon::FiltersEntry& entry) {
  FiltersCommon::FiltersEntry copy(entry.getId(), entry.getPriority());
  for (const auto& [type, match] : entry.getMatches()) copy.setMatch(match);
  for (const auto& [type, action] : entry.getActions()) {
    if (type != FiltersCommon::FILTERS_ACTION_L3_SWITCH) copy.setAction(action);
  }
  for (const auto& [id, counter] : entry.getCounters()) copy.addCounter(counter);
  if (entry.getPolicer().GetId() != policer::Policer::kNoId) copy.setPolicer(entry.getPolicer());
  copy.setPolicerParent(entry.getPolicerParent());
  return copy;
}

// Whether the user entry at `base` still switches to the destination its entry names.
bool switchesToDestination(const FilterEntriesCache& cache, int base,
                           const FiltersCommon::FiltersEntry& entry) {
  const auto& actions = entry.getActions();
  auto l3_switch = actions.find(FiltersCommon::FILTERS_ACTION_L3_SWITCH);
  if (l3_switch == actions.end()) return true;
  const auto& switching = dynamic_cast<const FiltersCommon::ActionL3Switch&>(*l3_switch->second);
  auto users = cache.l3_destination_entries().find(switching.getL3DestinationId());
  return users != cache.l3_destination_entries().end() && users->second.count(base) > 0;
}

}  // namespace

void HalFiltersBcm::noteOutOfStep(const user_entry_key_t& key, int hw_eid, bool on_chip) {
  // A leftover already recorded stays on the chip whatever failed since.
  out_of_step_[key][hw_eid] |= on_chip;
}

void HalFiltersBcm::forgetOutOfStep(const user_entry_key_t& key, int hw_eid) {
  auto record = out_of_step_.find(key);
  if (record == out_of_step_.end()) return;
  record->second.erase(hw_eid);
  if (record->second.empty()) out_of_step_.erase(record);
}

bool HalFiltersBcm::outOfStep(const user_entry_key_t& key, int hw_eid) const {
  auto record = out_of_step_.find(key);
  return record != out_of_step_.end() && record->second.count(hw_eid) > 0;
}

bool HalFiltersBcm::outOfStep(int hw_eid) const {
  if (out_of_step_.empty()) return false;  // the common case, without a look-up
  const FilterEntriesCache::entry_info_t* info = filters_cache_.FindEntryOf(hw_eid);
  return info && outOfStep(info->user_key, hw_eid);
}

bool HalFiltersBcm::inStep(const user_entry_key_t& key, int hw_eid) const {
  const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
  auto info = filters_cache_.entries_info().find(base);
  if (info == filters_cache_.entries_info().end() || hw_eid < base) return false;
  const auto& pool = info->second.pool;
  const auto position = static_cast<size_t>(hw_eid - base);
  return position < pool.size() && pool[position].installable && !outOfStep(key, hw_eid);
}

bool HalFiltersBcm::destroyLeftovers(const user_entry_key_t& key) {
  auto record = out_of_step_.find(key);
  if (record == out_of_step_.end()) return true;
  bool destroyed_all = true;
  for (auto& [hw_eid, on_chip] : record->second) {
    if (!on_chip) continue;
    bool gone = false;
    deleteHwEntry(key, hw_eid, &gone);
    on_chip = !gone;
    destroyed_all &= gone;
  }
  return destroyed_all;
}

bool HalFiltersBcm::repairHwEntries(const user_entry_key_t& key) {
  bool repaired = destroyLeftovers(key);
  auto record = out_of_step_.find(key);
  if (record == out_of_step_.end()) return repaired;
  const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
  auto info = filters_cache_.entries_info().find(base);
  const std::vector<pool_entry>* pool =
      info == filters_cache_.entries_info().end() ? nullptr : &info->second.pool;
  auto& ids = record->second;
  for (auto id = ids.begin(); id != ids.end();) {
    auto& [hw_eid, on_chip] = *id;
    const auto position = static_cast<size_t>(hw_eid - base);
    const bool listed = pool && hw_eid >= base && position < pool->size() &&
                        (*pool)[position].installable;
    if (on_chip || (listed && recreateHwEntry(key, (*pool)[position], &on_chip) != 0)) {
      repaired = false;
      ++id;
      continue;
    }
    id = ids.erase(id);
  }
  if (ids.empty()) out_of_step_.erase(record);
  return repaired;
}

halFiltersErr_t HalFiltersBcm::recreateHwEntry(const user_entry_key_t& key,
                                               const pool_entry& hw_entry, bool* made) {
  const int hw_eid = static_cast<int>(hw_entry.entry.getId());
  const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
  callbacks().log(kLogInfo, "[HAL FILTERS] %s() Creating Filter Entry again (EID: %d; Hw EID: %d)",
                  "repairHwEntries", key.entry_id, hw_eid);
  // The cache's bitmap and LAG index are already those of the current topology.
  const std::set<limid_t> lags = filters_cache_.BitmapEntryLags(hw_eid);
  const halFiltersErr_t rc =
      switchesToDestination(filters_cache_, base, hw_entry.entry)
          ? createHwEntry(key, hw_entry.entry, made)
          : createHwEntry(key, withoutL3Switch(hw_entry.entry), made);
  filters_cache_.RestrictBitmapEntryLags(hw_eid, lags);
  return rc;
}

bool HalFiltersBcm::repairLagFollowers(const limid_t& lag) {
  const auto& lag_entries = filters_cache_.lag_entries();
  const auto& bitmap_entries = filters_cache_.lag_pbmp_entries();
  auto expanded = lag_entries.find(lag);
  auto bitmaps = bitmap_entries.find(lag);
  std::vector<user_entry_key_t> followers;
  for (const auto& [key, ids] : out_of_step_) {
    const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
    auto info = filters_cache_.entries_info().find(base);
    if (info == filters_cache_.entries_info().end()) continue;
    bool follows = expanded != lag_entries.end() && expanded->second.count(base);
    for (size_t k = 0; !follows && bitmaps != bitmap_entries.end() && k < info->second.pool.size();
         ++k) {
      follows = bitmaps->second.count(base + static_cast<int>(k)) > 0;
    }
    if (follows) followers.push_back(key);
  }
  bool repaired = true;
  for (const user_entry_key_t& key : followers) repaired &= repairHwEntries(key);
  return repaired;
}

bool HalFiltersBcm::missingFromChip(const user_entry_key_t& key, int hw_eid) const {
  auto record = out_of_step_.find(key);
  if (record == out_of_step_.end()) return false;
  auto id = record->second.find(hw_eid);
  return id != record->second.end() && !id->second;
}

halFiltersErr_t HalFiltersBcm::releaseMissing(const user_entry_key_t& key, int hw_eid) {
  forgetOutOfStep(key, hw_eid);
  return static_cast<halFiltersErr_t>(removePolicer(hw_eid));
}

void HalFiltersBcm::noteFailedRewrite(int hw_eid, bool destroyed) {
  const FilterEntriesCache::entry_info_t* info = filters_cache_.FindEntryOf(hw_eid);
  if (info && inStep(info->user_key, hw_eid)) noteOutOfStep(info->user_key, hw_eid, !destroyed);
}

}  // namespace HalFiltersLL
