#include "model.h"

#include <algorithm>

#include <bcm/field.h>

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

void removeCreatedBy(ModelEntry& entry, unsigned lag, std::optional<int> port) {
  auto& hw = entry.hw;
  hw.erase(std::remove_if(hw.begin(), hw.end(),
                          [&](const ExpectedHw& e) {
                            return e.created_by && e.created_by->lag == lag &&
                                   (!port || e.created_by->port == *port);
                          }),
           hw.end());
}

}  // namespace

Key key_of(const EntrySpec& spec) {
  return Key{spec.stage, spec.id};
}

Model::Model(DeviceFacts facts, std::map<unsigned, std::set<int>> lags)
    : facts_(std::move(facts)), lags_(std::move(lags)) {}

bool Model::create(const EntrySpec& spec) {
  if (entries_.count(key_of(spec))) return false;
  ModelEntry entry{spec, {}, false, expand(spec, std::nullopt)};
  if (spec.stage != FILTERS_GROUP_STAGE_INGRESS || !spec.all_but_cpu) {
    for (const limid_t& port : spec.ports) {
      if (auto lag = lag_of(port)) entry.followed_lags.insert(*lag);
    }
  }
  entries_.emplace(key_of(spec), std::move(entry));
  return true;
}

bool Model::update(const EntrySpec& spec) {
  return remove(key_of(spec)) && create(spec);
}

bool Model::remove(const Key& key) {
  return entries_.erase(key) > 0;
}

bool Model::createLag(unsigned lag) {
  return lags_.emplace(lag, std::set<int>{}).second;
}

bool Model::addMember(unsigned lag, int port) {
  auto members = lags_.find(lag);
  const bool in_a_lag = std::any_of(lags_.begin(), lags_.end(),
                                    [port](const auto& other) { return other.second.count(port); });
  if (members == lags_.end() || in_a_lag) return false;
  members->second.insert(port);
  for (const Key& key : following(lag)) {
    ModelEntry& entry = entries_.at(key);
    const LagMember created_by{lag, port};
    switch (entry.spec.stage) {
      case FILTERS_GROUP_STAGE_INGRESS:
        for (ExpectedHw& hw : entry.hw) hw.in_ports.insert(port);
        break;
      case FILTERS_GROUP_STAGE_EGRESS: {
        EntrySpec narrowed = entry.spec;
        narrowed.ports = {limid_ethernet(static_cast<unsigned>(port))};
        for (ExpectedHw& hw : expand(narrowed, created_by)) entry.hw.push_back(hw);
        break;
      }
      default:
        // Rule: only egress port lists are narrowed to the new member; a pre-ingress entry gets
        // its whole expansion again, all of it standing for the new member.
        for (ExpectedHw& hw : expand(entry.spec, created_by)) entry.hw.push_back(hw);
    }
  }
  return true;
}

bool Model::removeMember(unsigned lag, int port) {
  auto members = lags_.find(lag);
  if (members == lags_.end() || !members->second.erase(port)) return false;
  for (const Key& key : following(lag)) {
    ModelEntry& entry = entries_.at(key);
    if (entry.spec.stage != FILTERS_GROUP_STAGE_INGRESS) {
      removeCreatedBy(entry, lag, port);
    } else if (!names_port(entry.spec, port)) {
      // Rule: the port leaves the bitmap even when another LAG of the entry still holds it.
      for (ExpectedHw& hw : entry.hw) hw.in_ports.erase(port);
    }
  }
  return true;
}

bool Model::destroyLag(unsigned lag) {
  auto members = lags_.find(lag);
  if (members == lags_.end()) return false;
  for (const Key& key : following(lag)) {
    ModelEntry& entry = entries_.at(key);
    if (entry.spec.stage != FILTERS_GROUP_STAGE_INGRESS) {
      removeCreatedBy(entry, lag, std::nullopt);
    } else {
      for (int port : members->second) {
        if (names_port(entry.spec, port)) continue;
        for (ExpectedHw& hw : entry.hw) hw.in_ports.erase(port);
      }
    }
    // Rule: the entries stop following the LAG, even if a LAG of that number comes back.
    entry.followed_lags.erase(lag);
  }
  lags_.erase(members);
  return true;
}

void Model::removeDestination(unsigned destination) {
  // Rule: the hardware entries lose the L3 switch and the entry stops depending on the
  // destination; the entry itself stays.
  for (const Key& key : sending_to(destination)) entries_.at(key).l3_switch_removed = true;
}

std::vector<Key> Model::following(unsigned lag) const {
  std::vector<Key> keys;
  for (const auto& [key, entry] : entries_) {
    if (entry.followed_lags.count(lag)) keys.push_back(key);
  }
  return keys;
}

std::vector<Key> Model::sending_to(unsigned destination) const {
  std::vector<Key> keys;
  for (const auto& [key, entry] : entries_) {
    if (entry.spec.destination == destination && !entry.l3_switch_removed) keys.push_back(key);
  }
  return keys;
}

std::vector<ExpectedHw> Model::expand(const EntrySpec& spec,
                                      std::optional<LagMember> created_by) const {
  const bool ingress = spec.stage == FILTERS_GROUP_STAGE_INGRESS;
  if (spec.ports.empty() && !(ingress && spec.all_but_cpu)) return {};  // nothing can match
  // The ingress stage qualifies on one bitmap of ports; the others get one entry per port.
  std::set<int> in_ports;
  std::vector<std::pair<std::optional<int>, std::optional<LagMember>>> ports;
  if (ingress && spec.all_but_cpu) {
    in_ports = facts_.front_ports;
  } else {
    for (const limid_t& port : spec.ports) {
      if (auto lag = lag_of(port)) {
        for (int member : members(*lag)) {
          in_ports.insert(member);
          ports.push_back({member, created_by ? *created_by : LagMember{*lag, member}});
        }
      } else {
        in_ports.insert(static_cast<int>(limid_number(port)));
        ports.push_back({static_cast<int>(limid_number(port)), created_by});
      }
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

const std::set<int>& Model::members(unsigned lag) const {
  static const std::set<int> kNoMembers;
  auto found = lags_.find(lag);
  return found == lags_.end() ? kNoMembers : found->second;
}

std::vector<EntryContent> Model::expected(const Key& key) const {
  std::vector<EntryContent> contents;
  const ModelEntry& entry = entries_.at(key);
  for (const ExpectedHw& hw : entry.hw) contents.push_back(content(entry, hw));
  return contents;
}

EntryContent Model::content(const ModelEntry& entry, const ExpectedHw& hw) const {
  const EntrySpec& spec = entry.spec;
  const bool egress = spec.stage == FILTERS_GROUP_STAGE_EGRESS;
  EntryContent c;
  c.priority = facts_.entries_per_group[spec.stage - 1] - 1 - spec.priority;
  c.qualify(bcmFieldQualifyOuterVlanId, hw.vlan, 0xfff);
  switch (spec.stage) {
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      if (hw.port) c.qualify(bcmFieldQualifyInPort, static_cast<uint32_t>(*hw.port), 0xffff);
      if (hw.pcp) c.qualify(bcmFieldQualifyOuterVlanPri, *hw.pcp, 0x7);
      c.qualify(bcmFieldQualifySrcMac, bcmsim::Words{0x0200, spec.id},
                bcmsim::Words{0xffff, 0xffffffff});
      break;
    case FILTERS_GROUP_STAGE_INGRESS:
      c.qualify(bcmFieldQualifyInPorts, bitmap(hw.in_ports), bitmap(facts_.all_ports));
      c.qualify(bcmFieldQualifySrcIp, spec.src_ip, spec.src_ip_mask);
      c.qualify(bcmFieldQualifyEtherType, 0x0800, 0xffff);
      break;
    default:
      if (hw.port) c.qualify(bcmFieldQualifyOutPort, static_cast<uint32_t>(*hw.port), 0xff);
      if (hw.pcp) c.qualify(bcmFieldQualifyIntPriority, *hw.pcp, 0x7);
  }
  if (spec.drop) c.act(bcmFieldActionDrop);
  if (spec.dscp) c.act(bcmFieldActionDscpNew, *spec.dscp);
  if (spec.pcp) c.act(bcmFieldActionPrioPktNew, *spec.pcp);
  if (spec.copy_to_cpu) c.act(bcmFieldActionCopyToCpu);
  if (spec.destination && !entry.l3_switch_removed) {
    c.act(bcmFieldActionL3Switch,
          static_cast<uint32_t>(facts_.egress_of_destination.at(*spec.destination)));
  }
  if (spec.new_dst_mac) c.act(bcmFieldActionDstMacNew, bcmsim::Words{0x0200, *spec.new_dst_mac});
  if (spec.policer) {
    c.policers[0] = static_cast<int>(*spec.policer);
    if (spec.parent_policer) c.policers[1] = static_cast<int>(*spec.parent_policer);
    if (spec.policer_drops_red) c.act(bcmFieldActionRpDrop);
    if (spec.policer_yellow_dscp) c.act(bcmFieldActionYpDscpNew, *spec.policer_yellow_dscp);
    if (spec.policer_green_pcp && egress) {
      c.act(bcmFieldActionGpOuterVlanPrioNew, *spec.policer_green_pcp);
    } else if (spec.policer_green_pcp) {
      c.act(bcmFieldActionGpPrioPktNew, *spec.policer_green_pcp);
      c.act(bcmFieldActionGpPrioIntNew, *spec.policer_green_pcp);
    }
  }
  auto counters = spec.counters;
  std::sort(counters.begin(), counters.end());
  for (const auto& counter : counters) {
    c.stat_types.push_back(counter.second == COUNTER_TYPE_PACKETS ? bcmFieldStatPackets
                                                                  : bcmFieldStatBytes);
  }
  return c;
}

}  // namespace robustness
