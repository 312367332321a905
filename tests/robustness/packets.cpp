#include "packets.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <tuple>

#include <bcmsim/classify.h>

namespace robustness {
namespace {

using namespace FiltersCommon;
using bcmsim::Color;
using bcmsim::Packet;

constexpr filtersGroupStage_t kStages[] = {FILTERS_GROUP_STAGE_PRE_INGRESS,
                                           FILTERS_GROUP_STAGE_INGRESS, FILTERS_GROUP_STAGE_EGRESS};
constexpr uint16_t kIpv4 = 0x0800;
constexpr uint16_t kOtherEtherTypes[] = {0x86DD, 0x0806, 0x8847};
// Packets also come on a VLAN no entry names.
constexpr int kHighestVlan = kVlans + 1;
constexpr Color kColors[] = {Color::Green, Color::Yellow, Color::Red};

// The source MAC of the pre-ingress entries, and the new destination MAC of the ingress ones.
bcmsim::Mac generator_mac(unsigned last_byte) {
  return {0x02, 0, 0, 0, 0, static_cast<uint8_t>(last_byte)};
}

bcmsim::Stage device_stage(filtersGroupStage_t stage) {
  switch (stage) {
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      return bcmsim::Stage::PreIngress;
    case FILTERS_GROUP_STAGE_INGRESS:
      return bcmsim::Stage::Ingress;
    default:
      return bcmsim::Stage::Egress;
  }
}

// The internal priority the egress stage qualifies on: the packet's, else its outer PCP.
int internal_priority(const Packet& packet) {
  return packet.int_priority.value_or(packet.outer_pcp);
}

// Draws test packets: a random background, aimed at one hardware entry the model expects, and
// for about half of them one field changed so that they nearly miss it.
class PacketDraw {
 public:
  PacketDraw(const Model& model, const DeviceFacts& facts, std::mt19937_64& random)
      : model_(model), facts_(facts), random_(random) {}

  Packet draw() {
    Packet packet = background();
    std::vector<std::pair<const EntrySpec*, const ExpectedHw*>> targets;
    for (const auto& [key, entry] : model_.entries())
      for (const ExpectedHw& hw : entry.hw) targets.push_back({&entry.spec, &hw});
    if (targets.empty()) return packet;
    const auto& [spec, hw] = targets[pick(0, static_cast<int>(targets.size()) - 1)];
    aim(*spec, *hw, packet);
    if (pick(0, 1)) nudge(*spec, packet);
    return packet;
  }

 private:
  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  // A value of [low, high] other than `value`.
  int other_than(int value, int low, int high) {
    if (value < low || value > high) return pick(low, high);
    const int drawn = pick(low, high - 1);
    return drawn >= value ? drawn + 1 : drawn;
  }
  int one_of(const std::set<int>& values) {
    return *std::next(values.begin(), pick(0, static_cast<int>(values.size()) - 1));
  }
  int other_port(const std::set<int>& ports, int port) {
    std::set<int> others = ports;
    others.erase(port);
    return others.empty() ? port : one_of(others);
  }

  Packet background() {
    Packet packet;
    packet.in_port = one_of(facts_.all_ports);
    packet.out_port = one_of(facts_.front_ports);
    packet.src_mac = generator_mac(static_cast<unsigned>(pick(0, kEntryIds)));
    packet.outer_vlan = static_cast<uint16_t>(pick(1, kHighestVlan));
    packet.outer_pcp = static_cast<uint8_t>(pick(0, 7));
    packet.ether_type = kIpv4;
    packet.src_ip = static_cast<uint32_t>(random_());
    packet.color = kColors[pick(0, 2)];
    packet.length = static_cast<uint32_t>(pick(64, 1518));
    return packet;
  }

  // Makes the packet meet every qualifier of the hardware entry (an ingress entry without
  // ports can meet none).
  void aim(const EntrySpec& spec, const ExpectedHw& hw, Packet& packet) {
    packet.outer_vlan = hw.vlan;
    switch (spec.stage) {
      case FILTERS_GROUP_STAGE_PRE_INGRESS:
        if (hw.port) packet.in_port = *hw.port;
        if (hw.pcp) packet.outer_pcp = *hw.pcp;
        packet.src_mac = generator_mac(spec.id);
        break;
      case FILTERS_GROUP_STAGE_INGRESS:
        if (!hw.in_ports.empty()) packet.in_port = one_of(hw.in_ports);
        packet.src_ip = spec.src_ip | (static_cast<uint32_t>(random_()) & ~spec.src_ip_mask);
        packet.ether_type = kIpv4;
        break;
      default:
        if (hw.port) packet.out_port = *hw.port;
        // The internal priority comes from the outer PCP, or is given.
        if (hw.pcp && pick(0, 1)) {
          packet.outer_pcp = *hw.pcp;
        } else if (hw.pcp) {
          packet.int_priority = *hw.pcp;
        }
    }
  }

  // Changes one field that a hardware entry of the stage qualifies on.
  void nudge(const EntrySpec& spec, Packet& packet) {
    std::vector<std::function<void()>> changes = {
        [&] { packet.outer_vlan = static_cast<uint16_t>(other_than(*packet.outer_vlan, 1, 4095)); },
        [&] { packet.outer_vlan.reset(); }};
    switch (spec.stage) {
      case FILTERS_GROUP_STAGE_PRE_INGRESS:
        changes.push_back([&] { packet.in_port = other_port(facts_.all_ports, packet.in_port); });
        changes.push_back(
            [&] { packet.outer_pcp = static_cast<uint8_t>(other_than(packet.outer_pcp, 0, 7)); });
        changes.push_back([&] {
          packet.src_mac = generator_mac(static_cast<unsigned>(other_than(spec.id, 0, 255)));
        });
        break;
      case FILTERS_GROUP_STAGE_INGRESS:
        changes.push_back([&] { packet.in_port = other_port(facts_.all_ports, packet.in_port); });
        changes.push_back([&] { packet.src_ip ^= prefix_bit(spec.src_ip_mask); });
        changes.push_back([&] { packet.ether_type = kOtherEtherTypes[pick(0, 2)]; });
        break;
      default:
        changes.push_back(
            [&] { packet.out_port = other_port(facts_.front_ports, packet.out_port); });
        changes.push_back([&] {
          packet.int_priority = static_cast<uint8_t>(other_than(internal_priority(packet), 0, 7));
        });
    }
    changes[pick(0, static_cast<int>(changes.size()) - 1)]();
  }

  // One bit of a non-empty prefix mask: flipping it takes an address out of the prefix.
  uint32_t prefix_bit(uint32_t mask) {
    std::vector<uint32_t> bits;
    for (int bit = 0; bit < 32; ++bit)
      if (mask & (1u << bit)) bits.push_back(1u << bit);
    return bits[pick(0, static_cast<int>(bits.size()) - 1)];
  }

  const Model& model_;
  const DeviceFacts& facts_;
  std::mt19937_64& random_;
};

// Whether a hardware entry of `spec` matches the packet: every qualifier Model::expected writes
// for it holds. The VLAN id qualifier needs a tagged packet; the mask of the in-ports bitmap
// covers every port a packet arrives on, so the arrival port must be one of its ports.
bool matches(const EntrySpec& spec, const ExpectedHw& hw, const Packet& packet) {
  if (packet.outer_vlan != hw.vlan) return false;
  switch (spec.stage) {
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      return (!hw.port || packet.in_port == *hw.port) && (!hw.pcp || packet.outer_pcp == *hw.pcp) &&
             packet.src_mac == generator_mac(spec.id);
    case FILTERS_GROUP_STAGE_INGRESS:
      return hw.in_ports.count(packet.in_port) &&
             (packet.src_ip & spec.src_ip_mask) == (spec.src_ip & spec.src_ip_mask) &&
             packet.ether_type == kIpv4;
    default:
      return (!hw.port || packet.out_port == *hw.port) &&
             (!hw.pcp || internal_priority(packet) == *hw.pcp);
  }
}

// The user entries of the stage one of whose hardware entries matches the packet, those of the
// highest hardware priority: the device may hit any of them, the order of equals being its own.
std::vector<Key> candidates(const Model& model, const DeviceFacts& facts, filtersGroupStage_t stage,
                            const Packet& packet) {
  std::vector<Key> best;
  int best_priority = 0;
  for (const auto& [key, entry] : model.entries()) {
    if (key.stage != stage) continue;
    const bool met = std::any_of(entry.hw.begin(), entry.hw.end(), [&](const ExpectedHw& hw) {
      return matches(entry.spec, hw, packet);
    });
    if (!met) continue;
    const int priority = hardware_priority(facts, entry.spec);
    if (best.empty() || priority > best_priority) {
      best.clear();
      best_priority = priority;
    }
    if (priority == best_priority) best.push_back(key);
  }
  return best;
}

// The verdict fields the model predicts.
struct Outcome {
  bool drop = false;
  bool copy_to_cpu = false;
  std::optional<int> dscp, pcp, internal_priority, l3_egress;
  std::optional<bcmsim::Mac> dst_mac;

  bool operator==(const Outcome& other) const {
    return std::tie(drop, copy_to_cpu, dscp, pcp, internal_priority, l3_egress, dst_mac) ==
           std::tie(other.drop, other.copy_to_cpu, other.dscp, other.pcp, other.internal_priority,
                    other.l3_egress, other.dst_mac);
  }
};

Outcome observed(const bcmsim::Verdict& verdict) {
  return {verdict.drop,   verdict.copy_to_cpu,       verdict.dscp,
          verdict.pcp,    verdict.internal_priority, verdict.l3_egress,
          verdict.dst_mac};
}

// What a hit of the user entry does to the packet, by the actions Model::expected writes for
// it; the per-colour actions of its policer act on a packet of that colour, and override the
// entry's own new PCP for it. Packets are not metered: their colour is the one they came with.
void apply(const ModelEntry& entry, const DeviceFacts& facts, Color color, Outcome& outcome) {
  const EntrySpec& spec = entry.spec;
  outcome.drop = outcome.drop || spec.drop;
  outcome.copy_to_cpu = outcome.copy_to_cpu || spec.copy_to_cpu;
  if (spec.dscp) outcome.dscp = *spec.dscp;
  if (spec.pcp) outcome.pcp = *spec.pcp;
  if (spec.destination && !entry.l3_switch_removed)
    outcome.l3_egress = facts.egress_of_destination.at(*spec.destination);
  if (spec.new_dst_mac) outcome.dst_mac = generator_mac(*spec.new_dst_mac);
  if (!spec.policer) return;
  if (color == Color::Red && spec.policer_drops_red) outcome.drop = true;
  if (color == Color::Yellow && spec.policer_yellow_dscp) outcome.dscp = *spec.policer_yellow_dscp;
  if (color == Color::Green && spec.policer_green_pcp) {
    outcome.pcp = *spec.policer_green_pcp;
    if (spec.stage != FILTERS_GROUP_STAGE_EGRESS)
      outcome.internal_priority = *spec.policer_green_pcp;
  }
}

// Whether a counter of the type counts a packet of the colour.
bool counts(counter_type_t type, Color color) {
  switch (type) {
    case COUNTER_TYPE_RED_BYTES:
      return color == Color::Red;
    case COUNTER_TYPE_NOT_RED_BYTES:
      return color != Color::Red;
    case COUNTER_TYPE_YELLOW_BYTES:
      return color == Color::Yellow;
    case COUNTER_TYPE_NOT_YELLOW_BYTES:
      return color != Color::Yellow;
    case COUNTER_TYPE_GREEN_BYTES:
      return color == Color::Green;
    case COUNTER_TYPE_NOT_GREEN_BYTES:
      return color != Color::Green;
    default:
      return true;
  }
}

// What a packet adds to a counter of the type of an entry it hits.
uint64_t contribution(counter_type_t type, const Packet& packet) {
  if (!counts(type, packet.color)) return 0;
  return type == COUNTER_TYPE_PACKETS ? 1 : packet.length;
}

// A hardware entry the device hit, and the user entry it belongs to (none: outside every user
// entry's ids).
struct DeviceHit {
  int hw_eid;
  std::optional<Key> owner;
};

// One stage of a classified packet: the user entries the model lets it hit, and the device's
// hits.
struct StageCheck {
  filtersGroupStage_t stage;
  std::vector<Key> candidates;
  std::vector<DeviceHit> hits;

  // No hit where the model has no candidate, else exactly one, of the candidates.
  bool agrees() const {
    if (candidates.empty()) return hits.empty();
    const std::optional<Key>& owner = hits.front().owner;
    return hits.size() == 1 && owner &&
           std::count(candidates.begin(), candidates.end(), *owner) > 0;
  }
};

// Walks the stages as the device does: the model's candidates of each, and the outcome of the
// device's hits in stage order (a later stage overriding an earlier one). The egress stage is
// walked only for a packet the first two did not drop.
std::vector<StageCheck> walk(const Model& model, const DeviceFacts& facts, const OwnerOf& owner,
                             const Packet& packet, const std::vector<bcmsim::Hit>& device_hits,
                             Outcome& outcome) {
  std::vector<StageCheck> stages;
  for (filtersGroupStage_t stage : kStages) {
    StageCheck check{stage, {}, {}};
    if (stage != FILTERS_GROUP_STAGE_EGRESS || !outcome.drop)
      check.candidates = candidates(model, facts, stage, packet);
    for (const bcmsim::Hit& hit : device_hits) {
      if (hit.stage == device_stage(stage)) check.hits.push_back({hit.entry, owner(hit.entry)});
    }
    for (const DeviceHit& hit : check.hits) {
      if (hit.owner && model.entries().count(*hit.owner))
        apply(model.entries().at(*hit.owner), facts, packet.color, outcome);
    }
    stages.push_back(check);
  }
  return stages;
}

std::string mac_text(const bcmsim::Mac& mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

std::string ip_text(uint32_t ip) {
  return std::to_string(ip >> 24) + "." + std::to_string((ip >> 16) & 0xff) + "." +
         std::to_string((ip >> 8) & 0xff) + "." + std::to_string(ip & 0xff);
}

std::string packet_text(const Packet& packet) {
  static const char* const kColorNames[] = {"green", "yellow", "red"};
  std::ostringstream out;
  out << "in " << packet.in_port << " out " << packet.out_port;
  if (packet.outer_vlan) {
    out << " vlan " << *packet.outer_vlan << " pcp " << int{packet.outer_pcp};
  } else {
    out << " untagged";
  }
  if (packet.int_priority) out << " int-prio " << int{*packet.int_priority};
  char ether_type[7];
  std::snprintf(ether_type, sizeof ether_type, "0x%04x", packet.ether_type);
  out << " src-mac " << mac_text(packet.src_mac) << " src-ip " << ip_text(packet.src_ip)
      << " ether " << ether_type << " " << kColorNames[static_cast<int>(packet.color)] << " "
      << packet.length << " bytes";
  return out.str();
}

std::string outcome_text(const Outcome& outcome) {
  std::ostringstream out;
  out << (outcome.drop ? "drop" : "pass");
  if (outcome.copy_to_cpu) out << ", copy to CPU";
  if (outcome.dscp) out << ", dscp " << *outcome.dscp;
  if (outcome.pcp) out << ", pcp " << *outcome.pcp;
  if (outcome.internal_priority) out << ", int-prio " << *outcome.internal_priority;
  if (outcome.l3_egress) out << ", l3 egress " << *outcome.l3_egress;
  if (outcome.dst_mac) out << ", dst-mac " << mac_text(*outcome.dst_mac);
  return out.str();
}

std::string stage_text(const StageCheck& check) {
  static const char* const kStageNames[] = {"", "pre-ingress", "ingress", "egress"};
  std::ostringstream out;
  out << kStageNames[check.stage] << (check.agrees() ? "" : " DIFFERS") << ": model may hit {";
  for (const Key& key : check.candidates) out << " " << key.id;
  out << " }, device hit {";
  for (const DeviceHit& hit : check.hits)
    out << " " << (hit.owner ? std::to_string(hit.owner->id) : "none") << " (hw " << hit.hw_eid
        << ")";
  out << " }";
  return out.str();
}

std::string disagreement(const Packet& packet, const std::vector<StageCheck>& stages,
                         const Outcome& predicted, const bcmsim::Verdict& device) {
  std::ostringstream out;
  out << "packet " << packet_text(packet) << ":";
  for (const StageCheck& check : stages) out << " " << stage_text(check) << ";";
  out << " the model's verdict for the device's hits: " << outcome_text(predicted)
      << "; the device's: " << outcome_text(observed(device)) << " (" << device.text() << ")";
  return out.str();
}

}  // namespace

PacketFigures check_packets(Model& model, const DeviceFacts& facts, std::mt19937_64& random,
                            int count, const OwnerOf& owner, std::vector<std::string>& violations) {
  PacketFigures figures;
  PacketDraw draw(model, facts, random);
  for (int k = 0; k < count; ++k) {
    const Packet packet = draw.draw();
    const bcmsim::Classification device = bcmsim::classify(packet);
    ++figures.classified;
    ++(device.hits.empty() ? figures.missed : figures.hit);
    Outcome predicted;
    const std::vector<StageCheck> stages =
        walk(model, facts, owner, packet, device.hits, predicted);
    const bool agree =
        std::all_of(stages.begin(), stages.end(), [](const StageCheck& s) { return s.agrees(); }) &&
        predicted == observed(device.verdict);
    if (!agree) {
      violations.push_back(disagreement(packet, stages, predicted, device.verdict));
      continue;
    }
    for (const StageCheck& check : stages) {
      for (const DeviceHit& hit : check.hits)
        model.count(*hit.owner, [&](counter_type_t type) { return contribution(type, packet); });
    }
  }
  return figures;
}

}  // namespace robustness
