// Policers: created once per id, attached per hardware entry, released with the last one.
#include <sstream>

#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;
using policer::Mode;
using policer::Policer;
using PolicerAction = policer::Action;

constexpr auto kPre = FILTERS_GROUP_STAGE_PRE_INGRESS;
constexpr auto kIn = FILTERS_GROUP_STAGE_INGRESS;

Policer flow(unsigned id, std::list<PolicerAction> actions = {}) {
  return Policer(id, Policer::STAGE_INGRESS, Mode::Flow(1000, 1500), std::move(actions));
}

FiltersEntry entryWith(const Policer& own, std::shared_ptr<const Policer> parent = nullptr) {
  FiltersEntry entry(1, 0);
  entry.setPolicer(own);
  entry.setPolicerParent(std::move(parent));
  return entry;
}

class Policers : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(test_support::create_group(0, bcmFieldQualifyStageLookup, {}), 0);
    ASSERT_EQ(test_support::create_group(16, bcmFieldQualifyStageIngress, {}), 0);
    for (int eid : {1, 2}) ASSERT_EQ(bcm_field_entry_create_id(0, 16, eid), 0);
    ASSERT_EQ(bcm_field_entry_create_id(0, 0, 4), 0);
    log.clear();
  }
  const std::map<int, bcmsim::Policer>& policers() { return bcmsim::state().policers; }
};

TEST_F(Policers, HardwareEntriesShareAPolicerByIdUntilTheLastIsRemoved) {
  bcmsim::set_call_log(true);
  ASSERT_EQ(filters->installPolicer(kIn, 1, entryWith(flow(5))), 0);
  ASSERT_EQ(filters->installPolicer(kIn, 2, entryWith(flow(5))), 0);
  EXPECT_EQ(bcmsim::call_names("bcm_policer_create").size(), 1u);
  EXPECT_EQ(policers().at(5).attachments, (std::set<std::pair<int, int>>{{1, 0}, {2, 0}}));

  ASSERT_EQ(bcm_field_entry_destroy(0, 1), 0);  // as deleting a hardware entry does first
  EXPECT_EQ(filters->removePolicer(1), 0);
  EXPECT_EQ(policers().count(5), 1u);
  ASSERT_EQ(bcm_field_entry_destroy(0, 2), 0);
  EXPECT_EQ(filters->removePolicer(2), 0);
  EXPECT_EQ(policers().count(5), 0u);
  EXPECT_EQ(filters->removePolicer(2), 0) << "an entry without policer";
}

TEST_F(Policers, AParentIsAttachedAtLevelOneAndCountedApart) {
  auto parent = std::make_shared<Policer>(flow(6));
  ASSERT_EQ(filters->installPolicer(kIn, 1, entryWith(flow(5), parent)), 0);
  ASSERT_EQ(filters->installPolicer(kIn, 2, entryWith(flow(7), parent)), 0);
  EXPECT_EQ(policers().at(6).attachments, (std::set<std::pair<int, int>>{{1, 1}, {2, 1}}));

  for (int eid : {1, 2}) ASSERT_EQ(bcm_field_entry_destroy(0, eid), 0);
  EXPECT_EQ(filters->removePolicer(1), 0);
  EXPECT_EQ(policers().count(6), 1u);
  EXPECT_EQ(filters->removePolicer(2), 0);
  EXPECT_TRUE(policers().empty());
}

TEST_F(Policers, OneIdAsParentAndAsChildIsTwoUsesAndTwoCreations) {
  ASSERT_EQ(filters->installPolicer(kIn, 1, entryWith(flow(5), std::make_shared<Policer>(flow(6)))),
            0);
  EXPECT_EQ(filters->installPolicer(kIn, 2, entryWith(flow(6))), -2);
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "[HAL FILTERS] installPolicer() Failed to create policer for filter "
                             "entry 2: Generic error.\nPolicer Id: 6\nStage: Ingress\nMode: Flow "
                             "(CIR: 1000 kbits/s, CBS: 1500 bytes)\nActions:"});
}

TEST_F(Policers, PreIngressHasNoMetersNorPolicerActions) {
  EXPECT_EQ(filters->installPolicer(kPre, 4, entryWith(flow(5))), -1);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].code, BCM_E_NOT_FOUND)
      << "Katana 2's lookup stage knows service meters only";
  EXPECT_TRUE(policers().at(5).attachments.empty());
  log.clear();
  EXPECT_EQ(filters->createBcmPolicerAction(
                kPre, PolicerAction(policer::COLOR_RED, PolicerAction::TYPE_DROP), 4),
            -2);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"[HAL FILTERS] createBcmPolicerAction() Invalid "
                                                  "filter stage (1) for Policer action: Red Drop"});
}

TEST_F(Policers, AFailingBroadcomActionDoesNotStopTheNext) {
  bcmsim::inject_fault({"bcm_field_action_add", BCM_E_PARAM, 1, std::nullopt, false});
  EXPECT_EQ(filters->createBcmPolicerAction(
                kIn, PolicerAction(policer::COLOR_YELLOW, PolicerAction::TYPE_SET_PCP, 4), 1),
            -2);
  EXPECT_EQ(test_support::actions_of(1), std::vector<std::string>{"YpPrioIntNew(4, 0)"});
  EXPECT_EQ(filters->createBcmPolicerAction(
                kIn, PolicerAction(static_cast<policer::Color>(3), PolicerAction::TYPE_DROP), 1),
            -1);
  EXPECT_TRUE(
      log.contains("[HAL FILTERS] createBcmPolicerAction() Can not find suitable Broadcom "
                   "field action for Policer action:  Drop"));
}

TEST_F(Policers, AnActionThatCannotBeSetFailsTheInstall) {
  bcmsim::inject_fault({"bcm_field_action_add", BCM_E_INTERNAL, 1, std::nullopt, false});
  EXPECT_NE(filters->installPolicer(
                kIn, 1, entryWith(flow(5, {{policer::COLOR_RED, PolicerAction::TYPE_DROP, 0, 0}}))),
            0);
  EXPECT_TRUE(log.contains(HalCallbacksItf::kError,
                           "[HAL FILTERS] installPolicer() Failed to set policer action Red Drop "
                           "to filter entry: 1"))
      << testing::PrintToString(log.texts());
}

TEST_F(Policers, AFailedDestroyKeepsTheIdSoTheNextInstallReusesIt) {
  ASSERT_EQ(filters->installPolicer(kIn, 1, entryWith(flow(5))), 0);
  bcmsim::inject_fault({"bcm_policer_destroy", BCM_E_BUSY, 1, std::nullopt, false});
  EXPECT_EQ(filters->removePolicer(1), -2);
  bcmsim::set_call_log(true);
  ASSERT_EQ(filters->installPolicer(kIn, 2, entryWith(flow(5))), 0);
  EXPECT_TRUE(bcmsim::call_names("bcm_policer_create").empty());
}

TEST_F(Policers, AttachFailuresReportTheSdkCodeAndTheEntrysOwnPolicer) {
  bcmsim::inject_fault({"bcm_field_entry_policer_attach", BCM_E_RESOURCE, 1, std::nullopt, false});
  EXPECT_EQ(filters->installPolicer(kIn, 1, entryWith(flow(5), std::make_shared<Policer>(flow(6)))),
            -1);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].code, BCM_E_RESOURCE);
  EXPECT_EQ(log.lines()[0].text,
            "[HAL FILTERS] installPolicer() Failed to attach policer to filter entry 1: \nPolicer "
            "Id: 5\nStage: Ingress\nMode: Flow (CIR: 1000 kbits/s, CBS: 1500 bytes)\nActions:");
  EXPECT_EQ(policers().size(), 2u) << "created policers stay";
}

TEST(PolicerDescriptions, ReadAsTheLogLinesPrintThem) {
  auto describe = [](const Policer& policer) {
    std::ostringstream text;
    HalFiltersLL::writePolicerDescription(text, policer);
    return text.str();
  };
  const std::list<PolicerAction> actions = {
      {policer::COLOR_YELLOW, PolicerAction::TYPE_SET_DSCP, 0, 10},
      {policer::COLOR_GREEN, PolicerAction::TYPE_SET_PCP, 5, 0}};
  EXPECT_EQ(describe(Policer(1, Policer::STAGE_INGRESS, Mode::SrTcm(100, 2000, 3000), actions)),
            "Policer Id: 1\nStage: Ingress\nMode: SrTcm (CIR: 100 kbits/s, CBS: 2000 bytes, EBS: "
            "3000 bytes)\nActions:\n+ Yellow Set DSCP 10\n+ Green Set PCP 5");
  EXPECT_EQ(describe(Policer(2, Policer::STAGE_EGRESS, Mode::TrTcm(1, 2, 3, 4), {})),
            "Policer Id: 2\nStage: Egress\nMode: TrTcm (CIR: 1 kbits/s, CBS: 2 bytes, PIR: 3 "
            "kbits/s, PBS: 4 bytes)\nActions:");
  EXPECT_EQ(describe(Policer(3, Policer::STAGE_NONE, Mode::TrTcmDs(1, 2, 3, 4), {})),
            "Policer Id: 3\nStage: None\nMode: TrTcmDs (CIR: 1 kbits/s, CBS: 2 bytes, EIR: 3 "
            "kbits/s, EBS: 4 bytes)\nActions:");
  EXPECT_EQ(describe(Policer()), "Policer Id: Invalid\nStage: None\nMode: None\nActions:");
}

}  // namespace
