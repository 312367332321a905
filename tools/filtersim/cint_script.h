// The SDK calls of a run as a cint script for a switch's diag shell, which is plain C as well.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "cint_ports.h"
#include "runner.h"

namespace filtersim {

// Steps first to last, counted from 1.
struct StepRange {
  size_t first = 1;
  size_t last = std::numeric_limits<size_t>::max();

  bool contains(size_t step) const { return step >= first && step <= last; }
};

// Reads "3" or "3-7"; nullopt when malformed or empty.
std::optional<StepRange> parseStepRange(const std::string& text);

// A sink that hands every outcome on to `report` and writes the calls of the steps in `range`
// (and the set-up's, when the range starts at the first step) to `out` as they come, their ports
// through `ports` (empty: bcmsim's). The run must keep its calls (RunOptions::trace).
std::unique_ptr<RunSink> cintScript(std::ostream& out, const std::string& scenario_file,
                                    StepRange range, PortMap ports,
                                    std::unique_ptr<RunSink> report);

}  // namespace filtersim
