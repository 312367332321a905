// Flag words as C writes them: the OR of the SDK's macro names, 0 when none is set.
#pragma once

#include <cstdint>
#include <string>

namespace bcmsim::detail {

std::string c_group_flags(uint32_t flags);    // BCM_FIELD_GROUP_CREATE_*
std::string c_policer_flags(uint32_t flags);  // BCM_POLICER_*
std::string c_l3_flags(uint32_t flags);       // BCM_L3_*
std::string c_l3_flags2(uint32_t flags);      // BCM_L3_FLAGS2_*

}  // namespace bcmsim::detail
