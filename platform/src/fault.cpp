#include <qarmw/fault.h>

#include <execinfo.h>
#include <unistd.h>

#include <cstdio>

namespace {

std::function<void(const qarmw::Fault&)>& handler() {
  static std::function<void(const qarmw::Fault&)> installed;
  return installed;
}

}  // namespace

void qarmw::set_fault_handler(std::function<void(const Fault&)> fault_handler) {
  handler() = std::move(fault_handler);
}

extern "C" {

void qarmw_print_backtrace(void) {
  if (handler()) return;
  void* frames[64];
  int count = backtrace(frames, 64);
  std::fputs("Backtrace:\n", stderr);
  std::fflush(stderr);
  backtrace_symbols_fd(frames, count, STDERR_FILENO);
}

void qarmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message) {
  if (handler()) {
    handler()(qarmw::Fault{severity, function, file, line, message});
    return;
  }
  std::fprintf(stderr, "FAULT severity=%d function=%s location=%s:%d\n  %s\n", severity, function,
               file, line, message);
  std::fflush(stderr);
}
}
