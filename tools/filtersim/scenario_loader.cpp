// The scenario's top level: the switch and the steps with their expectations.
#include "scenario_loader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "chip_choice.h"
#include "step_stream.h"
#include "value_parsers.h"

namespace filtersim {
namespace {

// The fields of a packet a verdict can change, as `unchanged` names them.
const std::initializer_list<const char*> kVerdictFields = {
    "pcp", "inner_pcp", "dscp", "internal_priority", "cos_queue", "vlan", "src_mac", "dst_mac"};

const std::initializer_list<const char*> kStepKinds = {
    "create_group", "create_entry",       "update_entry",   "delete_entry",
    "read_counter", "clear_counter",      "lag_member_add", "lag_member_remove",
    "lag_destroy",  "destination_remove", "clear_cache",    "show",
    "packet",       "packets"};

// The steps must be a list; an empty value is placed at its key, where something is missing.
void expectSteps(const YamlReader& reader, const YAML::Node& root) {
  const YAML::Node steps = root["steps"];
  if (steps.IsNull()) {
    for (const auto& item : root) {
      if (item.first.Scalar() == "steps") {
        reader.fail(item.first, "steps must be a list, not empty; give [] for no steps");
      }
    }
  }
  reader.expectSequence(steps, "steps");
}

}  // namespace

Scenario loadScenarioText(const std::string& text, const std::string& name) {
  const ScenarioStream stream(text, name);
  Scenario scenario{stream.file(), stream.setup(), {}};
  stream.forEachStep([&](const Step& step) { scenario.steps.push_back(step); });
  return scenario;
}

Scenario loadScenarioFile(const std::string& path) {
  return loadScenarioText(readScenarioFile(path), path);
}

std::string readScenarioFile(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error) throw LoadError(path, 1, 1, "cannot read the file: " + error.message());
  if (fs::is_directory(status)) {
    throw LoadError(path, 1, 1, "this is a directory; give a scenario file (.yaml)");
  }
  if (!fs::is_regular_file(status)) {
    throw LoadError(path, 1, 1, "this is not a regular file; give a scenario file (.yaml)");
  }
  const uintmax_t size = fs::file_size(path, error);
  if (!error && size > kMaxScenarioBytes) {
    throw LoadError(path, 1, 1,
                    "the file has " + std::to_string(size) + " bytes, more than the " +
                        std::to_string(kMaxScenarioBytes >> 20) + " MiB a scenario may have");
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) throw LoadError(path, 1, 1, std::string("cannot read the file: ") + std::strerror(errno));
  std::ostringstream read;
  read << in.rdbuf();
  std::string text = read.str();
  if (const size_t nul = text.find('\0'); nul != std::string::npos) {
    const size_t line_start = text.rfind('\n', nul);
    const int line = static_cast<int>(std::count(text.begin(), text.begin() + static_cast<long>(nul), '\n')) + 1;
    const int column = static_cast<int>(nul - (line_start == std::string::npos ? 0 : line_start + 1)) + 1;
    throw LoadError(path, line, column, "the file is not text (it holds a NUL byte); give a YAML scenario");
  }
  return text;
}

Scenario ScenarioLoader::load(const YAML::Node& root) {
  if (!root.IsDefined() || root.IsNull()) {
    throw LoadError(reader_.file(), 1, 1, "the scenario is empty");
  }
  reader_.refuseDuplicateKeys(root);
  reader_.expectMap(root, {"switch", "steps"}, "the scenario");
  Scenario scenario;
  scenario.file = reader_.file();
  scenario.setup = loadSwitch(root["switch"]);
  const YAML::Node steps = root["steps"];
  if (!steps) reader_.fail(root, "the scenario has no steps");
  expectSteps(reader_, root);
  for (const YAML::Node& step : steps) scenario.steps.push_back(loadStep(step));
  return scenario;
}

SwitchSetup ScenarioLoader::loadHeader(const YAML::Node& root, bool items_left_out) {
  if (!root.IsDefined() || root.IsNull()) {
    throw LoadError(reader_.file(), 1, 1, "the scenario is empty");
  }
  reader_.refuseDuplicateKeys(root);
  reader_.expectMap(root, {"switch", "steps"}, "the scenario");
  const YAML::Node steps = root["steps"];
  if (!steps) reader_.fail(root, "the scenario has no steps");
  SwitchSetup setup = loadSwitch(root["switch"]);
  // Items left out leave the key empty; without them its value is all there is.
  if (!(items_left_out && steps.IsNull())) expectSteps(reader_, root);
  return setup;
}

Step ScenarioLoader::loadStepItem(const YAML::Node& item, int first_line, bool keys_unique) {
  reader_.setFirstLine(first_line);
  if (!keys_unique) reader_.refuseDuplicateKeys(item);
  Step step = loadStep(item);
  reader_.setFirstLine(1);
  return step;
}

SwitchSetup ScenarioLoader::loadSwitch(const YAML::Node& node) {
  SwitchSetup setup;
  interfaces_.insert(limid_cpuport_from_components(1, 1, 0, 1));
  if (!node) {
    for (int port = 1; port <= setup.front_ports; ++port) interfaces_.insert(limid_ethernet(port));
    return setup;
  }
  reader_.expectMap(node,
                    {"ports", "remote_ports", "unmapped_ports", "lags", "destinations", "vpns",
                     "virtual_ports", "service_ports", "vlan_classes", "device", "chip"},
                    "switch");
  if (node["ports"])
    setup.front_ports = static_cast<int>(reader_.integer(node["ports"], 1, 250, "ports"));
  for (int port = 1; port <= setup.front_ports; ++port) interfaces_.insert(limid_ethernet(port));
  setup.device.front_ports.clear();
  for (int port = 1; port <= setup.front_ports; ++port) setup.device.front_ports.push_back(port);
  if (const YAML::Node unmapped = node["unmapped_ports"]) {
    reader_.expectSequence(unmapped, "unmapped_ports");
    for (const YAML::Node& port : unmapped) {
      setup.unmapped_ports.push_back(declare(port, limid_type_ethernet));
    }
  }
  loadDeclaredInterfaces(node, setup);
  if (node["lags"]) loadLags(node["lags"], setup);
  if (node["destinations"]) loadDestinations(node["destinations"], setup);
  if (const YAML::Node classes = node["vlan_classes"]) {
    reader_.expectMap(classes, {"uni", "nni", "e-lan", "e-line"}, "vlan_classes");
    for (const auto& item : classes) {
      reader_.expectMap(item.second, {"data", "mask"}, "a VLAN class");
      const int type =
          reader_.named(item.first, {"none", "uni", "nni", "e-lan", "e-line"}, "service VLAN type");
      setup.vlan_classes.push_back(
          {type,
           static_cast<unsigned>(
               reader_.integer(reader_.need(item.second, "data"), 0, 0xffffffff, "data")),
           static_cast<unsigned>(
               reader_.integer(reader_.need(item.second, "mask"), 0, 0xffffffff, "mask"))});
    }
  }
  if (node["device"]) loadDevice(node["device"], setup);
  if (const YAML::Node chip = node["chip"]) {
    const std::string name = reader_.text(chip, "a chip name");
    if (setup.geometry_line) {
      reader_.fail(chip, "a chip's geometry is the chip's: drop the device's slices_per_stage and "
                         "entries_per_slice (line " + std::to_string(setup.geometry_line) + ")");
    }
    if (std::optional<std::string> error = applyChip(name, setup.device)) reader_.fail(chip, *error);
    setup.chip = name;
  }
  return setup;
}

limid_t ScenarioLoader::declare(const YAML::Node& name, limid_type_t type) {
  auto limid = limid_from_intfname(reader_.text(name, "an interface name"));
  if (!limid || !limid_is_from_type(*limid, type)) {
    reader_.fail(name, "'" + name.Scalar() + "' is not a valid name for this kind of interface");
  }
  interfaces_.insert(*limid);
  return *limid;
}

limid_t ScenarioLoader::interface(const YAML::Node& node, const char* what) const {
  const std::string name = reader_.text(node, what);
  auto limid = limid_from_intfname(name);
  if (!limid || !interfaces_.count(*limid)) {
    reader_.fail(node, std::string("unknown interface '") + name + "' as " + what +
                           " (the switch has " + declaredInterfaces() + ")");
  }
  return *limid;
}

// The declared interfaces, runs of consecutive Ethernet ports written as first to last.
std::string ScenarioLoader::declaredInterfaces() const {
  std::vector<std::string> names;
  std::vector<unsigned> ethernet;
  for (const limid_t& declared : interfaces_) {
    if (limid_is_from_type(declared, limid_type_ethernet)) {
      ethernet.push_back(limid_number(declared));
    } else {
      names.push_back(limid_name(declared));
    }
  }
  std::sort(ethernet.begin(), ethernet.end());
  std::vector<std::string> runs;
  for (size_t first = 0; first < ethernet.size();) {
    size_t last = first;
    while (last + 1 < ethernet.size() && ethernet[last + 1] == ethernet[last] + 1) ++last;
    runs.push_back("eth" + std::to_string(ethernet[first]) +
                   (last > first ? " to eth" + std::to_string(ethernet[last]) : ""));
    first = last + 1;
  }
  runs.insert(runs.end(), names.begin(), names.end());
  std::string text;
  for (const std::string& run : runs) text += (text.empty() ? "" : ", ") + run;
  return text;
}

limid_t ScenarioLoader::port(const YAML::Node& node, const char* what) const {
  const limid_t limid = interface(node, what);
  if (!limid_is_from_type(limid, limid_type_ethernet) &&
      !limid_is_from_type(limid, limid_type_cpuport)) {
    reader_.fail(node, "'" + node.Scalar() + "' is not a port: " + what +
                           " takes a port (ethN or cpu0)");
  }
  return limid;
}

std::list<limid_t> ScenarioLoader::interfaces(const YAML::Node& node, const char* what) const {
  std::list<limid_t> list;
  if (node.IsScalar()) {
    list.push_back(interface(node, what));
    return list;
  }
  if (!node.IsSequence()) {
    reader_.fail(node,
                 std::string(what) + " must be a name or a list of names, not " + kindOf(node));
  }
  for (const YAML::Node& item : node) list.push_back(interface(item, what));
  return list;
}

void ScenarioLoader::loadLags(const YAML::Node& node, SwitchSetup& setup) {
  if (!node.IsMap())
    reader_.fail(node, "lags must be a mapping of LAG names to member lists, not " + kindOf(node));
  std::map<limid_t, limid_t> lag_of_member;
  for (const auto& item : node) {
    Lag lag{declare(item.first, limid_type_lag), {}};
    const std::string lag_name = limid_name(lag.lag);
    std::vector<YAML::Node> member_nodes;  // one member or a list of them
    if (item.second.IsScalar()) {
      member_nodes.push_back(item.second);
    } else {
      reader_.expectSequence(item.second, "a LAG's members");
      for (const YAML::Node& member_node : item.second) member_nodes.push_back(member_node);
    }
    for (const YAML::Node& member_node : member_nodes) {
      const limid_t member = interface(member_node, "a LAG member");
      if (limid_is_from_type(member, limid_type_lag)) {
        reader_.fail(member_node, "a LAG cannot be a member of a LAG (" + limid_name(member) +
                                      " in " + lag_name + ")");
      }
      auto [owner, added] = lag_of_member.emplace(member, lag.lag);
      if (!added) {
        reader_.fail(member_node, limid_name(member) +
                                      (owner->second == lag.lag ? " is listed twice in " + lag_name
                                                                : " is already a member of " +
                                                                      limid_name(owner->second)) +
                                      "; a port joins one LAG once");
      }
      lag.members.push_back(member);
    }
    setup.lags.push_back(lag);
  }
}

void ScenarioLoader::loadDeclaredInterfaces(const YAML::Node& node, SwitchSetup& setup) {
  if (const YAML::Node remote = node["remote_ports"]) {
    reader_.expectMap(remote, "remote_ports");
    for (const auto& item : remote) {
      reader_.expectMap(item.second, {"module", "port"}, "a remote port");
      setup.remote_ports.push_back(
          {declare(item.first, limid_type_ethernet),
           static_cast<int>(
               reader_.integer(reader_.need(item.second, "module"), 0, 0x7fff, "module")),
           static_cast<int>(reader_.integer(reader_.need(item.second, "port"), 0, 0x7ff, "port"))});
    }
  }
  if (const YAML::Node vpns = node["vpns"]) {
    reader_.expectSequence(vpns, "vpns");
    for (const YAML::Node& vpn : vpns) {
      reader_.expectMap(vpn, {"vpn", "access", "mpls_port"}, "a VPN access port");
      setup.vpns.push_back({declare(reader_.need(vpn, "vpn"), limid_type_vpn),
                            declare(reader_.need(vpn, "access"), limid_type_vpn_access),
                            static_cast<int>(reader_.integer(reader_.need(vpn, "mpls_port"), 0,
                                                             0x7fffffff, "mpls_port"))});
    }
  }
  if (const YAML::Node ports = node["virtual_ports"]) {
    if (!ports.IsMap())
      reader_.fail(ports, "virtual_ports must map names to gports, not " + kindOf(ports));
    for (const auto& item : ports) {
      const limid_t port = declare(item.first, limid_type_vpn_access);
      const int gport = static_cast<int>(reader_.integer(item.second, 0, 0x7fffffff, "gport"));
      setup.virtual_ports[port] = gport;
      virtual_port_gports_[port] = gport;
    }
  }
  if (const YAML::Node ports = node["service_ports"]) {
    if (!ports.IsMap())
      reader_.fail(ports, "service_ports must map names to local ports, not " + kindOf(ports));
    for (const auto& item : ports) {
      const limid_t port = declare(item.first, limid_type_vpn_access);
      setup.service_ports[port] = interface(item.second, "a service port's local port");
    }
  }
}

void ScenarioLoader::loadDestinations(const YAML::Node& node, SwitchSetup& setup) {
  if (!node.IsMap())
    reader_.fail(node, "destinations must map ids to {port, mac}, not " + kindOf(node));
  for (const auto& item : node) {
    reader_.expectMap(item.second, {"port", "mac"}, "a destination");
    const YAML::Node mac_node = reader_.need(item.second, "mac");
    auto mac = parseMac(reader_.text(mac_node, "mac"));
    if (!mac) reader_.fail(mac_node, "malformed MAC address '" + mac_node.Scalar() + "'");
    setup.destinations.push_back(
        {static_cast<int>(reader_.integer(item.first, 0, 0x7fffffff, "destination id")),
         interface(reader_.need(item.second, "port"), "a destination port"), *mac});
  }
}

void ScenarioLoader::loadDevice(const YAML::Node& node, SwitchSetup& setup) {
  bcmsim::Config& device = setup.device;
  reader_.expectMap(node,
                    {"slices_per_stage", "entries_per_slice", "disabled_ports", "internal_ports"},
                    "device");
  // Equal slices per stage: a count or a size not given keeps the configuration's.
  std::array<int, bcmsim::kStageCount> slices{}, entries{};
  for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
    slices[stage] = static_cast<int>(device.slices[stage].size());
    entries[stage] = device.slices[stage].empty() ? 0 : device.slices[stage].front();
  }
  auto triple = [&](const char* key, std::array<int, bcmsim::kStageCount>& out) {
    if (!node[key]) return;
    reader_.expectSequence(node[key], key);
    if (node[key].size() != 3) reader_.fail(node[key], std::string(key) + " needs three values");
    for (int i = 0; i < 3; ++i)
      out[i] = static_cast<int>(reader_.integer(node[key][i], 1, 4096, key));
  };
  triple("slices_per_stage", slices);
  triple("entries_per_slice", entries);
  if (node["slices_per_stage"] || node["entries_per_slice"]) {
    const YAML::Node geometry = node["slices_per_stage"] ? node["slices_per_stage"]
                                                         : node["entries_per_slice"];
    setup.geometry_line = reader_.line(geometry.Mark());
    for (int stage = 0; stage < bcmsim::kStageCount; ++stage)
      device.slices[stage] = bcmsim::Config::equal_slices(slices[stage], entries[stage]);
  }
  auto ports = [&](const char* key, std::vector<int>& out) {
    if (!node[key]) return;
    reader_.expectSequence(node[key], key);
    for (const YAML::Node& port : node[key])
      out.push_back(static_cast<int>(reader_.integer(port, 0, 255, key)));
  };
  ports("disabled_ports", device.disabled_ports);
  ports("internal_ports", device.internal_ports);
}

Step ScenarioLoader::loadStep(const YAML::Node& node) {
  reader_.expectMap(node, "a step");
  Step step;
  step.line = reader_.line(node.Mark());
  for (const auto& item : node) {
    const std::string key = reader_.key(item.first);
    if (key == "expect") continue;
    bool known = false;
    for (const char* kind : kStepKinds) known |= key == kind;
    if (!known) {
      reader_.fail(item.first, "unknown step '" + key + "'" +
                                   didYouMean(key, std::vector<std::string>(kStepKinds.begin(),
                                                                            kStepKinds.end())));
    }
    if (!step.kind.empty())
      reader_.fail(item.first, "a step has one kind, not '" + step.kind + "' and '" + key + "'");
    step.kind = key;
  }
  if (step.kind.empty()) reader_.fail(node, "a step needs a kind");
  step.action = loadStepAction(step.kind, node[step.kind]);
  if (node["expect"]) step.expect = loadExpectation(step.kind, node["expect"]);
  return step;
}

StepAction ScenarioLoader::loadStepAction(const std::string& kind, const YAML::Node& node) {
  if (kind == "create_group") return loadGroup(node);
  if (kind == "create_entry" || kind == "update_entry") {
    reader_.expectMap(node,
                      {"stage", "group", "id", "priority", "match", "actions", "counters",
                       "policer", "parent_policer"},
                      kind.c_str());
    return CreateEntry{stage(reader_.need(node, "stage")),
                       static_cast<unsigned short>(
                           reader_.integer(reader_.need(node, "group"), 0, 65535, "group")),
                       loadEntry(node), kind == "update_entry", entryPlaces(node)};
  }
  if (kind == "delete_entry") {
    reader_.expectMap(node, {"stage", "group", "id"}, "delete_entry");
    return DeleteEntry{
        stage(reader_.need(node, "stage")),
        static_cast<unsigned short>(
            reader_.integer(reader_.need(node, "group"), 0, 65535, "group")),
        static_cast<unsigned int>(reader_.integer(reader_.need(node, "id"), 0, 0xffffffff, "id"))};
  }
  if (kind == "read_counter" || kind == "clear_counter") {
    reader_.expectMap(node, {"id"}, kind.c_str());
    return CounterStep{static_cast<unsigned short>(
                           reader_.integer(reader_.need(node, "id"), 0, 65535, "counter id")),
                       kind == "clear_counter"};
  }
  if (kind == "lag_member_add" || kind == "lag_member_remove") {
    reader_.expectMap(node, {"lag", "member"}, kind.c_str());
    return LagMemberChange{interface(reader_.need(node, "lag"), "a LAG"),
                           interface(reader_.need(node, "member"), "a LAG member"),
                           kind == "lag_member_add"};
  }
  if (kind == "lag_destroy") {
    reader_.expectMap(node, {"lag"}, "lag_destroy");
    return LagDestroy{interface(reader_.need(node, "lag"), "a LAG")};
  }
  if (kind == "destination_remove") {
    reader_.expectMap(node, {"id"}, "destination_remove");
    return DestinationRemove{static_cast<int>(
        reader_.integer(reader_.need(node, "id"), 0, 0x7fffffff, "destination id"))};
  }
  if (kind == "clear_cache") {
    if (!node.IsNull() && !(node.IsMap() && node.size() == 0))
      reader_.fail(node, "clear_cache takes no value");
    return ClearCache{};
  }
  if (kind == "show") return loadShow(node);
  if (kind == "packets") return loadReplay(node);
  return loadPacket(node);
}

Show ScenarioLoader::loadShow(const YAML::Node& node) {
  Show show;
  if (node.IsNull()) return show;
  reader_.expectMap(node, {"entry", "hw_entry"}, "show");
  if (node["entry"] && node["hw_entry"]) {
    reader_.fail(node, "show one user entry or one hardware entry, not both");
  }
  if (const YAML::Node entry = node["entry"]) {
    reader_.expectMap(entry, {"stage", "group", "id"}, "the entry to show");
    show.filter.user_entry = ShowFilter::UserEntry{
        stage(reader_.need(entry, "stage")),
        static_cast<unsigned short>(
            reader_.integer(reader_.need(entry, "group"), 0, 65535, "group")),
        static_cast<unsigned int>(
            reader_.integer(reader_.need(entry, "id"), 0, 0xffffffff, "id"))};
  }
  if (node["hw_entry"]) {
    show.filter.hw_entry =
        static_cast<int>(reader_.integer(node["hw_entry"], 0, 0x7fffffff, "hardware entry id"));
  }
  return show;
}

int ScenarioLoader::resultCode(const YAML::Node& node) const {
  static const std::map<std::string, int> kNames = {
      {"ok", 0}, {"sdk-error", -1}, {"failed", -2}, {"no-resource", -3}};
  if (node.IsScalar()) {
    auto name = kNames.find(node.Scalar());
    if (name != kNames.end()) return name->second;
  }
  return static_cast<int>(reader_.integer(node, -1000, 1000,
                                          "a result (ok, sdk-error, failed, "
                                          "no-resource or a number)"));
}

Expectation ScenarioLoader::loadExpectation(const std::string& kind, const YAML::Node& node) {
  Expectation expect;
  if (kind == "packet") {
    expect.packet = loadPacketExpectation(node);
    if (node["hardware"]) expect.hardware = loadHardwareExpectation(node["hardware"]);
    return expect;
  }
  if (node.IsScalar()) {
    expect.result = resultCode(node);
    return expect;
  }
  reader_.expectMap(node, {"result", "value", "hardware"}, "expect");
  if (node["hardware"]) expect.hardware = loadHardwareExpectation(node["hardware"]);
  if (node["result"]) expect.result = resultCode(node["result"]);
  if (node["value"]) {
    if (kind != "read_counter") reader_.fail(node["value"], "only read_counter has a value");
    expect.value = static_cast<uint64_t>(reader_.integer(node["value"], 0, INT64_MAX, "value"));
  }
  return expect;
}

PacketExpectation ScenarioLoader::loadPacketExpectation(const YAML::Node& node) {
  reader_.expectMap(node,
                    {"verdict", "hits", "counters", "copy_to_cpu", "pcp", "dscp", "unchanged",
                     "hardware"},
                    "expect");
  PacketExpectation expect;
  if (node["verdict"]) {
    const int outcome = reader_.named(
        node["verdict"], {"dropped", "redirected", "l3-switched", "forwarded"}, "verdict");
    const char* names[] = {"dropped", "redirected", "l3-switched", "forwarded"};
    expect.outcome = names[outcome];
  }
  if (const YAML::Node hits = node["hits"]) {
    reader_.expectMap(hits, {"pre-ingress", "ingress", "egress"}, "hits");
    for (const auto& item : hits) {
      const auto stage_index =
          reader_.named(item.first, {"pre-ingress", "ingress", "egress"}, "stage");
      std::optional<unsigned int> entry;
      if (!(item.second.IsScalar() && item.second.Scalar() == "none")) {
        entry = static_cast<unsigned int>(reader_.integer(item.second, 0, 0xffffffff, "entry id"));
      }
      expect.hits[static_cast<bcmsim::Stage>(stage_index)] = entry;
    }
  }
  if (const YAML::Node counters = node["counters"]) {
    if (!counters.IsMap())
      reader_.fail(counters, "counters must map counter ids to values, not " + kindOf(counters));
    for (const auto& item : counters) {
      expect.counters[static_cast<unsigned short>(
          reader_.integer(item.first, 0, 65535, "counter id"))] =
          static_cast<uint64_t>(reader_.integer(item.second, 0, INT64_MAX, "counter value"));
    }
  }
  if (node["copy_to_cpu"]) expect.copy_to_cpu = reader_.boolean(node["copy_to_cpu"], "copy_to_cpu");
  if (node["pcp"]) expect.pcp = static_cast<int>(reader_.integer(node["pcp"], 0, 7, "pcp"));
  if (node["dscp"]) expect.dscp = static_cast<int>(reader_.integer(node["dscp"], 0, 63, "dscp"));
  if (const YAML::Node unchanged = node["unchanged"]) {
    reader_.expectSequence(unchanged, "unchanged");
    for (const YAML::Node& field : unchanged) {
      const int index = reader_.named(field, kVerdictFields, "a field a packet can change");
      expect.unchanged.push_back(*(kVerdictFields.begin() + index));
    }
  }
  return expect;
}

HardwareExpectation ScenarioLoader::loadHardwareExpectation(const YAML::Node& node) {
  reader_.expectMap(node, {"entries", "groups", "counters"}, "hardware");
  HardwareExpectation expect;
  auto strings = [&](const YAML::Node& list, const char* what) {
    std::vector<std::string> texts;
    if (!list) return texts;
    reader_.expectSequence(list, what);
    for (const YAML::Node& item : list) texts.push_back(reader_.text(item, what));
    return texts;
  };
  const YAML::Node entries = node["entries"];
  if (entries) reader_.expectSequence(entries, "entries");
  for (const YAML::Node& entry : entries ? entries : YAML::Node()) {
    reader_.expectMap(entry, {"stage", "group", "id", "hw_entries", "qualifiers", "actions"},
                      "an expected entry");
    HardwareExpectation::UserEntry expected{
        {stage(reader_.need(entry, "stage")),
         static_cast<unsigned short>(reader_.integer(reader_.need(entry, "group"), 0, 65535, "group")),
         static_cast<unsigned int>(reader_.integer(reader_.need(entry, "id"), 0, 0xffffffff, "id"))},
        std::nullopt,
        strings(entry["qualifiers"], "qualifiers"),
        strings(entry["actions"], "actions")};
    if (entry["hw_entries"]) {
      expected.hw_entries =
          static_cast<size_t>(reader_.integer(entry["hw_entries"], 0, 1 << 20, "hw_entries"));
    }
    expect.entries.push_back(std::move(expected));
  }
  const YAML::Node groups = node["groups"];
  if (groups) reader_.expectSequence(groups, "groups");
  for (const YAML::Node& group : groups ? groups : YAML::Node()) {
    reader_.expectMap(group, {"stage", "id", "used"}, "an expected group");
    expect.groups.push_back(
        {stage(reader_.need(group, "stage")),
         static_cast<unsigned short>(reader_.integer(reader_.need(group, "id"), 0, 65535, "group id")),
         static_cast<size_t>(reader_.integer(reader_.need(group, "used"), 0, 1 << 20, "used"))});
  }
  const YAML::Node counters = node["counters"];
  if (counters) reader_.expectSequence(counters, "counters");
  for (const YAML::Node& counter : counters ? counters : YAML::Node()) {
    reader_.expectMap(counter, {"id", "type", "value"}, "an expected counter");
    HardwareExpectation::Counter expected{
        static_cast<unsigned short>(reader_.integer(reader_.need(counter, "id"), 0, 65535, "counter id")),
        reader_.text(reader_.need(counter, "type"), "counter type"), std::nullopt};
    if (counter["value"]) {
      expected.value = static_cast<uint64_t>(reader_.integer(counter["value"], 0, INT64_MAX, "value"));
    }
    expect.counters.push_back(expected);
  }
  return expect;
}

}  // namespace filtersim
