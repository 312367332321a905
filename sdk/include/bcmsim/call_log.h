// The record of every SDK call the device received.
#pragma once

#include <string>
#include <vector>

namespace bcmsim {

struct Rule;

// A call as C source, for scripts that make it again: the variables it needs, the statements that
// fill its inputs, its argument list, and the values it gave back through output arguments that
// later calls use (an entry, statistics, policer or egress id).
struct CallSource {
  std::vector<std::string> variables;  // declarations, e.g. "bcm_mac_t mac_data"
  std::vector<std::string> inputs;     // statements, e.g. "mac_data[0] = 0x02;"
  std::string args;                    // e.g. "0, 2048, mac_data, mac_mask"
  struct Output {
    std::string variable;
    std::string value;  // what the device returned through it
  };
  std::vector<Output> outputs;
  bool initialiser = false;  // a structure initialiser: scripts write it with what it fills
};

struct Call {
  std::string function;
  std::string args;  // the arguments as text, e.g. "0, 1048576, 0x800, 0xffff"
  int rc = 0;
  CallSource source;
  const Rule* rule = nullptr;  // why a refused call was refused (bcmsim/refusals.h)

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
