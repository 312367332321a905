// Runs a sequence of operations against the library on a fresh bcmsim device, keeps the model
// alongside and checks the device and the cache after every step.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "operations.h"

namespace robustness {

struct RunResult {
  int steps = 0;                   // operations run, the final clean-up not counted
  int faults_injected = 0;         // faults planned with an operation
  int faults_fired = 0;            // of those, the ones the operation ran into
  std::optional<int> failed_step;  // the operation after which a check failed; steps for the end
  std::vector<std::string> calls;  // the SDK functions the last operation called, in order
  std::vector<std::string> violations;
};

RunResult run_sequence(const std::vector<Operation>& operations);

// The shortest sequence found, by cutting the tail and then single operations, that still fails.
std::vector<Operation> shrink(std::vector<Operation> operations, int failed_step);

}  // namespace robustness
