// Test packets of a scenario: header fields and pipeline facts.
#include "scenario_loader.h"

#include <bcm/stg.h>

#include "value_parsers.h"

namespace filtersim {
namespace {

int localPort(const limid_t& port) {
  if (limid_is_from_type(port, limid_type_cpuport)) return 0;
  return static_cast<int>(limid_number(port));
}

}  // namespace

SendPacket ScenarioLoader::loadPacket(const YAML::Node& node) {
  reader_.expectMap(node,
                    {"name",
                     "explain",
                     "in_port",
                     "out_port",
                     "src_mac",
                     "dst_mac",
                     "vlan",
                     "pcp",
                     "inner_vlan",
                     "inner_pcp",
                     "ether_type",
                     "src_ip",
                     "dst_ip",
                     "dst_ipv6",
                     "protocol",
                     "dscp",
                     "ttl",
                     "src_port",
                     "dst_port",
                     "length",
                     "packet_res",
                     "stp_state",
                     "forwarding_type",
                     "vrf",
                     "l3_routable",
                     "my_station_hit",
                     "drop",
                     "l2_src_static",
                     "mpls_terminated",
                     "interface_class",
                     "virtual_port",
                     "int_priority",
                     "color"},
                    "a packet");
  SendPacket send;
  bcmsim::Packet& p = send.packet;
  auto number = [&](const char* key, int64_t max) -> int64_t {
    return reader_.integer(node[key], 0, max, key);
  };
  auto mac = [&](const char* key) {
    auto parsed = parseMac(reader_.text(node[key], key));
    if (!parsed) reader_.fail(node[key], "malformed MAC address '" + node[key].Scalar() + "'");
    return *parsed;
  };
  auto ipv4 = [&](const char* key) {
    auto parsed = parseIpv4(reader_.text(node[key], key));
    if (!parsed) reader_.fail(node[key], "malformed IPv4 address '" + node[key].Scalar() + "'");
    return *parsed;
  };
  auto flag = [&](const char* key, bool& out) {
    if (node[key]) out = reader_.boolean(node[key], key);
  };

  if (node["name"]) send.name = reader_.text(node["name"], "name");
  if (node["explain"]) send.explain = reader_.boolean(node["explain"], "explain");
  if (node["in_port"]) p.in_port = localPort(port(node["in_port"], "in_port"));
  if (node["out_port"]) p.out_port = localPort(port(node["out_port"], "out_port"));
  if (node["src_mac"]) p.src_mac = mac("src_mac");
  if (node["dst_mac"]) p.dst_mac = mac("dst_mac");
  if (node["vlan"]) p.outer_vlan = static_cast<uint16_t>(number("vlan", 4095));
  if (node["pcp"]) p.outer_pcp = static_cast<uint8_t>(number("pcp", 7));
  if (node["inner_vlan"]) p.inner_vlan = static_cast<uint16_t>(number("inner_vlan", 4095));
  if (node["inner_pcp"]) p.inner_pcp = static_cast<uint8_t>(number("inner_pcp", 7));
  if (node["src_ip"]) p.src_ip = ipv4("src_ip");
  if (node["dst_ip"]) p.dst_ip = ipv4("dst_ip");
  if (node["dst_ipv6"]) {
    auto parsed = parseIpv6(reader_.text(node["dst_ipv6"], "dst_ipv6"));
    if (!parsed)
      reader_.fail(node["dst_ipv6"], "malformed IPv6 address '" + node["dst_ipv6"].Scalar() + "'");
    p.dst_ip6 = *parsed;
    p.ether_type = 0x86DD;
  }
  if (node["ether_type"]) p.ether_type = static_cast<uint16_t>(number("ether_type", 0xffff));
  if (node["protocol"]) {
    static const std::map<std::string, uint8_t> kProtocols = {
        {"icmp", 1}, {"igmp", 2}, {"tcp", 6}, {"udp", 17}, {"icmpv6", 58}};
    auto named = kProtocols.find(node["protocol"].Scalar());
    p.ip_protocol =
        named != kProtocols.end() ? named->second : static_cast<uint8_t>(number("protocol", 255));
  }
  if (node["dscp"]) p.dscp = static_cast<uint8_t>(number("dscp", 63));
  if (node["ttl"]) p.ttl = static_cast<uint8_t>(number("ttl", 255));
  if (node["src_port"]) p.l4_src_port = static_cast<uint16_t>(number("src_port", 0xffff));
  if (node["dst_port"]) p.l4_dst_port = static_cast<uint16_t>(number("dst_port", 0xffff));
  if (node["length"])
    p.length = static_cast<uint32_t>(reader_.integer(node["length"], 1, 65535, "length"));
  if (node["packet_res"]) p.packet_res = static_cast<uint32_t>(number("packet_res", 255));
  if (node["stp_state"]) {
    static const uint8_t kStates[] = {BCM_STG_STP_BLOCK, BCM_STG_STP_LEARN, BCM_STG_STP_FORWARD};
    p.stp_state = kStates[reader_.named(node["stp_state"], {"blocking", "learning", "forwarding"},
                                        "stp_state")];
  }
  if (node["forwarding_type"])
    p.forwarding_type = static_cast<uint32_t>(number("forwarding_type", 255));
  if (node["vrf"]) p.vrf = static_cast<uint32_t>(number("vrf", 0xffffffff));
  if (node["interface_class"])
    p.interface_class = static_cast<uint32_t>(number("interface_class", 0xffffffff));
  if (node["int_priority"]) p.int_priority = static_cast<uint8_t>(number("int_priority", 15));
  flag("l3_routable", p.l3_routable);
  flag("my_station_hit", p.my_station_hit);
  flag("drop", p.drop);
  flag("l2_src_static", p.l2_src_static);
  flag("mpls_terminated", p.mpls_terminated);
  if (node["virtual_port"]) {
    const limid_t port = interface(node["virtual_port"], "virtual_port");
    auto gport = virtual_port_gports_.find(port);
    if (gport == virtual_port_gports_.end()) {
      reader_.fail(node["virtual_port"],
                   "'" + node["virtual_port"].Scalar() + "' is not a virtual port");
    }
    p.src_gport = gport->second;
  }
  if (node["color"]) {
    p.color = static_cast<bcmsim::Color>(
        reader_.named(node["color"], {"green", "yellow", "red"}, "color"));
  }
  return send;
}

}  // namespace filtersim
