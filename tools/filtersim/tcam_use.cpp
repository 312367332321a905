#include "tcam_use.h"

#include <bcmsim/device.h>
#include <bcmsim/names.h>

namespace filtersim {

TcamUse tcamInUse() {
  TcamUse use{};
  for (const auto& [id, group] : bcmsim::state().groups) {
    StageUse& stage = use[static_cast<int>(group.stage)];
    stage.slices += static_cast<int>(group.slices.size());
    for (const bcmsim::Group::Slice& slice : group.slices) {
      stage.rows += slice.entries * (group.double_wide_key ? 2 : 1);
    }
  }
  return use;
}

TcamUse tcamTotal() {
  const bcmsim::Config& device = bcmsim::config();
  TcamUse total{};
  for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
    for (int rows : device.slices[stage]) total[stage].rows += rows;
    total[stage].slices = static_cast<int>(device.slices[stage].size());
  }
  return total;
}

std::string tcamStageText(bcmsim::Stage stage, const StageUse& used, const StageUse& total) {
  return bcmsim::stage_name(stage) + " " + std::to_string(used.rows) + " of " +
         std::to_string(total.rows) + " entries (" + std::to_string(used.slices) + " of " +
         std::to_string(total.slices) + " slices)";
}

nlohmann::json tcamJson(const TcamUse& used) {
  const TcamUse total = tcamTotal();
  nlohmann::json stages = nlohmann::json::array();
  for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
    stages.push_back({{"stage", bcmsim::stage_name(static_cast<bcmsim::Stage>(stage))},
                      {"entries", used[stage].rows},
                      {"entries_total", total[stage].rows},
                      {"slices", used[stage].slices},
                      {"slices_total", total[stage].slices}});
  }
  return stages;
}

}  // namespace filtersim
