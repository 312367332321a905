// Policers: creation with or without a chosen id, configuration and destruction.
#include <bcm/error.h>
#include <bcm/policer.h>

#include <bcmsim/names.h>

#include "sdk_call.h"
#include "text.h"

namespace bcmsim::detail {
namespace {

std::string config_text(const bcm_policer_config_t* config) {
  if (!config) return "NULL";
  return "{flags " + hex_text(config->flags) + ", mode " + policer_mode_name(config->mode) +
         ", ckbits_sec " + std::to_string(config->ckbits_sec) + ", ckbits_burst " +
         std::to_string(config->ckbits_burst) + ", pkbits_sec " +
         std::to_string(config->pkbits_sec) + ", pkbits_burst " +
         std::to_string(config->pkbits_burst) + "}";
}

int create_policer(Device& dev, const bcm_policer_config_t* config, bcm_policer_t* policer_id) {
  if (!config || !policer_id) return BCM_E_PARAM;
  if (config->mode < 0 || config->mode >= bcmPolicerModeCount) return BCM_E_PARAM;
  const bool with_id = config->flags & BCM_POLICER_WITH_ID;
  const bool replace = config->flags & BCM_POLICER_REPLACE;
  int id = *policer_id;
  if (with_id) {
    if (id < 0) return BCM_E_PARAM;
    bool exists = dev.state.policers.count(id) > 0;
    if (exists && !replace) return BCM_E_EXISTS;
    if (!exists && replace) return BCM_E_NOT_FOUND;
  } else {
    id = dev.policer_ids.take([&](int taken) { return dev.state.policers.count(taken) > 0; });
  }
  Policer& policer = dev.state.policers[id];
  policer.id = id;
  policer.config = *config;
  *policer_id = id;
  return BCM_E_NONE;
}

template <class Use>
int with_policer(Device& dev, bcm_policer_t id, Use&& use) {
  auto it = dev.state.policers.find(id);
  return it == dev.state.policers.end() ? BCM_E_NOT_FOUND : use(it->second);
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

void bcm_policer_config_t_init(bcm_policer_config_t* pol_cfg) {
  sdk_void_call(__func__, [&] { return pointer_text(pol_cfg); });
  if (pol_cfg) memset(pol_cfg, 0, sizeof(*pol_cfg));
}

int bcm_policer_create(int unit, bcm_policer_config_t* pol_cfg, bcm_policer_t* policer_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return std::to_string(unit) + ", " + config_text(pol_cfg) + " -> " +
               (policer_id ? std::to_string(*policer_id) : "NULL");
      },
      [&](Device& dev) -> int { return create_policer(dev, pol_cfg, policer_id); });
}

int bcm_policer_destroy(int unit, bcm_policer_t policer_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] { return std::to_string(unit) + ", " + std::to_string(policer_id); },
      [&](Device& dev) -> int {
        return with_policer(dev, policer_id, [&](bcmsim::Policer& policer) -> int {
          if (!policer.attachments.empty()) return BCM_E_BUSY;
          dev.state.policers.erase(policer_id);
          return BCM_E_NONE;
        });
      });
}

int bcm_policer_set(int unit, bcm_policer_t policer_id, bcm_policer_config_t* pol_cfg) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return std::to_string(unit) + ", " + std::to_string(policer_id) + ", " +
               config_text(pol_cfg);
      },
      [&](Device& dev) -> int {
        if (!pol_cfg || pol_cfg->mode < 0 || pol_cfg->mode >= bcmPolicerModeCount) {
          return BCM_E_PARAM;
        }
        return with_policer(dev, policer_id, [&](bcmsim::Policer& policer) -> int {
          policer.config = *pol_cfg;
          return BCM_E_NONE;
        });
      });
}

int bcm_policer_get(int unit, bcm_policer_t policer_id, bcm_policer_config_t* pol_cfg) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] { return std::to_string(unit) + ", " + std::to_string(policer_id); },
      [&](Device& dev) -> int {
        if (!pol_cfg) return BCM_E_PARAM;
        return with_policer(dev, policer_id, [&](bcmsim::Policer& policer) -> int {
          *pol_cfg = policer.config;
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
