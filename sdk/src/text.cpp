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

// The short form: the longest run of two or more zero groups (the first of equal runs) is "::".
std::string ip6_text(const Words& w) {
  uint32_t groups[8];
  for (int group = 0; group < 8; ++group) groups[group] = (w[group / 2] >> (group % 2 ? 0 : 16)) & 0xffff;
  int run_start = -1, run_length = 1;
  for (int start = 0; start < 8; ++start) {
    int length = 0;
    while (start + length < 8 && groups[start + length] == 0) ++length;
    if (length > run_length) {
      run_start = start;
      run_length = length;
    }
  }
  std::string text;
  for (int group = 0; group < 8; ++group) {
    if (group == run_start) {
      text += "::";
      group += run_length - 1;
      continue;
    }
    char part[8];
    const bool after_run = run_start >= 0 && group == run_start + run_length;
    std::snprintf(part, sizeof(part), "%s%x", group && !after_run ? ":" : "", groups[group]);
    text += part;
  }
  return text;
}

std::string pointer_text(bool given) {
  return given ? "&" : "NULL";
}

}  // namespace bcmsim::detail
