// The objects a cint script makes (groups, entries, statistics objects, policers, L3 egress
// objects and interfaces), each kept in a variable of the script from its creation: later calls
// name an id the SDK chose by its variable, never by the number bcmsim gave, and the teardown
// removes only what the script made.
#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <bcmsim/call_log.h>

namespace filtersim {

class ScriptObjects {
 public:
  // An object's id as a later call writes it: the variable of the live object with that id when
  // the SDK chose it, else the number.
  std::string reference(bcmsim::Ref kind, int64_t id);
  // The statements that follow a call (a new object's variable takes its id when the call
  // succeeds; a destroyed object's variable goes back to -1), and in `globals` the declarations
  // of the new variables. A call that failed in the scenario made and removed nothing.
  std::vector<std::string> after(const bcmsim::Call& call, std::vector<std::string>& globals);
  // filtersim_teardown(unit): what the script made and did not remove, entries first, then
  // statistics objects, policers, groups, L3 egress objects and interfaces, newest first.
  void writeTeardown(std::ostream& out) const;

 private:
  struct Object {
    bcmsim::Ref kind;
    int64_t id;
    bool chosen;
    std::optional<int64_t> group;
    std::string variable;
    bool alive = true;
  };
  Object* live(bcmsim::Ref kind, int64_t id);  // the newest with that id
  std::vector<std::string> removal(const bcmsim::Call& call);

  std::vector<Object> objects_;
  std::map<bcmsim::Ref, int> made_;  // by kind, for the variables' numbers
};

}  // namespace filtersim
