// VPN interface information: which MPLS port serves an access port of a VPN.
#pragma once

#include <map>
#include <utility>

#include <limid/limid.h>

namespace HalCommon {

struct vpn_interface_info_t {
  int mpls_port_gport = 0;  // the MPLS port that packets of this access port belong to
  unsigned int vpn_id = 0;
};

class Vpn {
 public:
  // 0 when the VPN has that access port, -1 otherwise.
  int GetVpnInterfaceInfo(const limid_t& vpn, const limid_t& access,
                          vpn_interface_info_t& info) const;

  void SetVpnInterfaceInfo(const limid_t& vpn, const limid_t& access,
                           const vpn_interface_info_t& info);
  void Clear() { interfaces_.clear(); }

 private:
  std::map<std::pair<limid_t, limid_t>, vpn_interface_info_t> interfaces_;
};

}  // namespace HalCommon
