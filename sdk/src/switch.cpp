// Device-wide switch controls.
#include <bcm/error.h>
#include <bcm/switch.h>

#include "c_source.h"
#include "sdk_call.h"

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_switch_control_set(int unit, bcm_switch_control_t type, int arg) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, type, arg] {
          return LoggedArgs{
              std::to_string(unit) + ", " + std::to_string(type) + ", " + std::to_string(arg),
              CSourceBuilder().number(unit).literal(c_switch_control(type)).number(arg).build()};
        };
      },
      [&](Device& dev) -> int {
        dev.state.switch_controls[type] = arg;
        return BCM_E_NONE;
      });
}

int bcm_switch_control_get(int unit, bcm_switch_control_t type, int* arg) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, type] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(type),
                            CSourceBuilder()
                                .number(unit)
                                .literal(c_switch_control(type))
                                .output("int", "switch_control")
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        if (!arg) return refuse(Why::BadArgument, BCM_E_PARAM);
        auto it = dev.state.switch_controls.find(type);
        *arg = it == dev.state.switch_controls.end() ? 0 : it->second;
        return BCM_E_NONE;
      });
}

}  // extern "C"
