// The scenario filtersim runs when it is given none (examples/campus_demo.yaml).
#pragma once

namespace filtersim {

extern const char* const kDemoScenario;

}  // namespace filtersim
