// Uses the installed library, which brings the platform libraries and the software device.
#include <bcmsim/chips.h>
#include <hal_filters_ll/hal_filters_bcm.h>

int main() {
  using namespace FiltersCommon;
  bcmsim::reset(*bcmsim::chip_config("bcm56450"));
  HalFiltersLL::HalFiltersItf& filters = HalFiltersLL::HalFiltersItf::getInstance(nullptr, nullptr);
  if (filters.createGroup(FiltersGroup(FILTERS_GROUP_STAGE_EGRESS, 0, 0, 5)) != 0) return 1;
  return bcmsim::state().groups.count(32) == 1 ? 0 : 1;
}
