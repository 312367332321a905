#include <bcmsim/state.h>

#include <algorithm>
#include <cstring>

namespace bcmsim {
namespace {

bool same_action(const ActionValue& a, const ActionValue& b) {
  return a.action == b.action && a.form == b.form && a.param0 == b.param0 && a.param1 == b.param1 &&
         a.words == b.words;
}

template <class Set>
std::vector<int> set_members(const Set& set, int count) {
  std::vector<int> members;
  for (int n = 0; n < count; ++n) {
    if (SHR_BITGET(set.w, n)) members.push_back(n);
  }
  return members;
}

}  // namespace

const QualifierValue* EntryView::qualifier(int number) const {
  for (const QualifierValue& q : qualifiers) {
    if (q.qualifier == number) return &q;
  }
  return nullptr;
}

const ActionValue* EntryView::action(int number) const {
  for (const ActionValue& a : actions) {
    if (a.action == number) return &a;
  }
  return nullptr;
}

bool EntryView::operator==(const EntryView& other) const {
  auto same_qualifier = [](const QualifierValue& a, const QualifierValue& b) {
    return a.qualifier == b.qualifier && a.data == b.data && a.mask == b.mask;
  };
  return std::equal(qualifiers.begin(), qualifiers.end(), other.qualifiers.begin(),
                    other.qualifiers.end(), same_qualifier) &&
         std::equal(actions.begin(), actions.end(), other.actions.begin(), other.actions.end(),
                    same_action) &&
         stat == other.stat && policers == other.policers;
}

bool Entry::has_policer() const {
  return installed && std::any_of(installed->policers.begin(), installed->policers.end(),
                                  [](const std::optional<int>& policer) { return policer; });
}

bool Group::has_qualifier(int qualifier) const {
  return qualifier >= 0 && qualifier < BCM_FIELD_QUALIFY_MAX && SHR_BITGET(qset.w, qualifier);
}

bool Group::allows_action(int action) const {
  if (action < 0 || action >= bcmFieldActionCount) return false;
  return SHR_BITGET(aset.w, action);
}

std::vector<int> Group::qualifiers() const {
  return set_members(qset, bcmFieldQualifyCount);
}
std::vector<int> Group::actions() const {
  return set_members(aset, bcmFieldActionCount);
}

std::optional<uint64_t> Stat::value(bcm_field_stat_t type) const {
  for (size_t i = 0; i < types.size(); ++i) {
    if (types[i] == type) return values[i];
  }
  return std::nullopt;
}

const Entry* State::entry(int id) const {
  auto it = entries.find(id);
  return it == entries.end() ? nullptr : &it->second;
}

const Group* State::group(int id) const {
  auto it = groups.find(id);
  return it == groups.end() ? nullptr : &it->second;
}

const Stat* State::stat(int id) const {
  auto it = stats.find(id);
  return it == stats.end() ? nullptr : &it->second;
}

std::vector<int> State::entry_ids() const {
  std::vector<int> ids;
  ids.reserve(entries.size());
  for (const auto& [id, entry] : entries) ids.push_back(id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace bcmsim
