// Short ways to build filter model objects and read port bitmaps in tests.
#pragma once

#include <list>
#include <set>

#include <hal_filters_ll/bcm_sdk.h>

#include <filters_common/filters_common.h>
#include <lag/lag_orchestrator.h>

namespace test_support {

inline std::list<limid_t> ports(std::initializer_list<limid_t> ids) {
  return ids;
}

inline std::set<int> members_of(const _shr_pbmp& pbmp) {
  std::set<int> ports;
  for (int port = 0; port < _SHR_PBMP_PORT_MAX; ++port) {
    if (BCM_PBMP_MEMBER(pbmp, port)) ports.insert(port);
  }
  return ports;
}

inline std::set<int> range(int first, int last) {
  std::set<int> values;
  for (int value = first; value <= last; ++value) values.insert(value);
  return values;
}

// Creates a LAG with the given Ethernet ports as members.
inline void make_lag(halswitchl2if::LagOrchestrator& lags, unsigned lag,
                     std::initializer_list<unsigned> members) {
  lags.CreateLag(limid_lag(lag));
  for (unsigned member : members) lags.AddMember(limid_lag(lag), limid_ethernet(member));
}

}  // namespace test_support
