// The cint script: what cint reads of it (its comments nest, C's do not), how it types its
// values, and its step ranges.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "cint_script.h"
#include "demo_scenario.h"
#include "support/discard_sink.h"

namespace {

std::string demoScript(filtersim::StepRange range, filtersim::PortMap ports = {}) {
  const filtersim::ScenarioStream demo(filtersim::kDemoScenario, "demo.yaml");
  std::ostringstream script;
  filtersim::RunOptions options;
  options.trace = true;
  auto sink = filtersim::cintScript(script, "demo.yaml", range, std::move(ports),
                                    std::make_unique<test_support::DiscardSink>());
  filtersim::runScenario(demo, options, *sink);
  return script.str();
}

// The text cint parses: comments removed as its scanner does, nested ones included.
std::string asCintReadsIt(const std::string& text) {
  std::string code;
  int depth = -1;  // -1: outside a comment
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string two = text.substr(i, 2);
    if (depth < 0 && two == "//") {
      i = text.find('\n', i) - 1;
    } else if (two == "/*") {
      ++depth, ++i;
    } else if (depth >= 0 && two == "*/") {
      --depth, ++i;
    } else if (depth < 0) {
      code += text[i];
    }
  }
  return code;
}

TEST(CintScript, CintReadsNoLineMeantForTheCompilerAndRunsTheScriptAtTheEnd) {
  const std::string script = demoScript({});
  ASSERT_NE(script.find("filtersim_packet(unit"), std::string::npos);
  ASSERT_NE(script.find("#include <bcm/field.h>"), std::string::npos);
  const std::string cint = asCintReadsIt(script);
  EXPECT_EQ(cint.find('#'), std::string::npos);
  EXPECT_EQ(cint.find("filtersim_packet"), std::string::npos);
  EXPECT_NE(cint.find("rv = bcm_field_group_config_create(unit, &group_config);"),
            std::string::npos);
  const std::string last_statement = "filtersim_run(0, 0);";
  const size_t end = cint.find_last_not_of("\n ") + 1;
  EXPECT_EQ(cint.substr(end - last_statement.size(), last_statement.size()), last_statement);
}

std::string fileText(const std::filesystem::path& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \n\t");
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \n\t") - first + 1);
}

// The comma-separated list between the '(' at `open` and its ')'; nothing nests in these lists.
std::vector<std::string> listAt(const std::string& text, size_t open) {
  std::vector<std::string> items;
  std::istringstream list(text.substr(open + 1, text.find(')', open) - open - 1));
  for (std::string item; std::getline(list, item, ',');) items.push_back(trimmed(item));
  return items;
}

bool isIdentifierChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// The positions of `word` in `text` standing as a whole word.
std::vector<size_t> wordsAt(const std::string& text, const std::string& word) {
  std::vector<size_t> at;
  for (size_t k = text.find(word); k != std::string::npos; k = text.find(word, k + 1)) {
    const bool starts = k == 0 || !isIdentifierChar(text[k - 1]);
    const size_t end = k + word.size();
    if (starts && (end == text.size() || !isIdentifierChar(text[end]))) at.push_back(k);
  }
  return at;
}

// By SDK function: the positions of its parameters that take a uint64 by value.
std::map<std::string, std::set<size_t>> uint64Parameters() {
  std::map<std::string, std::set<size_t>> found;
  for (const auto& header : std::filesystem::directory_iterator(FILTERSIM_SDK_BCM_HEADERS)) {
    const std::string text = fileText(header.path());
    for (size_t k : wordsAt(text, "int")) {
      const size_t name = text.find_first_not_of(' ', k + 3);
      const size_t open = text.find('(', name);
      if (text.compare(name, 4, "bcm_") != 0 || open == std::string::npos) continue;
      const std::vector<std::string> parameters = listAt(text, open);
      for (size_t p = 0; p < parameters.size(); ++p) {
        if (parameters[p].rfind("uint64 ", 0) == 0 && parameters[p].find('*') == std::string::npos)
          found[text.substr(name, open - name)].insert(p);
      }
    }
  }
  return found;
}

// A diag shell's cint holds a uint64 as an opaque value, not a C integer: an integer assigned to
// one, or passed where a function takes one, is "incompatible types in assignment"; its
// COMPILER_64_SET takes the value's address. Every example's script keeps to that.
TEST(CintScript, EveryExampleScriptTypesItsUint64ValuesAsCintDoes) {
  const auto takes_uint64 = uint64Parameters();
  ASSERT_TRUE(takes_uint64.count("bcm_field_stat_set"));
  size_t scripts = 0, values = 0;
  for (const auto& file : std::filesystem::directory_iterator(FILTERSIM_CINT_DIR)) {
    if (file.path().extension() != ".c") continue;
    ++scripts;
    const std::string cint = asCintReadsIt(fileText(file.path()));
    std::set<std::string> uint64s;
    for (size_t k : wordsAt(cint, "uint64")) {
      const size_t end = cint.find(';', k);
      const std::string name = trimmed(cint.substr(k + 6, end - k - 6));
      if (std::all_of(name.begin(), name.end(), isIdentifierChar)) uint64s.insert(name);
    }
    for (const std::string& name : uint64s) {
      for (size_t k : wordsAt(cint, name)) {
        const size_t next = cint.find_first_not_of(' ', k + name.size());
        EXPECT_FALSE(cint[next] == '=' && cint[next + 1] != '=')
            << file.path() << ": an integer assigned to uint64 " << name;
      }
    }
    for (size_t k = cint.find("COMPILER_64_"); k != std::string::npos;
         k = cint.find("COMPILER_64_", k + 1)) {
      const std::vector<std::string> arguments = listAt(cint, cint.find('(', k));
      EXPECT_TRUE(!arguments.empty() && arguments[0].rfind('&', 0) == 0)
          << file.path() << ": COMPILER_64_* takes the value's address";
    }
    for (const auto& [function, positions] : takes_uint64) {
      for (size_t k : wordsAt(cint, function)) {
        if (cint[k + function.size()] != '(') continue;  // named in a message, not called
        const std::vector<std::string> arguments = listAt(cint, k + function.size());
        for (size_t p : positions) {
          ++values;
          EXPECT_TRUE(p < arguments.size() && uint64s.count(arguments[p]))
              << file.path() << ": " << function << " passes "
              << (p < arguments.size() ? arguments[p] : "nothing") << " as a uint64";
        }
      }
    }
  }
  EXPECT_GT(scripts, 0u);
  EXPECT_GT(values, 0u) << "no example's script passes a uint64: the rule checks nothing";
}

bool definesStep(const std::string& script, int step) {
  const std::string n = std::to_string(step);
  return script.find("int filtersim_step_" + n + "(int unit)") != std::string::npos ||
         script.find("int filtersim_expect_" + n + "(int unit)") != std::string::npos;
}

TEST(CintScript, ARangeKeepsItsStepsAndTheStartUpOnlyFromTheFirst) {
  const std::string all = demoScript({});
  const std::string middle = demoScript({2, 3});
  EXPECT_NE(all.find("int filtersim_startup(int unit)"), std::string::npos);
  EXPECT_EQ(middle.find("int filtersim_startup(int unit)"), std::string::npos);
  EXPECT_FALSE(definesStep(middle, 1));
  EXPECT_TRUE(definesStep(middle, 2));
  EXPECT_TRUE(definesStep(middle, 3));
  EXPECT_FALSE(definesStep(middle, 4));
}

TEST(CintScript, StepRangesAreAStepOrAnIncreasingPair) {
  struct Row {
    const char* text;
    size_t first, last;  // 0: refused
  };
  for (const Row& row : std::vector<Row>{{"3", 3, 3}, {"2-7", 2, 7}, {"4-4", 4, 4}, {"7-3", 0, 0},
                                         {"0", 0, 0}, {"-3", 0, 0}, {"3-", 0, 0}, {"x", 0, 0},
                                         {"", 0, 0}, {"1-99999999999", 0, 0}}) {
    auto range = filtersim::parseStepRange(row.text);
    ASSERT_EQ(range.has_value(), row.first != 0) << row.text;
    if (range) {
      EXPECT_EQ(std::make_pair(range->first, range->last), std::make_pair(row.first, row.last));
    }
  }
}

// The text of the function `name` defines, from its opening line to its closing brace.
std::string functionBody(const std::string& script, const std::string& name) {
  const size_t start = script.find("int " + name + "(int unit");
  if (start == std::string::npos) return "";
  return script.substr(start, script.find("\n}\n", start) - start);
}

std::vector<std::pair<std::string, std::string>> exampleScripts() {
  std::vector<std::pair<std::string, std::string>> scripts;
  for (const auto& file : std::filesystem::directory_iterator(FILTERSIM_CINT_DIR)) {
    if (file.path().extension() == ".c")
      scripts.emplace_back(file.path().filename().string(), fileText(file.path()));
  }
  return scripts;
}

// The switch-wide settings are the start-up's alone, and filtersim_run leaves it to be asked for.
TEST(CintScript, OnlyTheStartUpChangesTheWholeSwitchAndTheRunDoesNotCallIt) {
  const auto scripts = exampleScripts();
  ASSERT_FALSE(scripts.empty());
  for (const auto& [name, script] : scripts) {
    const std::string startup = functionBody(script, "filtersim_startup");
    const std::string run = functionBody(script, "filtersim_run");
    ASSERT_FALSE(run.empty()) << name;
    EXPECT_EQ(run.find("filtersim_startup"), std::string::npos) << name;
    for (const char* setting : {"bcm_switch_control_set", "bcm_port_control_set"}) {
      const size_t all = wordsAt(asCintReadsIt(script), setting).size();
      EXPECT_GT(all, 0u) << name << ": " << setting;
      EXPECT_EQ(wordsAt(startup, setting).size(), all) << name << ": " << setting;
    }
  }
}

// Reads made for expectations (counters after packets, shows, counter reads) stay out of the
// functions that program, and filtersim_run makes them only when asked.
TEST(CintScript, ReadsForExpectationsHaveFunctionsOfTheirOwn) {
  size_t reads = 0;
  for (const auto& [name, script] : exampleScripts()) {
    const std::string run = functionBody(script, "filtersim_run");
    for (const char* kind : {"filtersim_step_", "filtersim_expect_"}) {
      for (size_t k : wordsAt(script, "int")) {
        if (script.compare(k + 4, std::strlen(kind), kind) != 0) continue;
        const std::string function = script.substr(k + 4, script.find('(', k) - k - 4);
        const std::string body = functionBody(script, function);
        if (std::string(kind) == "filtersim_step_") {
          EXPECT_EQ(body.find("bcm_field_stat_get("), std::string::npos) << name << " " << function;
          continue;
        }
        ++reads;
        EXPECT_NE(run.find("if (reads) differences += " + function + "(unit);"), std::string::npos)
            << name << " " << function;
      }
    }
  }
  EXPECT_GT(reads, 0u);
}

// Where a call takes an id the SDK chooses, the script passes the variable that kept it, declared
// at file scope; where the same kind of number is something else, it stays a number.
TEST(CintScript, IdsTheSdkChoseAreVariablesAndOtherNumbersStayNumbers) {
  struct Row {
    const char* call;
    size_t argument;
    const char* variable;  // the variable's name before its number, or nullptr for a number
  };
  const std::vector<Row> rows{{"bcm_field_stat_get", 1, "stat_"},
                              {"bcm_field_stat_set", 1, "stat_"},
                              {"bcm_field_stat_destroy", 1, "stat_"},
                              {"bcm_field_entry_stat_attach", 2, "stat_"},
                              {"bcm_field_entry_stat_detach", 2, "stat_"},
                              {"bcm_l3_egress_destroy", 1, "egress_"},
                              {"bcm_field_entry_policer_attach", 2, nullptr},
                              {"bcm_field_entry_prio_set", 2, nullptr}};
  std::map<std::string, size_t> seen;
  for (const auto& [name, script] : exampleScripts()) {
    const std::string cint = asCintReadsIt(script);
    for (const Row& row : rows) {
      for (size_t k : wordsAt(cint, row.call)) {
        if (cint[k + std::string(row.call).size()] != '(') continue;
        const std::vector<std::string> arguments = listAt(cint, k + std::string(row.call).size());
        ASSERT_LT(row.argument, arguments.size()) << name << ": " << row.call;
        const std::string& argument = arguments[row.argument];
        ++seen[row.call];
        if (!row.variable) {
          EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(argument[0])))
              << name << ": " << row.call << " passes " << argument;
          continue;
        }
        EXPECT_EQ(argument.rfind(row.variable, 0), 0u)
            << name << ": " << row.call << " passes " << argument;
        const size_t declared = cint.find(" " + argument + " = -1;\n");
        const size_t line = cint.rfind('\n', declared) + 1;
        EXPECT_TRUE(declared < k && std::isalpha(static_cast<unsigned char>(cint[line])))
            << name << ": " << argument << " is not declared at file scope before its use";
      }
    }
  }
  for (const Row& row : rows) EXPECT_GT(seen[row.call], 0u) << "no example calls " << row.call;
}

// Enumerators, result codes and flags are written by their SDK names; a flag word without a flag
// is 0.
TEST(CintScript, ControlTypesResultsAndFlagsAreNamesNotNumbers) {
  struct Row {
    const char* call;
    size_t argument;
  };
  const std::vector<Row> rows{{"bcm_port_control_set", 2},
                              {"bcm_switch_control_set", 1},
                              {"bcm_l3_egress_create", 1},
                              {"filtersim_check", 3}};
  auto named = [](const std::string& value) {
    return value == "0" || std::isalpha(static_cast<unsigned char>(value[0]));
  };
  std::map<std::string, size_t> seen;
  for (const auto& [name, script] : exampleScripts()) {
    const std::string cint = asCintReadsIt(script);
    for (const Row& row : rows) {
      for (size_t k : wordsAt(cint, row.call)) {
        const size_t open = k + std::string(row.call).size();
        if (cint[open] != '(' || cint.compare(open + 1, 4, "char") == 0) continue;
        const std::vector<std::string> arguments = listAt(cint, open);
        ++seen[row.call];
        EXPECT_TRUE(row.argument < arguments.size() && named(arguments[row.argument]))
            << name << ": " << cint.substr(k, cint.find(')', k) - k + 1);
      }
    }
    for (const char* flags : {"flags = ", "flags2 = "}) {
      for (size_t k = cint.find(flags); k != std::string::npos; k = cint.find(flags, k + 1)) {
        ++seen[flags];
        const size_t value = k + std::strlen(flags);
        EXPECT_TRUE(named(cint.substr(value, cint.find(';', value) - value)))
            << name << ": " << cint.substr(k, cint.find(';', k) - k);
      }
    }
  }
  for (const char* written : {"bcm_port_control_set", "bcm_switch_control_set",
                              "bcm_l3_egress_create", "filtersim_check", "flags = ", "flags2 = "})
    EXPECT_GT(seen[written], 0u) << "no example's script writes " << written;
}

filtersim::PortMap portMap(const std::string& text, std::string* error = nullptr) {
  std::istringstream in(text);
  std::string message;
  auto map = filtersim::PortMap::read(in, "ports.txt", 32, message);
  if (error) *error = message;
  EXPECT_EQ(map.has_value(), message.empty()) << message;
  return map.value_or(filtersim::PortMap{});
}

TEST(CintScript, PortMapsTakeTheScenariosPortsOncePerSwitchPort) {
  struct Row {
    const char* text;
    const char* error;  // a part of the message, or "" when the map is valid
  };
  for (const Row& row : std::vector<Row>{
           {"eth5 17\n# a comment\n\ncpu0 0  # trailing\neth32 255\n", ""},
           {"eth5\n", "ports.txt:1: expected SCENARIO_PORT SWITCH_PORT"},
           {"eth5 17 18\n", "ports.txt:1: expected"},
           {"eth1 1\neth33 2\n", "ports.txt:2: eth33 is not a port of the scenario"},
           {"lag1 2\n", "lag1 is not a port of the scenario"},
           {"eth05 2\n", "eth05 is not a port of the scenario"},
           {"eth5 256\n", "256 is not a local port number"},
           {"eth5 -1\n", "-1 is not a local port number"},
           {"eth5 1\neth5 2\n", "ports.txt:2: eth5 is mapped twice"},
           {"eth5 1\neth6 1\n", "ports.txt:2: eth6 and eth5 both map to port 1"}}) {
    std::string error;
    portMap(row.text, &error);
    if (std::string(row.error).empty()) {
      EXPECT_EQ(error, "") << row.text;
    } else {
      EXPECT_NE(error.find(row.error), std::string::npos) << row.text << " gave: " << error;
    }
  }
}

// Every port the script writes by number, in the order the script writes them: after these
// words, past this many arguments.
std::vector<int> portsWritten(const std::string& script) {
  const std::vector<std::pair<std::string, size_t>> places{
      {"bcm_port_control_set(unit, ", 0},      {"egress.port = ", 0},
      {"bcm_field_qualify_InPort(unit, ", 1},  {"bcm_field_qualify_OutPort(unit, ", 1},
      {"BCM_PBMP_PORT_ADD(", 1}};
  std::map<size_t, int> ports;  // by place in the script
  for (const auto& [words, skipped] : places) {
    for (size_t k = script.find(words); k != std::string::npos; k = script.find(words, k + 1)) {
      size_t value = k + words.size();
      for (size_t n = 0; n < skipped; ++n) value = script.find(", ", value) + 2;
      ports[k] = std::stoi(script.substr(value));
    }
  }
  std::vector<int> in_order;
  for (const auto& [place, port] : ports) in_order.push_back(port);
  return in_order;
}

// With a map, every port is the switch's; bitmaps of every port come from the switch's own port
// configuration, and the other ports are the same ports as without a map, mapped.
TEST(CintScript, APortMapRewritesEveryPortOfTheScript) {
  const std::filesystem::path ported(FILTERSIM_CINT_PORTED_DIR);
  std::ifstream map_file(ported / "moved.ports");
  std::string error;
  const auto map = filtersim::PortMap::read(map_file, "moved.ports", 32, error);
  ASSERT_TRUE(map) << error;
  const std::string plain = fileText(std::filesystem::path(FILTERSIM_CINT_DIR) / "campus_demo.c");
  const std::string mapped = fileText(ported / "campus_demo_moved.c");
  EXPECT_EQ(mapped.find("not in the port map"), std::string::npos);
  EXPECT_NE(mapped.find("BCM_PBMP_ASSIGN(pbmp_mask, port_config.port);"), std::string::npos);
  std::vector<int> expected;
  for (int port : portsWritten(asCintReadsIt(plain))) expected.push_back(*map->find(port));
  const std::vector<int> got = portsWritten(asCintReadsIt(mapped));
  ASSERT_FALSE(got.empty());
  EXPECT_NE(std::find(got.begin(), got.end(), 200), got.end()) << "the CPU port is not mapped";
  // The bitmaps of every port are no longer written port by port; the rest keep their order.
  EXPECT_LT(got.size(), expected.size());
  auto next = expected.begin();
  for (int port : got) {
    next = std::find(next, expected.end(), port);
    ASSERT_NE(next, expected.end()) << "port " << port << " is not a port of the plain script";
    ++next;
  }
}

}  // namespace
