// What the hardware entries of user entries depend on, and what topology changes do to them.
#include <hal_filters_ll/filter_entries_cache.h>

#include "sdk_support.h"

namespace HalFiltersLL {

using namespace FiltersCommon;

int FilterEntriesCache::CacheFilterActionDependencies(int base, const Action& action) {
  if (action.getType() != FILTERS_ACTION_L3_SWITCH) return 0;
  const auto& l3_switch = dynamic_cast<const ActionL3Switch&>(action);
  l3_destination_entries_[l3_switch.getL3DestinationId()].insert(base);
  return 0;
}

}  // namespace HalFiltersLL
