// The shared services of the SDK: the error message table, port bitmap helpers, the VLAN action
// set initialiser and the assertion routine.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <bcm/vlan.h>
#include <sal/core/libc.h>
#include <shared/error.h>
#include <shared/pbmp.h>

#include "sdk_call.h"

extern "C" {

char* _shr_errmsg[] = {
    const_cast<char*>("Ok"),
    const_cast<char*>("Internal error"),
    const_cast<char*>("Out of memory"),
    const_cast<char*>("Invalid unit"),
    const_cast<char*>("Invalid parameter"),
    const_cast<char*>("Table empty"),
    const_cast<char*>("Table full"),
    const_cast<char*>("Entry not found"),
    const_cast<char*>("Entry exists"),
    const_cast<char*>("Operation timed out"),
    const_cast<char*>("Operation still running"),
    const_cast<char*>("Operation failed"),
    const_cast<char*>("Operation disabled"),
    const_cast<char*>("Invalid identifier"),
    const_cast<char*>("No resources for operation"),
    const_cast<char*>("Invalid configuration"),
    const_cast<char*>("Feature unavailable"),
    const_cast<char*>("Feature not initialized"),
    const_cast<char*>("Invalid port"),
    const_cast<char*>("I/O error"),
    const_cast<char*>("Access error"),
    const_cast<char*>("No handler"),
    const_cast<char*>("Partial success"),
    const_cast<char*>("Unknown error"),
};

int _shr_pbmp_bmnull(_shr_pbmp_t* bm) {
  for (uint32 word : bm->pbits) {
    if (word) return 0;
  }
  return 1;
}

int _shr_pbmp_bmeq(_shr_pbmp_t* bm1, _shr_pbmp_t* bm2) {
  return std::memcmp(bm1->pbits, bm2->pbits, sizeof(bm1->pbits)) == 0;
}

void bcm_vlan_action_set_t_init(bcm_vlan_action_set_t* action) {
  bcmsim::detail::sdk_void_call(__func__, action);
  if (action) std::memset(action, 0, sizeof(*action));
}

void _sal_assert(const char* expr, const char* file, int line) {
  std::fprintf(stderr, "ERROR: Assertion failed: (%s) at %s:%d\n", expr, file, line);
  std::fflush(stderr);
  std::abort();
}

}  // extern "C"
