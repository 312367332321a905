// What the hardware entries of user entries depend on (LAGs, LAG members, L3 destinations), and
// the queries that tell a topology event which hardware entries it creates, deletes or
// re-qualifies. Each query also brings the cache's records up to date for its event.
#include <hal_filters_ll/filter_entries_cache.h>

#include <algorithm>
#include <optional>

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

namespace {

int keyOf(int key) {
  return key;
}
template <class Value>
int keyOf(const std::pair<const int, Value>& item) {
  return item.first;
}

enum class OnFailure { GoOn, Stop };

// The walk every topology query makes: the users of `index_key` in `index`, each looked up by
// its id in `records`. An id without a record is logged by `log_missing(id)` and fails the
// query; `use(user, record)` does the query's work and returns 0 or a failure. The walk goes on
// after a failure or stops at it.
template <class Index, class Key, class Records, class LogMissing, class Use>
int forEachUserRecord(Index& index, const Key& index_key, Records& records, OnFailure on_failure,
                      LogMissing&& log_missing, Use&& use) {
  auto users = index.find(index_key);
  if (users == index.end()) return 0;
  int rc = 0;
  for (auto& user : users->second) {
    auto record = records.find(keyOf(user));
    int failed = HAL_FILTERS_ERR_FAILED;
    if (record == records.end()) {
      log_missing(keyOf(user));
    } else {
      failed = use(user, record->second);
    }
    if (failed == 0) continue;
    if (on_failure == OnFailure::Stop) return failed;
    rc = failed;
  }
  return rc;
}

// Takes hardware entries out of a pool: they leave the hardware, their slots become free.
void takeOut(FilterEntriesCache::entry_info_t& info, int base, const std::list<int>& hw_ids,
             std::list<int>& removed) {
  for (int hw_eid : hw_ids) {
    info.pool[static_cast<size_t>(hw_eid - base)].installable = false;
    removed.push_back(hw_eid);
  }
}

}  // namespace

int FilterEntriesCache::GetRemovedLagMemberEntries(const limid_t& lag, const limid_t& member,
                                                   RemovedEntries& out) {
  auto missing = [](int base) {
    callbacks().log(kLogError,
                    "Could not find internal cache with hardware ID %d for removing LAG member",
                    base);
  };
  return forEachUserRecord(
      lag_entries_, lag, entries_info_, OnFailure::GoOn, missing,
      [&](auto& user, entry_info_t& info) {
        auto& [base, members] = user;
        auto hw_ids = members.find(member);
        if (hw_ids == members.end()) {
          missing(base);
          return static_cast<int>(HAL_FILTERS_ERR_FAILED);
        }
        takeOut(info, base, hw_ids->second, out[info.user_key]);
        members.erase(hw_ids);
        return 0;
      });
}

int FilterEntriesCache::GetRemovedLagEntries(const limid_t& lag, RemovedEntries& out) {
  const int rc = forEachUserRecord(
      lag_entries_, lag, entries_info_, OnFailure::GoOn,
      [](int base) {
        callbacks().log(kLogError,
                        "Could not find internal cache with hardware ID %d for removing LAG", base);
      },
      [&](auto& user, entry_info_t& info) {
        std::list<int>& removed = out[info.user_key];
        for (const auto& [member, hw_ids] : user.second) takeOut(info, user.first, hw_ids, removed);
        return 0;
      });
  lag_entries_.erase(lag);
  return rc;
}

int FilterEntriesCache::GetRemovedL3DestinationEntries(unsigned int dest_id, RemovedEntries& out) {
  const int rc = forEachUserRecord(
      l3_destination_entries_, dest_id, entries_info_, OnFailure::GoOn,
      [dest_id](int base) {
        callbacks().log(kLogError,
                        "Could not find internal cache with hardware ID %d for removing entry with "
                        "L3 Destination ID %d",
                        base, dest_id);
      },
      [&](int, entry_info_t& info) {
        std::list<int>& switching = out[info.user_key];
        for (const pool_entry& hw_entry : info.pool) {
          switching.push_back(static_cast<int>(hw_entry.entry.getId()));
        }
        return 0;
      });
  l3_destination_entries_.erase(dest_id);
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
  bool refused = false;  // an entry the new member's entries do not fit; the others go on
  const int rc = forEachUserRecord(
      lag_entries_, lag, entries_info_, OnFailure::Stop,
      [](int base) {
        callbacks().log(kLogError,
                        "Could not find internal cache with hardware ID %d for adding LAG member",
                        base);
      },
      [&](auto& user, entry_info_t& info) {
        auto& [base, members] = user;
        std::vector<pool_entry> added;
        if (int expanded = ExpandForNewMember(info, lag, member, added); expanded != 0) {
          callbacks().log(kLogError,
                          "Error expanding user filter entry with hardware ID %d for adding LAG "
                          "member",
                          base);
          return expanded;
        }
        if (grownSize(info.pool, added.size()) > IdBlockSize(info.user_key.stage)) {
          callbacks().log(kLogError,
                          "Cannot add LAG member to hardware ID %d: its %zu new hardware entries "
                          "would exceed the %zu ids of its block",
                          base, added.size(), IdBlockSize(info.user_key.stage));
          refused = true;
          return 0;
        }
        ConsolidateNewLagMemberEntriesInformation(info.pool, added, members[member], base);
        std::vector<pool_entry>& created = out[info.user_key];
        created.insert(created.end(), added.begin(), added.end());
        return 0;
      });
  if (rc != 0) return rc;
  return refused ? HAL_FILTERS_ERR_FAILED : 0;
}

int FilterEntriesCache::ExpandForNewMember(const entry_info_t& info, const limid_t& lag,
                                           const limid_t& member, std::vector<pool_entry>& added) {
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
  added = {first};
  for (const auto& [type, match] : copy.getMatches()) {
    if (int rc = ExpandFilterEntries(added, info.user_key.stage, match->getType()); rc != 0) {
      return rc;
    }
  }
  return 0;
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

void addLagPorts(ingress_pbmp_info_t& info, _shr_pbmp ports) {
  BCM_PBMP_OR(info.pbmp, ports);
}

}  // namespace

const FilterEntriesCache::MemberBitmapChange FilterEntriesCache::kMemberAdded{addLagPorts, "add",
                                                                              "adding"};
const FilterEntriesCache::MemberBitmapChange FilterEntriesCache::kMemberRemoved{removeLagPorts,
                                                                                "remove",
                                                                                "removing"};

int FilterEntriesCache::UpdateLagMemberBitmaps(const limid_t& lag, const limid_t& member,
                                               std::set<int>& out,
                                               const MemberBitmapChange& change) {
  // Converted once; a conversion that fails is tried, and logged, again for each entry.
  std::optional<_shr_pbmp> member_ports;
  return forEachUserRecord(
      lag_pbmp_entries_, lag, ingress_pbmp_, OnFailure::GoOn,
      [&](int hw_eid) {
        callbacks().log(kLogError,
                        "Could not find hardware ID %d on ingress port bitmap cache for %s LAG "
                        "member",
                        hw_eid, change.doing);
      },
      [&](int hw_eid, ingress_pbmp_info_t& info) {
        bcm_gport_t gport;
        if (!member_ports && GetPortGport(member, gport) == 0) {
          member_ports.emplace();
          BCM_PBMP_CLEAR(*member_ports);
          addLocalPort(*member_ports, gport);
        }
        if (!member_ports) {
          callbacks().log(kLogError, "Could not %s LAG member to hardware ID %d port bitmap",
                          change.verb, hw_eid);
          return static_cast<int>(HAL_FILTERS_ERR_FAILED);
        }
        change.apply(info, *member_ports);
        out.insert(hw_eid);
        return 0;
      });
}

int FilterEntriesCache::GetAddedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                                        std::set<int>& out) {
  return UpdateLagMemberBitmaps(lag, member, out, kMemberAdded);
}

int FilterEntriesCache::GetRemovedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                                          std::set<int>& out) {
  return UpdateLagMemberBitmaps(lag, member, out, kMemberRemoved);
}

int FilterEntriesCache::GetRemovedLagUpdatedEntries(const limid_t& lag, std::set<int>& out) {
  const int rc = forEachUserRecord(
      lag_pbmp_entries_, lag, ingress_pbmp_, OnFailure::GoOn,
      [](int hw_eid) {
        callbacks().log(kLogError,
                        "Could not find hardware ID %d on ingress port bitmap cache for removing "
                        "LAG",
                        hw_eid);
      },
      [&](int hw_eid, ingress_pbmp_info_t& info) {
        _shr_pbmp members;
        if (!LagMemberPorts(lag, members)) {
          callbacks().log(kLogError, "Could not remove LAG from hardware ID %d port bitmap",
                          hw_eid);
          return static_cast<int>(HAL_FILTERS_ERR_FAILED);
        }
        removeLagPorts(info, members);
        out.insert(hw_eid);
        return 0;
      });
  lag_pbmp_entries_.erase(lag);
  return rc;
}

bool FilterEntriesCache::LagMemberPorts(const limid_t& lag, _shr_pbmp& ports) {
  BCM_PBMP_CLEAR(ports);
  for (const limid_t& member : HalBcmCommon::GetInstance().GetLagMembers(lag)) {
    bcm_gport_t gport;
    if (GetPortGport(member, gport) != 0) return false;
    addLocalPort(ports, gport);
  }
  return true;
}

}  // namespace HalFiltersLL
