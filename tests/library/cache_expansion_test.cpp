// Pools of hardware entries: the expansion of user entries into single-valued hardware
// entries, what is installable, and the pool of a base.
#include <gtest/gtest.h>

#include "support/filters_fixture.h"
#include "support/model_builders.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::FilterEntriesCache;
using HalFiltersLL::pool_entry;
using HalFiltersLL::user_entry_key_t;
using test_support::make_lag;
using test_support::ports;

class CacheExpansion : public test_support::FiltersTest {
 protected:
  const std::vector<pool_entry>& initialize(filtersGroupStage_t stage, const FiltersEntry& entry,
                                            int base = 100) {
    EXPECT_EQ(cache.InitializeEntriesPool({stage, 0, entry.getId()}, base, entry), 0);
    return *cache.GetEntriesPool(base);
  }

  // "ports /vlan id", then "not installable" and "from lag/member" where they apply.
  static std::string describe(const pool_entry& hw_entry) {
    std::string text;
    if (auto* ports = hw_entry.entry.findMatch<MatchPorts>(FILTERS_MATCH_INGRESS_PORTS)) {
      for (const limid_t& port : ports->getPorts()) text += limid_name(port) + " ";
    }
    if (auto* vlans = hw_entry.entry.findMatch<MatchVlanId>(FILTERS_MATCH_EXTERNAL_VLAN_ID)) {
      for (unsigned short vlan : vlans->getVlanIds()) text += "/" + std::to_string(vlan);
    }
    text += " " + std::to_string(hw_entry.entry.getId());
    if (!hw_entry.installable) text += " not installable";
    if (hw_entry.from_lag || hw_entry.lag != limid_null || hw_entry.lag_member != limid_null) {
      text += " from " + limid_name(hw_entry.lag) + "/" + limid_name(hw_entry.lag_member);
    }
    return text;
  }

  static std::vector<std::string> describe(const std::vector<pool_entry>& pool) {
    std::vector<std::string> texts;
    for (const pool_entry& hw_entry : pool) texts.push_back(describe(hw_entry));
    return texts;
  }

  FilterEntriesCache cache;
  const limid_t A = limid_ethernet(1), L = limid_lag(1), m1 = limid_ethernet(2),
                m2 = limid_ethernet(3);
};

FiltersEntry port_and_vlan_entry(std::list<limid_t> port_list) {
  FiltersEntry entry(4, 0);
  entry.setMatch(MatchIngressPorts(std::move(port_list)));
  entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{20, 10}));
  return entry;
}

TEST_F(CacheExpansion, PortsAndLagMembersTimesVlansInOrder) {
  make_lag(*lags, 1, {2, 3});
  const auto& pool = initialize(FILTERS_GROUP_STAGE_EGRESS, port_and_vlan_entry(ports({A, L})));
  EXPECT_EQ(describe(pool), (std::vector<std::string>{
                                "eth1 /10 100", "eth1 /20 101", "eth2 /10 102 from lag1/eth2",
                                "eth2 /20 103 from lag1/eth2", "eth3 /10 104 from lag1/eth3",
                                "eth3 /20 105 from lag1/eth3"}));
  EXPECT_EQ(cache.lag_entries().at(L), (std::map<int, FilterEntriesCache::MemberEntries>{
                                           {100, {{m1, {102, 103}}, {m2, {104, 105}}}}}));
}

TEST_F(CacheExpansion, ALagWithoutMembersKeepsItsPlaceWithPlaceholders) {
  make_lag(*lags, 1, {});
  const auto& pool = initialize(FILTERS_GROUP_STAGE_EGRESS, port_and_vlan_entry(ports({A, L})));
  EXPECT_EQ(describe(pool), (std::vector<std::string>{
                                "eth1 /10 100", "eth1 /20 101",
                                "eth1 lag1 /10 102 not installable from lag1/none",
                                "eth1 lag1 /20 103 not installable from lag1/none"}));
  EXPECT_EQ(cache.lag_entries().at(L),
            (std::map<int, FilterEntriesCache::MemberEntries>{{100, {}}}));
}

TEST_F(CacheExpansion, PortsAreExpandedOnlyAtPreIngressAndEgress) {
  make_lag(*lags, 1, {2, 3});
  for (auto stage : {FILTERS_GROUP_STAGE_INGRESS, FILTERS_GROUP_STAGE_NONE}) {
    FilterEntriesCache fresh;
    FiltersEntry entry(4, 0);
    entry.setMatch(MatchIngressPorts(ports({A, L})));
    ASSERT_EQ(fresh.InitializeEntriesPool({stage, 0, 4}, 7, entry), 0);
    ASSERT_EQ(fresh.GetEntriesPool(7)->size(), 1u);
    EXPECT_EQ(describe(fresh.GetEntriesPool(7)->front()), "eth1 lag1  7");
    EXPECT_TRUE(fresh.lag_entries().empty());
  }
}

TEST_F(CacheExpansion, TheLowestMatchTypeVariesSlowestAndValuesKeepTheirOrder) {
  FiltersEntry entry(4, 0);
  entry.setMatch(MatchEgressPorts(ports({limid_ethernet(9), limid_ethernet(9)})));
  entry.setMatch(MatchPcp(std::set<unsigned char>{5, 1}));
  entry.setMatch(MatchIngressPorts(ports({limid_ethernet(1), limid_ethernet(2)})));
  const auto& pool = initialize(FILTERS_GROUP_STAGE_EGRESS, entry, 0);
  std::vector<std::string> combinations;
  for (const pool_entry& hw_entry : pool) {
    const FiltersEntry& e = hw_entry.entry;
    combinations.push_back(
        limid_name(e.findMatch<MatchPorts>(FILTERS_MATCH_INGRESS_PORTS)->getPorts().front()) + "/" +
        std::to_string(*e.findMatch<MatchPcp>(FILTERS_MATCH_PCP)->getPcps().begin()) + "/" +
        limid_name(e.findMatch<MatchPorts>(FILTERS_MATCH_EGRESS_PORTS)->getPorts().front()));
  }
  EXPECT_EQ(combinations,
            (std::vector<std::string>{"eth1/1/eth9", "eth1/1/eth9", "eth1/5/eth9", "eth1/5/eth9",
                                      "eth2/1/eth9", "eth2/1/eth9", "eth2/5/eth9", "eth2/5/eth9"}))
      << "ingress ports (1) vary slowest, egress ports (22) fastest; a duplicate port gives a "
         "duplicate entry";
}

TEST_F(CacheExpansion, InnerVlansAndInternalPcpsExpandIntoTheirOwnMatches) {
  FiltersEntry entry(4, 0);
  entry.setMatch(MatchInternalPcp(std::set<unsigned char>{6, 2}));
  entry.setMatch(MatchInternalVlanId(std::set<unsigned short>{8, 7}));
  std::vector<std::string> combinations;
  for (const pool_entry& hw_entry : initialize(FILTERS_GROUP_STAGE_INGRESS, entry)) {
    auto* vlan = hw_entry.entry.findMatch<MatchInternalVlanId>(FILTERS_MATCH_INTERNAL_VLAN_ID);
    auto* pcp = hw_entry.entry.findMatch<MatchInternalPcp>(FILTERS_MATCH_INTERNAL_PCP);
    ASSERT_TRUE(vlan && pcp);
    EXPECT_FALSE(hw_entry.entry.findMatch<MatchPcp>(FILTERS_MATCH_PCP));
    EXPECT_FALSE(hw_entry.entry.findMatch<MatchExternalVlanId>(FILTERS_MATCH_EXTERNAL_VLAN_ID));
    combinations.push_back(std::to_string(*vlan->getVlanIds().begin()) + "/" +
                           std::to_string(*pcp->getPcps().begin()));
  }
  EXPECT_EQ(combinations, (std::vector<std::string>{"7/2", "7/6", "8/2", "8/6"}));
}

TEST_F(CacheExpansion, AnEmptyValueSetLeavesNoHardwareEntry) {
  FiltersEntry entry(4, 0);
  entry.setMatch(MatchInternalPcp(std::set<unsigned char>{}));
  EXPECT_TRUE(initialize(FILTERS_GROUP_STAGE_INGRESS, entry).empty());
}

TEST_F(CacheExpansion, ExpandedEntriesShareTheirUnchangedMatches) {
  FiltersEntry entry(4, 0);
  entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{1, 2, 3}));
  entry.setMatch(MatchSrcMac(mac_address_t{1, 2, 3, 4, 5, 6}, mac_address_t{}));
  const auto& pool = initialize(FILTERS_GROUP_STAGE_INGRESS, entry);
  ASSERT_EQ(pool.size(), 3u);
  const Match* shared = entry.getMatches().at(FILTERS_MATCH_SRC_MAC).get();
  for (const pool_entry& hw_entry : pool) {
    EXPECT_EQ(hw_entry.entry.getMatches().at(FILTERS_MATCH_SRC_MAC).get(), shared);
  }
}

TEST_F(CacheExpansion, TheLagExpanderRefusesAMatchThatIsNotAPortMatch) {
  make_lag(*lags, 1, {2});
  std::vector<pool_entry> out;
  pool_entry source = cache.ConvertFiltersEntryToPoolEntry(FiltersEntry(1, 0));
  EXPECT_EQ(cache.MatchPortsExpandLag(source, L, out, FILTERS_MATCH_TTL), -2);
  EXPECT_EQ(cache.MatchPortsExpandList(source, ports({A}), out, FILTERS_MATCH_TTL), -2);
}

TEST_F(CacheExpansion, EntriesThatCanMatchNothingAreNotInstallable) {
  const std::pair<std::shared_ptr<const Match>, bool> rows[] = {
      {std::make_shared<MatchEgressPorts>(ports({})), false},
      {std::make_shared<MatchIngressPorts>(ports({})), false},
      {std::make_shared<MatchIngressPorts>(ports({}), std::list<port_type_t>{PORT_TYPE_CPU}), true},
      {std::make_shared<MatchSrcPort>(limid_null), false},
      {std::make_shared<MatchSrcPort>(limid_ethernet(1)), true},
  };
  for (const auto& [match, installable] : rows) {
    FiltersEntry entry(1, 0);
    entry.setMatch(match);
    EXPECT_EQ(cache.ConvertFiltersEntryToPoolEntry(entry).installable, installable)
        << match->getType();
  }
}

TEST_F(CacheExpansion, ABaseInUseIsRefusedAndKeepsTheFirstPool) {
  initialize(FILTERS_GROUP_STAGE_EGRESS, FiltersEntry(1, 0), 5);
  EXPECT_EQ(cache.InitializeEntriesPool({FILTERS_GROUP_STAGE_EGRESS, 0, 2}, 5, FiltersEntry(2, 0)),
            -2);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "Cannot create filter hardware entry 5. Entry is not empty."));
  EXPECT_EQ(cache.entries_info().at(5).user_key.entry_id, 1u);
}

TEST_F(CacheExpansion, UnknownBasesAreReportedOnLookupAndIgnoredOnDestroy) {
  EXPECT_EQ(cache.GetEntriesPool(77), nullptr);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Error getting HW entries for base 77"});
  log.clear();
  cache.DestroyEntriesPool(77);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
