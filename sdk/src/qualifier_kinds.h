// How each qualifier's data and mask are written and read.
#pragma once

#include <string>

#include <bcmsim/state.h>

namespace bcmsim::detail {

enum class QualifierKind {
  Decimal,  // a number with a hexadecimal mask
  Hex,      // a number and mask, both hexadecimal
  Port,     // a port number (-1 for none) with a hexadecimal mask
  Mac,
  Ip4,
  Ip6,
  Pbmp,
  ModPort,  // module and port, each with its mask
  Enum,     // one value, no mask (IpType, IpProtocolCommon, ForwardingType)
  Gport,    // one gport, no mask
  Stage,    // the stage qualifiers, which only name a stage in a qualifier set
};

QualifierKind qualifier_kind(int qualifier);
// The data or the mask of a qualifier as an argument would be written.
std::string format_qualifier_part(int qualifier, const Words& words);

}  // namespace bcmsim::detail
