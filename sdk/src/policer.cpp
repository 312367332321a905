// Policers: creation with or without a chosen id, configuration and destruction.
#include <bcm/error.h>
#include <bcm/policer.h>

#include <bcmsim/names.h>

#include "c_flags.h"
#include "c_source.h"
#include "call_args.h"
#include "policer_modes.h"
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
  if (!config || !policer_id) return refuse(Why::BadArgument, BCM_E_PARAM);
  // DROP_RED is not on this device family.
  if (config->flags & BCM_POLICER_DROP_RED) return refuse(Why::BadArgument, BCM_E_PARAM);
  const bool with_id = config->flags & BCM_POLICER_WITH_ID;
  if (with_id && (*policer_id < 0 || *policer_id >= kFieldIdEnd)) {
    return refuse(Why::BadArgument, BCM_E_PARAM);
  }
  if (config->mode == bcmPolicerModeCommitted && (config->pkbits_sec || config->pkbits_burst)) {
    return refuse(Why::BadArgument, BCM_E_PARAM);  // one rate, one bucket: no peak
  }
  auto& policers = dev.state.policers;
  if (with_id) {
    auto existing = policers.find(*policer_id);
    if (existing != policers.end()) {
      if (!(config->flags & BCM_POLICER_REPLACE)) return refuse(Why::PolicerExists, BCM_E_EXISTS);
      if (!existing->second.attachments.empty()) return refuse(Why::PolicerBusy, BCM_E_BUSY);
      if (!meterable_mode(config->mode)) return refuse(Why::PolicerModeUnmeterable, BCM_E_UNAVAIL);
      existing->second.config = *config;
      dev.meters.erase(*policer_id);
      return BCM_E_NONE;
    }
  }
  // An id given out is used up even when the mode is then refused.
  const bcm_policer_t id =
      with_id ? *policer_id
              : dev.policer_ids.take([&](int taken) { return policers.count(taken) > 0; });
  if (!meterable_mode(config->mode)) return refuse(Why::PolicerModeUnmeterable, BCM_E_UNAVAIL);
  *policer_id = id;
  Policer& policer = policers[*policer_id];
  policer.id = *policer_id;
  policer.config = *config;
  return BCM_E_NONE;
}

template <class Use>
int with_policer(Device& dev, bcm_policer_t id, Use&& use) {
  auto it = dev.state.policers.find(id);
  return it == dev.state.policers.end() ? refuse(Why::PolicerUnknown, BCM_E_NOT_FOUND)
                                        : use(it->second);
}

CSourceBuilder::Fields policer_fields(const bcm_policer_config_t& config) {
  return {{"flags", c_policer_flags(config.flags)},
          {"mode", "bcmPolicerMode" + policer_mode_name(config.mode)},
          {"ckbits_sec", std::to_string(config.ckbits_sec)},
          {"ckbits_burst", std::to_string(config.ckbits_burst)},
          {"pkbits_sec", std::to_string(config.pkbits_sec)},
          {"pkbits_burst", std::to_string(config.pkbits_burst)}};
}

// The unit and the configuration, and the policer id when the call takes it after them.
CSourceBuilder policer_source(int unit, const bcm_policer_config_t* config) {
  CSourceBuilder source;
  source.number(unit);
  if (!config) {
    source.literal("NULL");
    return source;
  }
  source.structure("bcm_policer_config_t", "policer_config", policer_fields(*config));
  return source;
}

// With BCM_POLICER_WITH_ID the call takes the id, which is the caller's; without it the SDK
// chooses one.
CallSource policer_id_source(CSourceBuilder source, const bcm_policer_config_t* config,
                             const bcm_policer_t* policer_id) {
  if (!policer_id) return source.literal("NULL").build();
  source.output("bcm_policer_t", "policer_id");
  const bool chosen = !config || !(config->flags & BCM_POLICER_WITH_ID);
  if (!chosen) source.fill({"policer_id = " + std::to_string(*policer_id) + ";"});
  return source.makes(Ref::Policer, *policer_id, chosen, "policer_id").build();
}

// A policer's creation, with the id it took.
LoggedArgs create_args(int unit, const bcm_policer_config_t* config,
                       const bcm_policer_t* policer_id) {
  return {std::to_string(unit) + ", " + config_text(config) + " -> " +
              (policer_id ? std::to_string(*policer_id) : "NULL"),
          policer_id_source(policer_source(unit, config), config, policer_id)};
}

// A policer's new configuration.
LoggedArgs set_args(int unit, bcm_policer_t policer_id, const bcm_policer_config_t* config) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Policer, policer_id);
  if (config) {
    source.structure("bcm_policer_config_t", "policer_config", policer_fields(*config));
  } else {
    source.literal("NULL");
  }
  return {std::to_string(unit) + ", " + std::to_string(policer_id) + ", " + config_text(config),
          source.build()};
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

void bcm_policer_config_t_init(bcm_policer_config_t* pol_cfg) {
  sdk_void_call(__func__, pol_cfg);
  if (pol_cfg) memset(pol_cfg, 0, sizeof(*pol_cfg));
}

int bcm_policer_create(int unit, bcm_policer_config_t* pol_cfg, bcm_policer_t* policer_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, config = kept(pol_cfg), id = kept(policer_id)] {
          return create_args(unit, address(config), address(id));
        };
      },
      [&](Device& dev) -> int { return create_policer(dev, pol_cfg, policer_id); });
}

int bcm_policer_destroy(int unit, bcm_policer_t policer_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, policer_id] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(policer_id),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::Policer, policer_id)
                                .removes(Ref::Policer, policer_id)
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        return with_policer(dev, policer_id, [&](bcmsim::Policer& policer) -> int {
          if (!policer.attachments.empty()) return refuse(Why::PolicerBusy, BCM_E_BUSY);
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
        return [unit, policer_id, config = kept(pol_cfg)] {
          return set_args(unit, policer_id, address(config));
        };
      },
      [&](Device& dev) -> int {
        if (!pol_cfg || pol_cfg->mode < 0 || pol_cfg->mode >= bcmPolicerModeCount) {
          return refuse(Why::BadArgument, BCM_E_PARAM);
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
      [&] {
        return [unit, policer_id] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(policer_id),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::Policer, policer_id)
                                .output("bcm_policer_config_t", "policer_config")
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        if (!pol_cfg) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_policer(dev, policer_id, [&](bcmsim::Policer& policer) -> int {
          *pol_cfg = policer.config;
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
