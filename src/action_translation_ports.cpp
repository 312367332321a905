// Actions that carry a set of ports, added as one Broadcom port bitmap.
#include <hal_filters_ll/action_translation.h>

#include "action_setter.h"
#include "hal_id_lookup.h"
#include "port_bitmap.h"

namespace HalFiltersLL {

int setBcmFieldActionPortsAdd(const FiltersCommon::Action* action, int eid,
                              bcm_field_action_e bcm_action) {
  auto* ports = dynamic_cast<const FiltersCommon::ActionPorts*>(action);
  if (!ports) {
    callbacks().log(kLogError, "Filters-ll-bcm: ActionPorts casting error");
    return HAL_FILTERS_ERR_FAILED;
  }
  _shr_pbmp pbmp;
  BCM_PBMP_CLEAR(pbmp);
  for (const limid_t& port : ports->getPorts()) {
    const auto gport = lookUpHalId([&] { return HalBcmCommon::GetInstance().GetGport(port); },
                                   [](const char* miss) {
                                     callbacks().log(kLogError,
                                                     "Filters-ll-bcm: failed to convert action "
                                                     "interface to gport - %s\n",
                                                     miss);
                                   });
    if (!gport) return HAL_FILTERS_ERR_FAILED;
    addLocalPort(pbmp, *gport);
  }
  return actionResult(bcm_field_action_ports_add(bcmUnit(), eid, bcm_action, pbmp), "add",
                      bcm_action, eid);
}

}  // namespace HalFiltersLL
