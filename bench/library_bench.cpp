// The filters library on the software device: programming, loads, topology events, counters
// and classification, with TCAM moves per operation.
#include <benchmark/benchmark.h>

#include <bcmsim/call_log.h>
#include <bcmsim/classify.h>

#include "bench_support.h"

namespace {

using namespace bench_support;

constexpr auto kIngress = FILTERS_GROUP_STAGE_INGRESS;

void reportMoves(benchmark::State& state, uint64_t moves, double operations) {
  state.counters["tcam_moves_per_op"] = benchmark::Counter(static_cast<double>(moves) / operations);
}

// `count` ingress user entries of `pool` hardware entries each, priority rising with the id.
std::vector<FiltersEntry> ingressEntries(int count, int pool) {
  std::vector<FiltersEntry> entries;
  for (int id = 0; id < count; ++id) {
    entries.push_back(ingressEntry(static_cast<unsigned int>(id), pool, frontPorts(1, 8)));
  }
  return entries;
}

// Times the creation of `entries` in ingress group 0, in the given order; they are deleted
// between iterations, outside the timing. Reports TCAM moves per hardware entry.
template <class Entries>
void timeCreation(benchmark::State& state, Switch& sw, const Entries& entries, int hw_entries) {
  uint64_t moves = 0;
  for (auto _ : state) {
    const uint64_t before = bcmsim::state().tcam_moves;
    for (const FiltersEntry& entry : entries) {
      if (sw.filters->createEntry(kIngress, 0, entry) != 0) state.SkipWithError("create failed");
    }
    moves += bcmsim::state().tcam_moves - before;
    state.PauseTiming();
    for (const FiltersEntry& entry : entries) sw.filters->deleteEntry(kIngress, 0, entry.getId());
    bcmsim::clear_calls();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * hw_entries);
  reportMoves(state, moves, static_cast<double>(state.iterations()) * hw_entries);
}

// Items are hardware entries programmed (created, qualified, installed); one iteration fills an
// ingress group of 256 with user entries of `pool` hardware entries each.
void BM_ProgramEntries(benchmark::State& state) {
  const int pool = static_cast<int>(state.range(0));
  const int user_entries = 256 / pool;
  Switch sw;
  sw.filters->createGroup(FiltersGroup(kIngress, 0, 0, 2));
  bcmsim::set_call_log(state.range(1) != 0);
  timeCreation(state, sw, ingressEntries(user_entries, pool), 256);
  bcmsim::set_call_log(false);
  state.counters["user_entries_per_second"] = benchmark::Counter(
      static_cast<double>(state.iterations() * user_entries), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ProgramEntries)
    ->ArgNames({"pool", "call_log"})
    ->ArgsProduct({{1, 16, 256}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// Items are hardware entries installed in rising priority: each new entry goes before all the
// others, so the TCAM shifts every installed entry to make room (a chip's worst order).
void BM_ProgramEntriesRisingPriority(benchmark::State& state) {
  Switch sw;
  sw.filters->createGroup(FiltersGroup(kIngress, 0, 0, 2));
  const std::vector<FiltersEntry> entries = ingressEntries(256, 1);
  timeCreation(state, sw, std::vector<FiltersEntry>(entries.rbegin(), entries.rend()), 256);
}
BENCHMARK(BM_ProgramEntriesRisingPriority)->Unit(benchmark::kMicrosecond);

// One item is one full device load.
void BM_FullDeviceLoad(benchmark::State& state) {
  const std::vector<FiltersGroup> groups = fullDevice();
  uint64_t moves = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Switch sw;
    state.ResumeTiming();
    loadFullDevice(sw, groups);
    moves += bcmsim::state().tcam_moves;
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["hw_entries"] =
      benchmark::Counter(static_cast<double>(bcmsim::state().entries.size()));
  reportMoves(state, moves, static_cast<double>(state.iterations()) * kFullDeviceEntries);
}
BENCHMARK(BM_FullDeviceLoad)->Unit(benchmark::kMillisecond);

// One item is the teardown of a full device: every user entry deleted.
void BM_FullDeviceTeardown(benchmark::State& state) {
  const std::vector<FiltersGroup> groups = fullDevice();
  for (auto _ : state) {
    state.PauseTiming();
    Switch sw;
    loadFullDevice(sw, groups);
    state.ResumeTiming();
    for (const FiltersGroup& group : groups) {
      for (const auto& [id, entry] : group.getEntries()) {
        sw.filters->deleteEntry(group.getStage(), group.getId(), id);
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FullDeviceTeardown)->Unit(benchmark::kMillisecond);

// Room for 1,024 hardware entries a slice at ingress and egress.
bcmsim::Config roomyDevice() {
  bcmsim::Config config;
  config.set_slice_entries({256, 1024, 1024});
  return config;
}

// Items are member events: eth21 added to `lag` and removed again, one pair an iteration.
void timeMemberEvents(benchmark::State& state, Switch& sw, const limid_t& lag) {
  const uint64_t before = bcmsim::state().tcam_moves;
  for (auto _ : state) {
    sw.lags->AddMember(lag, limid_ethernet(21));
    sw.lags->RemoveMember(lag, limid_ethernet(21));
  }
  state.SetItemsProcessed(state.iterations() * 2);
  reportMoves(state, bcmsim::state().tcam_moves - before,
              static_cast<double>(state.iterations()) * 2);
}

// A LAG on which 1,000 hardware entries depend (ingress bitmaps: 100 user entries of 10), with
// `unrelated` other hardware entries installed. One item is one member event (add or remove).
void BM_LagEvent(benchmark::State& state) {
  Switch sw(roomyDevice());
  const limid_t lag = limid_lag(1);
  sw.lags->CreateLag(lag);
  sw.lags->AddMember(lag, limid_ethernet(20));
  for (unsigned short group = 0; group < 16; ++group) {
    sw.filters->createGroup(FiltersGroup(kIngress, group, group, 2));
  }
  for (unsigned int id = 0; id < 100; ++id) {
    sw.filters->createEntry(kIngress, static_cast<unsigned short>(id / 25),
                            ingressEntry(id, 10, {lag}));
  }
  const int unrelated = static_cast<int>(state.range(0));
  for (int id = 0; id < unrelated / 10; ++id) {
    sw.filters->createEntry(
        kIngress, static_cast<unsigned short>(4 + id / 100),
        ingressEntry(static_cast<unsigned int>(id % 100), 10, frontPorts(1, 4)));
  }
  timeMemberEvents(state, sw, lag);
  state.counters["dependent_hw_entries"] = 1000;
}
BENCHMARK(BM_LagEvent)->ArgName("unrelated")->Arg(0)->Arg(5000)->Unit(benchmark::kMillisecond);

// The same with expansion: 100 egress user entries of 10 VLANs over a LAG, so that each event
// creates or deletes 1,000 hardware entries.
void BM_LagEventExpansion(benchmark::State& state) {
  Switch sw(roomyDevice());
  const limid_t lag = limid_lag(1);
  sw.lags->CreateLag(lag);
  sw.lags->AddMember(lag, limid_ethernet(20));
  for (unsigned short group = 0; group < 4; ++group) {
    sw.filters->createGroup(FiltersGroup(FILTERS_GROUP_STAGE_EGRESS, group, group, 5));
  }
  for (unsigned int id = 0; id < 100; ++id) {
    FiltersEntry entry(id, 0);
    entry.setMatch(MatchEgressPorts(std::list<limid_t>{lag}));
    entry.setMatch(MatchExternalVlanId(vlans(10)));
    entry.setAction(Action(FILTERS_ACTION_DROP));
    sw.filters->createEntry(FILTERS_GROUP_STAGE_EGRESS, static_cast<unsigned short>(id / 25),
                            entry);
  }
  timeMemberEvents(state, sw, lag);
}
BENCHMARK(BM_LagEventExpansion)->Unit(benchmark::kMillisecond);

// Items are counter reads.
void BM_CounterRead(benchmark::State& state) {
  Switch sw;
  sw.filters->createGroup(FiltersGroup(kIngress, 0, 0, 2));
  for (unsigned int id = 0; id < 64; ++id) {
    sw.filters->createEntry(kIngress, 0, ingressEntry(id, 1, frontPorts(1, 8)));
  }
  unsigned short counter = 0;
  unsigned long long value = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(sw.filters->getCounterValue(counter, value));
    counter = static_cast<unsigned short>((counter + 1) % 64);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CounterRead);

// Items are packets classified against a full device: one that misses every entry (every slot
// is looked at) and one that hits at every stage.
void BM_Classify(benchmark::State& state) {
  Switch sw;
  loadFullDevice(sw, fullDevice());
  bcmsim::Packet packet;
  packet.in_port = 3;
  packet.src_ip = state.range(0) ? 0x0a000000u : 0x0b000000u;
  packet.outer_vlan = state.range(0) ? 1 : 4000;
  packet.out_port = 1;
  packet.src_mac = {2, 0, 0, 0, 0, 0};
  for (auto _ : state) benchmark::DoNotOptimize(bcmsim::classify(packet));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Classify)->ArgName("hits")->Arg(0)->Arg(1);

}  // namespace
