// Logical interface ids: bytewise order and names.
#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include <limid/limid.h>

namespace {

TEST(Limid, OrdersBytewiseTypeFirstThenNumber) {
  std::vector<limid_t> ids = {limid_lag(1),      limid_ethernet(300),
                              limid_ethernet(2), limid_cpuport_from_components(1, 1, 0, 1),
                              limid_null,        limid_ethernet(256)};
  std::sort(ids.begin(), ids.end());
  std::vector<std::string> names;
  for (const limid_t& id : ids) names.push_back(limid_name(id));
  EXPECT_EQ(names, (std::vector<std::string>{"none", "eth2", "eth256", "eth300", "lag1", "cpu0"}));
}

struct NameCase {
  limid_t id;
  const char* name;
};

TEST(Limid, NamesReadBackToTheSameId) {
  const NameCase cases[] = {
      {limid_ethernet(5), "eth5"},
      {limid_lag(2), "lag2"},
      {limid_vpn(3), "vpn3"},
      {limid_vpn_access(7), "vport7"},
      {limid_cpuport_from_components(1, 1, 0, 1), "cpu0"},
      {limid_cpuport_from_components(2, 3, 1, 4), "cpu2/3/1/4"},
      {limid_null, "none"},
  };
  for (const NameCase& c : cases) {
    char buffer[64];
    EXPECT_STREQ(limid_to_intfname(c.id, buffer, sizeof(buffer)), c.name);
    auto parsed = limid_from_intfname(c.name);
    ASSERT_TRUE(parsed) << c.name;
    EXPECT_EQ(*parsed, c.id) << c.name;
  }
  for (const char* bad : {"eth", "eth-1", "ethx", "lag16777216", "port4", "cpu1/2", ""}) {
    EXPECT_FALSE(limid_from_intfname(bad)) << bad;
  }
}

TEST(Limid, TypesAreTestedOnTheFirstByte) {
  EXPECT_TRUE(limid_is_from_type(limid_lag(4), limid_type_lag));
  EXPECT_FALSE(limid_is_from_type(limid_ethernet(4), limid_type_lag));
  EXPECT_TRUE(limid_is_from_type_ethernet(limid_ethernet(4)));
  EXPECT_TRUE(limid_is_from_type(limid_cpuport_from_components(1, 1, 0, 1), limid_type_cpuport));
  char small[4];
  EXPECT_STREQ(limid_to_intfname(limid_ethernet(1234), small, sizeof(small)), "eth")
      << "a short buffer is cut, never overrun";
}

}  // namespace
