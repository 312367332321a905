// A test packet's header fields as text, for reports: what a frame of a capture parsed into.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <bcmsim/classify.h>

namespace filtersim {

// Name and value of each header field the packet has, in header order: ("vlan", "10"), ...
// Tags, IP and L4 fields only when the packet carries them.
std::vector<std::pair<std::string, std::string>> packetFields(const bcmsim::Packet& packet);

}  // namespace filtersim
