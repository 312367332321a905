// Action dispatch and the wrappers of the Broadcom action calls.
#include <hal_filters_ll/action_translation.h>

#include <hal_filters_ll/device_profile.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "action_setter.h"

namespace HalFiltersLL {
namespace {

using namespace FiltersCommon;

const limid_t kCpuPort = limid_cpuport_from_components(1, 1, 0, 1);

// Blocks egress to the CPU port and cancels the copies to it (both cancels where the device takes
// them together).
int keepFromCpu(int eid) {
  const ActionBlockEgressPorts block_cpu(std::list<limid_t>{kCpuPort});
  if (int rc = setBcmFieldActionPortsAdd(&block_cpu, eid, bcmFieldActionEgressMask); rc != 0) {
    return rc;
  }
  if (int rc = setBcmFieldActionAdd(eid, bcmFieldActionSwitchToCpuCancel, 0, 0); rc != 0) {
    return rc;
  }
  if (!supportCopyAndSwitchToCpuCancelSimultaneous()) return HAL_FILTERS_OK;
  return setBcmFieldActionAdd(eid, bcmFieldActionCopyToCpuCancel, 0, 0);
}

int egressOfDestination(unsigned int destination, int* egress) {
  if (HalBcmCommon::GetInstance().GetEgressId(static_cast<int>(destination), egress) == 0) {
    return HAL_FILTERS_OK;
  }
  callbacks().log(kLogError, "Could not find egress ID for destination ID %d.", destination);
  return HAL_FILTERS_ERR_FAILED;
}

int incomingMplsPort(const ActionMplsPortSet& action, int eid) {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  HalCommon::vpn_interface_info_t info;
  int rc = common.GetVpnInfoGetter().GetVpnInterfaceInfo(action.getVpnId(),
                                                         action.getMplsAccessPort(), info);
  if (rc != 0) {
    callbacks().log(kLogWarning,
                    "[HAL FILTERS] %s(): Could not retrieve VPN Interface Info from HalBcmCommon "
                    "for VPN %s and access %s, error=%d",
                    "createBcmAction", common.DecodeLimId(action.getVpnId()).c_str(),
                    common.DecodeLimId(action.getMplsAccessPort()).c_str(), rc);
    return HAL_FILTERS_ERR_FAILED;
  }
  return setBcmFieldActionAdd(eid, bcmFieldActionIncomingMplsPortSet,
                              static_cast<uint32>(info.mpls_port_gport), 0);
}

int redirect(const ActionRedirect& action, int eid) {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  for (const limid_t& port : action.getRedirectPorts()) {
    if (!limid_is_from_type(port, limid_type_cpuport) && !limid_is_from_type_ethernet(port)) {
      callbacks().log(kLogError, "This interface: %s cannot be used.",
                      common.DecodeLimId(port).c_str());
      return HAL_FILTERS_ERR_FAILED;
    }
    bcm_gport_t gport;
    try {
      gport = common.GetGport(port);
    } catch (const std::out_of_range&) {
      callbacks().log(kLogError, "Filters - Port: %s not found", common.DecodeLimId(port).c_str());
      return HAL_FILTERS_ERR_FAILED;
    }
    // One redirect action per port, the unit standing for the module.
    if (int rc =
            setBcmFieldActionAdd(eid, bcmFieldActionRedirectPort, static_cast<uint32>(common.unit),
                                 static_cast<uint32>(localPortOfGport(gport)));
        rc != 0) {
      return rc;
    }
  }
  return HAL_FILTERS_OK;
}

int setMac(const mac_address_t& mac, int eid, bcm_field_action_e action) {
  bcm_mac_t copy;
  std::memcpy(copy, mac.data(), sizeof(copy));
  return setBcmFieldActionMacAdd(eid, action, copy);
}

// The action as its class; its type number and class are trusted to agree, and one that does not
// is refused like an unknown type.
template <class A>
const A* actionAs(const Action& action) {
  const A* typed = dynamic_cast<const A*>(&action);
  if (!typed) callbacks().log(kLogError, "Action type %i not found", action.getType());
  return typed;
}

template <class A, class Program>
int withAction(const Action& action, Program program) {
  const A* typed = actionAs<A>(action);
  return typed ? program(*typed) : HAL_FILTERS_ERR_FAILED;
}

}  // namespace

int setBcmFieldActionAdd(int eid, bcm_field_action_e action, uint32 param0, uint32 param1) {
  return actionResult(bcm_field_action_add(bcmUnit(), eid, action, param0, param1), "add", action,
                      eid);
}

int deleteBcmFieldAction(int eid, bcm_field_action_e action, uint32 param0, uint32 param1) {
  return actionResult(bcm_field_action_delete(bcmUnit(), eid, action, param0, param1), "delete",
                      action, eid);
}

int setBcmFieldActionMacAdd(int eid, bcm_field_action_e action, unsigned char* mac) {
  return actionResult(bcm_field_action_mac_add(bcmUnit(), eid, action, mac), "add", action, eid);
}

int setBcmFieldActionVlanActionsAdd(int eid, bcm_field_action_e action,
                                    bcm_vlan_action_set_s& vlan_actions) {
  return actionResult(bcm_field_action_vlan_actions_add(bcmUnit(), eid, action, &vlan_actions),
                      "add", action, eid);
}

int HalFiltersBcm::createBcmAction(const Action* action, int eid) {
  if (!action) _sal_assert("action != nullptr", "hal_filters_bcm", 1401);
  auto add = [eid](bcm_field_action_e bcm_action, uint32 param0 = 0) {
    return setBcmFieldActionAdd(eid, bcm_action, param0, 0);
  };
  switch (action->getType()) {
    case FILTERS_ACTION_PERMIT:
      return add(bcmFieldActionDropCancel);
    case FILTERS_ACTION_DROP:
      return add(bcmFieldActionDrop);
    case FILTERS_ACTION_COPY_TO_CPU:
      return add(bcmFieldActionCopyToCpu);
    case FILTERS_ACTION_BLOCK_EGRESS_PORTS:
      return setBcmFieldActionPortsAdd(action, eid, bcmFieldActionEgressMask);
    case FILTERS_ACTION_COPY_TO_CPU_CANCEL:
      return withAction<ActionCopyToCpuCancel>(*action, [&](const ActionCopyToCpuCancel& a) {
        switch (a.getCancelType()) {
          case 0:
            return add(bcmFieldActionCopyToCpuCancel);
          case 1:
            return add(bcmFieldActionSwitchToCpuCancel);
          default:
            return static_cast<int>(HAL_FILTERS_OK);
        }
      });
    case FILTERS_ACTION_SET_PCP:
      return withAction<ActionSetPcp>(*action, [&](const ActionSetPcp& a) {
        return add(bcmFieldActionPrioPktNew, a.getPcp());
      });
    case FILTERS_ACTION_SET_PCP_AND_QUEUE:
      return withAction<ActionSetPcpAndQueue>(*action, [&](const ActionSetPcpAndQueue& a) {
        return add(bcmFieldActionPrioPktAndIntNew, a.getPcpAndQueue());
      });
    case FILTERS_ACTION_SET_INNER_PCP:
      return withAction<ActionSetInnerPcp>(*action, [&](const ActionSetInnerPcp& a) {
        return add(bcmFieldActionInnerVlanPrioNew, a.getInnerPcp());
      });
    case FILTERS_ACTION_SET_DSCP:
      return withAction<ActionSetDSCP>(
          *action, [&](const ActionSetDSCP& a) { return add(bcmFieldActionDscpNew, a.getDSCP()); });
    case FILTERS_ACTION_MAP_TO_COS_QUEUE:
      return withAction<ActionMapToCosQueue>(*action, [&](const ActionMapToCosQueue& a) {
        return add(bcmFieldActionCosQNew, a.getCosQueue());
      });
    case FILTERS_ACTION_MAP_TO_CPU_COS_QUEUE:
      return withAction<ActionMapToCpuCosQueue>(*action, [&](const ActionMapToCpuCosQueue& a) {
        return add(bcmFieldActionCosQCpuNew, a.getCpuCosQueue());
      });
    case FILTERS_ACTION_REDIRECT:
      return withAction<ActionRedirect>(*action,
                                        [&](const ActionRedirect& a) { return redirect(a, eid); });
    case FILTERS_ACTION_REPLACE_DST_MAC:
      return withAction<ActionReplaceDstMac>(*action, [&](const ActionReplaceDstMac& a) {
        return setMac(a.getReplaceDstMac(), eid, bcmFieldActionDstMacNew);
      });
    case FILTERS_ACTION_REDIRECT_CANCEL:
      return add(bcmFieldActionRedirectCancel);
    case FILTERS_ACTION_REPLACE_SRC_MAC:
      return withAction<ActionReplaceSrcMac>(*action, [&](const ActionReplaceSrcMac& a) {
        return setMac(a.getReplaceSrcMac(), eid, bcmFieldActionSrcMacNew);
      });
    case FILTERS_ACTION_L3_SWITCH:
      return withAction<ActionL3Switch>(*action, [&](const ActionL3Switch& a) {
        int egress;
        if (egressOfDestination(a.getL3DestinationId(), &egress) != 0) {
          return static_cast<int>(HAL_FILTERS_ERR_FAILED);
        }
        return add(bcmFieldActionL3Switch, static_cast<uint32>(egress));
      });
    case FILTERS_ACTION_BLACK_HOLE:
      if (int rc = add(bcmFieldActionL3Switch, static_cast<uint32>(black_hole_egress_if_));
          rc != 0) {
        return rc;
      }
      return keepFromCpu(eid);
    case FILTERS_ACTION_COPY_INNER_PCP_TO_OUTER:
      return add(bcmFieldActionOuterVlanPrioCopyInner);
    case FILTERS_ACTION_MPLS_PORT_SET:
      return withAction<ActionMplsPortSet>(
          *action, [&](const ActionMplsPortSet& a) { return incomingMplsPort(a, eid); });
    case FILTERS_ACTION_KEEP_FROM_CPU:
      return keepFromCpu(eid);
    default:
      callbacks().log(kLogError, "Action type %i not found", action->getType());
      return HAL_FILTERS_ERR_FAILED;
  }
}

int HalFiltersBcm::deleteBcmAction(const Action* action, int eid) {
  if (!action) _sal_assert("action != nullptr", "hal_filters_bcm", 1643);
  if (action->getType() != FILTERS_ACTION_L3_SWITCH) {
    callbacks().log(kLogError, "Action type %i not found", action->getType());
    return HAL_FILTERS_ERR_FAILED;
  }
  return withAction<ActionL3Switch>(*action, [&](const ActionL3Switch& a) {
    int egress;
    if (egressOfDestination(a.getL3DestinationId(), &egress) != 0) {
      return static_cast<int>(HAL_FILTERS_ERR_FAILED);
    }
    return deleteBcmFieldAction(eid, bcmFieldActionL3Switch, static_cast<uint32>(egress), 0);
  });
}

int HalFiltersBcm::createBcmMacActions(const user_entry_key_t&, const FiltersEntry&, int) {
  return HAL_FILTERS_OK;  // MAC rewriting is done by the MAC replacement actions
}

int HalFiltersBcm::createBcmVlanActions(const FiltersEntry&, int) {
  return HAL_FILTERS_OK;
}

}  // namespace HalFiltersLL
