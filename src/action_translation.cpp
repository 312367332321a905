// Action dispatch and the wrappers of the Broadcom action calls.
#include <hal_filters_ll/action_translation.h>

#include <hal_filters_ll/device_profile.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include <optional>

#include "action_setter.h"
#include "hal_id_lookup.h"

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
    const auto gport = lookUpHalId([&] { return common.GetGport(port); }, [&](const char*) {
      callbacks().log(kLogError, "Filters - Port: %s not found", common.DecodeLimId(port).c_str());
    });
    if (!gport) return HAL_FILTERS_ERR_FAILED;
    // One redirect action per port, the unit standing for the module.
    if (int rc =
            setBcmFieldActionAdd(eid, bcmFieldActionRedirectPort, static_cast<uint32>(common.unit),
                                 static_cast<uint32>(localPortOfGport(*gport)));
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

int replaceDstMac(const ActionReplaceDstMac& action, int eid) {
  return setMac(action.getReplaceDstMac(), eid, bcmFieldActionDstMacNew);
}

int replaceSrcMac(const ActionReplaceSrcMac& action, int eid) {
  return setMac(action.getReplaceSrcMac(), eid, bcmFieldActionSrcMacNew);
}

// Cancels the copies to the CPU (0) or the switching to it (1); other values ask for nothing.
int copyToCpuCancel(const ActionCopyToCpuCancel& action, int eid) {
  switch (action.getCancelType()) {
    case 0:
      return setBcmFieldActionAdd(eid, bcmFieldActionCopyToCpuCancel, 0, 0);
    case 1:
      return setBcmFieldActionAdd(eid, bcmFieldActionSwitchToCpuCancel, 0, 0);
    default:
      return HAL_FILTERS_OK;
  }
}

int l3Switch(const ActionL3Switch& action, int eid) {
  int egress;
  if (egressOfDestination(action.getL3DestinationId(), &egress) != 0) {
    return HAL_FILTERS_ERR_FAILED;
  }
  return setBcmFieldActionAdd(eid, bcmFieldActionL3Switch, static_cast<uint32>(egress), 0);
}

int l3SwitchDelete(const ActionL3Switch& action, int eid) {
  int egress;
  if (egressOfDestination(action.getL3DestinationId(), &egress) != 0) {
    return HAL_FILTERS_ERR_FAILED;
  }
  return deleteBcmFieldAction(eid, bcmFieldActionL3Switch, static_cast<uint32>(egress), 0);
}

// The action as its class; its type number and class are trusted to agree, and one that does not
// is refused like an unknown type.
template <class A>
const A* actionAs(const Action& action) {
  const A* typed = dynamic_cast<const A*>(&action);
  if (!typed) callbacks().log(kLogError, "Action type %i not found", action.getType());
  return typed;
}

template <class A>
int withAction(const Action& action, int eid, int (*program)(const A&, int)) {
  const A* typed = actionAs<A>(action);
  return typed ? program(*typed, eid) : HAL_FILTERS_ERR_FAILED;
}

// The parameter of a one-parameter action, read by its class's getter; nullopt when the action
// is not of that class.
template <class A, auto kGetter>
std::optional<uint32> parameterOf(const Action& action) {
  const A* typed = actionAs<A>(action);
  if (!typed) return std::nullopt;
  return static_cast<uint32>((typed->*kGetter)());
}

std::optional<uint32> noParameter(const Action&) {
  return 0;
}

// The actions that are one SDK action with at most one parameter.
struct OneParameterAction {
  filtersAction_t type;
  bcm_field_action_e bcm_action;
  std::optional<uint32> (*parameter)(const Action&);
};

const OneParameterAction kOneParameterActions[] = {
    {FILTERS_ACTION_PERMIT, bcmFieldActionDropCancel, noParameter},
    {FILTERS_ACTION_DROP, bcmFieldActionDrop, noParameter},
    {FILTERS_ACTION_COPY_TO_CPU, bcmFieldActionCopyToCpu, noParameter},
    {FILTERS_ACTION_REDIRECT_CANCEL, bcmFieldActionRedirectCancel, noParameter},
    {FILTERS_ACTION_COPY_INNER_PCP_TO_OUTER, bcmFieldActionOuterVlanPrioCopyInner, noParameter},
    {FILTERS_ACTION_SET_PCP, bcmFieldActionPrioPktNew,
     parameterOf<ActionSetPcp, &ActionSetPcp::getPcp>},
    {FILTERS_ACTION_SET_PCP_AND_QUEUE, bcmFieldActionPrioPktAndIntNew,
     parameterOf<ActionSetPcpAndQueue, &ActionSetPcpAndQueue::getPcpAndQueue>},
    {FILTERS_ACTION_SET_INNER_PCP, bcmFieldActionInnerVlanPrioNew,
     parameterOf<ActionSetInnerPcp, &ActionSetInnerPcp::getInnerPcp>},
    {FILTERS_ACTION_SET_DSCP, bcmFieldActionDscpNew,
     parameterOf<ActionSetDSCP, &ActionSetDSCP::getDSCP>},
    {FILTERS_ACTION_MAP_TO_COS_QUEUE, bcmFieldActionCosQNew,
     parameterOf<ActionMapToCosQueue, &ActionMapToCosQueue::getCosQueue>},
    {FILTERS_ACTION_MAP_TO_CPU_COS_QUEUE, bcmFieldActionCosQCpuNew,
     parameterOf<ActionMapToCpuCosQueue, &ActionMapToCpuCosQueue::getCpuCosQueue>},
};

const OneParameterAction* oneParameterAction(int type) {
  for (const OneParameterAction& row : kOneParameterActions) {
    if (row.type == type) return &row;
  }
  return nullptr;
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
  if (const OneParameterAction* row = oneParameterAction(action->getType())) {
    const std::optional<uint32> parameter = row->parameter(*action);
    if (!parameter) return HAL_FILTERS_ERR_FAILED;
    return setBcmFieldActionAdd(eid, row->bcm_action, *parameter, 0);
  }
  switch (action->getType()) {
    case FILTERS_ACTION_BLOCK_EGRESS_PORTS:
      return setBcmFieldActionPortsAdd(action, eid, bcmFieldActionEgressMask);
    case FILTERS_ACTION_COPY_TO_CPU_CANCEL:
      return withAction(*action, eid, copyToCpuCancel);
    case FILTERS_ACTION_REDIRECT:
      return withAction(*action, eid, redirect);
    case FILTERS_ACTION_REPLACE_DST_MAC:
      return withAction(*action, eid, replaceDstMac);
    case FILTERS_ACTION_REPLACE_SRC_MAC:
      return withAction(*action, eid, replaceSrcMac);
    case FILTERS_ACTION_L3_SWITCH:
      return withAction(*action, eid, l3Switch);
    case FILTERS_ACTION_BLACK_HOLE:
      return blackHole(eid);
    case FILTERS_ACTION_MPLS_PORT_SET:
      return withAction(*action, eid, incomingMplsPort);
    case FILTERS_ACTION_KEEP_FROM_CPU:
      return keepFromCpu(eid);
    default:
      callbacks().log(kLogError, "Action type %i not found", action->getType());
      return HAL_FILTERS_ERR_FAILED;
  }
}

// Switches the packet to the black-hole egress object and keeps it from the CPU.
int HalFiltersBcm::blackHole(int eid) {
  if (int rc = setBcmFieldActionAdd(eid, bcmFieldActionL3Switch,
                                    static_cast<uint32>(black_hole_egress_if_), 0);
      rc != 0) {
    return rc;
  }
  return keepFromCpu(eid);
}

int HalFiltersBcm::deleteBcmAction(const Action* action, int eid) {
  if (!action) _sal_assert("action != nullptr", "hal_filters_bcm", 1643);
  if (action->getType() != FILTERS_ACTION_L3_SWITCH) {
    callbacks().log(kLogError, "Action type %i not found", action->getType());
    return HAL_FILTERS_ERR_FAILED;
  }
  return withAction(*action, eid, l3SwitchDelete);
}

int HalFiltersBcm::createBcmMacActions(const user_entry_key_t&, const FiltersEntry&, int) {
  return HAL_FILTERS_OK;  // MAC rewriting is done by the MAC replacement actions
}

int HalFiltersBcm::createBcmVlanActions(const FiltersEntry&, int) {
  return HAL_FILTERS_OK;
}

}  // namespace HalFiltersLL
