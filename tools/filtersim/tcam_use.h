// The TCAM each stage of the device holds: hardware entries (rows of its slices; a double-wide
// entry takes two) and slices taken by groups, against the device's totals.
#pragma once

#include <array>
#include <string>

#include <bcmsim/state.h>
#include <nlohmann/json.hpp>

namespace filtersim {

struct StageUse {
  int rows = 0;
  int slices = 0;
};

using TcamUse = std::array<StageUse, bcmsim::kStageCount>;

// What the device holds now.
TcamUse tcamInUse();
// The device's totals per stage.
TcamUse tcamTotal();

// One stage's line: "ingress 12 of 4096 entries (1 of 16 slices)".
std::string tcamStageText(bcmsim::Stage stage, const StageUse& used, const StageUse& total);
// Per stage: {stage, entries, entries_total, slices, slices_total}.
nlohmann::json tcamJson(const TcamUse& used);

}  // namespace filtersim
