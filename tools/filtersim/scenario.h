// A scenario: the switch to set up and the steps to run, with what each step is expected to give.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <filters_common/filters_common.h>
#include <limid/limid.h>

#include "snapshot.h"

namespace filtersim {

struct Lag {
  limid_t lag;
  std::vector<limid_t> members;
};

struct RemotePort {
  limid_t port;
  int module;
  int module_port;
};

struct Destination {
  int id;
  limid_t port;
  bcmsim::Mac mac;
};

struct VpnAccess {
  limid_t vpn;
  limid_t access;
  int mpls_port_gport;
};

struct VlanClass {
  int bridge_domain_type;
  unsigned int data;
  unsigned int mask;
};

struct SwitchSetup {
  bcmsim::Config device;
  std::string chip;        // the named chip the switch is, or empty for the default device
  int geometry_line = 0;   // the line of the scenario's own slices or entries, 0 when none
  int front_ports = 32;                  // eth1..ethN on local ports 1..N; cpu0 is port 0
  std::vector<RemotePort> remote_ports;  // modport gports
  std::vector<limid_t> unmapped_ports;   // named, but without a gport
  std::vector<Lag> lags;
  std::vector<Destination> destinations;
  std::vector<VpnAccess> vpns;
  std::map<limid_t, int> virtual_ports;      // gports
  std::map<limid_t, limid_t> service_ports;  // the local port serving each
  std::vector<VlanClass> vlan_classes;
};

// A place in the scenario file: line and column, both from 1.
struct Place {
  int line = 0;
  int column = 0;
};

// Where an entry's parts are written, for the checks made before its step runs.
struct EntryPlaces {
  Place entry;
  std::vector<std::pair<std::string, Place>> matches;  // each match as named, at its key
  std::map<unsigned short, Place> counters;            // at each counter's id
};

// Step payloads.
struct CreateGroup {
  FiltersCommon::FiltersGroup group;
  std::map<unsigned int, EntryPlaces> places;  // per entry id
};
struct CreateEntry {
  FiltersCommon::filtersGroupStage_t stage;
  unsigned short group;
  FiltersCommon::FiltersEntry entry;
  bool update;  // update_entry rather than create_entry
  EntryPlaces places;
};
struct DeleteEntry {
  FiltersCommon::filtersGroupStage_t stage;
  unsigned short group;
  unsigned int entry;
};
struct CounterStep {
  unsigned short counter;
  bool clear;  // clear_counter rather than read_counter
};
struct LagMemberChange {
  limid_t lag;
  limid_t member;
  bool add;
};
struct LagDestroy {
  limid_t lag;
};
struct DestinationRemove {
  int destination;
};
struct ClearCache {};
struct Show {
  ShowFilter filter;
};
struct SendPacket {
  std::string name;
  bcmsim::Packet packet;
  bool explain = false;  // explain its classification in the text report
};

// A capture, and what its frames do not carry: the ports, the pipeline's facts.
struct CaptureSource {
  std::string path;
  bcmsim::Packet defaults;
};

// A capture the command line replays, and its ports by name (`out_port` empty: none).
struct CaptureOption {
  std::string path;
  std::string in_port;
  std::string out_port;
};

// Every frame of the captures, merged in timestamp order, sent as a packet with its capture's
// defaults.
struct ReplayCapture {
  std::vector<CaptureSource> sources;

  // "a.pcap" or "a.pcap, b.pcap".
  std::string paths() const {
    std::string text;
    for (const CaptureSource& source : sources) text += (text.empty() ? "" : ", ") + source.path;
    return text;
  }
};

using StepAction = std::variant<CreateGroup, CreateEntry, DeleteEntry, CounterStep, LagMemberChange,
                                LagDestroy, DestinationRemove, ClearCache, Show, SendPacket,
                                ReplayCapture>;

// What a packet is expected to meet: a user entry per stage (nullopt for no hit), the verdict's
// outcome and changes, counter values after it.
struct PacketExpectation {
  std::optional<std::string> outcome;
  std::map<bcmsim::Stage, std::optional<unsigned int>> hits;
  std::map<unsigned short, uint64_t> counters;
  std::optional<bool> copy_to_cpu;
  std::optional<int> pcp;
  std::optional<int> dscp;
  std::vector<std::string> unchanged;  // fields the packet leaves as they came: pcp, dscp, ...
};

// What the hardware holds after a step.
struct HardwareExpectation {
  struct UserEntry {
    ShowFilter::UserEntry key;
    std::optional<size_t> hw_entries;      // how many hardware entries it has
    std::vector<std::string> qualifiers;  // each in every one of them, as the report writes it
    std::vector<std::string> actions;
  };
  struct Group {
    FiltersCommon::filtersGroupStage_t stage;
    unsigned short id;
    size_t used;  // installed entries
  };
  struct Counter {
    unsigned short id;
    std::string type;  // the statistic's type, as the report writes it ("Bytes")
    std::optional<uint64_t> value;
  };
  std::vector<UserEntry> entries;
  std::vector<Group> groups;
  std::vector<Counter> counters;
};

struct Expectation {
  std::optional<int> result;
  std::optional<uint64_t> value;  // of a counter read
  std::optional<PacketExpectation> packet;
  std::optional<HardwareExpectation> hardware;
};

struct Step {
  std::string kind;  // the step's key in the scenario, e.g. "create_entry"
  int line = 0;
  StepAction action;
  Expectation expect;
};

struct Scenario {
  std::string file;
  SwitchSetup setup;
  std::vector<Step> steps;
};

}  // namespace filtersim
