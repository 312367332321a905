#include "model.h"

#include <algorithm>

#include <bcm/field.h>
#include <bcmsim/names.h>

namespace robustness {
namespace {

using namespace FiltersCommon;

std::optional<unsigned> lag_of(const limid_t& port) {
  if (!limid_is_from_type(port, limid_type_lag)) return std::nullopt;
  return limid_number(port);
}

bool names_port(const EntrySpec& spec, int port) {
  return std::any_of(spec.ports.begin(), spec.ports.end(), [port](const limid_t& named) {
    return !lag_of(named) && static_cast<int>(limid_number(named)) == port;
  });
}

bcmsim::Words bitmap(const std::set<int>& ports) {
  bcmsim::Words words{};
  for (int port : ports) words[port / 32] |= 1u << (port % 32);
  return words;
}

// A new statistics object: every counter reads zero.
std::map<unsigned short, uint64_t> zero_counts(const EntrySpec& spec) {
  std::map<unsigned short, uint64_t> counts;
  for (const auto& [counter, type] : spec.counters) counts[counter] = 0;
  return counts;
}

}  // namespace

std::string describe(int priority, const bcmsim::EntryView& view,
                     const std::vector<bcm_field_stat_t>& stat_types) {
  std::vector<std::string> parts;
  for (const auto& q : view.qualifiers) {
    parts.push_back(bcmsim::qualifier_name(q.qualifier) + "=" + bcmsim::format_qualifier(q));
  }
  for (const auto& a : view.actions) {
    parts.push_back(bcmsim::action_name(a.action) + "(" + bcmsim::format_action(a) + ")");
  }
  std::sort(parts.begin(), parts.end());
  std::string text = "prio " + std::to_string(priority) + " |";
  for (const std::string& part : parts) text += " " + part;
  text += " | stat";
  for (bcm_field_stat_t type : stat_types) text += " " + bcmsim::stat_type_name(type);
  text += " | policers";
  for (const auto& policer : view.policers)
    text += " " + (policer ? std::to_string(*policer) : "-");
  return text;
}

void Model::create(const EntrySpec& spec, std::optional<Stopped> failed) {
  // A create first destroys the statistics object an earlier failed create of the entry left;
  // one that fails after its own statistics object was made leaves that one.
  left_counters_.erase(spec);
  if (failed) {
    if (*failed == Stopped::kAfterCounter && !spec.counters.empty())
      left_counters_[spec] = spec.counters;
    return;
  }
  interrupted_.erase(spec);
  ModelEntry entry{spec, {}, false, expand(spec, std::nullopt), zero_counts(spec)};
  for (const limid_t& port : spec.all_but_cpu ? std::vector<limid_t>{} : spec.ports)
    if (auto lag = lag_of(port)) entry.followed_lags.insert(*lag);
  entries_.emplace(Key(spec), std::move(entry));
}

void Model::update(const EntrySpec& spec, std::optional<Stopped> failed) {
  // Delete, then create; an update that fails in its create step leaves no entry, and the next
  // update of it only creates.
  entries_.erase(spec);
  create(spec, failed);
  if (failed) interrupted_.insert(spec);
}

bool Model::remove(const Key& key) {
  left_counters_.erase(key);
  interrupted_.erase(key);
  return entries_.erase(key) > 0;
}

std::set<unsigned short> Model::counters() const {
  std::set<unsigned short> ids;
  for (const auto& [key, entry] : entries_)
    for (const auto& [counter, type] : entry.spec.counters) ids.insert(counter);
  for (const auto& [key, counters] : left_counters_)
    for (const auto& [counter, type] : counters) ids.insert(counter);
  return ids;
}

std::optional<uint64_t> Model::counter_value(unsigned short counter) const {
  for (const auto& [key, entry] : entries_) {
    const auto count = entry.counts.find(counter);
    if (count != entry.counts.end()) return entry.hw.empty() ? 0 : count->second;
  }
  if (counted(counter)) return 0;
  return std::nullopt;
}

void Model::count(const Key& key, const std::function<uint64_t(counter_type_t)>& amount) {
  ModelEntry& entry = entries_.at(key);
  for (const auto& [counter, type] : entry.spec.counters) entry.counts.at(counter) += amount(type);
}

size_t Model::statistics_objects() const {
  return left_counters_.size() +
         std::count_if(entries_.begin(), entries_.end(),
                       [](const auto& entry) { return !entry.second.spec.counters.empty(); });
}

bool Model::addMember(unsigned lag, int port) {
  auto members = lags_.find(lag);
  const bool in_a_lag = std::any_of(lags_.begin(), lags_.end(),
                                    [port](const auto& other) { return other.second.count(port); });
  if (members == lags_.end() || in_a_lag) return false;
  members->second.insert(port);
  for (const Key& key : following(lag)) {
    ModelEntry& entry = entries_.at(key);
    if (entry.spec.stage == FILTERS_GROUP_STAGE_INGRESS) {
      for (ExpectedHw& hw : entry.hw) hw.in_ports.insert(port);
      continue;
    }
    // Rule: only egress port lists are narrowed to the new member; a pre-ingress entry gets its
    // whole expansion again, all of it standing for the new member.
    EntrySpec narrowed = entry.spec;
    if (entry.spec.stage == FILTERS_GROUP_STAGE_EGRESS) narrowed.ports = {limid_ethernet(port)};
    for (ExpectedHw& hw : expand(narrowed, LagMember{lag, port})) entry.hw.push_back(hw);
  }
  return true;
}

bool Model::removeMember(unsigned lag, int port) {
  auto members = lags_.find(lag);
  if (members == lags_.end() || !members->second.erase(port)) return false;
  removeMembers(lag, {port});
  return true;
}

bool Model::destroyLag(unsigned lag) {
  auto members = lags_.find(lag);
  if (members == lags_.end()) return false;
  removeMembers(lag, members->second);
  // Rule: the entries stop following the LAG, even if a LAG of that number comes back.
  for (const Key& key : following(lag)) entries_.at(key).followed_lags.erase(lag);
  lags_.erase(lag);
  return true;
}

void Model::removeMembers(unsigned lag, const std::set<int>& ports) {
  for (const Key& key : following(lag)) {
    ModelEntry& entry = entries_.at(key);
    auto& hw = entry.hw;
    auto brought = [&](const ExpectedHw& e) {
      return e.created_by && e.created_by->lag == lag && ports.count(e.created_by->port);
    };
    hw.erase(std::remove_if(hw.begin(), hw.end(), brought), hw.end());
    // Rule: a port leaves the bitmap even when another LAG of the entry still holds it.
    for (int port : ports) {
      if (names_port(entry.spec, port)) continue;
      for (ExpectedHw& e : hw) e.in_ports.erase(port);
    }
  }
}

void Model::removeDestination(unsigned destination) {
  // Rule: the hardware entries lose the L3 switch and the entry stops depending on the
  // destination; the entry itself stays.
  for (const Key& key : sending_to(destination)) entries_.at(key).l3_switch_removed = true;
}

std::vector<Key> Model::where(const std::function<bool(const ModelEntry&)>& holds) const {
  std::vector<Key> keys;
  for (const auto& [key, entry] : entries_)
    if (holds(entry)) keys.push_back(key);
  return keys;
}

std::vector<ExpectedHw> Model::expand(const EntrySpec& spec,
                                      std::optional<LagMember> created_by) const {
  const bool ingress = spec.stage == FILTERS_GROUP_STAGE_INGRESS, all_but_cpu = spec.all_but_cpu;
  if (spec.ports.empty() && !all_but_cpu) return {};  // nothing can match
  // The ingress stage qualifies on one bitmap of ports; the others get one entry per port.
  std::set<int> in_ports;
  std::vector<std::pair<std::optional<int>, std::optional<LagMember>>> ports;
  if (all_but_cpu) in_ports = facts_.front_ports;
  for (const limid_t& port : all_but_cpu ? std::vector<limid_t>{} : spec.ports) {
    if (auto lag = lag_of(port)) {
      auto members = lags_.find(*lag);
      for (int member : members == lags_.end() ? std::set<int>{} : members->second) {
        in_ports.insert(member);
        ports.push_back({member, created_by ? *created_by : LagMember{*lag, member}});
      }
    } else {
      in_ports.insert(static_cast<int>(limid_number(port)));
      ports.push_back({static_cast<int>(limid_number(port)), created_by});
    }
  }
  if (ingress) ports = {{std::nullopt, std::nullopt}};

  std::vector<std::optional<unsigned char>> pcps(spec.pcps.begin(), spec.pcps.end());
  if (pcps.empty()) pcps.push_back(std::nullopt);
  std::vector<ExpectedHw> hw;
  for (const auto& [port, by] : ports) {
    for (unsigned short vlan : spec.vlans) {
      for (const auto& pcp : pcps) {
        hw.push_back(ExpectedHw{port, vlan, pcp, ingress ? in_ports : std::set<int>{}, by});
      }
    }
  }
  return hw;
}

std::vector<std::string> Model::expected(const ModelEntry& entry) const {
  const EntrySpec& spec = entry.spec;
  bcmsim::EntryView common;  // what every hardware entry of the user entry holds
  auto act = [&](int action, uint32_t param0 = 0) {
    common.actions.push_back({action, bcmsim::ActionForm::Params, param0});
  };
  if (spec.drop) act(bcmFieldActionDrop);
  if (spec.dscp) act(bcmFieldActionDscpNew, *spec.dscp);
  if (spec.pcp) act(bcmFieldActionPrioPktNew, *spec.pcp);
  if (spec.copy_to_cpu) act(bcmFieldActionCopyToCpu);
  if (spec.destination && !entry.l3_switch_removed) {
    act(bcmFieldActionL3Switch,
        static_cast<uint32_t>(facts_.egress_of_destination.at(*spec.destination)));
  }
  if (spec.new_dst_mac) {
    common.actions.push_back(
        {bcmFieldActionDstMacNew, bcmsim::ActionForm::Mac, 0, 0, {0x0200, *spec.new_dst_mac}});
  }
  if (spec.policer) {
    common.policers = {static_cast<int>(*spec.policer), spec.parent_policer};
    if (spec.policer_drops_red) act(bcmFieldActionRpDrop);
    if (spec.policer_yellow_dscp) act(bcmFieldActionYpDscpNew, *spec.policer_yellow_dscp);
    if (spec.policer_green_pcp && spec.stage == FILTERS_GROUP_STAGE_EGRESS) {
      act(bcmFieldActionGpOuterVlanPrioNew, *spec.policer_green_pcp);
    } else if (spec.policer_green_pcp) {
      act(bcmFieldActionGpPrioPktNew, *spec.policer_green_pcp);
      act(bcmFieldActionGpPrioIntNew, *spec.policer_green_pcp);
    }
  }
  auto counters = spec.counters;
  std::sort(counters.begin(), counters.end());
  std::vector<bcm_field_stat_t> stat_types;
  static const std::map<counter_type_t, bcm_field_stat_t> kStatOf = {
      {COUNTER_TYPE_PACKETS, bcmFieldStatPackets},
      {COUNTER_TYPE_BYTES, bcmFieldStatBytes},
      {COUNTER_TYPE_RED_BYTES, bcmFieldStatRedBytes},
      {COUNTER_TYPE_NOT_RED_BYTES, bcmFieldStatNotRedBytes},
      {COUNTER_TYPE_YELLOW_BYTES, bcmFieldStatYellowBytes},
      {COUNTER_TYPE_NOT_YELLOW_BYTES, bcmFieldStatNotYellowBytes},
      {COUNTER_TYPE_GREEN_BYTES, bcmFieldStatGreenBytes},
      {COUNTER_TYPE_NOT_GREEN_BYTES, bcmFieldStatNotGreenBytes}};
  for (const auto& [counter, type] : counters) stat_types.push_back(kStatOf.at(type));
  const int priority = hardware_priority(facts_, spec);

  std::vector<std::string> texts;
  for (const ExpectedHw& hw : entry.hw) {
    bcmsim::EntryView view = common;
    auto qualify = [&view](int qualifier, bcmsim::Words data, bcmsim::Words mask) {
      view.qualifiers.push_back({qualifier, data, mask});
    };
    qualify(bcmFieldQualifyOuterVlanId, {hw.vlan}, {0xfff});
    switch (spec.stage) {
      case FILTERS_GROUP_STAGE_PRE_INGRESS:
        if (hw.port) qualify(bcmFieldQualifyInPort, {static_cast<uint32_t>(*hw.port)}, {0xffff});
        if (hw.pcp) qualify(bcmFieldQualifyOuterVlanPri, {*hw.pcp}, {0x7});
        qualify(bcmFieldQualifySrcMac, {0x0200, spec.id}, {0xffff, 0xffffffff});
        break;
      case FILTERS_GROUP_STAGE_INGRESS:
        qualify(bcmFieldQualifyInPorts, bitmap(hw.in_ports), bitmap(facts_.all_ports));
        qualify(bcmFieldQualifySrcIp, {spec.src_ip}, {spec.src_ip_mask});
        qualify(bcmFieldQualifyEtherType, {0x0800}, {0xffff});
        break;
      default:
        if (hw.port) qualify(bcmFieldQualifyOutPort, {static_cast<uint32_t>(*hw.port)}, {0xff});
        if (hw.pcp) qualify(bcmFieldQualifyIntPriority, {*hw.pcp}, {0x7});
    }
    texts.push_back(describe(priority, view, stat_types));
  }
  return texts;
}

}  // namespace robustness
