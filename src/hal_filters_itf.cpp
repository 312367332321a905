#include <hal_filters_ll/hal_filters_itf.h>

#include <hal_filters_ll/hal_filters_bcm.h>

namespace HalFiltersLL {

HalFiltersItf& HalFiltersItf::getInstance(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                                          hal_encap::DestinationOrchestrator* dest) {
  return HalFiltersBcm::getInstance(std::move(lag), dest);
}

}  // namespace HalFiltersLL
