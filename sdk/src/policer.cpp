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

// Without an id the next free one is given; with an id in use the configuration is replaced,
// only if asked and only while no entry uses the policer.
int create_policer(Device& dev, const bcm_policer_config_t* config, bcm_policer_t* policer_id) {
  if (!config || !policer_id) return BCM_E_PARAM;
  const bool with_id = config->flags & BCM_POLICER_WITH_ID;
  if (with_id && (*policer_id < 0 || *policer_id >= kFieldIdEnd)) return BCM_E_PARAM;
  if (config->mode < 0 || config->mode >= bcmPolicerModeCount) return BCM_E_PARAM;
  if (config->mode == bcmPolicerModeCommitted && (config->pkbits_sec || config->pkbits_burst)) {
    return BCM_E_PARAM;  // one rate, one bucket: no peak
  }
  auto& policers = dev.state.policers;
  if (with_id) {
    auto existing = policers.find(*policer_id);
    if (existing != policers.end()) {
      if (!(config->flags & BCM_POLICER_REPLACE)) return BCM_E_EXISTS;
      if (!existing->second.attachments.empty()) return BCM_E_BUSY;
      existing->second.config = *config;
      dev.meters.erase(*policer_id);
      return BCM_E_NONE;
    }
  } else {
    *policer_id = dev.policer_ids.take([&](int taken) { return policers.count(taken) > 0; });
  }
  Policer& policer = policers[*policer_id];
  policer.id = *policer_id;
  policer.config = *config;
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
          dev.meters.erase(policer_id);
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
          dev.meters.erase(policer_id);
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
