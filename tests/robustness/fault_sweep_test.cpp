// The single-fault sweep: each representative operation runs once to learn its SDK calls; then,
// for every call position, a fresh run makes exactly that call fail (with the codes the call
// can really return), recovers as a user would (the operation again, or deleting what a
// topology change reached) and must leave the device and the cache as the model says.
// FILTERS_SWEEP_STRIDE > 1 fails only every n-th position.
#include <cstdlib>
#include <iostream>
#include <map>

#include <gtest/gtest.h>

#include <bcm/error.h>

#include "harness.h"

namespace {

using namespace robustness;
using namespace FiltersCommon;

// The codes a call fails with: what the SDK answers when the chip runs out of room for it, and
// otherwise the internal error of a failed hardware access.
std::vector<int> failure_codes(const std::string& function) {
  static const std::map<std::string, std::vector<int>> kCodes = {
      {"bcm_field_entry_create_id", {BCM_E_RESOURCE, BCM_E_INTERNAL}},
      {"bcm_field_entry_install", {BCM_E_RESOURCE, BCM_E_INTERNAL}},
      {"bcm_field_entry_reinstall", {BCM_E_RESOURCE, BCM_E_INTERNAL}},
      {"bcm_field_group_config_create", {BCM_E_RESOURCE}},
      {"bcm_field_stat_create", {BCM_E_RESOURCE}},
      {"bcm_field_entry_stat_attach", {BCM_E_RESOURCE, BCM_E_INTERNAL}},
      {"bcm_policer_create", {BCM_E_RESOURCE}},
      {"bcm_field_entry_policer_attach", {BCM_E_RESOURCE, BCM_E_INTERNAL}},
  };
  auto codes = kCodes.find(function);
  return codes == kCodes.end() ? std::vector<int>{BCM_E_INTERNAL} : codes->second;
}

// The structure initialisers cannot fail.
bool returns_nothing(const std::string& function) {
  const std::string suffix = "_t_init";
  return function.size() > suffix.size() &&
         function.compare(function.size() - suffix.size(), suffix.size(), suffix) == 0;
}

EntrySpec preIngressOverLag() {
  EntrySpec spec;
  spec.stage = FILTERS_GROUP_STAGE_PRE_INGRESS;
  spec.id = 1;
  spec.ports = {limid_ethernet(1), limid_lag(1)};
  spec.vlans = {5, 6};
  spec.pcps = {1, 2};
  spec.pcp = 4;
  spec.counters = {{104, COUNTER_TYPE_PACKETS}};
  return spec;
}

EntrySpec ingressPoliced() {
  EntrySpec spec;
  spec.stage = FILTERS_GROUP_STAGE_INGRESS;
  spec.id = 2;
  spec.ports = {limid_ethernet(2), limid_lag(1)};
  spec.vlans = {7};
  spec.src_ip = 0x0a000000;
  spec.src_ip_mask = 0xff000000;
  spec.dscp = 10;
  spec.new_dst_mac = 0x42;
  spec.counters = {{208, COUNTER_TYPE_PACKETS}, {209, COUNTER_TYPE_BYTES}};
  spec.policer = 1;
  spec.parent_policer = 10;
  spec.policer_drops_red = true;
  spec.policer_green_pcp = 3;
  return spec;
}

EntrySpec egressOverLag() {
  EntrySpec spec;
  spec.stage = FILTERS_GROUP_STAGE_EGRESS;
  spec.id = 3;
  spec.ports = {limid_ethernet(3), limid_lag(1)};
  spec.vlans = {8, 9};
  spec.pcps = {5};
  spec.drop = true;
  spec.counters = {{312, COUNTER_TYPE_BYTES}};
  spec.policer = 21;
  spec.parent_policer = 30;
  spec.policer_yellow_dscp = 12;
  return spec;
}

EntrySpec ingressSwitching() {
  EntrySpec spec;
  spec.stage = FILTERS_GROUP_STAGE_INGRESS;
  spec.id = 4;
  spec.ports = {limid_ethernet(4), limid_lag(1)};
  spec.vlans = {11};
  spec.src_ip = 0x0b000000;
  spec.src_ip_mask = 0xffff0000;
  spec.destination = 1;
  spec.counters = {{216, COUNTER_TYPE_PACKETS}};
  return spec;
}

Operation entryOperation(Operation::Kind kind, const EntrySpec& spec) {
  Operation op = Operation::of(kind);
  op.entry = spec;
  return op;
}

Operation lagOperation(Operation::Kind kind, unsigned member) {
  Operation op = Operation::of(kind);
  op.lag = 1;
  op.member = member;
  return op;
}

struct SweptOperation {
  std::string name;
  std::vector<Operation> sequence;  // the last one is swept
};

std::vector<SweptOperation> swept_operations() {
  const Operation groups = Operation::of(Operation::kCreateGroups);
  std::vector<Operation> three_created = {groups};
  for (const EntrySpec& spec : {preIngressOverLag(), ingressPoliced(), egressOverLag()}) {
    three_created.push_back(entryOperation(Operation::kCreateEntry, spec));
  }
  auto after_three = [&](const Operation& op) {
    std::vector<Operation> sequence = three_created;
    sequence.push_back(op);
    return sequence;
  };
  EntrySpec changed = ingressPoliced();
  changed.ports = {limid_ethernet(5)};
  changed.counters = {{208, COUNTER_TYPE_BYTES}};
  changed.parent_policer.reset();
  Operation groups_with_entries = groups;
  groups_with_entries.group_entries = {preIngressOverLag(), ingressPoliced(), egressOverLag()};
  return {
      {"create at pre-ingress", {groups, entryOperation(Operation::kCreateEntry,
                                                        preIngressOverLag())}},
      {"create at ingress", {groups, entryOperation(Operation::kCreateEntry, ingressPoliced())}},
      {"create at egress", {groups, entryOperation(Operation::kCreateEntry, egressOverLag())}},
      {"update", after_three(entryOperation(Operation::kUpdateEntry, changed))},
      {"delete", after_three(entryOperation(Operation::kDeleteEntry, egressOverLag()))},
      {"LAG member add", after_three(lagOperation(Operation::kAddMember, 12))},
      {"LAG member remove", after_three(lagOperation(Operation::kRemoveMember, 9))},
      {"LAG destroy", after_three(lagOperation(Operation::kDestroyLag, 0))},
      {"destination removal",
       {groups, entryOperation(Operation::kCreateEntry, ingressSwitching()),
        [] {
          Operation op = Operation::of(Operation::kRemoveDestination);
          op.destination = 1;
          return op;
        }()}},
      {"group create with entries", {groups_with_entries}},
  };
}

TEST(FaultSweep, EverySdkCallFailingOnceIsRecoveredExactly) {
  const char* stride_setting = std::getenv("FILTERS_SWEEP_STRIDE");
  const size_t stride = stride_setting ? std::strtoul(stride_setting, nullptr, 10) : 1;
  int operations = 0, positions = 0, exact_positions = 0, runs = 0;
  for (const SweptOperation& swept : swept_operations()) {
    SCOPED_TRACE(swept.name);
    const RunResult clean = run_sequence(swept.sequence);
    ASSERT_TRUE(clean.violations.empty()) << clean.violations.front();
    ASSERT_FALSE(clean.calls.empty());
    ++operations;
    std::map<std::string, int> seen;
    for (size_t k = 0; k < clean.calls.size(); ++k) {
      const std::string& function = clean.calls[k];
      const int nth = ++seen[function];
      if (returns_nothing(function) || k % stride != 0) continue;
      ++positions;
      bool exact = true;
      for (int code : failure_codes(function)) {
        std::vector<Operation> sequence = swept.sequence;
        sequence.back().fault = bcmsim::Fault{function, code, nth, std::nullopt, false};
        const RunResult result = run_sequence(sequence);
        ++runs;
        EXPECT_EQ(result.faults_fired, 1) << sequence.back().text();
        if (result.violations.empty()) continue;
        exact = false;
        ADD_FAILURE() << "call " << k << " of " << swept.name << ": " << sequence.back().text()
                      << "\n  " << result.violations.front();
      }
      exact_positions += exact;
    }
  }
  std::cout << "operations " << operations << ", call positions failed " << positions << " ("
            << runs << " runs), positions after which the recovery left the device exact "
            << exact_positions << "\n";
}

}  // namespace
