// Groups and entries of a scenario: matches, actions, counters and policers by name.
#include "catalogue.h"
#include "scenario_loader.h"

#include <functional>

#include "value_parsers.h"

namespace filtersim {
namespace {

using namespace FiltersCommon;

using MatchPtr = std::shared_ptr<const Match>;
using ActionPtr = std::shared_ptr<const Action>;

template <class M, class... Values>
MatchPtr match(Values&&... values) {
  return std::make_shared<M>(std::forward<Values>(values)...);
}

template <class A, class... Values>
ActionPtr action(Values&&... values) {
  return std::make_shared<A>(std::forward<Values>(values)...);
}

template <class M, class T>
MatchPtr maskedMatch(const Masked<T>& masked) {
  return match<M>(masked.value, masked.mask);
}

template <class M>
MatchPtr portsMatch(const ScenarioLoader::PortSelection& selection) {
  return match<M>(selection.ports, selection.excluded);
}

template <class T>
T number(const YamlReader& reader, const YAML::Node& node, int64_t max, const char* what) {
  return static_cast<T>(reader.integer(node, 0, max, what));
}

// One value or a list of them.
template <class T>
std::set<T> valueSet(const YamlReader& reader, const YAML::Node& node, int64_t max,
                     const char* what) {
  std::set<T> values;
  if (!node.IsSequence()) return {number<T>(reader, node, max, what)};
  for (const YAML::Node& value : node) values.insert(number<T>(reader, value, max, what));
  return values;
}

// One of `names` by its index, or a number up to 255.
template <class T>
T named(const YamlReader& reader, const YAML::Node& node, std::initializer_list<const char*> names,
        const char* what) {
  return static_cast<T>(reader.named(node, names, what, 0, 255));
}

unsigned char flag(const YamlReader& reader, const YAML::Node& node, const char* what) {
  return reader.boolean(node, what) ? 1 : 0;
}

MacAddress mac(const YamlReader& reader, const YAML::Node& node) {
  return reader.parsed(node, parseMac, "a MAC address", "MAC address");
}

Masked<MacAddress> maskedMac(const YamlReader& reader, const YAML::Node& node) {
  return reader.parsed(node, parseMaskedMac, "a MAC address", "MAC address");
}

Masked<uint32_t> ipv4Prefix(const YamlReader& reader, const YAML::Node& node) {
  return reader.parsed(node, parseIpv4Prefix, "an IPv4 address", "IPv4 address");
}

Masked<uint16_t> l4Port(const YamlReader& reader, const YAML::Node& node) {
  return reader.parsed(node, parseMaskedPort, "an L4 port", "L4 port", " (port or port/mask)");
}

// A match that only exists as true.
MatchPtr cpuPortMatch(const YamlReader& reader, const YAML::Node& node, const char* key,
                      filtersMatch_t type) {
  if (!reader.boolean(node, key)) reader.fail(node, std::string(key) + " can only be true");
  return match<Match>(type);
}

template <class Value>
const Value* byName(const std::vector<std::pair<std::string, Value>>& table,
                    const std::string& name) {
  for (const auto& [entry_name, value] : table) {
    if (entry_name == name) return &value;
  }
  return nullptr;
}

template <class Value>
std::vector<std::string> namesOf(const std::vector<std::pair<std::string, Value>>& table) {
  std::vector<std::string> names;
  for (const auto& [name, value] : table) names.push_back(name);
  return names;
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
  std::map<unsigned int, EntryPlaces> places;
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
                                      std::to_string(first->second) +
                                      "); give each entry its own id");
      }
      places.emplace(loaded.getId(), entryPlaces(entry));
      group.addEntry(std::move(loaded));
    }
  }
  return CreateGroup{group, std::move(places)};
}

Place ScenarioLoader::place(const YAML::Node& node) const {
  return Place{reader_.line(node.Mark()), node.Mark().column + 1};
}

EntryPlaces ScenarioLoader::entryPlaces(const YAML::Node& node) const {
  EntryPlaces places{place(node), {}, {}};
  for (const auto& item : node["match"]) {
    const std::string name = item.first.Scalar();
    if (name != "raw") places.matches.emplace_back(name, place(item.first));
  }
  for (const YAML::Node& counter : node["counters"]) {
    const YAML::Node id = counter["id"];
    places.counters.emplace(
        static_cast<unsigned short>(reader_.integer(id, 0, 65535, "counter id")), place(id));
  }
  return places;
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
  if (!node.IsMap())
    reader_.fail(node, "match must map match names to values, not " + kindOf(node));
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

ScenarioLoader::PortSelection ScenarioLoader::portSelection(const YAML::Node& node,
                                                            const char* what) const {
  if (!node.IsMap()) return {interfaces(node, "a port"), {}};
  reader_.expectMap(node, {"ports", "exclude"}, what);
  PortSelection selection;
  if (node["ports"]) selection.ports = interfaces(node["ports"], "a port");
  if (const YAML::Node types = node["exclude"]) {
    reader_.expectSequence(types, "exclude");
    for (const YAML::Node& type : types) {
      selection.excluded.push_back(static_cast<port_type_t>(
          reader_.named(type, {"cpu", "ethernet", "lag", "virtual"}, "port type", 0, 100)));
    }
  }
  return selection;
}

std::shared_ptr<const Match> ScenarioLoader::loadMatch(const std::string& key,
                                                       const YAML::Node& value) {
  using L = const ScenarioLoader&;
  using N = const YAML::Node&;
  static const std::map<std::string, MatchPtr (*)(L, N)> kMatches = {
      {"ingress_ports",
       [](L l, N v) { return portsMatch<MatchIngressPorts>(l.portSelection(v, "ingress_ports")); }},
      {"egress_ports",
       [](L l, N v) { return portsMatch<MatchEgressPorts>(l.portSelection(v, "egress_ports")); }},
      {"outer_vlan",
       [](L l, N v) {
         return match<MatchExternalVlanId>(valueSet<unsigned short>(l.reader_, v, 4095, "VLAN id"));
       }},
      {"inner_vlan",
       [](L l, N v) {
         return match<MatchInternalVlanId>(valueSet<unsigned short>(l.reader_, v, 4095, "VLAN id"));
       }},
      {"pcp",
       [](L l, N v) { return match<MatchPcp>(valueSet<unsigned char>(l.reader_, v, 7, "PCP")); }},
      {"inner_pcp",
       [](L l, N v) {
         return match<MatchInternalPcp>(valueSet<unsigned char>(l.reader_, v, 7, "PCP"));
       }},
      {"tpid",
       [](L l, N v) {
         return match<MatchTPID>(number<unsigned short>(l.reader_, v, 0xffff, "tpid"));
       }},
      {"dst_mac", [](L l, N v) { return maskedMatch<MatchDstMac>(maskedMac(l.reader_, v)); }},
      {"src_mac", [](L l, N v) { return maskedMatch<MatchSrcMac>(maskedMac(l.reader_, v)); }},
      {"dst_l4_port", [](L l, N v) { return maskedMatch<MatchDstL4Port>(l4Port(l.reader_, v)); }},
      {"src_l4_port", [](L l, N v) { return maskedMatch<MatchSrcL4Port>(l4Port(l.reader_, v)); }},
      {"src_ipv4", [](L l, N v) { return maskedMatch<MatchSrcIPv4>(ipv4Prefix(l.reader_, v)); }},
      {"dst_ipv4", [](L l, N v) { return maskedMatch<MatchDstIPv4>(ipv4Prefix(l.reader_, v)); }},
      {"dst_ipv6",
       [](L l, N v) {
         return maskedMatch<MatchDstIPv6>(
             l.reader_.parsed(v, parseIpv6Prefix, "an IPv6 address", "IPv6 address"));
       }},
      {"l2_src_entry",
       [](L l, N v) {
         return match<MatchL2SrcEntryType>(named<unsigned char>(
             l.reader_, v, {"none", "static", "dynamic"}, "L2 source entry type"));
       }},
      {"vlan_tagging",
       [](L l, N v) {
         return match<MatchVlanTagging>(static_cast<vlan_tagging_t>(
             l.reader_.named(v, {"untagged", "tagged"}, "VLAN tagging", 0, 100)));
       }},
      {"ip_protocol",
       [](L l, N v) {
         const auto named_protocol = ipProtocolOfName(v.IsScalar() ? v.Scalar() : "");
         return match<MatchIpProtocol>(
             named_protocol ? *named_protocol
                            : number<unsigned char>(l.reader_, v, 255, "IP protocol"));
       }},
      {"packet_res",
       [](L l, N v) {
         return match<MatchPacketRes>(
             number<en_Resolution>(l.reader_, v, 255, "packet resolution"));
       }},
      {"mpls_terminated",
       [](L l, N v) { return match<MatchMplsTerm>(flag(l.reader_, v, "mpls_terminated")); }},
      {"tos",
       [](L l, N v) { return match<MatchToS>(number<unsigned char>(l.reader_, v, 255, "ToS")); }},
      {"ttl",
       [](L l, N v) { return match<MatchTTL>(number<unsigned char>(l.reader_, v, 255, "TTL")); }},
      {"virtual_port",
       [](L l, N v) { return match<MatchVirtualPort>(l.interface(v, "a virtual port")); }},
      {"src_port", [](L l, N v) { return match<MatchSrcPort>(l.interface(v, "a source port")); }},
      {"ingress_stp_state",
       [](L l, N v) {
         return match<MatchIngressStpState>(
             named<en_StpState>(l.reader_, v, {"blocking", "learning", "forwarding"}, "STP state"));
       }},
      {"vlan_info",
       [](L l, N v) {
         return match<MatchVlanInfo>(vlan_info_t{
             named<svc_vlan_type_t>(l.reader_, v, {"none", "uni", "nni", "e-line", "e-lan"},
                                    "service VLAN type"),
             0});
       }},
      {"vrf",
       [](L l, N v) {
         return match<MatchVrfId>(number<unsigned int>(l.reader_, v, 0xffffffff, "VRF"));
       }},
      {"drop", [](L l, N v) { return match<MatchDrop>(flag(l.reader_, v, "drop")); }},
      {"my_station_hit",
       [](L l, N v) { return match<MatchMyStationHit>(flag(l.reader_, v, "my_station_hit")); }},
      {"forwarding_type",
       [](L l, N v) {
         return match<MatchForwardingType>(named<en_ForwardingType>(
             l.reader_, v, {"l2-vpn-point-to-point", "l2-vpn-multipoint"}, "forwarding type"));
       }},
      {"cpu_port",
       [](L l, N v) { return cpuPortMatch(l.reader_, v, "cpu_port", FILTERS_MATCH_CPU_PORT); }},
      {"dest_cpu_port",
       [](L l, N v) {
         return cpuPortMatch(l.reader_, v, "dest_cpu_port", FILTERS_MATCH_DEST_CPU_PORT);
       }},
  };
  auto read = kMatches.find(key);
  return read == kMatches.end() ? nullptr : read->second(*this, value);
}

void ScenarioLoader::loadActions(const YAML::Node& node, FiltersEntry& entry) {
  reader_.expectSequence(node, "actions");
  for (const YAML::Node& item : node) entry.setAction(loadEntryAction(item));
}

std::shared_ptr<const Action> ScenarioLoader::loadEntryAction(const YAML::Node& item) {
  static const std::vector<std::pair<std::string, filtersAction_t>> kPlain = {
      {"permit", FILTERS_ACTION_PERMIT},
      {"drop", FILTERS_ACTION_DROP},
      {"copy_to_cpu", FILTERS_ACTION_COPY_TO_CPU},
      {"redirect_cancel", FILTERS_ACTION_REDIRECT_CANCEL},
      {"black_hole", FILTERS_ACTION_BLACK_HOLE},
      {"copy_inner_pcp_to_outer", FILTERS_ACTION_COPY_INNER_PCP_TO_OUTER},
      {"keep_from_cpu", FILTERS_ACTION_KEEP_FROM_CPU},
  };
  using L = const ScenarioLoader&;
  using N = const YAML::Node&;
  // In the order the error message lists them.
  static const std::vector<std::pair<std::string, ActionPtr (*)(L, N)>> kWithValue = {
      {"block_egress_ports",
       [](L l, N v) { return action<ActionBlockEgressPorts>(l.interfaces(v, "a port")); }},
      {"copy_to_cpu_cancel",
       [](L l, N v) {
         return action<ActionCopyToCpuCancel>(
             l.reader_.named(v, {"copies", "switching"}, "cancel type", 0, 255));
       }},
      {"set_pcp",
       [](L l, N v) {
         return action<ActionSetPcp>(number<unsigned char>(l.reader_, v, 7, "PCP"));
       }},
      {"set_pcp_and_queue",
       [](L l, N v) {
         return action<ActionSetPcpAndQueue>(number<unsigned char>(l.reader_, v, 7, "PCP"));
       }},
      {"set_inner_pcp",
       [](L l, N v) {
         return action<ActionSetInnerPcp>(number<unsigned char>(l.reader_, v, 7, "PCP"));
       }},
      {"set_dscp",
       [](L l, N v) {
         return action<ActionSetDSCP>(number<unsigned char>(l.reader_, v, 63, "DSCP"));
       }},
      {"cos_queue",
       [](L l, N v) {
         return action<ActionMapToCosQueue>(number<unsigned char>(l.reader_, v, 255, "CoS queue"));
       }},
      {"cpu_cos_queue",
       [](L l, N v) {
         return action<ActionMapToCpuCosQueue>(
             number<unsigned char>(l.reader_, v, 255, "CoS queue"));
       }},
      {"redirect",
       [](L l, N v) { return action<ActionRedirect>(l.interfaces(v, "a redirect port")); }},
      {"replace_dst_mac", [](L l, N v) { return action<ActionReplaceDstMac>(mac(l.reader_, v)); }},
      {"replace_src_mac", [](L l, N v) { return action<ActionReplaceSrcMac>(mac(l.reader_, v)); }},
      {"l3_switch",
       [](L l, N v) {
         return action<ActionL3Switch>(
             number<unsigned int>(l.reader_, v, 0x7fffffff, "destination id"));
       }},
      {"mpls_port_set",
       [](L l, N v) {
         l.reader_.expectMap(v, {"vpn", "access"}, "mpls_port_set");
         return action<ActionMplsPortSet>(
             l.interface(l.reader_.need(v, "vpn"), "a VPN"),
             l.interface(l.reader_.need(v, "access"), "a VPN access port"));
       }},
      {"raw",
       [](L l, N v) {
         return action<Action>(number<filtersAction_t>(l.reader_, v, 1000, "action type"));
       }},
  };
  if (item.IsScalar()) {
    const auto* plain = byName(kPlain, item.Scalar());
    if (!plain) {
      reader_.fail(item, "unknown action '" + item.Scalar() + "'" +
                             didYouMean(item.Scalar(), namesOf(kPlain)));
    }
    return action<Action>(*plain);
  }
  const std::string key = reader_.singleKey(item, namesOf(kWithValue), "an action");
  return (*byName(kWithValue, key))(*this, item[key]);
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
      if ((item["drop"] ? 1 : 0) + (item["set_pcp"] ? 1 : 0) + (item["set_dscp"] ? 1 : 0) != 1) {
        reader_.fail(item, "a policer action needs one of drop, set_pcp or set_dscp");
      }
      if (item["drop"]) {
        if (!reader_.boolean(item["drop"], "drop"))
          reader_.fail(item["drop"], "drop can only be true");
        actions.emplace_back(color, policer::Action::TYPE_DROP);
      } else if (item["set_pcp"]) {
        actions.emplace_back(
            color, policer::Action::TYPE_SET_PCP,
            static_cast<unsigned char>(reader_.integer(item["set_pcp"], 0, 7, "PCP")));
      } else {
        actions.emplace_back(
            color, policer::Action::TYPE_SET_DSCP, 0,
            static_cast<unsigned char>(reader_.integer(item["set_dscp"], 0, 63, "DSCP")));
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
