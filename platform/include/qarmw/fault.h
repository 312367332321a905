// The platform middleware's fault reporting: a backtrace and a fault record on standard error,
// or, while a program has set its own handler, the fault record handed to that handler.
#pragma once

#include <functional>
#include <string>

extern "C" {

void qarmw_print_backtrace(void);
void qarmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message);
}

namespace qarmw {

struct Fault {
  int severity;
  std::string function;
  std::string file;
  int line;
  std::string message;
};

// While a handler is set, a fault goes to it instead of standard error and no backtrace is
// printed: the program reports it. An empty handler restores the default.
void set_fault_handler(std::function<void(const Fault&)> handler);

}  // namespace qarmw
