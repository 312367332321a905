// Group creation: the hardware group of every type, the failures, and the undo.
#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include <bcmsim/call_log.h>
#include <bcmsim/fault_plan.h>
#include <bcmsim/names.h>

#include "support/filters_fixture.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::halFiltersErr_t;

class Groups : public test_support::FiltersTest {
 protected:
  halFiltersErr_t create(filtersGroupStage_t stage, unsigned short id, unsigned short prio,
                         unsigned int type) {
    return filters->createGroup(FiltersGroup(stage, id, prio, type));
  }
};

constexpr auto kPre = FILTERS_GROUP_STAGE_PRE_INGRESS;
constexpr auto kIn = FILTERS_GROUP_STAGE_INGRESS;
constexpr auto kEg = FILTERS_GROUP_STAGE_EGRESS;

// The qualifier set of a group by the SDK's names, in the SDK's order.
std::string qset(const bcmsim::Group& group) {
  std::string names;
  for (int qualifier : group.qualifiers()) {
    names += (names.empty() ? "" : " ") + bcmsim::qualifier_name(qualifier);
  }
  return names;
}

struct TypeRow {
  unsigned int type;
  filtersGroupStage_t stage;
  int hw_gid;
  int mode;
  const char* qualifiers;  // the catalogue's and the stage qualifier
};

TEST_F(Groups, EveryTypeGetsItsCatalogueQualifierSetAndMode) {
  // clang-format off
  const TypeRow rows[] = {
      {1, kIn, 16, 0, "SrcMac DstMac InPort InPorts Drop OuterVlanId EtherType PacketRes StageIngress MplsTerminated IngressStpState L2SrcStatic"},
      {2, kIn, 16, 0, "SrcMac SrcIp InPorts OuterVlanId InnerVlanId EtherType StageIngress SrcGport"},
      {3, kIn, 16, 0, "SrcIp DstIp InPorts OuterVlanId L4SrcPort L4DstPort EtherType IpProtocol Ttl DstPort IpType ForwardingType StageIngress MyStationHit"},
      {4, kPre, 0, 0, "SrcIp DstIp InPort OuterVlanId OuterVlanPri InnerVlanId InnerVlanPri L4DstPort EtherType IpProtocol DSCP IpProtocolCommon IpType StageLookup"},
      {5, kEg, 32, 0, "DstMac InPort OuterVlanId InnerVlanId InnerVlanPri EtherType StageEgress OutPort IntPriority"},
      {6, kPre, 0, 0, "SrcMac DstMac InPort OuterVlanId OuterVlanPri InnerVlanId InnerVlanPri EtherType StageLookup VlanFormat"},
      {7, kIn, 16, 9, "DstMac InPorts L4DstPort EtherType IpProtocol SrcPort IpType ForwardingType StageIngress InterfaceClassL2 L2SrcStatic"},
      {8, kIn, 16, 0, "DstIp6 EtherType StageIngress L3Routable Vrf"},
      {9, kIn, 16, 0, "InPorts OuterVlanId InnerVlanId InnerVlanPri DSCP IpType StageIngress IntPriority"},
      {10, kIn, 16, 0, "SrcIp DstIp InPorts EtherType StageIngress"},
  };
  // clang-format on
  for (const TypeRow& row : rows) {
    SCOPED_TRACE(testing::Message() << "type " << row.type);
    bcmsim::reset();
    bcmsim::set_call_log(true);
    ASSERT_EQ(create(row.stage, 0, 0, row.type), HalFiltersLL::HAL_FILTERS_OK);
    const bcmsim::Group* group = bcmsim::state().group(row.hw_gid);
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(qset(*group), row.qualifiers);
    EXPECT_EQ(group->mode, row.mode);
    EXPECT_EQ(group->flags, 5u);
    const bcmsim::Call& group_create = bcmsim::calls().back();
    EXPECT_EQ(group_create.function, "bcm_field_group_config_create");
    EXPECT_NE(group_create.args().find("aset []"), std::string::npos) << "an empty action set";
  }
}

TEST_F(Groups, PrioritiesAreTranslatedFromTheGroupsOwnPriority) {
  ASSERT_EQ(create(kEg, 2, 1, 5), HalFiltersLL::HAL_FILTERS_OK);
  EXPECT_EQ(bcmsim::state().group(34)->priority, 2);
}

TEST_F(Groups, ATypeWithoutThisStageGetsTheStageQualifierAlone) {
  ASSERT_EQ(create(kIn, 3, 0, 4), HalFiltersLL::HAL_FILTERS_OK);
  ASSERT_EQ(create(kEg, 0, 0, 13), HalFiltersLL::HAL_FILTERS_OK);
  // Without the catalogue's flags the group is created without its id: the SDK picks one.
  std::map<int, std::string> qsets;
  for (const auto& [id, group] : bcmsim::state().groups) qsets[id] = qset(group);
  EXPECT_EQ(qsets, (std::map<int, std::string>{{1, "StageIngress"}, {2, "StageEgress"}}));
}

TEST_F(Groups, AFailedGroupGoesWhateverIdTheSdkGaveIt) {
  // Type 4 describes no egress stage: the SDK picks an id, not the group's 32, so the entry
  // finds no group.
  FiltersGroup group(kEg, 0, 0, 4);
  group.addEntry(FiltersEntry(0, 0));
  EXPECT_EQ(filters->createGroup(group), HalFiltersLL::HAL_FILTERS_ERR_FAILED);
  EXPECT_TRUE(bcmsim::state().groups.empty());
}

TEST_F(Groups, AFailedGroupReleasesTheCounterOfItsFailingEntry) {
  FiltersGroup group(kIn, 0, 0, 2);
  FiltersEntry entry(0, 0);
  entry.addCounter(Counter(7, COUNTER_TYPE_PACKETS));
  group.addEntry(entry);
  bcmsim::inject_fault({"bcm_field_entry_install", BCM_E_INTERNAL, 1, std::nullopt, false});
  EXPECT_EQ(filters->createGroup(group), HalFiltersLL::HAL_FILTERS_ERR_FAILED);
  EXPECT_TRUE(bcmsim::state().stats.empty());
  unsigned long long value = 0;
  EXPECT_NE(filters->getCounterValue(7, value), 0);
}

struct FailureRow {
  const char* name;
  FiltersGroup group;
  const char* line;
};

void PrintTo(const FailureRow& row, std::ostream* out) {
  *out << row.name;
}

class GroupFailures : public test_support::FiltersTest,
                      public ::testing::WithParamInterface<FailureRow> {};

TEST_P(GroupFailures, FailWithTheirLineAndCreateNothing) {
  ASSERT_EQ(filters->createGroup(FiltersGroup(kPre, 0, 0, 4)), HalFiltersLL::HAL_FILTERS_OK);
  for (unsigned short id = 0; id < 4; ++id) {
    ASSERT_EQ(filters->createGroup(FiltersGroup(kEg, id, id, 5)), HalFiltersLL::HAL_FILTERS_OK);
  }
  const size_t groups = bcmsim::state().groups.size();
  log.clear();
  EXPECT_EQ(filters->createGroup(GetParam().group), HalFiltersLL::HAL_FILTERS_ERR_FAILED);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError, GetParam().line))
      << testing::PrintToString(log.texts());
  EXPECT_EQ(bcmsim::state().groups.size(), groups);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, GroupFailures,
    ::testing::Values(
        FailureRow{"TypeZero", FiltersGroup(kIn, 1, 0, 0), "Filters group type unknown"},
        FailureRow{"TypeTwelve", FiltersGroup(kIn, 1, 0, 12), "Filters group type unknown"},
        FailureRow{"TypeEleven", FiltersGroup(kIn, 1, 0, 11), "Filters group 11 only supported on DNX"},
        FailureRow{"StageZero", FiltersGroup(FILTERS_GROUP_STAGE_NONE, 0, 0, 1), "Hardware group ID translation failed"},
        FailureRow{"GroupIdSixteen", FiltersGroup(kIn, 16, 0, 1), "Hardware group ID translation failed"},
        FailureRow{"PriorityFourAtEgress", FiltersGroup(kEg, 1, 4, 5), "Hardware group priority translation failed"},
        FailureRow{"GroupExists", FiltersGroup(kPre, 0, 1, 4), "Could not create filter group with ID 0, group already exists"},
        FailureRow{"StageFull", FiltersGroup(kEg, 4, 0, 5), "Hardware group ID translation failed"}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

TEST_F(Groups, AStageWithoutAStageQualifierIsRefused) {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  EXPECT_EQ(filters->fillGroupStage(FiltersGroup(FILTERS_GROUP_STAGE_END, 0, 0, 1), config),
            HalFiltersLL::HAL_FILTERS_ERR_FAILED);
  EXPECT_EQ(log.texts(HalCallbacksItf::kError),
            std::vector<std::string>{"Filter group stage unknown"});
}

TEST_F(Groups, TheSdkRunningOutOfGroupsIsNoResource) {
  bcmsim::Config small;
  small.slices[1].resize(1);
  bcmsim::reset(small);
  ASSERT_EQ(create(kIn, 0, 0, 1), HalFiltersLL::HAL_FILTERS_OK);
  EXPECT_EQ(create(kIn, 1, 1, 1), HalFiltersLL::HAL_FILTERS_ERR_NO_RESOURCE);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "Could not create filter group with ID 17, no resources available"));
}

// Records the entry operations and fails the creation of one entry.
class FailingEntryFilters : public test_support::TestableFilters {
 public:
  using TestableFilters::TestableFilters;
  halFiltersErr_t createEntry(filtersGroupStage_t, unsigned short,
                              const FiltersEntry& entry) override {
    operations.push_back("create " + std::to_string(entry.getId()));
    return entry.getId() == failing ? HalFiltersLL::HAL_FILTERS_ERR_SDK
                                    : HalFiltersLL::HAL_FILTERS_OK;
  }
  halFiltersErr_t deleteEntry(filtersGroupStage_t, unsigned short, unsigned int eid) override {
    operations.push_back("delete " + std::to_string(eid));
    return HalFiltersLL::HAL_FILTERS_OK;
  }
  unsigned int failing = 0;
  std::vector<std::string> operations;
};

TEST_F(Groups, AFailingEntryUndoesTheEntriesBeforeItAndTheGroup) {
  FailingEntryFilters recording(nullptr, nullptr);
  recording.failing = 3;
  FiltersGroup group(kIn, 2, 0, 10);
  for (unsigned int id : {5u, 3u, 1u, 4u, 2u}) group.addEntry(FiltersEntry(id, 0));
  EXPECT_EQ(recording.createGroup(group), HalFiltersLL::HAL_FILTERS_ERR_FAILED)
      << "whatever code the entry returned";
  EXPECT_EQ(recording.operations,
            (std::vector<std::string>{"create 1", "create 2", "create 3", "delete 2", "delete 1"}));
  EXPECT_EQ(bcmsim::state().group(18), nullptr);

  recording.failing = 0;
  recording.operations.clear();
  EXPECT_EQ(recording.createGroup(group), HalFiltersLL::HAL_FILTERS_OK);
  EXPECT_EQ(recording.operations.size(), 5u);
  EXPECT_NE(bcmsim::state().group(18), nullptr);
}

}  // namespace
