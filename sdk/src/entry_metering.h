// The colour the policers of a hit entry give a packet that carries its arrival time.
#pragma once

#include <optional>

#include <bcmsim/classify.h>

#include "device_impl.h"

namespace bcmsim::detail {

// Meters the packet by the entry's installed policers, level 0 and its parent: sets the hit's
// colour of each level that has a policer and, as the hit's colour, the worse of them. Nothing
// when the packet has no arrival time or the entry no policer.
void meter_entry(Device& dev, const Entry& entry, const Packet& packet, Hit& hit);

}  // namespace bcmsim::detail
