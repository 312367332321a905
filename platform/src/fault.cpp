#include <qarmw/fault.h>

#include <execinfo.h>
#include <unistd.h>

#include <cstdio>

extern "C" {

void qarmw_print_backtrace(void) {
  void* frames[64];
  int count = backtrace(frames, 64);
  std::fputs("Backtrace:\n", stderr);
  std::fflush(stderr);
  backtrace_symbols_fd(frames, count, STDERR_FILENO);
}

void qarmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message) {
  std::fprintf(stderr, "FAULT severity=%d function=%s location=%s:%d\n  %s\n", severity, function,
               file, line, message);
  std::fflush(stderr);
}
}
