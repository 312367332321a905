// Records SDK calls while the call log is switched on.
#pragma once

#include <string>
#include <vector>

#include <bcmsim/call_log.h>

namespace bcmsim::detail {

class CallRecorder {
 public:
  bool enabled() const { return enabled_; }
  void set_enabled(bool enabled) { enabled_ = enabled; }
  void record(const char* function, std::string args, int rc);
  const std::vector<Call>& calls() const { return calls_; }
  void clear() { calls_.clear(); }

 private:
  bool enabled_ = false;
  std::vector<Call> calls_;
};

}  // namespace bcmsim::detail
