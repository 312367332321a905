// An independent model of what the hardware should hold for each user entry: computed from the
// entries and the topology, with its own expansion. Where the library deliberately departs from
// "the entry over the current topology", the model follows the rule (see model.cpp).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <bcmsim/state.h>

#include "operations.h"

namespace robustness {

// What one hardware entry holds, as one comparable line: the priority, the qualifiers and actions
// sorted (the order of writing does not matter), the types of the statistics object in its order
// and the policers. The model writes it for a user entry, the device check for a bcmsim entry.
std::string describe(int priority, const bcmsim::EntryView& view,
                     const std::vector<bcm_field_stat_t>& stat_types);

// Facts of the device and the platform that the expected programming depends on.
struct DeviceFacts {
  std::array<int, 3> entries_per_group{};  // per stage: pre-ingress, ingress, egress
  std::set<int> front_ports;
  std::set<int> all_ports;  // the mask of the in-ports qualifier
  std::map<unsigned, int> egress_of_destination;
};

// The priority of a user entry's hardware entries: a lower priority number wins.
inline int hardware_priority(const DeviceFacts& facts, const EntrySpec& spec) {
  return facts.entries_per_group[spec.stage - 1] - 1 - spec.priority;
}

// A LAG member that brought a hardware entry into being.
struct LagMember {
  unsigned lag;
  int port;
};

struct ExpectedHw {
  std::optional<int> port;  // pre-ingress in-port, egress out-port
  unsigned short vlan = 0;
  std::optional<unsigned char> pcp;
  std::set<int> in_ports;  // ingress
  std::optional<LagMember> created_by;
};

struct ModelEntry {
  EntrySpec spec;
  std::set<unsigned> followed_lags;
  bool l3_switch_removed = false;
  std::vector<ExpectedHw> hw;
  // What each of its counters has counted since its statistics object was made.
  std::map<unsigned short, uint64_t> counts;
};

// Where a failed create (or the create step of a failed update) stopped: before its statistics
// object was made, or after.
enum class Stopped { kBeforeCounter, kAfterCounter };

class Model {
 public:
  Model(DeviceFacts facts, std::map<unsigned, std::set<int>> lags)
      : facts_(std::move(facts)), lags_(std::move(lags)) {}

  // Whether the library is expected to accept a change when the chip takes every call. In a
  // stage without a group only an entry with nothing to program (no counter, no hardware entry)
  // is created: it lives in software alone.
  bool creatable(const EntrySpec& spec) const {
    return !entries_.count(spec) && programmable(spec);
  }
  bool updatable(const EntrySpec& spec) const {
    return (entries_.count(spec) || interrupted_.count(spec)) && programmable(spec);
  }
  // A counter reads while a live entry, or the statistics object a failed create left, has it.
  bool counted(unsigned short counter) const { return counters().count(counter) > 0; }
  std::set<unsigned short> counters() const;
  // The value a counter must read; empty when it does not read. A statistics object has a
  // hardware counter only while a hardware entry uses it: without one it reads zero and keeps
  // its counts for the next. The one a failed create left has never counted.
  std::optional<uint64_t> counter_value(unsigned short counter) const;
  // Adds to each counter of the live entry `key` what `amount` gives for the counter's type.
  void count(const Key& key, const std::function<uint64_t(FiltersCommon::counter_type_t)>& amount);

  // The entry changes as the library answered them: made, or failed where `failed` says (the
  // chip refused a call, or the stage has no group).
  void create(const EntrySpec& spec, std::optional<Stopped> failed = std::nullopt);
  void update(const EntrySpec& spec, std::optional<Stopped> failed = std::nullopt);
  // An update expected to fail: of an entry that does not exist, in its delete step, which
  // releases what a failed create left; else in its create step, in a stage without a group.
  void updateFailed(const EntrySpec& spec) {
    if (entries_.count(spec) || interrupted_.count(spec)) {
      update(spec, Stopped::kBeforeCounter);
    } else {
      remove(spec);
    }
  }
  // Deleting an entry, or the failed delete of one that does not exist, which still releases
  // what a failed create left. Answers whether the entry existed.
  bool remove(const Key& key);
  // The chip refused the group of `stage` (or an entry it was created with): the library
  // destroyed it, and every create in that stage fails.
  void groupRefused(FiltersCommon::filtersGroupStage_t stage) { groupless_.insert(stage); }
  // Clearing the cache, and emptying the device, forget what failed creates and updates left.
  void forgetFailures() {
    left_counters_.clear();
    interrupted_.clear();
  }
  // Each answers whether the orchestrator makes the change.
  bool createLag(unsigned lag) { return lags_.emplace(lag, std::set<int>{}).second; }
  bool addMember(unsigned lag, int port);
  bool removeMember(unsigned lag, int port);
  bool destroyLag(unsigned lag);
  void removeDestination(unsigned destination);

  // The live entries a topology change reaches.
  std::vector<Key> following(unsigned lag) const {
    return where([lag](const ModelEntry& entry) { return entry.followed_lags.count(lag) > 0; });
  }
  std::vector<Key> sending_to(unsigned destination) const {
    return where([destination](const ModelEntry& entry) {
      return entry.spec.destination == destination && !entry.l3_switch_removed;
    });
  }

  const std::map<Key, ModelEntry>& entries() const { return entries_; }
  const std::map<unsigned, std::set<int>>& lags() const { return lags_; }
  // The statistics objects the device holds: one per live entry with counters, and the ones
  // failed creates left.
  size_t statistics_objects() const;
  // The texts of the hardware entries of a user entry.
  std::vector<std::string> expected(const ModelEntry& entry) const;

 private:
  // Whether the library can make what the entry needs: its stage has a group, or it needs nothing.
  bool programmable(const EntrySpec& spec) const {
    return !groupless_.count(spec.stage) ||
           (spec.counters.empty() && expand(spec, std::nullopt).empty());
  }
  std::vector<Key> where(const std::function<bool(const ModelEntry&)>& holds) const;
  // Every hardware entry of `spec` over the current topology; `created_by`, when given, marks
  // them all as brought by that LAG member.
  std::vector<ExpectedHw> expand(const EntrySpec& spec, std::optional<LagMember> created_by) const;
  // The entries following `lag` lose the hardware entries its member `ports` brought, and the
  // ports they do not name leave their bitmaps.
  void removeMembers(unsigned lag, const std::set<int>& ports);

  DeviceFacts facts_;
  std::map<unsigned, std::set<int>> lags_;  // existing LAGs and their member ports
  std::map<Key, ModelEntry> entries_;
  // The counters of the user entries whose failed create left the statistics object; the
  // entries whose update failed in its create step (a repeated update only creates); the stages
  // without a group.
  std::map<Key, decltype(EntrySpec::counters)> left_counters_;
  std::set<Key> interrupted_;
  std::set<FiltersCommon::filtersGroupStage_t> groupless_;
};

}  // namespace robustness
