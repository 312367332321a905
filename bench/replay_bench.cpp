// Capture replay on a full device: read, parse, classify and count, beside classification alone
// of the same packets; and the peak memory of a replay at two capture sizes.
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include <benchmark/benchmark.h>

#include "bench_support.h"
#include "capture_reader.h"
#include "five_tuple_acl.h"
#include "frame_parser.h"
#include "replay.h"
#include "support/capture_frames.h"

namespace {

using namespace bench_support;
using capture_frames::Frame;

constexpr int kInPort = 16;  // in every ingress entry's port range
constexpr int kOutPort = 1;

// Packet `n` of the capture: by turns one for a pre-ingress entry, one for an ingress entry, one
// for the egress entries, one for nothing; tagged once or twice or not, over TCP, UDP or IPv6.
std::vector<uint8_t> frameNumber(uint64_t n) {
  const auto group = static_cast<uint8_t>(n / 4 % 16);
  const auto entry = static_cast<uint8_t>(n / 64 % 16);
  const auto vlan = static_cast<uint16_t>(16 * entry + 1 + n / 256 % 16);
  const uint8_t protocol = n % 3 ? capture_frames::kTcp : capture_frames::kUdp;
  Frame frame;
  frame.macs({2, 0, 0, 0, 0, 2}, {2, 0, 0, 0, 0xff, 0xff});  // no pre-ingress entry's
  switch (n % 4) {
    case 0:  // pre-ingress group `group % 4`, entry `entry`
      frame.macs({2, 0, 0, 0, 0, 2}, {2, 0, 0, 0, static_cast<uint8_t>(group % 4), entry});
      frame.tag(0x8100, vlan, 0).ipv4(0x0b000001, 0x0b000002, protocol).ports(1024, 80);
      break;
    case 1:  // ingress group `group`, entry `entry`
      frame.tag(0x88a8, vlan, 1).tag(0x8100, 7, 0);
      frame.ipv4(0x0a000000u | uint32_t{group} << 8 | entry, 0x0b000002, protocol).ports(53, 53);
      break;
    case 2:  // the egress entries of port 1
      frame.tag(0x8100, static_cast<uint16_t>(1 + n / 64 % 16), 5);
      frame.ipv6({0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, group}, protocol)
          .ports(4000, 443);
      break;
    default:  // no entry: a VLAN none uses
      frame.tag(0x8100, 4000, 0).ipv4(0x0c000001, 0x0c000002, protocol).ports(1, 2);
  }
  return frame.bytes();
}

// Packet `n` of the five-tuple ACL's traffic: seven in eight drawn from a rule (addresses in its
// prefixes, ports in its pairs), the eighth at random.
std::vector<uint8_t> aclFrameNumber(uint64_t n) {
  static const std::vector<AclRule> rules = fiveTupleRules(1);
  std::mt19937_64 rng(n);
  AclRule rule = rules[rng() % rules.size()];
  if (n % 8 == 7) rule = AclRule{0, 0, 0, 0, 0, 0, 0, 0, 0};
  const auto within = [&rng](uint32_t value, uint32_t mask) {
    return (value & mask) | (static_cast<uint32_t>(rng()) & ~mask);
  };
  const uint8_t protocol = rule.protocol ? rule.protocol : (rng() % 2 ? capture_frames::kTcp : capture_frames::kUdp);
  return Frame()
      .ipv4(within(rule.src, rule.src_mask), within(rule.dst, rule.dst_mask), protocol)
      .ports(static_cast<uint16_t>(within(rule.src_port, rule.src_port_mask)),
             static_cast<uint16_t>(within(rule.dst_port, rule.dst_port_mask)))
      .bytes();
}

// Captures written for this run, removed at its end.
struct WrittenCaptures {
  ~WrittenCaptures() {
    for (const auto& [name, path] : paths) std::filesystem::remove(path);
  }
  std::map<std::string, std::string> paths;
};

// The capture of `packets` frames, 1 µs apart, frame `n` being `frame(n)`; written once per run.
std::string capture(const std::string& name, uint64_t packets,
                    std::vector<uint8_t> (*frame)(uint64_t)) {
  static WrittenCaptures written;
  const std::string key = name + "_" + std::to_string(packets);
  if (auto found = written.paths.find(key); found != written.paths.end()) return found->second;
  const std::string path =
      (std::filesystem::temp_directory_path() / ("filters_bench_" + key + ".pcap")).string();
  {
    capture_frames::CaptureWriter writer(path);
    for (uint64_t n = 0; n < packets; ++n) writer.write(frame(n), 1000000000 + n * 1000);
  }
  return written.paths[key] = path;
}

// The machine is shared: rates are per second of this thread's CPU time.
double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bcmsim::Packet defaults() {
  bcmsim::Packet packet;
  packet.in_port = kInPort;
  packet.out_port = kOutPort;
  return packet;
}

filtersim::ReplaySummary replay(const std::string& path, int threads) {
  return filtersim::replayCaptures(filtersim::ReplayCapture{{{path, defaults()}}}, {},
                                   [](unsigned short) { return std::optional<uint64_t>(); },
                                   threads);
}

double wallSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Classification alone of the capture's packets, read and parsed ahead in chunks outside the
// timing, by `classify` (lookups, meters, actions and counters) or by the lookups alone; seconds
// of CPU time.
template <class Classify>
double classificationSeconds(const std::string& path, Classify classify) {
  constexpr size_t kChunk = 10000;
  filtersim::CaptureReader reader(path);
  std::vector<bcmsim::Packet> chunk;
  chunk.reserve(kChunk);
  filtersim::CapturedFrame frame{};
  double spent = 0;
  bool more = true;
  while (more) {
    chunk.clear();
    while (chunk.size() < kChunk && (more = reader.next(frame))) {
      bcmsim::Packet packet = defaults();
      filtersim::parseFrame(frame.data, frame.captured, packet);
      packet.length = frame.length;
      packet.arrival_ns = frame.timestamp_ns;
      chunk.push_back(packet);
    }
    const double start = cpuSeconds();
    for (const bcmsim::Packet& packet : chunk) benchmark::DoNotOptimize(classify(packet));
    spent += cpuSeconds() - start;
  }
  return spent;
}

// One iteration replays the whole capture end to end, with the plain lookup or the compiled one,
// on one thread or more; the counters give packets per second end to end (CPU time of this
// thread, and wall-clock time, which counts what the other threads did) and for classification
// alone, and their ratio; for the compiled lookup, the time to build every group's and the bytes
// they take. The device is loaded.
void measureReplay(benchmark::State& state, const std::string& path, uint64_t packets) {
  const bool compiled = state.range(1) != 0;
  const int threads = static_cast<int>(state.range(2));
  bcmsim::set_lookup_method(compiled ? bcmsim::LookupMethod::Compiled : bcmsim::LookupMethod::Plain);
  const double build_start = cpuSeconds();
  bcmsim::prepare_lookups();
  state.counters["build_ms"] = benchmark::Counter((cpuSeconds() - build_start) * 1e3);
  state.counters["lookup_kib"] = benchmark::Counter(
      compiled ? static_cast<double>(bcmsim::compiled_lookup_bytes()) / 1024 : 0);
  double replay_seconds = 0;
  double wall_seconds = 0;
  uint64_t hits = 0;
  for (auto _ : state) {
    const double start = cpuSeconds();
    const double wall_start = wallSeconds();
    const filtersim::ReplaySummary summary = replay(path, threads);
    replay_seconds += cpuSeconds() - start;
    wall_seconds += wallSeconds() - wall_start;
    for (const auto& hw : summary.hw_entries) hits += hw.packets;
    if (summary.packets != packets) state.SkipWithError("the capture was not read whole");
  }
  const double classify_seconds = classificationSeconds(path, bcmsim::classify);
  bcmsim::Matches matches;
  const double match_seconds = classificationSeconds(path, [&matches](const bcmsim::Packet& packet) {
    bcmsim::match(packet, matches);
    return matches.stages[0].size();
  });
  const double replayed = static_cast<double>(packets * state.iterations());
  state.SetItemsProcessed(static_cast<int64_t>(replayed));
  state.counters["replay_pps"] = benchmark::Counter(replayed / replay_seconds);
  state.counters["replay_wall_pps"] = benchmark::Counter(replayed / wall_seconds);
  state.counters["classify_pps"] =
      benchmark::Counter(static_cast<double>(packets) / classify_seconds);
  state.counters["match_pps"] = benchmark::Counter(static_cast<double>(packets) / match_seconds);
  state.counters["replay_to_classify"] = benchmark::Counter(
      static_cast<double>(packets) / classify_seconds / (replayed / replay_seconds));
  state.counters["hits_per_packet"] = benchmark::Counter(static_cast<double>(hits) / replayed);
  state.counters["hw_entries"] =
      benchmark::Counter(static_cast<double>(bcmsim::state().entries.size()));
  bcmsim::set_lookup_method(bcmsim::LookupMethod::Compiled);
}

void BM_ReplayCapture(benchmark::State& state) {
  const auto packets = static_cast<uint64_t>(state.range(0));
  const std::string path = capture("full_device", packets, frameNumber);
  Switch sw;
  loadFullDevice(sw, fullDevice());
  measureReplay(state, path, packets);
}
BENCHMARK(BM_ReplayCapture)
    ->ArgNames({"packets", "compiled", "threads"})
    ->Args({1000000, 0, 1})
    ->Args({1000000, 1, 1})
    ->Args({1000000, 1, 2})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// The five-tuple ACL: 16 ingress groups of 256 rules, traffic drawn from them.
void BM_ReplayFiveTupleAcl(benchmark::State& state) {
  const auto packets = static_cast<uint64_t>(state.range(0));
  const std::string path = capture("five_tuple_acl", packets, aclFrameNumber);
  Switch sw;
  loadFullDevice(sw, fiveTupleAcl(fiveTupleRules(1)));
  measureReplay(state, path, packets);
}
BENCHMARK(BM_ReplayFiveTupleAcl)
    ->ArgNames({"packets", "compiled", "threads"})
    ->Args({200000, 0, 1})
    ->Args({200000, 1, 1})
    ->Args({200000, 1, 2})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// A field of /proc/self/status in KiB: "VmRSS" (resident now) or "VmHWM" (the peak).
double statusKib(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field + ":", 0) == 0) return std::stod(line.substr(field.size() + 1));
  }
  return 0;
}

// The peak resident memory while a capture is replayed on a full device, and how far above the
// resident memory before the replay it went: the peak is reset first (/proc/self/clear_refs).
void BM_ReplayPeakMemory(benchmark::State& state) {
  const std::string path = capture("full_device", static_cast<uint64_t>(state.range(0)), frameNumber);
  Switch sw;
  loadFullDevice(sw, fullDevice());
  double before = 0;
  double peak = 0;
  for (auto _ : state) {
    std::ofstream("/proc/self/clear_refs") << "5";
    before = statusKib("VmRSS");
    replay(path, 1);
    peak = statusKib("VmHWM");
  }
  state.counters["peak_rss_mib"] = benchmark::Counter(peak / 1024);
  state.counters["growth_mib"] = benchmark::Counter((peak - before) / 1024);
}
BENCHMARK(BM_ReplayPeakMemory)
    ->ArgName("packets")
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
