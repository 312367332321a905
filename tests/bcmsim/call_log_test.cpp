// The call log and the fault plan.
#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/call_log.h>
#include <bcmsim/device.h>
#include <bcmsim/fault_plan.h>
#include <bcmsim/json.h>

#include "support/sdk_builders.h"

namespace {

using test_support::create_group;

constexpr int kGroup = 16;

class CallLog : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    bcmsim::set_call_log(true);
    ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageIngress,
                           {bcmFieldQualifyEtherType, bcmFieldQualifyInPorts}),
              BCM_E_NONE);
    bcmsim::clear_calls();
  }
  void TearDown() override { bcmsim::set_call_log(false); }
};

TEST_F(CallLog, RecordsNameArgumentsAndCodeInOrder) {
  bcm_field_entry_create_id(0, kGroup, 5);
  bcm_field_qualify_EtherType(0, 5, 0x0800, 0xffff);
  bcm_field_qualify_InPorts(0, 5, test_support::pbmp_of({1, 2, 3, 9}),
                            test_support::pbmp_of({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  bcm_field_entry_install(0, 6);

  const auto& calls = bcmsim::calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].text(), "bcm_field_entry_create_id(0, 16, 5) = 0");
  EXPECT_EQ(calls[1].text(), "bcm_field_qualify_EtherType(0, 5, 0x800, 0xffff) = 0");
  EXPECT_EQ(calls[2].text(), "bcm_field_qualify_InPorts(0, 5, {1-3,9}, {0-9}) = 0");
  EXPECT_EQ(calls[3].text(), "bcm_field_entry_install(0, 6) = -7");
}

TEST_F(CallLog, RecordsNothingWhileSwitchedOff) {
  bcmsim::set_call_log(false);
  bcm_field_entry_create_id(0, kGroup, 5);
  EXPECT_TRUE(bcmsim::calls().empty());
}

struct FaultCase {
  const char* name;
  bcmsim::Fault fault;
  std::vector<int> expected;  // codes of five installs of entries 1 to 5, in order
};

void PrintTo(const FaultCase& test, std::ostream* out) {
  *out << test.name;
}

class FaultPlan : public ::testing::TestWithParam<FaultCase> {};

TEST_P(FaultPlan, FailsTheChosenCallsOnly) {
  bcmsim::reset();
  ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  for (int id = 1; id <= 5; ++id) ASSERT_EQ(bcm_field_entry_create_id(0, kGroup, id), BCM_E_NONE);
  bcmsim::inject_fault(GetParam().fault);
  std::vector<int> codes;
  for (int id = 1; id <= 5; ++id) codes.push_back(bcm_field_entry_install(0, id));
  EXPECT_EQ(codes, GetParam().expected);
  for (int id = 1; id <= 5; ++id) {
    EXPECT_EQ(bcmsim::state().entry(id)->installed.has_value(), codes[id - 1] == BCM_E_NONE)
        << "a failed call changes nothing";
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, FaultPlan,
    ::testing::Values(FaultCase{"NextCallOnce",
                                {"bcm_field_entry_install", BCM_E_FULL, 1, std::nullopt, false},
                                {-6, 0, 0, 0, 0}},
                      FaultCase{"ThirdCallOnce",
                                {"bcm_field_entry_install", BCM_E_INTERNAL, 3, std::nullopt, false},
                                {0, 0, -1, 0, 0}},
                      FaultCase{"FromTheSecondOnAlways",
                                {"bcm_field_entry_install", BCM_E_BUSY, 2, std::nullopt, true},
                                {0, -10, -10, -10, -10}},
                      FaultCase{"OnlyForOneEntry",
                                {"bcm_field_entry_install", BCM_E_PARAM, 1, 4, false},
                                {0, 0, 0, -4, 0}},
                      FaultCase{"OtherFunctionUntouched",
                                {"bcm_field_entry_destroy", BCM_E_PARAM, 1, std::nullopt, false},
                                {0, 0, 0, 0, 0}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(CallLog, FailedCallsAreRecordedWithTheirCodeAndRetireOnceFired) {
  bcmsim::inject_fault({"bcm_field_entry_create_id", BCM_E_MEMORY, 1, std::nullopt, false});
  EXPECT_EQ(bcmsim::pending_faults(), 1);
  EXPECT_EQ(bcm_field_entry_create_id(0, kGroup, 5), BCM_E_MEMORY);
  EXPECT_EQ(bcmsim::pending_faults(), 0);
  EXPECT_EQ(bcm_field_entry_create_id(0, kGroup, 5), BCM_E_NONE);
  ASSERT_EQ(bcmsim::calls().size(), 2u);
  EXPECT_EQ(bcmsim::calls()[0].rc, BCM_E_MEMORY);
}

}  // namespace
