#include "entry_content.h"

#include <algorithm>

#include <bcmsim/device.h>
#include <bcmsim/names.h>

namespace robustness {
namespace {

std::string joined(std::vector<std::string> parts) {
  std::sort(parts.begin(), parts.end());
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
  return text;
}

}  // namespace

void EntryContent::qualify(int qualifier, uint32_t data, uint32_t mask) {
  qualify(qualifier, bcmsim::Words{data}, bcmsim::Words{mask});
}

void EntryContent::qualify(int qualifier, const bcmsim::Words& data, const bcmsim::Words& mask) {
  qualifiers.push_back(bcmsim::QualifierValue{qualifier, data, mask});
}

void EntryContent::act(int action, uint32_t param0) {
  bcmsim::ActionValue value;
  value.action = action;
  value.param0 = param0;
  actions.push_back(value);
}

void EntryContent::act(int action, const bcmsim::Words& mac) {
  bcmsim::ActionValue value;
  value.action = action;
  value.form = bcmsim::ActionForm::Mac;
  value.words = mac;
  actions.push_back(value);
}

std::string EntryContent::text() const {
  std::vector<std::string> written, added;
  for (const auto& q : qualifiers) {
    written.push_back(bcmsim::qualifier_name(q.qualifier) + "=" + bcmsim::format_qualifier(q));
  }
  for (const auto& a : actions) {
    added.push_back(bcmsim::action_name(a.action) + "(" + bcmsim::format_action(a) + ")");
  }
  std::string text = "prio " + std::to_string(priority) + " | " + joined(written) + " | " +
                     joined(added) + " | stat";
  for (int type : stat_types) text += " " + bcmsim::stat_type_name(type);
  text += " | policers";
  for (const auto& policer : policers) text += " " + (policer ? std::to_string(*policer) : "-");
  return text;
}

EntryContent installed_content(const bcmsim::Entry& entry) {
  EntryContent content;
  content.priority = entry.priority;
  if (!entry.installed) return content;
  const bcmsim::EntryView& view = *entry.installed;
  content.qualifiers = view.qualifiers;
  content.actions = view.actions;
  if (view.stat) {
    if (const bcmsim::Stat* stat = bcmsim::state().stat(*view.stat)) {
      content.stat_types.assign(stat->types.begin(), stat->types.end());
    }
  }
  content.policers = view.policers;
  return content;
}

}  // namespace robustness
