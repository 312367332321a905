#include "call_recorder.h"

#include "device_impl.h"

namespace bcmsim {

Call::Call(std::string name, int code, const Rule* refusal,
           std::shared_ptr<const detail::CallArgs> args)
    : function(std::move(name)), rc(code), rule(refusal), args_(std::move(args)) {}

const std::string& Call::args() const {
  return args_->text();
}

const CallSource& Call::source() const {
  return args_->source();
}

std::string Call::text() const {
  return function + "(" + args() + ") = " + std::to_string(rc);
}

void set_call_log(bool enabled) {
  detail::device().log.set_enabled(enabled);
}
bool call_log_enabled() {
  return detail::device().log.enabled();
}
const std::vector<Call>& calls() {
  return detail::device().log.calls();
}
void clear_calls() {
  detail::device().log.clear();
}

std::vector<std::string> call_names(const std::string& prefix) {
  std::vector<std::string> names;
  for (const Call& call : calls()) {
    if (call.function.compare(0, prefix.size(), prefix) == 0) names.push_back(call.function);
  }
  return names;
}

}  // namespace bcmsim
