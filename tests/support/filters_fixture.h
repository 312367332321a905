// A fresh device, platform and filters instance for every test.
#pragma once

#include <memory>

#include <gtest/gtest.h>

#include <bcmsim/call_log.h>
#include <bcmsim/device.h>
#include <hal_callbacks/hal_callbacks_itf.h>

#include "support/filters_instance.h"

namespace test_support {

class FiltersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    bcmsim::set_call_log(false);  // the calls of the test before are not this test's
    bcmsim::clear_calls();
    set_up_ports();
    HalFiltersLL::filters_cache_.CleanupCache();
    filters = std::make_unique<TestableFilters>(lags, &destinations);
  }

  std::shared_ptr<halswitchl2if::LagOrchestrator> lags =
      std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations;
  HalLogCapture log;
  std::unique_ptr<TestableFilters> filters;
};

}  // namespace test_support
