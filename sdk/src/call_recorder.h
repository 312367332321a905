// Records SDK calls while the call log is switched on.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <bcmsim/call_log.h>

#include "call_args.h"

namespace bcmsim::detail {

class CallRecorder {
 public:
  bool enabled() const { return enabled_; }
  void set_enabled(bool enabled) { enabled_ = enabled; }
  // Keeps `render`, which writes the arguments out (as text, or as LoggedArgs) when they are
  // first read, from copies it holds.
  template <class Render>
  void record(const char* function, Render render, int rc, const Rule* rule) {
    calls_.emplace_back(function, rc, rule,
                        std::make_shared<const RenderedArgs<Render>>(std::move(render)));
  }
  const std::vector<Call>& calls() const { return calls_; }
  void clear() { calls_.clear(); }

 private:
  bool enabled_ = false;
  std::vector<Call> calls_;
};

}  // namespace bcmsim::detail
