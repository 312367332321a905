// Records SDK calls while the call log is switched on.
#pragma once

#include <string>
#include <vector>

#include <bcmsim/call_log.h>

#include "c_source.h"

namespace bcmsim::detail {

class CallRecorder {
 public:
  bool enabled() const { return enabled_; }
  void set_enabled(bool enabled) { enabled_ = enabled; }
  // Arguments given as text alone are taken to be the C argument list as well.
  void record(const char* function, std::string args, int rc, const Rule* rule);
  void record(const char* function, LoggedArgs args, int rc, const Rule* rule);
  const std::vector<Call>& calls() const { return calls_; }
  void clear() { calls_.clear(); }

 private:
  bool enabled_ = false;
  std::vector<Call> calls_;
};

}  // namespace bcmsim::detail
