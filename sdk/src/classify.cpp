// Classification of a test packet against the installed entries, stage by stage.
#include <bcmsim/classify.h>

#include <algorithm>

#include <bcm/field.h>
#include <bcm/l3.h>

#include "device_impl.h"
#include "entry_metering.h"
#include "packet_match.h"

namespace bcmsim {
namespace detail {
namespace {

Mac mac_of(const Words& w) {
  return Mac{static_cast<uint8_t>(w[0] >> 8),  static_cast<uint8_t>(w[0]),
             static_cast<uint8_t>(w[1] >> 24), static_cast<uint8_t>(w[1] >> 16),
             static_cast<uint8_t>(w[1] >> 8),  static_cast<uint8_t>(w[1])};
}

Mac mac_of(const uint8* mac) {
  return Mac{mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]};
}

// The colour a per-colour action applies to; nullopt for an action that applies to every packet.
std::optional<Color> colour_of(int action) {
  switch (action) {
    case bcmFieldActionRpDrop:
    case bcmFieldActionRpDscpNew:
    case bcmFieldActionRpOuterVlanPrioNew:
    case bcmFieldActionRpPrioPktNew:
    case bcmFieldActionRpPrioIntNew:
      return Color::Red;
    case bcmFieldActionYpDrop:
    case bcmFieldActionYpDscpNew:
    case bcmFieldActionYpOuterVlanPrioNew:
    case bcmFieldActionYpPrioPktNew:
    case bcmFieldActionYpPrioIntNew:
      return Color::Yellow;
    case bcmFieldActionGpDrop:
    case bcmFieldActionGpDscpNew:
    case bcmFieldActionGpOuterVlanPrioNew:
    case bcmFieldActionGpPrioPktNew:
    case bcmFieldActionGpPrioIntNew:
      return Color::Green;
    default:
      return std::nullopt;
  }
}

void switch_to_egress(const State& state, int egress_id, Verdict& verdict) {
  verdict.l3_egress = egress_id;
  auto egress = state.l3_egresses.find(egress_id);
  if (egress != state.l3_egresses.end() && (egress->second.egress.flags & BCM_L3_DST_DISCARD)) {
    verdict.drop = true;
  }
}

void change_l2_fields(const State& state, int egress_id, Verdict& verdict) {
  auto egress = state.l3_egresses.find(egress_id);
  if (egress == state.l3_egresses.end()) return;
  verdict.dst_mac = mac_of(egress->second.egress.mac_addr);
  auto intf = state.l3_intfs.find(egress->second.egress.intf);
  if (intf == state.l3_intfs.end()) return;
  verdict.src_mac = mac_of(intf->second.l3a_mac_addr);
  verdict.vlan = intf->second.l3a_vid;
}

// `colour` is the packet's colour for this entry: as metered, or as it came.
void apply(const State& state, const Entry& entry, const ActionValue& action, const Packet& packet,
           Color colour, Verdict& verdict) {
  if (auto action_colour = colour_of(action.action)) {
    if (!entry.has_policer() || *action_colour != colour) return;
  }
  const int p0 = static_cast<int>(action.param0);
  switch (action.action) {
    case bcmFieldActionCosQNew:
      verdict.cos_queue = p0;
      break;
    case bcmFieldActionCosQCpuNew:
      verdict.cpu_cos_queue = p0;
      break;
    case bcmFieldActionPrioPktAndIntNew:
      verdict.pcp = p0;
      verdict.internal_priority = p0;
      break;
    case bcmFieldActionPrioPktNew:
    case bcmFieldActionRpPrioPktNew:
    case bcmFieldActionYpPrioPktNew:
    case bcmFieldActionGpPrioPktNew:
    case bcmFieldActionRpOuterVlanPrioNew:
    case bcmFieldActionYpOuterVlanPrioNew:
    case bcmFieldActionGpOuterVlanPrioNew:
      verdict.pcp = p0;
      break;
    case bcmFieldActionRpPrioIntNew:
    case bcmFieldActionYpPrioIntNew:
    case bcmFieldActionGpPrioIntNew:
      verdict.internal_priority = p0;
      break;
    case bcmFieldActionDscpNew:
    case bcmFieldActionRpDscpNew:
    case bcmFieldActionYpDscpNew:
    case bcmFieldActionGpDscpNew:
      verdict.dscp = p0;
      break;
    case bcmFieldActionCopyToCpu:
      verdict.copy_to_cpu = true;
      break;
    case bcmFieldActionCopyToCpuCancel:
    case bcmFieldActionSwitchToCpuCancel:
      verdict.copy_to_cpu = false;
      break;
    case bcmFieldActionRedirect:
      verdict.redirect_ports.push_back(static_cast<int>(action.param1));
      break;
    case bcmFieldActionRedirectCancel:
      verdict.redirect_ports.clear();
      break;
    case bcmFieldActionEgressMask:
      for (size_t w = 0; w < action.words.size(); ++w) verdict.blocked_ports[w] |= action.words[w];
      break;
    case bcmFieldActionDrop:
    case bcmFieldActionRpDrop:
    case bcmFieldActionYpDrop:
    case bcmFieldActionGpDrop:
      verdict.drop = true;
      break;
    case bcmFieldActionDropCancel:
      verdict.drop = false;
      break;
    case bcmFieldActionL3Switch:
      switch_to_egress(state, p0, verdict);
      break;
    case bcmFieldActionInnerVlanPrioNew:
      verdict.inner_pcp = p0;
      break;
    case bcmFieldActionIncomingMplsPortSet:
      verdict.mpls_port = p0;
      break;
    case bcmFieldActionSrcMacNew:
      verdict.src_mac = mac_of(action.words);
      break;
    case bcmFieldActionDstMacNew:
      verdict.dst_mac = mac_of(action.words);
      break;
    case bcmFieldActionOuterVlanPrioCopyInner:
      verdict.pcp = packet.inner_pcp;
      break;
    case bcmFieldActionChangeL2Fields:
      change_l2_fields(state, p0, verdict);
      break;
    default:
      break;
  }
}

bool counts(bcm_field_stat_t type, Color color) {
  switch (type) {
    case bcmFieldStatGreenBytes:
    case bcmFieldStatGreenPackets:
      return color == Color::Green;
    case bcmFieldStatYellowBytes:
    case bcmFieldStatYellowPackets:
      return color == Color::Yellow;
    case bcmFieldStatRedBytes:
    case bcmFieldStatRedPackets:
      return color == Color::Red;
    case bcmFieldStatNotGreenBytes:
    case bcmFieldStatNotGreenPackets:
      return color != Color::Green;
    case bcmFieldStatNotYellowBytes:
    case bcmFieldStatNotYellowPackets:
      return color != Color::Yellow;
    case bcmFieldStatNotRedBytes:
    case bcmFieldStatNotRedPackets:
      return color != Color::Red;
    default:
      return true;
  }
}

void count(Stat& stat, const Packet& packet, Color colour) {
  for (size_t i = 0; i < stat.types.size(); ++i) {
    if (!counts(stat.types[i], colour)) continue;
    // Even stat types count bytes, odd ones packets.
    stat.values[i] += stat.types[i] % 2 == 0 ? packet.length : 1;
  }
}

void match_plain(const Device& dev, Stage stage, const Packet& packet,
                 std::vector<GroupMatch>& matches) {
  for (const Device::StageGroup& group : dev.stage_groups[static_cast<size_t>(stage)]) {
    if (const Entry* entry = group.lookups->plain.first_match(*group.group, dev.state, packet)) {
      matches.push_back({group.group, entry});
    }
  }
}

// The stage's filter picks the groups worth a lookup.
void match_compiled(const Device& dev, Stage stage, PacketFields& fields,
                    std::vector<GroupMatch>& matches) {
  const std::vector<Device::StageGroup>& groups = dev.stage_groups[static_cast<size_t>(stage)];
  const auto look_up = [&](const Device::StageGroup& group) {
    if (const CompiledLookup::Found found = group.lookups->compiled.first_match(fields); found.entry) {
      // What applying the hit reads, fetched now so that the fetches overlap.
      __builtin_prefetch(group.group);
      __builtin_prefetch(found.entry);
      __builtin_prefetch(&found.entry->installed);
      __builtin_prefetch(found.counter);
      matches.push_back({group.group, found.entry, found.counter});
    }
  };
  for (uint64_t bits = dev.stage_filters[static_cast<size_t>(stage)].candidates(fields); bits;
       bits &= bits - 1) {
    look_up(groups[static_cast<size_t>(__builtin_ctzll(bits))]);
  }
  for (size_t beyond = StageFilter::kGroups; beyond < groups.size(); ++beyond) look_up(groups[beyond]);
}

// The entry each group of the stage finds, by group priority (highest first), in `matches`.
void match_stage(const Device& dev, Stage stage, PacketFields& fields,
                 std::vector<GroupMatch>& matches) {
  matches.clear();
  if (dev.lookup_method == LookupMethod::Plain) {
    match_plain(dev, stage, fields.packet(), matches);
  } else {
    match_compiled(dev, stage, fields, matches);
  }
}

// Meters the stage's hits, then applies their actions from the group of lowest priority to the
// highest, so that the higher wins a conflict, and counts them.
void apply_stage(Device& dev, Stage stage, const std::vector<GroupMatch>& matches,
                 const Packet& packet, Classification& result) {
  State& state = dev.state;
  if (matches.empty()) return;
  result.hits.reserve(kStageCount * 2);  // no growth for most packets
  const size_t first = result.hits.size();
  for (const GroupMatch& match : matches) {
    Hit& hit = result.hits.emplace_back(Hit{stage, match.group->id, match.entry->id, std::nullopt, {}});
    meter_entry(dev, *match.entry, packet, hit);
  }
  for (size_t i = matches.size(); i-- > 0;) {
    const Entry& entry = *matches[i].entry;
    const Color colour = result.hits[first + i].metered.value_or(packet.color);
    for (const ActionValue& action : entry.installed->actions) {
      apply(state, entry, action, packet, colour, result.verdict);
    }
    Stat* counter = matches[i].counter ? matches[i].counter : counting_stat(state, entry);
    if (counter) count(*counter, packet, colour);
  }
}

}  // namespace
}  // namespace detail

void set_lookup_method(LookupMethod method) {
  detail::device().lookup_method = method;
}

void prepare_lookups() {
  detail::Device& dev = detail::device();
  // Nothing changed since the last preparation for this method: every lookup is up to date.
  const auto prepared = std::make_pair(dev.changes, dev.lookup_method);
  if (dev.prepared == prepared) return;
  dev.prepared = prepared;
  for (auto& groups : dev.stage_groups) groups.clear();
  for (const auto& [id, group] : dev.state.groups) {
    detail::Device::GroupLookups& lookups = dev.group_lookups[id];
    dev.stage_groups[static_cast<size_t>(group.stage)].push_back({&group, &lookups});
    if (dev.lookup_method == LookupMethod::Plain) {
      lookups.plain.refresh(group, dev.state);
    } else {
      lookups.compiled.refresh(group, dev.state);
    }
  }
  for (size_t stage = 0; stage < dev.stage_groups.size(); ++stage) {
    std::vector<detail::Device::StageGroup>& groups = dev.stage_groups[stage];
    std::stable_sort(groups.begin(), groups.end(), [](const auto& a, const auto& b) {
      return a.group->priority > b.group->priority;
    });
    if (dev.lookup_method == LookupMethod::Compiled) {
      std::vector<const detail::CompiledLookup*> lookups;
      for (const auto& group : groups) lookups.push_back(&group.lookups->compiled);
      dev.stage_filters[stage].build(lookups);
    }
  }
}

size_t compiled_lookup_bytes() {
  size_t bytes = 0;
  for (const auto& [id, lookups] : detail::device().group_lookups) bytes += lookups.compiled.memory();
  return bytes;
}

void match(const Packet& packet, Matches& matches) {
  const detail::Device& dev = detail::device();
  detail::PacketFields fields(packet);
  for (int stage = 0; stage < kStageCount; ++stage) {
    detail::match_stage(dev, static_cast<Stage>(stage), fields,
                        matches.stages[static_cast<size_t>(stage)]);
  }
}

Classification apply(const Packet& packet, const Matches& matches) {
  detail::Device& dev = detail::device();
  Classification result;
  for (Stage stage : {Stage::PreIngress, Stage::Ingress, Stage::Egress}) {
    if (stage == Stage::Egress && result.verdict.drop) break;
    detail::apply_stage(dev, stage, matches.stages[static_cast<size_t>(stage)], packet, result);
  }
  return result;
}

Classification classify(const Packet& packet) {
  prepare_lookups();
  detail::Device& dev = detail::device();
  Classification result;
  detail::PacketFields fields(packet);
  for (Stage stage : {Stage::PreIngress, Stage::Ingress, Stage::Egress}) {
    if (stage == Stage::Egress && result.verdict.drop) break;
    detail::match_stage(dev, stage, fields, dev.stage_matches);
    detail::apply_stage(dev, stage, dev.stage_matches, packet, result);
  }
  return result;
}

}  // namespace bcmsim
