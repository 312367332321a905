// The port map of a cint script (--cint-ports): the switch's local port for each of the
// scenario's, and how the script writes ports and port bitmaps with it.
#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <bcmsim/state.h>

namespace filtersim {

class PortMap {
 public:
  // Lines "SCENARIO_PORT SWITCH_PORT": a port of the scenario (cpu0, or eth1 up to its last front
  // port) and a local port of the switch; '#' starts a comment. Nullopt, with `error` saying
  // where and why, when a line is malformed, names an unknown port or a port twice, or puts two
  // of the scenario's ports on one of the switch's.
  static std::optional<PortMap> read(std::istream& in, const std::string& file, int front_ports,
                                     std::string& error);

  bool empty() const { return ports_.empty(); }
  // The switch's port for the scenario's, nullopt when the map does not name it. Without a map
  // every port is itself, and so is the CPU port unless the map names it.
  std::optional<int> find(int port) const;
  // A port as the script writes it; one the map does not name stays, with a comment saying so.
  std::string text(int port) const;
  // Statements filling the bitmap `name` with `ports`. With a map, a bitmap of every port of the
  // device (with or without the CPU port) is the switch's own, from `port_config` (a
  // bcm_port_config_t read before); any other holds the ports the map names.
  std::vector<std::string> bitmap(const std::string& name, const bcmsim::Words& ports) const;
  // Whether bitmap() reads `port_config` for these ports.
  bool readsPortConfig(const bcmsim::Words& ports) const;

 private:
  std::map<int, int> ports_;
};

}  // namespace filtersim
