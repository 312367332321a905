// The record of every SDK call the device received.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <bcmsim/state.h>

namespace bcmsim {

struct Rule;

// What a number in a call's C source stands for, where a script may write it another way: the id
// of an object, which a script keeps in a variable when the SDK chose it, a local port, which a
// script may map to another switch's, or a bitmap of local ports.
enum class Ref { Group, Entry, Stat, Policer, L3Egress, L3Intf, Port, PortBitmap };

// A call as C source, for scripts that make it again: the variables it needs, the statements that
// fill its inputs, its argument list, and the object it makes or removes when it succeeds.
// The statements and the argument list write each number a script may rewrite as its mark, "$N"
// for values[N]; a bitmap's mark is a statement of its own, standing for those that fill it.
struct CallSource {
  std::vector<std::string> variables;  // declarations, e.g. "bcm_mac_t mac_data"
  std::vector<std::string> inputs;     // statements, e.g. "mac_data[0] = 0x02;"
  std::string args;                    // e.g. "0, $0, mac_data, mac_mask"
  struct Value {
    Ref kind = Ref::Port;
    int64_t number = 0;  // an id or a port
    std::string name;    // a bitmap's variable
    Words ports{};       // a bitmap's ports
  };
  std::vector<Value> values;
  struct Made {
    Ref kind = Ref::Entry;
    int64_t id = 0;
    bool chosen = false;            // the SDK chose the id, not the caller
    std::string holder;             // the C expression holding the id after the call
    std::optional<int64_t> group;   // of a statistics object, which goes with its group
  };
  std::optional<Made> makes;
  std::optional<Value> removes;  // the object the call destroys (kind and id)
  bool initialiser = false;      // a structure initialiser: scripts write it with what it fills
};

namespace detail {
class CallArgs;
}

// A recorded call. It keeps its arguments as the call had them (outputs as the call returned
// them) and writes them out as text and as C source when they are first read.
class Call {
 public:
  Call(std::string name, int code, const Rule* refusal,
       std::shared_ptr<const detail::CallArgs> args);

  std::string function;
  int rc = 0;
  const Rule* rule = nullptr;  // why a refused call was refused (bcmsim/refusals.h)

  // The arguments as text, e.g. "0, 1048576, 0x800, 0xffff", and as C source. The first read
  // writes them out, for the call and its copies: read them on one thread at a time.
  const std::string& args() const;
  const CallSource& source() const;
  std::string text() const;  // "function(args) = rc"

 private:
  // Shared by copies of the call, which write it out once between them.
  std::shared_ptr<const detail::CallArgs> args_;
};

// Recording is off until switched on; when off a call costs one test of a flag.
void set_call_log(bool enabled);
bool call_log_enabled();
const std::vector<Call>& calls();
void clear_calls();
// The names of the recorded calls, in order, optionally only those starting with a prefix.
std::vector<std::string> call_names(const std::string& prefix = "");

}  // namespace bcmsim
