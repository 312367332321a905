// The call log and the fault plan.
#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/call_log.h>
#include <bcmsim/device.h>
#include <bcmsim/fault_plan.h>

#include "support/sdk_builders.h"

namespace {

using test_support::create_group;

constexpr int kGroup = 16;
constexpr const char* kInstall = "bcm_field_entry_install";
constexpr const char* kDestroy = "bcm_field_entry_destroy";

// Group 16 with entries 1 to 5, the call log on and empty.
class CallLog : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    bcmsim::set_call_log(true);
    ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageIngress,
                           {bcmFieldQualifyEtherType, bcmFieldQualifyInPorts}),
              BCM_E_NONE);
    for (int id = 1; id <= 5; ++id) ASSERT_EQ(bcm_field_entry_create_id(0, kGroup, id), 0);
    bcmsim::clear_calls();
  }
  void TearDown() override { bcmsim::set_call_log(false); }
};

TEST_F(CallLog, RecordsNameArgumentsAndCodeInOrderWhileSwitchedOn) {
  bcm_field_entry_create_id(0, kGroup, 6);
  bcm_field_qualify_EtherType(0, 6, 0x0800, 0xffff);
  bcm_field_qualify_InPorts(0, 6, test_support::pbmp_of({1, 2, 3, 9}),
                            test_support::pbmp_of({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  bcm_field_entry_install(0, 7);
  bcmsim::set_call_log(false);
  bcm_field_entry_install(0, 6);

  const auto& calls = bcmsim::calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].text(), "bcm_field_entry_create_id(0, 16, 6) = 0");
  EXPECT_EQ(calls[1].text(), "bcm_field_qualify_EtherType(0, 6, 0x800, 0xffff) = 0");
  EXPECT_EQ(calls[2].text(), "bcm_field_qualify_InPorts(0, 6, {1-3,9}, {0-9}) = 0");
  EXPECT_EQ(calls[3].text(), "bcm_field_entry_install(0, 7) = -7");
}

struct FaultCase {
  const char* name;
  bcmsim::Fault fault;
  std::vector<int> expected;  // codes of five installs of entries 1 to 5, in order
  int pending;                // faults still planned after them
};

void PrintTo(const FaultCase& test, std::ostream* out) {
  *out << test.name;
}

class FaultPlan : public CallLog, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(FaultPlan, FailsTheChosenCallsOnlyAndLogsTheirCodes) {
  bcmsim::inject_fault(GetParam().fault);
  std::vector<int> codes, logged;
  for (int id = 1; id <= 5; ++id) codes.push_back(bcm_field_entry_install(0, id));
  for (const auto& call : bcmsim::calls()) logged.push_back(call.rc);
  EXPECT_EQ(codes, GetParam().expected);
  EXPECT_EQ(logged, GetParam().expected);
  EXPECT_EQ(bcmsim::pending_faults(), GetParam().pending);
  for (int id = 1; id <= 5; ++id) {
    EXPECT_EQ(bcmsim::state().entry(id)->installed.has_value(), codes[id - 1] == BCM_E_NONE)
        << "a failed call changes nothing";
  }
}

const FaultCase kFaultCases[] = {
    {"NextCallOnce", {kInstall, BCM_E_FULL, 1, {}, false}, {-6, 0, 0, 0, 0}, 0},
    {"ThirdCallOnce", {kInstall, BCM_E_INTERNAL, 3, {}, false}, {0, 0, -1, 0, 0}, 0},
    {"FromTheSecondOnAlways", {kInstall, BCM_E_BUSY, 2, {}, true}, {0, -10, -10, -10, -10}, 1},
    {"OnlyForOneEntry", {kInstall, BCM_E_PARAM, 1, 4, false}, {0, 0, 0, -4, 0}, 0},
    {"OtherFunctionUntouched", {kDestroy, BCM_E_PARAM, 1, {}, false}, {0, 0, 0, 0, 0}, 1},
    {"AnyCallCountsEveryCall", {bcmsim::kAnyCall, BCM_E_MEMORY, 4, {}, false}, {0, 0, 0, -2, 0}, 0},
};

INSTANTIATE_TEST_SUITE_P(Table, FaultPlan, ::testing::ValuesIn(kFaultCases),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
