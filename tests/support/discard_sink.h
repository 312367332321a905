// A filtersim run sink that keeps nothing: for runs whose outcome is read from the device.
#pragma once

#include "runner.h"

namespace test_support {

class DiscardSink : public filtersim::RunSink {
 public:
  void start(const filtersim::RunResult&) override {}
  void step(size_t, const filtersim::StepOutcome&) override {}
  void finish(const filtersim::RunResult&) override {}
};

}  // namespace test_support
