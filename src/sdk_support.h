// Small helpers every unit of the library uses around SDK calls.
#pragma once

#include <cstdint>

#include <hal_filters_ll/bcm_sdk.h>
#include <hal_filters_ll/hal_filters_itf.h>

#include <hal_bcm_common/hal_bcm_common.h>
#include <hal_callbacks/hal_callbacks_itf.h>

namespace HalFiltersLL {

// The Broadcom unit, as the platform keeps it (an 8-bit value).
inline int bcmUnit() {
  return static_cast<uint8_t>(HalBcmCommon::GetInstance().unit);
}

// The SDK's text for a return code: minus the code indexes the table for -22 to 0, every other
// code reads as the table's "unknown" entry.
inline const char* sdkErrorText(int rv) {
  constexpr int kUnknownErrorIndex = 23;
  return _shr_errmsg[(rv <= 0 && rv >= -22) ? -rv : kUnknownErrorIndex];
}

// The local port of a gport: its low 11 bits when its type (bits 26 up) is 1 and bits 21 to 25
// are zero; -1 for any other gport.
inline int localPortOfGport(bcm_gport_t gport) {
  const uint32_t bits = static_cast<uint32_t>(gport);
  if ((bits >> 26) != 1 || ((bits >> 21) & 0x1f) != 0) return -1;
  return static_cast<int>(bits & 0x7ff);
}

inline HalCallbacksItf& callbacks() {
  return HalCallbacksItf::getInstance();
}

constexpr int kLogError = HalCallbacksItf::kError;
constexpr int kLogWarning = HalCallbacksItf::kWarning;
constexpr int kLogInfo = HalCallbacksItf::kInfo;

}  // namespace HalFiltersLL
