// User entries. Programming entries is not available yet: every entry operation fails.
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

halFiltersErr_t notAvailable(const char* operation) {
  callbacks().log(kLogError, "[HAL FILTERS] %s() not available in this build", operation);
  return HAL_FILTERS_ERR_FAILED;
}

}  // namespace

halFiltersErr_t HalFiltersBcm::createEntry(FiltersCommon::filtersGroupStage_t, unsigned short,
                                           const FiltersCommon::FiltersEntry&) {
  return notAvailable("createEntry");
}

halFiltersErr_t HalFiltersBcm::updateEntry(FiltersCommon::filtersGroupStage_t, unsigned short,
                                           const FiltersCommon::FiltersEntry&) {
  return notAvailable("updateEntry");
}

halFiltersErr_t HalFiltersBcm::deleteEntry(FiltersCommon::filtersGroupStage_t, unsigned short,
                                           unsigned int) {
  return notAvailable("deleteEntry");
}

int HalFiltersBcm::AddLagMemberEvent(const limid_t&, const limid_t&) {
  return notAvailable("AddLagMemberEvent");
}

int HalFiltersBcm::RemoveLagMemberEvent(const limid_t&, const limid_t&) {
  return notAvailable("RemoveLagMemberEvent");
}

int HalFiltersBcm::DestroyLagEvent(const limid_t&) {
  return notAvailable("DestroyLagEvent");
}

void HalFiltersBcm::RemoveDestinationEvent(int) {
  notAvailable("RemoveDestinationEvent");
}

}  // namespace HalFiltersLL
