// The platform's Broadcom common services: the unit, how logical interfaces map to gports, LAG
// membership, L3 destinations, service ports, VPNs and VLAN classes. Whoever sets the switch up
// (the platform, filtersim, tests) fills it; LAG membership and destinations change only through
// their orchestrators.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

#include <bcm/types.h>

#include <hal_bcm_common/vpn.h>
#include <limid/limid.h>

namespace halswitchl2if {
class LagOrchestrator;
}
namespace hal_encap {
class DestinationOrchestrator;
}

// The bridge-domain view of a service VLAN: its type (bridge-domain numbering) and VLAN.
enum hal_bd_svc_vlan_type_t : int {
  HAL_BD_SVC_VLAN_NONE = 0,
  HAL_BD_SVC_VLAN_UNI = 1,
  HAL_BD_SVC_VLAN_NNI = 2,
  HAL_BD_SVC_VLAN_E_LAN = 3,
  HAL_BD_SVC_VLAN_E_LINE = 4,
};

struct hal_bd_vlan_info_t {
  hal_bd_svc_vlan_type_t svc_vlan_type;
  unsigned int vlan_id;
};

class HalBcmCommon {
 public:
  int unit = 0;

  static HalBcmCommon& GetInstance();

  // Lookups that raise std::out_of_range("HAL ID not found") for an unknown interface.
  bcm_gport_t GetGport(const limid_t& limid) const;
  bcm_gport_t GetVirtualPortGport(const limid_t& limid) const;
  bcm_gport_t GetGportServicePort(const limid_t& limid) const;

  // The LAG's members in bytewise order; empty for an unknown LAG.
  const std::set<limid_t>& GetLagMembers(const limid_t& lag) const;
  // The LAG that has `port` as a member, or the null limid when none has.
  limid_t GetLagOfMember(const limid_t& port) const;
  // 0 and the egress object of an L3 destination, or -1 when the destination is unknown.
  int GetEgressId(int destination_id, int* egress_id) const;
  HalCommon::Vpn& GetVpnInfoGetter() { return vpn_; }
  // The interface-class data and mask of a service VLAN type; 0, or -1 when none is configured.
  int GetVlanClassIdConfig(const hal_bd_vlan_info_t& info,
                           std::pair<unsigned int, unsigned int>& data_and_mask) const;
  std::string DecodeLimId(const limid_t& limid) const { return limid_name(limid); }

  // Set-up.
  void SetGport(const limid_t& limid, bcm_gport_t gport) { gports_[limid] = gport; }
  void RemoveGport(const limid_t& limid) { gports_.erase(limid); }
  void SetVirtualPortGport(const limid_t& limid, bcm_gport_t gport) {
    virtual_ports_[limid] = gport;
  }
  void SetServicePortGport(const limid_t& limid, bcm_gport_t gport) {
    service_ports_[limid] = gport;
  }
  void SetVlanClass(hal_bd_svc_vlan_type_t type, unsigned int data, unsigned int mask) {
    vlan_classes_[type] = {data, mask};
  }
  // Forgets everything; the unit stays.
  void Reset();

 private:
  friend class halswitchl2if::LagOrchestrator;
  friend class hal_encap::DestinationOrchestrator;

  HalBcmCommon() = default;
  // A port joins at most one LAG, and a LAG is never a member: false, and nothing changes,
  // otherwise.
  bool AddLagMember(const limid_t& lag, const limid_t& member);
  void RemoveLagMember(const limid_t& lag, const limid_t& member);
  void ForgetLag(const limid_t& lag) { lag_members_.erase(lag); }
  void SetEgressId(int destination_id, int egress_id) { egress_ids_[destination_id] = egress_id; }
  void ForgetEgressId(int destination_id) { egress_ids_.erase(destination_id); }

  std::map<limid_t, bcm_gport_t> gports_;
  std::map<limid_t, bcm_gport_t> virtual_ports_;
  std::map<limid_t, bcm_gport_t> service_ports_;
  std::map<limid_t, std::set<limid_t>> lag_members_;
  std::map<int, int> egress_ids_;
  HalCommon::Vpn vpn_;
  std::map<int, std::pair<unsigned int, unsigned int>> vlan_classes_;
};

// The VLAN class of a service VLAN, as HalBcmCommon keeps it.
int GetVlanClassIdConfig(const hal_bd_vlan_info_t& info,
                         std::pair<unsigned int, unsigned int>& data_and_mask);
