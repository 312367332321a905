// The policer modes the field processor's meters take on every chip modelled
// (`_field_policer_hw_flags_set`, field_common.c); a policer is created in no other.
#pragma once

#include <bcm/policer.h>

namespace bcmsim::detail {

inline bool meterable_mode(int mode) {
  switch (mode) {
    case bcmPolicerModeSrTcm:
    case bcmPolicerModeCommitted:
    case bcmPolicerModeTrTcm:
    case bcmPolicerModeTrTcmDs:
    case bcmPolicerModeSrTcmModified:
    case bcmPolicerModeCoupledTrTcmDs:
    case bcmPolicerModeSrTcmTsn:
      return true;
    default:
      return false;
  }
}

}  // namespace bcmsim::detail
