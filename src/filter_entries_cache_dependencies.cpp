// What the hardware entries of user entries depend on (LAGs, LAG members, L3 destinations), and
// the queries that tell a topology event which hardware entries it creates, deletes or
// re-qualifies. Each query also brings the cache's records up to date for its event.
#include <hal_filters_ll/filter_entries_cache.h>

#include <algorithm>

#include <hal_bcm_common/hal_bcm_common.h>

#include "port_bitmap.h"
#include "sdk_support.h"

namespace HalFiltersLL {

using namespace FiltersCommon;

int FilterEntriesCache::CacheFilterActionDependencies(int base, const Action& action) {
  if (action.getType() != FILTERS_ACTION_L3_SWITCH) return 0;
  const auto& l3_switch = dynamic_cast<const ActionL3Switch&>(action);
  l3_destination_entries_[l3_switch.getL3DestinationId()].insert(base);
  return 0;
}

int FilterEntriesCache::GetRemovedLagMemberEntries(const limid_t& lag, const limid_t& member,
                                                   RemovedEntries& out) {
  auto users = lag_entries_.find(lag);
  if (users == lag_entries_.end()) return 0;
  int rc = 0;
  for (auto& [base, members] : users->second) {
    auto record = entries_info_.find(base);
    auto hw_ids = members.find(member);
    if (record == entries_info_.end() || hw_ids == members.end()) {
      callbacks().log(kLogError,
                      "Could not find internal cache with hardware ID %d for removing LAG member",
                      base);
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    std::list<int>& removed = out[record->second.user_key];
    for (int hw_eid : hw_ids->second) {
      record->second.pool[static_cast<size_t>(hw_eid - base)].installable = false;
      removed.push_back(hw_eid);
    }
    members.erase(hw_ids);
  }
  return rc;
}

int FilterEntriesCache::GetRemovedLagEntries(const limid_t& lag, RemovedEntries& out) {
  auto users = lag_entries_.find(lag);
  if (users == lag_entries_.end()) return 0;
  int rc = 0;
  for (const auto& [base, members] : users->second) {
    auto record = entries_info_.find(base);
    if (record == entries_info_.end()) {
      callbacks().log(kLogError,
                      "Could not find internal cache with hardware ID %d for removing LAG", base);
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    std::list<int>& removed = out[record->second.user_key];
    for (const auto& [member_id, hw_ids] : members) {
      for (int hw_eid : hw_ids) {
        record->second.pool[static_cast<size_t>(hw_eid - base)].installable = false;
        removed.push_back(hw_eid);
      }
    }
  }
  lag_entries_.erase(users);
  return rc;
}

int FilterEntriesCache::GetRemovedL3DestinationEntries(unsigned int dest_id, RemovedEntries& out) {
  auto users = l3_destination_entries_.find(dest_id);
  if (users == l3_destination_entries_.end()) return 0;
  int rc = 0;
  for (int base : users->second) {
    auto record = entries_info_.find(base);
    if (record == entries_info_.end()) {
      callbacks().log(kLogError,
                      "Could not find internal cache with hardware ID %d for removing entry with "
                      "L3 Destination ID %d",
                      base, dest_id);
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    std::list<int>& switching = out[record->second.user_key];
    for (const pool_entry& hw_entry : record->second.pool) {
      switching.push_back(static_cast<int>(hw_entry.entry.getId()));
    }
  }
  l3_destination_entries_.erase(users);
  return rc;
}

namespace {

// The size of a pool once `added` entries have taken its free slots, lowest first.
size_t grownSize(const std::vector<pool_entry>& pool, size_t added) {
  const size_t free_slots = static_cast<size_t>(
      std::count_if(pool.begin(), pool.end(), [](const pool_entry& e) { return !e.installable; }));
  return pool.size() + (added > free_slots ? added - free_slots : 0);
}

}  // namespace

int FilterEntriesCache::GetAddedLagMemberEntries(const limid_t& lag, const limid_t& member,
                                                 AddedEntries& out) {
  auto users = lag_entries_.find(lag);
  if (users == lag_entries_.end()) return 0;
  bool refused = false;  // an entry the new member's entries do not fit; the others go on
  for (auto& [base, members] : users->second) {
    auto record = entries_info_.find(base);
    if (record == entries_info_.end()) {
      callbacks().log(kLogError,
                      "Could not find internal cache with hardware ID %d for adding LAG member",
                      base);
      return HAL_FILTERS_ERR_FAILED;
    }
    entry_info_t& info = record->second;
    // Only an egress-port match is narrowed to the new member; every other match is expanded as
    // the user wrote it.
    FiltersEntry copy = info.user_entry;
    if (copy.findMatch<MatchEgressPorts>(FILTERS_MATCH_EGRESS_PORTS)) {
      copy.setMatch(MatchEgressPorts(std::list<limid_t>{member}));
    }
    pool_entry first = ConvertFiltersEntryToPoolEntry(copy);
    first.from_lag = true;
    first.lag = lag;
    first.lag_member = member;
    std::vector<pool_entry> added{first};
    for (const auto& [type, match] : copy.getMatches()) {
      if (int rc = ExpandFilterEntries(added, info.user_key.stage, match->getType()); rc != 0) {
        callbacks().log(kLogError,
                        "Error expanding user filter entry with hardware ID %d for adding LAG "
                        "member",
                        base);
        return rc;
      }
    }
    if (grownSize(info.pool, added.size()) > IdBlockSize(info.user_key.stage)) {
      callbacks().log(kLogError,
                      "Cannot add LAG member to hardware ID %d: its %zu new hardware entries "
                      "would exceed the %zu ids of its block",
                      base, added.size(), IdBlockSize(info.user_key.stage));
      refused = true;
      continue;
    }
    ConsolidateNewLagMemberEntriesInformation(info.pool, added, members[member], base);
    std::vector<pool_entry>& created = out[info.user_key];
    created.insert(created.end(), added.begin(), added.end());
  }
  return refused ? HAL_FILTERS_ERR_FAILED : 0;
}

void FilterEntriesCache::ConsolidateNewLagMemberEntriesInformation(
    std::vector<pool_entry>& pool, std::vector<pool_entry>& new_entries, std::list<int>& ids,
    int base) {
  // Free slots (entries not in the hardware) are reused first, lowest first.
  size_t slot = 0;
  for (pool_entry& added : new_entries) {
    while (slot < pool.size() && pool[slot].installable) ++slot;
    const int hw_eid = base + static_cast<int>(slot);
    added.entry.setId(static_cast<unsigned int>(hw_eid));
    ids.push_back(hw_eid);
    if (slot == pool.size()) {
      pool.push_back(added);
    } else {
      pool[slot] = added;
    }
    ++slot;
  }
}

namespace {

// Removes from the programmed bitmap the given ports that the entry does not name directly.
void removeLagPorts(ingress_pbmp_info_t& info, _shr_pbmp ports) {
  BCM_PBMP_REMOVE(ports, info.ports_pbmp);
  BCM_PBMP_REMOVE(info.pbmp, ports);
}

}  // namespace

int FilterEntriesCache::UpdateLagMemberBitmaps(const limid_t& lag, const limid_t& member,
                                               std::set<int>& out, bool adding) {
  auto users = lag_pbmp_entries_.find(lag);
  if (users == lag_pbmp_entries_.end()) return 0;
  int rc = 0;
  for (int hw_eid : users->second) {
    auto record = ingress_pbmp_.find(hw_eid);
    if (record == ingress_pbmp_.end()) {
      if (adding) {
        callbacks().log(kLogError,
                        "Could not find hardware ID %d on ingress port bitmap cache for adding LAG "
                        "member",
                        hw_eid);
      } else {
        callbacks().log(kLogError,
                        "Could not find hardware ID %d on ingress port bitmap cache for removing "
                        "LAG member",
                        hw_eid);
      }
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    bcm_gport_t gport;
    if (GetPortGport(member, gport) != 0) {
      if (adding) {
        callbacks().log(kLogError, "Could not add LAG member to hardware ID %d port bitmap",
                        hw_eid);
      } else {
        callbacks().log(kLogError, "Could not remove LAG member to hardware ID %d port bitmap",
                        hw_eid);
      }
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    _shr_pbmp member_pbmp;
    BCM_PBMP_CLEAR(member_pbmp);
    addLocalPort(member_pbmp, gport);
    if (adding) {
      BCM_PBMP_OR(record->second.pbmp, member_pbmp);
    } else {
      removeLagPorts(record->second, member_pbmp);
    }
    out.insert(hw_eid);
  }
  return rc;
}

int FilterEntriesCache::GetAddedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                                        std::set<int>& out) {
  return UpdateLagMemberBitmaps(lag, member, out, true);
}

int FilterEntriesCache::GetRemovedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                                          std::set<int>& out) {
  return UpdateLagMemberBitmaps(lag, member, out, false);
}

int FilterEntriesCache::GetRemovedLagUpdatedEntries(const limid_t& lag, std::set<int>& out) {
  auto users = lag_pbmp_entries_.find(lag);
  if (users == lag_pbmp_entries_.end()) return 0;
  int rc = 0;
  for (int hw_eid : users->second) {
    auto record = ingress_pbmp_.find(hw_eid);
    if (record == ingress_pbmp_.end()) {
      callbacks().log(kLogError,
                      "Could not find hardware ID %d on ingress port bitmap cache for removing LAG",
                      hw_eid);
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    _shr_pbmp members;
    BCM_PBMP_CLEAR(members);
    bool converted = true;
    for (const limid_t& member : HalBcmCommon::GetInstance().GetLagMembers(lag)) {
      bcm_gport_t gport;
      if (GetPortGport(member, gport) != 0) {
        converted = false;
        break;
      }
      addLocalPort(members, gport);
    }
    if (!converted) {
      callbacks().log(kLogError, "Could not remove LAG from hardware ID %d port bitmap", hw_eid);
      rc = HAL_FILTERS_ERR_FAILED;
      continue;
    }
    removeLagPorts(record->second, members);
    out.insert(hw_eid);
  }
  lag_pbmp_entries_.erase(users);
  return rc;
}

}  // namespace HalFiltersLL
