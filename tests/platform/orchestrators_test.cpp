// HalBcmCommon lookups and the order in which the orchestrators change state and raise events.
#include <stdexcept>

#include <gtest/gtest.h>

#include <encap/destination_orchestrator.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_bcm_common/hal_bcm_common.h>
#include <lag/lag_orchestrator.h>

namespace {

class Orchestrators : public ::testing::Test {
 protected:
  void SetUp() override { HalBcmCommon::GetInstance().Reset(); }
  HalBcmCommon& common = HalBcmCommon::GetInstance();
};

TEST_F(Orchestrators, UnknownInterfacesRaiseHalIdNotFound) {
  common.SetGport(limid_ethernet(1), 0x04000001);
  EXPECT_EQ(common.GetGport(limid_ethernet(1)), 0x04000001);
  auto expect_miss = [](auto lookup) {
    try {
      lookup();
      ADD_FAILURE() << "no exception";
    } catch (const std::out_of_range& miss) {
      EXPECT_STREQ(miss.what(), "HAL ID not found");
    }
  };
  expect_miss([&] { common.GetGport(limid_ethernet(2)); });
  expect_miss([&] { common.GetVirtualPortGport(limid_vpn_access(1)); });
  expect_miss([&] { common.GetGportServicePort(limid_vpn_access(1)); });
  int egress = 0;
  EXPECT_EQ(common.GetEgressId(5, &egress), -1);
  std::pair<unsigned, unsigned> vlan_class;
  EXPECT_EQ(GetVlanClassIdConfig({HAL_BD_SVC_VLAN_UNI, 0}, vlan_class), -1);
  common.SetVlanClass(HAL_BD_SVC_VLAN_UNI, 0x10, 0xf0);
  EXPECT_EQ(GetVlanClassIdConfig({HAL_BD_SVC_VLAN_UNI, 0}, vlan_class), 0);
  EXPECT_EQ(vlan_class, std::make_pair(0x10u, 0xf0u));
}

TEST_F(Orchestrators, LagEventsSeeMembershipInTheDocumentedState) {
  halswitchl2if::LagOrchestrator lags;
  const limid_t lag = limid_lag(1), m1 = limid_ethernet(1), m2 = limid_ethernet(2);
  std::vector<std::string> seen;
  auto members = [&] { return common.GetLagMembers(lag).size(); };
  halswitchl2if::LagOrchestrator::Callback callback;
  callback.member_added = [&](const limid_t&, const limid_t& m) {
    seen.push_back("added " + limid_name(m) + " with " + std::to_string(members()));
    return true;
  };
  callback.member_removed = [&](const limid_t&, const limid_t& m) {
    seen.push_back("removed " + limid_name(m) + " leaving " + std::to_string(members()));
    return m != m2;  // this client cannot follow the second removal
  };
  callback.lag_destroyed = [&](const limid_t&) {
    seen.push_back("destroyed with " + std::to_string(members()));
    return true;
  };
  ASSERT_EQ(lags.RegisterClient(1010, "filters", callback), 0);
  EXPECT_EQ(lags.RegisterClient(1010, "again", callback), -1);

  EXPECT_EQ(lags.AddMember(lag, m1), -2) << "no such LAG yet";
  EXPECT_EQ(lags.CreateLag(lag), 0);
  EXPECT_TRUE(BCM_GPORT_IS_TRUNK(common.GetGport(lag)));
  EXPECT_EQ(lags.AddMember(lag, m1), 0);
  EXPECT_EQ(lags.AddMember(lag, m2), 0);
  EXPECT_EQ(lags.AddMember(lag, m2), -2);
  EXPECT_EQ(lags.RemoveMember(lag, m2), -1) << "a client did not follow";
  EXPECT_EQ(lags.AddMember(lag, m2), 0);
  EXPECT_EQ(lags.DestroyLag(lag), 0);
  EXPECT_EQ(members(), 0u);
  EXPECT_THROW(common.GetGport(lag), std::out_of_range);
  EXPECT_EQ(seen, (std::vector<std::string>{"added eth1 with 1", "added eth2 with 2",
                                            "removed eth2 leaving 1", "added eth2 with 2",
                                            "destroyed with 2"}));
}

TEST_F(Orchestrators, AMemberJoinsOneLagOnceAndIsAlwaysAPort) {
  halswitchl2if::LagOrchestrator lags;
  const limid_t lag1 = limid_lag(1), lag2 = limid_lag(2), port = limid_ethernet(3);
  int raised = 0;
  halswitchl2if::LagOrchestrator::Callback callback;
  callback.member_added = [&](const limid_t&, const limid_t&) { return ++raised > 0; };
  lags.RegisterClient(1010, "filters", callback);
  lags.CreateLag(lag1);
  lags.CreateLag(lag2);
  ASSERT_EQ(lags.AddMember(lag1, port), 0);
  HalLogCapture log;
  const struct {
    limid_t lag, member;
    const char* line;
  } refused[] = {
      {lag1, port, "Cannot add eth3 to lag1: it is already a member"},
      {lag2, port, "Cannot add eth3 to lag2: it is a member of lag1"},
      {lag1, lag2, "Cannot add lag2 to lag1: a LAG cannot be a member of a LAG"},
  };
  for (const auto& row : refused) {
    EXPECT_EQ(lags.AddMember(row.lag, row.member), -2) << row.line;
    EXPECT_TRUE(log.contains(row.line)) << row.line;
  }
  EXPECT_EQ(raised, 1);
  EXPECT_EQ(common.GetLagMembers(lag2).size(), 0u);
  EXPECT_EQ(common.GetLagOfMember(port), lag1);
}

TEST_F(Orchestrators, DestinationRemovedWhileItsEgressIsStillKnown) {
  hal_encap::DestinationOrchestrator destinations;
  std::vector<int> egress_seen;
  destinations.RegisterClient(1010, "filters", [&](int id) {
    int egress = -1;
    common.GetEgressId(id, &egress);
    egress_seen.push_back(egress);
  });
  ASSERT_EQ(destinations.AddDestination(4, 100005), 0);
  EXPECT_EQ(destinations.AddDestination(4, 100006), -2);
  EXPECT_EQ(destinations.RemoveDestination(4), 0);
  EXPECT_EQ(destinations.RemoveDestination(4), -2);
  EXPECT_EQ(egress_seen, (std::vector<int>{100005}));
  int egress = 0;
  EXPECT_EQ(common.GetEgressId(4, &egress), -1);
}

}  // namespace
