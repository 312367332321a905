// Whether a packet matches one qualifier of an installed entry.
#pragma once

#include <bcmsim/classify.h>

namespace bcmsim::detail {

// Data and mask against the packet's field (field AND mask equals data AND mask); a port bitmap
// holds when the arrival port is a member or not compared, the IP type and IP protocol classes
// by their meaning. A qualifier the device cannot read from a packet never matches.
bool qualifier_matches(const Packet& packet, const QualifierValue& qualifier);

// The packet's value of a plainly compared qualifier; false when the device has no such field.
// `field` may be null to ask only whether the field exists.
bool packet_field(const Packet& packet, int qualifier, Words* field);

}  // namespace bcmsim::detail
