// Rewriting source MAC, destination MAC and VLAN in one step: an L3 interface (source MAC and
// VLAN) and an L3 egress object (destination MAC) that the field entry points at, shared by every
// hardware entry of one user entry.
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {

int HalFiltersBcm::createChangeL2FieldsAction(int eid, const user_entry_key_t& key,
                                              unsigned char src_mac[6], unsigned char dst_mac[6],
                                              unsigned short& vlan) {
  if (auto existing = l3_entries_.find(key); existing != l3_entries_.end()) {
    return setBcmFieldActionAdd(eid, bcmFieldActionChangeL2Fields,
                                static_cast<uint32>(existing->second.egress_id), 0);
  }
  const int unit = bcmUnit();
  bcm_l3_intf_t intf;
  bcm_l3_intf_t_init(&intf);
  std::memcpy(intf.l3a_mac_addr, src_mac, sizeof(bcm_mac_t));
  intf.l3a_vid = vlan;
  int rv = bcm_l3_intf_create(unit, &intf);
  if (rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error creating L3 intf to change MACs, vlan %d: %s",
                    vlan, sdkErrorText(rv));
    return HAL_FILTERS_ERR_FAILED;
  }

  bcm_l3_egress_t egress;
  bcm_l3_egress_t_init(&egress);
  egress.flags = BCM_L3_KEEP_TTL;
  egress.flags2 = BCM_L3_FLAGS2_FIELD_ONLY;
  egress.intf = intf.l3a_intf_id;
  std::memcpy(egress.mac_addr, dst_mac, sizeof(bcm_mac_t));
  bcm_if_t egress_id;
  rv = bcm_l3_egress_create(unit, 0, &egress, &egress_id);
  if (rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error creating L3 egress to change MACs: %s",
                    sdkErrorText(rv));
    if (int deleted = bcm_l3_intf_delete(unit, &intf); deleted < 0) {
      callbacks().log(kLogError,
                      "Filters-ll-bcm: Error deleting L3 intf due to error in L3 egress create: %s",
                      sdkErrorText(deleted));
    }
    return HAL_FILTERS_ERR_FAILED;
  }
  l3_entries_.insert_or_assign(key, l3_info_t{intf, egress_id});
  return setBcmFieldActionAdd(eid, bcmFieldActionChangeL2Fields, static_cast<uint32>(egress_id), 0);
}

int HalFiltersBcm::removeL3Entry(const user_entry_key_t& key) {
  auto objects = l3_entries_.find(key);
  if (objects == l3_entries_.end()) return HAL_FILTERS_OK;
  const int unit = bcmUnit();
  // Failures are logged and the release goes on: they never block the removal of the entry.
  if (int rv = bcm_l3_egress_destroy(unit, objects->second.egress_id); rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error deleting L3 egress in filter removal: %s",
                    sdkErrorText(rv));
  }
  if (int rv = bcm_l3_intf_delete(unit, &objects->second.intf); rv < 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: Error deleting L3 intf in filter removal: %s",
                    sdkErrorText(rv));
  }
  l3_entries_.erase(objects);
  return HAL_FILTERS_OK;
}

}  // namespace HalFiltersLL
