// Builds the C source of a call's arguments, for the call log.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <bcmsim/call_log.h>
#include <bcmsim/state.h>

namespace bcmsim::detail {

// What a call's argument renderer gives the call log: the text people read, and the C source
// when the text is not already the argument list of a C call.
struct LoggedArgs {
  std::string text;
  CallSource source;
};

// Names of SDK enumerators as C writes them, e.g. "bcmFieldActionDrop"; a number when unnamed.
std::string c_action(int action);
std::string c_qualifier(int qualifier);
std::string c_stat_type(int type);
std::string c_port_control(int type);
std::string c_switch_control(int type);

// Appends the arguments of one call, in order.
class CSourceBuilder {
 public:
  CSourceBuilder& literal(const std::string& value);
  CSourceBuilder& number(int64_t value) { return literal(std::to_string(value)); }
  CSourceBuilder& hex(uint32_t value);
  // A number a script may rewrite (an object's id, a port), as an argument or, by its mark, in a
  // statement of this call.
  CSourceBuilder& ref(Ref kind, int64_t value) { return literal(mark(kind, value)); }
  std::string mark(Ref kind, int64_t value);
  CSourceBuilder& mac(const std::string& name, const Words& mac);
  // A 64-bit value, set by halves: a diag shell's cint takes no integer where a uint64 belongs.
  CSourceBuilder& uint64(const std::string& name, uint64_t value);
  CSourceBuilder& ip6(const std::string& name, const Words& ip6);
  CSourceBuilder& pbmp(const std::string& name, const Words& ports);
  // A structure passed by address: declared, initialised, then the given fields set.
  using Fields = std::vector<std::pair<std::string, std::string>>;
  CSourceBuilder& structure(const std::string& type, const std::string& name, const Fields& fields,
                            bool initialise = true);
  // Statements that fill a variable already declared by this call, e.g. a structure's sets.
  CSourceBuilder& fill(std::vector<std::string> statements);
  // An output argument: declared and passed by address.
  CSourceBuilder& output(const std::string& type, const std::string& name);
  // An array of the given values, named `name` and its length.
  CSourceBuilder& array(const std::string& type, const std::string& name,
                        const std::vector<std::string>& values);
  // The object the call makes, its id held by `holder` after the call; the one it destroys.
  CSourceBuilder& makes(Ref kind, int64_t id, bool chosen, const std::string& holder,
                        std::optional<int64_t> group = std::nullopt);
  CSourceBuilder& removes(Ref kind, int64_t id);
  CallSource build() { return std::move(source_); }

 private:
  void argument(const std::string& expression);
  void declare(const std::string& type, const std::string& name);
  std::string remember(CallSource::Value value);  // its mark
  CallSource source_;
};

// Statements filling `name`'s six bytes.
std::vector<std::string> c_mac_bytes(const std::string& name, const Words& mac);

}  // namespace bcmsim::detail
