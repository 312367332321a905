// Group creation: one hardware group per user group, from the catalogue of its type, then its
// entries; a group whose entries cannot all be created is removed again.
#include <array>

#include <hal_filters_ll/device_profile.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

using FiltersCommon::FiltersGroup;

// The catalogue functions of group types 1 to 10.
constexpr std::array<void (*)(GroupCatalogue&), 10> kCatalogue = {
    getHWGroupConfigType1, getHWGroupConfigType2, getHWGroupConfigType3, getHWGroupConfigType4,
    getHWGroupConfigType5, getHWGroupConfigType6, getHWGroupConfigType7, getHWGroupConfigType8,
    getHWGroupConfigType9, getHWGroupConfigType10};

constexpr unsigned int kDnxOnlyGroupType = 11;
constexpr unsigned int kUnknownGroupType = 12;

}  // namespace

halFiltersErr_t HalFiltersBcm::createGroup(const FiltersGroup& group) {
  const int unit = bcmUnit();
  const int hw_gid = getHwGid(group.getStage(), group.getId());
  if (hw_gid < 0) {
    callbacks().log(kLogError, "Hardware group ID translation failed");
    return HAL_FILTERS_ERR_FAILED;
  }

  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  bcm_field_qset_t qset;
  bcm_field_qset_t_init(&qset);
  bcm_field_aset_t aset;
  bcm_field_aset_t_init(&aset);
  config.qset = qset;
  config.aset = aset;

  if (halFiltersErr_t rc = fillGroupStage(group, config); rc != HAL_FILTERS_OK) return rc;
  if (halFiltersErr_t rc = fillGroupConfig(group, config); rc != HAL_FILTERS_OK) return rc;

  const int prio = getHwGroupPrio(group.getStage(), group.getPriority());
  if (prio < 0) {
    callbacks().log(kLogError, "Hardware group priority translation failed");
    return HAL_FILTERS_ERR_FAILED;
  }
  config.group = hw_gid;
  config.priority = prio;
  int rv = bcm_field_group_config_create(unit, &config);
  if (rv != BCM_E_NONE) return handleBcmGroupError(rv, hw_gid, prio, "create");
  const halFiltersErr_t rc = createGroupEntries(unit, group);
  // Without the with-id flag the SDK chose the group's id; a failed group goes whatever it is.
  if (rc != HAL_FILTERS_OK && config.group != hw_gid) bcm_field_group_destroy(unit, config.group);
  return rc;
}

halFiltersErr_t HalFiltersBcm::fillGroupStage(const FiltersGroup& group,
                                              bcm_field_group_config_t& config) {
  switch (group.getStage()) {
    case FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS:
      callbacks().log(kLogInfo, "Filling group pre-ingress");
      BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageLookup);
      return HAL_FILTERS_OK;
    case FiltersCommon::FILTERS_GROUP_STAGE_INGRESS:
      callbacks().log(kLogInfo, "Filling group ingress");
      BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageIngress);
      return HAL_FILTERS_OK;
    case FiltersCommon::FILTERS_GROUP_STAGE_EGRESS:
      callbacks().log(kLogInfo, "Filling group egress");
      BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageEgress);
      return HAL_FILTERS_OK;
    default:
      callbacks().log(kLogError, "Filter group stage unknown");
      return HAL_FILTERS_ERR_FAILED;
  }
}

halFiltersErr_t HalFiltersBcm::fillGroupConfig(const FiltersGroup& group,
                                               bcm_field_group_config_t& config) {
  GroupCatalogue catalogue;
  const unsigned int type = group.getType();
  if (type >= 1 && type <= kCatalogue.size()) {
    kCatalogue[type - 1](catalogue);
  } else if (type == 0 || type == kUnknownGroupType) {
    callbacks().log(kLogError, "Filters group type unknown");
    return HAL_FILTERS_ERR_FAILED;
  } else if (type == kDnxOnlyGroupType) {
    callbacks().log(kLogError, "Filters group 11 only supported on DNX");
    return HAL_FILTERS_ERR_FAILED;
  }

  // A type without a description for this stage gets its stage qualifier alone.
  auto info = catalogue.find(group.getStage());
  if (info == catalogue.end()) return HAL_FILTERS_OK;

  config.flags = info->second.flags;
  for (int32_t qualifier : info->second.qualifiers) {
    callbacks().log(kLogInfo, "Filling qualifier %d", qualifier);
    BCM_FIELD_QSET_ADD(config.qset, qualifier);
  }
  config.mode = static_cast<bcm_field_group_mode_t>(info->second.mode);
  for (int32_t action : info->second.actions) {
    callbacks().log(kLogInfo, "Filling action %d", action);
    BCM_FIELD_ASET_ADD(config.aset, action);
  }
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::createGroupEntries(int unit, const FiltersGroup& group) {
  const int hw_gid = getHwGid(group.getStage(), group.getId());
  if (hw_gid < 0) {
    callbacks().log(kLogError, "[HAL FILTERS] %s() Hardware group ID translation failed",
                    "createGroupEntries");
    return HAL_FILTERS_ERR_FAILED;
  }

  const std::map<unsigned int, FiltersCommon::FiltersEntry> entries = group.getEntries();
  for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
    if (createEntry(group.getStage(), group.getId(), entry->second) == HAL_FILTERS_OK) continue;
    releaseFailedCreate({group.getStage(), group.getId(), entry->second.getId()});
    // The failing entry has undone its hardware entries, and lets go of its counter and L3
    // objects here; the ones before it are deleted, last first.
    for (auto created = std::make_reverse_iterator(entry); created != entries.rend(); ++created) {
      deleteEntry(group.getStage(), group.getId(), created->first);
    }
    bcm_field_group_destroy(unit, hw_gid);
    return HAL_FILTERS_ERR_FAILED;
  }
  return HAL_FILTERS_OK;
}

}  // namespace HalFiltersLL
