// What the device holds: staged and installed views, qualifier reads, statistics, reset.
#include <tuple>

#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcm/field.h>
#include <bcm/port.h>

#include <bcmsim/device.h>
#include <bcmsim/names.h>

#include "support/sdk_builders.h"

namespace {

using test_support::create_group;

constexpr int kGroup = 16;
constexpr int kEntry = 100;

class DeviceViews : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    ASSERT_EQ(create_group(kGroup, bcmFieldQualifyStageLookup,
                           {bcmFieldQualifyEtherType, bcmFieldQualifyIpType,
                            bcmFieldQualifyIpProtocolCommon}),
              BCM_E_NONE);
    ASSERT_EQ(bcm_field_entry_create_id(0, kGroup, kEntry), BCM_E_NONE);
  }
  const bcmsim::Entry& entry() const { return *bcmsim::state().entry(kEntry); }
};

TEST_F(DeviceViews, InstallCopiesTheStagedViewWhenItChangedAndDestroyForgetsTheEntry) {
  ASSERT_EQ(bcm_field_qualify_EtherType(0, kEntry, 0x0800, 0xffff), BCM_E_NONE);
  EXPECT_FALSE(entry().installed) << "nothing is installed before install";
  ASSERT_EQ(bcm_field_entry_install(0, kEntry), BCM_E_NONE);
  ASSERT_EQ(bcm_field_qualify_EtherType(0, kEntry, 0x86dd, 0xffff), BCM_E_NONE);
  EXPECT_EQ(entry().installed->qualifier(bcmFieldQualifyEtherType)->data[0], 0x0800u);
  EXPECT_EQ(entry().staged.qualifiers.size(), 1u) << "a second write replaces the staged value";
  ASSERT_EQ(bcm_field_entry_remove(0, kEntry), BCM_E_NONE);
  EXPECT_EQ(bcm_field_entry_reinstall(0, kEntry), BCM_E_NONE) << "reinstall installs as well";
  EXPECT_EQ(*entry().installed, entry().staged);
  const auto written = [] {
    return std::make_pair(bcmsim::state().tcam_moves, bcmsim::state().group(kGroup)->version);
  };
  const auto before = written();
  EXPECT_EQ(bcm_field_entry_install(0, kEntry), BCM_E_NONE);
  EXPECT_EQ(written(), before) << "nothing changed, nothing written";
  ASSERT_EQ(bcm_field_entry_destroy(0, kEntry), BCM_E_NONE);
  EXPECT_EQ(bcmsim::state().entry(kEntry), nullptr);
  EXPECT_TRUE(bcmsim::state().group(kGroup)->entries.empty());
}

TEST_F(DeviceViews, QualifiersReadBackAndUnsetOnesReadAsZeroExceptIpProtocolCommon) {
  using Read = std::tuple<uint16, uint16, bcm_field_IpType_t, bcm_field_IpProtocolCommon_t>;
  Read read{1, 1, bcmFieldIpTypeIp, bcmFieldIpProtocolCommonTcp};
  auto& [data, mask, type, protocol] = read;
  EXPECT_EQ(bcm_field_qualify_EtherType_get(0, kEntry, &data, &mask), BCM_E_NONE);
  EXPECT_EQ(bcm_field_qualify_IpType_get(0, kEntry, &type), BCM_E_NONE);
  EXPECT_EQ(bcm_field_qualify_IpProtocolCommon_get(0, kEntry, &protocol), BCM_E_INTERNAL)
      << "no protocol encodes zero data and mask";
  EXPECT_EQ(read, Read(0, 0, bcmFieldIpTypeAny, bcmFieldIpProtocolCommonTcp));

  ASSERT_EQ(bcm_field_qualify_EtherType(0, kEntry, 0x0800, 0xffff), BCM_E_NONE);
  ASSERT_EQ(bcm_field_qualify_IpType(0, kEntry, bcmFieldIpTypeIpv4Any), BCM_E_NONE);
  ASSERT_EQ(bcm_field_qualify_IpProtocolCommon(0, kEntry, bcmFieldIpProtocolCommonTcpUdp),
            BCM_E_NONE);
  EXPECT_EQ(bcm_field_qualify_EtherType_get(0, kEntry, &data, &mask), BCM_E_NONE);
  EXPECT_EQ(bcm_field_qualify_IpType_get(0, kEntry, &type), BCM_E_NONE);
  EXPECT_EQ(bcm_field_qualify_IpProtocolCommon_get(0, kEntry, &protocol), BCM_E_NONE);
  EXPECT_EQ(read, Read(0x0800, 0xffff, bcmFieldIpTypeIpv4Any, bcmFieldIpProtocolCommonTcpUdp));
}

TEST_F(DeviceViews, StatisticsHoldOneSixtyFourBitCountPerType) {
  bcm_field_stat_t types[] = {bcmFieldStatPackets, bcmFieldStatBytes};
  int stat = 0;
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 2, types, &stat), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_stat_attach(0, kEntry, stat), BCM_E_NONE);
  uint64 packets = 1, bytes = 0;
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatPackets, &packets), BCM_E_NONE);
  EXPECT_EQ(packets, 0u) << "no counter yet: reads give zero";
  EXPECT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatPackets, 0), BCM_E_NONE) << "a clear is fine";
  ASSERT_EQ(bcm_field_entry_install(0, kEntry), BCM_E_NONE) << "the counter comes with the install";
  const uint64 big = 0x1'0000'0005ULL;
  ASSERT_EQ(bcm_field_stat_set(0, stat, bcmFieldStatBytes, big), BCM_E_NONE);
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatPackets, &packets), BCM_E_NONE);
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatBytes, &bytes), BCM_E_NONE);
  EXPECT_EQ(std::make_pair(packets, bytes), std::make_pair(uint64{0}, big));
  EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatRedBytes, &bytes), BCM_E_PARAM)
      << "a type the object does not hold";
  ASSERT_EQ(bcm_field_entry_destroy(0, kEntry), BCM_E_NONE);
  EXPECT_EQ(bcm_field_stat_destroy(0, stat), BCM_E_NONE) << "destroying the entry detached it";
}

TEST_F(DeviceViews, StatAndEntryIdsCountOnFromTheLastOneGiven) {
  bcm_field_stat_t types[] = {bcmFieldStatPackets};
  int first = 0, second = 0, third = 0;
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 1, types, &first), BCM_E_NONE);
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 1, types, &second), BCM_E_NONE);
  ASSERT_EQ(bcm_field_stat_destroy(0, first), BCM_E_NONE);
  ASSERT_EQ(bcm_field_stat_create(0, kGroup, 1, types, &third), BCM_E_NONE);
  EXPECT_EQ(std::vector<int>({first, second, third}), std::vector<int>({1, 2, 3}));
  bcm_field_entry_t a = 0, b = 0;
  ASSERT_EQ(bcm_field_entry_create(0, kGroup, &a), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_destroy(0, a), BCM_E_NONE);
  ASSERT_EQ(bcm_field_entry_create(0, kGroup, &b), BCM_E_NONE);
  EXPECT_EQ(std::vector<int>({a, b}), std::vector<int>({1, 2})) << "a freed id is not reused";
}

TEST_F(DeviceViews, ResetStartsAnEmptyDeviceOfTheGivenSizeAndPortsABitmapHolds) {
  ASSERT_EQ(bcm_field_entry_install(0, kEntry), BCM_E_NONE);
  bcmsim::Config config;
  for (auto& stage : config.slices) stage.resize(1);
  config.front_ports = {1, 255, 256, 266};
  config.internal_ports = {260};
  bcmsim::reset(config);
  EXPECT_TRUE(bcmsim::state().groups.empty());
  EXPECT_TRUE(bcmsim::state().entries.empty());
  EXPECT_EQ(create_group(1, bcmFieldQualifyStageIngress, {}), BCM_E_NONE);
  EXPECT_EQ(create_group(2, bcmFieldQualifyStageIngress, {}), BCM_E_RESOURCE);
  bcm_port_config_t ports;
  ASSERT_EQ(bcm_port_config_get(0, &ports), BCM_E_NONE);
  int count = 0;
  BCM_PBMP_COUNT(ports.port, count);
  EXPECT_EQ(count, 2) << "ports from 256 on are left out";
  EXPECT_TRUE(BCM_PBMP_MEMBER(ports.port, 255));
  bcmsim::reset();
}

TEST(DeviceNames, QualifiersAndActionsReadAsTheSdkNamesThem) {
  bcmsim::QualifierValue mac{bcmFieldQualifySrcMac, {0x0011, 0x22334455}, {0xffff, 0xffffff00}};
  EXPECT_EQ(bcmsim::format_qualifier(mac), "00:11:22:33:44:55/ff:ff:ff:ff:ff:00");
  bcmsim::QualifierValue ports{bcmFieldQualifyInPorts, {0x8e}, {0xffffffff, 1}};
  EXPECT_EQ(bcmsim::format_qualifier(ports), "{1-3,7}/{0-32}");
  bcmsim::QualifierValue ip_type{bcmFieldQualifyIpType, {bcmFieldIpTypeIp}, {0xffffffff}};
  EXPECT_EQ(bcmsim::format_qualifier(ip_type), "Ip");
  EXPECT_EQ(bcmsim::action_name(999), "999");
}

// IPv6 addresses in their short form: the longest run of two or more zero groups, the first of
// equal runs, becomes "::".
TEST(DeviceNames, Ipv6AddressesReadInTheirShortForm) {
  const std::pair<bcmsim::Words, const char*> cases[] = {
      {{0, 0, 0, 0}, "::"},
      {{0, 0, 0, 1}, "::1"},
      {{0x00010000, 0, 0, 0}, "1::"},
      {{0x20010db8, 0, 0, 1}, "2001:db8::1"},
      {{0x00010000, 0x00010000, 0, 1}, "1:0:1::1"},
      {{0x00010000, 0, 0x00010000, 0}, "1::1:0:0:0"},
      {{0x00010000, 0x00010000, 0x00010000, 0x00010000}, "1:0:1:0:1:0:1:0"},
  };
  for (const auto& [address, text] : cases) {
    const bcmsim::QualifierValue ip6{bcmFieldQualifyDstIp6, address, {0xffffffff, 0xffffffff}};
    EXPECT_EQ(bcmsim::format_qualifier(ip6), std::string(text) + "/ffff:ffff:ffff:ffff::");
  }
}

}  // namespace
