// The scenario loader refuses an invalid scenario with file, line, column and what is wrong.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include <gtest/gtest.h>

#include <bcmsim/chips.h>

#include "scenario_loader.h"

namespace {

struct Invalid {
  const char* name;
  const char* scenario;
  const char* error;
};

void PrintTo(const Invalid& invalid, std::ostream* out) {
  *out << invalid.name;
}

class InvalidScenarios : public ::testing::TestWithParam<Invalid> {};

TEST_P(InvalidScenarios, AreRefusedWithTheirPlace) {
  try {
    filtersim::loadScenarioText(GetParam().scenario, "s.yaml");
    ADD_FAILURE() << "loaded";
  } catch (const filtersim::LoadError& error) {
    EXPECT_EQ(std::string(error.what()), GetParam().error);
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, InvalidScenarios,
    ::testing::Values(
        Invalid{"Empty", "", "s.yaml:1:1: the scenario is empty"},
        Invalid{"YamlSyntax", "steps: [\n  - packet: {\n", "s.yaml:2:3: illegal block entry"},
        Invalid{"UnknownTopKey", "swich: {}\nsteps: []\n", "s.yaml:1:1: unknown key 'swich' in the scenario (known: switch, steps)"},
        Invalid{"UnknownStep", "steps:\n  - create_grop: {}\n", "s.yaml:2:5: unknown step 'create_grop' (did you mean 'create_group'?)"},
        Invalid{"TwoKindsInAStep", "steps:\n  - clear_cache: {}\n    read_counter: {id: 1}\n", "s.yaml:3:5: a step has one kind, not 'clear_cache' and 'read_counter'"},
        Invalid{"MissingKey", "steps:\n  - delete_entry: {stage: ingress, group: 0}\n", "s.yaml:2:19: missing 'id'"},
        Invalid{"WrongType", "steps:\n  - read_counter: {id: seven}\n", "s.yaml:2:24: counter id must be a number, not 'seven'"},
        Invalid{"OutOfRange", "steps:\n  - create_entry: {stage: ingress, group: 0, id: 1, match: {outer_vlan: 4096}}\n", "s.yaml:2:73: VLAN id 4096 is out of range (0 to 4095)"},
        Invalid{"UnknownInterface", "switch: {ports: 8}\nsteps:\n  - lag_member_add: {lag: lag1, member: eth2}\n", "s.yaml:3:27: unknown interface 'lag1' as a LAG (the switch has eth1 to eth8, cpu0)"},
        Invalid{"PortBeyondTheSwitch", "switch: {ports: 8}\nsteps:\n  - packet: {in_port: eth9}\n", "s.yaml:3:23: unknown interface 'eth9' as in_port (the switch has eth1 to eth8, cpu0)"},
        Invalid{"MalformedMac", "steps:\n  - create_entry: {stage: 1, group: 0, id: 1, match: {src_mac: '00:11:22:33:44'}}\n", "s.yaml:2:64: malformed MAC address '00:11:22:33:44'"},
        Invalid{"MalformedIpv4", "steps:\n  - packet: {dst_ip: 10.0.0.300}\n", "s.yaml:2:22: malformed IPv4 address '10.0.0.300'"},
        Invalid{"MalformedPrefix", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, match: {dst_ipv4: 10.0.0.0/33}}\n", "s.yaml:2:65: malformed IPv4 address '10.0.0.0/33'"},
        Invalid{"MalformedIpv6", "steps:\n  - packet: {dst_ipv6: '2001:db8::g'}\n", "s.yaml:2:24: malformed IPv6 address '2001:db8::g'"},
        Invalid{"UnknownMatch", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, match: {dst_ip: 1}}\n", "s.yaml:2:55: unknown match 'dst_ip' (did you mean 'dst_ipv4'?)"},
        Invalid{"UnknownAction", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, actions: [dorp]}\n", "s.yaml:2:57: unknown action 'dorp' (did you mean 'drop'?)"},
        Invalid{"UnknownActionKey", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, actions: [{set_pcpp: 3}]}\n", "s.yaml:2:58: unknown key 'set_pcpp' in an action (known: block_egress_ports, copy_to_cpu_cancel, set_pcp, set_pcp_and_queue, set_inner_pcp, set_dscp, cos_queue, cpu_cos_queue, redirect, replace_dst_mac, replace_src_mac, l3_switch, mpls_port_set, raw)"},
        Invalid{"TwoKeysInAnAction", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, actions: [{set_pcp: 3, set_dscp: 1}]}\n", "s.yaml:2:57: an action must have exactly one key"},
        Invalid{"UnknownVerdict", "steps:\n  - packet: {}\n    expect: {verdict: lost}\n", "s.yaml:3:23: verdict must be one of: dropped, redirected, l3-switched, forwarded"},
        // Found by the fuzzer: keys that are not plain values escaped as conversion errors.
        Invalid{"ListAsTopKey", "[switch]: {}\nsteps: []\n", "s.yaml:1:1: a key must be a plain value"},
        Invalid{"MapAsStepKind", "steps:\n  - {clear_cache: 1}: {}\n", "s.yaml:2:5: a key must be a plain value"},
        Invalid{"NullMatchKey", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, match: {? : 1}}\n", "s.yaml:2:57: a key must be a plain value"},
        Invalid{"ListAsActionKey", "steps:\n  - create_entry: {stage: 2, group: 0, id: 1, actions: [{[drop]: 1}]}\n", "s.yaml:2:58: a key must be a plain value"},
        Invalid{"DuplicateKey", "switch: {ports: 8}\nsteps: []\nswitch: {ports: 4}\n", "s.yaml:3:1: duplicate key 'switch' (first at line 1); give each key once"},
        Invalid{"DuplicateKeyDeepDown", "steps:\n  - packet: {vlan: 10, pcp: 1, vlan: 20}\n", "s.yaml:2:32: duplicate key 'vlan' (first at line 2); give each key once"},
        Invalid{"EntryIdTwiceInAGroup", "steps:\n  - create_group:\n      {stage: 2, id: 0, type: 10,\n       entries: [{id: 3}, {id: 3}]}\n", "s.yaml:4:32: entry id 3 is already used in this group (line 4); give each entry its own id"},
        Invalid{"LagAsMember", "switch: {lags: {lag1: [eth1], lag2: [lag1]}}\nsteps: []\n", "s.yaml:1:38: a LAG cannot be a member of a LAG (lag1 in lag2)"},
        Invalid{"MemberTwice", "switch: {lags: {lag1: [eth1, eth1]}}\nsteps: []\n", "s.yaml:1:30: eth1 is listed twice in lag1; a port joins one LAG once"},
        Invalid{"PortInTwoLags", "switch: {lags: {lag1: [eth1], lag2: eth1}}\nsteps: []\n", "s.yaml:1:37: eth1 is already a member of lag1; a port joins one LAG once"},
        Invalid{"PacketFromALag", "switch: {lags: {lag1: [eth1]}}\nsteps:\n  - packet: {in_port: lag1}\n", "s.yaml:3:23: 'lag1' is not a port: in_port takes a port (ethN or cpu0)"},
        Invalid{"UnknownChip", "switch: {chip: bcm56851}\nsteps: []\n", "s.yaml:1:16: unknown chip bcm56851 (known: bcm56450, bcm56850, bcm56960)"},
        Invalid{"ChipWithItsOwnGeometry", "switch:\n  device: {entries_per_slice: [128, 128, 128]}\n  chip: bcm56850\nsteps: []\n", "s.yaml:3:9: a chip's geometry is the chip's: drop the device's slices_per_stage and entries_per_slice (line 2)"},
        Invalid{"ValueOnAnotherStep", "steps:\n  - clear_counter: {id: 1}\n    expect: {value: 3}\n", "s.yaml:3:21: only read_counter has a value"}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

// What is refused before the text is read as YAML: each row makes a path and names the error.
TEST(ScenarioFiles, OnlyARegularTextFileOfAReasonableSizeIsRead) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::path(::testing::TempDir()) / "scenario_files";
  fs::remove_all(dir);
  fs::create_directories(dir);
  auto write = [&](const char* name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  };
  const std::string huge = write("huge.yaml", "steps: []\n");
  fs::resize_file(huge, filtersim::kMaxScenarioBytes + 1);  // sparse: costs no disk
  const struct {
    std::string path;
    std::string error;
  } rows[] = {
      {dir.string(), dir.string() + ":1:1: this is a directory; give a scenario file (.yaml)"},
      {(dir / "missing.yaml").string(), (dir / "missing.yaml").string() +
                                            ":1:1: cannot read the file: No such file or directory"},
      {"/dev/null", "/dev/null:1:1: this is not a regular file; give a scenario file (.yaml)"},
      {write("binary.yaml", std::string("steps:\n  - x\0y\n", 15)),
       (dir / "binary.yaml").string() +
           ":2:6: the file is not text (it holds a NUL byte); give a YAML scenario"},
      {huge, huge + ":1:1: the file has 67108865 bytes, more than the 64 MiB a scenario may have"},
  };
  for (const auto& row : rows) {
    try {
      filtersim::loadScenarioFile(row.path);
      ADD_FAILURE() << row.path << " loaded";
    } catch (const filtersim::LoadError& error) {
      EXPECT_EQ(std::string(error.what()), row.error);
    }
  }
  fs::remove_all(dir);
}

// Each file of invalid/ says on its first line the error it must be refused with:
// "# error: <file name>:<line>:<column>: <message>". Every refusal, alias bombs included, must take
// well under a second.
TEST(InvalidScenarioFiles, AreRefusedQuicklyWithTheErrorTheirFirstLineGives) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (const auto& file : fs::directory_iterator(FILTERSIM_INVALID_DIR)) {
    if (file.path().extension() == ".yaml") files.push_back(file.path());
  }
  std::sort(files.begin(), files.end());
  ASSERT_FALSE(files.empty());
  std::chrono::duration<double, std::milli> slowest{0};
  std::string slowest_name;
  for (const fs::path& path : files) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream read;
    read << in.rdbuf();
    const std::string text = read.str();
    const std::string tag = "# error: ";
    ASSERT_EQ(text.rfind(tag, 0), 0u) << path << " does not start with '" << tag << "'";
    const std::string expected = text.substr(tag.size(), text.find('\n') - tag.size());
    const auto start = std::chrono::steady_clock::now();
    try {
      filtersim::loadScenarioText(text, path.filename().string());
      ADD_FAILURE() << path << " loaded";
    } catch (const filtersim::LoadError& error) {
      EXPECT_EQ(std::string(error.what()), expected);
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took.count(), 1000.0) << path;
    if (took > slowest) {
      slowest = took;
      slowest_name = path.filename().string();
    }
  }
  std::cout << files.size() << " invalid scenarios refused; the slowest, " << slowest_name
            << ", in " << slowest.count() << " ms\n";
  RecordProperty("slowest_refusal_us", static_cast<int>(slowest.count() * 1000));
}

TEST(ValidScenarios, ASharedMatchListLoadsIntoEveryEntryThatNamesIt) {
  const filtersim::Scenario scenario = filtersim::loadScenarioText(
      "steps:\n"
      "  - create_entry: {stage: 2, group: 0, id: 1, match: {outer_vlan: &vlans [10, 20]}}\n"
      "  - create_entry: {stage: 2, group: 0, id: 2, match: {outer_vlan: *vlans, pcp: 3}}\n",
      "s.yaml");
  ASSERT_EQ(scenario.steps.size(), 2u);
  for (const filtersim::Step& step : scenario.steps) {
    const auto& matches = std::get<filtersim::CreateEntry>(step.action).entry.getMatches();
    const auto& vlans = dynamic_cast<const FiltersCommon::MatchVlanId&>(
        *matches.at(FiltersCommon::FILTERS_MATCH_EXTERNAL_VLAN_ID));
    EXPECT_EQ(vlans.getVlanIds(), (std::set<unsigned short>{10, 20})) << "line " << step.line;
  }
}

TEST(ValidScenarios, LeaveTheLibraryToJudgeItsOwnValues) {
  const filtersim::Scenario scenario = filtersim::loadScenarioText(
      "steps:\n"
      "  - create_group: {stage: 4, id: 16, type: 11}\n"
      "    expect: failed\n"
      "  - read_counter: {id: 77}\n"
      "    expect: sdk-error\n"
      "  - create_entry: {stage: ingress, group: 0, id: 1,\n"
      "                   counters: [{id: 1, type: 9}], match: {raw: [33, 40]}}\n",
      "s.yaml");
  ASSERT_EQ(scenario.steps.size(), 3u);
  const auto& group = std::get<filtersim::CreateGroup>(scenario.steps[0].action).group;
  EXPECT_EQ(group.getStage(), 4);
  EXPECT_EQ(group.getId(), 16);
  EXPECT_EQ(scenario.steps[0].expect.result, -2);
  EXPECT_EQ(scenario.steps[1].expect.result, -1);
  const auto& entry = std::get<filtersim::CreateEntry>(scenario.steps[2].action).entry;
  EXPECT_EQ(entry.getCounters().at(1).getType(), 9);
  EXPECT_EQ(entry.getMatches().size(), 2u);
}

// A named chip brings its geometry and rules; the switch's own ports and port sets stay.
TEST(ValidScenarios, ANamedChipReplacesTheDeviceButNotThePorts) {
  const filtersim::Scenario scenario = filtersim::loadScenarioText(
      "switch: {ports: 8, device: {disabled_ports: [3]}, chip: bcm56850}\nsteps: []\n", "s.yaml");
  const bcmsim::Config& device = scenario.setup.device;
  EXPECT_EQ(scenario.setup.chip, "bcm56850");
  EXPECT_EQ(device.chip.family, "Trident 2");
  EXPECT_EQ(device.slices, bcmsim::chip_config("bcm56850")->slices);
  EXPECT_EQ(device.front_ports.size(), 8u);
  EXPECT_EQ(device.disabled_ports, std::vector<int>{3});
}

TEST(ValidScenarios, TheBuiltInDemoLoads) {
  EXPECT_NO_THROW(filtersim::loadScenarioFile(FILTERSIM_DEMO_FILE));
}

}  // namespace
