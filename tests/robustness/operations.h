// The operations of a random sequence, described by plain values so that a sequence can be
// printed, replayed and shrunk; running and shrinking sequences.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <bcmsim/fault_plan.h>
#include <filters_common/filters_common.h>

namespace robustness {

// User entry ids 0 to kEntryIds - 1 in group 0 of every stage; VLAN ids 1 to kVlans.
constexpr unsigned kEntryIds = 6;
constexpr int kVlans = 12;

// A user entry: its stage and id.
struct Key {
  FiltersCommon::filtersGroupStage_t stage = FiltersCommon::FILTERS_GROUP_STAGE_INGRESS;
  unsigned int id = 0;
  bool operator<(const Key& other) const {
    return std::tie(stage, id) < std::tie(other.stage, other.id);
  }
  bool operator==(const Key& other) const { return stage == other.stage && id == other.id; }
  std::string text() const {
    return "stage " + std::to_string(stage) + " entry " + std::to_string(id);
  }
};

// A user entry as the generator writes it; the model and the library both start from it.
struct EntrySpec : Key {
  unsigned short priority = 0;
  std::vector<limid_t> ports;  // ingress ports (pre-ingress, ingress) or egress ports (egress)
  bool all_but_cpu = false;    // ingress only: every port but the CPU port instead of `ports`
  std::set<unsigned short> vlans;
  std::set<unsigned char> pcps;          // pre-ingress and egress
  uint32_t src_ip = 0, src_ip_mask = 0;  // ingress
  bool drop = false;
  std::optional<unsigned char> dscp;  // ingress
  std::optional<unsigned char> pcp;   // pre-ingress and egress: a new PCP
  bool copy_to_cpu = false;
  std::optional<unsigned int> destination;   // ingress: an L3 switch
  std::optional<unsigned char> new_dst_mac;  // ingress: the last byte of 02:00:00:00:00:xx
  std::vector<std::pair<unsigned short, FiltersCommon::counter_type_t>> counters;
  std::optional<unsigned int> policer, parent_policer;  // ingress and egress
  bool policer_drops_red = false;
  std::optional<unsigned char> policer_yellow_dscp, policer_green_pcp;

  FiltersCommon::FiltersEntry toEntry() const;
  std::string text() const;
};

struct Operation {
  // In the order of the table of kinds in operations.cpp.
  enum Kind {
    kCreateGroups,
    kCreateEntry,
    kUpdateEntry,
    kDeleteEntry,
    kAddMember,
    kRemoveMember,
    kDestroyLag,
    kCreateLag,
    kRemoveDestination,
    kReadCounter,
    kClearCache,
    kDestroyBehindTheLibrary,  // never generated: shows that the checks see a drifting device
  };
  // What the user does after a topology change that met a fault or failed: one update of each
  // user entry it reached, one delete of each, or the LAG's next event.
  enum Recovery { kUpdateReached, kDeleteReached, kNextLagEvent };
  Kind kind = kCreateGroups;
  EntrySpec entry;  // create, update; delete and the destroy behind the library use stage and id
  std::vector<EntrySpec> group_entries;  // create the groups: the entries they start with
  unsigned lag = 0, member = 0, destination = 0;
  unsigned short counter = 0;
  std::optional<bcmsim::Fault> fault;
  Recovery recovery = kUpdateReached;
  uint64_t packet_seed = 0;  // the packets classified after the operation

  explicit Operation(Kind of = kCreateGroups, EntrySpec on = {}) : kind(of), entry(std::move(on)) {}
  std::string text() const;
};

// The generator numbers the counters of a user entry from stage * 100 + id * 4, four slots each.
inline unsigned short counter_number(FiltersCommon::filtersGroupStage_t stage, unsigned id,
                                     unsigned slot) {
  return static_cast<unsigned short>(stage * 100 + id * 4 + slot);
}

// Every code the SDK returns for a failure, BCM_E_INTERNAL (-1) to BCM_E_PARTIAL (-22).
const std::vector<int>& failure_codes();

// A reproducible sequence of `steps` operations for a seed.
std::vector<Operation> generate(uint64_t seed, int steps);

// Runs a sequence against the library on a fresh bcmsim device, keeps the model alongside and
// checks the device and the cache after every step (harness.cpp).
struct RunResult {
  int steps = 0;              // operations run, the final clean-up not counted
  int faults_injected = 0;    // faults planned with an operation
  int faults_fired = 0;       // of those, the ones the operation ran into
  int refused_steps = 0;      // operations in which the chip refused a call of the library
  std::map<int, int> faults_fired_by_code;
  int undo_faults = 0;  // faults that hit the undo of a call the chip refused
  std::map<std::string, int> recoveries;  // after a topology change that failed, by kind
  long packets = 0, packets_hitting = 0;  // classified and predicted after the steps
  std::map<std::string, int> refusals;  // by rule: the refusals that made a library call fail
  std::optional<int> failed_step;  // the operation after which a check failed; steps for the end
  std::vector<std::string> calls;  // the SDK functions the last operation called, in order
  std::vector<std::string> violations;
};

// `chip` names a chip of bcmsim/chips.h, with its own geometry; empty, the default device.
RunResult run_sequence(const std::vector<Operation>& operations, const std::string& chip = "");

// The shortest sequence found, by cutting the tail and then single operations, that still fails.
std::vector<Operation> shrink(std::vector<Operation> operations, int failed_step,
                              const std::string& chip = "");

}  // namespace robustness
