// The record of every SDK call the device received.
#pragma once

#include <string>
#include <vector>

namespace bcmsim {

struct Call {
  std::string function;
  std::string args;  // the arguments as text, e.g. "0, 1048576, 0x800, 0xffff"
  int rc = 0;

  std::string text() const;  // "function(args) = rc"
};

// Recording is off until switched on; when off a call costs one test of a flag.
void set_call_log(bool enabled);
bool call_log_enabled();
const std::vector<Call>& calls();
void clear_calls();
// The names of the recorded calls, in order, optionally only those starting with a prefix.
std::vector<std::string> call_names(const std::string& prefix = "");

}  // namespace bcmsim
