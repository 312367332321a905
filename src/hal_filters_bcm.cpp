// The instance: its construction (event subscriptions and the start-up programming of the
// switch) and the release of its software state.
#include <hal_filters_ll/hal_filters_bcm.h>

#include <hal_filters_ll/device_profile.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

constexpr int kClientId = 1010;
constexpr const char* kClientName = "qaros-hal-filters-ll-bcm";
constexpr bcm_port_t kCpuPort = 0;

void enableCpuPortControl(int unit, bcm_port_control_t control, const char* name) {
  int rv = bcm_port_control_set(unit, kCpuPort, control, 1);
  if (rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error enabling %s for CPU port: %s", name,
                    sdkErrorText(rv));
  }
}

}  // namespace

HalFiltersBcm& HalFiltersBcm::getInstance(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                                          hal_encap::DestinationOrchestrator* dest) {
  static HalFiltersBcm instance(std::move(lag), dest);
  return instance;
}

HalFiltersBcm& HalFiltersBcm::getInstance() {
  return getInstance(nullptr, nullptr);
}

HalFiltersBcm::HalFiltersBcm(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                             hal_encap::DestinationOrchestrator* dest)
    : hw_entries_per_group{getHWEntriesPerPreIngressGroup(), getHWEntriesPerIngressGroup(),
                           getHWEntriesPerEgressGroup()},
      max_hw_groups{getMaxHWGroupPreIngress(), getMaxHWGroupIngress(), getMaxHWGroupEgress()},
      hw_group_span{16, 16, 16},
      lag_orchestrator_(std::move(lag)),
      destination_orchestrator_(dest),
      black_hole_egress_if_(0) {
  subscribeToTopologyEvents();
  programStartUp();
}

void HalFiltersBcm::subscribeToTopologyEvents() {
  if (lag_orchestrator_) {
    halswitchl2if::LagOrchestrator::Callback callback{
        [](const limid_t&) { return true; },
        [this](const limid_t& lag) { return DestroyLagEvent(lag) == 0; },
        [this](const limid_t& lag, const limid_t& member) {
          return AddLagMemberEvent(lag, member) == 0;
        },
        [this](const limid_t& lag, const limid_t& member) {
          return RemoveLagMemberEvent(lag, member) == 0;
        }};
    lag_orchestrator_->RegisterClient(kClientId, std::string(kClientName), callback);
  }
  if (destination_orchestrator_) {
    destination_orchestrator_->RegisterClient(kClientId, std::string(kClientName),
                                              [this](int id) { RemoveDestinationEvent(id); });
  }
}

void HalFiltersBcm::programStartUp() {
  const int unit = bcmUnit();
  enableCpuPortControl(unit, bcmPortControlFilterIngress, "bcmPortControlFilterIngress");
  enableCpuPortControl(unit, bcmPortControlFilterEgress, "bcmPortControlFilterEgress");
  enableCpuPortControl(unit, bcmPortControlFilterLookup, "bcmPortControlFilterLookup");

  if (bcm_switch_control_set(unit, bcmSwitchL3EgressMode, 1) < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: error changing L3 egress mode to use VLAN ports");
    return;
  }

  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  egress.flags = BCM_L3_DST_DISCARD;
  egress.intf = -1;
  egress.trunk = -1;
  int rv = bcm_l3_egress_create(unit, 0, &egress, &black_hole_egress_if_);
  if (rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error creating L3 egress black hole interface: %s",
                    sdkErrorText(rv));
  }
}

void HalFiltersBcm::clearCache() {
  filters_cache_.CleanupCache();
  policer_entries_.clear();
  entry_policer_.clear();
  hw_counters_.clear();
  counter_entries_.clear();
  parent_policer_entries_.clear();
  entry_parent_policer_.clear();
  interrupted_updates_.clear();
  out_of_step_.clear();
}

}  // namespace HalFiltersLL
