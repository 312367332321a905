// Runs a scenario through filtersim, then the scenario's cint script (compiled in as C) on a fresh
// device with the scenario's configuration: filtersim_startup, then filtersim_run with its reads.
// The device must end exactly as the scenario left it, the JSON dumps equal, statistics and
// policers included; after filtersim_teardown it must hold what start-up alone leaves.
#include <iostream>
#include <sstream>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <bcmsim/json.h>

#include "packet_text.h"
#include "support/discard_sink.h"
#include "runner.h"
#include "scenario_loader.h"

extern "C" int filtersim_startup(int unit);
extern "C" int filtersim_run(int unit, int reads);
extern "C" int filtersim_teardown(int unit);

extern "C" int filtersim_packet(int /*unit*/, const char* text) {
  auto packet = filtersim::parsePacketText(text);
  if (!packet) {
    std::cerr << "malformed packet in the script: " << text << "\n";
    return -1;
  }
  bcmsim::classify(*packet);
  return 0;
}

namespace {

// The first line where the dumps part, with its neighbours.
void showFirstDifference(const std::string& what, const std::string& expected,
                         const std::string& actual) {
  std::istringstream want(expected), got(actual);
  std::string a, b;
  for (int line = 1; bool(std::getline(want, a)) | bool(std::getline(got, b)); ++line) {
    if (a == b) continue;
    std::cerr << what << ", line " << line << ": expected\n  " << a << "\ngot\n  " << b << "\n";
    return;
  }
}

// Whether the function's results and the device's dump are as expected; says why not.
bool held(const std::string& what, int differences, const std::string& expected) {
  const std::string actual = bcmsim::dump_json();
  if (differences != 0) std::cerr << what << ": " << differences << " results differed\n";
  if (actual != expected) showFirstDifference(what, expected, actual);
  return differences == 0 && actual == expected;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " SCENARIO\n";
    return 2;
  }
  const filtersim::ScenarioStream scenario(filtersim::readScenarioFile(argv[1]), argv[1]);
  test_support::DiscardSink discard;
  filtersim::runScenario(scenario, {}, discard);
  const std::string scenario_end = bcmsim::dump_json();

  bcmsim::reset(scenario.setup().device);
  const int startup = filtersim_startup(0);
  const std::string startup_only = bcmsim::dump_json();
  const bool ran = held("after start-up and run", startup + filtersim_run(0, 1), scenario_end);
  const bool torn_down = held("after teardown", filtersim_teardown(0), startup_only);
  return ran && torn_down ? 0 : 1;
}
