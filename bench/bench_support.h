// A fresh device and filters instance for a benchmark, and builders of typical entries.
#pragma once

#include <memory>
#include <stdexcept>
#include <vector>

#include <bcmsim/device.h>
#include <hal_callbacks/hal_callbacks_itf.h>

#include "support/filters_instance.h"

namespace bench_support {

using namespace FiltersCommon;

using Filters = test_support::TestableFilters;

// The device, ports eth1..eth32 and a filters instance subscribed to LAG events.
struct Switch {
  explicit Switch(const bcmsim::Config& config = bcmsim::Config{}) {
    bcmsim::reset(config);
    test_support::set_up_ports();
    HalFiltersLL::filters_cache_.CleanupCache();
    HalCallbacksItf::getInstance().setLevel(HalCallbacksItf::kError);
    filters = std::make_unique<Filters>(lags, &destinations);
  }

  std::shared_ptr<halswitchl2if::LagOrchestrator> lags =
      std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations;
  std::unique_ptr<Filters> filters;
};

inline std::set<unsigned short> vlans(int count, int first = 1) {
  std::set<unsigned short> ids;
  for (int vlan = first; vlan < first + count; ++vlan)
    ids.insert(static_cast<unsigned short>(vlan));
  return ids;
}

// An ingress entry over a port bitmap and `pool` VLANs: a pool of `pool` hardware entries.
inline FiltersEntry ingressEntry(unsigned int id, int pool, std::list<limid_t> ports) {
  FiltersEntry entry(id, static_cast<unsigned short>(id % 256));
  entry.setMatch(MatchIngressPorts(std::move(ports)));
  entry.setMatch(MatchExternalVlanId(vlans(pool)));
  entry.setMatch(MatchSrcIPv4(0x0a000000u + id, 0xffffffffu));
  entry.setAction(Action(FILTERS_ACTION_DROP));
  entry.addCounter(Counter(static_cast<unsigned short>(id), COUNTER_TYPE_PACKETS));
  return entry;
}

inline std::list<limid_t> frontPorts(int first, int last) {
  std::list<limid_t> ports;
  for (int port = first; port <= last; ++port) ports.push_back(limid_ethernet(port));
  return ports;
}

// Every group of every stage filled to capacity: 4 x 256 pre-ingress, 16 x 256 ingress and
// 4 x 128 egress hardware entries, 16 per user entry.
inline std::vector<FiltersGroup> fullDevice() {
  std::vector<FiltersGroup> groups;
  auto fill = [&](filtersGroupStage_t stage, int count, unsigned type, int capacity) {
    for (int id = 0; id < count; ++id) {
      FiltersGroup group(stage, static_cast<unsigned short>(id), static_cast<unsigned short>(id),
                         type);
      for (int eid = 0; eid < capacity / 16; ++eid) {
        FiltersEntry entry(static_cast<unsigned int>(eid), static_cast<unsigned short>(eid));
        entry.setMatch(MatchExternalVlanId(vlans(16, 16 * eid + 1)));
        if (stage == FILTERS_GROUP_STAGE_INGRESS) {
          entry.setMatch(MatchIngressPorts(frontPorts(1 + eid % 16, 16 + eid % 16)));
          entry.setMatch(MatchSrcIPv4(0x0a000000u + static_cast<unsigned>(id << 8 | eid), ~0u));
        } else if (stage == FILTERS_GROUP_STAGE_EGRESS) {
          entry.setMatch(MatchEgressPorts(std::list<limid_t>{limid_ethernet(1 + eid % 32)}));
        } else {
          entry.setMatch(MatchSrcMac(mac_address_t{2, 0, 0, 0, static_cast<unsigned char>(id),
                                                   static_cast<unsigned char>(eid)},
                                     mac_address_t{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
        }
        entry.setAction(Action(FILTERS_ACTION_DROP));
        entry.addCounter(Counter(static_cast<unsigned short>(id * 1000 + eid + stage * 100),
                                 COUNTER_TYPE_PACKETS));
        group.addEntry(entry);
      }
      groups.push_back(group);
    }
  };
  fill(FILTERS_GROUP_STAGE_PRE_INGRESS, 4, 6, 256);
  fill(FILTERS_GROUP_STAGE_INGRESS, 16, 2, 256);
  fill(FILTERS_GROUP_STAGE_EGRESS, 4, 5, 128);
  return groups;
}

inline void loadFullDevice(Switch& sw, const std::vector<FiltersGroup>& groups) {
  for (const FiltersGroup& group : groups) {
    if (sw.filters->createGroup(group) != 0) throw std::runtime_error("full device load failed");
  }
}

constexpr double kFullDeviceEntries = 4 * 256 + 16 * 256 + 4 * 128;

}  // namespace bench_support
