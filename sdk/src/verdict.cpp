// The text forms of a classification verdict.
#include <bcmsim/classify.h>

#include <cstdio>

#include <bcmsim/names.h>

namespace bcmsim {
namespace {

std::string mac_text(const Mac& mac) {
  char text[24];
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

void add_value(std::string& text, const char* name, const std::optional<int>& value) {
  if (value) text += std::string(", ") + name + " " + std::to_string(*value);
}

}  // namespace

std::string Verdict::outcome() const {
  if (drop) return "dropped";
  if (!redirect_ports.empty()) return "redirected";
  if (l3_egress) return "l3-switched";
  return "forwarded";
}

std::string Verdict::text() const {
  std::string text = outcome();
  if (copy_to_cpu) text += ", copy to CPU";
  if (!redirect_ports.empty()) {
    text += ", to port";
    for (int port : redirect_ports) text += " " + std::to_string(port);
  }
  add_value(text, "l3 egress", l3_egress);
  const std::string blocked = format_pbmp(blocked_ports);
  if (!blocked.empty()) text += ", blocked ports " + blocked;
  add_value(text, "pcp", pcp);
  add_value(text, "inner pcp", inner_pcp);
  add_value(text, "dscp", dscp);
  add_value(text, "internal priority", internal_priority);
  add_value(text, "cos queue", cos_queue);
  add_value(text, "cpu cos queue", cpu_cos_queue);
  if (src_mac) text += ", src mac " + mac_text(*src_mac);
  if (dst_mac) text += ", dst mac " + mac_text(*dst_mac);
  add_value(text, "vlan", vlan);
  add_value(text, "mpls port", mpls_port);
  return text;
}

}  // namespace bcmsim
