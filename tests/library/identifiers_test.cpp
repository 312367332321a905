// Hardware identifiers at the boundaries of every stage, and SDK results as result codes.
#include <functional>

#include <gtest/gtest.h>

#include "support/filters_fixture.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::halFiltersErr_t;

class Identifiers : public test_support::FiltersTest {};

constexpr auto kNone = FILTERS_GROUP_STAGE_NONE;
constexpr auto kPre = FILTERS_GROUP_STAGE_PRE_INGRESS;
constexpr auto kIngress = FILTERS_GROUP_STAGE_INGRESS;
constexpr auto kEgress = FILTERS_GROUP_STAGE_EGRESS;
constexpr auto kEnd = FILTERS_GROUP_STAGE_END;

TEST_F(Identifiers, GroupIdsAndPrioritiesAtEveryStageBoundary) {
  struct Row {
    filtersGroupStage_t stage;
    unsigned short value;
    int hw_gid;
    int hw_prio;
  };
  const Row rows[] = {
      {kPre, 0, 0, 3},       {kPre, 3, 3, 0},        {kPre, 4, -1, -1},   {kIngress, 0, 16, 15},
      {kIngress, 15, 31, 0}, {kIngress, 16, -1, -1}, {kEgress, 0, 32, 3}, {kEgress, 3, 35, 0},
      {kEgress, 4, -1, -1},  {kNone, 0, -1, -1},     {kEnd, 0, -1, -1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "stage " << row.stage << " value " << row.value);
    EXPECT_EQ(filters->getHwGid(row.stage, row.value), row.hw_gid);
    EXPECT_EQ(filters->getHwGroupPrio(row.stage, row.value), row.hw_prio);
  }
}

TEST_F(Identifiers, EntryIdsAndPrioritiesAtEveryStageBoundary) {
  struct Row {
    filtersGroupStage_t stage;
    unsigned short gid;
    unsigned int eid;
    int base;
  };
  // clang-format off
  const Row rows[] = {
      {kPre, 0, 0, 0},           {kPre, 3, 255, 261888},       {kPre, 0, 256, -1},
      {kIngress, 0, 0, 1048576}, {kIngress, 15, 255, 2096896}, {kIngress, 0, 256, -1},
      {kEgress, 0, 0, 2097152},  {kEgress, 1, 2, 2113792},      {kEgress, 0, 127, 2113408},
      {kEgress, 0, 128, -1},     {kNone, 0, 0, -1},            {kEnd, 0, 0, -1},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << "stage " << row.stage << " gid " << row.gid << " eid " << row.eid);
    EXPECT_EQ(filters->getBaseHwEid(row.stage, row.gid, row.eid), row.base);
  }

  struct PrioRow {
    filtersGroupStage_t stage;
    unsigned short prio;
    int hw_prio;
  };
  const PrioRow prios[] = {{kPre, 0, 255},     {kPre, 256, -1},     {kIngress, 0, 255},
                           {kIngress, 255, 0}, {kIngress, 256, -1}, {kEgress, 127, 0},
                           {kEgress, 128, -1}, {kEnd, 0, 127},      {kNone, 0, -1}};
  for (const PrioRow& row : prios) {
    SCOPED_TRACE(testing::Message() << "stage " << row.stage << " prio " << row.prio);
    EXPECT_EQ(filters->getHwEntryPrio(row.stage, row.prio), row.hw_prio);
  }
}

TEST_F(Identifiers, SdkErrorsBecomeTheirCodesAndErrorLines) {
  using Handle = std::function<halFiltersErr_t(int)>;
  const Handle group = [&](int rv) { return filters->handleBcmGroupError(rv, 17, 9, "create"); };
  const Handle entry = [&](int rv) {
    return filters->handleBcmEntryError(rv, 16, 1048577, "destroy");
  };
  const std::string g = "Could not create filter group with ID 17, ";
  const std::string e = "Could not destroy filter entry 1048577 on group 16, ";
  using namespace HalFiltersLL;
  const struct {
    const Handle& handle;
    int rv;
    halFiltersErr_t result;
    std::string line;  // empty: nothing is logged
  } rows[] = {
      // clang-format off
      {group, BCM_E_NONE, HAL_FILTERS_OK, ""},
      {group, BCM_E_EXISTS, HAL_FILTERS_ERR_FAILED, g + "group already exists"},
      {group, BCM_E_PARAM, HAL_FILTERS_ERR_FAILED, g + "invalid priority 9"},
      {group, BCM_E_RESOURCE, HAL_FILTERS_ERR_NO_RESOURCE, g + "no resources available"},
      {group, BCM_E_BUSY, HAL_FILTERS_ERR_SDK, g + "prio 9, bcm error -10\n\t(bcm internal msg: Operation still running)"},
      {group, -30, HAL_FILTERS_ERR_SDK, g + "prio 9, bcm error -30\n\t(bcm internal msg: Unknown error)"},
      {group, 2, HAL_FILTERS_ERR_SDK, g + "prio 9, bcm error 2\n\t(bcm internal msg: Unknown error)"},
      {entry, BCM_E_NONE, HAL_FILTERS_OK, ""},
      {entry, BCM_E_EXISTS, HAL_FILTERS_ERR_FAILED, e + "entry already exists"},
      {entry, BCM_E_NOT_FOUND, HAL_FILTERS_ERR_FAILED, e + "invalid group"},
      {entry, BCM_E_INIT, HAL_FILTERS_ERR_FAILED, e + "bcm unit not initialized"},
      {entry, BCM_E_RESOURCE, HAL_FILTERS_ERR_SDK, e + "bcm error: -14\n\t(bcm internal msg: No resources for operation)"},
      {entry, BCM_E_PARTIAL, HAL_FILTERS_ERR_SDK, e + "bcm error: -22\n\t(bcm internal msg: Partial success)"},
      {entry, -23, HAL_FILTERS_ERR_SDK, e + "bcm error: -23\n\t(bcm internal msg: Unknown error)"},
      // clang-format on
  };
  for (const auto& row : rows) {
    log.clear();
    EXPECT_EQ(row.handle(row.rv), row.result) << row.line;
    EXPECT_EQ(log.texts(), log.texts(HalCallbacksItf::kError)) << row.line;
    EXPECT_EQ(log.texts(),
              row.line.empty() ? std::vector<std::string>{} : std::vector<std::string>{row.line});
  }
}

}  // namespace
