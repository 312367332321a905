#include "packet_fields.h"

#include <arpa/inet.h>

#include <cstdio>

namespace filtersim {
namespace {

std::string macText(const bcmsim::Mac& mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

std::string hex16(unsigned value) {
  char text[7];
  std::snprintf(text, sizeof text, "0x%04x", value & 0xffffu);
  return text;
}

std::string ipv4Text(uint32_t address) {
  const in_addr network{htonl(address)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &network, text, sizeof text);
}

std::string ipv6Text(const std::array<uint8_t, 16>& address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(AF_INET6, address.data(), text, sizeof text);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> packetFields(const bcmsim::Packet& packet) {
  std::vector<std::pair<std::string, std::string>> fields = {{"dst_mac", macText(packet.dst_mac)},
                                                             {"src_mac", macText(packet.src_mac)}};
  if (packet.outer_vlan) {
    fields.push_back({"vlan", std::to_string(*packet.outer_vlan)});
    fields.push_back({"pcp", std::to_string(packet.outer_pcp)});
  }
  if (packet.inner_vlan) {
    fields.push_back({"inner_vlan", std::to_string(*packet.inner_vlan)});
    fields.push_back({"inner_pcp", std::to_string(packet.inner_pcp)});
  }
  fields.push_back({"ether_type", hex16(packet.ether_type)});
  if (packet.is_ipv4()) {
    fields.push_back({"src_ip", ipv4Text(packet.src_ip)});
    fields.push_back({"dst_ip", ipv4Text(packet.dst_ip)});
  }
  if (packet.is_ipv6()) fields.push_back({"dst_ipv6", ipv6Text(packet.dst_ip6)});
  if (packet.is_ipv4() || packet.is_ipv6()) {
    fields.push_back({"protocol", std::to_string(packet.ip_protocol)});
    fields.push_back({"dscp", std::to_string(packet.dscp)});
    fields.push_back({"ttl", std::to_string(packet.ttl)});
    fields.push_back({"src_port", std::to_string(packet.l4_src_port)});
    fields.push_back({"dst_port", std::to_string(packet.l4_dst_port)});
  }
  fields.push_back({"length", std::to_string(packet.length)});
  return fields;
}

}  // namespace filtersim
