// Topology events: hardware entries follow LAG membership and L3 destinations. The cache says
// which entries to create, delete or re-qualify; the handlers do the hardware work, creations
// and deletions first, re-qualified entries second. No failure stops a walk.
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
  const int unit = bcmUnit();
  if (bcm_field_entry_reinstall(unit, hw_eid) == BCM_E_NONE) return HAL_FILTERS_OK;
  callbacks().log(kLogError, "%s: error trying to reinstall filter entry. unit = %d, eid = %d\n",
                  "HalFiltersLL::halFiltersErr_t ReinstallEntry(const bcm_field_entry_t&)", unit,
                  hw_eid);
  // An entry that cannot be reinstalled leaves the hardware; the software state keeps its id.
  bcm_field_entry_destroy(unit, hw_eid);
  return HAL_FILTERS_ERR_SDK;
}

int HalFiltersBcm::UpdateAndReinstallEntries(const std::set<int>& hw_eids) {
  int result = HAL_FILTERS_OK;
  for (int hw_eid : hw_eids) {
    callbacks().log(kLogInfo, "[HAL FILTERS] %s() Reinstalling Filter Entry (Hw EID: %d)",
                    "UpdateAndReinstallEntries", hw_eid);
    if (ConfigureInPortsMatch(hw_eid) != 0) result = HAL_FILTERS_ERR_FAILED;
    if (ReinstallEntry(hw_eid) != HAL_FILTERS_OK) result = HAL_FILTERS_ERR_FAILED;
  }
  return result;
}

int HalFiltersBcm::AddLagMemberEvent(const limid_t& lag, const limid_t& member) {
  FilterEntriesCache::AddedEntries added;
  const int query_rc = filters_cache_.GetAddedLagMemberEntries(lag, member, added);
  bool walk_failed = false;
  for (const auto& [key, hw_entries] : added) {
    for (const pool_entry& hw_entry : hw_entries) {
      callbacks().log(
          kLogInfo, "[HAL FILTERS] %s() Creating Filter Entry for LAG Member (EID: %d; Hw EID: %d)",
          "AddLagMemberEvent", key.entry_id, hw_entry.entry.getId());
      walk_failed |= createHwEntry(key, hw_entry.entry) != HAL_FILTERS_OK;
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
      callbacks().log(kLogInfo, "[HAL FILTERS] %s() Deleting Filter Entry (EID: %d; Hw EID: %d)",
                      event, key.entry_id, hw_eid);
      bool gone = false;
      if (deleteHwEntry(key, hw_eid, &gone) == HAL_FILTERS_OK) continue;
      failed = true;
      if (!gone) keepInPool(key, hw_eid);
    }
  }
  return failed;
}

// The cache has freed the slot of an entry the event meant to delete; an entry still in the
// hardware takes it back, so that deleting its user entry removes it.
void HalFiltersBcm::keepInPool(const user_entry_key_t& key, int hw_eid) {
  const int base = getBaseHwEid(key.stage, key.group_id, key.entry_id);
  std::vector<pool_entry>* pool = filters_cache_.GetEntriesPool(base);
  if (!pool || hw_eid < base || static_cast<size_t>(hw_eid - base) >= pool->size()) return;
  (*pool)[static_cast<size_t>(hw_eid - base)].installable = true;
}

int HalFiltersBcm::RemoveLagMemberEvent(const limid_t& lag, const limid_t& member) {
  FilterEntriesCache::RemovedEntries removed;
  const int query_rc = filters_cache_.GetRemovedLagMemberEntries(lag, member, removed);
  const bool walk_failed = deleteHwEntries(removed, "RemoveLagMemberEvent");
  std::set<int> updated;
  const int bitmap_rc = filters_cache_.GetRemovedLagMemberUpdatedEntries(lag, member, updated);
  return lagEventResult(query_rc, walk_failed, bitmap_rc, UpdateAndReinstallEntries(updated));
}

int HalFiltersBcm::DestroyLagEvent(const limid_t& lag) {
  FilterEntriesCache::RemovedEntries removed;
  const int query_rc = filters_cache_.GetRemovedLagEntries(lag, removed);
  const bool walk_failed = deleteHwEntries(removed, "DestroyLagEvent");
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
      if (int deleted = deleteBcmAction(&l3_switch, hw_eid); deleted != 0) {
        callbacks().log(kLogError,
                        "[HAL FILTERS] %s(dest_id=%d): Delete ActionL3Switch failed rv=%d",
                        "RemoveDestinationEvent", dest_id, deleted);
      }
      if (int reinstalled = ReinstallEntry(hw_eid); reinstalled != 0) {
        callbacks().log(kLogError, "[HAL FILTERS] %s(dest_id=%d): Reinstall failed rv=%d",
                        "RemoveDestinationEvent", dest_id, reinstalled);
      }
    }
  }
}

}  // namespace HalFiltersLL
