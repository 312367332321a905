// A capture written with libpcap replays through a scenario: hits per user and hardware entry,
// verdict totals, counters (bytes from the frames' wire lengths) and the packets that hit nothing.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "capture_reader.h"
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
  // A wire length below the captured one: counted at the captured length.
  capture.write(Frame().ipv4(1, 2, capture_frames::kTcp).ports(1000, 80).bytes(), 9 * second,
                SIZE_MAX, 0, /*wire_zero=*/true);
}

// Keeps the replay steps' outcomes.
class ReplaySink : public filtersim::RunSink {
 public:
  void start(const filtersim::RunResult&) override {}
  void step(size_t, const filtersim::StepOutcome& step) override {
    if (step.replay) replays.push_back(*step.replay);
  }
  void finish(const filtersim::RunResult&) override {}

  std::vector<filtersim::ReplaySummary> replays;
};

// Runs `text` from a folder where `write` wrote capture.pcap, with the capture's replay at
// `appended` (capture.pcap when empty) added as the command line asks for it when `in_port` is
// given; the replay steps' outcomes. One scenario per process: each test case runs in its own.
std::vector<filtersim::ReplaySummary> replays(const char* name, const std::string& text,
                                              void (*write)(const std::string& path),
                                              const char* in_port = nullptr,
                                              std::string appended = "") {
  const fs::path dir = fs::path(::testing::TempDir()) / name;
  fs::create_directories(dir);
  write((dir / "capture.pcap").string());
  filtersim::ScenarioStream scenario(text, (dir / "replay.yaml").string());
  if (appended.empty()) appended = (dir / "capture.pcap").string();
  if (in_port) scenario.appendReplay({{appended, in_port, ""}});
  ReplaySink sink;
  filtersim::runScenario(scenario, {}, sink);
  if (sink.replays.empty()) throw std::runtime_error("no replay step ran");
  return sink.replays;
}

filtersim::ReplaySummary replayed(const char* name, const std::string& text,
                                  void (*write)(const std::string& path),
                                  const char* in_port = nullptr) {
  return replays(name, text, write, in_port).back();
}

TEST(Replay, CountsWhatEveryFrameMet) {
  const filtersim::ReplaySummary replay = replayed("filtersim_replay", kScenario, writeCapture);

  EXPECT_EQ(replay.packets, 9u);
  EXPECT_EQ(replay.verdicts, (std::map<std::string, uint64_t>{{"dropped", 5}, {"forwarded", 4}}));
  EXPECT_EQ(replay.short_records, 1u);
  EXPECT_EQ(replay.long_gaps, 0u);
  std::map<std::string, uint64_t> user_hits;
  for (const filtersim::UserEntryHits& hits : replay.user_entries) {
    user_hits[filtersim::stageName(hits.stage) + " " + std::to_string(hits.group) + "/" +
              std::to_string(hits.entry)] = hits.packets;
  }
  EXPECT_EQ(user_hits, (std::map<std::string, uint64_t>{{"pre-ingress 1/10", 1},
                                                        {"ingress 2/1", 3},
                                                        {"ingress 2/2", 1},
                                                        {"ingress 2/3", 1},
                                                        {"ingress 3/20", 1}}));
  uint64_t hw_hits = 0;
  for (const filtersim::HwEntryHits& hits : replay.hw_entries) hw_hits += hits.packets;
  EXPECT_EQ(hw_hits, 7u);
  // 100 and 1500 bytes on the wire, then the 60 bytes of the record that gives 0.
  EXPECT_EQ(replay.counters, (std::map<unsigned short, std::optional<uint64_t>>{
                                 {1, 3}, {2, 1660}, {3, 1}, {4, 1}, {5, 1}, {6, 1}}));
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

// 1,000-byte packets against the policer above: one a second keeps to the committed rate, so
// each is green when a second has passed since the one before; with no time passed the
// committed bucket is empty and the peak one holds one more (yellow).
struct ClockRow {
  const char* name;
  std::vector<uint64_t> stamps;                  // of the frames, in ms
  size_t steps;                                  // packets steps replaying the capture
  std::vector<std::array<uint64_t, 3>> colours;  // per step: green, yellow, red
  uint64_t backward;
  uint64_t long_gaps;
};

void PrintTo(const ClockRow& row, std::ostream* out) {
  *out << row.name;
}

constexpr uint64_t kYear2106Ms = 4294967040000;  // the last minutes of 32-bit pcap seconds

const std::vector<uint64_t>* g_stamps = nullptr;

void writeStamped(const std::string& path) {
  capture_frames::CaptureWriter capture(path);
  const std::vector<uint8_t> frame = Frame().ipv4(1, 2, capture_frames::kUdp).ports(9, 9).bytes();
  for (uint64_t ms : *g_stamps) capture.write(frame, ms * 1000000, SIZE_MAX, 1000);
}

class ReplayClock : public ::testing::TestWithParam<ClockRow> {};

TEST_P(ReplayClock, MetersByTheGapsBetweenFrames) {
  const ClockRow& row = GetParam();
  g_stamps = &row.stamps;
  std::string text = kPolicedScenario;
  for (size_t step = 0; step < row.steps; ++step) text += "  - packets: {pcap: capture.pcap}\n";
  const std::vector<filtersim::ReplaySummary> steps =
      replays((std::string("filtersim_clock_") + row.name).c_str(), text, writeStamped);
  ASSERT_EQ(steps.size(), row.colours.size());
  for (size_t step = 0; step < steps.size(); ++step) {
    ASSERT_EQ(steps[step].policers.size(), 1u);
    EXPECT_EQ(steps[step].policers.front().packets, row.colours[step]) << "step " << step;
    EXPECT_EQ(steps[step].backward_steps, row.backward);
    EXPECT_EQ(steps[step].long_gaps, row.long_gaps);
    EXPECT_EQ(steps[step].warnings.size(), size_t{row.backward > 0} + size_t{row.long_gaps > 0});
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, ReplayClock,
    ::testing::Values(
        // G G; the 2106 frame finds full buckets (G); the next steps back, no time: Y; then a
        // second each: G G.
        ClockRow{"FarFutureStamp", {1000, 2000, kYear2106Ms, 3000, 4000, 5000}, 1, {{5, 1, 0}}, 1, 1},
        // G G; back half a second, no time: Y; a second later: G.
        ClockRow{"BackwardStamp", {1000, 2000, 1500, 2500}, 1, {{3, 1, 0}}, 1, 0},
        // The second replay's first packet comes a second (the capture's first gap) after the
        // first replay's last: green throughout.
        ClockRow{"RepeatedReplay", {1000, 2000, 3000}, 2, {{3, 0, 0}, {3, 0, 0}}, 0, 0},
        // G Y G G; a first gap of none: the second replay's first two packets meet the buckets
        // the first replay's last left with no time passed (Y R), the rest a second apart (G G).
        ClockRow{"RepeatedBurstStart", {1000, 1000, 2000, 3000}, 2, {{3, 1, 0}, {2, 1, 1}}, 0, 0}));
// clang-format on

// Pours a file's bytes into the descriptor `open` gives, on a thread, then closes it: the writer
// end of a pipe.
std::thread pour(const std::string& file, std::function<int()> open) {
  return std::thread([file, open] {
    const int fd = open();
    std::ifstream in(file, std::ios::binary);
    std::array<char, 512> chunk;
    while (in.read(chunk.data(), chunk.size()) || in.gcount() > 0) {
      if (::write(fd, chunk.data(), static_cast<size_t>(in.gcount())) < 0) break;
    }
    ::close(fd);
  });
}

// A capture read from a FIFO, named by two steps, and from standard input as --pcap - gives it,
// replays as the file does (CountsThePolicersColours); the stream is read once and spooled.
TEST(Replay, ReadsCapturesFromPipes) {
  const fs::path dir = fs::path(::testing::TempDir()) / "filtersim_replay_pipes";
  fs::create_directories(dir);
  const std::string file = (dir / "burst.pcap").string();
  writeBurst(file);
  const std::string fifo = (dir / "burst.fifo").string();
  fs::remove(fifo);
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::thread fifo_writer = pour(file, [fifo] { return ::open(fifo.c_str(), O_WRONLY); });
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::dup2(ends[0], STDIN_FILENO), STDIN_FILENO);
  ::close(ends[0]);
  std::thread stdin_writer = pour(file, [ends] { return ends[1]; });

  std::string text = kPolicedScenario;
  text += "  - packets: {pcap: burst.fifo}\n  - packets: {pcap: burst.fifo}\n";
  filtersim::ScenarioStream scenario(text, (dir / "s.yaml").string());
  scenario.appendReplay({{"/dev/stdin", "eth2", ""}});  // what filtersim --pcap - asks for
  ReplaySink sink;
  filtersim::runScenario(scenario, {}, sink);
  fifo_writer.join();
  stdin_writer.join();

  ASSERT_EQ(sink.replays.size(), 3u);
  EXPECT_EQ(sink.replays[0].policers.at(0).packets, (std::array<uint64_t, 3>{3, 2, 2}));
  for (const filtersim::ReplaySummary& replay : sink.replays) {
    EXPECT_EQ(replay.packets, 7u) << replay.capture;
    EXPECT_FALSE(replay.damage) << *replay.damage;
  }
  // "-" is standard input, already read: the same seven frames again.
  filtersim::CaptureReader again("-");
  filtersim::CapturedFrame frame{};
  size_t frames = 0;
  while (again.next(frame)) ++frames;
  EXPECT_EQ(frames, 7u);
}

// An egress entry sees the replayed packets only on the out-port the command line names.
TEST(Replay, SendsTheCapturesPacketsToTheOutPortTheCommandLineNames) {
  const fs::path dir = fs::path(::testing::TempDir()) / "filtersim_replay_out_port";
  fs::create_directories(dir);
  const std::string file = (dir / "burst.pcap").string();
  writeBurst(file);
  const std::string text = R"(switch: {ports: 8}
steps:
  - create_group:
      stage: egress
      id: 1
      type: 5
      entries:
        - {id: 1, match: {egress_ports: [eth5]}, actions: [drop], counters: [{id: 1, type: packets}]}
)";
  filtersim::ScenarioStream scenario(text, (dir / "s.yaml").string());
  scenario.appendReplay({{file, "eth1", "eth5"}});
  scenario.appendReplay({{file, "eth1", "eth6"}});
  scenario.appendReplay({{file, "eth1", ""}});
  ReplaySink sink;
  filtersim::runScenario(scenario, {}, sink);
  ASSERT_EQ(sink.replays.size(), 3u);
  EXPECT_EQ(sink.replays[0].verdicts, (std::map<std::string, uint64_t>{{"dropped", 7}}));
  EXPECT_EQ(sink.replays[1].verdicts, (std::map<std::string, uint64_t>{{"forwarded", 7}}));
  EXPECT_EQ(sink.replays[2].verdicts, (std::map<std::string, uint64_t>{{"forwarded", 7}}));
}

// Two customers, each with a generous policer of its own that drops what comes out red, under one
// parent that refills 1,000 bytes a millisecond into a bucket of 1,000 bytes.
constexpr char kTwoCustomers[] = R"(switch: {ports: 8}
steps:
  - create_group:
      stage: ingress
      id: 0
      type: 9
      entries:
        - id: 1
          match: {ingress_ports: [eth1]}
          policer: {id: 11, stage: ingress, mode: {type: flow, cir: 80000, cbs: 100000},
                    actions: [{color: red, drop: true}]}
          parent_policer: &parent {id: 1, stage: ingress, mode: {type: flow, cir: 8000, cbs: 1000}}
        - id: 2
          match: {ingress_ports: [eth2]}
          policer: {id: 12, stage: ingress, mode: {type: flow, cir: 80000, cbs: 100000},
                    actions: [{color: red, drop: true}]}
          parent_policer: *parent
)";

// Ten 1,000-byte frames a millisecond apart, the first `offset_us` after a second.
void writeCustomer(const std::string& path, uint64_t offset_us) {
  capture_frames::CaptureWriter capture(path);
  const std::vector<uint8_t> frame = Frame().ipv4(1, 2, capture_frames::kUdp).ports(9, 9).bytes();
  for (uint64_t ms = 0; ms < 10; ++ms) {
    capture.write(frame, 1000000000 + ms * 1000000 + offset_us * 1000, SIZE_MAX, 1000);
  }
}

// Merged, the customers' frames reach the parent half a millisecond apart: the first customer's
// find a full bucket (green), the second's half of one (red: their entry's colour, so dropped).
// Replayed one after the other, each customer alone keeps to the parent's rate.
TEST(Replay, MergesTheCapturesOfSeveralPortsInTimestampOrder) {
  const fs::path dir = fs::path(::testing::TempDir()) / "filtersim_replay_merged";
  fs::create_directories(dir);
  writeCustomer((dir / "a.pcap").string(), 0);
  writeCustomer((dir / "b.pcap").string(), 500);
  std::string text = kTwoCustomers;
  // Given in the other order: the timestamps decide, not the list.
  text += "  - packets: [{pcap: b.pcap, in_port: eth2}, {pcap: a.pcap, in_port: eth1}]\n";
  filtersim::ScenarioStream scenario(text, (dir / "s.yaml").string());
  scenario.appendReplay({{(dir / "a.pcap").string(), "eth1", ""}});
  scenario.appendReplay({{(dir / "b.pcap").string(), "eth2", ""}});
  ReplaySink sink;
  filtersim::runScenario(scenario, {}, sink);
  ASSERT_EQ(sink.replays.size(), 3u);

  const auto colours = [](const filtersim::ReplaySummary& replay) {
    std::map<int, std::pair<std::set<int>, std::array<uint64_t, 3>>> by_policer;
    for (const auto& policer : replay.policers) by_policer[policer.id] = {policer.levels, policer.packets};
    return by_policer;
  };
  const filtersim::ReplaySummary& merged = sink.replays[0];
  EXPECT_EQ(merged.packets, 20u);
  EXPECT_EQ(merged.verdicts, (std::map<std::string, uint64_t>{{"dropped", 10}, {"forwarded", 10}}));
  using Levels = std::pair<std::set<int>, std::array<uint64_t, 3>>;
  EXPECT_EQ(colours(merged), (std::map<int, Levels>{{1, {{1}, {10, 0, 10}}},
                                                    {11, {{0}, {10, 0, 0}}},
                                                    {12, {{0}, {10, 0, 0}}}}));
  for (size_t alone = 1; alone < 3; ++alone) {
    EXPECT_EQ(sink.replays[alone].verdicts, (std::map<std::string, uint64_t>{{"forwarded", 10}}));
    EXPECT_EQ(colours(sink.replays[alone]).at(1), (Levels{{1}, {10, 0, 0}}));
  }
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
