// On a device that does not take both copy-to-CPU cancels on one entry, only the switching one
// is added. This program replaces the device profile's answer for the whole process.
#include <gtest/gtest.h>

#include <hal_filters_ll/device_profile.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/sdk_builders.h"

bool HalFiltersLL::supportCopyAndSwitchToCpuCancelSimultaneous() {
  return false;
}

namespace {

using namespace FiltersCommon;

class WithoutBothCancels : public test_support::FiltersTest {};

TEST_F(WithoutBothCancels, BlackHoleAndKeepFromCpuAddOneCancel) {
  ASSERT_EQ(test_support::create_group(16, bcmFieldQualifyStageIngress, {}), 0);
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1), 0);
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 2), 0);
  EXPECT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_BLACK_HOLE).clone().get(), 1), 0);
  EXPECT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_KEEP_FROM_CPU).clone().get(), 2), 0);
  EXPECT_EQ(test_support::actions_of(1),
            (std::vector<std::string>{"L3Switch(100002, 0)", "EgressMask({0})",
                                      "SwitchToCpuCancel(0, 0)"}));
  EXPECT_EQ(test_support::actions_of(2),
            (std::vector<std::string>{"EgressMask({0})", "SwitchToCpuCancel(0, 0)"}));
}

}  // namespace
