// The instance: the one-instance rule, event subscriptions and the start-up programming.
#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>

#include "support/filters_fixture.h"

namespace {

using test_support::TestableFilters;

const std::vector<std::string> kStartUpCalls = {
    "bcm_port_control_set(0, 0, 17, 1)",
    "bcm_port_control_set(0, 0, 18, 1)",
    "bcm_port_control_set(0, 0, 16, 1)",
    "bcm_switch_control_set(0, 230, 1)",
    "bcm_l3_egress_t_init(&)",
    "bcm_l3_egress_create(0, 0x0, {flags 0x100000, flags2 0x0, intf -1, mac 00:00:00:00:00:00, "
    "port 0, trunk -1} -> 100002)",
};

std::vector<std::string> calls_without_codes() {
  std::vector<std::string> calls;
  for (const bcmsim::Call& call : bcmsim::calls()) {
    calls.push_back(call.function + "(" + call.args() + ")");
  }
  return calls;
}

class StartUp : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    bcmsim::set_call_log(true);
  }
  void TearDown() override { bcmsim::set_call_log(false); }
  HalLogCapture log;
};

TEST_F(StartUp, EnablesTheCpuPortSwitchesL3EgressModeOnAndCreatesTheBlackHole) {
  TestableFilters filters(nullptr, nullptr);
  EXPECT_EQ(calls_without_codes(), kStartUpCalls);
  const bcmsim::State& device = bcmsim::state();
  for (int control : {16, 17, 18}) EXPECT_EQ(device.port_controls.at({0, control}), 1);
  EXPECT_EQ(device.switch_controls.at(230), 1);
  const bcm_l3_egress_t& black_hole = device.l3_egresses.at(100002).egress;
  EXPECT_EQ(black_hole.flags, 0x100000u);
  EXPECT_EQ(black_hole.intf, -1);
  EXPECT_EQ(black_hole.trunk, -1);
  EXPECT_TRUE(log.lines().empty());
}

struct StartUpFailure {
  const char* name;
  bcmsim::Fault fault;
  std::string line;
  size_t calls_made;  // how many of the start-up calls were made
  bool black_hole;  // whether the black hole egress object exists
};

void PrintTo(const StartUpFailure& failure, std::ostream* out) {
  *out << failure.name;
}

class StartUpFailures : public StartUp, public ::testing::WithParamInterface<StartUpFailure> {};

TEST_P(StartUpFailures, AreLoggedAndStartUpGoesOnWhereItCan) {
  bcmsim::inject_fault(GetParam().fault);
  TestableFilters filters(nullptr, nullptr);
  EXPECT_EQ(log.texts(), std::vector<std::string>{GetParam().line});
  EXPECT_EQ(log.lines().at(0).level, 3);
  auto expected = kStartUpCalls;
  expected.resize(GetParam().calls_made);
  auto made = calls_without_codes();
  if (made.size() == kStartUpCalls.size()) made.back() = kStartUpCalls.back();  // failed: no id
  EXPECT_EQ(made, expected);
  EXPECT_EQ(bcmsim::state().l3_egresses.count(100002), GetParam().black_hole ? 1u : 0u);
}

bcmsim::Fault fail(const char* function, int rv, int nth = 1) {
  return {function, rv, nth, std::nullopt, false};
}

const std::string kCpuPort = "Filters-ll-bcm: Error enabling bcmPortControlFilter";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, StartUpFailures,
    ::testing::Values(
        StartUpFailure{"IngressControl", fail("bcm_port_control_set", BCM_E_PORT, 1), kCpuPort + "Ingress for CPU port: Invalid port", 6, true},
        StartUpFailure{"EgressControl", fail("bcm_port_control_set", BCM_E_UNAVAIL, 2), kCpuPort + "Egress for CPU port: Feature unavailable", 6, true},
        StartUpFailure{"LookupControl", fail("bcm_port_control_set", -99, 3), kCpuPort + "Lookup for CPU port: Unknown error", 6, true},
        StartUpFailure{"EgressMode", fail("bcm_switch_control_set", BCM_E_FAIL), "Filters-ll-bcm: error changing L3 egress mode to use VLAN ports", 4, false},
        StartUpFailure{"BlackHole", fail("bcm_l3_egress_create", BCM_E_FULL), "Filters-ll-bcm: Error creating L3 egress black hole interface: Table full", 6, false}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

// The one instance lives for the whole process, so each of these runs in a child process.
TEST(Singleton, AFirstCallWithoutOrchestratorsNeverSubscribes) {
  EXPECT_EXIT(
      {
        auto lags = std::make_shared<halswitchl2if::LagOrchestrator>();
        hal_encap::DestinationOrchestrator destinations;
        HalFiltersLL::HalFiltersBcm& first = HalFiltersLL::HalFiltersBcm::getInstance();
        HalFiltersLL::HalFiltersItf& second =
            HalFiltersLL::HalFiltersItf::getInstance(lags, &destinations);
        const bool same = &second == &first;
        const bool subscribed = !lags->ClientNames().empty() || !destinations.ClientNames().empty();
        std::fprintf(stderr, "same=%d subscribed=%d\n", same, subscribed);
        std::exit(same && !subscribed ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "same=1 subscribed=0");
}

TEST(Singleton, SubscribesToTheOrchestratorsItIsGiven) {
  EXPECT_EXIT(
      {
        hal_encap::DestinationOrchestrator destinations;
        HalFiltersLL::HalFiltersItf::getInstance(nullptr, &destinations);
        auto lags = std::make_shared<halswitchl2if::LagOrchestrator>();
        HalFiltersLL::HalFiltersItf::getInstance(lags, &destinations);
        const auto names = destinations.ClientNames();
        const bool only_destinations = names.size() == 1 &&
                                       names[0] == "qaros-hal-filters-ll-bcm" &&
                                       lags->ClientNames().empty();
        std::fprintf(stderr, "only_destinations=%d\n", only_destinations);
        std::exit(only_destinations ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "only_destinations=1");
}

TEST(Subscriptions, LagEventsReachTheInstanceUnderItsClientName) {
  bcmsim::reset();
  auto lags = std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations;
  TestableFilters filters(lags, &destinations);
  EXPECT_EQ(lags->ClientNames(), std::vector<std::string>{"qaros-hal-filters-ll-bcm"});
  EXPECT_EQ(lags->CreateLag(limid_lag(1)), 0) << "the first callable always follows";
}

}  // namespace
