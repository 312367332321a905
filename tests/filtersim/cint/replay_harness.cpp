// Runs a scenario through filtersim, then the scenario's cint script (compiled in as C) on a fresh
// device with the scenario's configuration, and requires the device to end exactly as the
// scenario left it: the JSON dumps equal, statistics and policers included.
#include <iostream>
#include <sstream>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <bcmsim/json.h>

#include "packet_text.h"
#include "support/discard_sink.h"
#include "runner.h"
#include "scenario_loader.h"

extern "C" int filtersim_run(int unit);

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
void showFirstDifference(const std::string& expected, const std::string& actual) {
  std::istringstream want(expected), got(actual);
  std::string a, b;
  for (int line = 1; bool(std::getline(want, a)) | bool(std::getline(got, b)); ++line) {
    if (a == b) continue;
    std::cerr << "line " << line << ": the scenario left\n  " << a << "\nthe script left\n  " << b
              << "\n";
    return;
  }
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
  const std::string expected = bcmsim::dump_json();

  bcmsim::reset(scenario.setup().device);
  const int differences = filtersim_run(0);
  const std::string actual = bcmsim::dump_json();
  if (differences != 0) std::cerr << differences << " results differed from the scenario's run\n";
  if (actual != expected) showFirstDifference(expected, actual);
  return differences == 0 && actual == expected ? 0 : 1;
}
