// The cost of one SDK call on the software device, with the call log off and on.
#include <benchmark/benchmark.h>

#include <bcm/field.h>

#include <bcmsim/call_log.h>
#include <bcmsim/device.h>

namespace {

constexpr int kGroup = 16;
constexpr int kEntry = 1048576;

void set_up() {
  bcmsim::reset();
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID;
  config.group = kGroup;
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageIngress);
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyEtherType);
  bcm_field_group_config_create(0, &config);
  bcm_field_entry_create_id(0, kGroup, kEntry);
}

// Items are SDK calls.
void BM_QualifyCall(benchmark::State& state) {
  set_up();
  bcmsim::set_call_log(state.range(0) != 0);
  for (auto _ : state) {
    if (bcmsim::calls().size() > 100000) bcmsim::clear_calls();
    benchmark::DoNotOptimize(bcm_field_qualify_EtherType(0, kEntry, 0x0800, 0xffff));
  }
  bcmsim::set_call_log(false);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_QualifyCall)->ArgName("call_log")->Arg(0)->Arg(1);

}  // namespace
