// Loads and checks a scenario completely before anything runs.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "scenario.h"
#include "yaml_reader.h"

namespace filtersim {

// The largest scenario file read.
constexpr uintmax_t kMaxScenarioBytes = uintmax_t{64} << 20;

// Both raise LoadError ("file:line:column: what is wrong") for an invalid scenario.
Scenario loadScenarioFile(const std::string& path);
Scenario loadScenarioText(const std::string& text, const std::string& name);
// The text of a scenario file: a regular text file within the size limit, or a LoadError.
std::string readScenarioFile(const std::string& path);

class ScenarioLoader {
 public:
  explicit ScenarioLoader(std::string file) : reader_(std::move(file)) {}
  Scenario load(const YAML::Node& root);
  // The switch of a scenario whose steps are read one at a time: `root` has the steps key, with
  // its items left out when `items_left_out` (the key is empty then), else with its whole value.
  SwitchSetup loadHeader(const YAML::Node& root, bool items_left_out);
  // One item of the steps, from a text that starts at `first_line` of the file; `keys_unique`
  // when its keys are known to be so.
  Step loadStepItem(const YAML::Node& item, int first_line, bool keys_unique = false);
  // The replay the command line asks for after the scenario's steps; a LoadError without a place
  // for an unknown port or a capture that cannot be read.
  Step loadCaptureOption(const std::vector<CaptureOption>& captures);

  struct PortSelection {
    std::list<limid_t> ports;
    std::list<FiltersCommon::port_type_t> excluded;
  };

 private:
  // The switch.
  SwitchSetup loadSwitch(const YAML::Node& node);
  void loadLags(const YAML::Node& node, SwitchSetup& setup);
  void loadDestinations(const YAML::Node& node, SwitchSetup& setup);
  // Remote and unmapped ports, VPN access ports, virtual and service ports.
  void loadDeclaredInterfaces(const YAML::Node& node, SwitchSetup& setup);
  void loadDevice(const YAML::Node& node, SwitchSetup& setup);
  limid_t declare(const YAML::Node& name, limid_type_t type);
  limid_t interface(const YAML::Node& node, const char* what) const;
  std::string declaredInterfaces() const;
  // An interface that must be a port (Ethernet or CPU).
  limid_t port(const YAML::Node& node, const char* what) const;

  // Steps.
  Step loadStep(const YAML::Node& node);
  StepAction loadStepAction(const std::string& kind, const YAML::Node& node);
  Expectation loadExpectation(const std::string& kind, const YAML::Node& node);
  PacketExpectation loadPacketExpectation(const YAML::Node& node);
  HardwareExpectation loadHardwareExpectation(const YAML::Node& node);
  int resultCode(const YAML::Node& node) const;

  // Groups and entries.
  FiltersCommon::filtersGroupStage_t stage(const YAML::Node& node) const;
  CreateGroup loadGroup(const YAML::Node& node);
  FiltersCommon::FiltersEntry loadEntry(const YAML::Node& node);
  // Where the parts of an entry `loadEntry` read are written.
  EntryPlaces entryPlaces(const YAML::Node& node) const;
  Place place(const YAML::Node& node) const;
  void loadMatches(const YAML::Node& node, FiltersCommon::FiltersEntry& entry);
  std::shared_ptr<const FiltersCommon::Match> loadMatch(const std::string& key,
                                                        const YAML::Node& value);
  void loadActions(const YAML::Node& node, FiltersCommon::FiltersEntry& entry);
  std::shared_ptr<const FiltersCommon::Action> loadEntryAction(const YAML::Node& item);
  void loadCounters(const YAML::Node& node, FiltersCommon::FiltersEntry& entry);
  policer::Policer loadPolicer(const YAML::Node& node);
  std::list<limid_t> interfaces(const YAML::Node& node, const char* what) const;
  // Ports as a list, or as {ports, exclude} with excluded port types.
  PortSelection portSelection(const YAML::Node& node, const char* what) const;

  // Packets and views.
  SendPacket loadPacket(const YAML::Node& node);
  // One capture (a mapping) or several (a list of them), replayed together.
  ReplayCapture loadReplay(const YAML::Node& node);
  CaptureSource loadCaptureSource(const YAML::Node& node);
  // The fields of `node` among `keys` (all of them when empty) into `send`.
  void loadPacketFields(const YAML::Node& node, const std::vector<std::string>& keys,
                        const char* what, SendPacket& send);
  // A capture's path, relative to the scenario file's folder, checked by opening it.
  std::string capturePath(const YAML::Node& node) const;
  Show loadShow(const YAML::Node& node);

  YamlReader reader_;
  std::set<limid_t> interfaces_;
  std::map<limid_t, int> virtual_port_gports_;
};

}  // namespace filtersim
