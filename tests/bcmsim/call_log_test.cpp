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

// The log keeps what a call was given and returned; the caller's variables and the device change
// after it, and the arguments are read only then.
TEST_F(CallLog, ShowsStructuresAndOutputsAsTheCallHadThemWhenReadAfterTheyChanged) {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageIngress);
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyEtherType);
  config.priority = 3;
  ASSERT_EQ(bcm_field_group_config_create(0, &config), BCM_E_NONE);
  const int group = config.group;  // the SDK chose it
  bcm_field_entry_t entry = -1;
  ASSERT_EQ(bcm_field_entry_create(0, group, &entry), BCM_E_NONE);
  const int made = entry;
  config.priority = 9;
  config.group = 99;
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyDstIp);
  entry = 12345;
  ASSERT_EQ(bcm_field_entry_destroy(0, made), BCM_E_NONE);
  ASSERT_EQ(bcm_field_group_destroy(0, group), BCM_E_NONE);

  const auto& calls = bcmsim::calls();
  ASSERT_EQ(calls.size(), 5u);
  EXPECT_EQ(calls[1].args(),
            "0, {flags 0x0, group " + std::to_string(group) +
                ", priority 3, mode Single, qset [EtherType StageIngress], aset []}");
  ASSERT_TRUE(calls[1].source().makes);
  EXPECT_EQ(calls[1].source().makes->id, group);
  EXPECT_EQ(calls[2].args(), "0, " + std::to_string(group) + ", " + std::to_string(made));
  ASSERT_TRUE(calls[2].source().makes);
  EXPECT_EQ(calls[2].source().makes->id, made);
}

TEST_F(CallLog, ShowsWhatAReadReturnedAfterTheValueChanged) {
  ASSERT_EQ(bcm_field_qualify_EtherType(0, 1, 0x0800, 0xffff), BCM_E_NONE);
  uint16 data = 0, mask = 0;
  ASSERT_EQ(bcm_field_qualify_EtherType_get(0, 1, &data, &mask), BCM_E_NONE);
  ASSERT_EQ(bcm_field_qualify_EtherType(0, 1, 0x86dd, 0xffff), BCM_E_NONE);
  bcm_field_stat_t types[] = {bcmFieldStatPackets};
  int stat = -1;
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 1, types, &stat), BCM_E_NONE);
  const int made = stat;
  types[0] = bcmFieldStatBytes;
  stat = -1;

  const auto& calls = bcmsim::calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[1].args(), "0, 1 -> 0x800");
  EXPECT_EQ(calls[3].args(), "0, 16, 1, [Packets] -> " + std::to_string(made));
  ASSERT_EQ(calls[3].source().inputs.size(), 1u);
  EXPECT_EQ(calls[3].source().inputs[0], "stat_types1[0] = bcmFieldStatPackets;");
}

TEST_F(CallLog, ACopiedCallKeepsItsArgumentsOnceTheLogIsCleared) {
  ASSERT_EQ(bcm_field_qualify_EtherType(0, 1, 0x0800, 0xffff), BCM_E_NONE);
  bcm_field_qset_t_init(nullptr);
  const std::vector<bcmsim::Call> copies = bcmsim::calls();
  bcmsim::clear_calls();

  EXPECT_EQ(copies[0].text(), "bcm_field_qualify_EtherType(0, 1, 0x800, 0xffff) = 0");
  ASSERT_EQ(copies[0].source().values.size(), 1u);
  EXPECT_EQ(copies[0].source().values[0].kind, bcmsim::Ref::Entry);
  EXPECT_EQ(copies[0].source().values[0].number, 1);
  EXPECT_EQ(copies[1].text(), "bcm_field_qset_t_init(NULL) = 0");
  EXPECT_TRUE(copies[1].source().initialiser);
  EXPECT_EQ(copies[1].source().args, "");
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
