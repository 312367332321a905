#include "step_checks.h"

#include <algorithm>
#include <optional>

#include <bcmsim/device.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/filter_entries_cache.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "catalogue.h"

namespace filtersim {
namespace {

using namespace FiltersCommon;
using HalFiltersLL::FilterEntriesCache;

// Keeps the library's log lines of a check's own expansion out of the step's reasons.
class QuietLog {
 public:
  QuietLog() : saved_(HalCallbacksItf::getInstance().setSink([](const HalCallbacksItf::Line&) {})) {}
  ~QuietLog() { HalCallbacksItf::getInstance().setSink(std::move(saved_)); }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

 private:
  HalCallbacksItf::Sink saved_;
};

std::string entryName(filtersGroupStage_t stage, unsigned short group, unsigned int entry) {
  return userStageName(stage) + " group " + std::to_string(group) + " entry " +
         std::to_string(entry);
}

std::string lineText(const Place& place) { return "line " + std::to_string(place.line); }

// The hardware entries the library expands `entry` into under the LAGs as they stand; nullopt
// when the expansion fails (the library says why when the step runs).
std::optional<size_t> expansionSize(filtersGroupStage_t stage, const FiltersEntry& entry) {
  QuietLog quiet;
  FilterEntriesCache scratch;
  std::vector<HalFiltersLL::pool_entry> pool = {scratch.ConvertFiltersEntryToPoolEntry(entry)};
  for (const auto& [type, match] : entry.getMatches()) {
    if (scratch.ExpandFilterEntries(pool, stage, match->getType()) != 0) return std::nullopt;
  }
  return pool.size();
}

// The hardware entries a user entry holds now.
size_t heldEntries(filtersGroupStage_t stage, unsigned short group, unsigned int entry) {
  const int base = HalFiltersLL::HalFiltersBcm::getInstance().getBaseHwEid(stage, group, entry);
  const auto& pools = HalFiltersLL::filters_cache_.entries_info();
  auto pool = pools.find(base);
  return pool == pools.end() ? 0 : pool->second.pool.size();
}

bcmsim::Stage deviceStage(filtersGroupStage_t stage) {
  return static_cast<bcmsim::Stage>(stage - FILTERS_GROUP_STAGE_PRE_INGRESS);
}

bool isDeviceStage(filtersGroupStage_t stage) {
  return stage >= FILTERS_GROUP_STAGE_PRE_INGRESS && stage <= FILTERS_GROUP_STAGE_EGRESS;
}

void matchChecks(unsigned int type, filtersGroupStage_t stage, const EntryPlaces& places,
                 std::vector<CheckWarning>& out) {
  const auto matches = matchesOfGroupType(type, stage);
  if (!matches) return;
  for (const auto& [name, place] : places.matches) {
    if (std::find(matches->begin(), matches->end(), name) != matches->end()) continue;
    out.push_back({place, "match-not-in-group-type",
                   "match '" + name + "' is not among those of group type " +
                       std::to_string(type) + " at " + userStageName(stage) +
                       "; the group types that take it: " + groupTypesTaking(name)});
  }
}

// Warns of the first entry that needs more hardware entries than `room`, which each entry
// before it takes from.
void roomChecks(int room, filtersGroupStage_t stage, unsigned short group,
                const std::vector<std::pair<const FiltersEntry*, const EntryPlaces*>>& entries,
                std::vector<CheckWarning>& out) {
  for (const auto& [entry, places] : entries) {
    const std::optional<size_t> needed = expansionSize(stage, *entry);
    if (!needed) return;
    if (*needed <= static_cast<size_t>(room)) {
      room -= static_cast<int>(*needed);
      continue;
    }
    out.push_back({places->entry, "group-too-small",
                   entryName(stage, group, entry->getId()) + " needs " + std::to_string(*needed) +
                       " hardware entries where its group has " + std::to_string(room) +
                       " free"});
    return;
  }
}

}  // namespace

std::vector<CheckWarning> StepChecks::before(const Step& step,
                                             const std::map<int, UserGroup>& groups) const {
  std::vector<CheckWarning> out;
  if (const auto* group = std::get_if<CreateGroup>(&step.action)) groupChecks(*group, out);
  if (const auto* entry = std::get_if<CreateEntry>(&step.action)) entryChecks(*entry, groups, out);
  return out;
}

void StepChecks::groupChecks(const CreateGroup& step, std::vector<CheckWarning>& out) const {
  const FiltersGroup& group = step.group;
  std::vector<std::pair<const FiltersEntry*, const EntryPlaces*>> entries;
  for (const auto& [id, entry] : group.getEntries()) {
    const EntryPlaces& places = step.places.at(id);
    matchChecks(group.getType(), group.getStage(), places, out);
    entries.emplace_back(&entry, &places);
  }
  counterChecks(step, out);
  if (!isDeviceStage(group.getStage()) || !matchesOfGroupType(group.getType(), group.getStage())) {
    return;
  }
  const int room = bcmsim::stage_room(deviceStage(group.getStage()),
                                      groupTypeIsDoubleWide(group.getType(), group.getStage()));
  roomChecks(room, group.getStage(), group.getId(), entries, out);
}

void StepChecks::entryChecks(const CreateEntry& step, const std::map<int, UserGroup>& groups,
                             std::vector<CheckWarning>& out) const {
  const int hw_group = HalFiltersLL::HalFiltersBcm::getInstance().getHwGid(step.stage, step.group);
  auto group = groups.find(hw_group);
  if (group != groups.end()) matchChecks(group->second.type, step.stage, step.places, out);
  counterChecks(Namer{step.stage, step.group, step.entry.getId(), step.places.entry}, step.places,
                {}, out);
  int room = bcmsim::group_room(hw_group);
  if (room < 0) return;
  // An update deletes the entry's hardware entries before it creates the new ones.
  if (step.update) room += static_cast<int>(heldEntries(step.stage, step.group, step.entry.getId()));
  roomChecks(room, step.stage, step.group, {{&step.entry, &step.places}}, out);
}

const StepChecks::Namer* StepChecks::latestOtherNamer(unsigned short id, const Namer& self,
                                                      const InStep& in_step) const {
  // Entries created earlier in the same step are the latest.
  if (auto earlier = in_step.find(id); earlier != in_step.end()) return &earlier->second;
  auto namers = namers_.find(id);
  if (namers == namers_.end()) return nullptr;
  auto other = std::find_if(namers->second.rbegin(), namers->second.rend(),
                            [&](const Namer& namer) { return !namer.sameEntry(self); });
  return other == namers->second.rend() ? nullptr : &*other;
}

void StepChecks::counterChecks(const Namer& self, const EntryPlaces& places, const InStep& in_step,
                               std::vector<CheckWarning>& out) const {
  for (const auto& [id, place] : places.counters) {
    const Namer* other = latestOtherNamer(id, self, in_step);
    if (!other) continue;
    out.push_back({place, "counter-named-twice",
                   "counter " + std::to_string(id) + " is also named by " +
                       entryName(other->stage, other->group, other->entry) + " (" +
                       lineText(other->place) + "): " +
                       entryName(self.stage, self.group, self.entry) +
                       " takes it over, and deleting either entry leaves the id unknown"});
  }
}

void StepChecks::counterChecks(const CreateGroup& step, std::vector<CheckWarning>& out) const {
  // The library creates a group's entries in ascending id order: each takes over the counter ids
  // of those before it.
  InStep in_step;
  const FiltersGroup& group = step.group;
  for (const auto& [id, entry] : group.getEntries()) {
    const EntryPlaces& places = step.places.at(id);
    const Namer self{group.getStage(), group.getId(), id, places.entry};
    counterChecks(self, places, in_step, out);
    for (const auto& [counter, place] : places.counters) {
      in_step[counter] = Namer{self.stage, self.group, self.entry, place};
    }
  }
}

void StepChecks::after(const Step& step, int result) {
  if (result != 0) return;
  if (const auto* group = std::get_if<CreateGroup>(&step.action)) {
    for (const auto& [id, entry] : group->group.getEntries()) {
      takeCounters(group->group.getStage(), group->group.getId(), entry, group->places.at(id));
    }
  } else if (const auto* create = std::get_if<CreateEntry>(&step.action)) {
    dropCounters(create->stage, create->group, create->entry.getId());
    takeCounters(create->stage, create->group, create->entry, create->places);
  } else if (const auto* remove = std::get_if<DeleteEntry>(&step.action)) {
    dropCounters(remove->stage, remove->group, remove->entry);
  }
}

void StepChecks::takeCounters(filtersGroupStage_t stage, unsigned short group,
                              const FiltersEntry& entry, const EntryPlaces& places) {
  std::vector<unsigned short>& ids = counters_of_[{stage, group, entry.getId()}];
  for (const auto& [id, place] : places.counters) {
    namers_[id].push_back(Namer{stage, group, entry.getId(), place});
    ids.push_back(id);
  }
}

void StepChecks::dropCounters(filtersGroupStage_t stage, unsigned short group, unsigned int entry) {
  auto named = counters_of_.find({stage, group, entry});
  if (named == counters_of_.end()) return;
  const Namer gone{stage, group, entry, {}};
  for (unsigned short id : named->second) {
    std::vector<Namer>& list = namers_[id];
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&](const Namer& namer) { return namer.sameEntry(gone); }),
               list.end());
    if (list.empty()) namers_.erase(id);
  }
  counters_of_.erase(named);
}

}  // namespace filtersim
