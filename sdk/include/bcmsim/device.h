// The simulated device: its configuration, its reset and read-only access to its state.
#pragma once

#include <array>
#include <vector>

#include <bcmsim/chip_profile.h>
#include <bcmsim/state.h>

namespace bcmsim {

struct Config {
  int unit = 0;
  std::vector<int> front_ports = default_front_ports();
  int cpu_port = 0;
  // The entries of each TCAM slice, per stage in Stage order: pre-ingress, ingress, egress. A
  // group takes the first free slice of its stage and, when it is full, the next free one.
  std::array<std::vector<int>, kStageCount> slices = default_slices();
  // The rules that differ between chips. The default device is the one the filters library's
  // catalogue describes; bcmsim/chips.h gives the named chips.
  ChipProfile chip = default_chip();
  // Device information: ports forced off (removed from the all-ports bitmap) and extra
  // internal ports such as loopback ports (added to it).
  std::vector<int> disabled_ports;
  std::vector<int> internal_ports;

  static std::vector<int> default_front_ports();
  static std::array<std::vector<int>, kStageCount> default_slices();
  static ChipProfile default_chip();
  // `count` slices of `entries` each.
  static std::vector<int> equal_slices(int count, int entries);
  // Every slice of each stage holds the given entries; the slice counts stay.
  void set_slice_entries(const std::array<int, kStageCount>& entries);
};

// Returns the device to its start-up state with the default or the given configuration.
// The call log and the fault plan are cleared too; logging stays as it was.
void reset();
void reset(const Config& config);

const Config& config();
const State& state();

// How many more entries the SDK would create in group `id` now: the free places of its slices
// and, unless a meter pins it to them, every place of the slices of its stage no group holds.
// -1 when there is no such group.
int group_room(int id);
// The places a new group of `stage` would find in the slices no group holds.
int stage_room(Stage stage, bool double_wide_key);

}  // namespace bcmsim
