// Action translation: every action type as its Broadcom actions, its failures, and the L3
// objects that rewrite L2 fields.
#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>
#include <hal_filters_ll/action_translation.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/model_builders.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;
using test_support::actions_of;
using test_support::ports;

constexpr int kEid = 1000;
constexpr int kLookupEid = 1001;

class ActionTranslation : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(test_support::create_group(16, bcmFieldQualifyStageIngress, {}), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 16, kEid), 0);
    ASSERT_EQ(test_support::create_group(1, bcmFieldQualifyStageLookup, {}), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 1, kLookupEid), 0);
    ASSERT_EQ(destinations.AddDestination(5, 100010), 0);
    HalBcmCommon::GetInstance().GetVpnInfoGetter().SetVpnInterfaceInfo(
        limid_vpn(1), limid_vpn_access(1), {0x18000001, 1});
    test_support::make_lag(*lags, 1, {4});
    log.clear();
  }
};

struct Row {
  const char* name;
  std::shared_ptr<const Action> action;
  int result;
  std::vector<std::string> actions;
  std::vector<std::string> lines;
  int eid = kEid;  // the inner tag's actions and the MPLS port are lookup-stage actions
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class EveryActionType : public ActionTranslation, public ::testing::WithParamInterface<Row> {};

TEST_P(EveryActionType, AddsItsBroadcomActionsInOrder) {
  EXPECT_EQ(filters->createBcmAction(GetParam().action.get(), GetParam().eid), GetParam().result);
  EXPECT_EQ(actions_of(GetParam().eid), GetParam().actions);
  EXPECT_EQ(log.texts(), GetParam().lines);
}

template <class A, class... Args>
std::shared_ptr<const Action> make(Args&&... args) {
  return std::make_shared<A>(std::forward<Args>(args)...);
}

std::shared_ptr<const Action> plain(int type) {
  return std::make_shared<Action>(static_cast<filtersAction_t>(type));
}

using Byte = unsigned char;
const limid_t kCpu = limid_cpuport_from_components(1, 1, 0, 1);
const std::vector<std::string> kKeepFromCpu = {"EgressMask({0})", "SwitchToCpuCancel(0, 0)",
                                               "CopyToCpuCancel(0, 0)"};

std::vector<std::string> then(std::vector<std::string> first,
                              const std::vector<std::string>& rest) {
  first.insert(first.end(), rest.begin(), rest.end());
  return first;
}

const std::vector<std::string> kBlackHole = then({"L3Switch(100002, 0)"}, kKeepFromCpu);

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, EveryActionType,
    ::testing::Values(
        Row{"T00Permit", plain(0), 0, {"DropCancel(0, 0)"}, {}},
        Row{"T01Drop", plain(1), 0, {"Drop(0, 0)"}, {}},
        Row{"T02CopyToCpu", plain(2), 0, {"CopyToCpu(0, 0)"}, {}},
        Row{"T03BlockEgressPorts", make<ActionBlockEgressPorts>(ports({limid_ethernet(3), limid_ethernet(1), limid_lag(1)})), 0, {"EgressMask({1,3})"}, {}},
        Row{"T03BlockNoPort", make<ActionBlockEgressPorts>(ports({})), 0, {"EgressMask({})"}, {}},
        Row{"T03BlockUnknownPort", make<ActionBlockEgressPorts>(ports({limid_ethernet(50)})), -2, {},
            {"Filters-ll-bcm: failed to convert action interface to gport - HAL ID not found\n"}},
        Row{"T04CancelCopies", make<ActionCopyToCpuCancel>(0), 0, {"CopyToCpuCancel(0, 0)"}, {}},
        Row{"T04CancelSwitching", make<ActionCopyToCpuCancel>(1), 0, {"SwitchToCpuCancel(0, 0)"}, {}},
        Row{"T04CancelOther", make<ActionCopyToCpuCancel>(2), 0, {}, {}},
        Row{"T05SetPcp", make<ActionSetPcp>(Byte{5}), 0, {"PrioPktNew(5, 0)"}, {}},
        Row{"T06SetPcpAndQueue", make<ActionSetPcpAndQueue>(Byte{3}), 0, {"PrioPktAndIntNew(3, 0)"}, {}},
        Row{"T07SetInnerPcp", make<ActionSetInnerPcp>(Byte{2}), 0, {"InnerVlanPrioNew(2, 0)"}, {}, kLookupEid},
        Row{"T08SetDscp", make<ActionSetDSCP>(Byte{46}), 0, {"DscpNew(46, 0)"}, {}},
        Row{"T09CosQueue", make<ActionMapToCosQueue>(Byte{4}), 0, {"CosQNew(4, 0)"}, {}},
        Row{"T10CpuCosQueue", make<ActionMapToCpuCosQueue>(Byte{6}), 0, {"CosQCpuNew(6, 0)"}, {}},
        Row{"T11RedirectOnePort", make<ActionRedirect>(ports({kCpu})), 0, {"Redirect(0, 0)"}, {}},
        Row{"T11RedirectASecondPortTheChipRefuses", make<ActionRedirect>(ports({limid_ethernet(2), kCpu})), -2, {"Redirect(0, 2)"},
            {"[HAL FILTERS] Couldn't add action 29 to/from BCM entry id 1000: Invalid configuration"}},
        Row{"T11RedirectNowhere", make<ActionRedirect>(ports({})), 0, {}, {}},
        Row{"T11RedirectToLag", make<ActionRedirect>(ports({limid_ethernet(2), limid_lag(1)})), -2, {"Redirect(0, 2)"},
            {"This interface: lag1 cannot be used."}},
        Row{"T11RedirectUnknownPort", make<ActionRedirect>(ports({limid_ethernet(50)})), -2, {}, {"Filters - Port: eth50 not found"}},
        Row{"T12ReplaceDstMac", make<ActionReplaceDstMac>(mac_address_t{2, 0, 0, 0, 0, 1}), 0, {"DstMacNew(02:00:00:00:00:01)"}, {}},
        Row{"T13RedirectCancel", plain(13), 0, {"RedirectCancel(0, 0)"}, {}},
        Row{"T14ReplaceSrcMac", make<ActionReplaceSrcMac>(mac_address_t{2, 0, 0, 0, 0, 2}), 0, {"SrcMacNew(02:00:00:00:00:02)"}, {}},
        Row{"T15L3Switch", make<ActionL3Switch>(5u), 0, {"L3Switch(100010, 0)"}, {}},
        Row{"T15UnknownDestination", make<ActionL3Switch>(9u), -2, {}, {"Could not find egress ID for destination ID 9."}},
        Row{"T16BlackHole", plain(16), 0, kBlackHole, {}},
        Row{"T17CopyInnerPcpToOuter", plain(17), 0, {"OuterVlanPrioCopyInner(0, 0)"}, {}, kLookupEid},
        Row{"T18MplsPortSet", make<ActionMplsPortSet>(limid_vpn(1), limid_vpn_access(1)), 0, {"IncomingMplsPortSet(402653185, 0)"}, {}, kLookupEid},
        Row{"T18UnknownVpnAccess", make<ActionMplsPortSet>(limid_vpn(1), limid_vpn_access(2)), -2, {},
            {"[HAL FILTERS] createBcmAction(): Could not retrieve VPN Interface Info from HalBcmCommon for VPN vpn1 and access vport2, error=-1"}},
        Row{"T19KeepFromCpu", plain(19), 0, kKeepFromCpu, {}},
        Row{"T20Unknown", plain(20), -2, {}, {"Action type 20 not found"}},
        Row{"ClassNotMatchingItsType", plain(5), -2, {}, {"Action type 5 not found"}}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

TEST_F(ActionTranslation, TheMplsFailureIsAWarning) {
  EXPECT_EQ(filters->createBcmAction(
                ActionMplsPortSet(limid_vpn(2), limid_vpn_access(1)).clone().get(), kEid),
            -2);
  EXPECT_EQ(log.lines().at(0).level, 4);
}

TEST_F(ActionTranslation, AnSdkRefusalIsReportedWithItsCodeAndAPositiveResultIsSuccess) {
  bcmsim::inject_fault({"bcm_field_action_add", BCM_E_PARAM, 1, std::nullopt, false});
  EXPECT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_DROP).clone().get(), kEid), -2);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].code, BCM_E_PARAM);
  EXPECT_EQ(log.lines()[0].text,
            "[HAL FILTERS] Couldn't add action 39 to/from BCM entry id 1000: Invalid parameter");

  bcmsim::inject_fault({"bcm_field_action_add", 1, 1, std::nullopt, false});
  EXPECT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_DROP).clone().get(), kEid), 0);
}

TEST_F(ActionTranslation, AFailingStepEndsAMultiStepAction) {
  bcmsim::inject_fault({"bcm_field_action_ports_add", BCM_E_FULL, 1, std::nullopt, false});
  EXPECT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_BLACK_HOLE).clone().get(), kEid), -2);
  EXPECT_EQ(actions_of(kEid), std::vector<std::string>{"L3Switch(100002, 0)"});
}

TEST_F(ActionTranslation, OnlyTheL3SwitchIsEverDeleted) {
  const ActionL3Switch l3_switch(5u);
  ASSERT_EQ(filters->createBcmAction(&l3_switch, kEid), 0);
  ASSERT_EQ(filters->createBcmAction(Action(FILTERS_ACTION_DROP).clone().get(), kEid), 0);
  EXPECT_EQ(filters->deleteBcmAction(&l3_switch, kEid), 0);
  EXPECT_EQ(actions_of(kEid), std::vector<std::string>{"Drop(0, 0)"});
  EXPECT_EQ(filters->deleteBcmAction(Action(FILTERS_ACTION_DROP).clone().get(), kEid), -2);
  EXPECT_TRUE(log.contains("Action type 1 not found"));
  EXPECT_EQ(filters->deleteBcmAction(ActionL3Switch(9u).clone().get(), kEid), -2);
  EXPECT_TRUE(log.contains("Could not find egress ID for destination ID 9."));
  EXPECT_EQ(filters->deleteBcmAction(&l3_switch, kEid), -2) << "nothing left to delete";
  EXPECT_TRUE(log.contains(
      "[HAL FILTERS] Couldn't delete action 48 to/from BCM entry id 1000: Entry not found"));
}

// None of the chips modelled takes VLAN action sets: the wrapper reports the SDK's refusal.
TEST_F(ActionTranslation, VlanActionSetsGoThroughTheirWrapper) {
  bcm_vlan_action_set_t vlan_actions;
  bcm_vlan_action_set_t_init(&vlan_actions);
  vlan_actions.new_outer_vlan = 30;
  EXPECT_EQ(HalFiltersLL::setBcmFieldActionVlanActionsAdd(
                kLookupEid, bcmFieldActionOuterVlanCopyInner, vlan_actions),
            -2);
  EXPECT_TRUE(actions_of(kLookupEid).empty());
  EXPECT_EQ(log.texts(), std::vector<std::string>{"[HAL FILTERS] Couldn't add action 221 to/from "
                                                  "BCM entry id 1001: Feature unavailable"});
}

// The L3 interface and egress object that rewrite the L2 fields of one user entry's traffic.
class L2Rewrite : public ActionTranslation {
 protected:
  void SetUp() override {
    ActionTranslation::SetUp();
    ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 16, 2), 0);
    bcmsim::set_call_log(true);
  }

  int rewrite(int eid) { return filters->createChangeL2FieldsAction(eid, key, src, dst, vlan); }

  const HalFiltersLL::user_entry_key_t key{FILTERS_GROUP_STAGE_INGRESS, 0, 9};
  unsigned char src[6] = {0x02, 0, 0, 0, 0, 0x0a};
  unsigned char dst[6] = {0x02, 0, 0, 0, 0, 0x0b};
  unsigned short vlan = 30;
};

TEST_F(L2Rewrite, TheHardwareEntriesOfOneUserEntryShareOneInterfaceAndEgressObject) {
  ASSERT_EQ(rewrite(1), 0);
  ASSERT_EQ(rewrite(2), 0);
  EXPECT_EQ(bcmsim::call_names("bcm_l3_"),
            (std::vector<std::string>{"bcm_l3_intf_t_init", "bcm_l3_intf_create",
                                      "bcm_l3_egress_t_init", "bcm_l3_egress_create"}));
  for (int eid : {1, 2}) {
    EXPECT_EQ(test_support::actions_of(eid), std::vector<std::string>{"ChangeL2Fields(100003, 0)"});
  }
  const bcmsim::State& device = bcmsim::state();
  const bcm_l3_intf_t& intf = device.l3_intfs.at(0);  // the SDK's first interface index
  EXPECT_EQ(intf.l3a_vid, 30);
  EXPECT_EQ(intf.l3a_mac_addr[5], 0x0a);
  const bcm_l3_egress_t& egress = device.l3_egresses.at(100003).egress;
  EXPECT_EQ(egress.flags, 0x08000000u);
  EXPECT_EQ(egress.flags2, 2u);
  EXPECT_EQ(egress.intf, 0);
  EXPECT_EQ(egress.mac_addr[5], 0x0b);
}

TEST_F(L2Rewrite, ReleaseDestroysTheEgressObjectThenTheInterfaceAndIsNeverBlocked) {
  ASSERT_EQ(rewrite(1), 0);
  bcmsim::clear_calls();
  bcmsim::inject_fault({"bcm_l3_egress_destroy", BCM_E_BUSY, 1, std::nullopt, false});
  EXPECT_EQ(filters->removeL3Entry(key), 0);
  EXPECT_EQ(bcmsim::call_names(),
            (std::vector<std::string>{"bcm_l3_egress_destroy", "bcm_l3_intf_delete"}));
  EXPECT_EQ(log.texts(),
            std::vector<std::string>{"Filters-ll-bcm: Error deleting L3 egress in filter removal: "
                                     "Operation still running"});
  EXPECT_TRUE(bcmsim::state().l3_intfs.empty());

  bcmsim::clear_calls();
  EXPECT_EQ(filters->removeL3Entry(key), 0);
  EXPECT_TRUE(bcmsim::calls().empty()) << "nothing to release";
}

TEST_F(L2Rewrite, AFailedCreationLeavesNothingBehind) {
  bcmsim::inject_fault({"bcm_l3_intf_create", BCM_E_FULL, 1, std::nullopt, false});
  EXPECT_EQ(rewrite(1), -2);
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "Filters-ll-bcm: Error creating L3 intf to change MACs, vlan 30: "
                             "Table full"});

  log.clear();
  bcmsim::inject_fault({"bcm_l3_egress_create", BCM_E_RESOURCE, 1, std::nullopt, false});
  bcmsim::inject_fault({"bcm_l3_intf_delete", BCM_E_INTERNAL, 1, std::nullopt, false});
  EXPECT_EQ(rewrite(1), -2);
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{
                "Filters-ll-bcm: Error creating L3 egress to change MACs: No resources for "
                "operation",
                "Filters-ll-bcm: Error deleting L3 intf due to error in L3 egress create: "
                "Internal error"}));

  log.clear();
  bcmsim::inject_fault({"bcm_l3_egress_create", BCM_E_RESOURCE, 1, std::nullopt, false});
  EXPECT_EQ(rewrite(2), -2);
  EXPECT_EQ(bcmsim::state().l3_intfs.size(), 1u) << "only the one whose deletion failed";
  EXPECT_TRUE(test_support::actions_of(1).empty());
}

TEST(ActionTranslationDeathTest, ANullActionRaisesTheSdkAssertion) {
  test_support::TestableFilters filters(nullptr, nullptr);
  EXPECT_DEATH(filters.createBcmAction(nullptr, 1), "action != nullptr.*hal_filters_bcm:1401");
  EXPECT_DEATH(filters.deleteBcmAction(nullptr, 1), "action != nullptr.*hal_filters_bcm:1643");
}

}  // namespace
