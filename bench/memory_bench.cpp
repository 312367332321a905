// Bytes of cache memory per hardware entry with the whole device loaded: the heap the cache's
// allocations take, as the allocator counts it.
#include <malloc.h>

#include <benchmark/benchmark.h>

#include "bench_support.h"

namespace {

using namespace bench_support;

// What the filters put in the cache for a full device: every pool, and the ingress bitmap of
// every ingress hardware entry.
void BM_CacheBytesPerHardwareEntry(benchmark::State& state) {
  Switch sw;
  const std::vector<FiltersGroup> groups = fullDevice();
  size_t bytes = 0;
  size_t hw_entries = 0;
  for (auto _ : state) {
    HalFiltersLL::FilterEntriesCache cache;
    const size_t before = mallinfo2().uordblks;
    for (const FiltersGroup& group : groups) {
      for (const auto& [id, entry] : group.getEntries()) {
        const int base = sw.filters->getBaseHwEid(group.getStage(), group.getId(), id);
        cache.InitializeEntriesPool({group.getStage(), group.getId(), id}, base, entry);
        for (const HalFiltersLL::pool_entry& hw : *cache.GetEntriesPool(base)) {
          if (auto* ports = hw.entry.findMatch<MatchIngressPorts>(FILTERS_MATCH_INGRESS_PORTS);
              ports && group.getStage() == FILTERS_GROUP_STAGE_INGRESS) {
            cache.UpdateIngressEntryInformation(*ports, static_cast<int>(hw.entry.getId()));
          }
          ++hw_entries;
        }
      }
    }
    bytes += mallinfo2().uordblks - before;
  }
  state.counters["cache_bytes_per_hw_entry"] =
      benchmark::Counter(static_cast<double>(bytes) / static_cast<double>(hw_entries));
}
BENCHMARK(BM_CacheBytesPerHardwareEntry)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
