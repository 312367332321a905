// Sets the switch of a scenario up: the device, interfaces, LAGs, VPNs and destinations.
#pragma once

#include <memory>

#include <encap/destination_orchestrator.h>
#include <lag/lag_orchestrator.h>

#include "scenario.h"

namespace filtersim {

struct Platform {
  std::shared_ptr<halswitchl2if::LagOrchestrator> lags =
      std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations;
  std::map<int, int> destination_egress;  // the L3 egress object of each destination
};

// Before the filters instance exists: resets the device and describes the interfaces and LAGs.
void setUpInterfaces(const SwitchSetup& setup, Platform& platform);
// After it exists (it switches the L3 egress mode on): the destinations' egress objects.
void setUpDestinations(const SwitchSetup& setup, Platform& platform);
// Removes a destination: its clients are told, then its egress object goes. The orchestrator's
// result: 0, or -2 for an unknown destination.
int removeDestination(int destination, Platform& platform);

}  // namespace filtersim
