// filtersim: runs a scenario through the filters library on the software device and shows what
// the chip holds, what each packet hits, and whether every expectation held.
//
// Exit status: 0 every expectation held, 1 one did not, 2 the scenario is invalid.
#include <iostream>

#include <CLI/CLI.hpp>

#include <hal_callbacks/hal_callbacks_itf.h>

#include "catalogue.h"
#include "demo_scenario.h"
#include "report.h"
#include "scenario_loader.h"

int main(int argc, char** argv) {
  CLI::App app{"filtersim: filter scenarios on a software Broadcom device"};
  std::string file;
  bool json = false;
  bool trace = false;
  bool catalogue = false;
  int log_level = HalCallbacksItf::kError;
  std::string show = "groups,entries,counters,policers,l3";
  app.add_option("scenario", file, "scenario file (YAML); the built-in demo when none is given");
  app.add_flag("--json", json, "write the report as one JSON document");
  app.add_flag("--trace", trace, "show the SDK calls of every step");
  app.add_flag("--catalogue", catalogue,
               "print the group types: the matches each takes at each stage, and exit");
  app.add_option("--log-level", log_level, "library log lines up to this level go to stderr")
      ->check(CLI::Range(0, 7));
  app.add_option("--show", show,
                 "hardware sections: groups,entries,counters,policers,l3,calls or all");
  CLI11_PARSE(app, argc, argv);
  if (catalogue) {
    filtersim::writeCatalogue(std::cout);
    return 0;
  }

  filtersim::Sections sections;
  if (!filtersim::parseSections(show, sections)) {
    std::cerr << "filtersim: unknown section in --show " << show << "\n";
    return 2;
  }
  filtersim::Scenario scenario;
  try {
    scenario = file.empty() ? filtersim::loadScenarioText(filtersim::kDemoScenario, "demo")
                            : filtersim::loadScenarioFile(file);
  } catch (const filtersim::LoadError& error) {
    std::cerr << error.what() << "\n";
    return 2;
  }

  const filtersim::RunResult run =
      filtersim::runScenario(scenario, {trace || sections.calls, log_level});
  if (json) {
    filtersim::writeJsonReport(std::cout, scenario, run, sections, trace);
  } else {
    filtersim::writeTextReport(std::cout, scenario, run, sections, trace);
  }
  return run.failed == 0 ? 0 : 1;
}
