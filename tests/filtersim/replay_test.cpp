// A capture written with libpcap replays through a scenario: hits per user and hardware entry,
// verdict totals, counters (bytes from the frames' wire lengths) and the packets that hit nothing.
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "runner.h"
#include "step_stream.h"
#include "yaml_reader.h"
#include "support/capture_frames.h"

namespace {

using capture_frames::Frame;
using capture_frames::kDocumentationHost;
namespace fs = std::filesystem;

constexpr char kScenario[] = R"(switch: {ports: 8}
steps:
  - create_group:
      stage: pre-ingress
      id: 1
      priority: 0
      type: 6
      entries:
        - {id: 10, priority: 1, match: {outer_vlan: 100, inner_vlan: 200}, actions: [{set_pcp: 3}],
           counters: [{id: 5, type: packets}]}
  - create_group:
      stage: ingress
      id: 2
      priority: 4
      type: 3
      entries:
        - {id: 1, priority: 1, match: {ip_protocol: tcp, dst_l4_port: 80}, actions: [drop],
           counters: [{id: 1, type: packets}, {id: 2, type: bytes}]}
        - {id: 2, priority: 2, match: {ip_protocol: udp}, actions: [copy_to_cpu],
           counters: [{id: 3, type: packets}]}
        - {id: 3, priority: 3, match: {ip_protocol: icmp}, actions: [drop],
           counters: [{id: 4, type: packets}]}
  - create_group:
      stage: ingress
      id: 3
      priority: 3
      type: 8
      entries:
        - {id: 20, priority: 1, match: {dst_ipv6: "2001:db8::/32"}, actions: [drop],
           counters: [{id: 6, type: packets}]}
  - packets: {pcap: capture.pcap, in_port: eth3}
)";

void writeCapture(const std::string& path) {
  capture_frames::CaptureWriter capture(path);
  const uint64_t second = 1000000000;
  capture.write(Frame().tag(0x8100, 10, 0).ipv4(1, 2, capture_frames::kTcp).ports(1000, 80).bytes(),
                second, SIZE_MAX, 100);
  // Captured in part: the bytes counter counts its length on the wire.
  capture.write(Frame().ipv4(1, 2, capture_frames::kTcp).ports(1000, 80).bytes(), 2 * second, 60,
                1500);
  capture.write(Frame().ipv4(1, 2, capture_frames::kUdp).ports(53, 53).bytes(), 3 * second);
  capture.write(Frame().ipv4(1, 2, capture_frames::kIcmp).l4({8, 0, 0, 0}).bytes(), 4 * second);
  capture.write(Frame()
                    .tag(0x88a8, 100, 0)
                    .tag(0x8100, 200, 0)
                    .ipv4(1, 2, capture_frames::kTcp)
                    .ports(1000, 22)
                    .bytes(),
                5 * second);
  capture.write(Frame().ipv6(kDocumentationHost, capture_frames::kTcp).ports(1000, 443).bytes(),
                6 * second);
  capture.write(Frame().bytes(), 7 * second, 10);  // too short for an Ethernet type
  capture.write(Frame().etherType(0x0806).bytes(), 8 * second);
}

// Keeps the replay step's outcome.
class ReplaySink : public filtersim::RunSink {
 public:
  void start(const filtersim::RunResult&) override {}
  void step(size_t, const filtersim::StepOutcome& step) override {
    if (step.replay) replay = *step.replay;
  }
  void finish(const filtersim::RunResult&) override {}

  std::optional<filtersim::ReplaySummary> replay;
};

// Runs `text` from a folder where `write` wrote capture.pcap, with the capture's replay
// appended as the command line asks for it when `in_port` is given; the replay step's outcome.
// One scenario per process: each test case runs in its own.
filtersim::ReplaySummary replayed(const char* name, const char* text,
                                  void (*write)(const std::string& path),
                                  const char* in_port = nullptr) {
  const fs::path dir = fs::path(::testing::TempDir()) / name;
  fs::create_directories(dir);
  write((dir / "capture.pcap").string());
  filtersim::ScenarioStream scenario(text, (dir / "replay.yaml").string());
  if (in_port) scenario.appendReplay((dir / "capture.pcap").string(), in_port);
  ReplaySink sink;
  filtersim::runScenario(scenario, {}, sink);
  if (!sink.replay) throw std::runtime_error("no replay step ran");
  return *sink.replay;
}

TEST(Replay, CountsWhatEveryFrameMet) {
  const filtersim::ReplaySummary replay = replayed("filtersim_replay", kScenario, writeCapture);

  EXPECT_EQ(replay.packets, 8u);
  EXPECT_EQ(replay.verdicts, (std::map<std::string, uint64_t>{{"dropped", 4}, {"forwarded", 4}}));
  std::map<std::string, uint64_t> user_hits;
  for (const filtersim::UserEntryHits& hits : replay.user_entries) {
    user_hits[filtersim::stageName(hits.stage) + " " + std::to_string(hits.group) + "/" +
              std::to_string(hits.entry)] = hits.packets;
  }
  EXPECT_EQ(user_hits, (std::map<std::string, uint64_t>{{"pre-ingress 1/10", 1},
                                                        {"ingress 2/1", 2},
                                                        {"ingress 2/2", 1},
                                                        {"ingress 2/3", 1},
                                                        {"ingress 3/20", 1}}));
  uint64_t hw_hits = 0;
  for (const filtersim::HwEntryHits& hits : replay.hw_entries) hw_hits += hits.packets;
  EXPECT_EQ(hw_hits, 6u);
  EXPECT_EQ(replay.counters, (std::map<unsigned short, std::optional<uint64_t>>{
                                 {1, 2}, {2, 1600}, {3, 1}, {4, 1}, {5, 1}, {6, 1}}));
  EXPECT_EQ(replay.missed, 2u);
  ASSERT_EQ(replay.first_misses.size(), 2u);
  EXPECT_EQ(replay.first_misses[0].number, 7u);
  EXPECT_EQ(replay.first_misses[0].packet.ether_type, 0);
  EXPECT_EQ(replay.first_misses[1].packet.ether_type, 0x0806);
  EXPECT_EQ(replay.first_misses[1].packet.in_port, 3);
  EXPECT_FALSE(replay.first_misses[1].explanation.empty());
}

constexpr char kPolicedScenario[] = R"(switch: {ports: 8}
steps:
  - create_group:
      stage: ingress
      id: 2
      priority: 4
      type: 3
      entries:
        - id: 1
          match: {ip_protocol: udp}
          counters: [{id: 1, type: packets}]
          policer:
            id: 100
            stage: ingress
            mode: {type: tr-tcm, cir: 8, cbs: 1000, pir: 16, pbs: 2000}
            actions: [{color: red, drop: true}, {color: yellow, set_dscp: 8}]
)";

// Packets of 500 bytes at 1,000 bytes/s committed and 2,000 bytes/s peak, buckets of 1,000 and
// 2,000 bytes that start full: six at one instant take the committed bucket in two (green),
// the rest of the peak bucket in two (yellow), then find both empty (red); one ten seconds later
// finds them full again.
void writeBurst(const std::string& path) {
  capture_frames::CaptureWriter capture(path);
  const std::vector<uint8_t> frame = Frame().ipv4(1, 2, capture_frames::kUdp).ports(9, 9).bytes();
  const uint64_t start = 1000000000;
  for (int k = 0; k < 6; ++k) capture.write(frame, start, SIZE_MAX, 500);
  capture.write(frame, start + 10000000000u, SIZE_MAX, 500);
}

// Replayed as --pcap asks, after the scenario's steps.
TEST(Replay, CountsThePolicersColours) {
  const filtersim::ReplaySummary replay =
      replayed("filtersim_replay_policed", kPolicedScenario, writeBurst, "eth2");
  ASSERT_EQ(replay.policers.size(), 1u);
  const filtersim::PolicerColours& policer = replay.policers.front();
  EXPECT_EQ(policer.packets, (std::array<uint64_t, 3>{3, 2, 2}));
  EXPECT_EQ(policer.actions, (std::map<std::string, uint64_t>{{"RpDrop", 2}, {"YpDscpNew", 2}}));
  EXPECT_EQ(replay.verdicts, (std::map<std::string, uint64_t>{{"dropped", 2}, {"forwarded", 5}}));
  EXPECT_EQ(replay.counters.at(1), 7u);
  EXPECT_EQ(replay.packets, 7u);
}

void writeCutShort(const std::string& path) {
  writeBurst(path);
  fs::resize_file(path, fs::file_size(path) - 10);
}

// The packets before the cut are counted, and the step fails with libpcap's reason.
TEST(Replay, ACaptureCutShortCountsWhatItReadAndSaysWhy) {
  const filtersim::ReplaySummary replay =
      replayed("filtersim_replay_cut", kPolicedScenario, writeCutShort, "eth2");
  EXPECT_EQ(replay.packets, 6u);
  ASSERT_TRUE(replay.damage);
  EXPECT_NE(replay.damage->find("truncated dump file"), std::string::npos) << *replay.damage;
}

// A capture that cannot be replayed is refused with the scenario's place and libpcap's reason
// before any step runs; so is a header field, which the frames give.
TEST(Replay, RefusesWhatItCannotReplay) {
  const fs::path dir = fs::path(::testing::TempDir()) / "filtersim_refusals";
  fs::create_directories(dir);
  std::ofstream(dir / "text.pcap") << "not a capture\n";
  { capture_frames::CaptureWriter raw((dir / "raw.pcap").string(), DLT_RAW); }
  const auto path = [&](const char* name) { return (dir / name).string(); };
  const std::string place = path("s.yaml") + ":2:21: ";
  const struct {
    const char* step;
    std::string error;
  } rows[] = {
      // clang-format off
      {"{pcap: missing.pcap}", place + "cannot replay " + path("missing.pcap") + ": " + path("missing.pcap") + ": No such file or directory"},
      {"{pcap: text.pcap}", place + "cannot replay " + path("text.pcap") + ": unknown file format"},
      {"{pcap: raw.pcap}", place + "cannot replay " + path("raw.pcap") + ": the capture's link type is RAW, not Ethernet (EN10MB)"},
      {"{pcap: raw.pcap, vlan: 10}", path("s.yaml") + ":2:31: unknown key 'vlan' in packets (known: pcap, in_port, out_port, packet_res, "
                                     "stp_state, forwarding_type, vrf, l3_routable, my_station_hit, drop, l2_src_static, "
                                     "mpls_terminated, interface_class, virtual_port, int_priority)"},
      // clang-format on
  };
  for (const auto& row : rows) {
    try {
      const filtersim::ScenarioStream refused(
          std::string("steps:\n  - packets: ") + row.step + "\n", (dir / "s.yaml").string());
      ADD_FAILURE() << row.step << " loaded";
    } catch (const filtersim::LoadError& error) {
      EXPECT_EQ(std::string(error.what()), row.error);
    }
  }
}

}  // namespace
