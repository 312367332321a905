// The simulated device: its configuration, its reset and read-only access to its state.
#pragma once

#include <array>
#include <vector>

#include <bcmsim/state.h>

namespace bcmsim {

struct Config {
  int unit = 0;
  std::vector<int> front_ports = default_front_ports();
  int cpu_port = 0;
  // TCAM slices per stage and entries per slice, in Stage order: pre-ingress, ingress, egress.
  // A group takes one slice and, when it is full, another free slice of its stage. The default
  // is a Trident 2 (BCM56850) counted in 256-entry slices; docs/bcmsim.md gives the sources.
  std::array<int, kStageCount> slices_per_stage{4, 16, 4};
  std::array<int, kStageCount> entries_per_slice{256, 256, 256};
  // Device information: ports forced off (removed from the all-ports bitmap) and extra
  // internal ports such as loopback ports (added to it).
  std::vector<int> disabled_ports;
  std::vector<int> internal_ports;

  static std::vector<int> default_front_ports();
};

// Returns the device to its start-up state with the default or the given configuration.
// The call log and the fault plan are cleared too; logging stays as it was.
void reset();
void reset(const Config& config);

const Config& config();
const State& state();

}  // namespace bcmsim
