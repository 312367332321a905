// The report every Broadcom action call shares when the SDK refuses it.
#pragma once

#include "sdk_support.h"

namespace HalFiltersLL {

// 0 for any SDK result of 0 or above; otherwise reports the refusal with its code and -2.
inline int actionResult(int rv, const char* verb, int action, int eid) {
  if (rv >= 0) return HAL_FILTERS_OK;
  callbacks().error(rv, "[HAL FILTERS] Couldn't %s action %d to/from BCM entry id %d: %s", verb,
                    action, eid, sdkErrorText(rv));
  return HAL_FILTERS_ERR_FAILED;
}

}  // namespace HalFiltersLL
