// Topology events: hardware entries follow LAG membership and L3 destinations. The cache says
// which entries to create, delete or re-qualify; the handlers do the hardware work, creations
// and deletions first, re-qualified entries second. No failure stops a walk. A LAG event first
// repairs the entries of the LAG's users that an earlier failure left out of step; what fails
// now is recorded for the next operation on the user entry.
#include <hal_filters_ll/hal_filters_bcm.h>

#include <hal_filters_ll/match_translation.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

// -2 when any step of a LAG event failed, checked from the last step to the first.
int lagEventResult(int query_rc, bool walk_failed, int bitmap_query_rc, int reinstall_rc) {
  if (reinstall_rc != 0 || bitmap_query_rc != 0 || query_rc != 0 || walk_failed) {
    return HAL_FILTERS_ERR_FAILED;
  }
  return HAL_FILTERS_OK;
}

}  // namespace

halFiltersErr_t ReinstallEntry(const bcm_field_entry_t& hw_eid) {
  return ReinstallEntry(hw_eid, nullptr);
}

halFiltersErr_t ReinstallEntry(const bcm_field_entry_t& hw_eid, bool* destroyed) {
  const int unit = bcmUnit();
  if (destroyed) *destroyed = false;
  if (bcm_field_entry_reinstall(unit, hw_eid) == BCM_E_NONE) return HAL_FILTERS_OK;
  callbacks().log(kLogError, "%s: error trying to reinstall filter entry. unit = %d, eid = %d\n",
                  "HalFiltersLL::halFiltersErr_t ReinstallEntry(const bcm_field_entry_t&)", unit,
                  hw_eid);
  // An entry that cannot be reinstalled leaves the hardware; the software state keeps its id.
  const int rv = bcm_field_entry_destroy(unit, hw_eid);
  if (destroyed) *destroyed = rv >= 0;
  return HAL_FILTERS_ERR_SDK;
}

int HalFiltersBcm::UpdateAndReinstallEntries(const std::set<int>& hw_eids) {
  int result = HAL_FILTERS_OK;
  for (int hw_eid : hw_eids) {
    // One still out of step after the event's repair is left to the next operation.
    if (outOfStep(hw_eid)) {
      result = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Reinstalling Filter Entry (Hw EID: %d)",
                    "UpdateAndReinstallEntries", hw_eid);
    const bool qualified = ConfigureInPortsMatch(hw_eid) == 0;
    bool destroyed = false;
    const bool reinstalled = ReinstallEntry(hw_eid, &destroyed) == HAL_FILTERS_OK;
    if (qualified && reinstalled) continue;
    result = HAL_FILTERS_ERR_FAILED;
    noteFailedRewrite(hw_eid, destroyed);
  }
  return result;
}

int HalFiltersBcm::AddLagMemberEvent(const limid_t& lag, const limid_t& member) {
  bool walk_failed = !repairLagFollowers(lag);
  FilterEntriesCache::AddedEntries added;
  const int query_rc = filters_cache_.GetAddedLagMemberEntries(lag, member, added);
  for (const auto& [key, hw_entries] : added) {
    for (const pool_entry& hw_entry : hw_entries) {
      const int hw_eid = static_cast<int>(hw_entry.entry.getId());
      callbacks().log(
          kLogInfo, "[HAL FILTERS] %s() Creating Filter Entry for LAG Member (EID: %d; Hw EID: %d)",
          "AddLagMemberEvent", key.entry_id, hw_eid);
      bool made = false;
      if (createHwEntry(key, hw_entry.entry, &made) == HAL_FILTERS_OK) continue;
      walk_failed = true;
      noteOutOfStep(key, hw_eid, made);
    }
  }
  std::set<int> updated;
  const int bitmap_rc = filters_cache_.GetAddedLagMemberUpdatedEntries(lag, member, updated);
  return lagEventResult(query_rc, walk_failed, bitmap_rc, UpdateAndReinstallEntries(updated));
}

bool HalFiltersBcm::deleteHwEntries(const FilterEntriesCache::RemovedEntries& removed,
                                    const char* event) {
  bool failed = false;
  for (const auto& [key, hw_eids] : removed) {
    for (int hw_eid : hw_eids) {
      if (missingFromChip(key, hw_eid)) {
        failed |= releaseMissing(key, hw_eid) != HAL_FILTERS_OK;
        continue;
      }
      callbacks().log(kLogInfo, "[HAL FILTERS] %s() Deleting Filter Entry (EID: %d; Hw EID: %d)",
                      event, key.entry_id, hw_eid);
      bool gone = false;
      failed |= deleteHwEntry(key, hw_eid, &gone) != HAL_FILTERS_OK;
      // The cache has freed the slot; an entry still on the chip is left for the next operation
      // on its user entry.
      if (gone) {
        forgetOutOfStep(key, hw_eid);
      } else {
        noteOutOfStep(key, hw_eid, true);
      }
    }
  }
  return failed;
}

int HalFiltersBcm::RemoveLagMemberEvent(const limid_t& lag, const limid_t& member) {
  const bool repaired = repairLagFollowers(lag);
  FilterEntriesCache::RemovedEntries removed;
  const int query_rc = filters_cache_.GetRemovedLagMemberEntries(lag, member, removed);
  const bool walk_failed = deleteHwEntries(removed, "RemoveLagMemberEvent") || !repaired;
  std::set<int> updated;
  const int bitmap_rc = filters_cache_.GetRemovedLagMemberUpdatedEntries(lag, member, updated);
  return lagEventResult(query_rc, walk_failed, bitmap_rc, UpdateAndReinstallEntries(updated));
}

int HalFiltersBcm::DestroyLagEvent(const limid_t& lag) {
  const bool repaired = repairLagFollowers(lag);
  FilterEntriesCache::RemovedEntries removed;
  const int query_rc = filters_cache_.GetRemovedLagEntries(lag, removed);
  const bool walk_failed = deleteHwEntries(removed, "DestroyLagEvent") || !repaired;
  std::set<int> updated;
  const int bitmap_rc = filters_cache_.GetRemovedLagUpdatedEntries(lag, updated);
  return lagEventResult(query_rc, walk_failed, bitmap_rc, UpdateAndReinstallEntries(updated));
}

void HalFiltersBcm::RemoveDestinationEvent(int dest_id) {
  FilterEntriesCache::RemovedEntries switching;
  const int rc =
      filters_cache_.GetRemovedL3DestinationEntries(static_cast<unsigned int>(dest_id), switching);
  if (rc != 0) {
    // The query's result fills the dest_id position of this line.
    callbacks().log(kLogError, "[HAL FILTERS] %s(dest_id=%d): Something went wrong, rv=%d",
                    "RemoveDestinationEvent", rc, rc);
    return;
  }
  // The entries stay installed and keep matching, without the switch to this destination.
  for (const auto& [key, hw_eids] : switching) {
    const FiltersCommon::ActionL3Switch l3_switch(static_cast<unsigned int>(dest_id));
    for (int hw_eid : hw_eids) {
      callbacks().log(kLogInfo,
                      "[HAL FILTERS] %s(dest_id=%d) Reinstalling Filter Entry (GID: %d EID: %d "
                      "HW: %d)",
                      "RemoveDestinationEvent", dest_id, key.group_id, key.entry_id, hw_eid);
      const int deleted = deleteBcmAction(&l3_switch, hw_eid);
      if (deleted != 0) {
        callbacks().log(kLogError,
                        "[HAL FILTERS] %s(dest_id=%d): Delete ActionL3Switch failed rv=%d",
                        "RemoveDestinationEvent", dest_id, deleted);
      }
      bool destroyed = false;
      const int reinstalled = ReinstallEntry(hw_eid, &destroyed);
      if (reinstalled != 0) {
        callbacks().log(kLogError, "[HAL FILTERS] %s(dest_id=%d): Reinstall failed rv=%d",
                        "RemoveDestinationEvent", dest_id, reinstalled);
      }
      if (deleted != 0 || reinstalled != 0) noteFailedRewrite(hw_eid, destroyed);
    }
  }
}

}  // namespace HalFiltersLL
