#include "operations.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>

#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcmsim/chips.h>
#include <bcmsim/device.h>
#include <bcmsim/fault_plan.h>
#include <bcmsim/refusals.h>

#include <hal_filters_ll/device_profile.h>

#include "model.h"
#include "packets.h"
#include "support/filters_fixture.h"

namespace robustness {
namespace {

using namespace FiltersCommon;
using HalFiltersLL::filters_cache_;

constexpr filtersGroupStage_t kStages[] = {FILTERS_GROUP_STAGE_PRE_INGRESS,
                                           FILTERS_GROUP_STAGE_INGRESS, FILTERS_GROUP_STAGE_EGRESS};
constexpr unsigned short kGroupTypes[] = {6, 2, 5};  // per stage, as in kStages
constexpr unsigned kDestinations[] = {1, 2};
constexpr size_t kReportedDifferences = 6;
constexpr int kPacketsPerCheck = 16;

// Multiset difference: the lines of `from` that `other` does not account for.
std::vector<std::string> missing_from(std::vector<std::string> from,
                                      std::vector<std::string> other) {
  std::sort(from.begin(), from.end());
  std::sort(other.begin(), other.end());
  std::vector<std::string> missing;
  std::set_difference(from.begin(), from.end(), other.begin(), other.end(),
                      std::back_inserter(missing));
  return missing;
}

// A library call on one user entry or counter, what it answered, and whether the model expected
// it to succeed; then the model's change: `done` when the call succeeded or the chip refused it
// (saying where the library stopped), `failed` when it failed as expected. A user repeats such a
// call after a fault.
struct Call {
  std::function<int()> library;
  bool accepted;
  std::function<void(std::optional<Stopped>)> done = [](std::optional<Stopped>) {};
  std::function<void()> failed = [] {};
  int rc = library();
};

class Run {
 public:
  // On a named chip, with its geometry; on the default device, with room for all the generator
  // can ask for.
  explicit Run(const std::string& chip)
      : named_(!chip.empty()), saved_log_level_(HalCallbacksItf::getInstance().level()) {
    HalCallbacksItf::getInstance().setLevel(std::getenv("FILTERS_RANDOM_LOG") ? 7 : 0);
    bcmsim::Config config;
    if (named_) {
      config = *bcmsim::chip_config(chip);
    } else {
      config.set_slice_entries({1024, 1024, 1024});
    }
    bcmsim::reset(config);
    test_support::set_up_ports();
    filters_cache_.CleanupCache();
    filters_ = std::make_unique<test_support::TestableFilters>(lags_, &destinations_);

    facts_.entries_per_group = {static_cast<int>(HalFiltersLL::getHWEntriesPerPreIngressGroup()),
                                static_cast<int>(HalFiltersLL::getHWEntriesPerIngressGroup()),
                                static_cast<int>(HalFiltersLL::getHWEntriesPerEgressGroup())};
    const bcmsim::Config& device = bcmsim::config();
    facts_.front_ports.insert(device.front_ports.begin(), device.front_ports.end());
    facts_.all_ports = facts_.front_ports;
    facts_.all_ports.insert(device.cpu_port);
    // Destinations with real egress objects, created once the instance has set the L3 egress mode.
    for (unsigned destination : kDestinations) {
      bcm_l3_egress_t egress;
      bcm_l3_egress_t_init(&egress);
      egress.port = static_cast<bcm_port_t>(20 + destination);
      bcm_if_t egress_id = 0;
      bcm_l3_egress_create(device.unit, 0, &egress, &egress_id);
      destinations_.AddDestination(static_cast<int>(destination), egress_id);
      facts_.egress_of_destination[destination] = egress_id;
    }
    const std::map<unsigned, std::set<int>> lags = {{1, {9, 10}}, {2, {11}}, {3, {}}};
    for (const auto& [lag, members] : lags) {
      lags_->CreateLag(limid_lag(lag));
      for (int member : members) lags_->AddMember(limid_lag(lag), limid_ethernet(member));
    }
    model_ = std::make_unique<Model>(facts_, lags);
    for (filtersGroupStage_t stage : kStages) {
      for (unsigned id = 0; id < kEntryIds; ++id)
        blocks_[filters_->getBaseHwEid(stage, 0, id)] = {stage, id};
    }
  }

  ~Run() {
    filters_.reset();
    bcmsim::clear_faults();
    filters_cache_.CleanupCache();
    HalCallbacksItf::getInstance().setLevel(saved_log_level_);
  }

  // What a user does after a failure: a call on one user entry (or a counter read) is repeated
  // after a fault, and the answer that counts is the repeated one; a topology change that met a
  // fault or failed is followed by one recovery (see recover()). A failure no fault explains
  // must be the chip's refusal.
  void step(const Operation& op, bool record_calls) {
    const bool lag_change = op.kind == Operation::kAddMember ||
                            op.kind == Operation::kRemoveMember ||
                            op.kind == Operation::kDestroyLag;
    const std::vector<Key> reached =
        lag_change ? model_->following(op.lag) : model_->sending_to(op.destination);
    if (op.fault) bcmsim::inject_fault(*op.fault);
    result_.faults_injected += op.fault.has_value();
    refused_ = event_failed_ = false;
    packet_random_.seed(op.packet_seed);
    bcmsim::set_call_log(record_calls);
    bcmsim::clear_calls();
    bcmsim::clear_refusals();
    std::optional<Call> call = apply(op);
    if (record_calls) result_.calls = bcmsim::call_names();
    bcmsim::set_call_log(false);
    const bool fired = op.fault && bcmsim::pending_faults() == 0;
    bcmsim::clear_faults();
    // A fault after the chip's refusal hit the undo of the refused call.
    const bool undo_faulted = fired && call && call->rc != 0 && first_refusal()->rule->chip;
    result_.undo_faults += undo_faulted;
    if (fired) {
      ++result_.faults_fired;
      ++result_.faults_fired_by_code[op.fault->rc];
      if (call && call->rc != 0) {
        bcmsim::clear_refusals();
        call->rc = call->library();
      }
      if (op.kind == Operation::kCreateGroups) createGroups(op.group_entries, failed_groups_);
    }
    if (call) settle(*call, op);
    const bool topology = lag_change || op.kind == Operation::kRemoveDestination;
    if (topology &&
        (fired || (event_failed_ && refusedByTheChip(op.text(), event_refusal(op))))) {
      recover(op, reached);
    }
    result_.refused_steps += refused_;
    check();
  }

  void finish() {
    for (const auto& [key, entry] : std::map(model_->entries())) remove(key, "at the end");
    check();
  }

  RunResult& result() { return result_; }

 private:
  // The model's change once a call has answered, and whether the answer is the expected one.
  void settle(const Call& call, const Operation& op) {
    if (call.rc != 0 && call.accepted) {
      if (refusedByTheChip(op.text(), first_refusal())) call.done(stoppedAt());
    } else if ((call.rc == 0) != call.accepted) {
      violation(op.text(), " returned ", call.rc, ", expected ",
                call.accepted ? "success" : "a failure");
    } else if (call.rc == 0) {
      call.done(std::nullopt);
    } else {
      call.failed();
    }
  }

  // Whether a failure no planned fault explains is the chip's: the refusal behind it (the
  // first since the refusals were last cleared) must name a rule of a named chip's profile.
  bool refusedByTheChip(const std::string& what, const bcmsim::Refusal* refusal) {
    if (!refusal) {
      violation(what, " failed without a refusal");
      return false;
    }
    if (!named_ || !refusal->rule->chip) {
      violation(what, " failed: ", refusal->function, " returned ", refusal->rc, " (",
                refusal->rule->id, ")", named_ ? ", not a rule of the chip" : "");
      return false;
    }
    ++result_.refusals[std::string(refusal->rule->id)];
    refused_ = true;
    return true;
  }
  // The first refusal the library did not take in its stride: a detach that finds no counter
  // attached lets it go on and destroy the entry.
  static const bcmsim::Refusal* first_refusal() {
    for (const bcmsim::Refusal& refusal : bcmsim::refusals()) {
      if (refusal.rule->id != "stat-not-attached") return &refusal;
    }
    return nullptr;
  }
  // Where a create the chip refused stopped: it makes the user entry's statistics object first.
  static Stopped stoppedAt() {
    return first_refusal()->function == "bcm_field_stat_create" ? Stopped::kBeforeCounter
                                                                : Stopped::kAfterCounter;
  }

  std::optional<Call> apply(const Operation& op) {
    const EntrySpec& spec = op.entry;
    const limid_t lag = limid_lag(op.lag);
    const limid_t member = limid_ethernet(op.member);
    const int port = static_cast<int>(op.member);
    switch (op.kind) {
      case Operation::kCreateGroups:
        createGroups(op.group_entries, {0, 1, 2});
        return std::nullopt;
      case Operation::kCreateEntry:
        return Call{[&] { return filters_->createEntry(spec.stage, 0, spec.toEntry()); },
                    model_->creatable(spec),
                    [&](std::optional<Stopped> failed) { model_->create(spec, failed); }};
      case Operation::kUpdateEntry:
        return Call{[&] { return filters_->updateEntry(spec.stage, 0, spec.toEntry()); },
                    model_->updatable(spec),
                    [&](std::optional<Stopped> failed) { model_->update(spec, failed); },
                    [&] { model_->updateFailed(spec); }};
      case Operation::kDeleteEntry:
        return Call{[&] { return filters_->deleteEntry(spec.stage, 0, spec.id); },
                    model_->entries().count(spec) > 0,
                    [&](std::optional<Stopped>) { model_->remove(spec); },
                    [&] { model_->remove(spec); }};
      case Operation::kReadCounter:
        return Call{[&] { return readCounter(op.counter); }, model_->counted(op.counter)};
      case Operation::kAddMember:
        return lagChange(lags_->AddMember(lag, member), model_->addMember(op.lag, port));
      case Operation::kRemoveMember:
        return lagChange(lags_->RemoveMember(lag, member), model_->removeMember(op.lag, port));
      case Operation::kDestroyLag:
        return lagChange(lags_->DestroyLag(lag), model_->destroyLag(op.lag));
      case Operation::kCreateLag:
        return lagChange(lags_->CreateLag(lag), model_->createLag(op.lag));
      case Operation::kRemoveDestination:
        model_->removeDestination(op.destination);
        destinations_.RemoveDestination(static_cast<int>(op.destination));
        event_failed_ = event_refusal(op) != nullptr;
        destinations_.AddDestination(static_cast<int>(op.destination),
                                     facts_.egress_of_destination.at(op.destination));
        return std::nullopt;
      case Operation::kClearCache:
        clearCache();
        return std::nullopt;
      case Operation::kDestroyBehindTheLibrary:
        for (int id : bcmsim::state().entry_ids()) {
          if (owner(id) == Key(spec)) {
            bcm_field_entry_destroy(bcmsim::config().unit, id);
            break;
          }
        }
        return std::nullopt;
    }
    return std::nullopt;
  }

  // Creates the group of each of `stages` with the entries of that stage; the model takes the
  // entries of the groups created. A group that met the fault is repeated; one the chip refused
  // (its type, or an entry it was created with) leaves its stage without a group.
  void createGroups(const std::vector<EntrySpec>& entries, std::vector<size_t> stages) {
    failed_groups_.clear();
    for (size_t k : stages) {
      FiltersGroup group(kStages[k], 0, 0, kGroupTypes[k]);
      for (const EntrySpec& spec : entries) {
        if (spec.stage == kStages[k]) group.addEntry(spec.toEntry());
      }
      const int pending = bcmsim::pending_faults();
      bcmsim::clear_refusals();
      if (filters_->createGroup(group) == 0) {
        for (const EntrySpec& spec : entries) {
          if (spec.stage == kStages[k]) model_->create(spec);
        }
      } else if (bcmsim::pending_faults() < pending) {
        failed_groups_.push_back(k);
      } else if (refusedByTheChip("creating the group of stage " + std::to_string(kStages[k]),
                                  first_refusal())) {
        model_->groupRefused(kStages[k]);
      }
    }
  }

  // The refusal that failed the topology change of this step: the first. A destination removal
  // has no result, and touches every hardware id of its entries' pools, existing or not (a
  // refused call on an id that does not exist changes nothing): the first of the chip's.
  static const bcmsim::Refusal* event_refusal(const Operation& op) {
    if (op.kind != Operation::kRemoveDestination) return first_refusal();
    for (const bcmsim::Refusal& refusal : bcmsim::refusals())
      if (refusal.rule->chip) return &refusal;
    return nullptr;
  }

  // Whether the orchestrator made a LAG change (it answers -2 when it refuses) must match the
  // model; -1 says that the filters did not follow.
  std::optional<Call> lagChange(int rc, bool modelled) {
    if ((rc != -2) != modelled) violation("the LAG orchestrator and the model disagree");
    event_failed_ = rc != 0 && rc != -2;
    return std::nullopt;
  }
  // Deletes a user entry from the library, in one try, and from the model.
  void remove(const Key& key, const std::string& when) {
    if (filters_->deleteEntry(key.stage, 0, key.id) != 0) {
      violation("deleting ", key.text(), " ", when, " failed");
    }
    model_->remove(key);
  }

  // One recovery after a topology change that met a fault or failed, as the operation chose it:
  // an update of each user entry it reached, a delete of each, or the next event of each LAG
  // they follow (an entry that follows none of those is updated). Every call of the recovery
  // must succeed (or be the chip's refusal), and the check that follows the step must find the
  // device exactly as the model says.
  void recover(const Operation& op, const std::vector<Key>& reached) {
    static const char* const kNames[] = {"update", "delete", "next LAG event"};
    ++result_.recoveries[kNames[op.recovery]];
    std::set<unsigned> evented;
    if (op.recovery == Operation::kNextLagEvent) {
      std::set<unsigned> lags;
      for (const Key& key : reached) {
        if (!model_->entries().count(key)) continue;
        const auto& followed = model_->entries().at(key).followed_lags;
        lags.insert(followed.begin(), followed.end());
      }
      for (unsigned lag : lags) {
        if (nextLagEvent(lag)) evented.insert(lag);
      }
    }
    for (const Key& key : reached) {
      if (op.recovery == Operation::kDeleteReached) {
        remove(key, "after the failure");
        continue;
      }
      auto entry = model_->entries().find(key);
      if (entry == model_->entries().end()) continue;
      const auto& followed = entry->second.followed_lags;
      const bool repaired = std::any_of(followed.begin(), followed.end(),
                                        [&](unsigned lag) { return evented.count(lag) > 0; });
      if (!repaired) updateAfterFailure(key);
    }
  }
  void updateAfterFailure(const Key& key) {
    const EntrySpec spec = model_->entries().at(key).spec;
    bcmsim::clear_refusals();
    if (filters_->updateEntry(spec.stage, 0, spec.toEntry()) == 0) {
      model_->update(spec);
    } else if (refusedByTheChip("updating " + key.text() + " after the failure", first_refusal())) {
      model_->update(spec, stoppedAt());
    }
  }
  // The LAG's next event: its lowest member leaves when no port is free to join it, else the
  // lowest free port joins. False when the LAG does not exist (an entry can name a LAG destroyed
  // before it was created) or has neither.
  bool nextLagEvent(unsigned lag) {
    const auto& lags = model_->lags();
    if (!lags.count(lag)) return false;
    std::set<int> free_ports = {9, 10, 11, 12, 13};
    for (const auto& [number, ports] : lags) {
      for (int port : ports) free_ports.erase(port);
    }
    const std::set<int> members = lags.at(lag);
    if (free_ports.empty() && members.empty()) return false;
    bcmsim::clear_refusals();
    int rc;
    if (free_ports.empty()) {
      const int port = *members.begin();
      model_->removeMember(lag, port);
      rc = lags_->RemoveMember(limid_lag(lag), limid_ethernet(port));
    } else {
      const int port = *free_ports.begin();
      model_->addMember(lag, port);
      rc = lags_->AddMember(limid_lag(lag), limid_ethernet(port));
    }
    if (rc != 0 && refusedByTheChip("the LAG's next event after the failure", first_refusal())) {
      for (const Key& key : model_->following(lag)) remove(key, "after a refused recovery");
    }
    return true;
  }
  int readCounter(unsigned short counter) {
    unsigned long long value = 0;
    return filters_->getCounterValue(counter, value);
  }
  template <class... Parts>
  void violation(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    result_.violations.push_back(text.str());
  }

  // Clearing the cache forgets every entry and counter and leaves the device as it was. Then the
  // device is emptied, as on a restart, and the library must program every entry afresh: what it
  // had not forgotten would get in the way.
  void clearCache() {
    filters_->clearCache();
    check(false);
    const auto& cache = filters_cache_;
    if (!cache.entries_info().empty() || !cache.lag_entries().empty() ||
        !cache.lag_pbmp_entries().empty() || !cache.ingress_pbmp().empty() ||
        !cache.l3_destination_entries().empty()) {
      violation("clearing the cache left records in it");
    }
    for (unsigned short counter : model_->counters()) {
      if (readCounter(counter) == 0) violation("counter ", counter, " reads after the clear");
    }
    const bcmsim::State& state = bcmsim::state();
    const int unit = bcmsim::config().unit;
    for (int id : state.entry_ids()) bcm_field_entry_destroy(unit, id);
    for (const auto& [id, stat] : std::map(state.stats)) bcm_field_stat_destroy(unit, id);
    for (const auto& [id, policer] : std::map(state.policers)) bcm_policer_destroy(unit, id);
    model_->forgetFailures();
    for (const auto& [key, entry] : std::map(model_->entries())) {
      model_->remove(key);
      bcmsim::clear_refusals();
      if (filters_->createEntry(key.stage, 0, entry.spec.toEntry()) == 0) {
        model_->create(entry.spec);
      } else if (refusedByTheChip("creating " + key.text() + " after clearing the cache",
                                  first_refusal())) {
        model_->create(entry.spec, stoppedAt());
      }
    }
  }

  // The device against the model; the cache's indexes against the device and the model.
  // The counters are read unless the library has just forgotten them.
  void check(bool counters_read = true) {
    const size_t violations_before = result_.violations.size();
    const bcmsim::State& state = bcmsim::state();
    std::map<Key, std::vector<std::string>> contents;
    for (int id : state.entry_ids()) {
      const std::optional<Key> key = owner(id);
      const bcmsim::Entry& entry = *state.entry(id);
      if (!key) {
        violation("hardware entry ", id, " lies outside every user entry's ids");
      } else if (!model_->entries().count(*key)) {
        violation("hardware entry ", id, " is left of deleted ", key->text());
      } else if (!entry.installed || !(*entry.installed == entry.staged)) {
        violation("hardware entry ", id, " is not installed as written");
      } else if (entry.group != filters_->getHwGid(key->stage, 0)) {
        violation("hardware entry ", id, " is in the wrong group");
      } else {
        const bcmsim::Stat* stat =
            entry.installed->stat ? state.stat(*entry.installed->stat) : nullptr;
        contents[*key].push_back(describe(entry.priority, *entry.installed,
                                          stat ? stat->types : std::vector<bcm_field_stat_t>{}));
      }
    }
    // One statistics object per user entry with counters, shared by its hardware entries; the
    // policers its hardware entries use and no more; the L3 objects of the black hole and the
    // destinations.
    const size_t stats = model_->statistics_objects();
    std::set<unsigned> policers;
    for (const auto& [key, entry] : model_->entries()) {
      const std::vector<std::string> expected = model_->expected(entry);
      const auto lacks = missing_from(expected, contents[key]);
      const auto unexpected = missing_from(contents[key], expected);
      for (size_t k = 0; k < kReportedDifferences; ++k) {
        if (k < lacks.size()) violation(key.text(), " lacks: ", lacks[k]);
        if (k < unexpected.size()) violation(key.text(), " has unexpected: ", unexpected[k]);
      }
      if (entry.hw.empty() || !entry.spec.policer) continue;
      policers.insert(*entry.spec.policer);
      policers.insert(entry.spec.parent_policer.value_or(*entry.spec.policer));
    }
    if (state.stats.size() != stats) {
      violation("the device holds ", state.stats.size(), " statistics objects, expected ", stats);
    }
    for (const auto& [id, policer] : state.policers) {
      if (!policers.count(id)) violation("policer ", id, " is left on the device");
    }
    if (state.l3_egresses.size() != 1 + std::size(kDestinations)) {
      violation("the device holds ", state.l3_egresses.size(), " L3 egresses");
    }

    // Packets once the entries are as expected, then every counter, which they have counted on.
    if (result_.violations.size() == violations_before) checkPackets();
    if (counters_read) checkCounters();

    // A record that outlives its hardware entry would let a later topology event touch an id
    // that is gone, or has been given to another entry since.
    const auto& cache = filters_cache_;
    auto live = [&](const char* index, int id, bool alive) {
      if (!alive) violation(index, " names dead id ", id);
    };
    for (const auto& [lag, bases] : cache.lag_entries())
      for (const auto& [base, members] : bases)
        for (const auto& [port, ids] : members)
          for (int id : ids) live("the LAG member index", id, state.entry(id));
    for (const auto& [lag, ids] : cache.lag_pbmp_entries())
      for (int id : ids) live("the LAG bitmap index", id, cache.ingress_pbmp().count(id));
    for (const auto& [id, bitmap] : cache.ingress_pbmp())
      live("the bitmap index", id, state.entry(id));
    for (const auto& [destination, bases] : cache.l3_destination_entries()) {
      const std::vector<Key> sending = model_->sending_to(destination);
      for (int base : bases) {
        const auto key = owner(base);
        live("the destination index", base,
             key && std::count(sending.begin(), sending.end(), *key));
      }
    }
  }

  void checkPackets() {
    const PacketFigures figures =
        check_packets(*model_, facts_, packet_random_, kPacketsPerCheck,
                      [this](int hw_eid) { return owner(hw_eid); }, result_.violations);
    result_.packets += figures.classified;
    result_.packets_hitting += figures.hit;
  }
  void checkCounters() {
    for (unsigned short counter : model_->counters()) {
      unsigned long long value = 0;
      const uint64_t expected = model_->counter_value(counter).value_or(0);
      if (filters_->getCounterValue(counter, value) != 0) {
        violation("counter ", counter, " does not read");
      } else if (value != expected) {
        violation("counter ", counter, " reads ", value, ", expected ", expected);
      }
    }
  }

  std::optional<Key> owner(int hw_eid) const {
    for (const auto& [base, key] : blocks_) {
      if (hw_eid >= base && hw_eid < base + facts_.entries_per_group[key.stage - 1]) return key;
    }
    return std::nullopt;
  }

  std::shared_ptr<halswitchl2if::LagOrchestrator> lags_ =
      std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations_;
  std::unique_ptr<test_support::TestableFilters> filters_;
  std::unique_ptr<Model> model_;
  DeviceFacts facts_;
  std::map<int, Key> blocks_;  // base hardware id of every user entry the generator can name
  std::vector<size_t> failed_groups_;  // indexes into kStages of the groups the fault met
  const bool named_;                   // a named chip, which may refuse what the library asks
  bool refused_ = false;               // the chip refused a call of this step
  bool event_failed_ = false;          // the topology change of this step failed
  int saved_log_level_;
  std::mt19937_64 packet_random_;  // the packets of a step, seeded by its operation
  RunResult result_;
};

}  // namespace

RunResult run_sequence(const std::vector<Operation>& operations, const std::string& chip) {
  Run run(chip);
  RunResult& result = run.result();
  for (const Operation& op : operations) {
    run.step(op, &op == &operations.back());
    ++result.steps;
    if (!result.violations.empty()) {
      result.failed_step = result.steps - 1;
      return result;
    }
  }
  run.finish();
  if (!result.violations.empty()) result.failed_step = result.steps;
  return result;
}

std::vector<Operation> shrink(std::vector<Operation> operations, int failed_step,
                              const std::string& chip) {
  // The first operation creates the groups; every sequence keeps it.
  operations.resize(std::min(operations.size(), static_cast<size_t>(failed_step) + 1));
  for (bool shorter = true; shorter;) {
    shorter = false;
    for (size_t k = operations.size(); k-- > 1;) {
      std::vector<Operation> candidate = operations;
      candidate.erase(candidate.begin() + static_cast<std::ptrdiff_t>(k));
      if (const std::optional<int> step = run_sequence(candidate, chip).failed_step) {
        candidate.resize(std::min(candidate.size(), static_cast<size_t>(*step) + 1));
        operations = std::move(candidate);
        shorter = true;
        k = std::min(k, operations.size());
      }
    }
  }
  return operations;
}

}  // namespace robustness
