// Policers attached to field entries, one per level.
#include <bcm/error.h>
#include <bcm/field.h>

#include "sdk_call.h"

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_entry_policer_attach(int unit, bcm_field_entry_t entry_id, int level,
                                   bcm_policer_t policer_id) {
  return sdk_call(
      __func__, unit, entry_id,
      [&] {
        return std::to_string(unit) + ", " + std::to_string(entry_id) + ", " +
               std::to_string(level) + ", " + std::to_string(policer_id);
      },
      [&](Device& dev) -> int {
        return with_entry(dev, entry_id, [&](bcmsim::Entry& e) -> int {
          auto policer = dev.state.policers.find(policer_id);
          if (policer == dev.state.policers.end()) return BCM_E_NOT_FOUND;
          if (level < 0 || level >= bcmsim::kPolicerLevels) return BCM_E_PARAM;
          if (e.staged.policers[level]) return BCM_E_EXISTS;
          e.staged.policers[level] = policer_id;
          policer->second.attachments.insert({entry_id, level});
          return BCM_E_NONE;
        });
      });
}

int bcm_field_entry_policer_detach(int unit, bcm_field_entry_t entry_id, int level) {
  return sdk_call(
      __func__, unit, entry_id,
      [&] {
        return std::to_string(unit) + ", " + std::to_string(entry_id) + ", " +
               std::to_string(level);
      },
      [&](Device& dev) -> int {
        return with_entry(dev, entry_id, [&](bcmsim::Entry& e) -> int {
          if (level < 0 || level >= bcmsim::kPolicerLevels) return BCM_E_PARAM;
          if (!e.staged.policers[level]) return BCM_E_NOT_FOUND;
          dev.state.policers[*e.staged.policers[level]].attachments.erase({entry_id, level});
          e.staged.policers[level].reset();
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
