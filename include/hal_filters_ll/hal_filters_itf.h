// The filters interface the platform programs filters through.
#pragma once

#include <memory>

#include <encap/destination_orchestrator.h>
#include <filters_common/filters_common.h>
#include <lag/lag_orchestrator.h>

namespace HalFiltersLL {

// The result of every operation.
enum halFiltersErr_t : int {
  HAL_FILTERS_OK = 0,
  HAL_FILTERS_ERR_SDK = -1,          // an SDK call failed; also an unknown counter
  HAL_FILTERS_ERR_FAILED = -2,       // bad argument, unknown stage, group or entry, unsupported
                                     // match or action, or a classified SDK failure
  HAL_FILTERS_ERR_NO_RESOURCE = -3,  // no room left for a group
};

class HalFiltersItf {
 public:
  // The one instance. The first call builds it and subscribes it to the LAG and destination
  // events of the orchestrators given (none when empty or null); later calls return it and
  // ignore their arguments.
  static HalFiltersItf& getInstance(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                                    hal_encap::DestinationOrchestrator* dest);

  virtual ~HalFiltersItf() = default;
  virtual halFiltersErr_t createGroup(const FiltersCommon::FiltersGroup& group) = 0;
  virtual halFiltersErr_t createEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                                      const FiltersCommon::FiltersEntry& entry) = 0;
  virtual halFiltersErr_t updateEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                                      const FiltersCommon::FiltersEntry& entry) = 0;
  virtual halFiltersErr_t deleteEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                                      unsigned int eid) = 0;
  virtual halFiltersErr_t getCounterValue(unsigned short counter_id, unsigned long long& value) = 0;
  virtual halFiltersErr_t clearCounterValue(unsigned short counter_id) = 0;
  virtual void clearCache() = 0;
};

}  // namespace HalFiltersLL
