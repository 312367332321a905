// The cint script: what cint reads of it (its comments nest, C's do not), and its step ranges.
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
