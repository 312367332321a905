// The rules that tell the named chips and the default device apart, one row per rule and chip,
// each naming the SDK function (and file, under src/bcm/esw) that decides it.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcm/switch.h>

#include <bcmsim/chips.h>
#include <bcmsim/device.h>
#include <bcmsim/refusals.h>

#include "support/sdk_builders.h"

namespace {

using test_support::pbmp_of;

constexpr int kPre = 1, kIn = 16, kEg = 32;  // one group per stage
constexpr int kPreEntry = 10, kInEntry = 20, kEgEntry = 30;

int group(int id, bcm_field_qualify_t stage, std::initializer_list<int> qualifiers,
          bcm_field_group_mode_t mode = bcmFieldGroupModeSingle) {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID | BCM_FIELD_GROUP_CREATE_WITH_MODE;
  config.group = id;
  config.mode = mode;
  BCM_FIELD_QSET_ADD(config.qset, stage);
  for (int q : qualifiers) BCM_FIELD_QSET_ADD(config.qset, q);
  return bcm_field_group_config_create(0, &config);
}

// A group and an entry at each stage, the ingress group matching EtherType.
void stages() {
  ASSERT_EQ(group(kPre, bcmFieldQualifyStageLookup, {}), BCM_E_NONE);
  ASSERT_EQ(group(kIn, bcmFieldQualifyStageIngress, {bcmFieldQualifyEtherType}), BCM_E_NONE);
  ASSERT_EQ(group(kEg, bcmFieldQualifyStageEgress, {}), BCM_E_NONE);
  for (auto [g, e] : {std::pair{kPre, kPreEntry}, {kIn, kInEntry}, {kEg, kEgEntry}}) {
    ASSERT_EQ(bcm_field_entry_create_id(0, g, e), BCM_E_NONE);
  }
}

bcm_policer_t policer(bcm_policer_mode_t mode) {
  bcm_policer_config_t config;
  bcm_policer_config_t_init(&config);
  config.mode = mode;
  bcm_policer_t id = 0;
  EXPECT_EQ(bcm_policer_create(0, &config, &id), BCM_E_NONE);
  return id;
}

int stat_create(int group_id, std::initializer_list<bcm_field_stat_t> types, int* id = nullptr) {
  std::vector<bcm_field_stat_t> list(types);
  int stat = 0;
  return bcm_field_stat_create(0, group_id, static_cast<int>(list.size()), list.data(),
                               id ? id : &stat);
}

int attach_at(int entry, int level, bcm_policer_mode_t mode) {
  stages();
  return bcm_field_entry_policer_attach(0, entry, level, policer(mode));
}

int stat_at(int group_id, std::initializer_list<bcm_field_stat_t> types) {
  stages();
  return stat_create(group_id, types);
}

int action_at(int entry, bcm_field_action_t action) {
  stages();
  return bcm_field_action_add(0, entry, action, 0, 0);
}

// Creates ingress groups until the stage refuses one; returns how many it took.
int ingress_groups() {
  int created = 0;
  while (group(kIn + created, bcmFieldQualifyStageIngress, {}) == BCM_E_NONE) ++created;
  return created;
}

// An installed ingress entry counts one packet's worth into a statistics object; the object is
// detached and read.
int read_after_detach() {
  stages();
  int stat = 0;
  EXPECT_EQ(stat_create(kIn, {bcmFieldStatPackets}, &stat), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_stat_attach(0, kInEntry, stat), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_install(0, kInEntry), BCM_E_NONE);
  EXPECT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatPackets, 7), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_stat_detach(0, kInEntry, stat), BCM_E_NONE);
  uint64 value = 99;
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatPackets, &value), BCM_E_NONE);
  EXPECT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatPackets, 0), BCM_E_NONE) << "and clears nothing";
  EXPECT_EQ(bcm_field_entry_stat_attach(0, kInEntry, stat), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_install(0, kInEntry), BCM_E_NONE);
  uint64 kept = 0;
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatPackets, &kept), BCM_E_NONE);
  EXPECT_EQ(kept, 7u) << "the kept count comes back with the next install";
  return static_cast<int>(value);
}

int l3_intf(bcm_l3_intf_t& intf) {
  bcm_l3_intf_t_init(&intf);
  intf.l3a_vid = 10;
  intf.l3a_mac_addr[5] = 1;
  return bcm_l3_intf_create(0, &intf);
}

// Creates the same interface twice; returns the second one's id.
int same_interface_twice() {
  bcm_l3_intf_t first, second;
  EXPECT_EQ(l3_intf(first), BCM_E_NONE);
  EXPECT_EQ(l3_intf(second), BCM_E_NONE);
  EXPECT_EQ(first.l3a_intf_id, 0) << "interfaces are numbered from the table's first index";
  return second.l3a_intf_id;
}

int destroy_egress_of_installed_entry() {
  stages();
  EXPECT_EQ(bcm_switch_control_set(0, bcmSwitchL3EgressMode, 1), BCM_E_NONE);
  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  bcm_if_t id = 0;
  EXPECT_EQ(bcm_l3_egress_create(0, 0, &egress, &id), BCM_E_NONE);
  EXPECT_EQ(bcm_field_action_add(0, kInEntry, bcmFieldActionL3Switch, id, 0), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_install(0, kInEntry), BCM_E_NONE);
  return bcm_l3_egress_destroy(0, id);
}

int policer_after_field_init() {
  const bcm_policer_t id = policer(bcmPolicerModeSrTcm);
  EXPECT_EQ(bcm_field_init(0), BCM_E_NONE);
  bcm_policer_config_t config;
  return bcm_policer_get(0, id, &config);
}

// An ingress group fills its first slice and takes a second; the first slice's entries go but
// one. Returns the slices it holds then.
int slices_after_emptying_most_of_the_first() {
  const int size = bcmsim::config().slices[1][0];
  EXPECT_EQ(group(kIn, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  for (int entry = 0; entry <= size; ++entry) {
    EXPECT_EQ(bcm_field_entry_create_id(0, kIn, 1000 + entry), BCM_E_NONE);
  }
  for (int entry = 1; entry < size; ++entry) {
    EXPECT_EQ(bcm_field_entry_destroy(0, 1000 + entry), BCM_E_NONE);
  }
  return static_cast<int>(bcmsim::state().group(kIn)->slices.size());
}

// As above, and then the first slice's last entry goes too.
int slices_after_emptying_the_first() {
  slices_after_emptying_most_of_the_first();
  EXPECT_EQ(bcm_field_entry_destroy(0, 1000), BCM_E_NONE);
  return static_cast<int>(bcmsim::state().group(kIn)->slices.size());
}

// One statistics object for entries of two slices of an ingress group, the first installed.
int stat_over_two_slices() {
  const int size = bcmsim::config().slices[1][0];
  EXPECT_EQ(group(kIn, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  for (int entry = 0; entry <= size; ++entry) {
    EXPECT_EQ(bcm_field_entry_create_id(0, kIn, 1000 + entry), BCM_E_NONE);
  }
  int stat = 0;
  EXPECT_EQ(stat_create(kIn, {bcmFieldStatPackets}, &stat), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_stat_attach(0, 1000, stat), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_install(0, 1000), BCM_E_NONE);
  return bcm_field_entry_stat_attach(0, 1000 + size, stat);
}

// The same, but the second entry is attached before the first install and installed after it.
int stat_installed_over_two_slices() {
  const int size = bcmsim::config().slices[1][0];
  EXPECT_EQ(group(kIn, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  for (int entry = 0; entry <= size; ++entry) {
    EXPECT_EQ(bcm_field_entry_create_id(0, kIn, 1000 + entry), BCM_E_NONE);
  }
  int stat = 0;
  EXPECT_EQ(stat_create(kIn, {bcmFieldStatPackets}, &stat), BCM_E_NONE);
  for (int entry : {1000, 1000 + size}) {
    EXPECT_EQ(bcm_field_entry_stat_attach(0, entry, stat), BCM_E_NONE);
  }
  EXPECT_EQ(bcm_field_entry_install(0, 1000), BCM_E_NONE);
  return bcm_field_entry_install(0, 1000 + size);
}

int l3_switch_after_egress_mask() {
  stages();
  EXPECT_EQ(bcm_field_action_ports_add(0, kInEntry, bcmFieldActionEgressMask, pbmp_of({1})),
            BCM_E_NONE);
  return bcm_field_action_add(0, kInEntry, bcmFieldActionL3Switch, 100002, 0);
}

int qualify_outside_qset(int entry) {
  stages();
  return bcm_field_qualify_DSCP(0, entry, 10, 0x3f);
}

int mac_outside_qset() {
  stages();
  bcm_mac_t mac = {0, 1, 2, 3, 4, 5};
  return bcm_field_qualify_SrcMac(0, kInEntry, mac, mac);
}

struct ChipRule {
  const char* name;
  const char* chip;  // a named chip, or "default"
  const char* decided_in;
  std::function<int()> answer;
  int expected;
};

void PrintTo(const ChipRule& rule, std::ostream* out) {
  *out << rule.name << " on " << rule.chip << " (" << rule.decided_in << ")";
}

// clang-format off
const ChipRule kRules[] = {
    // 1. Level-1 policers.
    {"ParentPolicerCommitted", "bcm56450", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kInEntry, 1, bcmPolicerModeCommitted); }, BCM_E_NONE},
    {"ParentPolicerSrTcm", "bcm56450", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kInEntry, 1, bcmPolicerModeSrTcm); }, BCM_E_PARAM},
    {"ParentPolicerAtEgress", "bcm56450", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kEgEntry, 1, bcmPolicerModeCommitted); }, BCM_E_UNAVAIL},
    {"ParentPolicer", "bcm56850", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kInEntry, 1, bcmPolicerModeCommitted); }, BCM_E_UNAVAIL},
    {"ParentPolicer", "bcm56960", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kInEntry, 1, bcmPolicerModeCommitted); }, BCM_E_UNAVAIL},
    {"ParentPolicerAnyMode", "default", "relaxed", [] { return attach_at(kEgEntry, 1, bcmPolicerModeTrTcm); }, BCM_E_NONE},
    {"PolicerModifiedAtEgress", "bcm56850", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kEgEntry, 0, bcmPolicerModeSrTcmModified); }, BCM_E_NONE},
    {"PolicerModifiedAtEgress", "bcm56960", "_bcm_field_policer_mode_support (field_common.c)", [] { return attach_at(kEgEntry, 0, bcmPolicerModeSrTcmModified); }, BCM_E_UNAVAIL},
    {"PolicerAtLookup", "bcm56450", "bcm_esw_field_entry_policer_attach (field.c), service meters (policer.c)", [] { return attach_at(kPreEntry, 0, bcmPolicerModeSrTcm); }, BCM_E_NOT_FOUND},
    {"PolicerAtLookup", "bcm56850", "bcm_esw_field_entry_policer_attach (field.c)", [] { return attach_at(kPreEntry, 0, bcmPolicerModeSrTcm); }, BCM_E_UNAVAIL},
    {"EmptyDetachAtLookup", "bcm56450", "_field_entry_policer_detach (field_common.c), service meters", [] { stages(); return bcm_field_entry_policer_detach(0, kPreEntry, 0); }, BCM_E_NONE},
    {"EmptyDetachAtLookup", "bcm56850", "_field_entry_policer_detach (field_common.c)", [] { stages(); return bcm_field_entry_policer_detach(0, kPreEntry, 0); }, BCM_E_EMPTY},
    {"PolicerCreatePeak", "bcm56450", "_field_policer_hw_flags_set (field_common.c)", [] { bcm_policer_config_t c; bcm_policer_config_t_init(&c); c.mode = bcmPolicerModePeak; bcm_policer_t id; return bcm_policer_create(0, &c, &id); }, BCM_E_UNAVAIL},
    // 2. Statistics objects and the hardware counter modes.
    {"StatThreeColourClasses", "bcm56450", "_bcm_field_stat_hw_mode_get (field_common.c)", [] { return stat_at(kIn, {bcmFieldStatGreenPackets, bcmFieldStatYellowPackets, bcmFieldStatRedPackets}); }, BCM_E_RESOURCE},
    {"StatTwoColourClasses", "bcm56450", "_bcm_field_stat_hw_mode_get (field_common.c)", [] { return stat_at(kIn, {bcmFieldStatPackets, bcmFieldStatRedPackets}); }, BCM_E_NONE},
    {"StatPacketsAndRed", "bcm56850", "_bcm_field_trident_stat_hw_mode_to_bmap (trident/field.c)", [] { return stat_at(kIn, {bcmFieldStatPackets, bcmFieldStatRedPackets}); }, BCM_E_RESOURCE},
    {"StatEveryColour", "bcm56960", "_field_th_flex_mode_get (tomahawk/field.c)", [] { return stat_at(kIn, {bcmFieldStatPackets, bcmFieldStatGreenPackets, bcmFieldStatYellowPackets, bcmFieldStatRedPackets}); }, BCM_E_NONE},
    {"StatPacketsAndRedAtEgress", "bcm56960", "_bcm_field_trx_stat_hw_mode_to_bmap (trx/field.c)", [] { return stat_at(kEg, {bcmFieldStatPackets, bcmFieldStatRedPackets}); }, BCM_E_RESOURCE},
    {"StatColourAtLookup", "bcm56450", "_field_flex_mode_get (field_common.c)", [] { return stat_at(kPre, {bcmFieldStatGreenPackets}); }, BCM_E_UNAVAIL},
    {"StatAnyMix", "default", "relaxed", [] { return stat_at(kEg, {bcmFieldStatPackets, bcmFieldStatRedPackets}); }, BCM_E_NONE},
    {"StatOverTwoSlices", "bcm56450", "_field_entry_stat_attach (field_common.c)", stat_over_two_slices, BCM_E_CONFIG},
    {"StatOverTwoSlices", "bcm56960", "_field_entry_stat_attach (field_common.c)", stat_over_two_slices, BCM_E_NONE},
    {"StatInstalledOverTwoSlices", "bcm56850", "_field_stat_hw_alloc (field_common.c)", stat_installed_over_two_slices, BCM_E_CONFIG},
    // 3. Actions a stage supports.
    {"L3SwitchAtEgress", "bcm56450", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kEgEntry, bcmFieldActionL3Switch); }, BCM_E_UNAVAIL},
    {"SwitchToCpuCancelAtLookup", "bcm56850", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kPreEntry, bcmFieldActionSwitchToCpuCancel); }, BCM_E_UNAVAIL},
    {"CosQNewAtEgress", "bcm56960", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kEgEntry, bcmFieldActionCosQNew); }, BCM_E_UNAVAIL},
    {"RedirectAtEgress", "bcm56450", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kEgEntry, bcmFieldActionRedirect); }, BCM_E_NONE},
    {"RedirectAtEgress", "bcm56850", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kEgEntry, bcmFieldActionRedirect); }, BCM_E_UNAVAIL},
    {"VlanCosQNewAtIngress", "bcm56960", "_field_th_ingress_action_support_check (tomahawk/field.c)", [] { return action_at(kInEntry, bcmFieldActionVlanCosQNew); }, BCM_E_UNAVAIL},
    {"InnerPcpAtIngress", "default", "_bcm_field_trx_stage_action_support_check (trx/field.c)", [] { return action_at(kInEntry, bcmFieldActionInnerVlanPrioNew); }, BCM_E_UNAVAIL},
    {"LibraryActionAtEgress", "default", "relaxed", [] { return action_at(kEgEntry, bcmFieldActionL3Switch); }, BCM_E_NONE},
    {"L3SwitchAfterEgressMask", "bcm56850", "_bcm_field_trx_stage_action_conflict_check (trx/field.c)", l3_switch_after_egress_mask, BCM_E_CONFIG},
    {"L3SwitchAfterEgressMask", "bcm56960", "_bcm_field_th_action_conflict_check (tomahawk/field.c)", l3_switch_after_egress_mask, BCM_E_NONE},
    {"PortsAddOfAPortTheDeviceLacks", "bcm56450", "bcm_esw_field_action_ports_add (field.c)", [] { stages(); return bcm_field_action_ports_add(0, kInEntry, bcmFieldActionEgressMask, pbmp_of({200})); }, BCM_E_PARAM},
    {"MacAddOfAnotherAction", "bcm56450", "bcm_esw_field_action_mac_add (field.c)", [] { stages(); bcm_mac_t mac = {}; return bcm_field_action_mac_add(0, kInEntry, bcmFieldActionDrop, mac); }, BCM_E_PARAM},
    // 4. Ingress slices, and so ingress groups.
    {"IngressGroups", "bcm56450", "_field_tcam_info_init (field_common.c)", ingress_groups, 16},
    {"IngressGroups", "bcm56850", "_bcm_field_td2_stage_init (trident2/field.c)", ingress_groups, 12},
    {"IngressGroups", "bcm56960", "_field_th_stage_add (tomahawk/field.c)", ingress_groups, 12},
    {"SingleWideWithInPorts", "bcm56960", "_field_th_group_add_extractor_codes_get (tomahawk/field_grp.c)", [] { return group(kIn, bcmFieldQualifyStageIngress, {bcmFieldQualifyInPorts}); }, BCM_E_CONFIG},
    {"SingleWideWithInPorts", "bcm56450", "_bcm_field_group_add (field_common.c)", [] { return group(kIn, bcmFieldQualifyStageIngress, {bcmFieldQualifyInPorts}); }, BCM_E_NONE},
    {"IntraSliceDoubleAtIngress", "bcm56850", "_field_group_add_sel_codes_get (field_common.c)", [] { return group(kIn, bcmFieldQualifyStageIngress, {}, bcmFieldGroupModeIntraSliceDouble); }, BCM_E_RESOURCE},
    {"OutPortAtIngress", "bcm56960", "_field_th_group_add_initialize (tomahawk/field_grp.c)", [] { return group(kIn, bcmFieldQualifyStageIngress, {bcmFieldQualifyOutPort}); }, BCM_E_UNAVAIL},
    {"SrcGportAtLookup", "bcm56450", "_field_group_add_initialize (field_common.c), _field_kt2_lookup_qualifiers_init (katana2/field.c)", [] { return group(kPre, bcmFieldQualifyStageLookup, {bcmFieldQualifySrcGport}); }, BCM_E_UNAVAIL},
    {"SrcGportAtLookup", "bcm56850", "_field_group_add_initialize (field_common.c), _field_td2_lookup_qualifiers_init (trident2/field.c)", [] { return group(kPre, bcmFieldQualifyStageLookup, {bcmFieldQualifySrcGport}); }, BCM_E_NONE},
    {"TripleAtLookup", "bcm56850", "_bcm_field_group_add (field_common.c)", [] { return group(kPre, bcmFieldQualifyStageLookup, {}, bcmFieldGroupModeTriple); }, BCM_E_UNAVAIL},
    {"QualifyOutsideQsetAtIngress", "bcm56450", "_field_qualify32 (field_common.c)", [] { return qualify_outside_qset(kInEntry); }, BCM_E_NOT_FOUND},
    {"QualifyOutsideQsetAtIngress", "bcm56960", "_field_qualify32 (field_common.c), _bcm_field_th_qualify_set (tomahawk/field.c)", [] { return qualify_outside_qset(kInEntry); }, BCM_E_PARAM},
    {"MacOutsideQsetAtIngress", "bcm56960", "_field_qualify_macaddr (field.c)", mac_outside_qset, BCM_E_NOT_FOUND},
    // 5. Reads while detached.
    {"ReadAfterDetach", "default", "_bcm_esw_field_stat_get (field_common.c)", read_after_detach, 0},
    // 6. The same MAC address and VLAN twice.
    {"SameMacAndVlanTwice", "default", "_bcm_esw_l3_intf_create (l3.c)", same_interface_twice, 1},
    // 7. An egress object an installed entry switches to.
    {"EgressDestroyWhileUsed", "default", "bcm_xgs3_l3_egress_destroy (firebolt/l3.c)", destroy_egress_of_installed_entry, BCM_E_BUSY},
    // 8. bcm_field_init and the policers.
    {"PolicersAfterFieldInit", "default", "bcm_esw_field_detach (field_common.c)", policer_after_field_init, BCM_E_NOT_FOUND},
    // 9. Slices given back.
    {"NonEmptySliceKept", "default", "_field_group_free_unused_slices (field_common.c)", slices_after_emptying_most_of_the_first, 2},
    {"FirstSliceKept", "bcm56450", "_field_group_free_unused_slices (field_common.c)", slices_after_emptying_the_first, 2},
    {"FirstSliceGiven", "bcm56960", "_bcm_field_th_group_free_unused_slices (tomahawk/field_grp.c)", slices_after_emptying_the_first, 1},
};
// clang-format on

class ChipRules : public ::testing::TestWithParam<ChipRule> {
 protected:
  void SetUp() override {
    const std::string chip = GetParam().chip;
    bcmsim::reset(chip == "default" ? bcmsim::Config{} : *bcmsim::chip_config(chip));
  }
};

TEST_P(ChipRules, AnswerAsTheChipsSdkCodePath) {
  const int answer = GetParam().answer();
  EXPECT_EQ(answer, GetParam().expected) << GetParam().decided_in;
  if (answer >= 0) return;
  ASSERT_FALSE(bcmsim::refusals().empty());
  EXPECT_NE(bcmsim::refusals().back().rule, nullptr) << "a refusal that names no rule";
}

INSTANTIATE_TEST_SUITE_P(Table, ChipRules, ::testing::ValuesIn(kRules), [](const auto& test) {
  std::string chip = test.param.chip;
  return std::string(test.param.name) + "_" + chip;
});

TEST(ChipNames, EachNameGivesItsChipAndOthersNothing) {
  for (const std::string& name : bcmsim::chip_names()) {
    EXPECT_EQ(bcmsim::chip_config(name)->chip.name, name);
  }
  EXPECT_EQ(bcmsim::chip_names(), (std::vector<std::string>{"bcm56450", "bcm56850", "bcm56960"}));
  EXPECT_FALSE(bcmsim::chip_config("bcm56960x"));
  EXPECT_EQ(bcmsim::chip_config("bcm56850")->slices[1],
            (std::vector<int>{512, 512, 512, 512, 256, 256, 256, 256, 256, 256, 256, 256}));
}

}  // namespace
