#include "harness.h"

#include <algorithm>
#include <map>
#include <memory>

#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcmsim/device.h>
#include <bcmsim/fault_plan.h>

#include <hal_filters_ll/device_profile.h>

#include "model.h"
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

std::string key_text(const Key& key) {
  return "stage " + std::to_string(key.stage) + " entry " + std::to_string(key.id);
}

// TCAM room for every hardware entry the generator can ask for, so that no step runs out of it.
bcmsim::Config device_config() {
  bcmsim::Config config;
  config.entries_per_slice = {1024, 1024, 1024};
  return config;
}

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

// What the library answered and what the model expected of an operation on one user entry.
struct Expectation {
  Key key;
  int rc;
  bool accepted;
};

class Run {
 public:
  Run();
  ~Run();
  // `record_calls` keeps the names of the SDK calls the operation made (not those of its
  // recovery) in the result.
  void step(const Operation& op, bool record_calls = false);
  void finish(bool cache_cleared);
  RunResult& result() { return result_; }

 private:
  std::map<unsigned, int> addDestinations();
  std::map<unsigned, std::set<int>> addLags();
  std::optional<Expectation> apply(const Operation& op);
  void createGroups(const Operation& op, const std::vector<size_t>& stages);
  std::optional<Expectation> applyToEntry(const Operation& op);
  int callLibrary(const Operation& op);
  bool applyToLag(const Operation& op);
  std::vector<Key> reachedBy(const Operation& op) const;
  std::optional<Expectation> recover(const Operation& op, std::optional<Expectation> first,
                                     const std::vector<Key>& reached);
  void judge(const Operation& op, const Expectation& expectation);

  void check();
  std::map<Key, std::vector<int>> checkDevice();
  void checkEntries(const std::map<Key, std::vector<std::string>>& contents);
  void checkSharedObjects();
  void checkCache(const std::map<Key, std::vector<int>>& device_ids);
  void checkCacheIndexes();
  void checkClearedCache();
  std::optional<Key> owner(int hw_eid) const;
  void violation(const std::string& text) { result_.violations.push_back(text); }

  std::shared_ptr<halswitchl2if::LagOrchestrator> lags_ =
      std::make_shared<halswitchl2if::LagOrchestrator>();
  hal_encap::DestinationOrchestrator destinations_;
  std::unique_ptr<test_support::TestableFilters> filters_;
  std::unique_ptr<Model> model_;
  std::array<int, 3> entries_per_group_{};  // the size of every user entry's id range, per stage
  std::map<unsigned, int> egress_of_destination_;
  std::map<int, Key> blocks_;  // base hardware id of every user entry the generator can name
  std::vector<size_t> failed_groups_;  // indexes into kStages of the groups not created
  std::map<int, std::string> before_clear_;  // device entries when the cache was cleared
  int saved_log_level_;
  RunResult result_;
};

Run::Run() : saved_log_level_(HalCallbacksItf::getInstance().level()) {
  HalCallbacksItf::getInstance().setLevel(0);
  bcmsim::reset(device_config());
  test_support::set_up_ports();
  filters_cache_.CleanupCache();
  filters_ = std::make_unique<test_support::TestableFilters>(lags_, &destinations_);

  DeviceFacts facts;
  facts.entries_per_group = {static_cast<int>(HalFiltersLL::getHWEntriesPerPreIngressGroup()),
                             static_cast<int>(HalFiltersLL::getHWEntriesPerIngressGroup()),
                             static_cast<int>(HalFiltersLL::getHWEntriesPerEgressGroup())};
  entries_per_group_ = facts.entries_per_group;
  const bcmsim::Config& config = bcmsim::config();
  facts.front_ports.insert(config.front_ports.begin(), config.front_ports.end());
  facts.all_ports = facts.front_ports;
  facts.all_ports.insert(config.cpu_port);
  facts.egress_of_destination = addDestinations();
  model_ = std::make_unique<Model>(std::move(facts), addLags());
  for (filtersGroupStage_t stage : kStages) {
    for (unsigned id = 0; id < kEntryIds; ++id) {
      blocks_[filters_->getBaseHwEid(stage, 0, id)] = {stage, id};
    }
  }
}

// Destinations with real egress objects, created once the instance has set the L3 egress mode.
std::map<unsigned, int> Run::addDestinations() {
  for (unsigned destination : kDestinations) {
    bcm_l3_egress_t egress;
    bcm_l3_egress_t_init(&egress);
    egress.port = static_cast<bcm_port_t>(20 + destination);
    bcm_if_t egress_id = 0;
    bcm_l3_egress_create(bcmsim::config().unit, 0, &egress, &egress_id);
    destinations_.AddDestination(static_cast<int>(destination), egress_id);
    egress_of_destination_[destination] = egress_id;
  }
  return egress_of_destination_;
}

std::map<unsigned, std::set<int>> Run::addLags() {
  const std::map<unsigned, std::set<int>> lags = {{1, {9, 10}}, {2, {11}}, {3, {}}};
  for (const auto& [lag, members] : lags) {
    lags_->CreateLag(limid_lag(lag));
    for (int member : members) {
      lags_->AddMember(limid_lag(lag), limid_ethernet(static_cast<unsigned>(member)));
    }
  }
  return lags;
}

Run::~Run() {
  filters_.reset();
  bcmsim::clear_faults();
  filters_cache_.CleanupCache();
  HalCallbacksItf::getInstance().setLevel(saved_log_level_);
}

void Run::step(const Operation& op, bool record_calls) {
  const std::vector<Key> reached = reachedBy(op);
  if (op.fault) {
    bcmsim::inject_fault(*op.fault);
    ++result_.faults_injected;
  }
  bcmsim::set_call_log(record_calls);
  bcmsim::clear_calls();
  std::optional<Expectation> expectation = apply(op);
  if (record_calls) result_.calls = bcmsim::call_names();
  bcmsim::set_call_log(false);
  const bool fired = op.fault && bcmsim::pending_faults() == 0;
  bcmsim::clear_faults();
  if (fired) {
    ++result_.faults_fired;
    expectation = recover(op, expectation, reached);
  }
  if (!failed_groups_.empty()) violation("creating a group failed");
  if (expectation) judge(op, *expectation);
  if (op.kind != Operation::kClearCache) check();
}

// What a user does after a failure: an operation on one user entry (or a counter read) is
// repeated; after a topology change the user entries it reached are deleted, and a delete that
// reports a failure is repeated once. The answer that counts is the repeated one.
std::optional<Expectation> Run::recover(const Operation& op, std::optional<Expectation> first,
                                        const std::vector<Key>& reached) {
  switch (op.kind) {
    case Operation::kCreateEntry:
    case Operation::kUpdateEntry:
    case Operation::kDeleteEntry:
    case Operation::kReadCounter:
      if (first && first->rc != 0) first->rc = callLibrary(op);
      return first;
    case Operation::kCreateGroups:
      createGroups(op, std::vector<size_t>(failed_groups_));
      return first;
    default:
      for (const Key& key : reached) {
        if (filters_->deleteEntry(key.stage, 0, key.id) != 0 &&
            filters_->deleteEntry(key.stage, 0, key.id) != 0) {
          violation("deleting " + key_text(key) + " after the fault failed twice");
        }
        model_->remove(key);
      }
      return first;
  }
}

std::optional<Expectation> Run::apply(const Operation& op) {
  switch (op.kind) {
    case Operation::kCreateGroups:
      createGroups(op, {0, 1, 2});
      return std::nullopt;
    case Operation::kCreateGroupAgain:
      if (filters_->createGroup(FiltersGroup(FILTERS_GROUP_STAGE_INGRESS, 0, 0, 2)) == 0) {
        violation("creating an existing group succeeded");
      }
      return std::nullopt;
    case Operation::kRemoveDestination:
      model_->removeDestination(op.destination);
      destinations_.RemoveDestination(static_cast<int>(op.destination));
      destinations_.AddDestination(static_cast<int>(op.destination),
                                   egress_of_destination_.at(op.destination));
      return std::nullopt;
    case Operation::kReadCounter: {
      const CounterOwner owner = counter_owner(op.counter);
      const Key key{owner.stage, owner.id};
      const int rc = callLibrary(op);
      auto entry = model_->entries().find(key);
      const bool counted =
          entry != model_->entries().end() &&
          std::any_of(entry->second.spec.counters.begin(), entry->second.spec.counters.end(),
                      [&](const auto& counter) { return counter.first == op.counter; });
      return Expectation{key, rc, counted};
    }
    case Operation::kClearCache:
      for (int id : bcmsim::state().entry_ids()) {
        before_clear_[id] = installed_content(*bcmsim::state().entry(id)).text();
      }
      filters_->clearCache();
      return std::nullopt;
    case Operation::kCreateEntry:
    case Operation::kUpdateEntry:
    case Operation::kDeleteEntry:
      return applyToEntry(op);
    case Operation::kDestroyBehindTheLibrary:
      for (int id : bcmsim::state().entry_ids()) {
        if (owner(id) == key_of(op.entry)) {
          bcm_field_entry_destroy(bcmsim::config().unit, id);
          break;
        }
      }
      return std::nullopt;
    default:
      if (!applyToLag(op)) violation("the LAG orchestrator and the model disagree on the change");
      return std::nullopt;
  }
}

// Creates the group of each of `stages` with the operation's entries of that stage; the model
// takes the entries of the groups created.
void Run::createGroups(const Operation& op, const std::vector<size_t>& stages) {
  failed_groups_.clear();
  for (size_t k : stages) {
    FiltersGroup group(kStages[k], 0, 0, kGroupTypes[k]);
    for (const EntrySpec& spec : op.group_entries) {
      if (spec.stage == kStages[k]) group.addEntry(spec.toEntry());
    }
    if (filters_->createGroup(group) != 0) {
      failed_groups_.push_back(k);
      continue;
    }
    for (const EntrySpec& spec : op.group_entries) {
      if (spec.stage == kStages[k]) model_->create(spec);
    }
  }
}

std::optional<Expectation> Run::applyToEntry(const Operation& op) {
  const EntrySpec& spec = op.entry;
  const Key key = key_of(spec);
  const int rc = callLibrary(op);
  switch (op.kind) {
    case Operation::kCreateEntry:
      return Expectation{key, rc, model_->create(spec)};
    case Operation::kUpdateEntry:
      return Expectation{key, rc, model_->update(spec)};
    default:
      return Expectation{key, rc, model_->remove(key)};
  }
}

// The library call of an operation on one user entry or counter; the model is left alone.
int Run::callLibrary(const Operation& op) {
  const EntrySpec& spec = op.entry;
  switch (op.kind) {
    case Operation::kCreateEntry:
      return filters_->createEntry(spec.stage, 0, spec.toEntry());
    case Operation::kUpdateEntry:
      return filters_->updateEntry(spec.stage, 0, spec.toEntry());
    case Operation::kDeleteEntry:
      return filters_->deleteEntry(spec.stage, 0, spec.id);
    default: {
      unsigned long long value = 0;
      return filters_->getCounterValue(op.counter, value);
    }
  }
}

// Runs a LAG change through the orchestrator; whether it made the change must match the model.
bool Run::applyToLag(const Operation& op) {
  const limid_t lag = limid_lag(op.lag);
  const limid_t member = limid_ethernet(op.member);
  const int port = static_cast<int>(op.member);
  switch (op.kind) {
    case Operation::kAddMember:
      return (lags_->AddMember(lag, member) != -2) == model_->addMember(op.lag, port);
    case Operation::kRemoveMember:
      return (lags_->RemoveMember(lag, member) != -2) == model_->removeMember(op.lag, port);
    case Operation::kDestroyLag:
      return (lags_->DestroyLag(lag) != -2) == model_->destroyLag(op.lag);
    default:
      return (lags_->CreateLag(lag) != -2) == model_->createLag(op.lag);
  }
}

std::vector<Key> Run::reachedBy(const Operation& op) const {
  switch (op.kind) {
    case Operation::kCreateEntry:
    case Operation::kUpdateEntry:
    case Operation::kDeleteEntry:
      return {key_of(op.entry)};
    case Operation::kAddMember:
    case Operation::kRemoveMember:
    case Operation::kDestroyLag:
      return model_->following(op.lag);
    case Operation::kRemoveDestination:
      return model_->sending_to(op.destination);
    default:
      return {};
  }
}

void Run::judge(const Operation& op, const Expectation& expectation) {
  if ((expectation.rc == 0) == expectation.accepted) return;
  violation(op.text() + " returned " + std::to_string(expectation.rc) + ", expected " +
            (expectation.accepted ? "success" : "a failure"));
}

void Run::check() {
  const std::map<Key, std::vector<int>> device_ids = checkDevice();
  checkSharedObjects();
  checkCache(device_ids);
}

// Every device entry lies in the id range of a user entry; those of intact user entries are
// installed as the model says, and nothing is left of intact user entries that are gone.
std::map<Key, std::vector<int>> Run::checkDevice() {
  std::map<Key, std::vector<int>> ids;
  std::map<Key, std::vector<std::string>> contents;
  for (int id : bcmsim::state().entry_ids()) {
    const std::optional<Key> key = owner(id);
    if (!key) {
      violation("hardware entry " + std::to_string(id) + " lies outside every user entry's ids");
      continue;
    }
    ids[*key].push_back(id);
    if (!model_->entries().count(*key)) {
      violation("hardware entry " + std::to_string(id) + " is left of deleted " + key_text(*key));
      continue;
    }
    const bcmsim::Entry& entry = *bcmsim::state().entry(id);
    if (!entry.installed || !(*entry.installed == entry.staged)) {
      violation("hardware entry " + std::to_string(id) + " is not installed as written");
    }
    if (entry.group != filters_->getHwGid(key->stage, 0)) {
      violation("hardware entry " + std::to_string(id) + " is in the wrong group");
    }
    contents[*key].push_back(installed_content(entry).text());
  }
  checkEntries(contents);
  return ids;
}

void Run::checkEntries(const std::map<Key, std::vector<std::string>>& contents) {
  for (const auto& [key, entry] : model_->entries()) {
    std::vector<std::string> expected;
    for (const EntryContent& content : model_->expected(key)) expected.push_back(content.text());
    auto found = contents.find(key);
    const std::vector<std::string> actual =
        found == contents.end() ? std::vector<std::string>{} : found->second;
    const auto missing = missing_from(expected, actual);
    const auto unexpected = missing_from(actual, expected);
    for (size_t k = 0; k < std::min(missing.size(), kReportedDifferences); ++k) {
      violation(key_text(key) + " lacks: " + missing[k]);
    }
    for (size_t k = 0; k < std::min(unexpected.size(), kReportedDifferences); ++k) {
      violation(key_text(key) + " has unexpected: " + unexpected[k]);
    }
  }
}

// One statistics object per user entry with counters, shared by its hardware entries; the
// policers its hardware entries use and no more; the L3 objects of the black hole and the
// destinations.
void Run::checkSharedObjects() {
  const bcmsim::State& state = bcmsim::state();
  size_t stats = 0;
  std::set<int> policers;
  for (const auto& [key, entry] : model_->entries()) {
    if (!entry.spec.counters.empty()) ++stats;
    for (const EntryContent& content : model_->expected(key)) {
      for (const auto& policer : content.policers) {
        if (policer) policers.insert(*policer);
      }
    }
  }
  if (state.stats.size() != stats) {
    violation("the device holds " + std::to_string(state.stats.size()) +
              " statistics objects, expected " + std::to_string(stats));
  }
  for (const auto& [id, policer] : state.policers) {
    if (!policers.count(id)) {
      violation("policer " + std::to_string(id) + " is left on the device");
    }
  }
  for (int id : policers) {
    if (!state.policers.count(id)) violation("policer " + std::to_string(id) + " is missing");
  }
  if (state.l3_egresses.size() != 1 + std::size(kDestinations)) {
    violation("the device holds " + std::to_string(state.l3_egresses.size()) +
              " L3 egress objects");
  }
}

// The cache's indexes refer only to live pools, hold no empty container, and list for every
// user entry exactly the hardware entries the device holds.
void Run::checkCache(const std::map<Key, std::vector<int>>& device_ids) {
  checkCacheIndexes();
  const auto& pools = filters_cache_.entries_info();
  for (const auto& [base, key] : blocks_) {
    auto pool = pools.find(base);
    if ((pool != pools.end()) != (model_->entries().count(key) > 0)) {
      violation("the cache " + std::string(pool != pools.end() ? "keeps" : "lacks") +
                " the pool of " + key_text(key));
      continue;
    }
    if (pool == pools.end()) continue;
    std::vector<int> installable;
    for (const HalFiltersLL::pool_entry& hw : pool->second.pool) {
      if (hw.installable) installable.push_back(static_cast<int>(hw.entry.getId()));
    }
    auto on_device = device_ids.find(key);
    std::vector<int> held = on_device == device_ids.end() ? std::vector<int>{} : on_device->second;
    std::sort(installable.begin(), installable.end());
    if (installable != held) {
      violation("the pool of " + key_text(key) + " lists " + std::to_string(installable.size()) +
                " hardware entries, the device holds " + std::to_string(held.size()));
    }
  }
}

void Run::checkCacheIndexes() {
  const auto& pools = filters_cache_.entries_info();
  auto pool_entry_of = [&pools](int id) -> const HalFiltersLL::pool_entry* {
    auto pool = pools.upper_bound(id);
    if (pool == pools.begin()) return nullptr;
    --pool;
    const size_t index = static_cast<size_t>(id - pool->first);
    return index < pool->second.pool.size() ? &pool->second.pool[index] : nullptr;
  };
  for (const auto& [lag, bases] : filters_cache_.lag_entries()) {
    if (bases.empty()) violation("the cache keeps " + limid_name(lag) + " with no user entry");
    for (const auto& [base, members] : bases) {
      if (!pools.count(base)) violation("the cache keeps dead base " + std::to_string(base));
      for (const auto& [member, ids] : members) {
        if (ids.empty()) violation("the cache keeps an empty list for " + limid_name(member));
        for (int id : ids) {
          const HalFiltersLL::pool_entry* hw = pool_entry_of(id);
          if (!hw || !hw->from_lag)
            violation("LAG member list names dead id " + std::to_string(id));
        }
      }
    }
  }
  for (const auto& [lag, ids] : filters_cache_.lag_pbmp_entries()) {
    if (ids.empty()) violation("the cache keeps an empty bitmap set for " + limid_name(lag));
    for (int id : ids) {
      if (!pool_entry_of(id) || !filters_cache_.ingress_pbmp().count(id)) {
        violation("LAG bitmap set names dead id " + std::to_string(id));
      }
    }
  }
  for (const auto& [id, bitmaps] : filters_cache_.ingress_pbmp()) {
    if (!pool_entry_of(id))
      violation("the cache keeps the bitmap of dead id " + std::to_string(id));
  }
  for (const auto& [destination, bases] : filters_cache_.l3_destination_entries()) {
    if (bases.empty())
      violation("the cache keeps destination " + std::to_string(destination) + " with no entry");
    for (int base : bases) {
      if (!pools.count(base))
        violation("destination index names dead base " + std::to_string(base));
    }
  }
}

std::optional<Key> Run::owner(int hw_eid) const {
  auto block = blocks_.upper_bound(hw_eid);
  if (block == blocks_.begin()) return std::nullopt;
  --block;
  const int entries = entries_per_group_[block->second.stage - 1];
  if (hw_eid >= block->first + entries) return std::nullopt;
  return block->second;
}

void Run::finish(bool cache_cleared) {
  if (cache_cleared) {
    checkClearedCache();
    return;
  }
  std::vector<Key> live;
  for (const auto& [key, entry] : model_->entries()) live.push_back(key);
  for (const Key& key : live) {
    const int rc = filters_->deleteEntry(key.stage, 0, key.id);
    model_->remove(key);
    if (rc != 0) violation("deleting " + key_text(key) + " at the end failed");
  }
  check();
}

// Clearing the cache forgets all software state and leaves the device as it was.
void Run::checkClearedCache() {
  const auto& cache = filters_cache_;
  if (!cache.entries_info().empty() || !cache.lag_entries().empty() ||
      !cache.lag_pbmp_entries().empty() || !cache.ingress_pbmp().empty() ||
      !cache.l3_destination_entries().empty() || !filters_->counter_entries_.empty() ||
      !filters_->hw_counters_.empty() || !filters_->policer_entries_.empty() ||
      !filters_->entry_policer_.empty()) {
    violation("clearing the cache left software state");
  }
  std::map<int, std::string> after;
  for (int id : bcmsim::state().entry_ids()) {
    after[id] = installed_content(*bcmsim::state().entry(id)).text();
  }
  if (after != before_clear_) violation("clearing the cache changed the device");
}

}  // namespace

RunResult run_sequence(const std::vector<Operation>& operations) {
  Run run;
  RunResult& result = run.result();
  for (const Operation& op : operations) {
    run.step(op, &op == &operations.back());
    if (!result.violations.empty()) {
      result.failed_step = result.steps;
      ++result.steps;
      return result;
    }
    ++result.steps;
  }
  run.finish(!operations.empty() && operations.back().kind == Operation::kClearCache);
  if (!result.violations.empty()) result.failed_step = result.steps;
  return result;
}

std::vector<Operation> shrink(std::vector<Operation> operations, int failed_step) {
  auto fails = [](const std::vector<Operation>& candidate) -> std::optional<int> {
    return run_sequence(candidate).failed_step;
  };
  // The first operation creates the groups; every sequence keeps it.
  operations.resize(std::min(operations.size(), static_cast<size_t>(failed_step) + 1));
  for (bool shorter = true; shorter;) {
    shorter = false;
    for (size_t k = operations.size(); k-- > 1;) {
      std::vector<Operation> candidate = operations;
      candidate.erase(candidate.begin() + static_cast<std::ptrdiff_t>(k));
      if (const std::optional<int> step = fails(candidate)) {
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
