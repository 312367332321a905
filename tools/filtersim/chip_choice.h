// The device a run answers as: a named chip (from the command line or the scenario's switch) or
// the default device, and how filtersim names it.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <bcmsim/device.h>

namespace filtersim {

// The chip's geometry and rules into `device`; its ports stay. The error in words for a name
// bcmsim does not know.
std::optional<std::string> applyChip(const std::string& name, bcmsim::Config& device);

// "bcm56450, bcm56850, bcm56960".
std::string chipNames();

// One line per profile: name, family, slices and entries per stage; the default device marked.
void writeChipList(std::ostream& out);

// The slices of a stage, run-length: "4 x 512 + 8 x 256".
std::string slicesText(const std::vector<int>& slices);

// What a report says of the device it ran on: its name and family and, for a profile kinder than
// its chip, the kindnesses and where to look for the chips' answers.
std::vector<std::string> deviceLines(const bcmsim::Config& device);

}  // namespace filtersim
