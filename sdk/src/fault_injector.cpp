#include "fault_injector.h"

#include <algorithm>

#include "device_impl.h"

namespace bcmsim {

void inject_fault(const Fault& fault) {
  detail::device().faults.add(fault);
}
void clear_faults() {
  detail::device().faults.clear();
}
int pending_faults() {
  return detail::device().faults.pending();
}

namespace detail {

int FaultInjector::pending() const {
  return static_cast<int>(std::count_if(faults_.begin(), faults_.end(), [](const Planned& p) {
    return p.fault.always || p.seen < p.fault.nth;
  }));
}

bool FaultInjector::fire(const char* function, int entry, int* rc) {
  bool fired = false;
  for (auto it = faults_.begin(); it != faults_.end();) {
    const Fault& fault = it->fault;
    bool matches = (fault.function == kAnyCall || fault.function == function) &&
                   (!fault.entry || *fault.entry == entry);
    if (!matches) {
      ++it;
      continue;
    }
    ++it->seen;
    bool fires = fault.always ? it->seen >= fault.nth : it->seen == fault.nth;
    if (fires && !fired) {
      fired = true;
      *rc = fault.rc;
    }
    if (fires && !fault.always) {
      it = faults_.erase(it);
    } else {
      ++it;
    }
  }
  return fired;
}

}  // namespace detail
}  // namespace bcmsim
