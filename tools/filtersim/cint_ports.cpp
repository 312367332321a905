#include "cint_ports.h"

#include <algorithm>
#include <set>
#include <sstream>

#include <bcm/types.h>
#include <bcmsim/device.h>

namespace filtersim {
namespace {

constexpr int kCpuPort = 0;  // cpu0

// cpu0 is local port 0, ethN local port N.
std::optional<int> scenarioPort(const std::string& name, int front_ports) {
  if (name == "cpu0") return kCpuPort;
  const std::string digits = name.substr(std::min<size_t>(3, name.size()));
  if (name.compare(0, 3, "eth") != 0 || digits.empty() || digits.size() > 4 || digits[0] == '0' ||
      digits.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  const int port = std::stoi(digits);
  return port <= front_ports ? std::optional<int>(port) : std::nullopt;
}

std::optional<int> switchPort(const std::string& text) {
  if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  const int port = std::stoi(text);
  return port < BCM_PBMP_PORT_MAX ? std::optional<int>(port) : std::nullopt;
}

std::set<int> members(const bcmsim::Words& ports) {
  std::set<int> set;
  for (int port = 0; port < static_cast<int>(ports.size()) * 32; ++port) {
    if ((ports[port / 32] >> (port % 32)) & 1) set.insert(port);
  }
  return set;
}

// Every port of the device as the filters library counts them (its front ports and CPU port,
// less the disabled ones, with the internal ones), with and without the CPU port.
std::set<int> devicePorts(bool with_cpu) {
  const bcmsim::Config& config = bcmsim::config();
  std::set<int> ports(config.front_ports.begin(), config.front_ports.end());
  ports.insert(config.cpu_port);
  for (int port : config.disabled_ports) ports.erase(port);
  ports.insert(config.internal_ports.begin(), config.internal_ports.end());
  if (!with_cpu) ports.erase(config.cpu_port);
  return ports;
}

}  // namespace

std::optional<PortMap> PortMap::read(std::istream& in, const std::string& file, int front_ports,
                                     std::string& error) {
  PortMap map;
  std::map<int, std::string> named_by;  // the switch's port -> the scenario's port mapped to it
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const std::string where = file + ":" + std::to_string(number) + ": ";
    std::istringstream words(line.substr(0, line.find('#')));
    std::string from, to, extra;
    words >> from >> to >> extra;
    if (from.empty()) continue;
    if (to.empty() || !extra.empty()) {
      error = where + "expected SCENARIO_PORT SWITCH_PORT, e.g. eth5 17";
      return std::nullopt;
    }
    const std::optional<int> port = scenarioPort(from, front_ports);
    const std::optional<int> target = switchPort(to);
    if (!port) {
      error = where + from + " is not a port of the scenario (cpu0, eth1 to eth" +
              std::to_string(front_ports) + ")";
    } else if (!target) {
      error = where + to + " is not a local port number (0 to " +
              std::to_string(BCM_PBMP_PORT_MAX - 1) + ")";
    } else if (map.ports_.count(*port)) {
      error = where + from + " is mapped twice";
    } else if (named_by.count(*target)) {
      error = where + from + " and " + named_by[*target] + " both map to port " + to;
    }
    if (!error.empty()) return std::nullopt;
    map.ports_[*port] = *target;
    named_by[*target] = from;
  }
  return map;
}

std::optional<int> PortMap::find(int port) const {
  if (ports_.empty()) return port;
  auto found = ports_.find(port);
  if (found != ports_.end()) return found->second;
  return port == kCpuPort ? std::optional<int>(port) : std::nullopt;
}

std::string PortMap::text(int port) const {
  const std::optional<int> mapped = find(port);
  return mapped ? std::to_string(*mapped)
                : std::to_string(port) + " /* port " + std::to_string(port) +
                      ": not in the port map */";
}

bool PortMap::readsPortConfig(const bcmsim::Words& ports) const {
  if (ports_.empty()) return false;
  const std::set<int> set = members(ports);
  return set == devicePorts(true) || set == devicePorts(false);
}

std::vector<std::string> PortMap::bitmap(const std::string& name,
                                         const bcmsim::Words& ports) const {
  if (readsPortConfig(ports)) {
    std::vector<std::string> statements{"BCM_PBMP_ASSIGN(" + name + ", port_config.port);"};
    if (members(ports) == devicePorts(true))
      statements.push_back("BCM_PBMP_OR(" + name + ", port_config.cpu);");
    return statements;
  }
  std::vector<std::string> statements{"BCM_PBMP_CLEAR(" + name + ");"};
  std::string left_out;
  for (int port : members(ports)) {
    const std::optional<int> mapped = find(port);
    if (mapped) {
      statements.push_back("BCM_PBMP_PORT_ADD(" + name + ", " + std::to_string(*mapped) + ");");
    } else {
      left_out += (left_out.empty() ? "" : ", ") + std::to_string(port);
    }
  }
  if (!left_out.empty())
    statements.push_back("/* left out, not in the port map: port " + left_out + " */");
  return statements;
}

}  // namespace filtersim
