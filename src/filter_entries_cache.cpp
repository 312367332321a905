// The cache's records: user entry keys, the global cache and its clean-up.
#include <hal_filters_ll/filter_entries_cache.h>

#include <tuple>

namespace HalFiltersLL {

FilterEntriesCache filters_cache_;

bool user_entry_key_t::operator<(const user_entry_key_t& other) const {
  return std::tie(stage, group_id, entry_id) <
         std::tie(other.stage, other.group_id, other.entry_id);
}

bool user_entry_key_t::operator==(const user_entry_key_t& other) const {
  return stage == other.stage && group_id == other.group_id && entry_id == other.entry_id;
}

void FilterEntriesCache::CleanupCache() {
  lag_entries_.clear();
  lag_pbmp_entries_.clear();
  l3_destination_entries_.clear();
  ingress_pbmp_.clear();
  entries_info_.clear();
}

}  // namespace HalFiltersLL
