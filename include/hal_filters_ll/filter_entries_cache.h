// The entry expansion cache: every user entry as the pool of hardware entries it expands into,
// the ingress port bitmaps of those hardware entries, and what they depend on (LAGs, LAG members,
// L3 destinations), so that topology changes touch only the entries they affect.
#pragma once

#include <list>
#include <map>
#include <set>
#include <vector>

#include <filters_common/filters_common.h>
#include <hal_filters_ll/bcm_sdk.h>
#include <limid/limid.h>

namespace HalFiltersLL {

// A user entry: the stage and id of its group and its own id.
struct user_entry_key_t {
  FiltersCommon::filtersGroupStage_t stage;
  unsigned short group_id;
  unsigned int entry_id;

  // Stage (signed), then group id, then entry id (both unsigned).
  bool operator<(const user_entry_key_t& other) const;
};

// One hardware entry of a user entry: a copy of the user entry with single-valued matches, whose
// id is the hardware entry id.
struct pool_entry {
  bool installable = false;  // false: a port match is empty; never written to the hardware
  FiltersCommon::FiltersEntry entry;
  bool from_lag = false;            // expanded from a LAG
  limid_t lag = limid_null;         // that LAG
  limid_t lag_member = limid_null;  // the member it stands for; null when the LAG had none

  // The entry of one LAG member, installable when its source is.
  static pool_entry ofLagMember(const pool_entry& source, const limid_t& lag,
                                const limid_t& member) {
    return {source.installable, source.entry, true, lag, member};
  }
  // The place of a LAG without members: kept until the LAG gains one, never in the hardware.
  static pool_entry ofMemberlessLag(const pool_entry& source, const limid_t& lag) {
    return {false, source.entry, true, lag, limid_null};
  }
};

// The ingress port bitmaps of one hardware entry.
struct ingress_pbmp_info_t {
  _shr_pbmp ports_pbmp;  // the ports the entry names directly
  _shr_pbmp pbmp;        // what is programmed: those ports and the members of its LAGs
};

class FilterEntriesCache {
 public:
  struct entry_info_t {
    user_entry_key_t user_key;
    FiltersCommon::FiltersEntry user_entry;
    std::vector<pool_entry> pool;  // element k is hardware entry base + k
  };

  using MemberEntries = std::map<limid_t, std::list<int>>;  // LAG member -> hardware ids
  using RemovedEntries = std::map<user_entry_key_t, std::list<int>>;
  using AddedEntries = std::map<user_entry_key_t, std::vector<pool_entry>>;

  virtual ~FilterEntriesCache() = default;

  // Pools.
  int InitializeEntriesPool(const user_entry_key_t& key, int base,
                            const FiltersCommon::FiltersEntry& entry);
  void DestroyEntriesPool(int base);
  std::vector<pool_entry>* GetEntriesPool(int base);
  // The record whose pool holds `hw_eid`; null when none does.
  const entry_info_t* FindEntryOf(int hw_eid) const;
  pool_entry ConvertFiltersEntryToPoolEntry(const FiltersCommon::FiltersEntry& entry) const;
  void CleanupCache();

  // The hardware ids each user entry of a stage owns (base, base + 1, ...): no pool grows
  // past them.
  static size_t IdBlockSize(FiltersCommon::filtersGroupStage_t stage);

  // Expansion over ports, LAG members, VLAN ids and PCP values.
  int ExpandFilterEntries(std::vector<pool_entry>& pool, FiltersCommon::filtersGroupStage_t stage,
                          FiltersCommon::filtersMatch_t type);
  int MatchPortsExpand(std::vector<pool_entry>& pool, FiltersCommon::filtersGroupStage_t stage,
                       FiltersCommon::filtersMatch_t type);
  int MatchPortsExpandList(const pool_entry& source, const std::list<limid_t>& ports,
                           std::vector<pool_entry>& out, FiltersCommon::filtersMatch_t type);
  int MatchPortsExpandLag(const pool_entry& source, const limid_t& lag,
                          std::vector<pool_entry>& out, FiltersCommon::filtersMatch_t type);
  int MatchExternalVlanIdExpand(std::vector<pool_entry>& pool);
  int MatchInternalVlanIdExpand(std::vector<pool_entry>& pool);
  int MatchExternalPcpExpand(std::vector<pool_entry>& pool);
  int MatchInternalPcpExpand(std::vector<pool_entry>& pool);
  void ConsolidateEntryInformation(std::vector<pool_entry>& pool, int base);

  // Ingress port bitmaps.
  int UpdateIngressEntryInformation(const FiltersCommon::MatchIngressPorts& match, int eid);
  int UpdatePortListEntryInformation(const std::list<limid_t>& ports, int eid);
  int UpdateExclusionListEntryInformation(const std::list<FiltersCommon::port_type_t>& types,
                                          int eid);
  int GetIngressEntryPbmp(int eid, _shr_pbmp& pbmp) const;
  // The LAGs whose bitmap index lists `eid`.
  std::set<limid_t> BitmapEntryLags(int eid) const;
  // Takes `eid` out of the bitmap index of every LAG not in `lags`.
  void RestrictBitmapEntryLags(int eid, const std::set<limid_t>& lags);

  // Topology dependencies: each query answers what an event changes and brings the cache's own
  // records up to date for it.
  int CacheFilterActionDependencies(int base, const FiltersCommon::Action& action);
  int GetRemovedLagMemberEntries(const limid_t& lag, const limid_t& member, RemovedEntries& out);
  int GetRemovedLagEntries(const limid_t& lag, RemovedEntries& out);
  int GetRemovedL3DestinationEntries(unsigned int dest_id, RemovedEntries& out);
  int GetAddedLagMemberEntries(const limid_t& lag, const limid_t& member, AddedEntries& out);
  void ConsolidateNewLagMemberEntriesInformation(std::vector<pool_entry>& pool,
                                                 std::vector<pool_entry>& new_entries,
                                                 std::list<int>& ids, int base);
  int GetAddedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                      std::set<int>& out);
  int GetRemovedLagMemberUpdatedEntries(const limid_t& lag, const limid_t& member,
                                        std::set<int>& out);
  int GetRemovedLagUpdatedEntries(const limid_t& lag, std::set<int>& out);

  // Read-only views of the records.
  const std::map<int, entry_info_t>& entries_info() const { return entries_info_; }
  const std::map<limid_t, std::map<int, MemberEntries>>& lag_entries() const {
    return lag_entries_;
  }
  const std::map<limid_t, std::set<int>>& lag_pbmp_entries() const { return lag_pbmp_entries_; }
  const std::map<int, ingress_pbmp_info_t>& ingress_pbmp() const { return ingress_pbmp_; }
  const std::map<unsigned int, std::set<int>>& l3_destination_entries() const {
    return l3_destination_entries_;
  }

 private:
  // How a LAG member's port changes the bitmap of an entry over its LAG, and the words its log
  // lines use ("add", "adding").
  struct MemberBitmapChange {
    void (*apply)(ingress_pbmp_info_t& info, _shr_pbmp member_ports);
    const char* verb;
    const char* doing;
  };
  static const MemberBitmapChange kMemberAdded;
  static const MemberBitmapChange kMemberRemoved;

  // Changes a LAG member's port in the bitmaps of the entries that hold the LAG.
  int UpdateLagMemberBitmaps(const limid_t& lag, const limid_t& member, std::set<int>& out,
                             const MemberBitmapChange& change);
  // The entries a new LAG member adds to a user entry's pool, not yet given ids.
  int ExpandForNewMember(const entry_info_t& info, const limid_t& lag, const limid_t& member,
                         std::vector<pool_entry>& added);
  // The ports of a LAG's members; false when one of them has no gport.
  static bool LagMemberPorts(const limid_t& lag, _shr_pbmp& ports);

  std::map<int, entry_info_t> entries_info_;
  std::map<limid_t, std::map<int, MemberEntries>> lag_entries_;
  std::map<limid_t, std::set<int>> lag_pbmp_entries_;
  std::map<int, ingress_pbmp_info_t> ingress_pbmp_;
  std::map<unsigned int, std::set<int>> l3_destination_entries_;
};

extern FilterEntriesCache filters_cache_;

// The bitmap of all ports except those of the excluded types; only the CPU ports (type 0) can be
// excluded.
int GetExclusionListPbmp(const std::list<FiltersCommon::port_type_t>& types,
                         ingress_pbmp_info_t& info);
// The gport of a port; non-zero (and a log line) when the port has none.
int GetPortGport(const limid_t& port, bcm_gport_t& gport);
// All ports of a unit: the port and CPU sets of its configuration, less the ports forced off,
// plus the extra internal ports. 0, or -2 when the configuration cannot be read.
int getAllPortsBmp(int unit, _shr_pbmp& pbmp);

}  // namespace HalFiltersLL
