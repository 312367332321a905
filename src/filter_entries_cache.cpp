// The cache's records: user entry keys, pools of hardware entries, and the global cache.
#include <hal_filters_ll/filter_entries_cache.h>

#include <iterator>
#include <limits>
#include <tuple>

#include <hal_filters_ll/device_profile.h>

#include "sdk_support.h"

namespace HalFiltersLL {

using FiltersCommon::FiltersEntry;

FilterEntriesCache filters_cache_;

bool user_entry_key_t::operator<(const user_entry_key_t& other) const {
  return std::tie(stage, group_id, entry_id) <
         std::tie(other.stage, other.group_id, other.entry_id);
}

pool_entry FilterEntriesCache::ConvertFiltersEntryToPoolEntry(const FiltersEntry& entry) const {
  using namespace FiltersCommon;
  pool_entry converted;
  converted.installable = true;
  converted.entry = entry;
  // An empty port match can match nothing; an ingress match without ports but with excluded
  // port types stands for all other ports.
  if (auto* egress = entry.findMatch<MatchEgressPorts>(FILTERS_MATCH_EGRESS_PORTS)) {
    if (egress->getPorts().empty()) converted.installable = false;
  }
  if (auto* ingress = entry.findMatch<MatchIngressPorts>(FILTERS_MATCH_INGRESS_PORTS)) {
    if (ingress->getPorts().empty() && ingress->getExcludedPortTypes().empty()) {
      converted.installable = false;
    }
  }
  if (auto* source = entry.findMatch<MatchSrcPort>(FILTERS_MATCH_SRC_PORT)) {
    if (source->getLimId() == limid_null) converted.installable = false;
  }
  return converted;
}

int FilterEntriesCache::InitializeEntriesPool(const user_entry_key_t& key, int base,
                                              const FiltersEntry& entry) {
  auto [record, inserted] = entries_info_.emplace(
      base, entry_info_t{key, entry, {ConvertFiltersEntryToPoolEntry(entry)}});
  if (!inserted) {
    callbacks().log(kLogError, "Cannot create filter hardware entry %i. Entry is not empty.", base);
    return HAL_FILTERS_ERR_FAILED;
  }
  std::vector<pool_entry>& pool = record->second.pool;
  // Expanded one match after the other, the pool becomes the product of all their values.
  for (const auto& [type, match] : entry.getMatches()) {
    if (ExpandFilterEntries(pool, key.stage, match->getType()) != 0) {
      callbacks().log(kLogError, "Error expanding match %d for entry %d", match->getType(), base);
      return HAL_FILTERS_ERR_FAILED;
    }
  }
  if (pool.size() > IdBlockSize(key.stage)) {
    callbacks().log(kLogError,
                    "Cannot create filter hardware entry %i: it needs %zu hardware entries, more "
                    "than the %zu ids of its block",
                    base, pool.size(), IdBlockSize(key.stage));
    entries_info_.erase(record);
    return HAL_FILTERS_ERR_FAILED;
  }
  ConsolidateEntryInformation(pool, base);
  for (const auto& [type, action] : entry.getActions()) {
    CacheFilterActionDependencies(base, *action);
  }
  return HAL_FILTERS_OK;
}

size_t FilterEntriesCache::IdBlockSize(FiltersCommon::filtersGroupStage_t stage) {
  switch (stage) {
    case FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS:
      return getHWEntriesPerPreIngressGroup();
    case FiltersCommon::FILTERS_GROUP_STAGE_INGRESS:
      return getHWEntriesPerIngressGroup();
    case FiltersCommon::FILTERS_GROUP_STAGE_EGRESS:
      return getHWEntriesPerEgressGroup();
    default:
      return std::numeric_limits<size_t>::max();
  }
}

std::vector<pool_entry>* FilterEntriesCache::GetEntriesPool(int base) {
  auto record = entries_info_.find(base);
  if (record == entries_info_.end()) {
    callbacks().log(kLogError, "Error getting HW entries for base %d", base);
    return nullptr;
  }
  return &record->second.pool;
}

const FilterEntriesCache::entry_info_t* FilterEntriesCache::FindEntryOf(int hw_eid) const {
  auto after = entries_info_.upper_bound(hw_eid);
  if (after == entries_info_.begin()) return nullptr;
  const auto& [base, info] = *std::prev(after);
  return static_cast<size_t>(hw_eid - base) < info.pool.size() ? &info : nullptr;
}

void FilterEntriesCache::DestroyEntriesPool(int base) {
  for (auto lag = lag_entries_.begin(); lag != lag_entries_.end();) {
    lag->second.erase(base);
    lag = lag->second.empty() ? lag_entries_.erase(lag) : std::next(lag);
  }
  if (auto record = entries_info_.find(base); record != entries_info_.end()) {
    for (const pool_entry& hw_entry : record->second.pool) {
      const int hw_eid = static_cast<int>(hw_entry.entry.getId());
      for (auto lag = lag_pbmp_entries_.begin(); lag != lag_pbmp_entries_.end();) {
        lag->second.erase(hw_eid);
        lag = lag->second.empty() ? lag_pbmp_entries_.erase(lag) : std::next(lag);
      }
      ingress_pbmp_.erase(hw_eid);
    }
    entries_info_.erase(record);
  }
  for (auto destination = l3_destination_entries_.begin();
       destination != l3_destination_entries_.end();) {
    destination->second.erase(base);
    destination = destination->second.empty() ? l3_destination_entries_.erase(destination)
                                              : std::next(destination);
  }
}

void FilterEntriesCache::CleanupCache() {
  lag_entries_.clear();
  lag_pbmp_entries_.clear();
  l3_destination_entries_.clear();
  ingress_pbmp_.clear();
  entries_info_.clear();
}

}  // namespace HalFiltersLL
