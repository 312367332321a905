// A filter group: a stage, an id, a priority, a type and its entries.
#pragma once

#include <map>

#include <filters_common/filters_entry.h>

namespace FiltersCommon {

class FiltersGroup {
 public:
  FiltersGroup() = default;
  FiltersGroup(filtersGroupStage_t stage, unsigned short id, unsigned short priority,
               unsigned int type)
      : stage_(stage), id_(id), priority_(priority), type_(type) {}

  filtersGroupStage_t getStage() const { return stage_; }
  unsigned short getId() const { return id_; }
  unsigned short getPriority() const { return priority_; }
  unsigned int getType() const { return type_; }

  // Insert, or replace the entry with the same id.
  void addEntry(const FiltersEntry& entry) { entries_.insert_or_assign(entry.getId(), entry); }
  const std::map<unsigned int, FiltersEntry>& getEntries() const { return entries_; }  // by id

 private:
  filtersGroupStage_t stage_ = FILTERS_GROUP_STAGE_NONE;
  unsigned short id_ = 0;
  unsigned short priority_ = 0;
  unsigned int type_ = 0;
  std::map<unsigned int, FiltersEntry> entries_;
};

}  // namespace FiltersCommon
