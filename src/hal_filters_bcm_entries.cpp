// User entries: each is expanded into a pool of hardware entries, which are created, programmed
// and installed one by one; a failure undoes the hardware entries already created.
#include <hal_filters_ll/hal_filters_bcm.h>

#include "sdk_support.h"

namespace HalFiltersLL {

using FiltersCommon::FiltersEntry;
using FiltersCommon::filtersGroupStage_t;

halFiltersErr_t HalFiltersBcm::createEntry(filtersGroupStage_t stage, unsigned short gid,
                                           const FiltersEntry& entry) {
  const user_entry_key_t key{stage, gid, entry.getId()};
  const int base = getBaseHwEid(stage, gid, entry.getId());
  // The pool is initialised before the base is checked, so an invalid base is tried too.
  const int initialized = filters_cache_.InitializeEntriesPool(key, base, entry);
  if (base < 0) {
    callbacks().log(kLogError, "Hardware entry ID translation failed");
    return HAL_FILTERS_ERR_FAILED;
  }
  if (initialized < 0) {
    callbacks().log(kLogError, "Error initializing HW entries pool");
    return static_cast<halFiltersErr_t>(initialized);
  }
  // What a failed create left on the chip under the entry's ids goes first; the create then
  // makes every listed id afresh.
  if (!destroyLeftovers(key)) {
    filters_cache_.DestroyEntriesPool(base);
    return HAL_FILTERS_ERR_SDK;
  }
  out_of_step_.erase(key);
  if (halFiltersErr_t rc = createCounter(key, entry); rc != HAL_FILTERS_OK) {
    // Without its pool, the entry can be created again.
    filters_cache_.DestroyEntriesPool(base);
    return rc;
  }

  const std::vector<pool_entry>* pool = filters_cache_.GetEntriesPool(base);
  if (!pool) {
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Entry (EID: %d; Hw EID: %d) does not exist",
                    "createEntry", entry.getId(), base);
    return HAL_FILTERS_ERR_FAILED;
  }
  int count = 0;
  std::vector<int> made;  // the SDK entries this create made
  for (const pool_entry& hw_entry : *pool) {
    if (!hw_entry.installable) continue;
    ++count;
    const int hw_eid = static_cast<int>(hw_entry.entry.getId());
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Creating Filter Entry (EID: %d; Hw EID: %d)",
                    "createEntry", entry.getId(), hw_eid);
    bool created = false;
    const halFiltersErr_t rc = createHwEntry(key, hw_entry.entry, &created);
    if (created) made.push_back(hw_eid);
    if (rc != HAL_FILTERS_OK) {
      // The counter created above stays. A policer created for the failing entry before its
      // attach failed has no user to release it, and goes once the undo has destroyed the entry.
      // What the undo could not destroy is left for the next create or delete of the entry.
      const std::set<int> left = undoCreatedHwEntries(key, *pool, count);
      for (int id : made) {
        if (left.count(id)) noteOutOfStep(key, id, true);
      }
      releaseIdlePolicers(entry);
      filters_cache_.DestroyEntriesPool(base);
      return rc;
    }
  }
  interrupted_updates_.erase(key);
  return HAL_FILTERS_OK;
}

std::set<int> HalFiltersBcm::undoCreatedHwEntries(const user_entry_key_t& key,
                                                  const std::vector<pool_entry>& pool, int count) {
  std::set<int> left;
  auto undo = [&](size_t position) {
    const int hw_eid = static_cast<int>(pool[position].entry.getId());
    bool gone = false;
    deleteHwEntry(key, hw_eid, &gone);
    if (!gone) left.insert(hw_eid);
  };
  // By position, installable or not: with no free slot before it, the failing entry is included.
  for (int position = 0; position < count; ++position) undo(static_cast<size_t>(position));
  // Free slots before the failing entry push created entries past those positions; they are
  // removed too, so that nothing of the failed create stays in the hardware.
  int attempted = 0;
  for (size_t position = 0; position < pool.size() && attempted < count; ++position) {
    if (!pool[position].installable) continue;
    ++attempted;
    if (position >= static_cast<size_t>(count)) undo(position);
  }
  return left;
}

halFiltersErr_t HalFiltersBcm::createHwEntry(const user_entry_key_t& key,
                                             const FiltersEntry& hw_entry, bool* made) {
  if (made) *made = false;
  const int hw_eid = static_cast<int>(hw_entry.getId());
  const int hw_gid = getHwGid(key.stage, key.group_id);
  if (hw_gid < 0) {
    callbacks().log(kLogError, "[HAL FILTERS] %s() Hardware group ID translation failed",
                    "createHwEntry");
    return HAL_FILTERS_ERR_FAILED;
  }
  const int rv = bcm_field_entry_create_id(bcmUnit(), hw_gid, hw_eid);
  if (rv != BCM_E_NONE) return handleBcmEntryError(rv, hw_gid, hw_eid, "create");
  if (made) *made = true;
  return installHwEntry(key, hw_entry);
}

halFiltersErr_t HalFiltersBcm::installHwEntry(const user_entry_key_t& key,
                                              const FiltersEntry& hw_entry) {
  const int unit = bcmUnit();
  const int hw_eid = static_cast<int>(hw_entry.getId());
  static const std::list<limid_t> kNoPorts;
  auto* ingress_ports = hw_entry.findMatch<FiltersCommon::MatchIngressPorts>(
      FiltersCommon::FILTERS_MATCH_INGRESS_PORTS);
  const std::list<limid_t>& ports = ingress_ports ? ingress_ports->getPorts() : kNoPorts;

  for (const auto& [type, match] : hw_entry.getMatches()) {
    if (int rc = createBcmMatch(ports, key.stage, match.get(), hw_eid); rc != 0) {
      return static_cast<halFiltersErr_t>(rc);
    }
  }
  for (const auto& [type, action] : hw_entry.getActions()) {
    if (int rc = createBcmAction(action.get(), hw_eid); rc != 0) {
      return static_cast<halFiltersErr_t>(rc);
    }
  }
  if (int rc = createBcmMacActions(key, hw_entry, hw_eid); rc != 0) {
    return static_cast<halFiltersErr_t>(rc);
  }
  if (int rc = createBcmVlanActions(hw_entry, hw_eid); rc != 0) {
    return static_cast<halFiltersErr_t>(rc);
  }
  if (int rc = installPolicer(key.stage, hw_eid, hw_entry); rc != 0) {
    return static_cast<halFiltersErr_t>(rc);
  }
  if (halFiltersErr_t rc = attachCounter(key, hw_eid); rc != HAL_FILTERS_OK) return rc;

  const int prio = getHwEntryPrio(key.stage, hw_entry.getPriority());
  if (prio < 0) {
    callbacks().log(kLogError, "[HAL FILTERS] %s() Hardware entry priority translation failed",
                    "installHwEntry");
    return HAL_FILTERS_ERR_FAILED;
  }
  int rv = bcm_field_entry_prio_set(unit, hw_eid, prio);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Error setting entry priority %i on entry %i: %s",
                      "installHwEntry", prio, hw_eid, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  rv = bcm_field_entry_install(unit, hw_eid);
  if (rv < 0) {
    callbacks().error(rv, "[HAL FILTERS] %s() Error installing filter with id %i: %s",
                      "installHwEntry", hw_eid, sdkErrorText(rv));
    return HAL_FILTERS_ERR_SDK;
  }
  callbacks().log(kLogInfo, "[HAL FILTERS] %s() Installed Filter Entry %i", "installHwEntry",
                  hw_eid);
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::deleteHwEntry(const user_entry_key_t& key, int hw_eid,
                                             bool* gone) {
  bool entry_gone = false;
  if (gone) *gone = false;
  const int hw_gid = getHwGid(key.stage, key.group_id);
  if (hw_gid < 0) {
    callbacks().log(kLogError, "[HAL FILTERS] %s() Hardware group ID translation failed",
                    "deleteHwEntry");
    return HAL_FILTERS_ERR_FAILED;
  }
  halFiltersErr_t rc = detachCounter(key, hw_eid);
  if (rc == HAL_FILTERS_OK) {
    const int rv = bcm_field_entry_destroy(bcmUnit(), hw_eid);
    entry_gone = rv >= 0;
    rc = handleBcmEntryError(rv, hw_gid, hw_eid, "destroy");
  }
  if (gone) *gone = entry_gone;
  // An entry that is gone no longer uses its policers, whatever the SDK answered.
  if (!entry_gone) return rc;
  const int released = removePolicer(hw_eid);
  return rc != HAL_FILTERS_OK ? rc : static_cast<halFiltersErr_t>(released);
}

halFiltersErr_t HalFiltersBcm::deleteEntry(filtersGroupStage_t stage, unsigned short gid,
                                           unsigned int eid) {
  const user_entry_key_t key{stage, gid, eid};
  const int base = getBaseHwEid(stage, gid, eid);
  if (base < 0) {
    callbacks().log(kLogError, "[HAL FILTERS] %s() Hardware entry ID translation failed",
                    "deleteEntry");
    return HAL_FILTERS_ERR_FAILED;
  }
  std::vector<pool_entry>* pool = filters_cache_.GetEntriesPool(base);
  if (!pool) {
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Entry (EID: %d; Hw EID: %d) does not exist",
                    "deleteEntry", eid, base);
    releaseFailedCreate(key);
    interrupted_updates_.erase(key);
    return HAL_FILTERS_ERR_FAILED;
  }
  // Leftovers first: one may hold a policer that no hardware entry of the pool uses. A delete
  // repeated after a failed policer destroy finishes that destroy.
  halFiltersErr_t last = destroyLeftovers(key) ? HAL_FILTERS_OK : HAL_FILTERS_ERR_SDK;
  if (int rc = releaseIdlePolicers(filters_cache_.entries_info().at(base).user_entry); rc != 0) {
    last = static_cast<halFiltersErr_t>(rc);
  }
  for (pool_entry& hw_entry : *pool) {
    if (!hw_entry.installable) continue;
    const int hw_eid = static_cast<int>(hw_entry.entry.getId());
    // An entry a failure took off the chip is already gone; one the leftovers' destroy could
    // not remove waits for the next delete.
    if (outOfStep(key, hw_eid)) {
      if (!missingFromChip(key, hw_eid)) continue;
      hw_entry.installable = false;
      if (halFiltersErr_t rc = releaseMissing(key, hw_eid); rc != HAL_FILTERS_OK) last = rc;
      continue;
    }
    bool gone = false;
    const halFiltersErr_t rc = deleteHwEntry(key, hw_eid, &gone);
    // A later delete skips what is already gone from the hardware.
    if (gone) hw_entry.installable = false;
    if (rc != HAL_FILTERS_OK) {
      last = rc;
      continue;
    }
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Deleted Filter Entry (EID: %d; Hw EID: %d)",
                    "deleteEntry", eid, hw_eid);
  }
  // On any failure the pool stays, so that a later delete finds the entry again.
  if (int rc = removeL3Entry(key); rc != 0) {
    halFiltersErr_t counter_rc = removeCounter(key);
    return counter_rc != HAL_FILTERS_OK ? counter_rc : static_cast<halFiltersErr_t>(rc);
  }
  if (halFiltersErr_t rc = removeCounter(key); rc != HAL_FILTERS_OK) return rc;
  if (last != HAL_FILTERS_OK) return last;
  filters_cache_.DestroyEntriesPool(base);
  out_of_step_.erase(key);
  return HAL_FILTERS_OK;
}

halFiltersErr_t HalFiltersBcm::updateEntry(filtersGroupStage_t stage, unsigned short gid,
                                           const FiltersEntry& entry) {
  callbacks().log(kLogInfo, "Updating Filter Entry (EID: %d)", entry.getId());
  const user_entry_key_t key{stage, gid, entry.getId()};
  // After an update that failed in its create step the old programming is already gone.
  if (!interrupted_updates_.count(key)) {
    if (halFiltersErr_t rc = deleteEntry(stage, gid, entry.getId()); rc != HAL_FILTERS_OK) {
      return rc;
    }
  }
  const halFiltersErr_t rc = createEntry(stage, gid, entry);
  if (rc != HAL_FILTERS_OK) interrupted_updates_.insert(key);
  return rc;
}

void HalFiltersBcm::releaseFailedCreate(const user_entry_key_t& key) {
  // A live entry (one with a pool) keeps what it holds.
  const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
  if (filters_cache_.entries_info().count(base)) return;
  // A leftover SDK entry holds the counter: it goes first.
  if (destroyLeftovers(key)) out_of_step_.erase(key);
  removeL3Entry(key);
  removeCounter(key);
}

}  // namespace HalFiltersLL
