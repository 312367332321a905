// User entries end to end: creation, installation, update, deletion, and their undo paths.
#include <gtest/gtest.h>

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
constexpr int kEgressBase = 2097152;  // entry 0 of egress group 0

class Entries : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(filters->createGroup(FiltersGroup(kEg, 0, 0, 5)), 0);
    ASSERT_EQ(filters->createGroup(FiltersGroup(kIn, 0, 0, 1)), 0);
    log.clear();
  }

  static FiltersEntry egressEntry(unsigned int id, std::list<limid_t> out_ports) {
    FiltersEntry entry(id, 3);
    entry.setMatch(MatchEgressPorts(std::move(out_ports)));
    entry.setAction(Action(FILTERS_ACTION_DROP));
    return entry;
  }

  std::vector<int> installed_ids() {
    std::vector<int> ids;
    for (int id : bcmsim::state().entry_ids()) {
      if (bcmsim::state().entry(id)->installed) ids.push_back(id);
    }
    return ids;
  }
};

TEST_F(Entries, AnEntryBecomesInstalledHardwareEntriesWithItsPriorityCounterAndPolicer) {
  FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1), limid_ethernet(2)}));
  entry.addCounter(Counter(7, COUNTER_TYPE_PACKETS));
  entry.setPolicer(
      policer::Policer(4, policer::Policer::STAGE_EGRESS, policer::Mode::Flow(100, 1000), {}));
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);

  EXPECT_EQ(installed_ids(), (std::vector<int>{kEgressBase, kEgressBase + 1}));
  for (int port : {1, 2}) {
    const int eid = kEgressBase + port - 1;
    const bcmsim::Entry& hw = *bcmsim::state().entry(eid);
    EXPECT_EQ(qualifiers_of(eid, true),
              std::vector<std::string>{"OutPort=" + std::to_string(port) + "/0xff"});
    EXPECT_EQ(test_support::actions_of(eid, true), std::vector<std::string>{"Drop(0, 0)"});
    EXPECT_EQ(hw.priority, 124) << "128 - 1 - 3";
    EXPECT_EQ(hw.installed->stat, bcmsim::state().stats.begin()->first);
    EXPECT_EQ(hw.installed->policers[0], 4);
  }
  EXPECT_TRUE(log.contains("[HAL FILTERS] installHwEntry() Installed Filter Entry 2097153"));
}

TEST_F(Entries, AnEntryWithoutInstallableHardwareEntriesLivesOnlyInSoftware) {
  FiltersEntry entry = egressEntry(0, ports({}));
  entry.addCounter(Counter(7, COUNTER_TYPE_PACKETS));
  bcmsim::set_call_log(true);
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);
  EXPECT_TRUE(bcmsim::call_names("bcm_field_entry").empty());
  EXPECT_EQ(bcmsim::state().stats.size(), 1u);
  ASSERT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_TRUE(bcmsim::call_names("bcm_field_entry").empty());
  EXPECT_TRUE(bcmsim::state().stats.empty());
  EXPECT_TRUE(HalFiltersLL::filters_cache_.entries_info().empty());
}

TEST_F(Entries, EntriesTheGroupCannotTakeAreRefusedWithTheirErrorLine) {
  FiltersEntry beyond_priorities(0, 256);
  beyond_priorities.setMatch(MatchIngressPorts(ports({limid_ethernet(1)})));
  FiltersEntry excluded_types_alone(1, 0);
  excluded_types_alone.setMatch(
      MatchIngressPorts(std::list<limid_t>{}, std::list<port_type_t>{PORT_TYPE_CPU}));
  const struct {
    filtersGroupStage_t stage;
    FiltersEntry entry;
    const char* line;
  } rows[] = {
      // clang-format off
      {kIn, beyond_priorities, "[HAL FILTERS] installHwEntry() Hardware entry priority translation failed"},
      {kIn, FiltersEntry(256, 0), "Hardware entry ID translation failed"},
      {kEg, excluded_types_alone, "Filters-ll-bcm: match by excluded port types is not supported at egress stage\n"},
      // clang-format on
  };
  for (const auto& row : rows) {
    log.clear();
    EXPECT_EQ(filters->createEntry(row.stage, 0, row.entry), -2) << row.line;
    EXPECT_TRUE(log.contains(HalCallbacksItf::kError, row.line)) << row.line;
    EXPECT_TRUE(bcmsim::state().entries.empty()) << "undone: " << row.line;
  }
  EXPECT_EQ(HalFiltersLL::filters_cache_.entries_info().count(-1), 1u)
      << "the pool of the invalid id's base stays, as initialised";
}

TEST_F(Entries, UpdateIsDeleteThenCreateUnderTheSameIds) {
  ASSERT_EQ(filters->createEntry(kEg, 0, egressEntry(0, ports({limid_ethernet(1)}))), 0);
  FiltersEntry changed = egressEntry(0, ports({limid_ethernet(5), limid_ethernet(6)}));
  ASSERT_EQ(filters->updateEntry(kEg, 0, changed), 0);
  EXPECT_EQ(installed_ids(), (std::vector<int>{kEgressBase, kEgressBase + 1}));
  EXPECT_EQ(qualifiers_of(kEgressBase, true), std::vector<std::string>{"OutPort=5/0xff"});

  log.clear();
  EXPECT_EQ(filters->updateEntry(kEg, 0, egressEntry(9, ports({limid_ethernet(1)}))), -2);
  EXPECT_TRUE(
      log.contains("[HAL FILTERS] deleteEntry() Entry (EID: 9; Hw EID: 2098304) does not exist"));
  EXPECT_EQ(installed_ids().size(), 2u) << "nothing created";
}

// Installed before its priority is set, an entry would match for a moment at the wrong one.
TEST_F(Entries, APriorityIsSetBeforeTheEntryIsInstalled) {
  bcmsim::set_call_log(true);
  ASSERT_EQ(filters->createEntry(kEg, 0, egressEntry(0, ports({limid_ethernet(1)}))), 0);
  EXPECT_EQ(bcmsim::call_names("bcm_field_entry_"),
            (std::vector<std::string>{"bcm_field_entry_create_id", "bcm_field_entry_prio_set",
                                      "bcm_field_entry_install"}));
}

TEST_F(Entries, ClearingTheCacheForgetsAnInterruptedUpdate) {
  const FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1)}));
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);
  bcmsim::inject_fault({"bcm_field_entry_create_id", BCM_E_RESOURCE, 1, std::nullopt, false});
  ASSERT_NE(filters->updateEntry(kEg, 0, entry), 0);
  filters->clearCache();
  EXPECT_EQ(filters->updateEntry(kEg, 0, entry), -2) << "an unknown entry again: its delete fails";
}

TEST_F(Entries, AFailedDeleteKeepsThePoolAndReportsTheLastFailure) {
  ASSERT_EQ(
      filters->createEntry(kEg, 0, egressEntry(0, ports({limid_ethernet(1), limid_ethernet(2)}))),
      0);
  bcmsim::inject_fault({"bcm_field_entry_destroy", BCM_E_BUSY, 1, kEgressBase, false});
  EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), -1);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kInfo,
                           "[HAL FILTERS] deleteEntry() Deleted Filter Entry (EID: 0; Hw EID: 2097153)"));
  EXPECT_EQ(installed_ids(), std::vector<int>{kEgressBase});
  EXPECT_EQ(HalFiltersLL::filters_cache_.entries_info().count(kEgressBase), 1u);
}

TEST_F(Entries, TheUndoAlsoRemovesCreatedEntriesBeyondItsPositions) {
  // lag3 has no member: its pool slot comes first and is free, so the positional undo of the
  // two attempted entries stops short of the second one.
  test_support::make_lag(*lags, 3, {});
  bcmsim::inject_fault({"bcm_field_entry_install", BCM_E_INTERNAL, 2, std::nullopt, false});
  EXPECT_EQ(filters->createEntry(
                kEg, 0, egressEntry(0, ports({limid_lag(3), limid_ethernet(1), limid_ethernet(2)}))),
            -1);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "[HAL FILTERS] installHwEntry() Error installing filter with id 2097154: "
                           "Internal error"));
  EXPECT_TRUE(bcmsim::state().entries.empty());
}

TEST_F(Entries, DeletingAnEntryWhoseCreateFailedReleasesItsCounter) {
  FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1)}));
  entry.addCounter(Counter(7, COUNTER_TYPE_PACKETS));
  bcmsim::inject_fault({"bcm_field_entry_install", BCM_E_INTERNAL, 1, std::nullopt, false});
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), -1);
  EXPECT_EQ(bcmsim::state().stats.size(), 1u) << "a failed create keeps its counter";
  EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), -2);
  EXPECT_TRUE(log.contains(
      "[HAL FILTERS] deleteEntry() Entry (EID: 0; Hw EID: 2097152) does not exist"));
  EXPECT_TRUE(bcmsim::state().stats.empty());
  unsigned long long value = 0;
  EXPECT_NE(filters->getCounterValue(7, value), 0);
}

// The undo of a failed create could not destroy an entry it made: the next create of the user
// entry destroys it first and succeeds; a delete (of an entry that does not exist) destroys it.
TEST_F(Entries, AnEntryTheUndoCouldNotDestroyGoesWithTheNextCreateOrDelete) {
  const FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1), limid_ethernet(2)}));
  for (const bool create_again : {true, false}) {
    SCOPED_TRACE(create_again ? "create again" : "delete");
    bcmsim::inject_fault({"bcm_field_entry_install", BCM_E_FULL, 2, std::nullopt, false});
    bcmsim::inject_fault({"bcm_field_entry_destroy", BCM_E_BUSY, 1, std::nullopt, false});
    ASSERT_NE(filters->createEntry(kEg, 0, entry), 0);
    EXPECT_EQ(installed_ids(), std::vector<int>{kEgressBase}) << "its destroy failed";
    if (create_again) {
      EXPECT_EQ(filters->createEntry(kEg, 0, entry), 0);
      EXPECT_EQ(installed_ids(), (std::vector<int>{kEgressBase, kEgressBase + 1}));
      EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
    } else {
      EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), -2) << "the entry does not exist";
    }
    EXPECT_TRUE(bcmsim::state().entries.empty());
  }
}

TEST_F(Entries, AFailedCreateDestroysThePolicersItCreated) {
  FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1)}));
  const policer::Mode flow = policer::Mode::Flow(100, 1000);
  entry.setPolicer(policer::Policer(4, policer::Policer::STAGE_EGRESS, flow, {}));
  entry.setPolicerParent(std::make_shared<policer::Policer>(5, policer::Policer::STAGE_EGRESS, flow,
                                                            std::list<policer::Action>{}));
  // The parent is attached at level 1 first; the entry's own policer is refused.
  bcmsim::inject_fault({"bcm_field_entry_policer_attach", BCM_E_RESOURCE, 2, std::nullopt, false});
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), -1);
  EXPECT_TRUE(bcmsim::state().policers.empty());
  EXPECT_EQ(filters->createEntry(kEg, 0, entry), 0) << "both are created again";
  EXPECT_EQ(bcmsim::state().policers.size(), 2u);
}

// A delete succeeds only once its work is done: an id outside the group's block is refused, and
// a delete repeated while a policer destroy keeps failing fails again.
TEST_F(Entries, ADeleteReportsSuccessOnlyWhenItsWorkIsDone) {
  EXPECT_EQ(filters->deleteEntry(kIn, 0, 256), -2);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "[HAL FILTERS] deleteEntry() Hardware entry ID translation failed"));

  FiltersEntry entry = egressEntry(0, ports({limid_ethernet(1)}));
  entry.setPolicer(policer::Policer(4, policer::Policer::STAGE_EGRESS,
                                    policer::Mode::Flow(100, 1000), {}));
  ASSERT_EQ(filters->createEntry(kEg, 0, entry), 0);
  bcmsim::inject_fault({"bcm_policer_destroy", BCM_E_INTERNAL, 1, std::nullopt, true});
  EXPECT_NE(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_NE(filters->deleteEntry(kEg, 0, 0), 0) << "the policer is still on the chip";
  bcmsim::clear_faults();
  EXPECT_EQ(filters->deleteEntry(kEg, 0, 0), 0);
  EXPECT_TRUE(bcmsim::state().policers.empty());
  EXPECT_TRUE(bcmsim::state().entries.empty());
}

TEST_F(Entries, APoolLargerThanItsIdBlockIsRefusedUntouched) {
  std::list<limid_t> out_ports;
  for (unsigned port = 1; port <= 32; ++port) out_ports.push_back(limid_ethernet(port));
  FiltersEntry entry = egressEntry(0, out_ports);
  std::set<unsigned short> vlans;
  for (unsigned short vlan = 1; vlan <= 5; ++vlan) vlans.insert(vlan);
  entry.setMatch(MatchExternalVlanId(vlans));  // 160 entries; the block holds 128
  bcmsim::set_call_log(true);
  EXPECT_EQ(filters->createEntry(kEg, 0, entry), -2);
  EXPECT_EQ(log.texts(HalCallbacksItf::kError),
            (std::vector<std::string>{"Cannot create filter hardware entry 2097152: it needs 160 "
                                      "hardware entries, more than the 128 ids of its block",
                                      "Error initializing HW entries pool"}));
  EXPECT_TRUE(bcmsim::calls().empty());
  EXPECT_TRUE(HalFiltersLL::filters_cache_.entries_info().empty());
}

}  // namespace
