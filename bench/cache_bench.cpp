// Expanding a user entry into its pool of hardware entries.
#include <benchmark/benchmark.h>

#include <hal_filters_ll/filter_entries_cache.h>

namespace {

using namespace FiltersCommon;

// A pre-ingress entry over `ports` ports and `vlans` VLAN ids: a pool of ports x vlans entries,
// up to the 256 ids of its block.
FiltersEntry entry_over(int ports, int vlans) {
  std::list<limid_t> port_list;
  for (int port = 1; port <= ports; ++port) port_list.push_back(limid_ethernet(port));
  std::set<unsigned short> vlan_ids;
  for (int vlan = 1; vlan <= vlans; ++vlan) vlan_ids.insert(static_cast<unsigned short>(vlan));
  FiltersEntry entry(1, 0);
  entry.setMatch(MatchIngressPorts(port_list));
  entry.setMatch(MatchExternalVlanId(vlan_ids));
  entry.setMatch(MatchDstMac(mac_address_t{0, 1, 2, 3, 4, 5}, mac_address_t{}));
  entry.setAction(Action(FILTERS_ACTION_DROP));
  return entry;
}

// Items are hardware entries of the pool, initialised and destroyed.
void BM_InitializeEntriesPool(benchmark::State& state) {
  const int ports = static_cast<int>(state.range(0));
  const int vlans = static_cast<int>(state.range(1));
  const FiltersEntry entry = entry_over(ports, vlans);
  HalFiltersLL::FilterEntriesCache cache;
  const HalFiltersLL::user_entry_key_t key{FILTERS_GROUP_STAGE_PRE_INGRESS, 0, 1};
  for (auto _ : state) {
    if (cache.InitializeEntriesPool(key, 0, entry) != 0) state.SkipWithError("refused");
    cache.DestroyEntriesPool(0);
  }
  state.SetItemsProcessed(state.iterations() * ports * vlans);
}
BENCHMARK(BM_InitializeEntriesPool)
    ->ArgNames({"ports", "vlans"})
    ->Args({1, 1})
    ->Args({4, 4})
    ->Args({16, 16});

}  // namespace
