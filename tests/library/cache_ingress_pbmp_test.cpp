// Ingress port bitmaps of hardware entries: port lists, LAGs and exclusion lists.
#include <gtest/gtest.h>

#include <bcmsim/fault_plan.h>

#include "support/filters_fixture.h"
#include "support/model_builders.h"

namespace {

using namespace FiltersCommon;
using HalFiltersLL::FilterEntriesCache;
using test_support::make_lag;
using test_support::members_of;
using test_support::ports;
using test_support::range;

class IngressBitmaps : public test_support::FiltersTest {
 protected:
  std::set<int> programmed(int eid) {
    _shr_pbmp pbmp;
    EXPECT_EQ(cache.GetIngressEntryPbmp(eid, pbmp), 0);
    return members_of(pbmp);
  }
  std::set<int> named(int eid) { return members_of(cache.ingress_pbmp().at(eid).ports_pbmp); }

  FilterEntriesCache cache;
};

TEST_F(IngressBitmaps, APortListNamesItsPortsAndProgramsItsLagMembersToo) {
  make_lag(*lags, 1, {5, 6});
  make_lag(*lags, 2, {});
  ASSERT_EQ(cache.UpdatePortListEntryInformation(
                ports({limid_ethernet(3), limid_lag(1), limid_lag(2)}), 10),
            0);
  EXPECT_EQ(named(10), std::set<int>{3});
  EXPECT_EQ(programmed(10), (std::set<int>{3, 5, 6}));
  EXPECT_EQ(cache.lag_pbmp_entries().at(limid_lag(1)), std::set<int>{10});
  EXPECT_EQ(cache.lag_pbmp_entries().at(limid_lag(2)), std::set<int>{10})
      << "a LAG without members is recorded all the same";

  ASSERT_EQ(cache.UpdatePortListEntryInformation(ports({}), 11), 0);
  EXPECT_TRUE(named(11).empty());
  EXPECT_TRUE(programmed(11).empty());
}

TEST_F(IngressBitmaps, ASecondUpdateKeepsTheFirstBitmaps) {
  ASSERT_EQ(cache.UpdatePortListEntryInformation(ports({limid_ethernet(1)}), 10), 0);
  ASSERT_EQ(cache.UpdatePortListEntryInformation(ports({limid_ethernet(2)}), 10), 0);
  EXPECT_EQ(programmed(10), std::set<int>{1});
}

TEST_F(IngressBitmaps, ExcludingTheCpuPortsLeavesEveryOtherPort) {
  for (auto types : {std::list<port_type_t>{PORT_TYPE_CPU},
                     std::list<port_type_t>{PORT_TYPE_CPU, PORT_TYPE_CPU}}) {
    FilterEntriesCache fresh;
    MatchIngressPorts match(ports({}), types);
    ASSERT_EQ(fresh.UpdateIngressEntryInformation(match, 10), 0);
    EXPECT_EQ(members_of(fresh.ingress_pbmp().at(10).pbmp), range(1, 32));
    EXPECT_EQ(members_of(fresh.ingress_pbmp().at(10).ports_pbmp), range(1, 32));
  }
}

TEST_F(IngressBitmaps, AllPortsFollowTheDeviceInformation) {
  bcmsim::Config config;
  config.disabled_ports = {5};
  config.internal_ports = {40};
  bcmsim::reset(config);
  _shr_pbmp all;
  ASSERT_EQ(HalFiltersLL::getAllPortsBmp(0, all), 0);
  std::set<int> expected = range(0, 32);
  expected.erase(5);
  expected.insert(40);
  EXPECT_EQ(members_of(all), expected);
}

struct FailureRow {
  const char* name;
  std::function<int(FilterEntriesCache&)> update;
  int result;
  std::vector<std::string> lines;
  bool fault_port_config = false;
  int fault_nth = 1;
};

void PrintTo(const FailureRow& row, std::ostream* out) {
  *out << row.name;
}

class IngressBitmapFailures : public IngressBitmaps,
                              public ::testing::WithParamInterface<FailureRow> {};

TEST_P(IngressBitmapFailures, AreReportedAndStoreNothing) {
  make_lag(*lags, 1, {5, 40});  // port 40 has no gport
  if (GetParam().fault_port_config) {
    bcmsim::inject_fault(
        {"bcm_port_config_get", BCM_E_FAIL, GetParam().fault_nth, std::nullopt, false});
  }
  log.clear();
  EXPECT_EQ(GetParam().update(cache), GetParam().result);
  EXPECT_EQ(log.texts(), GetParam().lines);
  EXPECT_TRUE(cache.ingress_pbmp().empty());
  EXPECT_TRUE(cache.lag_pbmp_entries().empty());
}

int exclude(FilterEntriesCache& cache, std::list<port_type_t> types) {
  return cache.UpdateIngressEntryInformation(MatchIngressPorts(ports({}), std::move(types)), 10);
}

int listPorts(FilterEntriesCache& cache, std::initializer_list<limid_t> port_list) {
  return cache.UpdatePortListEntryInformation(ports(port_list), 10);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, IngressBitmapFailures,
    ::testing::Values(
        FailureRow{"PortWithoutGport", [](FilterEntriesCache& c) { return listPorts(c, {limid_ethernet(1), limid_ethernet(50)}); }, -2,
                   {"Error retrieving gport for eth50", "Error adding port eth50 to entry 10 port bitmap"}},
        FailureRow{"LagMemberWithoutGport", [](FilterEntriesCache& c) { return listPorts(c, {limid_lag(1)}); }, -2,
                   {"Error retrieving gport for eth40", "Error adding LAG lag1 to entry 10 port bitmap"}},
        FailureRow{"AllPortsUnavailable", [](FilterEntriesCache& c) { return exclude(c, {PORT_TYPE_CPU}); }, 0,
                   {"Port config: error getting port configuration\n", "Error retrieving all ports bitmap",
                    "Error assigning exclusion list to port bitmap for entry 10"}, true, 1},
        FailureRow{"PortConfigurationUnavailable", [](FilterEntriesCache& c) { return exclude(c, {PORT_TYPE_CPU}); }, 0,
                   {"Port config: error getting port configuration", "Error assigning exclusion list to port bitmap for entry 10"}, true, 2},
        FailureRow{"UnsupportedPortType", [](FilterEntriesCache& c) { return exclude(c, {PORT_TYPE_CPU, PORT_TYPE_LAG}); }, 0,
                   {"Unsupported port type 2 in exclusion list", "Error assigning exclusion list to port bitmap for entry 10"}},
        FailureRow{"NoRecord", [](FilterEntriesCache& c) { _shr_pbmp pbmp; return c.GetIngressEntryPbmp(10, pbmp); }, -2,
                   {"Entry 10 does not exist on the ingress port bitmap cache"}}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

}  // namespace
