#include "switch_setup.h"

#include <stdexcept>

extern "C" {
#include <bcm/l3.h>
}

#include <bcmsim/device.h>
#include <hal_bcm_common/hal_bcm_common.h>

namespace filtersim {
namespace {

bcm_gport_t localGport(int port) {
  bcm_gport_t gport;
  BCM_GPORT_LOCAL_SET(gport, port);
  return gport;
}

}  // namespace

void setUpInterfaces(const SwitchSetup& setup, Platform& platform) {
  bcmsim::reset(setup.device);
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  common.Reset();
  common.SetGport(limid_cpuport_from_components(1, 1, 0, 1), localGport(0));
  for (int port = 1; port <= setup.front_ports; ++port) {
    common.SetGport(limid_ethernet(port), localGport(port));
  }
  for (const RemotePort& remote : setup.remote_ports) {
    bcm_gport_t gport;
    BCM_GPORT_MODPORT_SET(gport, remote.module, remote.module_port);
    common.SetGport(remote.port, gport);
  }
  for (const limid_t& unmapped : setup.unmapped_ports) common.RemoveGport(unmapped);
  for (const Lag& lag : setup.lags) {
    platform.lags->CreateLag(lag.lag);
    for (const limid_t& member : lag.members) platform.lags->AddMember(lag.lag, member);
  }
  for (const VpnAccess& vpn : setup.vpns) {
    common.GetVpnInfoGetter().SetVpnInterfaceInfo(vpn.vpn, vpn.access,
                                                  {vpn.mpls_port_gport, limid_number(vpn.vpn)});
  }
  for (const auto& [port, gport] : setup.virtual_ports) common.SetVirtualPortGport(port, gport);
  for (const auto& [port, local] : setup.service_ports) {
    common.SetServicePortGport(port, common.GetGport(local));
  }
  for (const VlanClass& vlan_class : setup.vlan_classes) {
    common.SetVlanClass(static_cast<hal_bd_svc_vlan_type_t>(vlan_class.bridge_domain_type),
                        vlan_class.data, vlan_class.mask);
  }
}

void setUpDestinations(const SwitchSetup& setup, Platform& platform) {
  const int unit = HalBcmCommon::GetInstance().unit;
  for (const Destination& destination : setup.destinations) {
    bcm_l3_egress_t egress;
    bcm_l3_egress_t_init(&egress);
    egress.port = static_cast<int>(limid_number(destination.port));
    std::copy(destination.mac.begin(), destination.mac.end(), egress.mac_addr);
    bcm_if_t egress_id = 0;
    if (bcm_l3_egress_create(unit, 0, &egress, &egress_id) != 0) {
      throw std::runtime_error("cannot create the egress object of destination " +
                               std::to_string(destination.id));
    }
    platform.destination_egress[destination.id] = egress_id;
    platform.destinations.AddDestination(destination.id, egress_id);
  }
}

int removeDestination(int destination, Platform& platform) {
  const int rc = platform.destinations.RemoveDestination(destination);
  auto egress = platform.destination_egress.find(destination);
  if (rc == 0 && egress != platform.destination_egress.end()) {
    bcm_l3_egress_destroy(HalBcmCommon::GetInstance().unit, egress->second);
    platform.destination_egress.erase(egress);
  }
  return rc;
}

}  // namespace filtersim
