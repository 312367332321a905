#include <policer/policer_bcm.h>

#include <iterator>

#include <bcm/error.h>
#include <bcm/policer.h>

#include <hal_bcm_common/hal_bcm_common.h>

namespace policer::hal_ll {
namespace {

// Burst sizes are kept in bytes; the SDK takes kbit, rounded up.
uint32 kbits(unsigned bytes) {
  return static_cast<uint32>((uint64_t{bytes} * 8 + 999) / 1000);
}

bool to_sdk_config(const Mode& mode, bcm_policer_config_t& config) {
  config.ckbits_sec = mode.GetCir();
  config.ckbits_burst = kbits(mode.GetCbs());
  switch (mode.GetType()) {
    case Mode::TYPE_SR_TCM:
      config.mode = bcmPolicerModeSrTcm;
      config.pkbits_burst = kbits(mode.GetEbs());
      return true;
    case Mode::TYPE_TR_TCM:
      config.mode = bcmPolicerModeTrTcm;
      config.pkbits_sec = mode.GetPir();
      config.pkbits_burst = kbits(mode.GetPbs());
      return true;
    case Mode::TYPE_TR_TCM_DS:
      config.mode = bcmPolicerModeTrTcmDs;
      config.pkbits_sec = mode.GetEir();
      config.pkbits_burst = kbits(mode.GetEbs());
      return true;
    case Mode::TYPE_FLOW:
      config.mode = bcmPolicerModeCommitted;
      return true;
    case Mode::TYPE_NONE:
      break;
  }
  return false;
}

// Two actions on one colour conflict when they are of the same type, or when one drops.
bool actions_conflict(const std::list<Action>& actions) {
  for (auto a = actions.begin(); a != actions.end(); ++a) {
    for (auto b = std::next(a); b != actions.end(); ++b) {
      if (a->GetColor() != b->GetColor()) continue;
      if (a->GetType() == b->GetType() || a->GetType() == Action::TYPE_DROP ||
          b->GetType() == Action::TYPE_DROP) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

PolicerBcm& PolicerBcm::GetInstance() {
  static PolicerBcm instance;
  return instance;
}

int PolicerBcm::Create(const Policer& policer) {
  if (policer.GetId() == Policer::kNoId) return POLICER_MGR_INVALID_PARAMETER;
  if (actions_conflict(policer.GetActions())) return POLICER_MGR_ACTION_CONFLICT;
  bcm_policer_config_t config;
  bcm_policer_config_t_init(&config);
  config.flags = BCM_POLICER_WITH_ID | BCM_POLICER_MODE_BYTES;
  if (!to_sdk_config(policer.GetMode(), config)) return POLICER_MGR_INVALID_PARAMETER;
  bcm_policer_t id = static_cast<bcm_policer_t>(policer.GetId());
  int rv = bcm_policer_create(HalBcmCommon::GetInstance().unit, &config, &id);
  if (rv == BCM_E_NONE) return POLICER_MGR_OK;
  return rv == BCM_E_PARAM ? POLICER_MGR_INVALID_PARAMETER : POLICER_MGR_GENERIC_ERROR;
}

int PolicerBcm::Destroy(unsigned id) {
  int rv = bcm_policer_destroy(HalBcmCommon::GetInstance().unit, static_cast<bcm_policer_t>(id));
  return rv == BCM_E_NONE ? POLICER_MGR_OK : POLICER_MGR_GENERIC_ERROR;
}

}  // namespace policer::hal_ll
