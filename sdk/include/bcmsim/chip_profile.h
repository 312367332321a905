// What tells one chip's field processor from another's: plain tables that the device's rules
// read. A rule never asks which chip it runs on; it looks its answer up here. docs/bcmsim.md
// names the SDK function behind every value of the named chips.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <bcmsim/state.h>

namespace bcmsim {

// A set of statistic types, one bit per bcm_field_stat_t value.
using StatTypes = uint32_t;
constexpr StatTypes stat_types(std::initializer_list<bcm_field_stat_t> types) {
  StatTypes set = 0;
  for (bcm_field_stat_t type : types) set |= 1u << type;
  return set;
}

// By action: the actions an entry holding it refuses to take (the SDK's configuration error).
using ActionConflicts = std::map<int, std::set<int>>;

// Policers at one level of one stage: the modes it meters in, and the answer to an attach of a
// policer in another mode (every mode, where the level has no meters).
struct PolicerLevel {
  std::set<int> modes;
  int refusal = 0;
};

struct StageRules {
  std::set<int> qualifiers;  // the qualifiers a group of the stage may name
  std::map<int, int> group_mode_refusals;  // by group mode: the answer to a group asking for it
  // The answer to a single-wide group whose qualifier set names InPorts; 0: created.
  int single_wide_in_ports_refusal = 0;
  // A group that held more than one slice gives back its first one too when it empties.
  bool frees_first_slice = false;
  // The answer to a qualify outside the group's qualifier set, and the qualifiers that answer
  // otherwise.
  int qset_miss = 0;
  std::map<int, int> qset_miss_by_qualifier;
  // Meters shared by all slices of the stage; without them a policer binds its group to one slice.
  bool global_meter_pools = false;
  int policer_refusal = 0;  // the answer to any policer attach where the stage has no meters; 0: it has
  int empty_policer_detach = 0;  // the answer to a detach of a level that holds nothing
  std::array<PolicerLevel, kPolicerLevels> policer_levels;
  // The hardware counter modes: each is the set of statistic types one counter can serve. A
  // statistics object must fit one of them.
  std::vector<StatTypes> counter_modes;
  int counter_mode_refusal = 0;  // the answer to a statistics object no mode fits
  // Counters shared by all slices; without them a statistics object that has its counter serves
  // only the entries of that counter's slice.
  bool global_counters = true;
  std::set<int> actions;  // the actions the stage supports
  ActionConflicts conflicts;
};

struct ChipProfile {
  std::string name;    // the device id it answers as, "bcm56450"
  std::string family;  // "Katana 2"
  std::array<StageRules, kStageCount> stages;
  // Where a profile is kinder than the chip it starts from, each kindness in words; empty for a
  // named chip.
  std::vector<std::string> relaxations;
};

}  // namespace bcmsim
