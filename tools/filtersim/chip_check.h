// Runs a scenario on every named chip and tells which of them run it: per chip, the steps that
// failed, the first refusal, the TCAM used and the expectations held.
#pragma once

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

#include "step_stream.h"

namespace filtersim {

// One run per named chip, each in a child process (the filters library is one instance per
// process); captures are not replayed. Gives {"scenario", "chips": [...], "runs_on_every_chip"}.
// A LoadError for a scenario with a geometry of its own. Only the children change `scenario`.
nlohmann::json checkChips(ScenarioStream& scenario);

// The matrix of a check, as text.
void writeChipMatrix(std::ostream& out, const nlohmann::json& check);

}  // namespace filtersim
