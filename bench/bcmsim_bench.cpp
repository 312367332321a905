// The cost of one SDK call on the software device, with the call log off and on; and of
// classification in the compiled lookup's worst case.
#include <benchmark/benchmark.h>

#include <bcm/field.h>

#include <bcmsim/call_log.h>
#include <bcmsim/classify.h>
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

// The compiled lookup's worst case: one ingress group of 4,096 entries (every slice of the stage)
// whose entries agree on every byte they compare but one (10.1.2.3 to 11.1.2.3, TCP, source port
// 1024), each byte's row keeping every entry, and differ on the low byte of the destination port
// alone, 16 entries to a value. No byte stops the lookup: 12 rows of 64 words each are ANDed,
// 1.5 MiB of tables. The plain index buckets every entry together and tests them in slot order.
// Items are packets classified; `compiled` picks the lookup.
void BM_ClassifyWorstCase(benchmark::State& state) {
  bcmsim::reset();
  bcmsim::set_lookup_method(state.range(0) ? bcmsim::LookupMethod::Compiled
                                           : bcmsim::LookupMethod::Plain);
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID;
  config.group = kGroup;
  for (int q : {bcmFieldQualifyStageIngress, bcmFieldQualifySrcIp, bcmFieldQualifyDstIp,
                bcmFieldQualifyIpProtocol, bcmFieldQualifyL4SrcPort, bcmFieldQualifyL4DstPort}) {
    BCM_FIELD_QSET_ADD(config.qset, q);
  }
  bcm_field_group_config_create(0, &config);
  constexpr int kEntries = 4096;
  for (int k = 0; k < kEntries; ++k) {
    const int entry = kEntry + k;
    bcm_field_entry_create_id(0, kGroup, entry);
    bcm_field_qualify_SrcIp(0, entry, 0x0a010203, 0xffffffff);
    bcm_field_qualify_DstIp(0, entry, 0x0b010203, 0xffffffff);
    bcm_field_qualify_IpProtocol(0, entry, 6, 0xff);
    bcm_field_qualify_L4SrcPort(0, entry, 1024, 0xffff);
    bcm_field_qualify_L4DstPort(0, entry, k % 256, 0xff);
    bcm_field_entry_prio_set(0, entry, kEntries - k);
    bcm_field_entry_install(0, entry);
  }
  bcmsim::Packet packet;
  packet.src_ip = 0x0a010203;
  packet.dst_ip = 0x0b010203;
  packet.ip_protocol = 6;
  packet.l4_src_port = 1024;
  uint16_t port = 0;
  for (auto _ : state) {
    packet.l4_dst_port = port++;
    benchmark::DoNotOptimize(bcmsim::classify(packet));
  }
  bcmsim::set_lookup_method(bcmsim::LookupMethod::Compiled);
  state.SetItemsProcessed(state.iterations());
  state.counters["lookup_kib"] =
      benchmark::Counter(static_cast<double>(bcmsim::compiled_lookup_bytes()) / 1024);
}
BENCHMARK(BM_ClassifyWorstCase)->ArgName("compiled")->Arg(0)->Arg(1);

}  // namespace
