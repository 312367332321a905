#include "chip_choice.h"

#include <bcmsim/chips.h>
#include <bcmsim/names.h>

namespace filtersim {
namespace {

std::string stagesText(const bcmsim::Config& device) {
  std::string text;
  for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
    text += (stage ? ", " : "") + bcmsim::stage_name(static_cast<bcmsim::Stage>(stage)) + " " +
            slicesText(device.slices[stage]);
  }
  return text;
}

}  // namespace

std::optional<std::string> applyChip(const std::string& name, bcmsim::Config& device) {
  const std::optional<bcmsim::Config> chip = bcmsim::chip_config(name);
  if (!chip) return "unknown chip " + name + " (known: " + chipNames() + ")";
  device.slices = chip->slices;
  device.chip = chip->chip;
  return std::nullopt;
}

std::string chipNames() {
  std::string names;
  for (const std::string& name : bcmsim::chip_names()) names += (names.empty() ? "" : ", ") + name;
  return names;
}

void writeChipList(std::ostream& out) {
  for (const std::string& name : bcmsim::chip_names()) {
    const bcmsim::Config chip = *bcmsim::chip_config(name);
    out << name << "  " << chip.chip.family << "  " << stagesText(chip) << "\n";
  }
  const bcmsim::Config device;
  out << device.chip.name << "  " << device.chip.family << "  " << stagesText(device)
      << "  (the default device)\n";
}

std::string slicesText(const std::vector<int>& slices) {
  std::string text;
  for (size_t first = 0; first < slices.size();) {
    size_t end = first;
    while (end < slices.size() && slices[end] == slices[first]) ++end;
    text += (text.empty() ? "" : " + ") + std::to_string(end - first) + " x " +
            std::to_string(slices[first]);
    first = end;
  }
  return text.empty() ? "no slices" : text;
}

std::vector<std::string> deviceLines(const bcmsim::Config& device) {
  std::vector<std::string> lines{"device: " + device.chip.name + " (" + device.chip.family + ")"};
  if (device.chip.relaxations.empty()) return lines;
  lines.back() += ", kinder than the chip in:";
  for (const std::string& relaxation : device.chip.relaxations) lines.push_back("  " + relaxation);
  lines.push_back("a chip may refuse what runs here: --check-chips runs it on each named chip");
  return lines;
}

}  // namespace filtersim
