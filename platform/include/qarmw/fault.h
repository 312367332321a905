// The platform middleware's fault reporting: a backtrace and a fault record on standard error.
#pragma once

extern "C" {

void qarmw_print_backtrace(void);
void qarmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message);
}
