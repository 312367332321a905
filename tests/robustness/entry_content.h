// What one hardware entry holds, as one comparable line: the model writes it from a user entry,
// the device check reads it from bcmsim.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <bcmsim/state.h>

namespace robustness {

struct EntryContent {
  int priority = 0;
  std::vector<bcmsim::QualifierValue> qualifiers;
  std::vector<bcmsim::ActionValue> actions;
  std::vector<int> stat_types;  // of the attached statistics object, in its order
  std::array<std::optional<int>, bcmsim::kPolicerLevels> policers{};

  void qualify(int qualifier, uint32_t data, uint32_t mask);  // a scalar in word 0
  void qualify(int qualifier, const bcmsim::Words& data, const bcmsim::Words& mask);
  void act(int action, uint32_t param0 = 0);
  void act(int action, const bcmsim::Words& mac);  // an action taking a MAC address
  // Qualifiers and actions sorted, so that the order of writing does not matter.
  std::string text() const;
};

// The installed view of a device entry with its statistics and policers.
EntryContent installed_content(const bcmsim::Entry& entry);

}  // namespace robustness
