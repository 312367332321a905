// Hits and explanations named the way the user names things: user groups and user entries
// beside the hardware ids.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include <bcmsim/classify.h>
#include <bcmsim/explain.h>
#include <hal_filters_ll/filter_entries_cache.h>

#include "snapshot.h"

namespace filtersim {

// A hit as the user names it: the stage, the user group and user entry (when the hardware entry
// belongs to a user entry the library knows).
struct UserHit {
  bcmsim::Stage stage;
  int hw_group;
  int hw_entry;
  std::optional<unsigned short> group;
  std::optional<unsigned int> entry;
};

// One group's part in a packet's classification, with the user entries of its hardware entries.
struct ExplainedGroup {
  bcmsim::GroupExplanation group;
  std::optional<UserGroup> user_group;
  std::optional<unsigned int> hit_entry;                     // the user entry hit
  std::vector<std::optional<unsigned int>> closest_entries;  // the user entry of each near miss
};

// The library's record of the user entry whose pool holds a hardware id, or null.
const HalFiltersLL::FilterEntriesCache::entry_info_t* userEntryOf(int hw_entry);

// The user entry a hardware entry belongs to: the pool whose id range holds it.
UserHit userHit(bcmsim::Stage stage, int hw_group, int hw_entry);

// The counter ids the user entry of a hardware entry names (none for no user entry).
std::vector<unsigned short> userEntryCounters(int hw_entry);

// `groups`: hardware group id -> the user group it was created for.
ExplainedGroup explainedGroup(const bcmsim::GroupExplanation& group,
                              const std::map<int, UserGroup>& groups);

}  // namespace filtersim
