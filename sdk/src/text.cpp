#include "text.h"

#include <cstdio>

namespace bcmsim::detail {

std::string hex_text(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%x", value);
  return text;
}

std::string mac_text(const Words& w) {
  char text[24];
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", (w[0] >> 8) & 0xff,
                w[0] & 0xff, w[1] >> 24, (w[1] >> 16) & 0xff, (w[1] >> 8) & 0xff, w[1] & 0xff);
  return text;
}

std::string ip4_text(uint32_t ip) {
  char text[20];
  std::snprintf(text, sizeof(text), "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xff, (ip >> 8) & 0xff,
                ip & 0xff);
  return text;
}

std::string ip6_text(const Words& w) {
  std::string text;
  for (int group = 0; group < 8; ++group) {
    uint32_t value = (w[group / 2] >> (group % 2 ? 0 : 16)) & 0xffff;
    char part[8];
    std::snprintf(part, sizeof(part), "%s%x", group ? ":" : "", value);
    text += part;
  }
  return text;
}

std::string pointer_text(const void* pointer) {
  return pointer ? "&" : "NULL";
}

}  // namespace bcmsim::detail
