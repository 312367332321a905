// Policers: created through the policer manager when the first hardware entry uses their id,
// attached to every hardware entry that uses them (level 0 the entry's own, level 1 its parent),
// released with the last; and their per-colour actions as Broadcom field actions.
#include <hal_filters_ll/hal_filters_bcm.h>

#include <map>
#include <sstream>

#include <policer/policer_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

using policer::Action;
using policer::Policer;
using ColourAction = std::pair<policer::Color, Action::Type>;
using PolicerActionTable = std::map<FiltersCommon::filtersGroupStage_t,
                                    std::map<ColourAction, std::set<bcm_field_action_e>>>;

constexpr int kOwnLevel = 0;
constexpr int kParentLevel = 1;

// The Broadcom actions of each (colour, action) at ingress and at egress; pre-ingress has none.
const PolicerActionTable& policerActionTable() {
  static const PolicerActionTable table = {
      {FiltersCommon::FILTERS_GROUP_STAGE_INGRESS,
       {{{policer::COLOR_RED, Action::TYPE_DROP}, {bcmFieldActionRpDrop}},
        {{policer::COLOR_RED, Action::TYPE_SET_DSCP}, {bcmFieldActionRpDscpNew}},
        {{policer::COLOR_RED, Action::TYPE_SET_PCP},
         {bcmFieldActionRpPrioPktNew, bcmFieldActionRpPrioIntNew}},
        {{policer::COLOR_YELLOW, Action::TYPE_DROP}, {bcmFieldActionYpDrop}},
        {{policer::COLOR_YELLOW, Action::TYPE_SET_DSCP}, {bcmFieldActionYpDscpNew}},
        {{policer::COLOR_YELLOW, Action::TYPE_SET_PCP},
         {bcmFieldActionYpPrioPktNew, bcmFieldActionYpPrioIntNew}},
        {{policer::COLOR_GREEN, Action::TYPE_DROP}, {bcmFieldActionGpDrop}},
        {{policer::COLOR_GREEN, Action::TYPE_SET_DSCP}, {bcmFieldActionGpDscpNew}},
        {{policer::COLOR_GREEN, Action::TYPE_SET_PCP},
         {bcmFieldActionGpPrioPktNew, bcmFieldActionGpPrioIntNew}}}},
      {FiltersCommon::FILTERS_GROUP_STAGE_EGRESS,
       {{{policer::COLOR_RED, Action::TYPE_DROP}, {bcmFieldActionRpDrop}},
        {{policer::COLOR_RED, Action::TYPE_SET_DSCP}, {bcmFieldActionRpDscpNew}},
        {{policer::COLOR_RED, Action::TYPE_SET_PCP}, {bcmFieldActionRpOuterVlanPrioNew}},
        {{policer::COLOR_YELLOW, Action::TYPE_DROP}, {bcmFieldActionYpDrop}},
        {{policer::COLOR_YELLOW, Action::TYPE_SET_DSCP}, {bcmFieldActionYpDscpNew}},
        {{policer::COLOR_YELLOW, Action::TYPE_SET_PCP}, {bcmFieldActionYpOuterVlanPrioNew}},
        {{policer::COLOR_GREEN, Action::TYPE_DROP}, {bcmFieldActionGpDrop}},
        {{policer::COLOR_GREEN, Action::TYPE_SET_DSCP}, {bcmFieldActionGpDscpNew}},
        {{policer::COLOR_GREEN, Action::TYPE_SET_PCP}, {bcmFieldActionGpOuterVlanPrioNew}}}},
  };
  return table;
}

const char* managerErrorName(int code) {
  switch (code) {
    case 1:
      return "Invalid parameter";
    case 2:
      return "Action conflicts with another Action for the same packet color in this Policer";
    case 3:
      return "Operation not supported";
    case 4:
      return "Generic error";
    case 5:
      return "Response callback is not registered";
    case 6:
      return "Policer Manager was not found";
    case 7:
      return "Protobuf returned error";
    default:
      return "";
  }
}

std::string description(const Policer& policer) {
  std::ostringstream text;
  writePolicerDescription(text, policer);
  return text.str();
}

std::string actionText(const Action& action) {
  std::ostringstream text;
  writePolicerAction(text, action);
  return text.str();
}

// Creates the policer in the manager unless `created` already records it.
int ensureCreated(const Policer& policer, std::map<unsigned int, std::set<int>>& created,
                  int hw_eid) {
  if (created.count(policer.GetId())) return HAL_FILTERS_OK;
  int rc = policer::hal_ll::PolicerBcm::GetInstance().Create(policer);
  if (rc != 0) {
    const std::string text = std::string(managerErrorName(rc)) + ".\n" + description(policer);
    callbacks().log(kLogError,
                    "[HAL FILTERS] %s() Failed to create policer for filter entry %d: %s",
                    "installPolicer", hw_eid, text.c_str());
    return HAL_FILTERS_ERR_FAILED;
  }
  created[policer.GetId()];
  return HAL_FILTERS_OK;
}

int attach(int hw_eid, int level, unsigned int policer_id, const Policer& described) {
  int rv = bcm_field_entry_policer_attach(bcmUnit(), hw_eid, level,
                                          static_cast<bcm_policer_t>(policer_id));
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to attach policer to filter entry %d: %s",
                      "installPolicer", hw_eid, ("\n" + description(described)).c_str());
    return HAL_FILTERS_ERR_SDK;
  }
  return HAL_FILTERS_OK;
}

// Forgets one hardware entry's use of a policer, and the policer with its last use.
int release(int hw_eid, std::map<int, unsigned int>& entry_policer,
            std::map<unsigned int, std::set<int>>& policer_entries) {
  const unsigned int policer_id = entry_policer.at(hw_eid);
  auto users = policer_entries.find(policer_id);
  if (users == policer_entries.end()) return HAL_FILTERS_ERR_FAILED;
  users->second.erase(hw_eid);
  entry_policer.erase(hw_eid);
  if (users->second.empty()) {
    if (policer::hal_ll::PolicerBcm::GetInstance().Destroy(policer_id) != 0) {
      return HAL_FILTERS_ERR_FAILED;  // the empty set stays: a later install reuses the policer
    }
    policer_entries.erase(users);
  }
  return HAL_FILTERS_OK;
}

// Destroys a policer that a failed destroy left recorded without users.
int destroyIfIdle(unsigned int policer_id, std::map<unsigned int, std::set<int>>& policer_entries) {
  auto users = policer_entries.find(policer_id);
  if (users == policer_entries.end() || !users->second.empty()) return HAL_FILTERS_OK;
  if (policer::hal_ll::PolicerBcm::GetInstance().Destroy(policer_id) != 0) {
    return HAL_FILTERS_ERR_FAILED;
  }
  policer_entries.erase(users);
  return HAL_FILTERS_OK;
}

}  // namespace

void writePolicerAction(std::ostream& out, const Action& action) {
  switch (action.GetColor()) {
    case policer::COLOR_RED:
      out << "Red";
      break;
    case policer::COLOR_YELLOW:
      out << "Yellow";
      break;
    case policer::COLOR_GREEN:
      out << "Green";
      break;
  }
  out << " ";
  switch (action.GetType()) {
    case Action::TYPE_DROP:
      out << "Drop";
      break;
    case Action::TYPE_SET_PCP:
      out << "Set PCP " << static_cast<unsigned>(action.GetPcp());
      break;
    case Action::TYPE_SET_DSCP:
      out << "Set DSCP " << static_cast<unsigned>(action.GetDscp());
      break;
  }
}

void writePolicerDescription(std::ostream& out, const Policer& policer) {
  out << "Policer Id: ";
  if (policer.GetId() == Policer::kNoId) {
    out << "Invalid";
  } else {
    out << policer.GetId();
  }
  out << "\nStage: ";
  switch (policer.GetStage()) {
    case Policer::STAGE_INGRESS:
      out << "Ingress";
      break;
    case Policer::STAGE_EGRESS:
      out << "Egress";
      break;
    case Policer::STAGE_NONE:
      out << "None";
      break;
  }
  const policer::Mode& mode = policer.GetMode();
  out << "\nMode: ";
  switch (mode.GetType()) {
    case policer::Mode::TYPE_SR_TCM:
      out << "SrTcm (CIR: " << mode.GetCir() << " kbits/s, CBS: " << mode.GetCbs()
          << " bytes, EBS: " << mode.GetEbs() << " bytes)";
      break;
    case policer::Mode::TYPE_TR_TCM:
      out << "TrTcm (CIR: " << mode.GetCir() << " kbits/s, CBS: " << mode.GetCbs()
          << " bytes, PIR: " << mode.GetPir() << " kbits/s, PBS: " << mode.GetPbs() << " bytes)";
      break;
    case policer::Mode::TYPE_TR_TCM_DS:
      out << "TrTcmDs (CIR: " << mode.GetCir() << " kbits/s, CBS: " << mode.GetCbs()
          << " bytes, EIR: " << mode.GetEir() << " kbits/s, EBS: " << mode.GetEbs() << " bytes)";
      break;
    case policer::Mode::TYPE_FLOW:
      out << "Flow (CIR: " << mode.GetCir() << " kbits/s, CBS: " << mode.GetCbs() << " bytes)";
      break;
    case policer::Mode::TYPE_NONE:
      out << "None";
      break;
  }
  out << "\nActions:";
  for (const Action& action : policer.GetActions()) {
    out << "\n+ ";
    writePolicerAction(out, action);
  }
}

int HalFiltersBcm::installPolicer(FiltersCommon::filtersGroupStage_t stage, int hw_eid,
                                  const FiltersCommon::FiltersEntry& entry) {
  const Policer& own = entry.getPolicer();
  if (own.GetId() == Policer::kNoId) return HAL_FILTERS_OK;
  const std::shared_ptr<const Policer> parent = entry.getPolicerParent();
  if (parent) {
    if (int rc = ensureCreated(*parent, parent_policer_entries_, hw_eid); rc != 0) return rc;
  }
  if (int rc = ensureCreated(own, policer_entries_, hw_eid); rc != 0) return rc;

  // Attach failures describe the entry's own policer, also for the parent's level.
  if (parent) {
    if (int rc = attach(hw_eid, kParentLevel, parent->GetId(), own); rc != 0) return rc;
  }
  if (int rc = attach(hw_eid, kOwnLevel, own.GetId(), own); rc != 0) return rc;
  if (parent) {
    parent_policer_entries_[parent->GetId()].insert(hw_eid);
    entry_parent_policer_[hw_eid] = parent->GetId();
  }
  policer_entries_[own.GetId()].insert(hw_eid);
  entry_policer_[hw_eid] = own.GetId();

  for (const Action& action : own.GetActions()) {
    if (int rc = createBcmPolicerAction(stage, action, hw_eid); rc != 0) {
      callbacks().log(kLogError,
                      "[HAL FILTERS] %s() Failed to set policer action %s to filter entry: %d",
                      "installPolicer", actionText(action).c_str(), hw_eid);
      return rc;
    }
  }
  return HAL_FILTERS_OK;
}

int HalFiltersBcm::createBcmPolicerAction(FiltersCommon::filtersGroupStage_t stage,
                                          const Action& action, int hw_eid) {
  const PolicerActionTable& table = policerActionTable();
  const uint32 parameter = action.GetType() == Action::TYPE_SET_PCP    ? action.GetPcp()
                           : action.GetType() == Action::TYPE_SET_DSCP ? action.GetDscp()
                                                                       : 0;
  auto stage_actions = table.find(stage);
  if (stage_actions == table.end()) {
    const std::string text = "Invalid filter stage (" + std::to_string(stage) +
                             ") for Policer action: " + actionText(action);
    callbacks().log(kLogError, "[HAL FILTERS] %s() %s", "createBcmPolicerAction", text.c_str());
    return HAL_FILTERS_ERR_FAILED;
  }
  auto bcm_actions = stage_actions->second.find({action.GetColor(), action.GetType()});
  if (bcm_actions == stage_actions->second.end()) {
    const std::string text =
        "Can not find suitable Broadcom field action for Policer action: " + actionText(action);
    callbacks().log(kLogError, "[HAL FILTERS] %s() %s", "createBcmPolicerAction", text.c_str());
    return HAL_FILTERS_ERR_SDK;
  }
  int result = HAL_FILTERS_OK;
  for (bcm_field_action_e bcm_action : bcm_actions->second) {
    if (setBcmFieldActionAdd(hw_eid, bcm_action, parameter, 0) != 0)
      result = HAL_FILTERS_ERR_FAILED;
  }
  return result;
}

int HalFiltersBcm::removePolicer(int hw_eid) {
  if (!entry_policer_.count(hw_eid)) return HAL_FILTERS_OK;
  // The entry lets go of its parent even when its own policer could not be destroyed.
  int rc = release(hw_eid, entry_policer_, policer_entries_);
  if (entry_parent_policer_.count(hw_eid) &&
      release(hw_eid, entry_parent_policer_, parent_policer_entries_) != 0) {
    rc = HAL_FILTERS_ERR_FAILED;
  }
  return rc;
}

int HalFiltersBcm::releaseIdlePolicers(const FiltersCommon::FiltersEntry& entry) {
  const unsigned int own = entry.getPolicer().GetId();
  int rc = own == Policer::kNoId ? HAL_FILTERS_OK : destroyIfIdle(own, policer_entries_);
  if (const auto parent = entry.getPolicerParent()) {
    if (destroyIfIdle(parent->GetId(), parent_policer_entries_) != 0) rc = HAL_FILTERS_ERR_FAILED;
  }
  return rc;
}

}  // namespace HalFiltersLL
