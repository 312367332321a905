// Port controls and the port configuration.
#include <algorithm>

#include <bcm/error.h>
#include <bcm/port.h>

#include "c_source.h"
#include "sdk_call.h"
#include "text.h"

namespace bcmsim::detail {
namespace {

bool port_exists(const Config& config, int port) {
  auto has = [port](const std::vector<int>& ports) {
    return std::find(ports.begin(), ports.end(), port) != ports.end();
  };
  return port == config.cpu_port || has(config.front_ports) || has(config.internal_ports);
}

void add_ports(bcm_pbmp_t& pbmp, const std::vector<int>& ports) {
  for (int port : ports) {
    if (port >= 0 && port < BCM_PBMP_PORT_MAX) BCM_PBMP_PORT_ADD(pbmp, port);
  }
}

}  // namespace

void build_port_config(const Config& config, bcm_port_config_t& out) {
  memset(&out, 0, sizeof(out));
  add_ports(out.ge, config.front_ports);
  add_ports(out.e, config.front_ports);
  add_ports(out.port, config.front_ports);
  add_ports(out.cpu, {config.cpu_port});
  add_ports(out.all, config.front_ports);
  add_ports(out.all, {config.cpu_port});
}

namespace {

std::string control_args(int unit, bcm_port_t port, bcm_port_control_t type) {
  return std::to_string(unit) + ", " + std::to_string(port) + ", " + std::to_string(type);
}

CSourceBuilder control_source(int unit, bcm_port_t port, bcm_port_control_t type) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Port, port).literal(c_port_control(type));
  return source;
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_port_control_set(int unit, bcm_port_t port, bcm_port_control_t type, int value) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, port, type, value] {
          return LoggedArgs{control_args(unit, port, type) + ", " + std::to_string(value),
                            control_source(unit, port, type).number(value).build()};
        };
      },
      [&](Device& dev) -> int {
        if (!port_exists(dev.config, port)) return refuse(Why::PortUnknown, BCM_E_PORT);
        dev.state.port_controls[{port, type}] = value;
        return BCM_E_NONE;
      });
}

int bcm_port_control_get(int unit, bcm_port_t port, bcm_port_control_t type, int* value) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, port, type] {
          return LoggedArgs{control_args(unit, port, type),
                            control_source(unit, port, type).output("int", "port_control").build()};
        };
      },
      [&](Device& dev) -> int {
        if (!port_exists(dev.config, port)) return refuse(Why::PortUnknown, BCM_E_PORT);
        if (!value) return refuse(Why::BadArgument, BCM_E_PARAM);
        auto it = dev.state.port_controls.find({port, type});
        *value = it == dev.state.port_controls.end() ? 0 : it->second;
        return BCM_E_NONE;
      });
}

void bcm_port_config_t_init(bcm_port_config_t* pconfig) {
  sdk_void_call(__func__, pconfig);
  if (pconfig) memset(pconfig, 0, sizeof(*pconfig));
}

int bcm_port_config_get(int unit, bcm_port_config_t* config) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, given = config != nullptr] {
          return LoggedArgs{
              std::to_string(unit) + ", " + pointer_text(given),
              CSourceBuilder().number(unit).output("bcm_port_config_t", "port_config").build()};
        };
      },
      [&](Device& dev) -> int {
        if (!config) return refuse(Why::BadArgument, BCM_E_PARAM);
        *config = dev.port_config;
        return BCM_E_NONE;
      });
}

}  // extern "C"
