// Port bitmaps filled from gports.
#pragma once

#include <hal_filters_ll/bcm_sdk.h>

#include "sdk_support.h"

namespace HalFiltersLL {

// Sets the bit of a local-port gport; a gport of any other form adds nothing.
inline void addLocalPort(_shr_pbmp& pbmp, bcm_gport_t gport) {
  const int port = localPortOfGport(gport);
  if (port >= 0 && port < _SHR_PBMP_PORT_MAX) BCM_PBMP_PORT_ADD(pbmp, port);
}

}  // namespace HalFiltersLL
