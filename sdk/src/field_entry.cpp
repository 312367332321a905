// Field entries: creation, priority, installation and destruction.
#include <bcm/error.h>
#include <bcm/field.h>

#include "c_source.h"
#include "call_args.h"
#include "sdk_call.h"
#include "tcam.h"
#include "text.h"

namespace bcmsim::detail {
namespace {

std::string args(int unit, int entry) {
  return std::to_string(unit) + ", " + std::to_string(entry);
}

CSourceBuilder entry_source(int unit, int entry) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry);
  return source;
}

LoggedArgs entry_args(int unit, int entry) {
  return {args(unit, entry), entry_source(unit, entry).build()};
}

// An entry's creation, with the id the SDK chose.
LoggedArgs create_args(int unit, int group, const std::optional<int>& entry) {
  if (!entry) {
    return {args(unit, group) + ", NULL",
            CSourceBuilder().number(unit).ref(Ref::Group, group).literal("NULL").build()};
  }
  return {args(unit, group) + ", " + std::to_string(*entry),
          CSourceBuilder()
              .number(unit)
              .ref(Ref::Group, group)
              .output("bcm_field_entry_t", "entry")
              .makes(Ref::Entry, *entry, true, "entry")
              .build()};
}

bool holds_policer(const State& state, const Group& group) {
  for (int id : group.entries) {
    for (const auto& policer : state.entries.at(id).staged.policers) {
      if (policer) return true;
    }
  }
  return false;
}

// Where meter pools belong to slices, a group one of whose entries holds a meter may not spread
// over a second slice.
bool meters_pin(const Device& dev, const Group& group) {
  return !stage_rules(dev, group.stage).global_meter_pools && holds_policer(dev.state, group);
}

// The places a group would gain by taking, one after the other, the slices of its stage no group
// holds: each time the first of them, until one holds none of its entries.
int unheld_places(const Device& dev, Stage stage, bool double_wide_key) {
  const std::vector<int>& sizes = dev.config.slices[static_cast<int>(stage)];
  const std::vector<bool> held = held_slices(dev, stage);
  int places = 0;
  for (size_t index = 0; index < held.size(); ++index) {
    if (held[index]) continue;
    const int size = double_wide_key ? sizes[index] / 2 : sizes[index];
    if (size <= 0) break;
    places += size;
  }
  return places;
}

// The slice a new entry of the group takes: the first of its slices with room, else a free slice
// of its stage, unless a meter of one of its entries would have to spread over two slices.
// Returns the slice's index, or the SDK's code when there is no room.
int reserve_slice(Device& dev, Group& group) {
  for (Group::Slice& slice : group.slices) {
    if (slice.entries < slice.size) return slice.index;
  }
  const int index = free_slice(dev, group.stage);
  if (index < 0 || slice_capacity(dev, group, index) <= 0) {
    return refuse(Why::GroupFull, BCM_E_RESOURCE);
  }
  if (meters_pin(dev, group)) return refuse(Why::GroupFullWithPolicer, BCM_E_RESOURCE);
  tcam_add_slice(group, index, slice_capacity(dev, group, index));
  dev.changed(group);
  return index;
}

// An entry leaves its slice; a slice left empty goes back to the stage, unless it is the group's
// only one or, where the chip keeps it, its first.
void release_slice(Device& dev, Group& group, int index) {
  Group::Slice& slice = tcam_slice(group, index);
  if (--slice.entries > 0 || group.slices.size() == 1) return;
  if (index == group.slices.front().index && !stage_rules(dev, group.stage).frees_first_slice) {
    return;
  }
  tcam_drop_slice(group, index);
  dev.changed(group);
}

int add_entry(Device& dev, int group_id, int entry_id) {
  Group* group = find_group(dev.state, group_id);
  if (!group) return refuse(Why::GroupUnknown, BCM_E_NOT_FOUND);
  const int slice = reserve_slice(dev, *group);
  if (slice < 0) return slice;
  ++tcam_slice(*group, slice).entries;
  Entry entry;
  entry.id = entry_id;
  entry.group = group_id;
  entry.slice = slice;
  dev.state.entries.emplace(entry_id, std::move(entry));
  group->entries.insert(entry_id);
  return BCM_E_NONE;
}

// Writes the staged view to the hardware: a never-installed entry takes its TCAM slot, a changed
// one is written again, an unchanged one is left alone. The statistics object attached since the
// last install gets its counter now; where counters belong to a slice, the install is refused
// when that counter is another slice's.
int install(Device& dev, Entry& entry) {
  const Stat* stat = entry.staged.stat ? &dev.state.stats.at(*entry.staged.stat) : nullptr;
  // A statistics object detached and attached again since the last install is a change too: its
  // counter went back at the detach.
  const bool counter_lost = stat && !stat->counting.count(entry.id);
  if (entry.installed && *entry.installed == entry.staged && !counter_lost) return BCM_E_NONE;
  if (counter_lost && !counter_serves_slice(dev, *stat, entry)) {
    return refuse(Why::CounterOfAnotherSlice, BCM_E_CONFIG);
  }
  Group& group = dev.state.groups.at(entry.group);
  if (!entry.installed) dev.state.tcam_moves += tcam_insert(group, entry.id, entry.priority);
  if (entry.staged.stat) dev.state.stats.at(*entry.staged.stat).counting.insert(entry.id);
  entry.installed = entry.staged;
  dev.changed(group);
  return BCM_E_NONE;
}

// Takes an entry out of the hardware: its slot is freed and its counter no longer counts for it.
void uninstall(Device& dev, Entry& entry) {
  if (!entry.installed) return;
  Group& group = dev.state.groups.at(entry.group);
  tcam_remove(group, entry.id);
  if (entry.installed->stat) stop_counting(dev.state, *entry.installed->stat, entry.id);
  entry.installed.reset();
  dev.changed(group);
}

int install_call(const char* function, int unit, int entry) {
  return sdk_call(
      function, unit, entry, [&] { return [unit, entry] { return entry_args(unit, entry); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) { return install(dev, e); });
      });
}

// Releases what hangs on an entry: its statistics object and its policers.
void detach_all(State& state, const Entry& entry) {
  if (entry.staged.stat) state.stats.at(*entry.staged.stat).entries.erase(entry.id);
  for (int level = 0; level < kPolicerLevels; ++level) {
    if (entry.staged.policers[level]) {
      state.policers.at(*entry.staged.policers[level]).attachments.erase({entry.id, level});
    }
  }
}

}  // namespace
}  // namespace bcmsim::detail

namespace bcmsim {

int group_room(int id) {
  const detail::Device& dev = detail::device();
  auto group = dev.state.groups.find(id);
  if (group == dev.state.groups.end()) return -1;
  int room = 0;
  for (const Group::Slice& slice : group->second.slices) room += slice.size - slice.entries;
  if (detail::meters_pin(dev, group->second)) return room;
  return room + detail::unheld_places(dev, group->second.stage, group->second.double_wide_key);
}

int stage_room(Stage stage, bool double_wide_key) {
  return detail::unheld_places(detail::device(), stage, double_wide_key);
}

}  // namespace bcmsim

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_entry_create(int unit, bcm_field_group_t group, bcm_field_entry_t* entry) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] { return [unit, group, made = kept(entry)] { return create_args(unit, group, made); }; },
      [&](Device& dev) -> int {
        if (!entry) return refuse(Why::BadArgument, BCM_E_PARAM);
        if (!find_group(dev.state, group)) return refuse(Why::GroupUnknown, BCM_E_NOT_FOUND);
        const int id =
            dev.entry_ids.take([&](int taken) { return dev.state.entries.count(taken) > 0; });
        int rv = add_entry(dev, group, id);
        if (rv == BCM_E_NONE) *entry = id;
        return rv;
      });
}

int bcm_field_entry_create_id(int unit, bcm_field_group_t group, bcm_field_entry_t entry) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, group, entry] {
          return LoggedArgs{args(unit, group) + ", " + std::to_string(entry),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::Group, group)
                                .number(entry)
                                .makes(Ref::Entry, entry, false, std::to_string(entry))
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        if (entry < 0) return refuse(Why::BadArgument, BCM_E_PARAM);
        // The group is looked up before the id.
        if (!find_group(dev.state, group)) return refuse(Why::GroupUnknown, BCM_E_NOT_FOUND);
        if (dev.state.entries.count(entry)) return refuse(Why::EntryExists, BCM_E_EXISTS);
        return add_entry(dev, group, entry);
      });
}

int bcm_field_entry_destroy(int unit, bcm_field_entry_t entry) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, entry] {
          return LoggedArgs{args(unit, entry),
                            entry_source(unit, entry).removes(Ref::Entry, entry).build()};
        };
      },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          uninstall(dev, e);
          detach_all(dev.state, e);
          Group& group = dev.state.groups.at(e.group);
          group.entries.erase(entry);
          release_slice(dev, group, e.slice);
          dev.state.entries.erase(entry);
          return BCM_E_NONE;
        });
      });
}

int bcm_field_entry_install(int unit, bcm_field_entry_t entry) {
  return install_call(__func__, unit, entry);
}

// The SDK's reinstall is install: both write whatever changed since the last one.
int bcm_field_entry_reinstall(int unit, bcm_field_entry_t entry) {
  return install_call(__func__, unit, entry);
}

int bcm_field_entry_remove(int unit, bcm_field_entry_t entry) {
  return sdk_call(
      __func__, unit, entry, [&] { return [unit, entry] { return entry_args(unit, entry); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          uninstall(dev, e);
          return BCM_E_NONE;
        });
      });
}

int bcm_field_entry_prio_set(int unit, bcm_field_entry_t entry, int prio) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, entry, prio] {
          return LoggedArgs{args(unit, entry) + ", " + std::to_string(prio),
                            entry_source(unit, entry).number(prio).build()};
        };
      },
      [&](Device& dev) -> int {
        if (prio < BCM_FIELD_ENTRY_PRIO_LOWEST) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_entry(dev, entry, [&](Entry& e) -> int {
          if (e.installed && e.priority != prio) {
            // An installed entry moves to the place of its new priority.
            Group& group = dev.state.groups.at(e.group);
            tcam_remove(group, entry);
            dev.state.tcam_moves += tcam_insert(group, entry, prio);
            dev.changed(group);
          }
          e.priority = prio;
          return BCM_E_NONE;
        });
      });
}

int bcm_field_entry_prio_get(int unit, bcm_field_entry_t entry, int* prio) {
  return sdk_call(
      __func__, unit, entry,
      [&] {
        return [unit, entry, given = prio != nullptr] {
          return LoggedArgs{args(unit, entry) + ", " + pointer_text(given),
                            entry_source(unit, entry).output("int", "prio").build()};
        };
      },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          if (!prio) return refuse(Why::BadArgument, BCM_E_PARAM);
          *prio = e.priority;
          return BCM_E_NONE;
        });
      });
}

}  // extern "C"
