// A test packet as one line of text, "in_port=3 vlan=10 dst_mac=020000000001", and back: only the
// fields that differ from a default packet are written. Scripts carry packets this way.
#pragma once

#include <optional>
#include <string>

#include <bcmsim/classify.h>

namespace filtersim {

std::string packetText(const bcmsim::Packet& packet);
// Nullopt for an unknown field or a malformed value.
std::optional<bcmsim::Packet> parsePacketText(const std::string& text);

}  // namespace filtersim
