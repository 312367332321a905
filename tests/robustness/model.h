// An independent model of what the hardware should hold for each user entry: computed from the
// entries and the topology, with its own expansion. Where the library deliberately departs from
// "the entry over the current topology", the model follows the rule (see model.cpp).
#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "entry_content.h"
#include "operations.h"

namespace robustness {

struct Key {
  FiltersCommon::filtersGroupStage_t stage;
  unsigned int id;
  bool operator<(const Key& other) const {
    return stage != other.stage ? stage < other.stage : id < other.id;
  }
  bool operator==(const Key& other) const { return stage == other.stage && id == other.id; }
};

// Facts of the device and the platform that the expected programming depends on.
struct DeviceFacts {
  std::array<int, 3> entries_per_group{};  // per stage: pre-ingress, ingress, egress
  std::set<int> front_ports;
  std::set<int> all_ports;  // the mask of the in-ports qualifier
  std::map<unsigned, int> egress_of_destination;
};

// A LAG member that brought a hardware entry into being.
struct LagMember {
  unsigned lag;
  int port;
  bool operator==(const LagMember& other) const { return lag == other.lag && port == other.port; }
};

struct ExpectedHw {
  std::optional<int> port;  // pre-ingress in-port, egress out-port
  unsigned short vlan = 0;
  std::optional<unsigned char> pcp;
  std::set<int> in_ports;  // ingress
  std::optional<LagMember> created_by;
};

struct ModelEntry {
  EntrySpec spec;
  std::set<unsigned> followed_lags;
  bool l3_switch_removed = false;
  std::vector<ExpectedHw> hw;
};

class Model {
 public:
  Model(DeviceFacts facts, std::map<unsigned, std::set<int>> lags);

  // Each answers whether the library is expected to accept the change.
  bool create(const EntrySpec& spec);
  bool update(const EntrySpec& spec);
  bool remove(const Key& key);
  // Each answers whether the orchestrator makes the change.
  bool createLag(unsigned lag);
  bool addMember(unsigned lag, int port);
  bool removeMember(unsigned lag, int port);
  bool destroyLag(unsigned lag);
  void removeDestination(unsigned destination);

  // The live entries a topology change reaches.
  std::vector<Key> following(unsigned lag) const;
  std::vector<Key> sending_to(unsigned destination) const;

  const std::map<Key, ModelEntry>& entries() const { return entries_; }
  std::vector<EntryContent> expected(const Key& key) const;

 private:
  // Every hardware entry of `spec` over the current topology; `created_by`, when given, marks
  // them all as brought by that LAG member.
  std::vector<ExpectedHw> expand(const EntrySpec& spec, std::optional<LagMember> created_by) const;
  const std::set<int>& members(unsigned lag) const;
  EntryContent content(const ModelEntry& entry, const ExpectedHw& hw) const;

  DeviceFacts facts_;
  std::map<unsigned, std::set<int>> lags_;  // existing LAGs and their member ports
  std::map<Key, ModelEntry> entries_;
};

Key key_of(const EntrySpec& spec);

}  // namespace robustness
