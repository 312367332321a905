// Counters: one statistics object per user entry, holding one statistic per counter, attached to
// every hardware entry of the user entry. Counters are read and cleared by counter id.
#include <hal_filters_ll/hal_filters_bcm.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <qarmw/fault.h>

#include "sdk_support.h"

namespace HalFiltersLL {

using FiltersCommon::counter_type_t;

int HalFiltersBcm::FiltersCommonCounterType2BcmCounterType(counter_type_t type) {
  switch (type) {
    case FiltersCommon::COUNTER_TYPE_PACKETS:
      return bcmFieldStatPackets;
    case FiltersCommon::COUNTER_TYPE_BYTES:
      return bcmFieldStatBytes;
    case FiltersCommon::COUNTER_TYPE_RED_BYTES:
      return bcmFieldStatRedBytes;
    case FiltersCommon::COUNTER_TYPE_NOT_RED_BYTES:
      return bcmFieldStatNotRedBytes;
    case FiltersCommon::COUNTER_TYPE_YELLOW_BYTES:
      return bcmFieldStatYellowBytes;
    case FiltersCommon::COUNTER_TYPE_NOT_YELLOW_BYTES:
      return bcmFieldStatNotYellowBytes;
    case FiltersCommon::COUNTER_TYPE_GREEN_BYTES:
      return bcmFieldStatGreenBytes;
    case FiltersCommon::COUNTER_TYPE_NOT_GREEN_BYTES:
      return bcmFieldStatNotGreenBytes;
  }
  // A counter type the platform should never send: a programming error, fatal.
  qarmw_print_backtrace();
  char message[350];
  std::snprintf(message, sizeof(message), "[HAL FILTERS] %s() Unsupported counter type: %d",
                "FiltersCommonCounterType2BcmCounterType", type);
  qarmw_gen_fault(1, "FiltersCommonCounterType2BcmCounterType", "hal_filters_bcm", 2147, message);
  std::exit(1);
}

halFiltersErr_t HalFiltersBcm::createCounter(const user_entry_key_t& key,
                                             const FiltersCommon::FiltersEntry& entry) {
  // A counter left by an earlier failed create of this entry gives way to the new one.
  if (halFiltersErr_t rc = removeCounter(key); rc != HAL_FILTERS_OK) return rc;
  const auto& counters = entry.getCounters();
  if (counters.empty()) return HAL_FILTERS_OK;
  const int hw_gid = getHwGid(key.stage, key.group_id);
  if (hw_gid < 0) {
    callbacks().log(kLogError, "Hardware group ID translation failed");
    return HAL_FILTERS_ERR_FAILED;
  }
  std::vector<bcm_field_stat_t> types;
  for (const auto& [id, counter] : counters) {
    types.push_back(
        static_cast<bcm_field_stat_t>(FiltersCommonCounterType2BcmCounterType(counter.getType())));
  }
  int stat_id = 0;
  int rv = bcm_field_stat_create(bcmUnit(), hw_gid, static_cast<int>(types.size()), types.data(),
                                 &stat_id);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to create counter on HW: %s\n",
                      "createCounter", sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  std::set<unsigned short> ids;
  size_t index = 0;
  for (const auto& [id, counter] : counters) {
    ids.insert(id);
    // The newest user entry naming a counter id takes it over.
    hw_counters_[id] = hw_counter_info_t{stat_id, types[index++]};
  }
  counter_entries_[key] = counter_entry_info_t{stat_id, std::move(ids)};
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::attachCounter(const user_entry_key_t& key, int hw_eid) const {
  auto record = counter_entries_.find(key);
  if (record == counter_entries_.end()) return HAL_FILTERS_OK;
  const int stat_id = record->second.stat_id;
  int rv = bcm_field_entry_stat_attach(bcmUnit(), hw_eid, stat_id);
  if (rv < 0) {
    callbacks().error(
        rv, "[HAL FILTERS] %s() Failed to attach counter: %s\nEntry ID: %d\nCounter ID: %d ",
        "attachCounter", sdkErrorText(rv), hw_eid, stat_id);
    return HAL_FILTERS_ERR_SDK;
  }
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::detachCounter(const user_entry_key_t& key, int hw_eid) const {
  auto record = counter_entries_.find(key);
  if (record == counter_entries_.end()) return HAL_FILTERS_OK;
  const int stat_id = record->second.stat_id;
  int rv = bcm_field_entry_stat_detach(bcmUnit(), hw_eid, stat_id);
  // An entry whose programming failed before its counter was attached has nothing to detach
  // (the SDK's empty), and must still be destroyed by the undo.
  if (rv == BCM_E_EMPTY) return HAL_FILTERS_OK;
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to detach Counter %d from Entry %d: %s",
                      "detachCounter", stat_id, hw_eid, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::removeCounter(const user_entry_key_t& key) {
  auto record = counter_entries_.find(key);
  if (record == counter_entries_.end()) return HAL_FILTERS_OK;
  const int stat_id = record->second.stat_id;
  int rv = bcm_field_stat_destroy(bcmUnit(), stat_id);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to destroy Counter %d: %s", "removeCounter",
                      stat_id, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;  // both records stay, so a retry can destroy the object
  }
  for (unsigned short id : record->second.counter_ids) hw_counters_.erase(id);
  counter_entries_.erase(record);
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::getCounterValue(unsigned short counter_id,
                                               unsigned long long& value) {
  auto counter = hw_counters_.find(counter_id);
  if (counter == hw_counters_.end()) {
    callbacks().error(HAL_FILTERS_ERR_SDK, "[HAL FILTERS] %s() Unknown counter %d",
                      "getCounterValue", counter_id);
    return HAL_FILTERS_ERR_SDK;
  }
  uint64 read = 0;
  int rv = bcm_field_stat_get(bcmUnit(), counter->second.stat_id,
                              static_cast<bcm_field_stat_t>(counter->second.stat_type), &read);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to get counter %d value, error: %s",
                      "getCounterValue", counter_id, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  value = read;
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::clearCounterValue(unsigned short counter_id) {
  auto counter = hw_counters_.find(counter_id);
  if (counter == hw_counters_.end()) {
    callbacks().error(HAL_FILTERS_ERR_SDK, "[HAL FILTERS] %s() Unknown counter %d",
                      "clearCounterValue", counter_id);
    return HAL_FILTERS_ERR_SDK;
  }
  int rv = bcm_field_stat_set(bcmUnit(), counter->second.stat_id,
                              static_cast<bcm_field_stat_t>(counter->second.stat_type), 0);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Failed to clear counter %d, error: %s",
                      "clearCounterValue", counter_id, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  return HAL_FILTERS_OK;
}

}  // namespace HalFiltersLL
