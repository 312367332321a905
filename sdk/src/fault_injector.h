// Decides which SDK calls fail by plan.
#pragma once

#include <vector>

#include <bcmsim/fault_plan.h>

namespace bcmsim::detail {

class FaultInjector {
 public:
  bool empty() const { return faults_.empty(); }
  void add(const Fault& fault) { faults_.push_back({fault, 0}); }
  void clear() { faults_.clear(); }
  int pending() const;
  // Counts the call against every matching fault; true (with the code) when one fires.
  bool fire(const char* function, int entry, int* rc);

 private:
  struct Planned {
    Fault fault;
    int seen;
  };
  std::vector<Planned> faults_;
};

}  // namespace bcmsim::detail
