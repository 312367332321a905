// Metering a hit entry's packet by its policers.
#include "entry_metering.h"

namespace bcmsim::detail {
namespace {

// The policer's meter, built from its configuration at its first packet; null for a policer
// destroyed while an installed entry still points to it.
Meter* meter_of(Device& dev, int policer_id) {
  auto meter = dev.meters.find(policer_id);
  if (meter != dev.meters.end()) return &meter->second;
  auto policer = dev.state.policers.find(policer_id);
  if (policer == dev.state.policers.end()) return nullptr;
  return &dev.meters.emplace(policer_id, Meter(policer->second.config)).first->second;
}

}  // namespace

void meter_entry(Device& dev, const Entry& entry, const Packet& packet, Hit& hit) {
  if (!packet.arrival_ns || !entry.has_policer()) return;
  Color colour = Color::Green;
  for (size_t level = 0; level < hit.levels.size(); ++level) {
    const std::optional<int>& policer = entry.installed->policers[level];
    Meter* meter = policer ? meter_of(dev, *policer) : nullptr;
    if (!meter) continue;
    hit.levels[level] = meter->meter(*packet.arrival_ns, packet.length, packet.color);
    colour = worse(colour, *hit.levels[level]);
  }
  hit.metered = colour;
}

}  // namespace bcmsim::detail
