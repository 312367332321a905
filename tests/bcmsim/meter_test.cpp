// Metering: the colours policers give packets by their arrival times, and what those colours do.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <bcm/field.h>
#include <bcm/policer.h>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>

#include "support/sdk_builders.h"

namespace {

using bcmsim::Color;
using bcmsim::Packet;

// 8000 kbit/s is one byte a microsecond; a kbit is 125 bytes.
constexpr uint32_t kByteAMicrosecond = 8000;
constexpr Color kYellow = Color::Yellow;
constexpr Color kRed = Color::Red;

struct PolicerConfig {
  bcm_policer_mode_t mode;
  uint32_t flags;
  uint32_t ckbits_sec, ckbits_burst, pkbits_sec, pkbits_burst;
};

// A colour-blind trTCM with CBS 1000 B at 1 B/us and PBS 2000 B at 2 B/us.
constexpr PolicerConfig kTrTcm{
    bcmPolicerModeTrTcm, BCM_POLICER_COLOR_BLIND, kByteAMicrosecond, 8, 2 * kByteAMicrosecond, 16};
// One bucket of 1000 B at 1 B/us.
constexpr PolicerConfig kCommitted{bcmPolicerModeCommitted, 0, kByteAMicrosecond, 8, 0, 0};

struct Arrival {
  uint64_t us;
  uint32_t bytes;
  Color incoming = Color::Green;
};

char letter(const std::optional<Color>& colour) {
  return colour ? "GYR"[static_cast<int>(*colour)] : '-';
}

class Metering : public ::testing::Test {
 protected:
  void SetUp() override {
    bcmsim::reset();
    ASSERT_EQ(test_support::create_group(1, bcmFieldQualifyStageIngress, {}, {}, 5), 0);
    ASSERT_EQ(test_support::create_group(2, bcmFieldQualifyStageIngress, {}, {}, 1), 0);
  }

  static bcm_policer_t policer(const PolicerConfig& c) {
    bcm_policer_config_t config;
    bcm_policer_config_t_init(&config);
    config.mode = c.mode;
    config.flags = c.flags;
    config.ckbits_sec = c.ckbits_sec;
    config.ckbits_burst = c.ckbits_burst;
    config.pkbits_sec = c.pkbits_sec;
    config.pkbits_burst = c.pkbits_burst;
    bcm_policer_t id = 0;
    EXPECT_EQ(bcm_policer_create(0, &config, &id), 0);
    return id;
  }

  // An installed entry matching every packet, with its policers by level.
  static void entry(int eid, int group, std::vector<bcm_policer_t> policers,
                    std::vector<std::pair<bcm_field_action_t, uint32_t>> actions = {}) {
    ASSERT_EQ(bcm_field_entry_create_id(0, group, eid), 0);
    for (size_t level = 0; level < policers.size(); ++level) {
      ASSERT_EQ(bcm_field_entry_policer_attach(0, eid, static_cast<int>(level), policers[level]),
                0);
    }
    for (auto [action, param] : actions)
      ASSERT_EQ(bcm_field_action_add(0, eid, action, param, 0), 0);
    ASSERT_EQ(bcm_field_entry_install(0, eid), 0);
  }

  static Packet packet(uint64_t ns, uint32_t bytes, Color incoming = Color::Green) {
    Packet p;
    p.arrival_ns = ns;
    p.length = bytes;
    p.color = incoming;
    return p;
  }

  // The colours the first hit entry gives the arrivals, one letter each.
  static std::string colours(const std::vector<Arrival>& arrivals) {
    std::string out;
    for (const Arrival& a : arrivals) {
      out += letter(bcmsim::classify(packet(a.us * 1000, a.bytes, a.incoming)).hits.at(0).metered);
    }
    return out;
  }
};

struct ModeCase {
  const char* name;
  PolicerConfig config;
  const char* expected;  // a colour letter for each arrival
  std::vector<Arrival> arrivals;
};

// A row of the table below; a call rather than braces keeps each row short.
ModeCase mode(const char* name, PolicerConfig config, const char* expected,
              std::vector<Arrival> arrivals) {
  return {name, config, expected, std::move(arrivals)};
}

const ModeCase kModeCases[] = {
    // CBS 1000 B, EBS 500 B: exactly full, exactly the excess, nothing left; 100 B earned in
    // 100 us, one byte short then exactly; a 1900 us gap fills CBS and spills 500 B into EBS.
    mode("SrTcm", {bcmPolicerModeSrTcm, BCM_POLICER_COLOR_BLIND, kByteAMicrosecond, 8, 0, 4},
         "GYRRGGY",
         {{0, 1000}, {0, 500}, {0, 1}, {100, 101}, {100, 100}, {2000, 1000}, {2000, 500}}),
    // After 250 us: C 250, P 500.
    mode("TrTcm", kTrTcm, "GYRGRYG",
         {{0, 1000}, {0, 1000}, {0, 1}, {250, 250}, {250, 251}, {250, 250}, {10000, 1000}}),
    // CBS 1000 B at 1 B/us, EBS 500 B at 2 B/us. After 100 us: C 100, E 200 (srTCM: E 0).
    mode("TrTcmDs",
         {bcmPolicerModeTrTcmDs, BCM_POLICER_COLOR_BLIND, kByteAMicrosecond, 8,
          2 * kByteAMicrosecond, 4},
         "GYRYGR", {{0, 1000}, {0, 500}, {0, 1}, {100, 150}, {100, 100}, {100, 51}}),
    // Green or red; the incoming colour does not matter.
    mode("Committed", kCommitted, "GRRG", {{0, 1000, kRed}, {0, 1}, {500, 501}, {500, 500}}),
    // 1000 packets/s, 2 packets: the third is red, and so is one just before the next is earned.
    mode("CommittedInPackets", {bcmPolicerModeCommitted, BCM_POLICER_MODE_PACKETS, 1000, 2, 0, 0},
         "GGRRG", {{0, 9000}, {0, 9000}, {0, 64}, {999, 64}, {1000, 9000}}),
    // Colour aware: a yellow packet pays from EBS only, a red one stays red.
    mode("SrTcmColourAware", {bcmPolicerModeSrTcm, 0, kByteAMicrosecond, 8, 0, 4}, "YGRRG",
         {{0, 100, kYellow}, {0, 100}, {0, 100, kRed}, {0, 500, kYellow}, {0, 900}}),
    // Colour aware: a yellow packet pays from PBS only, so the green one after it is green.
    mode("TrTcmColourAware",
         {bcmPolicerModeTrTcm, 0, kByteAMicrosecond, 8, 2 * kByteAMicrosecond, 16}, "YGR",
         {{0, 1000, kYellow}, {0, 1000}, {0, 1}}),
};

TEST_F(Metering, EachModeColoursArrivalsByItsBuckets) {
  for (const ModeCase& c : kModeCases) {
    SetUp();
    entry(1, 1, {policer(c.config)});
    EXPECT_EQ(colours(c.arrivals), c.expected) << c.name;
  }
}

TEST_F(Metering, TheParentLevelMetersEveryPacketAndTheWorseColourWins) {
  // Level 0: one bucket of 1000 B. Level 1: CBS 500 B, PBS 2000 B; 400 B packets at one time.
  // Child G G R G, parent G Y Y Y.
  const bcm_policer_t parent = policer(
      {bcmPolicerModeTrTcm, BCM_POLICER_COLOR_BLIND, kByteAMicrosecond, 4, kByteAMicrosecond, 16});
  entry(1, 1, {policer(kCommitted), parent});
  EXPECT_EQ(colours({{0, 400}, {0, 400}, {0, 400}, {0, 200}}), "GYRY");
}

TEST_F(Metering, APolicerSharedByTwoHitEntriesMetersEachHit) {
  const bcm_policer_t shared = policer(kCommitted);
  entry(1, 1, {shared});
  entry(2, 2, {shared});
  const auto hits = bcmsim::classify(packet(0, 600)).hits;
  ASSERT_EQ(hits.size(), 2u);
  EXPECT_EQ((std::string{letter(hits[0].metered), letter(hits[1].metered)}), "GR");
}

TEST_F(Metering, SettingThePolicerAgainRefillsItsBuckets) {
  const bcm_policer_t id = policer(kCommitted);
  entry(1, 1, {id});
  EXPECT_EQ(colours({{0, 1000}, {0, 1000}}), "GR");
  bcm_policer_config_t same;
  ASSERT_EQ(bcm_policer_get(0, id, &same), 0);
  ASSERT_EQ(bcm_policer_set(0, id, &same), 0);
  EXPECT_EQ(colours({{0, 1000}, {0, 1000}}), "GR");
}

TEST_F(Metering, AMillionPacketsAtTheExactRateNeitherGainNorLoseATokenFraction) {
  // 3 kbit/s earns a 1-kbit (125 B) packet every 333333333.3 ns: packet k is due at
  // ceil(k * 1e9 / 3). CBS holds two packets, so the bucket never caps what it earns; after
  // the million, it holds a 2-kbit packet from the moment that is due, and not 1 ns before.
  entry(1, 1, {policer({bcmPolicerModeCommitted, 0, 3, 2, 0, 0})});
  constexpr uint64_t kPackets = 1'000'000;
  auto due = [](uint64_t k) { return (k * 1'000'000'000 + 2) / 3; };
  auto colour = [](uint64_t ns, uint32_t bytes) {
    return bcmsim::classify(packet(ns, bytes)).hits.at(0).metered;
  };
  uint64_t green = 0;
  for (uint64_t k = 0; k < kPackets; ++k) green += colour(due(k), 125) == Color::Green;
  EXPECT_EQ(green, kPackets);
  EXPECT_EQ(colour(due(kPackets) - 1, 250), kRed);
  EXPECT_EQ(colour(due(kPackets), 250), Color::Green);
}

// trTCM, colour blind: 1000 B, 1000 B, 100 B at one time are G, Y, R. Packets without an arrival
// time are not metered: their own colour applies and no bucket pays for them.
TEST_F(Metering, TheMeteredColourOrElseThePacketsOwnRulesActionsAndStatistics) {
  entry(
      1, 1, {policer(kTrTcm)},
      {{bcmFieldActionGpPrioIntNew, 3}, {bcmFieldActionYpDscpNew, 10}, {bcmFieldActionRpDrop, 0}});
  bcm_field_stat_t types[] = {bcmFieldStatGreenPackets, bcmFieldStatYellowPackets,
                              bcmFieldStatRedBytes, bcmFieldStatNotRedBytes, bcmFieldStatPackets};
  int stat = 0;
  ASSERT_EQ(bcm_field_stat_create(0, 1, 5, types, &stat), 0);
  ASSERT_EQ(bcm_field_entry_stat_attach(0, 1, stat), 0);
  ASSERT_EQ(bcm_field_entry_reinstall(0, 1), 0);
  Packet unmetered;
  unmetered.length = 1000;
  unmetered.color = kYellow;
  for (int i = 0; i < 3; ++i) {
    const auto result = bcmsim::classify(unmetered);
    EXPECT_FALSE(result.hits.at(0).metered);
    EXPECT_EQ(result.verdict.dscp, 10);
  }
  const auto green = bcmsim::classify(packet(0, 1000, kRed)).verdict;
  const auto yellow = bcmsim::classify(packet(0, 1000, kRed)).verdict;
  const auto red = bcmsim::classify(packet(0, 100)).verdict;
  EXPECT_EQ(green.internal_priority, 3);
  EXPECT_FALSE(green.drop);
  EXPECT_EQ(yellow.dscp, 10);
  EXPECT_FALSE(yellow.internal_priority);
  EXPECT_TRUE(red.drop);
  EXPECT_EQ(bcmsim::state().stat(stat)->values, (std::vector<uint64_t>{1, 4, 100, 5000, 6}));
}

}  // namespace
