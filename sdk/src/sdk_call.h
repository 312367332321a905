// The frame of every SDK function: planned faults, the unit check, the work, the call log.
#pragma once

#include <limits>
#include <string>

#include <bcm/error.h>

#include "device_impl.h"

namespace bcmsim::detail {

// For calls that do not act on a field entry (faults filtered by entry never match them).
constexpr int kNoEntry = std::numeric_limits<int>::min();

// Runs `work(Device&)` unless a planned fault fires or the unit does not exist. `args()` renders
// the arguments for the call log; it runs after the work, so it can show what the call returned,
// and only while the log is on.
template <class Args, class Work>
int sdk_call(const char* function, int unit, int entry, Args&& args, Work&& work) {
  Device& dev = device();
  int rc = BCM_E_NONE;
  if (dev.faults.empty() || !dev.faults.fire(function, entry, &rc)) {
    rc = unit == dev.config.unit ? work(dev) : BCM_E_UNIT;
  }
  if (dev.log.enabled()) dev.log.record(function, args(), rc);
  return rc;
}

// Records a call that returns nothing (the structure initialisers).
template <class Args>
void sdk_void_call(const char* function, Args&& args) {
  Device& dev = device();
  if (!dev.log.enabled()) return;
  LoggedArgs logged{args(), {}};
  logged.source.initialiser = true;
  dev.log.record(function, std::move(logged), BCM_E_NONE);
}

}  // namespace bcmsim::detail
