// filtersim: runs a scenario through the filters library on the software device and shows what
// the chip holds, what each packet hits, and whether every expectation held.
//
// Exit status: 0 every expectation held (with --check-chips: on every named chip, and no step
// failed that was not expected to), 1 one did not, 2 the scenario or the command line is invalid.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <hal_callbacks/hal_callbacks_itf.h>

#include "catalogue.h"
#include "chip_check.h"
#include "chip_choice.h"
#include "cint_script.h"
#include "demo_scenario.h"
#include "report.h"
#include "scenario_loader.h"

namespace {

// Usage errors and invalid scenarios end the run with status 2: one line on standard error, or
// with --json one JSON document (an error object) on standard output.
int refuse(bool json, const std::string& kind, const std::string& message,
           const filtersim::LoadError* where = nullptr) {
  if (json) {
    filtersim::writeJsonError(std::cout, kind, message, where);
  } else {
    std::cerr << (where ? std::string(where->what()) : "filtersim: " + message) << "\n";
  }
  return 2;
}

bool asksForJson(int argc, char** argv) {
  for (int k = 1; k < argc; ++k) {
    if (std::string(argv[k]) == "--json") return true;
  }
  return false;
}

// The --pcap options paired with their --in-port and --out-port options, in order; `error` says
// why they do not pair.
std::vector<filtersim::CaptureOption> captureOptions(const std::vector<std::string>& pcaps,
                                                     const std::vector<std::string>& in_ports,
                                                     const std::vector<std::string>& out_ports,
                                                     std::string& error) {
  const auto pairs = [&](const std::vector<std::string>& ports, const char* option) {
    if (ports.empty() || ports.size() == pcaps.size()) return true;
    error = std::to_string(pcaps.size()) + " --pcap options and " + std::to_string(ports.size()) +
            " " + option + " options: give one " + option + " after each --pcap";
    return false;
  };
  if (!pairs(in_ports, "--in-port") || !pairs(out_ports, "--out-port")) return {};
  if (std::count(pcaps.begin(), pcaps.end(), "-") > 1) {
    error = "--pcap - is given twice: standard input can be replayed once in a replay";
    return {};
  }
  std::vector<filtersim::CaptureOption> captures;
  for (size_t index = 0; index < pcaps.size(); ++index) {
    const std::string& pcap = pcaps[index];
    // "-" is standard input, which the loader would take for a file beside the scenario.
    captures.push_back({pcap == "-" ? "/dev/stdin" : std::filesystem::absolute(pcap).string(),
                        in_ports.empty() ? "eth1" : in_ports[index],
                        out_ports.empty() ? "" : out_ports[index]});
  }
  return captures;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"filtersim: filter scenarios on a software Broadcom device"};
  std::string file;
  bool json = false;
  bool trace = false;
  bool catalogue = false;
  bool explain = false;
  bool list_chips = false;
  bool check_chips = false;
  std::string chip;
  int log_level = HalCallbacksItf::kError;
  int threads = 1;
  std::string show = "groups,entries,counters,policers,l3";
  std::string cint_file;
  std::string cint_steps;
  std::string cint_ports;
  std::vector<std::string> pcaps;
  std::vector<std::string> in_ports;
  std::vector<std::string> out_ports;
  app.add_option("scenario", file, "scenario file (YAML); the built-in demo when none is given");
  app.add_flag("--json", json, "write the report as one JSON document");
  app.add_flag("--trace", trace, "show the SDK calls of every step");
  app.add_flag("--explain", explain,
               "explain every packet: the entry hit in each group, or the closest misses");
  app.add_flag("--catalogue", catalogue,
               "print the group types: the matches each takes at each stage, and exit");
  app.add_option("--chip", chip,
                 "run on this named chip (see --chips), whatever the scenario's switch names");
  app.add_flag("--chips", list_chips, "list the chips bcmsim can answer as, and exit");
  app.add_flag("--check-chips", check_chips,
               "run the scenario on every named chip and show which run it")
      ->excludes("--chip");
  app.add_option("--log-level", log_level, "library log lines up to this level go to stderr")
      ->check(CLI::Range(0, 7));
  app.add_option("--threads", threads,
                 "look the replayed packets up on this many threads (metered and counted in "
                 "capture order, as with one)")
      ->check(CLI::Range(1, 64));
  app.add_option("--show", show,
                 "hardware sections: groups,entries,counters,policers,l3,calls, all or none");
  app.add_option("--cint", cint_file,
                 "write the SDK calls as a cint script (plain C as well) to this file");
  app.add_option("--cint-steps", cint_steps, "only the calls of these steps: N or FIRST-LAST")
      ->needs("--cint");
  app.add_option("--cint-ports", cint_ports,
                 "write the switch's ports in the cint script: a file of SCENARIO_PORT SWITCH_PORT "
                 "lines")
      ->needs("--cint");
  CLI::Option* pcap_option =
      app.add_option("--pcap", pcaps,
                     "replay this capture (Ethernet; - for standard input) after the scenario's "
                     "steps; given again, the captures are merged in timestamp order")
          ->allow_extra_args(false);
  app.add_option("--in-port", in_ports,
                 "the port the capture's packets arrive on (eth1 by default); one per --pcap")
      ->allow_extra_args(false)
      ->needs(pcap_option);
  app.add_option("--out-port", out_ports,
                 "the port the switching logic sends the capture's packets to (egress entries); "
                 "one per --pcap")
      ->allow_extra_args(false)
      ->needs(pcap_option);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help
    return refuse(asksForJson(argc, argv), "usage",
                  std::string(error.what()) + " (see filtersim --help)");
  }
  if (catalogue) {
    filtersim::writeCatalogue(std::cout);
    return 0;
  }
  if (list_chips) {
    filtersim::writeChipList(std::cout);
    return 0;
  }

  filtersim::Sections sections;
  if (!filtersim::parseSections(show, sections)) {
    return refuse(json, "usage",
                  "unknown section in --show " + show +
                      " (known: groups, entries, counters, policers, l3, calls, all)");
  }
  filtersim::StepRange cint_range;
  if (!cint_steps.empty()) {
    auto range = filtersim::parseStepRange(cint_steps);
    if (!range) {
      return refuse(json, "usage",
                    "--cint-steps " + cint_steps + " is not a step or a range such as 3-7");
    }
    cint_range = *range;
  }
  std::optional<filtersim::ScenarioStream> scenario;
  try {
    scenario.emplace(file.empty() ? std::string(filtersim::kDemoScenario)
                                  : filtersim::readScenarioFile(file),
                     file.empty() ? "demo" : file);
  } catch (const filtersim::LoadError& error) {
    return refuse(json, "invalid-scenario", error.message(), &error);
  }
  std::string capture_error;
  const auto captures = captureOptions(pcaps, in_ports, out_ports, capture_error);
  if (!capture_error.empty()) return refuse(json, "usage", capture_error);
  try {
    if (!captures.empty()) scenario->appendReplay(captures);
  } catch (const filtersim::LoadError& error) {
    return refuse(json, "usage", error.message());
  }
  try {
    if (!chip.empty()) scenario->useChip(chip);
    if (check_chips) {
      const nlohmann::json check = filtersim::checkChips(*scenario);
      if (json) {
        std::cout << check.dump(2) << "\n";
      } else {
        filtersim::writeChipMatrix(std::cout, check);
      }
      return check["runs_on_every_chip"].get<bool>() ? 0 : 1;
    }
  } catch (const filtersim::LoadError& error) {
    return refuse(json, "usage", error.message(), error.line() > 0 ? &error : nullptr);
  }

  std::unique_ptr<filtersim::RunSink> report =
      json ? filtersim::jsonReport(std::cout, scenario->file(), sections, trace)
           : filtersim::textReport(std::cout, scenario->file(), sections, trace);
  filtersim::PortMap cint_port_map;
  if (!cint_ports.empty()) {
    std::ifstream ports(cint_ports);
    std::string error = ports ? "" : "cannot read " + cint_ports + ": " + std::strerror(errno);
    auto map = ports ? filtersim::PortMap::read(ports, cint_ports, scenario->setup().front_ports,
                                                error)
                     : std::nullopt;
    if (!map) return refuse(json, "usage", "--cint-ports " + error);
    cint_port_map = std::move(*map);
  }
  std::ofstream cint;
  if (!cint_file.empty()) {
    cint.open(cint_file);
    if (!cint) {
      return refuse(json, "usage", "cannot write " + cint_file + ": " + std::strerror(errno));
    }
    report = filtersim::cintScript(cint, scenario->file(), cint_range, std::move(cint_port_map),
                                   std::move(report));
  }
  const bool keep_calls = trace || sections.calls || !cint_file.empty();
  const filtersim::RunResult run = filtersim::runScenario(
      *scenario, {keep_calls, log_level, isatty(STDERR_FILENO) == 1, explain || json, true, threads},
      *report);
  return run.failed == 0 ? 0 : 1;
}
