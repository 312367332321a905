// The frame of every SDK function: planned faults, the unit check, the work, the call log.
#pragma once

#include <limits>
#include <string>

#include <bcm/error.h>

#include "device_impl.h"
#include "refusal_rules.h"

namespace bcmsim::detail {

// For calls that do not act on a field entry (faults filtered by entry never match them).
constexpr int kNoEntry = std::numeric_limits<int>::min();

// Runs `work(Device&)` unless a planned fault fires or the unit does not exist. A refusal names
// its rule through refuse() (refusal_rules.h). `args()` renders
// the arguments for the call log; it runs after the work, so it can show what the call returned,
// and only while the log is on.
template <class Args, class Work>
int sdk_call(const char* function, int unit, int entry, Args&& args, Work&& work) {
  Device& dev = device();
  int rc = BCM_E_NONE;
  dev.refusal = nullptr;
  if (!dev.faults.empty() && dev.faults.fire(function, entry, &rc)) {
    dev.refusal = &planned_fault_rule();
  } else if (unit != dev.config.unit) {
    rc = BCM_E_UNIT;
    dev.refusal = &unit_rule();
  } else {
    rc = work(dev);
  }
  const Rule* rule = rc < 0 ? dev.refusal : nullptr;
  if (rc < 0) dev.refusals.push_back({function, rc, rule});
  if (dev.log.enabled()) dev.log.record(function, args(), rc, rule);
  return rc;
}

// Records a call that returns nothing (the structure initialisers).
template <class Args>
void sdk_void_call(const char* function, Args&& args) {
  Device& dev = device();
  if (!dev.log.enabled()) return;
  LoggedArgs logged{args(), {}};
  logged.source.initialiser = true;
  dev.log.record(function, std::move(logged), BCM_E_NONE, nullptr);
}

}  // namespace bcmsim::detail
