// Text forms of SDK values, shared by the call log, the names and the JSON dump.
#pragma once

#include <cstdint>
#include <string>

#include <bcmsim/state.h>

namespace bcmsim::detail {

std::string hex_text(uint32_t value);  // "0x800"
std::string mac_text(const Words& mac);
std::string ip4_text(uint32_t ip);
std::string ip6_text(const Words& ip6);
std::string pointer_text(bool given);  // "&", or "NULL" for a pointer not given

}  // namespace bcmsim::detail
