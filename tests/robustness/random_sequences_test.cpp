// Random sequences of entry, LAG and destination changes with SDK faults, checked after every
// step against an independent model. FILTERS_RANDOM_SEQUENCES, FILTERS_RANDOM_STEPS and
// FILTERS_RANDOM_SEED choose what runs; `make soak` runs many more sequences.
#include <cstdlib>
#include <iostream>
#include <sstream>

#include <gtest/gtest.h>

#include "operations.h"

namespace {

using namespace robustness;

long setting(const char* name, long fallback) {
  const char* value = std::getenv(name);
  return value ? std::strtol(value, nullptr, 10) : fallback;
}

std::string report(uint64_t seed, const std::vector<Operation>& shortest) {
  std::ostringstream text;
  text << "seed " << seed << " fails; the shortest failing sequence has " << shortest.size()
       << " operations:\n";
  for (size_t k = 0; k < shortest.size(); ++k) {
    text << "  " << k << ": " << shortest[k].text() << "\n";
  }
  text << "what the checks found:\n";
  for (const std::string& violation : run_sequence(shortest).violations) {
    text << "  " << violation << "\n";
  }
  return text.str();
}

TEST(RandomSequences, KeepTheDeviceAndTheCacheAsTheModelSays) {
  const long sequences = setting("FILTERS_RANDOM_SEQUENCES", 200);
  const int steps = static_cast<int>(setting("FILTERS_RANDOM_STEPS", 80));
  const auto first_seed = static_cast<uint64_t>(setting("FILTERS_RANDOM_SEED", 1));
  RunResult total;
  long run = 0;
  for (; run < sequences; ++run) {
    const uint64_t seed = first_seed + static_cast<uint64_t>(run);
    const std::vector<Operation> operations = generate(seed, steps);
    const RunResult result = run_sequence(operations);
    total.steps += result.steps;
    total.faults_injected += result.faults_injected;
    total.faults_fired += result.faults_fired;
    if (result.failed_step) {
      ADD_FAILURE() << report(seed, shrink(operations, *result.failed_step));
      break;
    }
  }
  std::cout << "sequences " << run << ", steps " << total.steps << ", faults injected "
            << total.faults_injected << " (fired " << total.faults_fired
            << ", each followed by a retry or a delete)\n";
}

// The checks must see a device that drifts from the model, and the shrinking must keep only
// what it takes: here a hardware entry destroyed behind the library's back.
TEST(RandomSequences, ReportAndShrinkADeviceThatDriftsFromTheModel) {
  Operation create = Operation::of(Operation::kCreateEntry);
  create.entry.stage = FiltersCommon::FILTERS_GROUP_STAGE_EGRESS;
  create.entry.ports = {limid_ethernet(3)};
  create.entry.vlans = {10};
  create.entry.pcps = {1};
  Operation tamper = create;
  tamper.kind = Operation::kDestroyBehindTheLibrary;
  Operation unrelated = Operation::of(Operation::kAddMember);
  unrelated.lag = 2;
  unrelated.member = 12;
  const std::vector<Operation> operations = {Operation::of(Operation::kCreateGroups), create,
                                             unrelated, tamper, unrelated};

  const RunResult result = run_sequence(operations);
  ASSERT_EQ(result.failed_step, 3);
  EXPECT_NE(result.violations.front().find("lacks"), std::string::npos);
  const std::vector<Operation> shortest = shrink(operations, *result.failed_step);
  ASSERT_EQ(shortest.size(), 3u);
  EXPECT_EQ(shortest[2].kind, Operation::kDestroyBehindTheLibrary);
}

}  // namespace
