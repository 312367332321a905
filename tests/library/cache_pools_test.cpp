// Pools of hardware entries: what is installable, keys, and what destroying a pool leaves.
#include <gtest/gtest.h>

#include "support/filters_fixture.h"
#include "support/model_builders.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::FilterEntriesCache;
using HalFiltersLL::user_entry_key_t;
using test_support::ports;

class CachePools : public test_support::FiltersTest {
 protected:
  FilterEntriesCache cache;
};

TEST_F(CachePools, AnEntryWithoutMultiValuedMatchesIsOneHardwareEntryAtItsBase) {
  FiltersEntry entry(9, 0);
  entry.setMatch(MatchTTL(static_cast<unsigned char>(64)));
  ASSERT_EQ(cache.InitializeEntriesPool({FILTERS_GROUP_STAGE_INGRESS, 1, 9}, 1051136, entry), 0);
  const auto* pool = cache.GetEntriesPool(1051136);
  ASSERT_NE(pool, nullptr);
  ASSERT_EQ(pool->size(), 1u);
  EXPECT_EQ(pool->front().entry.getId(), 1051136u);
  EXPECT_TRUE(pool->front().installable);
  EXPECT_EQ(cache.entries_info().at(1051136).user_entry.getId(), 9u);
}

TEST_F(CachePools, EntriesThatCanMatchNothingAreNotInstallable) {
  struct Row {
    const char* name;
    std::shared_ptr<const Match> match;
    bool installable;
  };
  const Row rows[] = {
      {"egress ports, none", std::make_shared<MatchEgressPorts>(ports({})), false},
      {"ingress ports, none", std::make_shared<MatchIngressPorts>(ports({})), false},
      {"ingress ports, none, CPU excluded",
       std::make_shared<MatchIngressPorts>(ports({}), std::list<port_type_t>{PORT_TYPE_CPU}), true},
      {"source port none", std::make_shared<MatchSrcPort>(limid_null), false},
      {"source port eth1", std::make_shared<MatchSrcPort>(limid_ethernet(1)), true},
  };
  for (const Row& row : rows) {
    FiltersEntry entry(1, 0);
    entry.setMatch(row.match);
    EXPECT_EQ(cache.ConvertFiltersEntryToPoolEntry(entry).installable, row.installable) << row.name;
  }
}

TEST_F(CachePools, ABaseInUseIsRefusedAndKeepsTheFirstPool) {
  ASSERT_EQ(cache.InitializeEntriesPool({FILTERS_GROUP_STAGE_EGRESS, 0, 1}, 5, FiltersEntry(1, 0)),
            0);
  EXPECT_EQ(cache.InitializeEntriesPool({FILTERS_GROUP_STAGE_EGRESS, 0, 2}, 5, FiltersEntry(2, 0)),
            -2);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError, "Cannot create filter hardware entry 5. Entry is not empty."));
  EXPECT_EQ(cache.entries_info().at(5).user_key.entry_id, 1u);
}

TEST_F(CachePools, KeysOrderByStageThenGroupThenUnsignedEntryId) {
  const user_entry_key_t high{FILTERS_GROUP_STAGE_PRE_INGRESS, 5, 0x80000000u};
  const user_entry_key_t low{FILTERS_GROUP_STAGE_PRE_INGRESS, 5, 1};
  EXPECT_TRUE(low < high);
  EXPECT_FALSE(high < low);
  EXPECT_FALSE(low < low);
  EXPECT_TRUE((user_entry_key_t{FILTERS_GROUP_STAGE_PRE_INGRESS, 65535, 0} <
               user_entry_key_t{FILTERS_GROUP_STAGE_INGRESS, 0, 0}));
}

TEST_F(CachePools, UnknownBasesAreReportedOnLookupAndIgnoredOnDestroy) {
  EXPECT_EQ(cache.GetEntriesPool(77), nullptr);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Error getting HW entries for base 77"});
  log.clear();
  cache.DestroyEntriesPool(77);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
