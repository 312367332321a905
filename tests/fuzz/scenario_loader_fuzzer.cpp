// libFuzzer target: any text given to the scenario loader either loads or is refused with a
// LoadError. Any other exception, a crash or a sanitizer report is a finding.
#include <cstddef>
#include <cstdint>
#include <string>

#include "scenario_loader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    filtersim::loadScenarioText(text, "fuzz.yaml");
  } catch (const filtersim::LoadError&) {
  }
  return 0;
}
