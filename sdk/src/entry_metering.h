// The colour the policers of a hit entry give a packet that carries its arrival time.
#pragma once

#include <optional>

#include <bcmsim/classify.h>

#include "device_impl.h"

namespace bcmsim::detail {

// Meters the packet by the entry's installed policers, level 0 and its parent, and gives the
// worse of their colours; nothing when the packet has no arrival time or the entry no policer.
std::optional<Color> meter_entry(Device& dev, const Entry& entry, const Packet& packet);

}  // namespace bcmsim::detail
