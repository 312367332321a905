// The policer driver: what it creates in the SDK and the manager codes it answers.
#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/device.h>
#include <bcmsim/fault_plan.h>
#include <policer/policer_bcm.h>

namespace {

using policer::Action;
using policer::Mode;
using policer::Policer;
using policer::hal_ll::PolicerBcm;
namespace mgr = policer::hal_ll;

Policer policer_with(unsigned id, Mode mode, std::list<Action> actions = {}) {
  return Policer(id, Policer::STAGE_INGRESS, mode, std::move(actions));
}

class PolicerDriver : public ::testing::Test {
 protected:
  void SetUp() override { bcmsim::reset(); }
  PolicerBcm& driver = PolicerBcm::GetInstance();
};

TEST_F(PolicerDriver, CreatesTheSdkPolicerUnderItsOwnIdWithItsMode) {
  ASSERT_EQ(driver.Create(policer_with(42, Mode::TrTcm(1000, 1500, 2000, 3000))), 0);
  const auto& policers = bcmsim::state().policers;
  ASSERT_EQ(policers.count(42), 1u);
  const bcm_policer_config_t& config = policers.at(42).config;
  EXPECT_EQ(config.mode, bcmPolicerModeTrTcm);
  EXPECT_EQ(config.ckbits_sec, 1000u);
  EXPECT_EQ(config.ckbits_burst, 12u) << "1500 bytes are 12 kbit";
  EXPECT_EQ(config.pkbits_sec, 2000u);
  EXPECT_EQ(config.pkbits_burst, 24u);

  ASSERT_EQ(driver.Create(policer_with(43, Mode::Flow(500, 1))), 0);
  EXPECT_EQ(policers.at(43).config.mode, bcmPolicerModeCommitted);
  EXPECT_EQ(policers.at(43).config.ckbits_burst, 1u) << "rounded up";
}

struct CodeCase {
  const char* name;
  Policer policer;
  int sdk_failure;  // 0: none planned
  int expected;
};

void PrintTo(const CodeCase& test, std::ostream* out) {
  *out << test.name;
}

class PolicerDriverCodes : public ::testing::TestWithParam<CodeCase> {};

TEST_P(PolicerDriverCodes, AnswersTheManagerCode) {
  bcmsim::reset();
  if (GetParam().sdk_failure) {
    bcmsim::inject_fault({"bcm_policer_create", GetParam().sdk_failure, 1, std::nullopt, false});
  }
  EXPECT_EQ(PolicerBcm::GetInstance().Create(GetParam().policer), GetParam().expected);
  EXPECT_EQ(bcmsim::state().policers.size(), GetParam().expected == 0 ? 1u : 0u);
}

const std::list<Action> kTwoRedDscps = {Action(policer::COLOR_RED, Action::TYPE_SET_DSCP, 0, 1),
                                        Action(policer::COLOR_RED, Action::TYPE_SET_DSCP, 0, 2)};
const std::list<Action> kRedDropAndPcp = {Action(policer::COLOR_RED, Action::TYPE_DROP),
                                          Action(policer::COLOR_RED, Action::TYPE_SET_PCP, 3)};

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, PolicerDriverCodes,
    ::testing::Values(
        CodeCase{"Created", policer_with(1, Mode::SrTcm(1, 1, 1)), 0, mgr::POLICER_MGR_OK},
        CodeCase{"NoId", policer_with(Policer::kNoId, Mode::Flow(1, 1)), 0, mgr::POLICER_MGR_INVALID_PARAMETER},
        CodeCase{"NoMode", policer_with(1, Mode()), 0, mgr::POLICER_MGR_INVALID_PARAMETER},
        CodeCase{"TwoActionsOfOneKindOnAColour", policer_with(1, Mode::Flow(1, 1), kTwoRedDscps), 0, mgr::POLICER_MGR_ACTION_CONFLICT},
        CodeCase{"DropAndRewriteOnAColour", policer_with(1, Mode::Flow(1, 1), kRedDropAndPcp), 0, mgr::POLICER_MGR_ACTION_CONFLICT},
        CodeCase{"SdkRefusesParameters", policer_with(1, Mode::Flow(1, 1)), BCM_E_PARAM, mgr::POLICER_MGR_INVALID_PARAMETER},
        CodeCase{"SdkRefusesOtherwise", policer_with(1, Mode::Flow(1, 1)), BCM_E_RESOURCE, mgr::POLICER_MGR_GENERIC_ERROR}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

TEST_F(PolicerDriver, DestroyReportsTheSdkRefusalAsAManagerError) {
  EXPECT_EQ(driver.Destroy(9), mgr::POLICER_MGR_GENERIC_ERROR);
  ASSERT_EQ(driver.Create(policer_with(9, Mode::Flow(1, 1))), 0);
  EXPECT_EQ(driver.Create(policer_with(9, Mode::Flow(1, 1))), mgr::POLICER_MGR_GENERIC_ERROR)
      << "the id is taken";
  EXPECT_EQ(driver.Destroy(9), 0);
  EXPECT_TRUE(bcmsim::state().policers.empty());
}

}  // namespace
