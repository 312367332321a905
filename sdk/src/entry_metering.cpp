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

std::optional<Color> meter_entry(Device& dev, const Entry& entry, const Packet& packet) {
  if (!packet.arrival_ns || !entry.has_policer()) return std::nullopt;
  Color colour = Color::Green;
  for (const std::optional<int>& policer : entry.installed->policers) {
    Meter* meter = policer ? meter_of(dev, *policer) : nullptr;
    if (meter)
      colour = worse(colour, meter->meter(*packet.arrival_ns, packet.length, packet.color));
  }
  return colour;
}

}  // namespace bcmsim::detail
