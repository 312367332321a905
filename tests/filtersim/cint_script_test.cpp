// The cint script: what cint reads of it (its comments nest, C's do not), how it types its
// values, and its step ranges.
#include <algorithm>
#include <cctype>
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

std::string demoScript(filtersim::StepRange range) {
  const filtersim::ScenarioStream demo(filtersim::kDemoScenario, "demo.yaml");
  std::ostringstream script;
  filtersim::RunOptions options;
  options.trace = true;
  auto sink = filtersim::cintScript(script, "demo.yaml", range,
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
  const std::string last_statement = "filtersim_run(0);";
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

TEST(CintScript, ARangeKeepsItsStepsAndTheStartUpOnlyFromTheFirst) {
  const std::string all = demoScript({});
  const std::string middle = demoScript({2, 3});
  EXPECT_NE(all.find("int filtersim_startup(int unit)"), std::string::npos);
  EXPECT_EQ(middle.find("int filtersim_startup(int unit)"), std::string::npos);
  EXPECT_EQ(middle.find("int filtersim_step_1(int unit)"), std::string::npos);
  EXPECT_NE(middle.find("int filtersim_step_2(int unit)"), std::string::npos);
  EXPECT_NE(middle.find("int filtersim_step_3(int unit)"), std::string::npos);
  EXPECT_EQ(middle.find("int filtersim_step_4(int unit)"), std::string::npos);
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

}  // namespace
