#include "call_recorder.h"

#include "device_impl.h"

namespace bcmsim {

std::string Call::text() const {
  return function + "(" + args + ") = " + std::to_string(rc);
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

namespace detail {

void CallRecorder::record(const char* function, std::string args, int rc, const Rule* rule) {
  CallSource source;
  source.args = args;
  calls_.push_back({function, std::move(args), rc, std::move(source), rule});
}

void CallRecorder::record(const char* function, LoggedArgs args, int rc, const Rule* rule) {
  calls_.push_back({function, std::move(args.text), rc, std::move(args.source), rule});
}

}  // namespace detail
}  // namespace bcmsim
