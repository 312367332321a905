// The filters instance outside the process-wide one, on front-panel ports a test or benchmark
// can name.
#pragma once

#include <memory>

#include <encap/destination_orchestrator.h>
#include <hal_bcm_common/hal_bcm_common.h>
#include <hal_filters_ll/hal_filters_bcm.h>
#include <lag/lag_orchestrator.h>

namespace test_support {

// The filters instance with its protected constructor open to tests.
class TestableFilters : public HalFiltersLL::HalFiltersBcm {
 public:
  TestableFilters(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                  hal_encap::DestinationOrchestrator* dest)
      : HalFiltersBcm(std::move(lag), dest) {}
};

// Front-panel ports 1 to 32 are eth1 to eth32, the CPU port (local port 0) is cpu0.
inline void set_up_ports() {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  common.Reset();
  for (int port = 0; port <= 32; ++port) {
    bcm_gport_t gport;
    BCM_GPORT_LOCAL_SET(gport, port);
    common.SetGport(port == 0 ? limid_cpuport_from_components(1, 1, 0, 1) : limid_ethernet(port),
                    gport);
  }
}

}  // namespace test_support
