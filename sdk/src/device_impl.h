// The one simulated device behind the SDK functions, and the helpers its calls share.
#pragma once

#include <bcm/error.h>
#include <soc/drv.h>

#include <bcmsim/device.h>
#include <bcmsim/refusals.h>

#include <bcm/port.h>

#include "call_recorder.h"
#include "compiled_lookup.h"
#include "fault_injector.h"
#include "group_index.h"
#include "id_allocator.h"
#include "meter.h"
#include "refusal_rules.h"
#include "stage_filter.h"

namespace bcmsim::detail {

constexpr int kFieldIdEnd = 0x1000000;

struct Device {
  Config config;
  State state;
  soc_control_t soc{};
  bcm_port_config_t port_config{};  // built from the configuration at reset
  CallRecorder log;
  FaultInjector faults;
  // Statistics objects, policers and entries created without an id: the SDK counts on from the
  // last id it gave, from 1 up to its id limit.
  NextFreeId stat_ids{1, kFieldIdEnd};
  NextFreeId policer_ids{1, kFieldIdEnd};
  NextFreeId entry_ids{1, kFieldIdEnd};
  LowestFreeId intf_ids{0};
  LowestFreeId egress_ids{
      100002};  // the SDK's egress base is 100000; next hops 0 and 1 are reserved
  // By group id, for classification: each way to find a packet's entry is built at its first
  // use after the group changed.
  struct GroupLookups {
    GroupIndex plain;
    CompiledLookup compiled;
  };
  std::unordered_map<int, GroupLookups> group_lookups;
  LookupMethod lookup_method = LookupMethod::Compiled;  // kept across resets
  // The changes and the method of the lookups last prepared, and the groups of each stage then,
  // by priority (highest first; equal priorities by id).
  std::optional<std::pair<uint64_t, LookupMethod>> prepared;
  struct StageGroup {
    const Group* group;
    const GroupLookups* lookups;
  };
  std::array<std::vector<StageGroup>, kStageCount> stage_groups;
  std::array<StageFilter, kStageCount> stage_filters;  // of the compiled lookups
  std::vector<GroupMatch> stage_matches;               // classify()'s, kept for their room
  uint64_t changes = 0;                               // the latest Group::version given out
  // By policer id: the buckets of each policer from the first packet it meters until its
  // configuration is set again or it is destroyed. Kept out of the state, which inspection shows.
  std::unordered_map<int, Meter> meters;
  // The rule by which the running call is refused, named where it is refused; and every refusal
  // since the last reset.
  const Rule* refusal = nullptr;
  std::vector<Refusal> refusals;

  // Marks a group changed, so that its classification index is rebuilt.
  void changed(Group& group) { group.version = ++changes; }
};

Device& device();

// The port sets of bcm_port_config_get for a configuration.
void build_port_config(const Config& config, bcm_port_config_t& out);

// Mutable lookups; null when the object does not exist.
Entry* find_entry(State& state, int id);
Group* find_group(State& state, int id);

// Per slice of a stage, whether a group holds it.
std::vector<bool> held_slices(const Device& dev, Stage stage);
// The first slice of a stage that no group holds, or -1.
int free_slice(const Device& dev, Stage stage);

// The entries a slice of the stage holds for the group: half of them where each entry takes two
// of its rows. A slice that holds none takes no group.
inline int slice_capacity(const Device& dev, const Group& group, int index) {
  const int entries = dev.config.slices[static_cast<int>(group.stage)][index];
  return group.double_wide_key ? entries / 2 : entries;
}

// The stage's rules of the device's chip.
inline const StageRules& stage_rules(const Device& dev, Stage stage) {
  return dev.config.chip.stages[static_cast<int>(stage)];
}

// Where counters belong to a slice, a statistics object that has its counter serves only entries
// of that counter's slice (every entry counting for it is in that slice).
inline bool counter_serves_slice(const Device& dev, const Stat& stat, const Entry& entry) {
  const Group& group = dev.state.groups.at(entry.group);
  if (stat.counting.empty() || stage_rules(dev, group.stage).global_counters) return true;
  return dev.state.entries.at(*stat.counting.begin()).slice == entry.slice;
}

// An entry's hardware stops counting for a statistics object, which keeps the counts it has.
inline void stop_counting(State& state, int stat_id, int entry_id) {
  auto stat = state.stats.find(stat_id);
  if (stat != state.stats.end()) stat->second.counting.erase(entry_id);
}

// Runs `change(Entry&)` on an existing entry; an unknown entry is the SDK's not-found.
template <class Change>
int with_entry(Device& dev, int entry_id, Change&& change) {
  Entry* entry = find_entry(dev.state, entry_id);
  return entry ? change(*entry) : refuse(Why::EntryUnknown, BCM_E_NOT_FOUND);
}

}  // namespace bcmsim::detail
