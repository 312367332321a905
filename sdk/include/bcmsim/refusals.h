// Why the device refused a call. Every refusal names one rule: what it says in words and the SDK
// function that decides it, so that a user can look the answer up in the SDK. Rules whose answer
// comes from the chip's profile (its tables or its geometry) are marked: chips differ on them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bcmsim {

struct Rule {
  std::string_view id;     // short and stable: "group-mode"
  std::string_view words;  // "the stage does not take a group of this mode"
  // The SDK function that decides it, with its file under src/bcm/esw/; empty for the argument
  // checks of the call's own API function (see decided_in()).
  std::string_view function;
  bool chip = false;  // the answer is read from the chip's profile

  // Where the rule is decided, for a refusal of `call`: the function, or "the argument checks of
  // bcm_esw_<call>".
  std::string decided_in(std::string_view call) const;
};

// A refused call: its function, the code it returned and the rule behind it.
struct Refusal {
  std::string function;
  int rc = 0;
  const Rule* rule = nullptr;
};

// The refusals since the last reset or clear, kept whether or not the call log is on.
const std::vector<Refusal>& refusals();
void clear_refusals();

// The rule of a planned fault (bcmsim/fault_plan.h), and of a call on a unit that does not exist.
const Rule& planned_fault_rule();
const Rule& unit_rule();

// Every rule the device can refuse by, in a fixed order.
const std::vector<const Rule*>& all_rules();

}  // namespace bcmsim
