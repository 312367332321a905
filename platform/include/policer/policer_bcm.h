// The policer manager's Broadcom driver: creates and destroys a policer in the SDK under the
// policer's own id.
#pragma once

#include <policer/policer.h>

namespace policer::hal_ll {

// The policer manager's result codes.
enum PolicerMgrError : int {
  POLICER_MGR_OK = 0,
  POLICER_MGR_INVALID_PARAMETER = 1,
  POLICER_MGR_ACTION_CONFLICT = 2,
  POLICER_MGR_NOT_SUPPORTED = 3,
  POLICER_MGR_GENERIC_ERROR = 4,
  POLICER_MGR_NO_RESPONSE_CALLBACK = 5,
  POLICER_MGR_NOT_FOUND = 6,
  POLICER_MGR_PROTOBUF_ERROR = 7,
};

class PolicerBcm {
 public:
  static PolicerBcm& GetInstance();

  // 0, or: INVALID_PARAMETER for a policer without id or metering mode, ACTION_CONFLICT for
  // two actions on one colour that cannot both apply, INVALID_PARAMETER or GENERIC_ERROR when
  // the SDK refuses.
  int Create(const Policer& policer);
  // 0, or GENERIC_ERROR when the SDK refuses (unknown id, still attached).
  int Destroy(unsigned id);

 private:
  PolicerBcm() = default;
};

}  // namespace policer::hal_ll
