// The frame of every SDK function: planned faults, the unit check, the work, the call log.
#pragma once

#include <limits>
#include <string>

#include <bcm/error.h>

#include "device_impl.h"
#include "refusal_rules.h"
#include "text.h"

namespace bcmsim::detail {

// For calls that do not act on a field entry (faults filtered by entry never match them).
constexpr int kNoEntry = std::numeric_limits<int>::min();

// Runs `work(Device&)` unless a planned fault fires or the unit does not exist. A refusal names
// its rule through refuse() (refusal_rules.h). While the log is on, `keep()` runs after the work
// and returns the renderer the log keeps: a callable writing the arguments out (as text, or as
// LoggedArgs) when they are first read, which may be long after the call. It holds copies of all
// it writes, outputs included, never the caller's pointers nor anything of the device.
template <class Keep, class Work>
int sdk_call(const char* function, int unit, int entry, Keep&& keep, Work&& work) {
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
  if (dev.log.enabled()) dev.log.record(function, keep(), rc, rule);
  return rc;
}

// Records a structure initialiser, which returns nothing and takes the structure's address.
inline void sdk_void_call(const char* function, const void* structure) {
  Device& dev = device();
  if (!dev.log.enabled()) return;
  dev.log.record(
      function,
      [given = structure != nullptr] {
        LoggedArgs logged{pointer_text(given), {}};
        logged.source.initialiser = true;
        return logged;
      },
      BCM_E_NONE, nullptr);
}

}  // namespace bcmsim::detail
