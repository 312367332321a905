// One function of a cint script: its declarations, then its statements, each SDK call followed
// by the check of its result.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <bcmsim/call_log.h>
#include <bcmsim/classify.h>

#include "cint_objects.h"
#include "cint_ports.h"

namespace filtersim {

class ScriptFunction {
 public:
  // `where` names the function in the printed results ("step 3"); its calls' objects are kept in
  // `objects` and their ports written through `ports`.
  ScriptFunction(std::string where, ScriptObjects& objects, const PortMap& ports);

  void call(const bcmsim::Call& call);
  // A packet the C harness classifies; cint reads it as a comment (see the script's prelude).
  void packet(const bcmsim::Packet& packet);

  bool empty() const { return statements_.empty(); }
  // The file-scope variables of the objects it makes, then the function.
  void write(std::ostream& out, const std::string& name, const std::string& title) const;

 private:
  std::string expand(const std::string& text, const bcmsim::CallSource& source);
  void fillBitmap(const bcmsim::CallSource::Value& bitmap);
  void addVariable(const std::string& declaration);

  std::string where_;
  ScriptObjects& objects_;
  const PortMap& ports_;
  std::vector<std::string> globals_;
  std::vector<std::string> variables_;
  std::vector<std::string> statements_;
  bool has_calls_ = false;
  bool read_port_config_ = false;
};

}  // namespace filtersim
