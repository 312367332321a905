#include "c_flags.h"

#include <utility>
#include <vector>

#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>

#include "text.h"

namespace bcmsim::detail {
namespace {

using FlagNames = std::vector<std::pair<uint32_t, const char*>>;

// A bit without a name stays a number in the OR.
std::string c_flags(const FlagNames& names, uint32_t flags) {
  std::string text;
  auto add = [&text](const std::string& term) { text += (text.empty() ? "" : " | ") + term; };
  for (const auto& [bit, name] : names) {
    if (!(flags & bit)) continue;
    add(name);
    flags &= ~bit;
  }
  if (flags) add(hex_text(flags));
  return text.empty() ? "0" : text;
}

}  // namespace

#define FLAG(name) {name, #name}

std::string c_group_flags(uint32_t flags) {
  static const FlagNames names{FLAG(BCM_FIELD_GROUP_CREATE_WITH_ID),
                               FLAG(BCM_FIELD_GROUP_CREATE_WITH_PORT),
                               FLAG(BCM_FIELD_GROUP_CREATE_WITH_MODE),
                               FLAG(BCM_FIELD_GROUP_CREATE_SMALL),
                               FLAG(BCM_FIELD_GROUP_CREATE_LARGE),
                               FLAG(BCM_FIELD_GROUP_CREATE_WITH_ASET),
                               FLAG(BCM_FIELD_GROUP_CREATE_WITH_PRESELSET)};
  return c_flags(names, flags);
}

std::string c_policer_flags(uint32_t flags) {
  static const FlagNames names{FLAG(BCM_POLICER_WITH_ID),     FLAG(BCM_POLICER_REPLACE),
                               FLAG(BCM_POLICER_COLOR_BLIND), FLAG(BCM_POLICER_DROP_RED),
                               FLAG(BCM_POLICER_MODE_BYTES),  FLAG(BCM_POLICER_MODE_PACKETS)};
  return c_flags(names, flags);
}

std::string c_l3_flags(uint32_t flags) {
  static const FlagNames names{FLAG(BCM_L3_UNTAG),        FLAG(BCM_L3_WITH_ID),
                               FLAG(BCM_L3_REPLACE),      FLAG(BCM_L3_SRC_DISCARD),
                               FLAG(BCM_L3_DST_DISCARD),  FLAG(BCM_L3_KEEP_SRCMAC),
                               FLAG(BCM_L3_KEEP_DSTMAC),  FLAG(BCM_L3_KEEP_VLAN),
                               FLAG(BCM_L3_KEEP_TTL)};
  return c_flags(names, flags);
}

std::string c_l3_flags2(uint32_t flags) {
  static const FlagNames names{FLAG(BCM_L3_FLAGS2_FIELD_ONLY)};
  return c_flags(names, flags);
}

#undef FLAG

}  // namespace bcmsim::detail
