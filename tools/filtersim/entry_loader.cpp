// Groups and entries of a scenario: matches, actions, counters and policers by name.
#include "catalogue.h"
#include "scenario_loader.h"

#include <functional>

#include "value_parsers.h"

namespace filtersim {
namespace {

using namespace FiltersCommon;

template <class M, class... Values>
std::shared_ptr<const Match> match(Values&&... values) {
  return std::make_shared<M>(std::forward<Values>(values)...);
}

template <class A, class... Values>
std::shared_ptr<const Action> action(Values&&... values) {
  return std::make_shared<A>(std::forward<Values>(values)...);
}

}  // namespace

filtersGroupStage_t ScenarioLoader::stage(const YAML::Node& node) const {
  // A number passes through: the library judges a stage such as 0 or 4 itself.
  return static_cast<filtersGroupStage_t>(
      reader_.named(node, {"none", "pre-ingress", "ingress", "egress"}, "stage", 0, 4));
}

CreateGroup ScenarioLoader::loadGroup(const YAML::Node& node) {
  reader_.expectMap(node, {"stage", "id", "priority", "type", "entries"}, "create_group");
  FiltersGroup group(
      stage(reader_.need(node, "stage")),
      static_cast<unsigned short>(reader_.integer(reader_.need(node, "id"), 0, 65535, "group id")),
      node["priority"] ? static_cast<unsigned short>(
                             reader_.integer(node["priority"], 0, 65535, "group priority"))
                       : 0,
      static_cast<unsigned int>(
          reader_.integer(reader_.need(node, "type"), 0, 1000, "group type")));
  if (const YAML::Node entries = node["entries"]) {
    reader_.expectSequence(entries, "entries");
    std::map<unsigned int, int> lines;  // entry id -> the line of its first entry
    for (const YAML::Node& entry : entries) {
      reader_.expectMap(
          entry, {"id", "priority", "match", "actions", "counters", "policer", "parent_policer"},
          "an entry");
      FiltersEntry loaded = loadEntry(entry);
      auto [first, added] = lines.emplace(loaded.getId(), reader_.line(entry.Mark()));
      if (!added) {
        reader_.fail(entry["id"], "entry id " + std::to_string(loaded.getId()) +
                                      " is already used in this group (line " +
                                      std::to_string(first->second) + "); give each entry its own id");
      }
      group.addEntry(std::move(loaded));
    }
  }
  return CreateGroup{group};
}

FiltersEntry ScenarioLoader::loadEntry(const YAML::Node& node) {
  FiltersEntry entry(static_cast<unsigned int>(
                         reader_.integer(reader_.need(node, "id"), 0, 0xffffffff, "entry id")),
                     node["priority"] ? static_cast<unsigned short>(reader_.integer(
                                            node["priority"], 0, 65535, "entry priority"))
                                      : 0);
  if (node["match"]) loadMatches(node["match"], entry);
  if (node["actions"]) loadActions(node["actions"], entry);
  if (node["counters"]) loadCounters(node["counters"], entry);
  if (node["policer"]) entry.setPolicer(loadPolicer(node["policer"]));
  if (node["parent_policer"]) {
    entry.setPolicerParent(std::make_shared<policer::Policer>(loadPolicer(node["parent_policer"])));
  }
  return entry;
}

void ScenarioLoader::loadMatches(const YAML::Node& node, FiltersEntry& entry) {
  if (!node.IsMap()) reader_.fail(node, "match must map match names to values");
  for (const auto& item : node) {
    const std::string key = reader_.key(item.first);
    if (key == "raw") {
      // Plain matches of any type number, for the library's error paths.
      const YAML::Node types = item.second;
      if (types.IsSequence()) {
        for (const YAML::Node& type : types) {
          entry.setMatch(
              Match(static_cast<filtersMatch_t>(reader_.integer(type, 0, 1000, "match type"))));
        }
      } else {
        entry.setMatch(
            Match(static_cast<filtersMatch_t>(reader_.integer(types, 0, 1000, "match type"))));
      }
      continue;
    }
    auto loaded = loadMatch(key, item.second);
    if (!loaded) {
      reader_.fail(item.first, "unknown match '" + key + "'" + didYouMean(key, matchNames()));
    }
    entry.setMatch(loaded);
  }
}

std::shared_ptr<const Match> ScenarioLoader::loadMatch(const std::string& key,
                                                       const YAML::Node& value) {
  auto byte = [&](const char* what, int max = 255) {
    return static_cast<unsigned char>(reader_.integer(value, 0, max, what));
  };
  auto flag = [&](const char* what) {
    return static_cast<unsigned char>(reader_.boolean(value, what) ? 1 : 0);
  };
  auto vlans = [&]() {
    std::set<unsigned short> ids;
    if (value.IsSequence()) {
      for (const YAML::Node& id : value)
        ids.insert(static_cast<unsigned short>(reader_.integer(id, 0, 4095, "VLAN id")));
    } else {
      ids.insert(static_cast<unsigned short>(reader_.integer(value, 0, 4095, "VLAN id")));
    }
    return ids;
  };
  auto pcps = [&]() {
    std::set<unsigned char> values;
    if (value.IsSequence()) {
      for (const YAML::Node& pcp : value)
        values.insert(static_cast<unsigned char>(reader_.integer(pcp, 0, 7, "PCP")));
    } else {
      values.insert(static_cast<unsigned char>(reader_.integer(value, 0, 7, "PCP")));
    }
    return values;
  };
  auto masked_mac = [&]() {
    auto parsed = parseMaskedMac(reader_.text(value, "a MAC address"));
    if (!parsed) reader_.fail(value, "malformed MAC address '" + value.Scalar() + "'");
    return *parsed;
  };
  auto ipv4 = [&]() {
    auto parsed = parseIpv4Prefix(reader_.text(value, "an IPv4 address"));
    if (!parsed) reader_.fail(value, "malformed IPv4 address '" + value.Scalar() + "'");
    return *parsed;
  };
  auto l4_port = [&]() {
    auto parsed = parseMaskedPort(reader_.text(value, "an L4 port"));
    if (!parsed)
      reader_.fail(value, "malformed L4 port '" + value.Scalar() + "' (port or port/mask)");
    return *parsed;
  };
  auto port_match = [&](bool ingress) -> std::shared_ptr<const Match> {
    std::list<limid_t> port_list;
    std::list<port_type_t> excluded;
    if (value.IsMap()) {
      reader_.expectMap(value, {"ports", "exclude"}, key.c_str());
      if (value["ports"]) port_list = interfaces(value["ports"], "a port");
      if (const YAML::Node types = value["exclude"]) {
        reader_.expectSequence(types, "exclude");
        for (const YAML::Node& type : types) {
          excluded.push_back(static_cast<port_type_t>(
              reader_.named(type, {"cpu", "ethernet", "lag", "virtual"}, "port type", 0, 100)));
        }
      }
    } else {
      port_list = interfaces(value, "a port");
    }
    if (ingress) return match<MatchIngressPorts>(port_list, excluded);
    return match<MatchEgressPorts>(port_list, excluded);
  };

  if (key == "ingress_ports") return port_match(true);
  if (key == "egress_ports") return port_match(false);
  if (key == "outer_vlan") return match<MatchExternalVlanId>(vlans());
  if (key == "inner_vlan") return match<MatchInternalVlanId>(vlans());
  if (key == "pcp") return match<MatchPcp>(pcps());
  if (key == "inner_pcp") return match<MatchInternalPcp>(pcps());
  if (key == "tpid") {
    return match<MatchTPID>(static_cast<unsigned short>(reader_.integer(value, 0, 0xffff, "tpid")));
  }
  if (key == "dst_mac") {
    auto mac = masked_mac();
    return match<MatchDstMac>(mac.value, mac.mask);
  }
  if (key == "src_mac") {
    auto mac = masked_mac();
    return match<MatchSrcMac>(mac.value, mac.mask);
  }
  if (key == "dst_l4_port") {
    auto port = l4_port();
    return match<MatchDstL4Port>(port.value, port.mask);
  }
  if (key == "src_l4_port") {
    auto port = l4_port();
    return match<MatchSrcL4Port>(port.value, port.mask);
  }
  if (key == "l2_src_entry") {
    return match<MatchL2SrcEntryType>(static_cast<unsigned char>(
        reader_.named(value, {"none", "static", "dynamic"}, "L2 source entry type", 0, 255)));
  }
  if (key == "src_ipv4") {
    auto ip = ipv4();
    return match<MatchSrcIPv4>(ip.value, ip.mask);
  }
  if (key == "dst_ipv4") {
    auto ip = ipv4();
    return match<MatchDstIPv4>(ip.value, ip.mask);
  }
  if (key == "dst_ipv6") {
    auto ip = parseIpv6Prefix(reader_.text(value, "an IPv6 address"));
    if (!ip) reader_.fail(value, "malformed IPv6 address '" + value.Scalar() + "'");
    return match<MatchDstIPv6>(ip->value, ip->mask);
  }
  if (key == "vlan_tagging") {
    return match<MatchVlanTagging>(static_cast<vlan_tagging_t>(
        reader_.named(value, {"untagged", "tagged"}, "VLAN tagging", 0, 100)));
  }
  if (key == "ip_protocol") {
    static const std::map<std::string, unsigned char> kProtocols = {
        {"icmp", 1}, {"igmp", 2}, {"tcp", 6}, {"udp", 17}, {"icmpv6", 58}};
    auto named = value.IsScalar() ? kProtocols.find(value.Scalar()) : kProtocols.end();
    return match<MatchIpProtocol>(named != kProtocols.end() ? named->second : byte("IP protocol"));
  }
  if (key == "packet_res") {
    return match<MatchPacketRes>(
        static_cast<en_Resolution>(reader_.integer(value, 0, 255, "packet resolution")));
  }
  if (key == "mpls_terminated") return match<MatchMplsTerm>(flag("mpls_terminated"));
  if (key == "tos") return match<MatchToS>(byte("ToS"));
  if (key == "ttl") return match<MatchTTL>(byte("TTL"));
  if (key == "virtual_port") return match<MatchVirtualPort>(interface(value, "a virtual port"));
  if (key == "src_port") return match<MatchSrcPort>(interface(value, "a source port"));
  if (key == "ingress_stp_state") {
    return match<MatchIngressStpState>(static_cast<en_StpState>(
        reader_.named(value, {"blocking", "learning", "forwarding"}, "STP state", 0, 255)));
  }
  if (key == "vlan_info") {
    return match<MatchVlanInfo>(vlan_info_t{
        static_cast<svc_vlan_type_t>(reader_.named(value, {"none", "uni", "nni", "e-line", "e-lan"},
                                                   "service VLAN type", 0, 255)),
        0});
  }
  if (key == "vrf")
    return match<MatchVrfId>(
        static_cast<unsigned int>(reader_.integer(value, 0, 0xffffffff, "VRF")));
  if (key == "drop") return match<MatchDrop>(flag("drop"));
  if (key == "my_station_hit") return match<MatchMyStationHit>(flag("my_station_hit"));
  if (key == "forwarding_type") {
    return match<MatchForwardingType>(static_cast<en_ForwardingType>(reader_.named(
        value, {"l2-vpn-point-to-point", "l2-vpn-multipoint"}, "forwarding type", 0, 255)));
  }
  if (key == "cpu_port" || key == "dest_cpu_port") {
    if (!reader_.boolean(value, key.c_str())) reader_.fail(value, key + " can only be true");
    return match<Match>(key == "cpu_port" ? FILTERS_MATCH_CPU_PORT : FILTERS_MATCH_DEST_CPU_PORT);
  }
  return nullptr;
}

void ScenarioLoader::loadActions(const YAML::Node& node, FiltersEntry& entry) {
  reader_.expectSequence(node, "actions");
  for (const YAML::Node& item : node) entry.setAction(loadAction(item));
}

std::shared_ptr<const Action> ScenarioLoader::loadAction(const YAML::Node& item) {
  static const std::map<std::string, filtersAction_t> kPlain = {
      {"permit", FILTERS_ACTION_PERMIT},
      {"drop", FILTERS_ACTION_DROP},
      {"copy_to_cpu", FILTERS_ACTION_COPY_TO_CPU},
      {"redirect_cancel", FILTERS_ACTION_REDIRECT_CANCEL},
      {"black_hole", FILTERS_ACTION_BLACK_HOLE},
      {"copy_inner_pcp_to_outer", FILTERS_ACTION_COPY_INNER_PCP_TO_OUTER},
      {"keep_from_cpu", FILTERS_ACTION_KEEP_FROM_CPU},
  };
  if (item.IsScalar()) {
    auto plain = kPlain.find(item.Scalar());
    if (plain == kPlain.end()) {
      std::vector<std::string> known;
      for (const auto& [name, type] : kPlain) known.push_back(name);
      reader_.fail(item, "unknown action '" + item.Scalar() + "'" + didYouMean(item.Scalar(), known));
    }
    return action<Action>(plain->second);
  }
  const std::string key =
      reader_.singleKey(item,
                        {"block_egress_ports", "copy_to_cpu_cancel", "set_pcp", "set_pcp_and_queue",
                         "set_inner_pcp", "set_dscp", "cos_queue", "cpu_cos_queue", "redirect",
                         "replace_dst_mac", "replace_src_mac", "l3_switch", "mpls_port_set", "raw"},
                        "an action");
  const YAML::Node value = item[key];
  auto byte = [&](const char* what, int max) {
    return static_cast<unsigned char>(reader_.integer(value, 0, max, what));
  };
  auto mac = [&]() {
    auto parsed = parseMac(reader_.text(value, "a MAC address"));
    if (!parsed) reader_.fail(value, "malformed MAC address '" + value.Scalar() + "'");
    return *parsed;
  };
  if (key == "block_egress_ports")
    return action<ActionBlockEgressPorts>(interfaces(value, "a port"));
  if (key == "copy_to_cpu_cancel") {
    return action<ActionCopyToCpuCancel>(
        reader_.named(value, {"copies", "switching"}, "cancel type", 0, 255));
  }
  if (key == "set_pcp") return action<ActionSetPcp>(byte("PCP", 7));
  if (key == "set_pcp_and_queue") return action<ActionSetPcpAndQueue>(byte("PCP", 7));
  if (key == "set_inner_pcp") return action<ActionSetInnerPcp>(byte("PCP", 7));
  if (key == "set_dscp") return action<ActionSetDSCP>(byte("DSCP", 63));
  if (key == "cos_queue") return action<ActionMapToCosQueue>(byte("CoS queue", 255));
  if (key == "cpu_cos_queue") return action<ActionMapToCpuCosQueue>(byte("CoS queue", 255));
  if (key == "redirect") return action<ActionRedirect>(interfaces(value, "a redirect port"));
  if (key == "replace_dst_mac") return action<ActionReplaceDstMac>(mac());
  if (key == "replace_src_mac") return action<ActionReplaceSrcMac>(mac());
  if (key == "l3_switch") {
    return action<ActionL3Switch>(
        static_cast<unsigned int>(reader_.integer(value, 0, 0x7fffffff, "destination id")));
  }
  if (key == "mpls_port_set") {
    reader_.expectMap(value, {"vpn", "access"}, "mpls_port_set");
    return action<ActionMplsPortSet>(interface(reader_.need(value, "vpn"), "a VPN"),
                                     interface(reader_.need(value, "access"), "a VPN access port"));
  }
  return action<Action>(
      static_cast<filtersAction_t>(reader_.integer(value, 0, 1000, "action type")));
}

void ScenarioLoader::loadCounters(const YAML::Node& node, FiltersEntry& entry) {
  reader_.expectSequence(node, "counters");
  for (const YAML::Node& counter : node) {
    reader_.expectMap(counter, {"id", "type"}, "a counter");
    // Type numbers pass through: the library judges an unsupported type.
    const int type =
        reader_.named(reader_.need(counter, "type"),
                      {"none", "packets", "bytes", "red-bytes", "not-red-bytes", "yellow-bytes",
                       "not-yellow-bytes", "green-bytes", "not-green-bytes"},
                      "counter type", 0, 255);
    entry.addCounter(Counter(static_cast<unsigned short>(reader_.integer(
                                 reader_.need(counter, "id"), 0, 65535, "counter id")),
                             static_cast<counter_type_t>(type)));
  }
}

policer::Policer ScenarioLoader::loadPolicer(const YAML::Node& node) {
  reader_.expectMap(node, {"id", "stage", "mode", "actions"}, "a policer");
  const YAML::Node mode = reader_.need(node, "mode");
  reader_.expectMap(mode, {"type", "cir", "cbs", "pir", "pbs", "eir", "ebs"}, "a policer mode");
  auto rate = [&](const char* key) {
    return mode[key] ? static_cast<unsigned>(reader_.integer(mode[key], 0, 0xffffffff, key)) : 0u;
  };
  const auto type = static_cast<policer::Mode::Type>(
      reader_.named(reader_.need(mode, "type"), {"sr-tcm", "tr-tcm", "tr-tcm-ds", "flow", "none"},
                    "policer mode"));
  std::list<policer::Action> actions;
  if (const YAML::Node list = node["actions"]) {
    reader_.expectSequence(list, "policer actions");
    for (const YAML::Node& item : list) {
      reader_.expectMap(item, {"color", "drop", "set_pcp", "set_dscp"}, "a policer action");
      const auto color = static_cast<policer::Color>(
          reader_.named(reader_.need(item, "color"), {"red", "yellow", "green"}, "colour"));
      if (item["drop"]) {
        actions.emplace_back(color, policer::Action::TYPE_DROP);
      } else if (item["set_pcp"]) {
        actions.emplace_back(
            color, policer::Action::TYPE_SET_PCP,
            static_cast<unsigned char>(reader_.integer(item["set_pcp"], 0, 7, "PCP")));
      } else if (item["set_dscp"]) {
        actions.emplace_back(
            color, policer::Action::TYPE_SET_DSCP, 0,
            static_cast<unsigned char>(reader_.integer(item["set_dscp"], 0, 63, "DSCP")));
      } else {
        reader_.fail(item, "a policer action needs drop, set_pcp or set_dscp");
      }
    }
  }
  const auto policer_stage =
      node["stage"] ? static_cast<policer::Policer::Stage>(reader_.named(
                          node["stage"], {"ingress", "egress", "none"}, "policer stage"))
                    : policer::Policer::STAGE_NONE;
  return policer::Policer(
      static_cast<unsigned>(reader_.integer(reader_.need(node, "id"), 0, 0xffffffff, "policer id")),
      policer_stage,
      policer::Mode(type, rate("cir"), rate("cbs"), rate("pir"), rate("pbs"), rate("eir"),
                    rate("ebs")),
      actions);
}

}  // namespace filtersim
