// The hardware at one moment, named the way the scenario names things: groups by user stage, id
// and type beside their hardware id, hardware entries under the user entry they belong to,
// counters with the user entries that share them, policers with the entries they meter.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <filters_common/types.h>

namespace filtersim {

// The user group a hardware group was created for.
struct UserGroup {
  FiltersCommon::filtersGroupStage_t stage;
  unsigned short id;
  unsigned int type;
};

struct ShownGroup {
  int hw_id;
  std::string hw_stage;
  std::optional<UserGroup> user;
  int priority;
  std::string mode;
  size_t used;
  size_t capacity;
  std::vector<std::string> qualifiers;
};

struct ShownHwEntry {
  int hw_id;
  bool installed;
  int priority;
  std::vector<std::string> qualifiers;  // "OuterVlanId=10/0xfff"
  std::vector<std::string> actions;     // "Drop(0, 0)"
  std::optional<int> stat;
  std::vector<std::string> policers;  // "7 (level 0)"
};

struct ShownUserEntry {
  std::string stage;
  unsigned short group;
  unsigned int entry;
  std::vector<ShownHwEntry> hw;
};

struct ShownCounter {
  unsigned short id;
  std::string type;
  std::optional<uint64_t> value;    // through the library; none when it does not know the id
  std::vector<std::string> shared_by;  // "ingress group 0 entry 3"
};

struct ShownPolicer {
  int id;
  std::string description;
  std::vector<std::string> metering;  // "ingress group 0 entry 3 (hw 1048576, level 0)"
};

struct Snapshot {
  std::vector<ShownGroup> groups;
  std::vector<ShownUserEntry> user_entries;
  std::vector<ShownHwEntry> other_entries;  // in no user entry's pool
  std::vector<ShownCounter> counters;
  std::vector<ShownPolicer> policers;
};

// What a show asks for: everything, one user entry, or one hardware entry.
struct ShowFilter {
  struct UserEntry {
    FiltersCommon::filtersGroupStage_t stage;
    unsigned short group;
    unsigned int entry;
  };
  std::optional<UserEntry> user_entry;
  std::optional<int> hw_entry;
};

Snapshot takeSnapshot(const ShowFilter& filter, const std::map<int, UserGroup>& groups);

std::string userStageName(FiltersCommon::filtersGroupStage_t stage);

}  // namespace filtersim
