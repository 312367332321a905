// Every refusal of the device: the SDK's code, and that a refused call changes nothing.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcm/port.h>
#include <bcm/switch.h>
#include <assert.h>

#include <bcmsim/device.h>
#include <bcmsim/json.h>
#include <bcmsim/refusals.h>

#include "support/sdk_builders.h"

namespace {

using test_support::create_group;

constexpr int kGroup = 16;
constexpr int kEntry = 100;       // holds a stat and policer 7 at level 0
constexpr int kOtherEntry = 101;  // holds nothing
constexpr int kUnknown = 999;     // no such entry
constexpr int kLookupEntry = 300;
constexpr int kEgressEntry = 301;
constexpr int kStat = 1;       // attached to kEntry; stat ids count from 1
constexpr int kSpareStat = 2;  // attached to nothing
constexpr bcm_policer_t kPolicer = 7;
bcm_field_IpType_t ip_type;  // where reads of the IP type go

int create_policer(uint32 flags, bcm_policer_t id, bcm_policer_mode_t mode = bcmPolicerModeSrTcm,
                   uint32 pkbits_sec = 0) {
  bcm_policer_config_t config;
  bcm_policer_config_t_init(&config);
  config.flags = flags;
  config.mode = mode;
  config.pkbits_sec = pkbits_sec;
  return bcm_policer_create(0, &config, &id);
}

int create_stat(int group, bcm_field_stat_t type) {
  int id = 0;
  return bcm_field_stat_create(0, group, 1, &type, &id);
}

int create_l3_egress(int intf, bcm_if_t* id = nullptr) {
  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  egress.intf = intf;
  bcm_if_t unused = 0;
  return bcm_l3_egress_create(0, 0, &egress, id ? id : &unused);
}

// Ingress group 16 with EtherType and drops in its action set, its entries 100 and 101, and a
// spare stat; ingress group 17; the four groups the lookup stage holds, entry 300 in one of them;
// egress entry 301.
void standard_setup() {
  ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageIngress, {bcmFieldQualifyEtherType},
                         {bcmFieldActionDrop, bcmFieldActionRpDrop}),
            BCM_E_NONE);
  for (int entry : {kEntry, kOtherEntry}) {
    ASSERT_EQ(bcm_field_entry_create_id(0, kGroup, entry), BCM_E_NONE);
  }
  ASSERT_EQ(bcm_field_action_add(0, kOtherEntry, bcmFieldActionDrop, 0, 0), BCM_E_NONE);
  ASSERT_EQ(create_stat(kGroup, bcmFieldStatPackets), BCM_E_NONE);
  ASSERT_EQ(create_stat(kGroup, bcmFieldStatBytes), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_stat_attach(0, kEntry, kStat), BCM_E_NONE);
  ASSERT_EQ(create_policer(BCM_POLICER_WITH_ID, kPolicer), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_policer_attach(0, kEntry, 0, kPolicer), BCM_E_NONE);
  ASSERT_EQ(create_group(17, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  for (int id = 1; id <= 4; ++id) ASSERT_EQ(create_group(id, bcmFieldQualifyStageLookup, {}), 0);
  ASSERT_EQ(create_group(20, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_create_id(0, 1, kLookupEntry), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_create_id(0, 20, kEgressEntry), BCM_E_NONE);
}

struct Refusal {
  std::string name;
  std::function<int()> call;
  int expected;
  const char* rule;  // the rule the refusal names
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.name;
}

class DeviceRules : public ::testing::TestWithParam<Refusal> {
 protected:
  void SetUp() override {
    bcmsim::reset();
    standard_setup();
    bcmsim::clear_refusals();
  }
};

TEST_P(DeviceRules, RefusesWithTheSdkCodeAndChangesNothing) {
  const std::string before = bcmsim::dump_json();
  EXPECT_EQ(GetParam().call(), GetParam().expected);
  EXPECT_EQ(bcmsim::dump_json(), before);
  ASSERT_EQ(bcmsim::refusals().size(), 1u);
  const bcmsim::Rule* rule = bcmsim::refusals().front().rule;
  EXPECT_EQ(rule ? rule->id : "none", GetParam().rule);
}

bcm_mac_t kMac = {0, 1, 2, 3, 4, 5};

// A row: its name, the code, the rule named, and the refused call as an expression.
// clang-format off
#define REFUSAL(name, code, rule, call) Refusal{#name, [] { return call; }, code, rule}
// clang-format on

const Refusal kRefusals[] = {
    REFUSAL(UnknownUnit, BCM_E_UNIT, "unit", bcm_field_entry_install(3, kEntry)),
    REFUSAL(GroupIdInUse, BCM_E_EXISTS, "group-exists", create_group(kGroup, bcmFieldQualifyStageIngress, {})),
    REFUSAL(GroupStageFull, BCM_E_RESOURCE, "no-free-slice", create_group(5, bcmFieldQualifyStageLookup, {})),
    REFUSAL(GroupDestroyWithEntries, BCM_E_BUSY, "group-busy", bcm_field_group_destroy(0, kGroup)),
    REFUSAL(EntryIdInUseOnTheUnit, BCM_E_EXISTS, "entry-exists", bcm_field_entry_create_id(0, 17, kEntry)),
    REFUSAL(QualifierNotInQset, BCM_E_NOT_FOUND, "qset-miss", bcm_field_qualify_SrcMac(0, kEntry, kMac, kMac)),
    REFUSAL(QualifierGetNotInQset, BCM_E_NOT_FOUND, "qualifier-read-miss",
            bcm_field_qualify_IpType_get(0, kEntry, &ip_type)),
    REFUSAL(ActionTheStageDoesNotSupport, BCM_E_UNAVAIL, "stage-lacks-action",
            bcm_field_action_add(0, kEntry, bcmFieldActionInnerVlanPrioNew, 0, 0)),
    REFUSAL(ActionDeleteNotOnEntry, BCM_E_NOT_FOUND, "action-not-held",
            bcm_field_action_delete(0, kEntry, bcmFieldActionDrop, 0, 0)),
    REFUSAL(BitmapActionThroughActionAdd, BCM_E_PARAM, "bad-argument",
            bcm_field_action_add(0, kUnknown, bcmFieldActionEgressMask, 0, 0)),
    REFUSAL(ActionTwice, BCM_E_CONFIG, "action-twice",
            bcm_field_action_add(0, kOtherEntry, bcmFieldActionDrop, 0, 0)),
    REFUSAL(ActionPairTheFamilyRefuses, BCM_E_CONFIG, "action-conflict",
            bcm_field_action_add(0, kOtherEntry, bcmFieldActionRpDrop, 0, 0)),
    REFUSAL(StatCreateBadType, BCM_E_PARAM, "bad-argument", create_stat(kGroup, static_cast<bcm_field_stat_t>(14))),
    REFUSAL(StatDestroyWhileAttached, BCM_E_BUSY, "stat-busy", bcm_field_stat_destroy(0, kStat)),
    REFUSAL(StatAttachEntryHasOne, BCM_E_EXISTS, "stat-attached",
            bcm_field_entry_stat_attach(0, kEntry, kSpareStat)),
    REFUSAL(StatDetachNoneAttached, BCM_E_EMPTY, "stat-not-attached",
            bcm_field_entry_stat_detach(0, kOtherEntry, kStat)),
    REFUSAL(StatDetachAnotherAttached, BCM_E_PARAM, "other-stat-attached",
            bcm_field_entry_stat_detach(0, kEntry, kSpareStat)),
    REFUSAL(StatSetBeforeAnyInstall, BCM_E_UNAVAIL, "stat-set-without-counter",
            bcm_field_stat_set(0, kStat, bcmFieldStatPackets, 5)),
    REFUSAL(PolicerAttachUnknownPolicer, BCM_E_NOT_FOUND, "policer-unknown",
            bcm_field_entry_policer_attach(0, kEntry, 1, 99)),
    REFUSAL(PolicerAttachLevelInUse, BCM_E_EXISTS, "policer-level-used",
            bcm_field_entry_policer_attach(0, kEntry, 0, kPolicer)),
    REFUSAL(PolicerAttachBadLevelBeforeTheEntry, BCM_E_PARAM, "bad-argument",
            bcm_field_entry_policer_attach(0, kUnknown, 2, kPolicer)),
    REFUSAL(PolicerAttachOnePolicerTwoLevels, BCM_E_PARAM, "policer-at-both-levels",
            bcm_field_entry_policer_attach(0, kEntry, 1, kPolicer)),
    REFUSAL(PolicerAttachAtTheLookupStage, BCM_E_NOT_FOUND, "stage-has-no-meters",
            bcm_field_entry_policer_attach(0, kLookupEntry, 0, kPolicer)),
    REFUSAL(PolicerSharedAtAnotherLevel, BCM_E_PARAM, "policer-shared-elsewhere",
            bcm_field_entry_policer_attach(0, kOtherEntry, 1, kPolicer)),
    REFUSAL(PolicerDetachEmptyLevel, BCM_E_EMPTY, "policer-level-empty", bcm_field_entry_policer_detach(0, kEntry, 1)),
    REFUSAL(PolicerDestroyWhileAttached, BCM_E_BUSY, "policer-busy", bcm_policer_destroy(0, kPolicer)),
    REFUSAL(PolicerCreateWithIdInUse, BCM_E_EXISTS, "policer-exists", create_policer(BCM_POLICER_WITH_ID, kPolicer)),
    REFUSAL(PolicerReplaceWhileAttached, BCM_E_BUSY, "policer-busy",
            create_policer(BCM_POLICER_WITH_ID | BCM_POLICER_REPLACE, kPolicer)),
    REFUSAL(PolicerCommittedWithAPeak, BCM_E_PARAM, "bad-argument",
            create_policer(0, 0, bcmPolicerModeCommitted, 100)),
    REFUSAL(L3EgressBeforeEgressMode, BCM_E_DISABLED, "l3-egress-mode-off", create_l3_egress(0)),
    REFUSAL(PortControlUnknownPort, BCM_E_PORT, "port-unknown",
            bcm_port_control_set(0, 40, bcmPortControlFilterIngress, 1)),
};

INSTANTIATE_TEST_SUITE_P(Table, DeviceRules, ::testing::ValuesIn(kRefusals),
                         [](const auto& test) { return test.param.name; });

TEST_F(DeviceRules, CallsOnAnUnknownGroupOrEntryAreNotFound) {
  const std::string before = bcmsim::dump_json();
  EXPECT_EQ(bcm_field_group_destroy(0, 30), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcm_field_entry_create_id(0, 30, 500), BCM_E_NOT_FOUND);
  EXPECT_EQ(create_stat(30, bcmFieldStatBytes), BCM_E_NOT_FOUND);
  uint16 data, mask;
  EXPECT_EQ(bcm_field_qualify_EtherType(0, kUnknown, 0x800, 0xffff), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcm_field_qualify_EtherType_get(0, kUnknown, &data, &mask), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcm_field_action_add(0, kUnknown, bcmFieldActionDrop, 0, 0), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcm_field_entry_install(0, kUnknown), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcm_field_entry_destroy(0, kUnknown), BCM_E_NOT_FOUND);
  EXPECT_EQ(bcmsim::dump_json(), before);
}

// Two egress slices of two entries each.
TEST(DeviceRulesOfSlices, AFullGroupTakesAFreeSliceUnlessItHoldsAnEgressMeterAndGivesItBack) {
  bcmsim::Config config;
  config.slices[2] = bcmsim::Config::equal_slices(2, 2);
  bcmsim::reset(config);
  ASSERT_EQ(create_group(1, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
  for (int entry : {10, 11}) ASSERT_EQ(bcm_field_entry_create_id(0, 1, entry), BCM_E_NONE);
  ASSERT_EQ(create_policer(BCM_POLICER_WITH_ID, kPolicer), BCM_E_NONE);
  auto slices = [] { return static_cast<int>(bcmsim::state().group(1)->slices.size()); };
  ASSERT_EQ(bcm_field_entry_policer_attach(0, 10, 0, kPolicer), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 12), BCM_E_RESOURCE) << "the meter holds the slice";
  ASSERT_EQ(bcm_field_entry_policer_detach(0, 10, 0), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 12), BCM_E_NONE);
  EXPECT_EQ(slices(), 2);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 13), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 14), BCM_E_RESOURCE) << "no free slice left";
  EXPECT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_RESOURCE);
  EXPECT_EQ(bcm_field_entry_policer_attach(0, 10, 0, kPolicer), BCM_E_CONFIG)
      << "an egress meter cannot serve a group over two slices";
  for (int entry : {12, 13}) ASSERT_EQ(bcm_field_entry_destroy(0, entry), BCM_E_NONE);
  EXPECT_EQ(slices(), 1);
  EXPECT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
}

TEST(DeviceRulesOfSlices, ASliceTooSmallForATwoRowKeyTakesNoGroup) {
  bcmsim::Config config;
  config.set_slice_entries({1, 1, 1});
  bcmsim::reset(config);
  bcm_field_group_config_t group;
  bcm_field_group_config_t_init(&group);
  group.flags = BCM_FIELD_GROUP_CREATE_WITH_MODE;
  group.mode = bcmFieldGroupModeIntraSliceDouble;
  EXPECT_EQ(bcm_field_group_config_create(0, &group), BCM_E_RESOURCE);
}

TEST(DeviceRulesOfGroups, StageComesFromTheQualifierSetAndTheActionSetFromTheStage) {
  bcmsim::reset();
  ASSERT_EQ(create_group(1, bcmFieldQualifyStageLookup, {}), BCM_E_NONE);
  ASSERT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
  bcm_field_group_config_t config;
  config.priority = 9;
  bcm_field_group_config_t_init(&config);
  ASSERT_EQ(bcm_field_group_config_create(0, &config), BCM_E_NONE);
  EXPECT_EQ(bcmsim::state().group(3)->priority, 0) << "the initialiser zeroes every field";
  EXPECT_EQ(config.group, 3) << "without an id the lowest free one is given";
  EXPECT_EQ(bcmsim::state().group(1)->stage, bcmsim::Stage::PreIngress);
  EXPECT_EQ(bcmsim::state().group(2)->stage, bcmsim::Stage::Egress);
  EXPECT_EQ(bcmsim::state().group(3)->stage, bcmsim::Stage::Ingress) << "ingress by default";
  EXPECT_EQ(bcmsim::state().group(3)->mode, bcmFieldGroupModeAuto);
  ASSERT_EQ(bcm_field_entry_create_id(0, 3, 10), BCM_E_NONE);
  EXPECT_EQ(bcm_field_action_add(0, 10, bcmFieldActionChangeL2Fields, 100002, 0), BCM_E_NONE);
  EXPECT_EQ(bcm_field_action_add(0, 10, bcmFieldActionCopyToCpu, 0, 0), BCM_E_NONE);
}

TEST(DeviceRulesOfL3, EgressObjectsAreNumberedFromTheSdkBase) {
  bcmsim::reset();
  EXPECT_EQ(bcm_l3_egress_destroy(0, 100002), BCM_E_DISABLED) << "before the egress mode";
  ASSERT_EQ(bcm_switch_control_set(0, bcmSwitchL3EgressMode, 1), BCM_E_NONE);
  bcm_l3_intf_t intf;
  bcm_l3_intf_t_init(&intf);
  intf.l3a_vid = 10;
  ASSERT_EQ(bcm_l3_intf_create(0, &intf), BCM_E_NONE);
  bcm_if_t first = 0, second = 0;
  ASSERT_EQ(create_l3_egress(intf.l3a_intf_id, &first), BCM_E_NONE);
  ASSERT_EQ(create_l3_egress(intf.l3a_intf_id, &second), BCM_E_NONE);
  EXPECT_EQ(std::vector<int>({first, second}), std::vector<int>({100002, 100003}));
  EXPECT_EQ(bcm_l3_egress_destroy(0, first), BCM_E_NONE);
  EXPECT_EQ(bcm_l3_egress_destroy(0, first), BCM_E_NOT_FOUND);
}

TEST(SdkErrorTexts, IndexMinusTheCodeOrTheUnknownEntry) {
  EXPECT_STREQ(bcm_errmsg(BCM_E_NONE), "Ok");
  EXPECT_STREQ(bcm_errmsg(BCM_E_PARTIAL), "Partial success");
  EXPECT_STREQ(bcm_errmsg(-23), "Unknown error");
  EXPECT_STREQ(bcm_errmsg(1), "Unknown error");
}

TEST(SalAssertDeathTest, PrintsExpressionFileAndLineThenAborts) {
  EXPECT_DEATH(_sal_assert("match != nullptr", "hal_filters_bcm", 1235),
               "match != nullptr.*hal_filters_bcm:1235");
}

}  // namespace
