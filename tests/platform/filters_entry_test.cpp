// The filter model: cheap copies that stay independent, lookups by class, and orders.
#include <gtest/gtest.h>

#include <filters_common/filters_common.h>

namespace {

using namespace FiltersCommon;

FiltersEntry entry_with_vlans_and_mac() {
  FiltersEntry entry(7, 3);
  entry.setMatch(MatchExternalVlanId(std::set<unsigned short>{20, 10}));
  entry.setMatch(MatchSrcMac(mac_address_t{0, 1, 2, 3, 4, 5},
                             mac_address_t{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
  return entry;
}

TEST(FiltersEntry, CopiesShareMatchesUntilOneIsChanged) {
  FiltersEntry original = entry_with_vlans_and_mac();
  FiltersEntry copy = original;
  EXPECT_EQ(copy.getMatches().at(FILTERS_MATCH_SRC_MAC).get(),
            original.getMatches().at(FILTERS_MATCH_SRC_MAC).get())
      << "a copy shares the match objects";

  copy.setMatch(MatchExternalVlanId(std::set<unsigned short>{30}));
  copy.setId(8);
  copy.setAction(Action(FILTERS_ACTION_DROP));
  copy.addCounter(Counter(5, COUNTER_TYPE_BYTES));

  MatchExternalVlanId vlans;
  ASSERT_EQ(original.getMatch(vlans), 0);
  EXPECT_EQ(vlans.getVlanIds(), (std::set<unsigned short>{10, 20}));
  EXPECT_EQ(original.getId(), 7u);
  EXPECT_TRUE(original.getActions().empty());
  EXPECT_TRUE(original.getCounters().empty());
  ASSERT_EQ(copy.getMatch(vlans), 0);
  EXPECT_EQ(vlans.getVlanIds(), (std::set<unsigned short>{30}));
  EXPECT_EQ(copy.getMatches().at(FILTERS_MATCH_SRC_MAC).get(),
            original.getMatches().at(FILTERS_MATCH_SRC_MAC).get())
      << "the unchanged match is still shared";
}

TEST(FiltersEntry, GetMatchFindsTheTypeOnlyInItsOwnClass) {
  FiltersEntry entry = entry_with_vlans_and_mac();
  MatchSrcMac src;
  MatchDstMac dst;
  MatchInternalVlanId inner;
  EXPECT_EQ(entry.getMatch(src), 0);
  EXPECT_EQ(src.getMac(), (mac_address_t{0, 1, 2, 3, 4, 5}));
  EXPECT_NE(entry.getMatch(dst), 0);
  EXPECT_NE(entry.getMatch(inner), 0);

  // A match stored under a type whose class it is not is not found through that class.
  entry.setMatch(Match(FILTERS_MATCH_DST_MAC));
  EXPECT_NE(entry.getMatch(dst), 0);
  EXPECT_EQ(entry.findMatch<MatchDstMac>(FILTERS_MATCH_DST_MAC), nullptr);
}

TEST(FiltersEntry, MatchesActionsCountersAndGroupEntriesAreOrdered) {
  FiltersEntry entry(1, 0);
  entry.setMatch(MatchTTL(static_cast<unsigned char>(5)));
  entry.setMatch(MatchIngressPorts(std::list<limid_t>{limid_ethernet(1)}));
  entry.setMatch(MatchPcp(static_cast<unsigned char>(3)));
  entry.setAction(ActionL3Switch(12u));
  entry.setAction(Action(FILTERS_ACTION_DROP));
  entry.addCounter(Counter(9, COUNTER_TYPE_BYTES));
  entry.addCounter(Counter(2, COUNTER_TYPE_PACKETS));

  std::vector<int> matches, actions, counters;
  for (const auto& [type, match] : entry.getMatches()) matches.push_back(match->getType());
  for (const auto& [type, action] : entry.getActions()) actions.push_back(action->getType());
  for (const auto& [id, counter] : entry.getCounters()) counters.push_back(counter.getId());
  EXPECT_EQ(matches,
            (std::vector<int>{FILTERS_MATCH_INGRESS_PORTS, FILTERS_MATCH_PCP, FILTERS_MATCH_TTL}));
  EXPECT_EQ(actions, (std::vector<int>{FILTERS_ACTION_DROP, FILTERS_ACTION_L3_SWITCH}));
  EXPECT_EQ(counters, (std::vector<int>{2, 9}));

  FiltersGroup group(FILTERS_GROUP_STAGE_INGRESS, 3, 1, 10);
  group.addEntry(FiltersEntry(30, 0));
  group.addEntry(FiltersEntry(4, 0));
  std::vector<unsigned> ids;
  for (const auto& [id, e] : group.getEntries()) ids.push_back(id);
  EXPECT_EQ(ids, (std::vector<unsigned>{4, 30}));
}

}  // namespace
