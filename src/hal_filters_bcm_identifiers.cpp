// Hardware identifiers computed from the user's, and SDK group and entry results as result codes.
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

using FiltersCommon::filtersGroupStage_t;

// The index of a stage in the per-stage members: 0 pre-ingress, 1 ingress, 2 egress; -1 for the
// invalid stages.
int stageIndex(filtersGroupStage_t stage) {
  return stage >= FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS &&
                 stage <= FiltersCommon::FILTERS_GROUP_STAGE_EGRESS
             ? stage - 1
             : -1;
}

}  // namespace

int HalFiltersBcm::getHwGid(filtersGroupStage_t stage, unsigned short gid) const {
  const int index = stageIndex(stage);
  if (index < 0 || gid >= max_hw_groups[index]) return -1;
  unsigned int first = 0;  // the stages' group-id ranges lie one after the other
  for (int before = 0; before < index; ++before) first += hw_group_span[before];
  return static_cast<int>(first + gid);
}

int HalFiltersBcm::getHwGroupPrio(filtersGroupStage_t stage, unsigned short prio) const {
  const int index = stageIndex(stage);
  if (index < 0 || prio >= max_hw_groups[index]) return -1;
  return static_cast<int>(max_hw_groups[index] - 1 - prio);
}

int HalFiltersBcm::getBaseHwEid(filtersGroupStage_t stage, unsigned short gid,
                                unsigned int eid) const {
  const int index = stageIndex(stage);
  if (index < 0 || eid >= hw_entries_per_group[index]) return -1;
  // Each stage reserves span x E x E ids: a block of E x E per group, of E per user entry.
  long long first = 0;
  for (int before = 0; before < index; ++before) {
    const long long entries = hw_entries_per_group[before];
    first += entries * hw_group_span[before] * entries;
  }
  const long long entries = hw_entries_per_group[index];
  return static_cast<int>(first + entries * (entries * gid + eid));
}

int HalFiltersBcm::getHwEntryPrio(filtersGroupStage_t stage, unsigned short prio) const {
  // Stage 4 takes the egress numbers here, unlike the other translations.
  const int index = stage == FiltersCommon::FILTERS_GROUP_STAGE_END
                        ? stageIndex(FiltersCommon::FILTERS_GROUP_STAGE_EGRESS)
                        : stageIndex(stage);
  if (index < 0 || prio >= hw_entries_per_group[index]) return -1;
  return static_cast<int>(hw_entries_per_group[index] - 1 - prio);
}

halFiltersErr_t HalFiltersBcm::handleBcmGroupError(int rv, int gid, int prio,
                                                   const char* op) const {
  switch (rv) {
    case BCM_E_NONE:
      return HAL_FILTERS_OK;
    case BCM_E_EXISTS:
      callbacks().log(kLogError, "Could not %s filter group with ID %i, group already exists", op,
                      gid);
      return HAL_FILTERS_ERR_FAILED;
    case BCM_E_PARAM:
      callbacks().log(kLogError, "Could not %s filter group with ID %i, invalid priority %i", op,
                      gid, prio);
      return HAL_FILTERS_ERR_FAILED;
    case BCM_E_RESOURCE:
      callbacks().log(kLogError, "Could not %s filter group with ID %i, no resources available", op,
                      gid);
      return HAL_FILTERS_ERR_NO_RESOURCE;
    default:
      callbacks().log(kLogError,
                      "Could not %s filter group with ID %i, prio %d, bcm error %i\n\t(bcm "
                      "internal msg: %s)",
                      op, gid, prio, rv, sdkErrorText(rv));
      return HAL_FILTERS_ERR_SDK;
  }
}

halFiltersErr_t HalFiltersBcm::handleBcmEntryError(int rv, int gid, int eid, const char* op) const {
  switch (rv) {
    case BCM_E_NONE:
      return HAL_FILTERS_OK;
    case BCM_E_EXISTS:
      callbacks().log(kLogError, "Could not %s filter entry %i on group %i, entry already exists",
                      op, eid, gid);
      return HAL_FILTERS_ERR_FAILED;
    case BCM_E_NOT_FOUND:
      callbacks().log(kLogError, "Could not %s filter entry %i on group %i, invalid group", op, eid,
                      gid);
      return HAL_FILTERS_ERR_FAILED;
    case BCM_E_INIT:
      callbacks().log(kLogError,
                      "Could not %s filter entry %i on group %i, bcm unit not initialized", op, eid,
                      gid);
      return HAL_FILTERS_ERR_FAILED;
    default:
      callbacks().log(kLogError,
                      "Could not %s filter entry %i on group %i, bcm error: %i\n\t(bcm internal "
                      "msg: %s)",
                      op, eid, gid, rv, sdkErrorText(rv));
      return HAL_FILTERS_ERR_SDK;
  }
}

}  // namespace HalFiltersLL
