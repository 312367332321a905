// The filters interface on the Broadcom field processor.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <vector>

#include <hal_filters_ll/action_translation.h>
#include <hal_filters_ll/bcm_sdk.h>
#include <hal_filters_ll/filter_entries_cache.h>
#include <hal_filters_ll/hal_filters_itf.h>

namespace HalFiltersLL {

// One counter of a user entry: the statistics object that holds it and its type there.
struct hw_counter_info_t {
  int32_t stat_id;
  int32_t stat_type;
};

// The statistics object of a user entry and the counters it serves.
struct counter_entry_info_t {
  int32_t stat_id;
  std::set<unsigned short> counter_ids;
};

class HalFiltersBcm : public HalFiltersItf {
 public:
  static HalFiltersBcm& getInstance(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                                    hal_encap::DestinationOrchestrator* dest);
  static HalFiltersBcm& getInstance();

  ~HalFiltersBcm() override = default;
  halFiltersErr_t createGroup(const FiltersCommon::FiltersGroup& group) override;
  halFiltersErr_t createEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                              const FiltersCommon::FiltersEntry& entry) override;
  halFiltersErr_t updateEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                              const FiltersCommon::FiltersEntry& entry) override;
  halFiltersErr_t deleteEntry(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                              unsigned int eid) override;
  halFiltersErr_t getCounterValue(unsigned short counter_id, unsigned long long& value) override;
  halFiltersErr_t clearCounterValue(unsigned short counter_id) override;
  void clearCache() override;

  // Hardware identifiers, computed from the user's; -1 when there is none.
  int getHwGid(FiltersCommon::filtersGroupStage_t stage, unsigned short gid) const;
  int getHwGroupPrio(FiltersCommon::filtersGroupStage_t stage, unsigned short prio) const;
  int getBaseHwEid(FiltersCommon::filtersGroupStage_t stage, unsigned short gid,
                   unsigned int eid) const;
  int getHwEntryPrio(FiltersCommon::filtersGroupStage_t stage, unsigned short prio) const;

  // An SDK group or entry result as a result code, logged when it is a failure.
  halFiltersErr_t handleBcmGroupError(int rv, int gid, int prio, const char* op) const;
  halFiltersErr_t handleBcmEntryError(int rv, int gid, int eid, const char* op) const;

  // Groups.
  halFiltersErr_t fillGroupStage(const FiltersCommon::FiltersGroup& group,
                                 bcm_field_group_config_t& config);
  halFiltersErr_t fillGroupConfig(const FiltersCommon::FiltersGroup& group,
                                  bcm_field_group_config_t& config);
  halFiltersErr_t createGroupEntries(int unit, const FiltersCommon::FiltersGroup& group);

  // Hardware entries of a user entry.
  // `made`, when given, is set when the SDK entry was created, whatever happened after.
  halFiltersErr_t createHwEntry(const user_entry_key_t& key,
                                const FiltersCommon::FiltersEntry& hw_entry, bool* made = nullptr);
  halFiltersErr_t installHwEntry(const user_entry_key_t& key,
                                 const FiltersCommon::FiltersEntry& hw_entry);
  // `gone`, when given, is set when the SDK destroyed the entry.
  halFiltersErr_t deleteHwEntry(const user_entry_key_t& key, int hw_eid, bool* gone = nullptr);
  // Answers the ids the SDK did not destroy.
  std::set<int> undoCreatedHwEntries(const user_entry_key_t& key,
                                     const std::vector<pool_entry>& pool, int count);

  // Matches and actions of one hardware entry.
  int createBcmMatch(const std::list<limid_t>& ports, FiltersCommon::filtersGroupStage_t stage,
                     const FiltersCommon::Match* match, int eid);
  int createBcmAction(const FiltersCommon::Action* action, int eid);
  int deleteBcmAction(const FiltersCommon::Action* action, int eid);
  int blackHole(int eid);  // to the discarding egress object, kept from the CPU
  int createBcmMacActions(const user_entry_key_t& key, const FiltersCommon::FiltersEntry& entry,
                          int eid);
  int createBcmVlanActions(const FiltersCommon::FiltersEntry& entry, int eid);
  int createChangeL2FieldsAction(int eid, const user_entry_key_t& key, unsigned char src_mac[6],
                                 unsigned char dst_mac[6], unsigned short& vlan);
  int removeL3Entry(const user_entry_key_t& key);

  // Counters.
  halFiltersErr_t createCounter(const user_entry_key_t& key,
                                const FiltersCommon::FiltersEntry& entry);
  halFiltersErr_t attachCounter(const user_entry_key_t& key, int hw_eid) const;
  halFiltersErr_t detachCounter(const user_entry_key_t& key, int hw_eid) const;
  halFiltersErr_t removeCounter(const user_entry_key_t& key);
  static int FiltersCommonCounterType2BcmCounterType(FiltersCommon::counter_type_t type);

  // Policers.
  int installPolicer(FiltersCommon::filtersGroupStage_t stage, int hw_eid,
                     const FiltersCommon::FiltersEntry& entry);
  int createBcmPolicerAction(FiltersCommon::filtersGroupStage_t stage,
                             const policer::Action& action, int hw_eid);
  int removePolicer(int hw_eid);
  // Destroys the entry's policers left without users: by an earlier failed destroy, or created
  // for a create that then failed.
  int releaseIdlePolicers(const FiltersCommon::FiltersEntry& entry);

  // Topology events.
  int AddLagMemberEvent(const limid_t& lag, const limid_t& member);
  int RemoveLagMemberEvent(const limid_t& lag, const limid_t& member);
  int DestroyLagEvent(const limid_t& lag);
  void RemoveDestinationEvent(int dest_id);
  int UpdateAndReinstallEntries(const std::set<int>& hw_eids);

 protected:
  HalFiltersBcm(std::shared_ptr<halswitchl2if::LagOrchestrator> lag,
                hal_encap::DestinationOrchestrator* dest);

  unsigned int hw_entries_per_group[3];  // pre-ingress, ingress, egress
  unsigned int max_hw_groups[3];
  unsigned int hw_group_span[3];
  std::shared_ptr<halswitchl2if::LagOrchestrator> lag_orchestrator_;
  hal_encap::DestinationOrchestrator* destination_orchestrator_;
  std::map<unsigned int, std::set<int>> policer_entries_;  // level-0 policer -> hardware entries
  std::map<int, unsigned int> entry_policer_;
  std::map<unsigned int, std::set<int>> parent_policer_entries_;  // level-1 (parent) policer
  std::map<int, unsigned int> entry_parent_policer_;
  std::map<user_entry_key_t, counter_entry_info_t> counter_entries_;
  std::map<unsigned short, hw_counter_info_t> hw_counters_;
  bcm_if_t black_hole_egress_if_;
  std::map<user_entry_key_t, l3_info_t> l3_entries_;
  // User entries whose update deleted the old programming but could not create the new one: a
  // repeated update only creates.
  std::set<user_entry_key_t> interrupted_updates_;
  // Hardware entries out of step with their user entry's pool after a failure, by user entry:
  // each id with whether an SDK entry of that id is on the chip, to be destroyed before anything
  // else. The pool says whether the id is then created again (see hal_filters_bcm_repairs.cpp).
  std::map<user_entry_key_t, std::map<int, bool>> out_of_step_;

 private:
  void subscribeToTopologyEvents();
  void programStartUp();
  // Releases what a failed create of `key` left behind (its counter and L3 objects).
  void releaseFailedCreate(const user_entry_key_t& key);
  // Deletes the hardware entries a topology event removes; true when any deletion failed.
  bool deleteHwEntries(const FilterEntriesCache::RemovedEntries& removed, const char* event);

  // Repairs (hal_filters_bcm_repairs.cpp).
  void noteOutOfStep(const user_entry_key_t& key, int hw_eid, bool on_chip);
  void forgetOutOfStep(const user_entry_key_t& key, int hw_eid);
  bool outOfStep(const user_entry_key_t& key, int hw_eid) const;
  bool outOfStep(int hw_eid) const;  // of whichever user entry's pool holds it
  // Whether the chip holds the id as the pool lists it: installable and not out of step.
  bool inStep(const user_entry_key_t& key, int hw_eid) const;
  // Destroys the SDK entries of `key` recorded on the chip; false when one could not be.
  bool destroyLeftovers(const user_entry_key_t& key);
  // Destroys the leftovers of `key` and creates again the ids its pool lists; false on a failure.
  bool repairHwEntries(const user_entry_key_t& key);
  // Repairs every user entry out of step that depends on `lag`; false on a failure.
  bool repairLagFollowers(const limid_t& lag);
  // Whether the id is recorded as missing from the chip.
  bool missingFromChip(const user_entry_key_t& key, int hw_eid) const;
  // Takes a missing id as gone: forgets it, and its use of policers.
  halFiltersErr_t releaseMissing(const user_entry_key_t& key, int hw_eid);
  // Creates one listed hardware entry again, as the chip held it: with the L3 switch only while
  // the destination lasts, and without new LAG dependencies.
  halFiltersErr_t recreateHwEntry(const user_entry_key_t& key, const pool_entry& hw_entry,
                                  bool* made);
  // Records a failed rewrite or reinstall of an id in step: `destroyed` says whether the
  // reinstall's destroy took it off the chip.
  void noteFailedRewrite(int hw_eid, bool destroyed);
};

// Reinstalls a hardware entry; one that cannot be reinstalled is destroyed (0 or -1).
halFiltersErr_t ReinstallEntry(const bcm_field_entry_t& hw_eid);
// The same; `destroyed`, when given, says whether a failed reinstall's destroy succeeded.
halFiltersErr_t ReinstallEntry(const bcm_field_entry_t& hw_eid, bool* destroyed);

// A policer as log lines describe it: id, stage, mode with its rates, and its actions.
void writePolicerDescription(std::ostream& out, const policer::Policer& policer);
// One policer action: "Yellow Set DSCP 10", "Red Drop".
void writePolicerAction(std::ostream& out, const policer::Action& action);

}  // namespace HalFiltersLL
