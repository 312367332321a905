#include <hal_bcm_common/hal_bcm_common.h>

#include <stdexcept>

namespace {

bcm_gport_t lookup(const std::map<limid_t, bcm_gport_t>& table, const limid_t& limid) {
  auto it = table.find(limid);
  if (it == table.end()) throw std::out_of_range("HAL ID not found");
  return it->second;
}

}  // namespace

namespace HalCommon {

int Vpn::GetVpnInterfaceInfo(const limid_t& vpn, const limid_t& access,
                             vpn_interface_info_t& info) const {
  auto it = interfaces_.find({vpn, access});
  if (it == interfaces_.end()) return -1;
  info = it->second;
  return 0;
}

void Vpn::SetVpnInterfaceInfo(const limid_t& vpn, const limid_t& access,
                              const vpn_interface_info_t& info) {
  interfaces_[{vpn, access}] = info;
}

}  // namespace HalCommon

HalBcmCommon& HalBcmCommon::GetInstance() {
  static HalBcmCommon instance;
  return instance;
}

bcm_gport_t HalBcmCommon::GetGport(const limid_t& limid) const {
  return lookup(gports_, limid);
}

bcm_gport_t HalBcmCommon::GetVirtualPortGport(const limid_t& limid) const {
  return lookup(virtual_ports_, limid);
}

bcm_gport_t HalBcmCommon::GetGportServicePort(const limid_t& limid) const {
  return lookup(service_ports_, limid);
}

const std::set<limid_t>& HalBcmCommon::GetLagMembers(const limid_t& lag) const {
  static const std::set<limid_t> kNone;
  auto it = lag_members_.find(lag);
  return it == lag_members_.end() ? kNone : it->second;
}

int HalBcmCommon::GetEgressId(int destination_id, int* egress_id) const {
  auto it = egress_ids_.find(destination_id);
  if (it == egress_ids_.end() || !egress_id) return -1;
  *egress_id = it->second;
  return 0;
}

int HalBcmCommon::GetVlanClassIdConfig(const hal_bd_vlan_info_t& info,
                                       std::pair<unsigned int, unsigned int>& data_and_mask) const {
  auto it = vlan_classes_.find(info.svc_vlan_type);
  if (it == vlan_classes_.end()) return -1;
  data_and_mask = it->second;
  return 0;
}

limid_t HalBcmCommon::GetLagOfMember(const limid_t& port) const {
  for (const auto& [lag, members] : lag_members_) {
    if (members.count(port)) return lag;
  }
  return limid_null;
}

bool HalBcmCommon::AddLagMember(const limid_t& lag, const limid_t& member) {
  if (limid_is_from_type(member, limid_type_lag) || !(GetLagOfMember(member) == limid_null)) {
    return false;
  }
  lag_members_[lag].insert(member);
  return true;
}

void HalBcmCommon::RemoveLagMember(const limid_t& lag, const limid_t& member) {
  auto it = lag_members_.find(lag);
  if (it != lag_members_.end()) it->second.erase(member);
}

void HalBcmCommon::Reset() {
  gports_.clear();
  virtual_ports_.clear();
  service_ports_.clear();
  lag_members_.clear();
  egress_ids_.clear();
  vpn_.Clear();
  vlan_classes_.clear();
}

int GetVlanClassIdConfig(const hal_bd_vlan_info_t& info,
                         std::pair<unsigned int, unsigned int>& data_and_mask) {
  return HalBcmCommon::GetInstance().GetVlanClassIdConfig(info, data_and_mask);
}
