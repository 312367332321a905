// Random sequences of entry, LAG and destination changes with SDK faults, checked after every
// step against an independent model, on the default device and on each named chip.
// FILTERS_RANDOM_SEQUENCES, FILTERS_CHIP_SEQUENCES (per chip), FILTERS_RANDOM_STEPS and
// FILTERS_RANDOM_SEED choose what runs; `make soak` runs many more sequences.
// FILTERS_RANDOM_LOG=1 shows the library's log.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include <bcm/error.h>
#include <bcmsim/chips.h>

#include "operations.h"

namespace {

using namespace robustness;
using namespace FiltersCommon;

long setting(const char* name, long fallback) {
  const char* value = std::getenv(name);
  return value ? std::strtol(value, nullptr, 10) : fallback;
}

std::string device(const std::string& chip) {
  return chip.empty() ? "default device" : "chip " + chip;
}

std::string report(uint64_t seed, const std::string& chip, const std::vector<Operation>& shortest) {
  std::ostringstream text;
  text << device(chip) << ": seed " << seed << " fails; the shortest failing sequence has "
       << shortest.size() << " operations:\n";
  for (size_t k = 0; k < shortest.size(); ++k) {
    text << "  " << k << ": " << shortest[k].text() << "\n";
  }
  text << "what the checks found:\n";
  for (const std::string& violation : run_sequence(shortest, chip).violations) {
    text << "  " << violation << "\n";
  }
  return text.str();
}

void add(RunResult& total, const RunResult& result) {
  total.steps += result.steps;
  total.faults_injected += result.faults_injected;
  total.faults_fired += result.faults_fired;
  for (const auto& [code, count] : result.faults_fired_by_code)
    total.faults_fired_by_code[code] += count;
  total.refused_steps += result.refused_steps;
  total.undo_faults += result.undo_faults;
  for (const auto& [kind, count] : result.recoveries) total.recoveries[kind] += count;
  total.packets += result.packets;
  total.packets_hitting += result.packets_hitting;
  for (const auto& [rule, count] : result.refusals) total.refusals[rule] += count;
  total.violations.insert(total.violations.end(), result.violations.begin(),
                          result.violations.end());
}

template <class Count>
void print_counts(const char* what, const std::map<Count, int>& counts) {
  std::cout << "; " << what << ":";
  for (const auto& [name, count] : counts) std::cout << " " << name << " " << count;
  if (counts.empty()) std::cout << " none";
}

// The figures of a run of sequences: the refusals are those that made a library call fail.
void print_figures(const std::string& what, const RunResult& total) {
  std::cout << what << ", steps " << total.steps << ", faults injected " << total.faults_injected
            << " (fired " << total.faults_fired << ", " << total.undo_faults
            << " in the undo of a refused call)";
  print_counts("fired by code", total.faults_fired_by_code);
  print_counts("recoveries after a failed topology change", total.recoveries);
  std::cout << "; packets predicted " << total.packets << " (" << total.packets_hitting
            << " hitting an entry); refused steps " << total.refused_steps;
  print_counts("by rule", total.refusals);
  std::cout << "; violations " << total.violations.size() << "\n";
}

// Runs `sequences` sequences on a named chip (empty: the default device), reports the first
// that fails, shrunk, and prints the figures.
void run_sequences(const std::string& chip, long sequences) {
  const int steps = static_cast<int>(setting("FILTERS_RANDOM_STEPS", 80));
  const auto first_seed = static_cast<uint64_t>(setting("FILTERS_RANDOM_SEED", 1));
  RunResult total;
  long run = 0;
  for (; run < sequences; ++run) {
    const uint64_t seed = first_seed + static_cast<uint64_t>(run);
    const std::vector<Operation> operations = generate(seed, steps);
    const RunResult result = run_sequence(operations, chip);
    add(total, result);
    if (result.failed_step) {
      ADD_FAILURE() << report(seed, chip, shrink(operations, *result.failed_step, chip));
      ++run;
      break;
    }
  }
  print_figures(device(chip) + ": sequences " + std::to_string(run), total);
}

TEST(RandomSequences, KeepTheDeviceAndTheCacheAsTheModelSays) {
  run_sequences("", setting("FILTERS_RANDOM_SEQUENCES", 200));
}

// Each named chip with its own geometry: a call the chip refuses fails the library's operation,
// which must leave the device as the model says that failure leaves it.
TEST(RandomSequences, KeepEachNamedChipAsTheModelSays) {
  const long sequences =
      setting("FILTERS_CHIP_SEQUENCES", std::max(1L, setting("FILTERS_RANDOM_SEQUENCES", 200) / 4));
  for (const std::string& chip : bcmsim::chip_names()) run_sequences(chip, sequences);
}

// An operation on LAG 1; `number` is the member or the destination it names.
Operation op(Operation::Kind kind, const EntrySpec& spec = {}, unsigned number = 0) {
  Operation op(kind, spec);
  op.lag = 1;
  op.member = op.destination = number;
  return op;
}

// The checks must see a device that drifts from the model, and the shrinking must keep only
// what it takes: here a hardware entry destroyed behind the library's back.
TEST(RandomSequences, ReportAndShrinkADeviceThatDriftsFromTheModel) {
  EntrySpec spec;
  spec.stage = FILTERS_GROUP_STAGE_EGRESS;
  spec.ports = {limid_ethernet(3)};
  spec.vlans = {10};
  spec.pcps = {1};
  const Operation unrelated = op(Operation::kAddMember, {}, 12);
  const std::vector<Operation> operations = {
      op(Operation::kCreateGroups), op(Operation::kCreateEntry, spec), unrelated,
      op(Operation::kDestroyBehindTheLibrary, spec), unrelated};

  const RunResult result = run_sequence(operations);
  ASSERT_EQ(result.failed_step, 3);
  EXPECT_NE(result.violations.front().find("lacks"), std::string::npos);
  const std::vector<Operation> shortest = shrink(operations, *result.failed_step);
  ASSERT_EQ(shortest.size(), 3u);
  EXPECT_EQ(shortest[2].kind, Operation::kDestroyBehindTheLibrary);
}

// The single-fault sweep: each swept operation runs once to learn its SDK calls; then, for every
// call position and every failure code, a fresh run makes exactly that call fail, recovers as a
// user would (the operation again; after a topology change, the recovery each code chooses in
// turn) and must leave the device and the cache as the model says. The swept operations are the
// representative ones below and the last operations of FILTERS_SWEEP_RANDOM random sequences
// from FILTERS_SWEEP_SEED. FILTERS_SWEEP_STRIDE > 1 fails only every n-th position.

// The representative operations, each after what it needs: the last operation of each sequence is
// swept.
std::vector<std::vector<Operation>> swept_sequences() {
  // Entry `id` of `stage` on port `id` and LAG 1, with a counter.
  auto over_lag = [](filtersGroupStage_t stage, unsigned id, std::set<unsigned short> vlans) {
    EntrySpec spec;
    spec.stage = stage;
    spec.id = id;
    spec.ports = {limid_ethernet(id), limid_lag(1)};
    spec.vlans = std::move(vlans);
    spec.counters = {{counter_number(stage, id, 0), COUNTER_TYPE_PACKETS}};
    return spec;
  };
  EntrySpec pre_ingress = over_lag(FILTERS_GROUP_STAGE_PRE_INGRESS, 1, {5, 6});
  pre_ingress.pcps = {1, 2};
  pre_ingress.pcp = 4;
  EntrySpec policed = over_lag(FILTERS_GROUP_STAGE_INGRESS, 2, {7});
  policed.src_ip = 0x0a000000;
  policed.src_ip_mask = 0xff000000;
  policed.dscp = 10;
  policed.new_dst_mac = 0x42;
  policed.counters.push_back({counter_number(policed.stage, 2, 1), COUNTER_TYPE_BYTES});
  policed.policer = 1;
  policed.parent_policer = 10;
  policed.policer_drops_red = true;
  policed.policer_green_pcp = 3;
  EntrySpec egress = over_lag(FILTERS_GROUP_STAGE_EGRESS, 3, {8, 9});
  egress.pcps = {5};
  egress.drop = true;
  egress.counters[0].second = COUNTER_TYPE_BYTES;
  egress.policer = 21;
  egress.parent_policer = 30;
  egress.policer_yellow_dscp = 12;
  EntrySpec switching = over_lag(FILTERS_GROUP_STAGE_INGRESS, 4, {11});
  switching.src_ip = 0x0b000000;
  switching.src_ip_mask = 0xffff0000;
  switching.destination = 1;
  EntrySpec changed = policed;
  changed.ports = {limid_ethernet(5)};
  changed.counters = {{counter_number(policed.stage, 2, 0), COUNTER_TYPE_BYTES}};
  changed.parent_policer.reset();

  using K = Operation;
  const Operation groups = op(K::kCreateGroups);
  auto after_three = [&](const Operation& swept) {
    return std::vector<Operation>{groups, op(K::kCreateEntry, pre_ingress),
                                  op(K::kCreateEntry, policed), op(K::kCreateEntry, egress), swept};
  };
  Operation groups_with_entries = groups;
  groups_with_entries.group_entries = {pre_ingress, policed, egress};
  return {
      {groups, op(K::kCreateEntry, pre_ingress)},
      {groups, op(K::kCreateEntry, policed)},
      {groups, op(K::kCreateEntry, egress)},
      after_three(op(K::kUpdateEntry, changed)),
      after_three(op(K::kDeleteEntry, egress)),
      after_three(op(K::kAddMember, {}, 12)),
      after_three(op(K::kRemoveMember, {}, 9)),
      after_three(op(K::kDestroyLag)),
      {groups, op(K::kCreateEntry, switching), op(K::kRemoveDestination, {}, 1)},
      {groups_with_entries},
  };
}

// Short random sequences without faults whose last operation calls the SDK, each swept there.
// Clearing the cache is not: the calls after it are the harness's, which programs the device
// afresh.
std::vector<std::vector<Operation>> random_swept_sequences() {
  const long wanted = setting("FILTERS_SWEEP_RANDOM", 4);
  std::vector<std::vector<Operation>> sequences;
  for (auto seed = static_cast<uint64_t>(setting("FILTERS_SWEEP_SEED", 1));
       static_cast<long>(sequences.size()) < wanted; ++seed) {
    std::vector<Operation> sequence = generate(seed, 12);
    for (Operation& op : sequence) op.fault.reset();
    if (sequence.back().kind == Operation::kClearCache) continue;
    if (!run_sequence(sequence).calls.empty()) sequences.push_back(std::move(sequence));
  }
  return sequences;
}

TEST(FaultSweep, EverySdkCallFailingOnceWithEveryCodeIsRecoveredExactly) {
  const size_t stride = static_cast<size_t>(setting("FILTERS_SWEEP_STRIDE", 1));
  int operations = 0, positions = 0, exact_positions = 0;
  RunResult total;
  std::vector<std::vector<Operation>> sequences = swept_sequences();
  for (std::vector<Operation>& random : random_swept_sequences()) sequences.push_back(random);
  for (const std::vector<Operation>& swept : sequences) {
    SCOPED_TRACE(swept.back().text());
    const RunResult clean = run_sequence(swept);
    ASSERT_TRUE(clean.violations.empty()) << clean.violations.front();
    ASSERT_FALSE(clean.calls.empty());
    ++operations;
    std::map<std::string, int> seen;
    for (size_t k = 0; k < clean.calls.size(); ++k) {
      const std::string& function = clean.calls[k];
      const int nth = ++seen[function];
      // The structure initialisers cannot fail.
      if (function.find("_t_init") != std::string::npos || k % stride != 0) continue;
      ++positions;
      bool exact = true;
      for (size_t c = 0; c < failure_codes().size(); ++c) {
        std::vector<Operation> sequence = swept;
        sequence.back().fault =
            bcmsim::Fault{function, failure_codes()[c], nth, std::nullopt, false};
        sequence.back().recovery = static_cast<Operation::Recovery>(c % 3);
        const RunResult result = run_sequence(sequence);
        add(total, result);
        EXPECT_EQ(result.faults_fired, 1) << sequence.back().text();
        if (result.violations.empty()) continue;
        exact = false;
        ADD_FAILURE() << "call " << k << ": " << sequence.back().text() << "\n  "
                      << result.violations.front();
      }
      exact_positions += exact;
    }
  }
  std::cout << "operations " << operations << ", call positions failed " << positions
            << ", positions after which the recovery left the device exact " << exact_positions
            << "\n";
  print_figures("sweep", total);
}

}  // namespace
