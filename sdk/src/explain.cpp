#include <bcmsim/explain.h>

#include <algorithm>

#include <bcmsim/names.h>

#include "device_impl.h"
#include "packet_match.h"

namespace bcmsim {
namespace {

using detail::packet_field;
using detail::qualifier_matches;

// The packet's side of a failed qualifier, under the entry's mask.
std::string packetValue(const Packet& packet, const QualifierValue& q) {
  if (q.qualifier == bcmFieldQualifyInPorts) return "in port " + std::to_string(packet.in_port);
  Words field{};
  if (!packet_field(packet, q.qualifier, &field)) return "none";
  QualifierValue seen = q;
  seen.data = field;
  return format_qualifier(seen);
}

NearMiss nearMiss(const Packet& packet, const Entry& entry) {
  const std::vector<QualifierValue>& qualifiers = entry.installed->qualifiers;
  NearMiss miss{entry.id, entry.priority, 0, static_cast<int>(qualifiers.size()), "", "", ""};
  for (const QualifierValue& q : qualifiers) {
    if (qualifier_matches(packet, q)) {
      ++miss.matched;
    } else if (miss.qualifier.empty()) {
      miss.qualifier = qualifier_name(q.qualifier);
      miss.packet_value = packetValue(packet, q);
      miss.entry_value = format_qualifier(q);
    }
  }
  return miss;
}

GroupExplanation explainGroup(const Group& group, const State& state, const Packet& packet,
                              size_t closest) {
  GroupExplanation out{group.stage, group.id, group.priority, std::nullopt, 0, {}, {}};
  std::vector<NearMiss> misses;
  for (const Group::Slot& slot : group.slots) {
    if (slot.free()) continue;
    ++out.installed;
    const NearMiss miss = nearMiss(packet, *state.entry(slot.entry));
    if (miss.matched == miss.total) {
      out.hit = miss.entry;
      return out;
    }
    misses.push_back(miss);
  }
  // Slot order breaks ties: the entry of higher priority first.
  std::stable_sort(misses.begin(), misses.end(),
                   [](const NearMiss& a, const NearMiss& b) { return a.matched > b.matched; });
  misses.resize(std::min(misses.size(), closest));
  out.closest = std::move(misses);
  return out;
}

// Each action of a hit that a hit of a group of higher priority in the same stage also sets.
void noteOverrides(std::vector<GroupExplanation>& stage_groups, const State& state) {
  for (size_t low = 0; low < stage_groups.size(); ++low) {
    if (!stage_groups[low].hit) continue;
    const Entry& lower = *state.entry(*stage_groups[low].hit);
    for (size_t high = 0; high < low; ++high) {
      if (!stage_groups[high].hit) continue;
      const Entry& higher = *state.entry(*stage_groups[high].hit);
      for (const ActionValue& action : lower.installed->actions) {
        const bool also = std::any_of(
            higher.installed->actions.begin(), higher.installed->actions.end(),
            [&](const ActionValue& other) { return other.action == action.action; });
        if (also) {
          stage_groups[low].overridden.push_back(action_name(action.action) + ": group " +
                                                 std::to_string(stage_groups[high].group) +
                                                 " wins");
        }
      }
    }
  }
}

}  // namespace

std::vector<GroupExplanation> explain(const Packet& packet, size_t closest) {
  const State& state = detail::device().state;
  std::vector<GroupExplanation> all;
  for (Stage stage : {Stage::PreIngress, Stage::Ingress, Stage::Egress}) {
    std::vector<const Group*> groups;
    for (const auto& [id, group] : state.groups) {
      if (group.stage == stage) groups.push_back(&group);
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group* a, const Group* b) { return a->priority > b->priority; });
    std::vector<GroupExplanation> stage_groups;
    for (const Group* group : groups) {
      stage_groups.push_back(explainGroup(*group, state, packet, closest));
    }
    noteOverrides(stage_groups, state);
    all.insert(all.end(), stage_groups.begin(), stage_groups.end());
  }
  return all;
}

}  // namespace bcmsim
