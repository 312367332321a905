// Test packets of a scenario: header fields and pipeline facts, read by a table of fields; and
// the packets of a capture, which take the pipeline facts as defaults.
#include "scenario_loader.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

#include <bcm/stg.h>

#include "capture_reader.h"
#include "value_parsers.h"

namespace filtersim {
namespace {

int localPort(const limid_t& port) {
  if (limid_is_from_type(port, limid_type_cpuport)) return 0;
  return static_cast<int>(limid_number(port));
}

int64_t number(const YamlReader& reader, const YAML::Node& value, const char* key, int64_t max) {
  return reader.integer(value, 0, max, key);
}

bool flag(const YamlReader& reader, const YAML::Node& value, const char* key) {
  return reader.boolean(value, key);
}

}  // namespace

SendPacket ScenarioLoader::loadPacket(const YAML::Node& node) {
  reader_.expectMap(node, "a packet");
  SendPacket send;
  loadPacketFields(node, {}, "a packet", send);
  return send;
}

ReplayCapture ScenarioLoader::loadReplay(const YAML::Node& node) {
  if (!node.IsSequence()) return ReplayCapture{{loadCaptureSource(node)}};
  if (node.size() == 0) reader_.fail(node, "packets lists no capture; give one or more");
  ReplayCapture replay;
  for (const YAML::Node& item : node) replay.sources.push_back(loadCaptureSource(item));
  return replay;
}

CaptureSource ScenarioLoader::loadCaptureSource(const YAML::Node& node) {
  // The frames give the headers and the length; the step gives the rest.
  static const std::vector<std::string> kKeys = {
      "pcap",           "in_port", "out_port",      "packet_res",      "stp_state",
      "forwarding_type", "vrf",    "l3_routable",   "my_station_hit",  "drop",
      "l2_src_static",  "mpls_terminated", "interface_class", "virtual_port", "int_priority"};
  reader_.expectMap(node, "a capture of packets");
  SendPacket defaults;
  loadPacketFields(node, kKeys, "packets", defaults);
  return CaptureSource{capturePath(reader_.need(node, "pcap")), defaults.packet};
}

std::string ScenarioLoader::capturePath(const YAML::Node& node) const {
  const std::filesystem::path given = reader_.text(node, "pcap");
  const std::string path =
      given.is_absolute() ? given.string()
                          : (std::filesystem::path(reader_.file()).parent_path() / given).string();
  try {
    const CaptureReader readable(path);  // opened and closed again: refused now, not mid-run
  } catch (const CaptureError& error) {
    reader_.fail(node, "cannot replay " + path + ": " + error.what());
  }
  return path;
}

Step ScenarioLoader::loadCaptureOption(const std::vector<CaptureOption>& captures) {
  YAML::Node list(YAML::NodeType::Sequence);
  for (const CaptureOption& capture : captures) {
    YAML::Node node(YAML::NodeType::Map);
    node["pcap"] = capture.path;
    node["in_port"] = capture.in_port;
    if (!capture.out_port.empty()) node["out_port"] = capture.out_port;
    list.push_back(node);
  }
  return Step{"packets", 0, loadReplay(list), {}};
}

void ScenarioLoader::loadPacketFields(const YAML::Node& node, const std::vector<std::string>& keys,
                                      const char* what, SendPacket& send) {
  using Read = void (*)(ScenarioLoader&, const YAML::Node&, SendPacket&);
  struct Field {
    const char* key;
    Read read;
  };
  // Read in this order, whatever the order of the keys: a destination IPv6 address sets the
  // Ethernet type, which an explicit ether_type then overrides.
  static const Field kFields[] = {
      {"name", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.name = l.reader_.text(v, "name"); }},
      {"explain", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.explain = flag(l.reader_, v, "explain"); }},
      {"in_port", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.in_port = localPort(l.port(v, "in_port")); }},
      {"out_port", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.out_port = localPort(l.port(v, "out_port")); }},
      {"src_mac", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.src_mac = l.reader_.parsed(v, parseMac, "src_mac", "MAC address"); }},
      {"dst_mac", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.dst_mac = l.reader_.parsed(v, parseMac, "dst_mac", "MAC address"); }},
      {"vlan", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.outer_vlan = static_cast<uint16_t>(number(l.reader_, v, "vlan", 4095)); }},
      {"pcp", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.outer_pcp = static_cast<uint8_t>(number(l.reader_, v, "pcp", 7)); }},
      {"inner_vlan", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.inner_vlan = static_cast<uint16_t>(number(l.reader_, v, "inner_vlan", 4095)); }},
      {"inner_pcp", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.inner_pcp = static_cast<uint8_t>(number(l.reader_, v, "inner_pcp", 7)); }},
      {"src_ip", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.src_ip = l.reader_.parsed(v, parseIpv4, "src_ip", "IPv4 address"); }},
      {"dst_ip", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.dst_ip = l.reader_.parsed(v, parseIpv4, "dst_ip", "IPv4 address"); }},
      {"dst_ipv6", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) {
         s.packet.dst_ip6 = l.reader_.parsed(v, parseIpv6, "dst_ipv6", "IPv6 address");
         s.packet.ether_type = 0x86DD;
       }},
      {"ether_type", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.ether_type = static_cast<uint16_t>(number(l.reader_, v, "ether_type", 0xffff)); }},
      {"protocol", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) {
         const auto named = ipProtocolOfName(v.IsScalar() ? v.Scalar() : "");
         s.packet.ip_protocol =
             named ? *named : static_cast<uint8_t>(number(l.reader_, v, "protocol", 255));
       }},
      {"dscp", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.dscp = static_cast<uint8_t>(number(l.reader_, v, "dscp", 63)); }},
      {"ttl", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.ttl = static_cast<uint8_t>(number(l.reader_, v, "ttl", 255)); }},
      {"src_port", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.l4_src_port = static_cast<uint16_t>(number(l.reader_, v, "src_port", 0xffff)); }},
      {"dst_port", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.l4_dst_port = static_cast<uint16_t>(number(l.reader_, v, "dst_port", 0xffff)); }},
      {"length", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.length = static_cast<uint32_t>(l.reader_.integer(v, 1, 65535, "length")); }},
      {"packet_res", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.packet_res = static_cast<uint32_t>(number(l.reader_, v, "packet_res", 255)); }},
      {"stp_state", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) {
         static const uint8_t kStates[] = {BCM_STG_STP_BLOCK, BCM_STG_STP_LEARN, BCM_STG_STP_FORWARD};
         s.packet.stp_state =
             kStates[l.reader_.named(v, {"blocking", "learning", "forwarding"}, "stp_state")];
       }},
      {"forwarding_type", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.forwarding_type = static_cast<uint32_t>(number(l.reader_, v, "forwarding_type", 255)); }},
      {"vrf", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.vrf = static_cast<uint32_t>(number(l.reader_, v, "vrf", 0xffffffff)); }},
      {"l3_routable", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.l3_routable = flag(l.reader_, v, "l3_routable"); }},
      {"my_station_hit", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.my_station_hit = flag(l.reader_, v, "my_station_hit"); }},
      {"drop", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.drop = flag(l.reader_, v, "drop"); }},
      {"l2_src_static", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.l2_src_static = flag(l.reader_, v, "l2_src_static"); }},
      {"mpls_terminated", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.mpls_terminated = flag(l.reader_, v, "mpls_terminated"); }},
      {"interface_class", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.interface_class = static_cast<uint32_t>(number(l.reader_, v, "interface_class", 0xffffffff)); }},
      {"virtual_port", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) {
         auto gport = l.virtual_port_gports_.find(l.interface(v, "virtual_port"));
         if (gport == l.virtual_port_gports_.end()) {
           l.reader_.fail(v, "'" + v.Scalar() + "' is not a virtual port");
         }
         s.packet.src_gport = gport->second;
       }},
      {"int_priority", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) { s.packet.int_priority = static_cast<uint8_t>(number(l.reader_, v, "int_priority", 15)); }},
      {"color", [](ScenarioLoader& l, const YAML::Node& v, SendPacket& s) {
         s.packet.color = static_cast<bcmsim::Color>(l.reader_.named(v, {"green", "yellow", "red"}, "color"));
       }},
  };
  auto allowed = [&](const std::string& key) {
    return keys.empty() || std::find(keys.begin(), keys.end(), key) != keys.end();
  };
  // Nodes are collected by field, never assigned: assigning a YAML node writes through it.
  std::vector<std::optional<YAML::Node>> given(std::size(kFields));
  for (const auto& item : node) {
    const std::string key = reader_.key(item.first);
    const auto* field = std::find_if(std::begin(kFields), std::end(kFields),
                                     [&](const Field& f) { return key == f.key; });
    if (!allowed(key) || (field == std::end(kFields) && keys.empty())) {
      std::vector<std::string> names = keys;
      if (names.empty()) {
        for (const Field& f : kFields) names.push_back(f.key);
      }
      std::string known;
      for (const std::string& name : names) known += (known.empty() ? "" : ", ") + name;
      reader_.fail(item.first, "unknown key '" + key + "' in " + what + " (known: " + known + ")");
    }
    // A key of `keys` outside the table is the caller's.
    if (field != std::end(kFields)) {
      given[static_cast<size_t>(field - std::begin(kFields))].emplace(item.second);
    }
  }
  for (size_t index = 0; index < given.size(); ++index) {
    if (given[index]) kFields[index].read(*this, *given[index], send);
  }
}

}  // namespace filtersim
