// The one simulated device behind the SDK functions, and the helpers its calls share.
#pragma once

#include <bcm/error.h>
#include <soc/drv.h>

#include <bcmsim/device.h>

#include "call_recorder.h"
#include "fault_injector.h"

namespace bcmsim::detail {

struct Device {
  Config config;
  State state;
  soc_control_t soc{};
  CallRecorder log;
  FaultInjector faults;
};

Device& device();

// Mutable lookups; null when the object does not exist.
Entry* find_entry(State& state, int id);
Group* find_group(State& state, int id);

// Runs `change(Entry&)` on an existing entry; an unknown entry is the SDK's not-found.
template <class Change>
int with_entry(Device& dev, int entry_id, Change&& change) {
  Entry* entry = find_entry(dev.state, entry_id);
  return entry ? change(*entry) : BCM_E_NOT_FOUND;
}

}  // namespace bcmsim::detail
