// Topology events raised by the orchestrators: hardware entries follow LAG membership and L3
// destinations.
#include <gtest/gtest.h>

#include <bcmsim/classify.h>
#include <bcmsim/fault_plan.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/model_builders.h"

namespace {

using namespace FiltersCommon;
using test_support::ports;
using test_support::qualifiers_of;

constexpr auto kIn = FILTERS_GROUP_STAGE_INGRESS;
constexpr auto kEg = FILTERS_GROUP_STAGE_EGRESS;
constexpr int kBase = 2097152;     // entry 0 of egress group 0
constexpr int kIngress = 1048576;  // entry 0 of ingress group 0

class TopologyEvents : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(filters->createGroup(FiltersGroup(kEg, 0, 0, 5)), 0);
    ASSERT_EQ(filters->createGroup(FiltersGroup(kIn, 0, 0, 1)), 0);
    test_support::make_lag(*lags, 1, {2, 3});
  }

  // Installed hardware entries as "id:OuterVlanId/OutPort/" (in match type order).
  std::vector<std::string> installed() {
    std::vector<std::string> entries;
    for (int id : bcmsim::state().entry_ids()) {
      const bcmsim::Entry& entry = *bcmsim::state().entry(id);
      if (!entry.installed) continue;
      std::string text = std::to_string(id - kBase) + ":";
      for (const auto& q : entry.installed->qualifiers) text += std::to_string(q.data[0]) + "/";
      entries.push_back(text);
    }
    return entries;
  }

  // The ports 1 to 7 on which a packet of VLAN 10 is dropped: arriving there at ingress, sent
  // there at egress.
  std::set<int> dropping(FiltersCommon::filtersGroupStage_t stage) {
    std::set<int> ports;
    for (int port = 1; port <= 7; ++port) {
      bcmsim::Packet packet;
      packet.outer_vlan = 10;
      (stage == kIn ? packet.in_port : packet.out_port) = port;
      if (bcmsim::classify(packet).verdict.drop) ports.insert(port);
    }
    return ports;
  }

  const limid_t lag1 = limid_lag(1);
};

FiltersEntry overLag(unsigned int id) {
  FiltersEntry entry(id, 0);
  entry.setMatch(MatchEgressPorts(std::list<limid_t>{limid_lag(1)}));
  entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{10, 20}));
  return entry;
}

TEST_F(TopologyEvents, AnEgressEntryOverALagFollowsItsMembersReusingFreedIdsLowestFirst) {
  ASSERT_EQ(filters->createEntry(kEg, 0, overLag(0)), 0);
  // VLAN ids (match type 2) vary slower than egress ports (22).
  EXPECT_EQ(installed(), (std::vector<std::string>{"0:10/2/", "1:10/3/", "2:20/2/", "3:20/3/"}));

  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(2)), 0);
  EXPECT_EQ(installed(), (std::vector<std::string>{"1:10/3/", "3:20/3/"}));

  ASSERT_EQ(lags->AddMember(lag1, limid_ethernet(4)), 0);
  ASSERT_EQ(lags->AddMember(lag1, limid_ethernet(5)), 0);
  EXPECT_EQ(installed(), (std::vector<std::string>{"0:10/4/", "1:10/3/", "2:20/4/", "3:20/3/",
                                                   "4:10/5/", "5:20/5/"}));
  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(3)), 0);
  EXPECT_EQ(installed(), (std::vector<std::string>{"0:10/4/", "2:20/4/", "4:10/5/", "5:20/5/"}));

  ASSERT_EQ(lags->DestroyLag(lag1), 0);
  EXPECT_TRUE(installed().empty());
  ASSERT_EQ(filters->deleteEntry(kEg, 0, 0), 0) << "nothing left in the hardware to delete";
}

TEST_F(TopologyEvents, AnIngressBitmapFollowsMembershipThroughReinstall) {
  FiltersEntry entry(0, 0);
  entry.setMatch(MatchIngressPorts(ports({limid_ethernet(1), lag1})));
  ASSERT_EQ(filters->createEntry(kIn, 0, entry), 0);
  EXPECT_EQ(qualifiers_of(kIngress, true), std::vector<std::string>{"InPorts={1-3}/{0-32}"});

  bcmsim::set_call_log(true);
  ASSERT_EQ(lags->AddMember(lag1, limid_ethernet(4)), 0);
  EXPECT_EQ(bcmsim::call_names("bcm_field_"),
            (std::vector<std::string>{"bcm_field_qualify_InPorts", "bcm_field_entry_reinstall"}));
  EXPECT_EQ(qualifiers_of(kIngress, true), std::vector<std::string>{"InPorts={1-4}/{0-32}"});

  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(2)), 0);
  EXPECT_EQ(qualifiers_of(kIngress, true), std::vector<std::string>{"InPorts={1,3,4}/{0-32}"});

  // A member without a gport can neither join the bitmap nor leave it with its LAG.
  EXPECT_NE(lags->AddMember(lag1, limid_ethernet(40)), 0);
  log.clear();
  EXPECT_NE(lags->DestroyLag(lag1), 0);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "Could not remove LAG from hardware ID 1048576 port bitmap"))
      << testing::PrintToString(log.texts());
}

TEST_F(TopologyEvents, AFailingDeletionDoesNotStopTheOthersAndTheEventFails) {
  ASSERT_EQ(filters->createEntry(kEg, 0, overLag(0)), 0);
  bcmsim::inject_fault({"bcm_field_entry_destroy", BCM_E_INTERNAL, 1, kBase, false});
  EXPECT_EQ(lags->RemoveMember(lag1, limid_ethernet(2)), -1) << "the filters did not follow";
  EXPECT_EQ(installed(), (std::vector<std::string>{"0:10/2/", "1:10/3/", "3:20/3/"}));
  // The entry that stayed is still the user entry's: deleting the user entry removes it.
  EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_TRUE(bcmsim::state().entries.empty());
}

TEST_F(TopologyEvents, AMemberWhoseEntriesWouldLeaveTheIdBlockIsRefused) {
  FiltersEntry entry = overLag(0);
  std::set<unsigned short> vlans;
  for (unsigned short vlan = 1; vlan <= 64; ++vlan) vlans.insert(vlan);
  entry.setMatch(MatchExternalVlanId(vlans));  // two members fill the 128 ids of the block
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);
  log.clear();
  EXPECT_EQ(lags->AddMember(lag1, limid_ethernet(4)), -1);
  EXPECT_TRUE(log.contains("Cannot add LAG member to hardware ID 2097152: its 64 new hardware "
                           "entries would exceed the 128 ids of its block"));
  EXPECT_EQ(bcmsim::state().entries.size(), 128u);
  EXPECT_EQ(HalFiltersLL::filters_cache_.entries_info().at(kBase).pool.size(), 128u);
  // Without eth3 its 64 slots are free, and a new member fills the block exactly (eth4 stays a
  // member of the LAG without entries).
  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(3)), 0);
  EXPECT_EQ(lags->AddMember(lag1, limid_ethernet(5)), 0);
  EXPECT_EQ(bcmsim::state().entries.size(), 128u);
}

// A fault during a member change takes a hardware entry off the chip: at ingress the failed
// reinstall destroys the entry of every port, {eth1, lag1}; at egress the new member's entry is
// never installed. One update, the LAG's next event or one delete puts the device back in step.
struct MemberChangeFault {
  const char* name;
  FiltersCommon::filtersGroupStage_t stage;
  const char* failing;                // the SDK call that fails once while eth4 joins lag1
  std::set<int> dropping_after_fault;  // the ports still filtered
};

void PrintTo(const MemberChangeFault& fault, std::ostream* out) {
  *out << fault.name;
}

enum class Recovery { Update, NextLagEvent, Delete };

class AfterAMemberChangeFault
    : public TopologyEvents,
      public testing::WithParamInterface<std::tuple<MemberChangeFault, Recovery>> {};

TEST_P(AfterAMemberChangeFault, OneRetryRestoresEveryPortOrLeavesNothing) {
  const auto& [fault, recovery] = GetParam();
  FiltersEntry entry(0, 0);
  if (fault.stage == kIn) {
    entry.setMatch(MatchIngressPorts(ports({limid_ethernet(1), lag1})));
  } else {
    entry.setMatch(MatchEgressPorts(ports({lag1})));
    entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{10}));
  }
  entry.setAction(Action(FILTERS_ACTION_DROP));
  ASSERT_EQ(filters->createEntry(fault.stage, 0, entry), 0);
  bcmsim::inject_fault({fault.failing, BCM_E_FAIL, 1, std::nullopt, false});
  log.clear();
  EXPECT_EQ(lags->AddMember(lag1, limid_ethernet(4)), -1) << "the filters did not follow";
  EXPECT_EQ(dropping(fault.stage), fault.dropping_after_fault);
  if (fault.stage == kIn) {
    EXPECT_TRUE(
        log.contains(HalCallbacksItf::kError,
                     "HalFiltersLL::halFiltersErr_t ReinstallEntry(const bcm_field_entry_t&): "
                     "error trying to reinstall filter entry. unit = 0, eid = 1048576\n"));
  }

  // eth1 (ingress only) and the members eth2, eth3, eth4; eth5 after the next event.
  std::set<int> filtered = fault.stage == kIn ? std::set<int>{1, 2, 3, 4} : std::set<int>{2, 3, 4};
  switch (recovery) {
    case Recovery::Update:
      ASSERT_EQ(filters->updateEntry(fault.stage, 0, entry), 0);
      break;
    case Recovery::NextLagEvent:
      ASSERT_EQ(lags->AddMember(lag1, limid_ethernet(5)), 0);
      filtered.insert(5);
      break;
    case Recovery::Delete:
      ASSERT_EQ(filters->deleteEntry(fault.stage, 0, 0), 0);
      EXPECT_TRUE(bcmsim::state().entries.empty());
      EXPECT_TRUE(HalFiltersLL::filters_cache_.entries_info().empty());
      return;
  }
  EXPECT_EQ(dropping(fault.stage), filtered);
  // Nothing of the failure is left for a later delete to trip over.
  ASSERT_EQ(filters->deleteEntry(fault.stage, 0, 0), 0);
  EXPECT_TRUE(bcmsim::state().entries.empty());
}

std::string faultAndRecovery(
    const testing::TestParamInfo<std::tuple<MemberChangeFault, Recovery>>& param) {
  static const char* const kRecoveries[] = {"Update", "NextLagEvent", "Delete"};
  return std::string(std::get<0>(param.param).name) +
         kRecoveries[static_cast<int>(std::get<1>(param.param))];
}

const MemberChangeFault kMemberChangeFaults[] = {
    {"IngressReinstall", kIn, "bcm_field_entry_reinstall", {}},
    {"EgressInstall", kEg, "bcm_field_entry_install", {2, 3}},
};

INSTANTIATE_TEST_SUITE_P(Faults, AfterAMemberChangeFault,
                         testing::Combine(testing::ValuesIn(kMemberChangeFaults),
                                          testing::Values(Recovery::Update,
                                                          Recovery::NextLagEvent,
                                                          Recovery::Delete)),
                         faultAndRecovery);

// A new member's entry whose own policer could not be attached keeps its parent attached on the
// chip; deleting the user entry destroys that entry first, then the parent it alone held.
TEST_F(TopologyEvents, ADeleteDestroysTheNewMembersLeftoverBeforeItsIdlePolicers) {
  FiltersEntry entry = overLag(0);
  entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{10}));  // one entry a member
  const policer::Mode flow = policer::Mode::Flow(100, 1000);
  entry.setPolicer(policer::Policer(4, policer::Policer::STAGE_EGRESS, flow, {}));
  entry.setPolicerParent(std::make_shared<policer::Policer>(5, policer::Policer::STAGE_EGRESS, flow,
                                                            std::list<policer::Action>{}));
  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(2)), 0);
  ASSERT_EQ(lags->RemoveMember(lag1, limid_ethernet(3)), 0);
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);
  EXPECT_TRUE(bcmsim::state().policers.empty()) << "a LAG without members has no entries";
  // Parent (level 1), then the entry's own policer: the second attach fails.
  bcmsim::inject_fault({"bcm_field_entry_policer_attach", BCM_E_BUSY, 2, std::nullopt, false});
  EXPECT_EQ(lags->AddMember(lag1, limid_ethernet(4)), -1);
  ASSERT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_TRUE(bcmsim::state().entries.empty());
  EXPECT_TRUE(bcmsim::state().policers.empty());
}

// An ingress entry that a failed reinstall destroyed as LAG 1 went is created again by the next
// event of its other LAG, without following LAG 1 when a LAG of that number comes back.
TEST_F(TopologyEvents, AnEntryCreatedAgainDoesNotFollowALagDestroyedSince) {
  test_support::make_lag(*lags, 2, {5});
  FiltersEntry entry(0, 0);
  entry.setMatch(MatchIngressPorts(ports({limid_ethernet(1), lag1, limid_lag(2)})));
  entry.setAction(Action(FILTERS_ACTION_DROP));
  ASSERT_EQ(filters->createEntry(kIn, 0, entry), 0);
  bcmsim::inject_fault({"bcm_field_entry_reinstall", BCM_E_FAIL, 1, std::nullopt, false});
  EXPECT_EQ(lags->DestroyLag(lag1), -1);
  EXPECT_TRUE(dropping(kIn).empty());
  ASSERT_EQ(lags->AddMember(limid_lag(2), limid_ethernet(6)), 0);
  EXPECT_EQ(dropping(kIn), (std::set<int>{1, 5, 6}));
  test_support::make_lag(*lags, 1, {7});
  EXPECT_EQ(dropping(kIn), (std::set<int>{1, 5, 6}));
}

// An entry the removal of eth2 could not delete keeps its id on the chip; the next member takes
// that slot, and when the leftover cannot be destroyed again the new entry's create fails too. The
// leftover stays recorded, and deleting the user entry destroys it.
TEST_F(TopologyEvents, ALeftoverInANewMembersSlotStaysRecordedUntilDestroyed) {
  ASSERT_EQ(filters->createEntry(kEg, 0, overLag(0)), 0);
  bcmsim::inject_fault({"bcm_field_entry_destroy", BCM_E_BUSY, 1, std::nullopt, false});
  EXPECT_EQ(lags->RemoveMember(lag1, limid_ethernet(2)), -1);
  bcmsim::inject_fault({"bcm_field_entry_destroy", BCM_E_BUSY, 1, std::nullopt, false});
  EXPECT_EQ(lags->AddMember(lag1, limid_ethernet(4)), -1);
  EXPECT_EQ(installed(), (std::vector<std::string>{"0:10/2/", "1:10/3/", "2:20/4/", "3:20/3/"}));
  ASSERT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_TRUE(bcmsim::state().entries.empty());
}

TEST_F(TopologyEvents, ARemovedDestinationLeavesItsEntriesInstalledWithoutTheSwitch) {
  ASSERT_EQ(destinations.AddDestination(5, 100010), 0);
  FiltersEntry entry(0, 0);
  entry.setMatch(MatchIngressPorts(ports({limid_ethernet(1)})));
  entry.setAction(ActionL3Switch(5));
  ASSERT_EQ(filters->createEntry(kIn, 0, entry), 0);
  bcmsim::inject_fault({"bcm_field_action_delete", BCM_E_INTERNAL, 1, std::nullopt, false});
  log.clear();
  destinations.RemoveDestination(5);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "[HAL FILTERS] RemoveDestinationEvent(dest_id=5): Delete ActionL3Switch "
                           "failed rv=-2"))
      << testing::PrintToString(log.texts());
  EXPECT_NE(bcmsim::state().entry(kIngress), nullptr) << "still installed";
}

TEST_F(TopologyEvents, ALagNoFilterUsesChangesNothing) {
  test_support::make_lag(*lags, 9, {});
  log.clear();
  bcmsim::set_call_log(true);
  EXPECT_EQ(lags->AddMember(limid_lag(9), limid_ethernet(9)), 0);
  EXPECT_EQ(lags->DestroyLag(limid_lag(9)), 0);
  EXPECT_TRUE(bcmsim::calls().empty());
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
