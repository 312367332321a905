// The one simulated device behind the SDK functions, and the helpers its calls share.
#pragma once

#include <bcm/error.h>
#include <soc/drv.h>

#include <bcmsim/device.h>

#include <bcm/port.h>

#include "call_recorder.h"
#include "fault_injector.h"
#include "group_index.h"
#include "id_allocator.h"
#include "meter.h"

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
  LowestFreeId intf_ids{1};
  LowestFreeId egress_ids{
      100002};  // the SDK's egress base is 100000; next hops 0 and 1 are reserved
  std::unordered_map<int, GroupIndex> group_indexes;  // by group id, for classification
  uint64_t changes = 0;                               // the latest Group::version given out
  // By policer id: the buckets of each policer from the first packet it meters until its
  // configuration is set again or it is destroyed. Kept out of the state, which inspection shows.
  std::unordered_map<int, Meter> meters;

  // Marks a group changed, so that its classification index is rebuilt.
  void changed(Group& group) { group.version = ++changes; }
};

Device& device();

// The port sets of bcm_port_config_get for a configuration.
void build_port_config(const Config& config, bcm_port_config_t& out);

// Mutable lookups; null when the object does not exist.
Entry* find_entry(State& state, int id);
Group* find_group(State& state, int id);

// The slices of a stage that its groups hold.
int slices_in_use(const State& state, Stage stage);

// Only the ingress stage meters from pools shared by all its slices; elsewhere a meter belongs
// to a slice, so a group with policers cannot spread over several.
inline bool has_global_meter_pools(Stage stage) {
  return stage == Stage::Ingress;
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
  return entry ? change(*entry) : BCM_E_NOT_FOUND;
}

}  // namespace bcmsim::detail
