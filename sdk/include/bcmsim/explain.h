// Why a packet does what it does, group by group: the entry it hits, or the installed entries
// that came closest and the first qualifier each failed; and which actions of a group a group of
// higher priority overrides. Reads the device only: nothing is counted.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <bcmsim/classify.h>

namespace bcmsim {

// An installed entry the packet missed, and where it first failed.
struct NearMiss {
  int entry;
  int priority;
  int matched;  // qualifiers the packet matched, of `total`
  int total;
  std::string qualifier;     // the first that failed, by its SDK name
  std::string packet_value;  // the packet's field under the entry's mask, or "none"
  std::string entry_value;   // the entry's data/mask
};

struct GroupExplanation {
  Stage stage;
  int group;
  int priority;
  std::optional<int> hit;
  int installed = 0;               // entries the group has installed
  std::vector<NearMiss> closest;   // for a miss: those that matched the most qualifiers
  std::vector<std::string> overridden;  // "DscpNew: group 16 wins" for each action another hit
                                        // of higher priority also sets
};

// Every group of every stage the packet reaches, in classification order (pre-ingress, ingress,
// egress; within a stage the group of higher priority first).
std::vector<GroupExplanation> explain(const Packet& packet, size_t closest = 3);

}  // namespace bcmsim
