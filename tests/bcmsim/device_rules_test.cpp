// Every refusal of the device: the SDK's code, and that a refused call changes nothing.
#include <functional>
#include <string>

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

#include "support/sdk_builders.h"

namespace {

using test_support::create_group;

constexpr int kGroup = 16;
constexpr int kEntry = 100;
constexpr int kOtherEntry = 101;

// An ingress group with EtherType, drops in its action set, one entry with a stat, and a policer.
void standard_setup() {
  ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageIngress, {bcmFieldQualifyEtherType},
                         {bcmFieldActionDrop, bcmFieldActionRpDrop}),
            BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_create_id(0, kGroup, kEntry), BCM_E_NONE);
  bcm_field_stat_t types[] = {bcmFieldStatPackets};
  int stat = 0;
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 1, types, &stat), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_stat_attach(0, kEntry, stat), BCM_E_NONE);
  bcm_policer_config_t policer;
  bcm_policer_config_t_init(&policer);
  policer.flags = BCM_POLICER_WITH_ID;
  policer.mode = bcmPolicerModeCommitted;
  bcm_policer_t id = 7;
  ASSERT_EQ(bcm_policer_create(0, &policer, &id), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_policer_attach(0, kEntry, 0, 7), BCM_E_NONE);
}

int create_policer(uint32 flags, bcm_policer_t id) {
  bcm_policer_config_t config;
  bcm_policer_config_t_init(&config);
  config.flags = flags;
  config.mode = bcmPolicerModeSrTcm;
  return bcm_policer_create(0, &config, &id);
}

int stat_of_entry() {
  return *bcmsim::state().entry(kEntry)->staged.stat;
}

struct Refusal {
  std::string name;
  std::function<int()> call;
  int expected;
  std::function<void()> prepare = [] {};
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.name;
}

class DeviceRules : public ::testing::TestWithParam<Refusal> {
 protected:
  void SetUp() override {
    bcmsim::reset();
    standard_setup();
  }
};

TEST_P(DeviceRules, RefusesWithTheSdkCodeAndChangesNothing) {
  GetParam().prepare();
  const std::string before = bcmsim::dump_json();
  EXPECT_EQ(GetParam().call(), GetParam().expected);
  EXPECT_EQ(bcmsim::dump_json(), before);
}

int create_ingress_group(int id, int priority) {
  return create_group(id, bcmFieldQualifyStageIngress, {}, {}, priority);
}

bcm_mac_t kMac = {0, 1, 2, 3, 4, 5};

INSTANTIATE_TEST_SUITE_P(
    Table, DeviceRules,
    ::testing::Values(
        Refusal{"UnknownUnit", [] { return bcm_field_entry_install(3, kEntry); }, BCM_E_UNIT},
        Refusal{"UnknownUnitPortControl",
                [] { return bcm_port_control_set(1, 1, bcmPortControlFilterIngress, 1); },
                BCM_E_UNIT},
        Refusal{"GroupIdInUse", [] { return create_ingress_group(kGroup, 1); }, BCM_E_EXISTS},
        Refusal{"GroupStageFull", [] { return create_group(4, bcmFieldQualifyStageLookup, {}); },
                BCM_E_RESOURCE,
                [] {
                  for (int id = 0; id < 4; ++id) create_group(id, bcmFieldQualifyStageLookup, {});
                }},
        Refusal{"GroupBadPriority", [] { return create_ingress_group(20, -5); }, BCM_E_PARAM},
        Refusal{"GroupDestroyUnknown", [] { return bcm_field_group_destroy(0, 3); },
                BCM_E_NOT_FOUND},
        Refusal{"GroupDestroyWithEntries", [] { return bcm_field_group_destroy(0, kGroup); },
                BCM_E_BUSY},
        Refusal{"EntryIdInUseOnTheUnit", [] { return bcm_field_entry_create_id(0, 17, kEntry); },
                BCM_E_EXISTS, [] { create_ingress_group(17, 2); }},
        Refusal{"EntryGroupUnknown", [] { return bcm_field_entry_create_id(0, 30, 500); },
                BCM_E_NOT_FOUND},
        Refusal{"QualifyUnknownEntry",
                [] { return bcm_field_qualify_EtherType(0, kOtherEntry, 0x800, 0xffff); },
                BCM_E_NOT_FOUND},
        Refusal{"QualifyGetUnknownEntry",
                [] {
                  uint16 data, mask;
                  return bcm_field_qualify_EtherType_get(0, kOtherEntry, &data, &mask);
                },
                BCM_E_NOT_FOUND},
        Refusal{"ActionAddUnknownEntry",
                [] { return bcm_field_action_add(0, kOtherEntry, bcmFieldActionDrop, 0, 0); },
                BCM_E_NOT_FOUND},
        Refusal{"ActionDeleteUnknownEntry",
                [] { return bcm_field_action_delete(0, kOtherEntry, bcmFieldActionDrop, 0, 0); },
                BCM_E_NOT_FOUND},
        Refusal{"PrioSetUnknownEntry", [] { return bcm_field_entry_prio_set(0, kOtherEntry, 1); },
                BCM_E_NOT_FOUND},
        Refusal{"InstallUnknownEntry", [] { return bcm_field_entry_install(0, kOtherEntry); },
                BCM_E_NOT_FOUND},
        Refusal{"ReinstallUnknownEntry", [] { return bcm_field_entry_reinstall(0, kOtherEntry); },
                BCM_E_NOT_FOUND},
        Refusal{"DestroyUnknownEntry", [] { return bcm_field_entry_destroy(0, kOtherEntry); },
                BCM_E_NOT_FOUND},
        Refusal{"QualifierNotInQset",
                [] { return bcm_field_qualify_SrcMac(0, kEntry, kMac, kMac); }, BCM_E_PARAM},
        Refusal{"QualifierGetNotInQset",
                [] {
                  bcm_field_IpType_t type;
                  return bcm_field_qualify_IpType_get(0, kEntry, &type);
                },
                BCM_E_NOT_FOUND},
        Refusal{"ActionNotInAset",
                [] { return bcm_field_action_add(0, kEntry, bcmFieldActionCopyToCpu, 0, 0); },
                BCM_E_UNAVAIL},
        Refusal{"ActionDeleteNotOnEntry",
                [] { return bcm_field_action_delete(0, kEntry, bcmFieldActionDrop, 0, 0); },
                BCM_E_NOT_FOUND},
        Refusal{"StatCreateUnknownGroup",
                [] {
                  bcm_field_stat_t types[] = {bcmFieldStatBytes};
                  int stat;
                  return bcm_field_stat_create(0, 3, 1, types, &stat);
                },
                BCM_E_NOT_FOUND},
        Refusal{"StatCreateBadType",
                [] {
                  bcm_field_stat_t types[] = {static_cast<bcm_field_stat_t>(14)};
                  int stat;
                  return bcm_field_stat_create(0, kGroup, 1, types, &stat);
                },
                BCM_E_PARAM},
        Refusal{"StatDestroyWhileAttached",
                [] { return bcm_field_stat_destroy(0, stat_of_entry()); }, BCM_E_BUSY},
        Refusal{"StatAttachEntryHasOne",
                [] { return bcm_field_entry_stat_attach(0, kEntry, stat_of_entry() + 1); },
                BCM_E_EXISTS,
                [] {
                  bcm_field_stat_t types[] = {bcmFieldStatBytes};
                  int stat;
                  bcm_field_stat_create(0, kGroup, 1, types, &stat);
                }},
        Refusal{"StatDetachNoneAttached",
                [] { return bcm_field_entry_stat_detach(0, kOtherEntry, stat_of_entry()); },
                BCM_E_EMPTY, [] { bcm_field_entry_create_id(0, kGroup, kOtherEntry); }},
        Refusal{"StatDetachAnotherAttached",
                [] { return bcm_field_entry_stat_detach(0, kEntry, stat_of_entry() + 1); },
                BCM_E_PARAM,
                [] {
                  bcm_field_stat_t types[] = {bcmFieldStatBytes};
                  int stat;
                  bcm_field_stat_create(0, kGroup, 1, types, &stat);
                }},
        Refusal{"StatSetBeforeAnyInstall",
                [] { return bcm_field_stat_set(0, stat_of_entry(), bcmFieldStatPackets, 5); },
                BCM_E_UNAVAIL},
        Refusal{"PolicerAttachUnknownPolicer",
                [] { return bcm_field_entry_policer_attach(0, kEntry, 1, 99); }, BCM_E_NOT_FOUND},
        Refusal{"PolicerAttachLevelInUse",
                [] { return bcm_field_entry_policer_attach(0, kEntry, 0, 7); }, BCM_E_EXISTS},
        Refusal{"PolicerDestroyWhileAttached", [] { return bcm_policer_destroy(0, 7); },
                BCM_E_BUSY},
        Refusal{"PolicerAttachBadLevelBeforeTheEntry",
                [] { return bcm_field_entry_policer_attach(0, kOtherEntry, 2, 7); }, BCM_E_PARAM},
        Refusal{"PolicerAttachOnePolicerTwoLevels",
                [] { return bcm_field_entry_policer_attach(0, kEntry, 1, 7); }, BCM_E_PARAM},
        Refusal{"PolicerAttachAtTheLookupStage",
                [] { return bcm_field_entry_policer_attach(0, 300, 0, 7); }, BCM_E_UNAVAIL,
                [] {
                  create_group(2, bcmFieldQualifyStageLookup, {});
                  bcm_field_entry_create_id(0, 2, 300);
                }},
        Refusal{"PolicerSharedAtAnotherLevel",
                [] { return bcm_field_entry_policer_attach(0, kOtherEntry, 1, 7); }, BCM_E_PARAM,
                [] { bcm_field_entry_create_id(0, kGroup, kOtherEntry); }},
        Refusal{"PolicerDetachEmptyLevel",
                [] { return bcm_field_entry_policer_detach(0, kEntry, 1); }, BCM_E_EMPTY},
        Refusal{"PolicerCreateWithIdInUse", [] { return create_policer(BCM_POLICER_WITH_ID, 7); },
                BCM_E_EXISTS},
        Refusal{"PolicerReplaceWhileAttached",
                [] { return create_policer(BCM_POLICER_WITH_ID | BCM_POLICER_REPLACE, 7); },
                BCM_E_BUSY},
        Refusal{"PolicerCommittedWithAPeak",
                [] {
                  bcm_policer_config_t config;
                  bcm_policer_config_t_init(&config);
                  config.mode = bcmPolicerModeCommitted;
                  config.pkbits_sec = 100;
                  bcm_policer_t id;
                  return bcm_policer_create(0, &config, &id);
                },
                BCM_E_PARAM},
        Refusal{"QualifierNotInQsetAtEgress",
                [] { return bcm_field_qualify_SrcMac(0, 300, kMac, kMac); }, BCM_E_NOT_FOUND,
                [] {
                  create_group(3, bcmFieldQualifyStageEgress, {});
                  bcm_field_entry_create_id(0, 3, 300);
                }},
        Refusal{"BitmapActionThroughActionAdd",
                [] { return bcm_field_action_add(0, kOtherEntry, bcmFieldActionEgressMask, 0, 0); },
                BCM_E_PARAM},
        Refusal{"ActionTwice",
                [] { return bcm_field_action_add(0, kEntry, bcmFieldActionDrop, 0, 0); },
                BCM_E_CONFIG,
                [] { bcm_field_action_add(0, kEntry, bcmFieldActionDrop, 0, 0); }},
        Refusal{"ActionPairTheFamilyRefuses",
                [] { return bcm_field_action_add(0, kEntry, bcmFieldActionRpDrop, 0, 0); },
                BCM_E_CONFIG,
                [] { bcm_field_action_add(0, kEntry, bcmFieldActionDrop, 0, 0); }},
        Refusal{"L3EgressBeforeEgressMode",
                [] {
                  bcm_l3_egress_t egress;
                  bcm_l3_egress_t_init(&egress);
                  bcm_if_t id;
                  return bcm_l3_egress_create(0, 0, &egress, &id);
                },
                BCM_E_DISABLED},
        Refusal{"PortControlUnknownPort",
                [] { return bcm_port_control_set(0, 40, bcmPortControlFilterIngress, 1); },
                BCM_E_PORT}),
    [](const auto& test) { return test.param.name; });

// Two egress slices of two entries each.
class DeviceRulesOfSlices : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::Config config;
    config.slices_per_stage = {4, 16, 2};
    config.entries_per_slice = {256, 256, 2};
    bcmsim::reset(config);
    ASSERT_EQ(create_group(1, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
    for (int entry : {10, 11}) ASSERT_EQ(bcm_field_entry_create_id(0, 1, entry), BCM_E_NONE);
    bcm_policer_config_t policer;
    bcm_policer_config_t_init(&policer);
    ASSERT_EQ(bcm_policer_create(0, &policer, &policer_), BCM_E_NONE);
  }
  int slices() const { return bcmsim::state().group(1)->slices; }
  bcm_policer_t policer_ = 0;
};

TEST_F(DeviceRulesOfSlices, AFullGroupTakesAFreeSliceAndGivesItBackWhenItEmpties) {
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 12), BCM_E_NONE);
  EXPECT_EQ(slices(), 2);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 13), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 14), BCM_E_RESOURCE) << "no free slice left";
  EXPECT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_RESOURCE);
  EXPECT_EQ(bcm_field_entry_policer_attach(0, 10, 0, policer_), BCM_E_CONFIG)
      << "an egress meter cannot serve a group over two slices";
  for (int entry : {12, 11}) ASSERT_EQ(bcm_field_entry_destroy(0, entry), BCM_E_NONE);
  EXPECT_EQ(slices(), 1);
  EXPECT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
}

TEST_F(DeviceRulesOfSlices, AGroupWhoseEntriesHoldEgressMetersDoesNotExpand) {
  ASSERT_EQ(bcm_field_entry_policer_attach(0, 10, 0, policer_), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_create_id(0, 1, 12), BCM_E_RESOURCE);
  EXPECT_EQ(slices(), 1);
}

TEST(DeviceRulesOfActions, EmptyActionSetAllowsEveryAction) {
  bcmsim::reset();
  ASSERT_EQ(create_group(1, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_create_id(0, 1, 10), BCM_E_NONE);
  EXPECT_EQ(bcm_field_action_add(0, 10, bcmFieldActionChangeL2Fields, 100002, 0), BCM_E_NONE);
  EXPECT_EQ(bcm_field_action_add(0, 10, bcmFieldActionCopyToCpu, 0, 0), BCM_E_NONE);
}

TEST(DeviceRulesOfGroups, StageComesFromTheQualifierSetAndIngressByDefault) {
  bcmsim::reset();
  ASSERT_EQ(create_group(1, bcmFieldQualifyStageLookup, {}), BCM_E_NONE);
  ASSERT_EQ(create_group(2, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  ASSERT_EQ(bcm_field_group_config_create(0, &config), BCM_E_NONE);
  EXPECT_EQ(config.group, 3) << "without an id the lowest free one is given";
  EXPECT_EQ(bcmsim::state().group(1)->stage, bcmsim::Stage::PreIngress);
  EXPECT_EQ(bcmsim::state().group(2)->stage, bcmsim::Stage::Egress);
  EXPECT_EQ(bcmsim::state().group(3)->stage, bcmsim::Stage::Ingress);
  EXPECT_EQ(bcmsim::state().group(3)->mode, bcmFieldGroupModeAuto);
}

TEST(DeviceRulesOfL3, EgressObjectsAreNumberedFromTheSdkBase) {
  bcmsim::reset();
  ASSERT_EQ(bcm_switch_control_set(0, bcmSwitchL3EgressMode, 1), BCM_E_NONE);
  bcm_l3_intf_t intf;
  bcm_l3_intf_t_init(&intf);
  intf.l3a_vid = 10;
  ASSERT_EQ(bcm_l3_intf_create(0, &intf), BCM_E_NONE);
  bcm_l3_intf_t same = intf;
  EXPECT_EQ(bcm_l3_intf_create(0, &same), BCM_E_EXISTS) << "same MAC and VLAN";
  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  egress.intf = intf.l3a_intf_id;
  bcm_if_t first = 0, second = 0;
  ASSERT_EQ(bcm_l3_egress_create(0, 0, &egress, &first), BCM_E_NONE);
  ASSERT_EQ(bcm_l3_egress_create(0, 0, &egress, &second), BCM_E_NONE);
  EXPECT_EQ(first, 100002);
  EXPECT_EQ(second, 100003);
  EXPECT_EQ(bcm_l3_egress_destroy(0, first), BCM_E_NONE);
  EXPECT_EQ(bcm_l3_egress_destroy(0, first), BCM_E_NOT_FOUND);
}

TEST(SdkErrorTexts, IndexMinusTheCodeOrTheUnknownEntry) {
  EXPECT_STREQ(bcm_errmsg(BCM_E_NONE), "Ok");
  EXPECT_STREQ(bcm_errmsg(BCM_E_NOT_FOUND), "Entry not found");
  EXPECT_STREQ(bcm_errmsg(BCM_E_PARTIAL), "Partial success");
  EXPECT_STREQ(bcm_errmsg(-23), "Unknown error");
  EXPECT_STREQ(bcm_errmsg(-100), "Unknown error");
  EXPECT_STREQ(bcm_errmsg(1), "Unknown error");
}

TEST(SalAssertDeathTest, PrintsExpressionFileAndLineThenAborts) {
  EXPECT_DEATH(_sal_assert("match != nullptr", "hal_filters_bcm", 1235),
               "match != nullptr.*hal_filters_bcm:1235");
}

}  // namespace
