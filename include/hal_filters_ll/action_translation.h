// Action translation: every action of the filter model becomes Broadcom field actions.
#pragma once

#include <hal_filters_ll/bcm_sdk.h>

#include <filters_common/filters_common.h>

namespace HalFiltersLL {

// The L3 interface and egress object that rewrite the MACs and VLAN of one user entry's traffic.
struct l3_info_t {
  bcm_l3_intf_t intf;
  bcm_if_t egress_id;
};

// Each adds or deletes one Broadcom action on hardware entry `eid`: 0, or -2 after reporting the
// SDK's refusal.
int setBcmFieldActionAdd(int eid, bcm_field_action_e action, uint32 param0, uint32 param1);
int deleteBcmFieldAction(int eid, bcm_field_action_e action, uint32 param0, uint32 param1);
int setBcmFieldActionMacAdd(int eid, bcm_field_action_e action, unsigned char* mac);
int setBcmFieldActionVlanActionsAdd(int eid, bcm_field_action_e action,
                                    bcm_vlan_action_set_s& vlan_actions);
// A port-bitmap action built from the ports of an ActionPorts.
int setBcmFieldActionPortsAdd(const FiltersCommon::Action* action, int eid,
                              bcm_field_action_e bcm_action);

}  // namespace HalFiltersLL
