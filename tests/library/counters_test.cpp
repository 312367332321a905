// Counters: one statistics object per user entry, shared by its hardware entries.
#include <optional>

#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>

#include "support/filters_fixture.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::user_entry_key_t;

class Counters : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(test_support::create_group(16, bcmFieldQualifyStageIngress, {}), 0);
    for (int eid : {1, 2, 3}) ASSERT_EQ(bcm_field_entry_create_id(0, 16, eid), 0);
    log.clear();
  }

  static FiltersEntry entryWith(unsigned int id, std::initializer_list<Counter> counters) {
    FiltersEntry entry(id, 0);
    for (const Counter& counter : counters) entry.addCounter(counter);
    return entry;
  }

  // The value of `counter`, or nullopt when the library refuses to read it.
  std::optional<unsigned long long> read(unsigned short counter) {
    unsigned long long value = 0;
    if (filters->getCounterValue(counter, value) != 0) return std::nullopt;
    return value;
  }

  // The statistics object counting exactly `types`.
  static int statCounting(const std::vector<bcm_field_stat_t>& types) {
    for (const auto& [id, stat] : bcmsim::state().stats) {
      if (stat.types == types) return id;
    }
    ADD_FAILURE() << "no statistics object with these types";
    return -1;
  }

  const user_entry_key_t first{FILTERS_GROUP_STAGE_INGRESS, 0, 1};
  const user_entry_key_t second{FILTERS_GROUP_STAGE_INGRESS, 0, 2};
};

TEST_F(Counters, OneStatisticsObjectServesAllCountersOfAUserEntry) {
  ASSERT_EQ(filters->createCounter(first, entryWith(1, {Counter(9, COUNTER_TYPE_BYTES),
                                                        Counter(7, COUNTER_TYPE_PACKETS)})),
            0);
  ASSERT_EQ(bcmsim::state().stats.size(), 1u);
  const int stat = statCounting({bcmFieldStatPackets, bcmFieldStatBytes});  // counter id order
  ASSERT_EQ(filters->attachCounter(first, 1), 0);
  ASSERT_EQ(filters->attachCounter(first, 2), 0);
  EXPECT_EQ(bcmsim::state().stats.at(stat).entries, (std::set<int>{1, 2}));
  ASSERT_EQ(bcm_field_entry_install(0, 1), 0) << "the object gets its hardware counter";
  ASSERT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatPackets, 12), 0);
  ASSERT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatBytes, 9000), 0);
  EXPECT_EQ(read(7), 12u);
  EXPECT_EQ(read(9), 9000u);
  ASSERT_EQ(filters->clearCounterValue(9), 0);
  EXPECT_EQ(read(9), 0u);
  EXPECT_EQ(read(7), 12u);

  EXPECT_EQ(filters->removeCounter(first), -1) << "still attached";
  ASSERT_EQ(filters->detachCounter(first, 1), 0);
  ASSERT_EQ(filters->detachCounter(first, 2), 0);
  EXPECT_EQ(filters->removeCounter(first), 0) << "kept for the retry";
  EXPECT_EQ(read(9), std::nullopt);
  EXPECT_TRUE(bcmsim::state().stats.empty());
}

TEST_F(Counters, TheNewestUserEntryTakesASharedCounterIdOver) {
  ASSERT_EQ(filters->createCounter(first, entryWith(1, {Counter(7, COUNTER_TYPE_PACKETS)})), 0);
  ASSERT_EQ(filters->createCounter(second, entryWith(2, {Counter(7, COUNTER_TYPE_BYTES)})), 0);
  ASSERT_EQ(filters->attachCounter(second, 1), 0);
  ASSERT_EQ(bcm_field_entry_install(0, 1), 0);
  ASSERT_EQ(bcm_field_stat_set(0, statCounting({bcmFieldStatBytes}), bcmFieldStatBytes, 64), 0);
  EXPECT_EQ(read(7), 64u);
  ASSERT_EQ(filters->detachCounter(second, 1), 0);
  EXPECT_EQ(filters->removeCounter(first), 0);
  EXPECT_EQ(read(7), std::nullopt) << "deleting either entry drops the id";
}

TEST_F(Counters, FailuresAreReportedWithTheSdkCode) {
  unsigned long long value;
  EXPECT_EQ(filters->getCounterValue(4, value), -1);
  EXPECT_EQ(filters->clearCounterValue(4), -1);
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{"[HAL FILTERS] getCounterValue() Unknown counter 4",
                                      "[HAL FILTERS] clearCounterValue() Unknown counter 4"}));
  EXPECT_EQ(log.lines()[0].code, -1);

  log.clear();
  bcmsim::inject_fault({"bcm_field_stat_create", BCM_E_RESOURCE, 1, std::nullopt, false});
  EXPECT_EQ(filters->createCounter(first, entryWith(1, {Counter(7, COUNTER_TYPE_PACKETS)})), -1);
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "[HAL FILTERS] createCounter() Failed to create counter on HW: No "
                             "resources for operation\n"});
  EXPECT_EQ(read(7), std::nullopt);

  ASSERT_EQ(filters->createCounter(first, entryWith(1, {Counter(7, COUNTER_TYPE_PACKETS)})), 0);
  const std::string stat = std::to_string(statCounting({bcmFieldStatPackets}));
  log.clear();
  bcmsim::inject_fault({"bcm_field_entry_stat_attach", BCM_E_EXISTS, 1, std::nullopt, false});
  EXPECT_EQ(filters->attachCounter(first, 3), -1);
  bcmsim::inject_fault({"bcm_field_stat_get", BCM_E_INTERNAL, 1, std::nullopt, false});
  EXPECT_EQ(filters->getCounterValue(7, value), -1);
  bcmsim::inject_fault({"bcm_field_entry_stat_detach", BCM_E_INTERNAL, 1, std::nullopt, false});
  EXPECT_EQ(filters->detachCounter(first, 3), -1);
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{
                "[HAL FILTERS] attachCounter() Failed to attach counter: Entry exists\nEntry ID: "
                "3\nCounter ID: " + stat + " ",
                "[HAL FILTERS] getCounterValue() Failed to get counter 7 value, error: Internal "
                "error",
                "[HAL FILTERS] detachCounter() Failed to detach Counter " + stat +
                    " from Entry 3: Internal error"}));
}

TEST(CountersDeathTest, AnUnsupportedCounterTypeEndsTheProcessWithAFaultRecord) {
  EXPECT_EXIT(HalFiltersLL::HalFiltersBcm::FiltersCommonCounterType2BcmCounterType(
                  static_cast<counter_type_t>(9)),
              ::testing::ExitedWithCode(1),
              "FAULT severity=1 function=FiltersCommonCounterType2BcmCounterType "
              "location=hal_filters_bcm:2147\n  \\[HAL FILTERS\\] "
              "FiltersCommonCounterType2BcmCounterType\\(\\) Unsupported counter type: 9");
}

TEST(CounterTypes, MapToTheSdkStatTypes) {
  const std::pair<counter_type_t, int> rows[] = {
      {COUNTER_TYPE_PACKETS, 1},      {COUNTER_TYPE_BYTES, 0},
      {COUNTER_TYPE_RED_BYTES, 6},    {COUNTER_TYPE_NOT_RED_BYTES, 12},
      {COUNTER_TYPE_YELLOW_BYTES, 4}, {COUNTER_TYPE_NOT_YELLOW_BYTES, 10},
      {COUNTER_TYPE_GREEN_BYTES, 2},  {COUNTER_TYPE_NOT_GREEN_BYTES, 8}};
  for (const auto& [type, stat] : rows) {
    EXPECT_EQ(HalFiltersLL::HalFiltersBcm::FiltersCommonCounterType2BcmCounterType(type), stat)
        << type;
  }
}

}  // namespace
