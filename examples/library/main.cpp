// The filters library from start to finish on bcmsim: set the platform up, get the instance,
// program one entry, send a packet through the device and read the entry's counter back.
//
// The order matters:
//   1. the device, then HalBcmCommon: every port an entry names needs its gport there before the
//      entry is created (the library looks gports up while it programs);
//   2. the orchestrators, which must live as long as the filters instance;
//   3. the filters instance: its first getInstance call subscribes it to the orchestrators' events
//      and programs the device's start-up state;
//   4. groups, then their entries.
//
// Exits 0 when the matching packet was dropped, the other one was not, and the counter read 1.
#include <cstdint>
#include <cstdio>
#include <list>
#include <memory>

#include <bcm/types.h>  // BCM_GPORT_LOCAL_SET
#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <encap/destination_orchestrator.h>
#include <hal_bcm_common/hal_bcm_common.h>
#include <hal_filters_ll/hal_filters_itf.h>
#include <lag/lag_orchestrator.h>

using namespace FiltersCommon;

namespace {

constexpr int kFrontPorts = 32;
constexpr unsigned short kGroupId = 0;
constexpr unsigned int kEntryId = 1;
constexpr unsigned short kCounterId = 7;
constexpr uint32_t kBlockedSource = 0x0A000001;  // 10.0.0.1, a host-order number

// The CPU port (local port 0) and front-panel ports 1..32 as eth1..eth32, each with its local
// gport.
void setUpPorts() {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  common.Reset();
  for (int port = 0; port <= kFrontPorts; ++port) {
    bcm_gport_t gport;
    BCM_GPORT_LOCAL_SET(gport, port);
    const limid_t limid = port == 0 ? limid_cpuport_from_components(1, 1, 0, 1)
                                    : limid_ethernet(static_cast<unsigned>(port));
    common.SetGport(limid, gport);
  }
}

// An IPv4 packet arriving on local port `in_port` from `src_ip`.
bcmsim::Packet ipv4Packet(int in_port, uint32_t src_ip) {
  bcmsim::Packet packet;
  packet.in_port = in_port;
  packet.src_mac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
  packet.dst_mac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x02};
  packet.ether_type = 0x0800;
  packet.src_ip = src_ip;
  packet.dst_ip = 0x0A000002;
  return packet;
}

}  // namespace

int main() {
  // 1. The device at its start-up state, and the ports the platform knows.
  bcmsim::reset();
  setUpPorts();

  // 2. The orchestrators. The instance keeps the LAG orchestrator's shared_ptr and a plain pointer
  //    to the destination orchestrator, so the latter is static: it outlives the instance.
  auto lags = std::make_shared<halswitchl2if::LagOrchestrator>();
  static hal_encap::DestinationOrchestrator destinations;

  // 3. The one filters instance.
  HalFiltersLL::HalFiltersItf& filters =
      HalFiltersLL::HalFiltersItf::getInstance(lags, &destinations);

  // 4. An ingress group of type 2, whose qualifier set has InPorts, SrcIp and EtherType (the
  //    IPv4 match implies EtherType 0x0800), then one entry in it: packets from 10.0.0.1 arriving
  //    on eth3 or eth4 are dropped and counted.
  if (filters.createGroup(FiltersGroup(FILTERS_GROUP_STAGE_INGRESS, kGroupId, 0, 2)) != 0) {
    std::fprintf(stderr, "createGroup failed\n");
    return 1;
  }
  FiltersEntry entry(kEntryId, 0);
  entry.setMatch(MatchIngressPorts(std::list<limid_t>{limid_ethernet(3), limid_ethernet(4)}));
  entry.setMatch(MatchSrcIPv4(kBlockedSource, 0xFFFFFFFFu));
  entry.setAction(Action(FILTERS_ACTION_DROP));
  entry.addCounter(Counter(kCounterId, COUNTER_TYPE_PACKETS));
  if (filters.createEntry(FILTERS_GROUP_STAGE_INGRESS, kGroupId, entry) != 0) {
    std::fprintf(stderr, "createEntry failed\n");
    return 1;
  }

  // 5. Two packets through the device: one the entry matches (eth3, 10.0.0.1), one it does not
  //    (eth5). Packet ports are local ports, which here equal the ethernet numbers.
  const bcmsim::Classification hit = bcmsim::classify(ipv4Packet(3, kBlockedSource));
  const bcmsim::Classification miss = bcmsim::classify(ipv4Packet(5, kBlockedSource));
  std::printf("from 10.0.0.1 on eth3: %s (%zu entry hit)\n", hit.verdict.text().c_str(),
              hit.hits.size());
  std::printf("from 10.0.0.1 on eth5: %s (%zu entry hit)\n", miss.verdict.text().c_str(),
              miss.hits.size());

  // 6. The entry's counter, read by its id through the library.
  unsigned long long packets = 0;
  if (filters.getCounterValue(kCounterId, packets) != 0) {
    std::fprintf(stderr, "getCounterValue failed\n");
    return 1;
  }
  std::printf("counter %u: %llu packet(s)\n", kCounterId, packets);

  const bool ok = hit.verdict.drop && !miss.verdict.drop && packets == 1;
  std::printf("%s\n", ok ? "ok" : "unexpected result");
  return ok ? 0 : 1;
}
