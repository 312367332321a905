#include "device_impl.h"

#include <algorithm>
#include <cstring>

#include <shared/pbmp.h>

extern "C" {
soc_control_t* soc_control[SOC_MAX_NUM_DEVICES];
}

namespace bcmsim {
namespace detail {
namespace {

// A port number that a port bitmap (and so every port list) can hold.
bool fits_bitmap(int port) {
  return port >= 0 && port < _SHR_PBMP_PORT_MAX;
}

void add_ports(soc_ptype_t& type, const std::vector<int>& ports) {
  for (int port : ports) {
    if (!fits_bitmap(port)) continue;
    _SHR_PBMP_PORT_ADD(type.bitmap, port);
    type.port[type.num++] = port;
  }
  if (type.num > 0) {
    type.min = *std::min_element(type.port, type.port + type.num);
    type.max = *std::max_element(type.port, type.port + type.num);
  }
}

void fill_pbmp(pbmp_t& bitmap, const std::vector<int>& ports) {
  for (int port : ports) {
    if (fits_bitmap(port)) _SHR_PBMP_PORT_ADD(bitmap, port);
  }
}

// The device information that the SDK's soc layer keeps per unit.
void build_soc_info(const Config& config, soc_info_t& info) {
  std::memset(&info, 0, sizeof(info));
  add_ports(info.ge, config.front_ports);
  add_ports(info.ether, config.front_ports);
  add_ports(info.port, config.front_ports);
  std::vector<int> all = config.front_ports;
  all.push_back(config.cpu_port);
  add_ports(info.all, all);
  fill_pbmp(info.all.disabled_bitmap, config.disabled_ports);
  fill_pbmp(info.cmic_bitmap, {config.cpu_port});
  fill_pbmp(info.lb_pbm, config.internal_ports);
}

}  // namespace

// The device exists from program start, so soc_control is valid before the first SDK call.
[[maybe_unused]] static Device& the_device = device();

Device& device() {
  static Device* dev = [] {
    auto* d = new Device();  // lives until exit, like the chip
    soc_control[d->config.unit] = &d->soc;
    build_soc_info(d->config, d->soc.info);
    build_port_config(d->config, d->port_config);
    return d;
  }();
  return *dev;
}

Entry* find_entry(State& state, int id) {
  auto it = state.entries.find(id);
  return it == state.entries.end() ? nullptr : &it->second;
}

std::vector<bool> held_slices(const Device& dev, Stage stage) {
  std::vector<bool> held(dev.config.slices[static_cast<int>(stage)].size());
  for (const auto& [id, group] : dev.state.groups) {
    if (group.stage != stage) continue;
    for (const Group::Slice& slice : group.slices) held[slice.index] = true;
  }
  return held;
}

int free_slice(const Device& dev, Stage stage) {
  const std::vector<bool> held = held_slices(dev, stage);
  auto first = std::find(held.begin(), held.end(), false);
  return first == held.end() ? -1 : static_cast<int>(first - held.begin());
}

Group* find_group(State& state, int id) {
  auto it = state.groups.find(id);
  return it == state.groups.end() ? nullptr : &it->second;
}

}  // namespace detail

std::vector<int> Config::default_front_ports() {
  std::vector<int> ports;
  for (int port = 1; port <= 32; ++port) ports.push_back(port);
  return ports;
}

std::vector<int> Config::equal_slices(int count, int entries) {
  return std::vector<int>(static_cast<size_t>(count), entries);
}

void Config::set_slice_entries(const std::array<int, kStageCount>& entries) {
  for (int stage = 0; stage < kStageCount; ++stage) {
    slices[stage] = equal_slices(static_cast<int>(slices[stage].size()), entries[stage]);
  }
}

void reset() {
  reset(Config{});
}

void reset(const Config& config) {
  detail::Device& dev = detail::device();
  soc_control[dev.config.unit] = nullptr;
  dev.config = config;
  dev.state = State{};
  detail::build_soc_info(config, dev.soc.info);
  detail::build_port_config(config, dev.port_config);
  soc_control[config.unit] = &dev.soc;
  dev.log.clear();
  dev.faults.clear();
  dev.refusals.clear();
  dev.group_lookups.clear();
  dev.prepared.reset();
  dev.meters.clear();
  for (detail::NextFreeId* ids : {&dev.stat_ids, &dev.policer_ids, &dev.entry_ids}) ids->reset();
  for (detail::LowestFreeId* ids : {&dev.intf_ids, &dev.egress_ids}) ids->reset();
}

const Config& config() {
  return detail::device().config;
}
const State& state() {
  return detail::device().state;
}

}  // namespace bcmsim
