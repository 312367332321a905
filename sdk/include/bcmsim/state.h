// The state of the simulated device, as inspection shows it.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>

namespace bcmsim {

// Field-processor stages, in the order a packet meets them.
enum class Stage { PreIngress = 0, Ingress = 1, Egress = 2 };
constexpr int kStageCount = 3;

// Qualifier data and masks, and action payloads, as 32-bit words. Scalars use word 0; a MAC
// address uses words 0 (bytes 0-1) and 1 (bytes 2-5); an IPv6 address words 0-3, most
// significant first; a port bitmap all eight words; a module/port pair words 0 (module) and 1.
using Words = std::array<uint32_t, 8>;

struct QualifierValue {
  int qualifier = 0;
  Words data{};
  Words mask{};
};

enum class ActionForm { Params, Mac, Ports };

struct ActionValue {
  int action = 0;
  ActionForm form = ActionForm::Params;
  uint32_t param0 = 0;
  uint32_t param1 = 0;
  Words words{};  // the MAC address or the port bitmap
};

constexpr int kPolicerLevels = 2;

// What an entry holds: qualifiers, actions and attachments are written to the staged view and
// reach the hardware, the installed view, only at install or reinstall.
struct EntryView {
  std::vector<QualifierValue> qualifiers;  // in the order first written
  std::vector<ActionValue> actions;        // in the order added
  std::optional<int> stat;
  std::array<std::optional<int>, kPolicerLevels> policers{};

  const QualifierValue* qualifier(int qualifier) const;
  const ActionValue* action(int action) const;  // the first action of that number
  bool operator==(const EntryView& other) const;
};

struct Entry {
  int id = 0;
  int group = 0;
  int slice = 0;  // the TCAM slice of its stage that holds its place, from its creation
  int priority = BCM_FIELD_ENTRY_PRIO_DEFAULT;
  EntryView staged;
  std::optional<EntryView> installed;

  bool has_policer() const;  // in the installed view
};

struct Group {
  int id = 0;
  Stage stage = Stage::Ingress;
  int priority = 0;
  int mode = bcmFieldGroupModeAuto;
  bool double_wide_key = false;  // each entry takes two rows of a slice, so a slice holds half
  uint32_t flags = 0;
  bcm_field_qset_t qset{};
  bcm_field_aset_t aset{};
  std::set<int> entries;
  // TCAM slices held: the first, then one more each time the group filled those it held.
  struct Slice {
    int index = 0;    // among the slices of its stage
    int size = 0;     // entries it holds
    int entries = 0;  // entries created in it
  };
  std::vector<Slice> slices;
  // TCAM slots of its slices, highest priority first: each holds an installed entry or is free.
  struct Slot {
    static constexpr int kFree = -1;
    int entry = kFree;
    int priority = 0;
    bool free() const { return entry == kFree; }
  };
  std::vector<Slot> slots;
  // Changes whenever the group's TCAM or an installed entry of it changes.
  uint64_t version = 0;

  bool has_qualifier(int qualifier) const;
  bool allows_action(int action) const;  // in the action set: what the group's stage supports
  std::vector<int> qualifiers() const;
  std::vector<int> actions() const;
};

struct Stat {
  int id = 0;
  int group = 0;
  std::vector<bcm_field_stat_t> types;
  std::vector<uint64_t> values;  // one per type, same order
  std::set<int> entries;         // entries it is attached to
  // Installed entries whose hardware counts for it. The object has a hardware counter only
  // while this is not empty; before its first install it reads zero and cannot be set.
  std::set<int> counting;

  std::optional<uint64_t> value(bcm_field_stat_t type) const;
};

struct Policer {
  int id = 0;
  bcm_policer_config_t config{};
  std::set<std::pair<int, int>> attachments;  // (entry, level)
};

struct L3Egress {
  uint32_t create_flags = 0;
  bcm_l3_egress_t egress{};
};

struct State {
  std::map<int, Group> groups;
  std::unordered_map<int, Entry> entries;
  std::map<int, Stat> stats;
  std::map<int, Policer> policers;
  std::map<bcm_if_t, bcm_l3_intf_t> l3_intfs;
  std::map<bcm_if_t, L3Egress> l3_egresses;
  std::map<std::pair<int, int>, int> port_controls;  // (port, control) -> value
  std::map<int, int> switch_controls;
  // Installed entries shifted from one TCAM slot to another to make room for an install.
  uint64_t tcam_moves = 0;

  const Entry* entry(int id) const;
  const Group* group(int id) const;
  const Stat* stat(int id) const;
  std::vector<int> entry_ids() const;  // ascending
};

}  // namespace bcmsim
