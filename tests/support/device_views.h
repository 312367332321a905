// Reading what the device holds in a form tests compare easily.
#pragma once

#include <string>
#include <vector>

#include <bcmsim/device.h>
#include <bcmsim/names.h>

namespace test_support {

// The staged qualifiers of an entry as "Name=value", in the order written.
inline std::vector<std::string> qualifiers_of(int eid, bool installed = false) {
  std::vector<std::string> written;
  const bcmsim::Entry* entry = bcmsim::state().entry(eid);
  if (!entry) return {"no entry"};
  const bcmsim::EntryView* view =
      installed ? (entry->installed ? &*entry->installed : nullptr) : &entry->staged;
  if (!view) return {"not installed"};
  for (const auto& q : view->qualifiers) {
    written.push_back(bcmsim::qualifier_name(q.qualifier) + "=" + bcmsim::format_qualifier(q));
  }
  return written;
}

// The staged actions of an entry as "Name(value)", in the order added.
inline std::vector<std::string> actions_of(int eid, bool installed = false) {
  std::vector<std::string> added;
  const bcmsim::Entry* entry = bcmsim::state().entry(eid);
  if (!entry) return {"no entry"};
  const bcmsim::EntryView* view =
      installed ? (entry->installed ? &*entry->installed : nullptr) : &entry->staged;
  if (!view) return {"not installed"};
  for (const auto& a : view->actions) {
    added.push_back(bcmsim::action_name(a.action) + "(" + bcmsim::format_action(a) + ")");
  }
  return added;
}

}  // namespace test_support
