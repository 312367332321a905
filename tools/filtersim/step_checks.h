// Checks made just before a step runs, against the device and the topology as they stand then:
// warnings placed at the scenario's text. The step runs whatever they say, so the library's own
// answer follows them.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "scenario.h"
#include "snapshot.h"

namespace filtersim {

struct CheckWarning {
  Place place;
  std::string check;  // "match-not-in-group-type", "counter-named-twice", "group-too-small"
  std::string text;
};

class StepChecks {
 public:
  // `groups` maps hardware group ids to the user groups created so far.
  std::vector<CheckWarning> before(const Step& step, const std::map<int, UserGroup>& groups) const;
  // Keeps what a step that ran changed for later checks.
  void after(const Step& step, int result);

 private:
  // A live entry that names a counter id, and where.
  struct Namer {
    FiltersCommon::filtersGroupStage_t stage;
    unsigned short group;
    unsigned int entry;
    Place place;

    bool sameEntry(const Namer& other) const {
      return stage == other.stage && group == other.group && entry == other.entry;
    }
  };

  void groupChecks(const CreateGroup& step, std::vector<CheckWarning>& out) const;
  void entryChecks(const CreateEntry& step, const std::map<int, UserGroup>& groups,
                   std::vector<CheckWarning>& out) const;
  // Per counter id, the entry of the running step that named it last.
  using InStep = std::map<unsigned short, Namer>;
  // The entry the library counts `id` for when `self` names it too; null when there is none.
  const Namer* latestOtherNamer(unsigned short id, const Namer& self, const InStep& in_step) const;
  void counterChecks(const Namer& self, const EntryPlaces& places, const InStep& in_step,
                     std::vector<CheckWarning>& out) const;
  void counterChecks(const CreateGroup& step, std::vector<CheckWarning>& out) const;
  void takeCounters(FiltersCommon::filtersGroupStage_t stage, unsigned short group,
                    const FiltersCommon::FiltersEntry& entry, const EntryPlaces& places);
  void dropCounters(FiltersCommon::filtersGroupStage_t stage, unsigned short group,
                    unsigned int entry);

  std::map<unsigned short, std::vector<Namer>> namers_;  // per counter id, oldest first
  std::map<std::tuple<FiltersCommon::filtersGroupStage_t, unsigned short, unsigned int>,
           std::vector<unsigned short>>
      counters_of_;  // the ids each live entry names
};

}  // namespace filtersim
