// The L3 interface and egress object that rewrite the L2 fields of one user entry's traffic.
#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;

class L2Rewrite : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(test_support::create_group(16, bcmFieldQualifyStageIngress, {}), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 16, 2), 0);
    bcmsim::set_call_log(true);
    log.clear();
  }
  void TearDown() override { bcmsim::set_call_log(false); }

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
  const bcm_l3_intf_t& intf = device.l3_intfs.at(1);
  EXPECT_EQ(intf.l3a_vid, 30);
  EXPECT_EQ(intf.l3a_mac_addr[5], 0x0a);
  const bcm_l3_egress_t& egress = device.l3_egresses.at(100003).egress;
  EXPECT_EQ(egress.flags, 0x08000000u);
  EXPECT_EQ(egress.flags2, 2u);
  EXPECT_EQ(egress.intf, 1);
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

}  // namespace
