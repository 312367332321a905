// Classification: which installed entry a packet hits, what wins, and what is counted.
#include <functional>

#include <gtest/gtest.h>

#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcm/switch.h>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <bcmsim/explain.h>

#include "support/sdk_builders.h"

namespace {

using bcmsim::Packet;
using test_support::create_group;
using Actions = std::vector<std::pair<bcm_field_action_t, uint32_t>>;

// Creates entry `eid` in `group`, qualifies it through `qualify`, adds `actions`, sets its
// priority and installs it.
void install(int group, int eid, int priority, const std::function<int(int)>& qualify,
             const Actions& actions) {
  ASSERT_EQ(bcm_field_entry_create_id(0, group, eid), 0);
  ASSERT_EQ(qualify ? qualify(eid) : 0, 0);
  for (auto [action, param] : actions) ASSERT_EQ(bcm_field_action_add(0, eid, action, param, 0), 0);
  ASSERT_EQ(bcm_field_entry_prio_set(0, eid, priority), 0);
  ASSERT_EQ(bcm_field_entry_install(0, eid), 0);
}

int ipv4(int eid) {
  return bcm_field_qualify_EtherType(0, eid, 0x0800, 0xffff);
}

std::vector<int> hit_entries(const bcmsim::Classification& result) {
  std::vector<int> entries;
  for (const auto& hit : result.hits) entries.push_back(hit.entry);
  return entries;
}

// Ingress groups 16 (DstIp and more, priority 5) and 17 (EtherType, priority 9); egress group 32.
class Classify : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    ASSERT_EQ(
        create_group(16, bcmFieldQualifyStageIngress,
                     {bcmFieldQualifyInPorts, bcmFieldQualifyDstIp, bcmFieldQualifyIpType}, {}, 5),
        0);
    ASSERT_EQ(create_group(17, bcmFieldQualifyStageIngress, {bcmFieldQualifyEtherType}, {}, 9), 0);
    ASSERT_EQ(create_group(32, bcmFieldQualifyStageEgress, {bcmFieldQualifyOutPort}), 0);
  }

  // An installed entry of group 16 with a destination prefix and one action.
  static void dst_ip_entry(int eid, uint32_t ip, uint32_t mask, int priority,
                           bcm_field_action_t action, uint32_t param = 0) {
    install(16, eid, priority, [=](int e) { return bcm_field_qualify_DstIp(0, e, ip, mask); },
            {{action, param}});
  }

  static Packet to(uint32_t dst_ip) {
    Packet packet;
    packet.dst_ip = dst_ip;
    return packet;
  }
};

TEST_F(Classify, TheMatchingEntryOfHighestPriorityHitsUnderItsMask) {
  dst_ip_entry(1, 0x0a000000, 0xff000000, 10, bcmFieldActionDscpNew, 10);
  dst_ip_entry(2, 0x0a010000, 0xffff0000, 20, bcmFieldActionDscpNew, 20);
  dst_ip_entry(3, 0x0a010203, 0xffffffff, 5, bcmFieldActionDscpNew, 30);
  EXPECT_EQ(hit_entries(bcmsim::classify(to(0x0a010203))), std::vector<int>{2});
  EXPECT_EQ(hit_entries(bcmsim::classify(to(0x0a020000))), std::vector<int>{1});
  EXPECT_TRUE(hit_entries(bcmsim::classify(to(0x0b000000))).empty());
  EXPECT_EQ(bcmsim::classify(to(0x0a010203)).verdict.text(), "forwarded, dscp 20");
}

TEST_F(Classify, OnlyTheInstalledViewHits) {
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 2), 0);
  ASSERT_EQ(bcm_field_action_add(0, 2, bcmFieldActionCopyToCpu, 0, 0), 0);
  dst_ip_entry(1, 0, 0, 10, bcmFieldActionDrop);
  ASSERT_EQ(bcm_field_action_delete(0, 1, bcmFieldActionDrop, 0, 0), 0);
  EXPECT_EQ(bcmsim::classify(to(1)).verdict.text(), "dropped") << "staged changes wait";
  ASSERT_EQ(bcm_field_entry_reinstall(0, 1), 0);
  EXPECT_EQ(bcmsim::classify(to(1)).verdict.text(), "forwarded");
  ASSERT_EQ(bcm_field_entry_remove(0, 1), 0);
  EXPECT_TRUE(bcmsim::classify(to(1)).hits.empty()) << "entry 2 was never installed";
}

TEST_F(Classify, TheGroupOfHigherPriorityWinsAConflict) {
  dst_ip_entry(1, 0, 0, 1, bcmFieldActionDrop);  // group 16, priority 5
  install(17, 2, 0, ipv4, {{bcmFieldActionDropCancel, 0}, {bcmFieldActionPrioPktNew, 3}});
  const auto result = bcmsim::classify(to(1));
  EXPECT_EQ(hit_entries(result), (std::vector<int>{2, 1})) << "highest group priority first";
  EXPECT_EQ(result.verdict.text(), "forwarded, pcp 3");
}

// Each lookup keeps what an entry counts for until the entry's group changes: detaching the
// object from an installed entry is such a change, and the object may be destroyed after it.
TEST_F(Classify, AHitCountsOnlyWhileTheInstalledEntryKeepsItsCounter) {
  for (auto method : {bcmsim::LookupMethod::Compiled, bcmsim::LookupMethod::Plain}) {
    SCOPED_TRACE(method == bcmsim::LookupMethod::Compiled ? "compiled" : "plain");
    SetUp();
    bcmsim::set_lookup_method(method);
    dst_ip_entry(1, 0, 0, 1, bcmFieldActionCopyToCpu);
    int stat = 0;
    bcm_field_stat_t packets = bcmFieldStatPackets;
    ASSERT_EQ(bcm_field_stat_create(0, 16, 1, &packets, &stat), 0);
    ASSERT_EQ(bcm_field_entry_stat_attach(0, 1, stat), 0);
    ASSERT_EQ(bcm_field_entry_reinstall(0, 1), 0);
    const auto counted = [stat] {
      uint64 value = 0;
      EXPECT_EQ(bcm_field_stat_get(0, stat, bcmFieldStatPackets, &value), 0);
      return value;
    };
    bcmsim::classify(to(1));
    EXPECT_EQ(counted(), 1u);
    ASSERT_EQ(bcm_field_entry_stat_detach(0, 1, stat), 0);
    bcmsim::classify(to(1));
    ASSERT_EQ(bcm_field_entry_stat_attach(0, 1, stat), 0);
    ASSERT_EQ(bcm_field_entry_reinstall(0, 1), 0);
    EXPECT_EQ(counted(), 1u) << "the count kept while detached is the count before";
    ASSERT_EQ(bcm_field_entry_stat_detach(0, 1, stat), 0);
    ASSERT_EQ(bcm_field_stat_destroy(0, stat), 0);
    EXPECT_EQ(hit_entries(bcmsim::classify(to(1))), std::vector<int>{1});
  }
  bcmsim::set_lookup_method(bcmsim::LookupMethod::Compiled);
}

TEST_F(Classify, PortBitmapsIpTypesAndTheEgressStage) {
  install(16, 1, 0,
          [](int e) {
            return bcm_field_qualify_InPorts(0, e, test_support::pbmp_of({2, 3}),
                                             test_support::pbmp_of({1, 2, 3, 4})) ||
                   bcm_field_qualify_IpType(0, e, bcmFieldIpTypeIpv6);
          },
          {{bcmFieldActionCopyToCpu, 0}});
  install(32, 2, 0, [](int e) { return bcm_field_qualify_OutPort(0, e, 9, 0xff); },
          {{bcmFieldActionDrop, 0}});
  Packet packet;
  packet.ether_type = 0x86DD;
  packet.out_port = 9;
  for (int port : {1, 2, 3, 4, 5}) {
    packet.in_port = port;
    EXPECT_EQ(bcmsim::classify(packet).verdict.copy_to_cpu, port == 2 || port == 3 || port == 5)
        << "port " << port << " (5 is not compared)";
  }
  packet.ether_type = 0x0800;
  EXPECT_EQ(bcmsim::classify(packet).verdict.text(), "dropped");
  EXPECT_EQ(bcmsim::classify(packet).hits.back().stage, bcmsim::Stage::Egress);
  // A packet dropped at ingress never reaches the egress stage.
  install(17, 3, 0, ipv4, {{bcmFieldActionDrop, 0}});
  EXPECT_EQ(hit_entries(bcmsim::classify(packet)), std::vector<int>{3});
}

TEST_F(Classify, APerColourActionNeedsAMeterOnTheInstalledEntry) {
  dst_ip_entry(1, 0, 0, 1, bcmFieldActionRpDrop);
  Packet red = to(1);
  red.color = bcmsim::Color::Red;
  EXPECT_EQ(bcmsim::classify(red).verdict.text(), "forwarded");
  bcm_policer_config_t policer;
  bcm_policer_config_t_init(&policer);
  bcm_policer_t id = 0;
  ASSERT_EQ(bcm_policer_create(0, &policer, &id), 0);
  ASSERT_EQ(bcm_field_entry_policer_attach(0, 1, 0, id), 0);
  EXPECT_EQ(bcmsim::classify(red).verdict.text(), "forwarded") << "until the next install";
  ASSERT_EQ(bcm_field_entry_reinstall(0, 1), 0);
  EXPECT_EQ(bcmsim::classify(red).verdict.text(), "dropped");
}

TEST_F(Classify, TheBlackHoleEgressObjectDrops) {
  ASSERT_EQ(bcm_switch_control_set(0, bcmSwitchL3EgressMode, 1), 0);
  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  egress.flags = BCM_L3_DST_DISCARD;
  bcm_if_t black_hole;
  ASSERT_EQ(bcm_l3_egress_create(0, 0, &egress, &black_hole), 0);
  dst_ip_entry(1, 0, 0, 1, bcmFieldActionL3Switch, static_cast<uint32_t>(black_hole));
  EXPECT_EQ(bcmsim::classify(to(1)).verdict.text(), "dropped, l3 egress 100002");
}

TEST_F(Classify, EntriesWithoutTheBucketedQualifierStillWinByPriority) {
  ASSERT_EQ(create_group(1, bcmFieldQualifyStageLookup,
                         {bcmFieldQualifyOuterVlanId, bcmFieldQualifyEtherType}),
            0);
  auto vlan_entry = [](int eid, int priority, uint16 vlan, bcm_field_action_t action) {
    install(1, eid, priority,
            [=](int e) { return bcm_field_qualify_OuterVlanId(0, e, vlan, 0xfff); }, {{action, 1}});
  };
  for (int vlan = 1; vlan <= 50; ++vlan) vlan_entry(vlan, 10, vlan, bcmFieldActionDrop);
  install(1, 100, 20, ipv4, {{bcmFieldActionCopyToCpu, 1}});
  Packet packet;
  packet.outer_vlan = 7;
  EXPECT_EQ(bcmsim::classify(packet).hits.at(0).entry, 100) << "the higher priority, no VLAN";
  packet.ether_type = 0x86DD;
  EXPECT_EQ(bcmsim::classify(packet).hits.at(0).entry, 7);
  vlan_entry(101, 30, 7, bcmFieldActionDscpNew);
  EXPECT_EQ(bcmsim::classify(packet).hits.at(0).entry, 101) << "an install after a lookup";
  ASSERT_EQ(bcm_field_entry_destroy(0, 101), 0);
  ASSERT_EQ(bcm_field_entry_destroy(0, 7), 0);
  EXPECT_TRUE(bcmsim::classify(packet).hits.empty());
}

TEST(Tcam, AnInstallBetweenOccupiedSlotsShiftsToTheNearestFreeSlot) {
  bcmsim::Config config;
  config.set_slice_entries({4, 4, 4});
  bcmsim::reset(config);
  ASSERT_EQ(create_group(16, bcmFieldQualifyStageIngress, {}), 0);
  using Layout = std::pair<std::vector<int>, uint64_t>;  // entries by slot, and moves so far
  auto layout = [] {
    Layout out{{}, bcmsim::state().tcam_moves};
    for (const auto& slot : bcmsim::state().group(16)->slots) out.first.push_back(slot.entry);
    return out;
  };
  for (auto [eid, priority] : {std::pair{1, 30}, {2, 10}, {3, 20}})
    install(16, eid, priority, {}, {});
  EXPECT_EQ(layout(), Layout({1, 3, 2, -1}, 1)) << "one entry moved down";
  install(16, 4, 40, {}, {});
  EXPECT_EQ(layout(), Layout({4, 1, 3, 2}, 4));
  ASSERT_EQ(bcm_field_entry_destroy(0, 1), 0);
  ASSERT_EQ(bcm_field_entry_prio_set(0, 2, 35), 0);
  EXPECT_EQ(layout(), Layout({4, 2, 3, -1}, 4)) << "a new priority takes a free place";
}

TEST_F(Classify, AnExplanationNamesTheHitTheClosestMissesAndOverriddenActions) {
  dst_ip_entry(1, 0x0a000000, 0xff000000, 10, bcmFieldActionDscpNew, 10);
  dst_ip_entry(2, 0x0b000000, 0xff000000, 20, bcmFieldActionDscpNew, 20);
  install(17, 7, 0, ipv4, {{bcmFieldActionDscpNew, 7}});

  const auto missed = bcmsim::explain(to(0x0c000001), 1);
  ASSERT_GE(missed.size(), 2u);
  EXPECT_EQ(std::make_pair(missed[0].group, missed[0].hit), std::make_pair(17, std::optional(7)))
      << "the group of higher priority first";
  const bcmsim::GroupExplanation& miss = missed[1];
  EXPECT_EQ(std::make_pair(miss.hit, miss.installed), std::make_pair(std::optional<int>(), 2));
  ASSERT_EQ(miss.closest.size(), 1u);
  const bcmsim::NearMiss& near = miss.closest[0];
  EXPECT_EQ(near.entry, 2) << "equally close: the entry of higher priority";
  EXPECT_EQ(near.qualifier + " " + near.packet_value + " " + near.entry_value,
            "DstIp 12.0.0.1/255.0.0.0 11.0.0.0/255.0.0.0");

  const auto hit = bcmsim::explain(to(0x0a000001));
  EXPECT_EQ(hit[1].hit, 1);
  EXPECT_EQ(hit[1].overridden, std::vector<std::string>{"DscpNew: group 17 wins"});
  EXPECT_TRUE(hit[0].overridden.empty());
  EXPECT_EQ(bcmsim::classify(to(0x0a000001)).verdict.dscp, 7) << "as explained";
}

}  // namespace
